#include "client/process/DebuggerAgent.h"

#include "client/base/Folders.h"
#include "client/base/SessionError.h"
#include "client/base/SystemFailure.h"
#include "client/process/ForeignEnvironment.h"
#include "OrvProfiler/foundation/SystemFunction.h"

// Before <windows.h>, which would bring the older one.
#include <windows.h>

#include <winsock2.h>

#include <cwchar>
#include <string>

namespace
{
constexpr const wchar_t* c_variable = L"MONO_ENV_OPTIONS";
constexpr const wchar_t* c_agentOption = L"--debugger-agent";
constexpr const wchar_t* c_address = L"127.0.0.1";

[[noreturn]] void ThrowNoPort(int error)
{
    throw SessionError(SessionFailure::NoWorkbench,
                       SystemFailure(L"there is no port for a debugger", static_cast<uint32_t>(error)));
}

// Sockets as long as it lives.
class Sockets
{
public:
    Sockets()
    {
        WSADATA data;
        const int error = WSAStartup(MAKEWORD(2, 2), &data);
        if (error != 0)
            ThrowNoPort(error);
    }
    ~Sockets() { WSACleanup(); }
    Sockets(const Sockets&) = delete;
    Sockets& operator=(const Sockets&) = delete;
};

struct SocketTraits
{
    using Handle = SOCKET;
    static constexpr Handle None() noexcept { return INVALID_SOCKET; }
    static void Close(Handle socket) noexcept { closesocket(socket); }
};

sockaddr_in LoopbackAddress(uint16_t port) noexcept
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

// Asked by connecting: to take the port, and give it back, would keep it from the agent for a while.
void RequireFree(uint16_t port)
{
    const Sockets sockets;
    const BasicUniqueHandle<SocketTraits> socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    const sockaddr_in address = LoopbackAddress(port);
    if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        throw SessionError(SessionFailure::BadRequest,
                           L"--debug: another program listens on port " + std::to_wstring(port));
}

// The system gives each socket without a port of its own one that is free.
uint16_t FreePort()
{
    const Sockets sockets;
    const BasicUniqueHandle<SocketTraits> socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in address = LoopbackAddress(0);
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    int size = sizeof address;
    if (!socket || bind(socket.Get(), name, size) != 0 || getsockname(socket.Get(), name, &size) != 0)
        ThrowNoPort(WSAGetLastError());
    return ntohs(address.sin_port);
}
} // namespace

DebuggerAgent::DebuggerAgent(uint16_t port) : m_port(port != 0 ? port : FreePort())
{
    if (port != 0 && IsRead())
        RequireFree(port);
}

std::optional<uint16_t> DebuggerAgent::PortOf(uint32_t workbenchId)
{
    const std::wstring options = EnvironmentValueOf(workbenchId, c_variable);
    // Of several the last one counts.
    const size_t agent = options.rfind(c_agentOption);
    const size_t place = options.find(L"address=", agent);
    const size_t colon = options.find(L':', place);
    if (agent == std::wstring::npos || place == std::wstring::npos || colon == std::wstring::npos)
        return std::nullopt;
    const uint64_t port = std::wcstoul(options.c_str() + colon + 1, nullptr, 10);
    return port != 0 && port <= UINT16_MAX ? std::optional<uint16_t>(static_cast<uint16_t>(port)) : std::nullopt;
}

EnvironmentEntry DebuggerAgent::Variable() const
{
    const std::wstring own = EnvironmentValue(c_variable);
    return {c_variable, own + (own.empty() ? L"" : L" ") + std::wstring(c_agentOption) +
                            L"=transport=dt_socket,server=y,suspend=n,address=" + c_address + L":" +
                            std::to_wstring(m_port)};
}

bool DebuggerAgent::IsRead() noexcept
{
    return FindExport(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}
