#include "client/process/DebuggerAgent.h"

#include "tests/client/SessionFailure.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/ImportRedirect.h"
#include "tests/support/processes/RestingProcess.h"

// Before <windows.h>, which would bring the older one.
#include <windows.h>

#include <winsock2.h>

#include <gmock/gmock.h>
#include <optional>
#include <stdexcept>
#include <string>

using testing::StartsWith;

namespace
{
constexpr const wchar_t* c_options = L"--debugger-agent=transport=dt_socket,server=y,suspend=n,address=127.0.0.1:";

class OwnOptions
{
public:
    explicit OwnOptions(const wchar_t* value) { SetEnvironmentVariableW(L"MONO_ENV_OPTIONS", value); }
    ~OwnOptions() { SetEnvironmentVariableW(L"MONO_ENV_OPTIONS", nullptr); }
    OwnOptions(const OwnOptions&) = delete;
    OwnOptions& operator=(const OwnOptions&) = delete;
};

// A program that listens on a port of its own.
class Listener
{
public:
    Listener()
    {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        m_socket = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int size = sizeof address;
        auto* const name = reinterpret_cast<sockaddr*>(&address);
        if (bind(m_socket, name, size) != 0 || listen(m_socket, 1) != 0 || getsockname(m_socket, name, &size) != 0)
            throw std::runtime_error("nothing to listen on");
        m_port = ntohs(address.sin_port);
    }
    ~Listener()
    {
        closesocket(m_socket);
        WSACleanup();
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    uint16_t Port() const noexcept { return m_port; }

private:
    SOCKET m_socket = INVALID_SOCKET;
    uint16_t m_port = 0;
};

// Whether a program could listen there.
bool IsFree(uint16_t port)
{
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const bool isFree = bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    closesocket(socket);
    WSACleanup();
    return isFree;
}
} // namespace

TEST(DebuggerAgent, ListensOnThePortThatIsChosen)
{
    const OwnOptions none(nullptr);
    const DebuggerAgent agent(51234);
    EXPECT_EQ(51234, agent.Port());
    EXPECT_EQ(L"MONO_ENV_OPTIONS", agent.Variable().first);
    EXPECT_EQ(c_options + std::wstring(L"51234"), agent.Variable().second);
}

TEST(DebuggerAgent, TakesAPortThatIsFree)
{
    const DebuggerAgent agent(0);
    EXPECT_NE(0, agent.Port());
    EXPECT_TRUE(IsFree(agent.Port()));
    EXPECT_EQ(c_options + std::to_wstring(agent.Port()), agent.Variable().second);
}

TEST(DebuggerAgent, LeavesTheOptionsThatTheUserHas)
{
    const OwnOptions own(L"--trace=N:Shop");
    EXPECT_EQ(L"--trace=N:Shop " + std::wstring(c_options) + L"7", DebuggerAgent(7).Variable().second);
}

// The agent would get none, and say nothing.
TEST(DebuggerAgent, RefusesAPortOnWhichSomebodyListens)
{
    const Listener other;
    const auto failure = FailureOf([&] { DebuggerAgent agent(other.Port()); });
    EXPECT_EQ(SessionFailure::BadRequest, failure.second);
    EXPECT_EQ(L"--debug: another program listens on port " + std::to_wstring(other.Port()), failure.first);
}

// There the port is not used.
TEST(DebuggerAgent, TakesAnyPortWhereNoAgentIs)
{
    const Listener other;
    const FailingCall<decltype(GetProcAddress)> windows("GetProcAddress", ERROR_PROC_NOT_FOUND);
    EXPECT_EQ(other.Port(), DebuggerAgent(other.Port()).Port());
}

TEST(DebuggerAgent, IsFoundInTheWorkbenchOfSomebodyElse)
{
    const struct
    {
        const wchar_t* options;
        std::optional<uint16_t> port;
    } cases[] = {
        {L"--debugger-agent=transport=dt_socket,server=y,suspend=n,address=127.0.0.1:55555", uint16_t{55555}},
        {L"--trace=N:Shop --debugger-agent=transport=dt_socket,address=0.0.0.0:1", uint16_t{1}},
        {L"--debugger-agent=address=a:7 --debugger-agent=address=b:8", uint16_t{8}},
        {L"address=127.0.0.1:55555", std::nullopt},
        {L"--debugger-agent=transport=dt_socket", std::nullopt},
        {L"--debugger-agent=address=7", std::nullopt},
        {L"--debugger-agent=address=a:0", std::nullopt},
        {L"--debugger-agent=address=a:65536", std::nullopt},
        {nullptr, std::nullopt},
    };
    for (const auto& expected : cases)
    {
        const OwnOptions own(expected.options);
        const ChildProcess workbench = StartRestingProcess();
        EXPECT_EQ(expected.port, DebuggerAgent::PortOf(workbench.Id()))
            << (expected.options == nullptr ? L"none" : expected.options);
    }
    EXPECT_EQ(std::nullopt, DebuggerAgent::PortOf(0));
}

TEST(DebuggerAgent, SaysWhyThereIsNoPort)
{
    const auto failure = [] { return FailureOf([] { DebuggerAgent agent(0); }); };
    {
        const Redirect<decltype(WSAStartup)> start("WSAStartup",
                                                   [](WORD, WSADATA*) -> int { return WSASYSNOTREADY; });
        EXPECT_THAT(failure().first, StartsWith(L"there is no port for a debugger: "));
    }
    {
        const Redirect<decltype(::socket)> socket("socket", [](int, int, int) -> SOCKET { return INVALID_SOCKET; });
        EXPECT_EQ(SessionFailure::NoWorkbench, failure().second);
    }
    {
        const Redirect<decltype(bind)> refused("bind",
                                               [](SOCKET, const sockaddr*, int) -> int { return SOCKET_ERROR; });
        EXPECT_EQ(SessionFailure::NoWorkbench, failure().second);
    }
    const Redirect<decltype(getsockname)> nameless("getsockname",
                                                   [](SOCKET, sockaddr*, int*) -> int { return SOCKET_ERROR; });
    EXPECT_EQ(SessionFailure::NoWorkbench, failure().second);
}
