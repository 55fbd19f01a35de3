#include "client/process/DebuggerAgent.h"

#include "client/base/Folders.h"
#include "client/base/SessionError.h"
#include "client/base/SystemFailure.h"
#include "OrvProfiler/foundation/SystemFunction.h"

// Before <windows.h>, which would bring the older one.
#include <windows.h>

#include <winsock2.h>

#include <string>

namespace
{
constexpr const wchar_t* c_variable = L"MONO_ENV_OPTIONS";
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

// The system gives each socket without a port of its own one that is free.
uint16_t FreePort()
{
    const Sockets sockets;
    const BasicUniqueHandle<SocketTraits> socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    int size = sizeof address;
    if (!socket || bind(socket.Get(), name, size) != 0 || getsockname(socket.Get(), name, &size) != 0)
        ThrowNoPort(WSAGetLastError());
    return ntohs(address.sin_port);
}
} // namespace

DebuggerAgent::DebuggerAgent(uint16_t port) : m_port(port != 0 ? port : FreePort()) {}

EnvironmentEntry DebuggerAgent::Variable() const
{
    const std::wstring own = EnvironmentValue(c_variable);
    return {c_variable, own + (own.empty() ? L"" : L" ") +
                            L"--debugger-agent=transport=dt_socket,server=y,suspend=n,address=" + c_address + L":" +
                            std::to_wstring(m_port)};
}

bool DebuggerAgent::IsRead() noexcept
{
    return FindExport(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}
