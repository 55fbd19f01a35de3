#include "client/process/DebuggerAgent.h"

#include "tests/client/SessionFailure.h"
#include "tests/support/faults/ImportRedirect.h"

// Before <windows.h>, which would bring the older one.
#include <windows.h>

#include <winsock2.h>

#include <gmock/gmock.h>
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
