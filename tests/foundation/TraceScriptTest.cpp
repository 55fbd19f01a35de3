#include "OrvProfiler/foundation/PerfTimer.h"
#include "OrvProfiler/foundation/ThreadLock.h"
#include "OrvProfiler/foundation/Trace.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <memory>

// What the trace log, the clock and the thread lock ask of the system, in their order.

namespace
{
using TraceScript = ScriptTest;
using TickMsScript = ScriptTest;
using CPerfTimerScript = ScriptTest;
using CThreadLockScript = ScriptTest;

// A line as the product writes it, with a time that is always the same.
void Say(const wchar_t* text)
{
    Trace(L"%6.0f %s %s\n", 0.0, L"Say", text);
}
} // namespace

TEST_F(TraceScript, WritesToTheDebuggerThenToTheFileWhichItFlushes)
{
    const TemporaryFile file("");
    m_script.Rename(file.Path(), L"{file}");
    m_script.Clear();
    Say(L"before");
    TraceOpen(file.Path());
    Say(L"within");
    TraceOpen(L"another");
    TraceClose();
    TraceClose();
    Say(L"after");
    EXPECT_TRUE(m_script.Is({L"trace Say before\n", L"_wfopen_s {file} w,ccs=UNICODE", L"trace Say within\n",
                             L"file Say within\n", L"flush", L"fclose", L"trace Say after\n"}));
}

TEST_F(TraceScript, GoesOnWithoutItsFile)
{
    m_script.Fail("_wfopen_s");
    TraceOpen(L"file");
    Say(L"text");
    TraceClose();
    EXPECT_TRUE(m_script.Is({L"_wfopen_s file w,ccs=UNICODE fails", L"trace Say text\n"}));
}

TEST_F(TraceScript, WritesNothingForNoText)
{
    Trace(L"");
    FormatSlot(L"%d", 5);
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(TraceScript, LooksUpTexts)
{
    SetLastError(5);
    ErrorText(0);
    ErrorText(7);
    ResourceText(nullptr, 1);
    EXPECT_TRUE(m_script.Is({L"FormatMessageW 5", L"FormatMessageW 7", L"LoadStringW null 1 1024"}));
}

// It asks once in a process, so it has one of its own.
ORV_CHILD_ROLE(DebuggerScript)
{
    CallScript script;
    DebuggerCheck();
    DebuggerCheck();
    DebuggerCheckRelease();
    DebuggerCheckRelease();
    return arguments.empty() && script.Is({L"LoadLibraryW kernel32", L"GetProcAddress kernel32 IsDebuggerPresent",
                                           L"IsDebuggerPresent", L"FreeLibrary kernel32"})
               ? 0
               : 1;
}

TEST(DebuggerCheckScript, AsksForADebuggerOnce)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"DebuggerScript").WaitForExit());
}

TEST_F(TickMsScript, ReadsTheFrequencyThenTheCounter)
{
    m_script.Show("QueryPerformanceCounter");
    m_script.Show("QueryPerformanceFrequency");
    TickMs();
    EXPECT_TRUE(m_script.Is({L"QueryPerformanceFrequency", L"QueryPerformanceCounter"}));
}

TEST_F(CPerfTimerScript, ReadsTheCounterAtItsStartItsStopAndItsEnd)
{
    m_script.Show("QueryPerformanceCounter");
    m_script.Show("QueryPerformanceFrequency");
    {
        CPerfTimer timer;
        EXPECT_TRUE(m_script.Is({L"QueryPerformanceFrequency"}));
        timer.Start();
        EXPECT_TRUE(m_script.Is({L"QueryPerformanceCounter"}));
        timer.Stop();
        EXPECT_TRUE(m_script.Is({L"QueryPerformanceCounter"}));
        EXPECT_GE(timer.Seconds(), 0.0);
        EXPECT_TRUE(m_script.Is({}));
    }
    EXPECT_TRUE(m_script.Is({L"QueryPerformanceCounter"}));
}

// The owner lies behind the count, four bytes each.
TEST_F(CThreadLockScript, KnowsItsOwnerWithinTheSection)
{
    m_script.Show("EnterCriticalSection");
    m_script.Show("LeaveCriticalSection");
    auto lock = std::make_unique<CThreadLock>();
    EXPECT_TRUE(m_script.Is({L"InitializeCriticalSection"}));
    const auto* const fields = reinterpret_cast<const volatile int32_t*>(lock.get());
    m_script.WatchState([fields] {
        const bool isOwner = static_cast<uint32_t>(fields[1]) == GetCurrentThreadId();
        return L"count " + std::to_wstring(fields[0]) + (isOwner ? L", owner" : L", no owner");
    });
    lock->Leave();
    EXPECT_TRUE(m_script.Is({}));
    lock->Enter();
    lock->Enter();
    EXPECT_TRUE(
        m_script.Is({L"EnterCriticalSection", L"= count 1, owner", L"EnterCriticalSection", L"= count 2, owner"}));
    lock->Leave();
    lock->Leave();
    EXPECT_TRUE(
        m_script.Is({L"= count 1, owner", L"LeaveCriticalSection", L"= count 0, owner", L"LeaveCriticalSection"}));
    lock->Leave();
    EXPECT_TRUE(m_script.Is({}));
    m_script.WatchState(nullptr);
    lock->Enter();
    m_script.Clear();
    lock.reset();
    EXPECT_TRUE(m_script.Is({L"LeaveCriticalSection", L"DeleteCriticalSection"}));
}
