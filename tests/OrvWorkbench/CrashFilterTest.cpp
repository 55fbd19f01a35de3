#include "OrvProfiler/OrvWorkbench/CrashFilter.h"

#include "tests/support/processes/ChildProcess.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace
{
constexpr unsigned c_filtered = 41;
constexpr unsigned c_previous = 42;
constexpr unsigned c_ended = 43;
constexpr DWORD c_exception = 0xE0001234;

DWORD WINAPI Raise(void*)
{
    RaiseException(c_exception, 0, 0, nullptr);
    return 0;
}

void RaiseOnAThread()
{
    HANDLE const thread = CreateThread(nullptr, 0, Raise, nullptr, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

void TakeWithPreviousFilter()
{
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS* exception) -> LONG {
        const bool isExpected = exception->ExceptionRecord->ExceptionCode == c_exception;
        TerminateProcess(GetCurrentProcess(), isExpected ? c_previous : 1);
        return EXCEPTION_EXECUTE_HANDLER;
    });
}

struct Destructor
{
    ~Destructor() { TerminateProcess(GetCurrentProcess(), 1); }
};
} // namespace

ORV_CHILD_ROLE(CrashInAFilteredThread)
{
    const Destructor doesNotRun;
    const CCrashFilter filter([] {}, c_filtered);
    return static_cast<int>(Raise(nullptr));
}

ORV_CHILD_ROLE(CrashWithAnEnding)
{
    const CCrashFilter filter([] { TerminateProcess(GetCurrentProcess(), c_ended); }, c_filtered);
    return static_cast<int>(Raise(nullptr));
}

ORV_CHILD_ROLE(CrashInTheEnding)
{
    static int endings = 0;
    const CCrashFilter filter(
        [] {
            if (++endings > 1)
                TerminateProcess(GetCurrentProcess(), c_ended);
            Raise(nullptr);
        },
        c_filtered);
    return static_cast<int>(Raise(nullptr));
}

ORV_CHILD_ROLE(CrashOnAnotherThread)
{
    TakeWithPreviousFilter();
    const CCrashFilter filter([] { TerminateProcess(GetCurrentProcess(), c_ended); }, c_filtered);
    RaiseOnAThread();
    return 0;
}

ORV_CHILD_ROLE(CrashAfterTheFilter)
{
    TakeWithPreviousFilter();
    {
        const CCrashFilter filter([] { TerminateProcess(GetCurrentProcess(), c_ended); }, c_filtered);
    }
    return static_cast<int>(Raise(nullptr));
}

TEST(CrashFilter, EndsTheProcessWithoutUnwinding)
{
    EXPECT_EQ(41U, ChildProcess::StartRole(L"CrashInAFilteredThread").WaitForExit());
}

TEST(CrashFilter, RunsTheEndingFirst)
{
    EXPECT_EQ(43U, ChildProcess::StartRole(L"CrashWithAnEnding").WaitForExit());
}

TEST(CrashFilter, EndsTheProcessWhenTheEndingCrashes)
{
    EXPECT_EQ(41U, ChildProcess::StartRole(L"CrashInTheEnding").WaitForExit());
}

TEST(CrashFilter, LeavesOtherThreadsToThePreviousFilter)
{
    EXPECT_EQ(42U, ChildProcess::StartRole(L"CrashOnAnotherThread").WaitForExit());
}

TEST(CrashFilter, PutsThePreviousFilterBack)
{
    EXPECT_EQ(42U, ChildProcess::StartRole(L"CrashAfterTheFilter").WaitForExit());
}
