#include "tests/support/faults/HeldResources.h"
#include "tests/support/processes/ChildProcess.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>

// The main function of every test program. A test that hangs or crashes becomes a failure that names it.

namespace
{
// For longer runs of one test (tools/fuzz, tools/soak) the environment variable ORV_TEST_LIMIT_SECONDS gives another.
constexpr ULONGLONG c_testLimitMs = 90000;
constexpr UINT c_exitWatchdog = 86;
constexpr UINT c_exitCrash = 87;

std::atomic<ULONGLONG> g_deadline{0};
std::atomic<const char*> g_testName{""};

ULONGLONG TestLimitMs()
{
    const char* const text = std::getenv("ORV_TEST_LIMIT_SECONDS");
    return text != nullptr ? std::strtoull(text, nullptr, 10) * 1000 : c_testLimitMs;
}

class WatchedTests : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo& test) override
    {
        g_testName = test.name();
        g_deadline = GetTickCount64() + TestLimitMs();
    }
    // A handle too many says nothing by its number.
    void OnTestPartResult(const testing::TestPartResult& result) override
    {
        if (result.failed() && std::strstr(result.message(), "OpenHandleCount") != nullptr)
            std::printf("handles open now:\n%s", OpenHandleNames().c_str());
    }
    void OnTestEnd(const testing::TestInfo&) override { g_deadline = 0; }
};

// Ends a test that crashes. Otherwise Wine would start its debugger, and the exit code would now and then be 0, which
// looks like a success.
LONG WINAPI OnCrash(EXCEPTION_POINTERS* exception)
{
    std::fprintf(stderr, "the test %s crashes: exception %08lX at %p\n", g_testName.load(),
                 exception->ExceptionRecord->ExceptionCode, exception->ExceptionRecord->ExceptionAddress);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), c_exitCrash);
    return EXCEPTION_EXECUTE_HANDLER;
}

// Runs on a plain system thread: a std::thread opens handles at times that no test expects.
DWORD WINAPI Watch(void*)
{
    for (;;)
    {
        Sleep(200);
        const ULONGLONG deadline = g_deadline;
        if (deadline == 0 || GetTickCount64() < deadline)
            continue;
        std::fprintf(stderr, "watchdog: the test %s hangs\n", g_testName.load());
        std::fflush(stderr);
        TerminateProcess(GetCurrentProcess(), c_exitWatchdog);
    }
}
} // namespace

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

extern "C" int wmain(int argc, wchar_t** argv)
{
    SetUnhandledExceptionFilter(OnCrash);
    int exitCode = 0;
    if (RunChildRole(argc, argv, exitCode))
        return exitCode;
    testing::InitGoogleMock(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new WatchedTests);
    CloseHandle(CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr));
    return RUN_ALL_TESTS();
}
