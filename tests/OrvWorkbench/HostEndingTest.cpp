#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/OrvWorkbench/HostFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/NamedObjects.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <optional>
#include <stdexcept>
#include <string>

using contract::Join;
using contract::WaitLines;
using testing::ElementsAre;
using testing::ElementsAreArray;

// How the host ends when Windows raises an exception: in the loop, and while it ends.

namespace
{
constexpr DWORD c_exception = 0xE0001234;
constexpr unsigned c_wentOn = 43;

void Raise()
{
    RaiseException(c_exception, 0, 0, nullptr);
}

void GoOn()
{
    TerminateProcess(GetCurrentProcess(), c_wentOn);
}

void RaiseAtExitingLine(const wchar_t* line)
{
    if (std::wcsstr(line, L"WorkBench Exiting") != nullptr)
        Raise();
}

// A host in a child process whose ending crashes at one step. The steps after it, to the end of the process, say that
// they were reached.
class CrashingEnding : public CHostWithStandIns
{
public:
    // Only if the ending went on.
    int Play(const std::wstring& step)
    {
        if (std::atexit(GoOn) != 0)
            throw std::runtime_error("no exit handler");
        ClientIsThere();
        m_release = GoOn;
        if (step == L"release")
            m_release = Raise;
        if (step == L"release throws")
            m_release = [] { throw std::runtime_error("on purpose"); };
        const TemporaryFolder folder;
        TraceOpen(folder.PathOf(L"host.log").c_str());
        CHost host(m_id, c_assembly, c_type);
        if (step == L"line" || step == L"line after an exception")
            m_line.emplace("OutputDebugStringW", RaiseAtExitingLine);
        if (step == L"line after an exception")
        {
            m_method = [](const ManagedCall&, DWORD*) -> HRESULT {
                Raise();
                return S_OK;
            };
            NextWait(1);
        }
        if (step == L"message")
            m_message.emplace("SendMessageW", [](HWND, UINT, WPARAM, LPARAM) -> LRESULT {
                Raise();
                return 0;
            });
        host.Run();
        if (step == L"line" || step == L"message")
            GoOn();
        if (step == L"close")
            m_close.emplace("fclose", [](FILE*) -> int {
                Raise();
                return 0;
            });
        if (step == L"events")
        {
            m_release = nullptr;
            m_handle.emplace("CloseHandle", [](HANDLE) -> BOOL {
                Raise();
                return TRUE;
            });
        }
        return 0;
    }

private:
    void TestBody() override {}

    std::optional<Redirect<decltype(OutputDebugStringW)>> m_line;
    std::optional<Redirect<decltype(SendMessageW)>> m_message;
    std::optional<Redirect<decltype(std::fclose)>> m_close;
    std::optional<Redirect<decltype(CloseHandle)>> m_handle;
};

class CHostEnding : public testing::TestWithParam<const wchar_t*>
{
};

std::string StepName(const testing::TestParamInfo<const wchar_t*>& info)
{
    std::string name;
    for (const wchar_t unit : std::wstring(info.param))
        name += unit == L' ' ? '_' : static_cast<char>(unit);
    return name;
}

class CHostLoop : public CHostWithStandIns
{
};
} // namespace

ORV_CHILD_ROLE(EndWithACrash)
{
    CrashingEnding ending;
    return ending.Play(arguments.at(0));
}

TEST_P(CHostEnding, EndsTheProcessAtOnceWhenItCrashes)
{
    EXPECT_EQ(1U, ChildProcess::StartRole(L"EndWithACrash", {GetParam()}).WaitForExit());
}

INSTANTIATE_TEST_SUITE_P(At, CHostEnding,
                         testing::Values(L"line", L"line after an exception", L"message", L"close", L"release",
                                         L"release throws", L"events"),
                         StepName);

TEST_F(CHostLoop, EndsInItsOrderAfterAWindowsException)
{
    static int installed = 0;
    const Redirect<decltype(SetUnhandledExceptionFilter)> install(
        "SetUnhandledExceptionFilter", [](LPTOP_LEVEL_EXCEPTION_FILTER) -> LPTOP_LEVEL_EXCEPTION_FILTER {
            ++installed;
            return nullptr;
        });
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"host.log");
    ClientIsThere();
    Client().WriteText(L"x");
    m_method = [](const ManagedCall&, DWORD*) -> HRESULT {
        Raise();
        return S_OK;
    };
    bool logWasClosed = false;
    bool eventsExisted = false;
    m_release = [&] {
        logWasClosed = DeleteFileW(path.c_str()) != FALSE;
        eventsExisted = EventExists(EventKernelName(0)) && EventExists(EventKernelName(10));
    };
    NextWait(1);
    TraceOpen(path.c_str());
    {
        CHost host(m_id, c_assembly, c_type);
        m_trace.Clear();
        EXPECT_EQ(1, host.Run());
        EXPECT_FALSE(TakeSignal(8));
        EXPECT_FALSE(TakeSignal(9));
        EXPECT_EQ(0, m_releases);
    }
    EXPECT_THAT(m_trace.Lines(),
                ElementsAreArray(
                    Join({OpenedShareLines(),
                          {L"CHost::Run Zeph window is 0000000012345678\n", L"window posted 12345678 83f0 0 0\n"},
                          WaitLines(L"EV_LOAD"),
                          {L"CHost::Run Command is Load: x\n", L"runtime LoadAssembly \"x\"\n",
                           L"CHost::Run WorkBench Exception in main loop\n\n", L"CHost::Run WorkBench Exiting\n\n",
                           L"window sent 12345678 83eb 0 0\n", L"runtime release\n"}})));
    EXPECT_EQ(1, m_releases);
    EXPECT_TRUE(logWasClosed);
    EXPECT_TRUE(eventsExisted);
    for (unsigned slot = 0; slot < contract::c_eventCount; ++slot)
        EXPECT_FALSE(EventExists(EventKernelName(slot))) << slot;
    EXPECT_EQ(0, installed);
}

// The text is read where the client may have taken the memory away.
TEST_F(CHostLoop, EndsWhenTheSharesMemoryIsGone)
{
    ClientIsThere();
    DWORD old = 0;
    NextWait(1,
             [&old] { VirtualProtect(g_pShare->GetControl()->commandText, sizeof(wchar_t), PAGE_NOACCESS, &old); });
    CHost host(m_id, c_assembly, c_type);
    m_trace.Clear();
    EXPECT_EQ(1, host.Run());
    VirtualProtect(g_pShare->GetControl()->commandText, sizeof(wchar_t), old, &old);
    const Lines lines = m_trace.Lines();
    ASSERT_LE(4U, lines.size());
    EXPECT_THAT(Lines(lines.end() - 4, lines.end()),
                ElementsAre(L"CWBEvent::Wait Event is EV_LOAD\n", L"CHost::Run WorkBench Exception in main loop\n\n",
                            L"CHost::Run WorkBench Exiting\n\n", L"window sent 12345678 83eb 0 0\n"));
}
