#include "OrvProfiler/Trace.h"
#include "tests/support/AllocationWatch.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ImportRedirect.h"
#include "tests/support/PageEdge.h"
#include "tests/support/SystemProbe.h"
#include "tests/support/TraceCapture.h"

#include <windows.h>

#include <cstdlib>
#include <gtest/gtest.h>

// The harness itself: each way a child can fail has its own exit code, and a redirection is undone.

ORV_CHILD_ROLE(ReturnSeven)
{
    return arguments.size() == 2 && arguments[1] == L"b c" ? 7 : 1;
}

ORV_CHILD_ROLE(Throw)
{
    throw std::runtime_error("on purpose");
}

ORV_CHILD_ROLE(Hang)
{
    Meeting(arguments.at(0)).Signal();
    Sleep(INFINITE);
    return 0;
}

TEST(ChildProcess, ReturnsTheRolesExitCode)
{
    EXPECT_EQ(7U, ChildProcess::StartRole(L"ReturnSeven", {L"a", L"b c"}).WaitForExit());
}

TEST(ChildProcess, TellsAnUnknownRoleAndAThrowingRoleApart)
{
    EXPECT_EQ(90U, ChildProcess::StartRole(L"NoSuchRole").WaitForExit());
    EXPECT_EQ(91U, ChildProcess::StartRole(L"Throw").WaitForExit());
}

TEST(ChildProcess, TimesOutAndIsKilled)
{
    const std::wstring name = FreshName(L"hang");
    const Meeting started(name);
    const ChildProcess child = ChildProcess::StartRole(L"Hang", {name});
    started.Wait();
    EXPECT_THROW(child.WaitForExit(50), std::runtime_error);
    EXPECT_TRUE(child.IsRunning());
    child.Kill(42);
    EXPECT_EQ(42U, child.WaitForExit());
}

#ifdef _MSC_VER
#define ORV_NOINLINE __declspec(noinline)
#else
#define ORV_NOINLINE __attribute__((noinline))
#endif

namespace
{
// A call of its own: within one function the compiler may keep the import's address in a register.
ORV_NOINLINE DWORD AskProcessId()
{
    return GetCurrentProcessId();
}
} // namespace

TEST(ImportRedirect, IsInForceWhileItLivesAndUndoneAfterwards)
{
    const DWORD id = AskProcessId();
    {
        const Redirect<decltype(GetCurrentProcessId)> redirect("GetCurrentProcessId", [] { return DWORD{12}; });
        EXPECT_EQ(12U, AskProcessId());
        EXPECT_EQ(id, redirect.Real()());
    }
    EXPECT_EQ(id, AskProcessId());
}

TEST(ImportRedirect, RefusesAFunctionThatIsNotImported)
{
    EXPECT_THROW(ImportTableEntry("NoSuchFunction", nullptr), std::runtime_error);
}

TEST(SystemProbe, CountsAHandleThatStaysOpen)
{
    const unsigned before = OpenHandleCount();
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(before + 1, OpenHandleCount());
    CloseHandle(event);
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_TRUE(HeapIsConsistent());
}

TEST(TraceCapture, SeesTheFullTextAndStripsTheTime)
{
    const TraceCapture capture;
    Trace(L"%6.0f %s \x20AC\n", 12.0, L"name");
    ASSERT_EQ(1U, capture.Raw().size());
    EXPECT_EQ(L"    12 name \x20AC\n", capture.Raw()[0]);
    EXPECT_EQ(L"name \x20AC\n", capture.Lines()[0]);
    EXPECT_THROW(WithoutTime(L"name \n"), std::runtime_error);
}

TEST(AllocationWatch, CountsBlocksAndRefusesTheOneAsked)
{
    AllocationWatch watch;
    watch.FailOneAfter(1);
    void* const first = std::malloc(10);
    void* const second = std::malloc(20);
    void* const third = std::malloc(30);
    EXPECT_NE(nullptr, first);
    EXPECT_EQ(nullptr, second);
    EXPECT_NE(nullptr, third);
    EXPECT_TRUE(watch.HasFailed());
    EXPECT_EQ(2, watch.Outstanding());
    EXPECT_EQ(3U, watch.Requests());
    EXPECT_EQ(20U, watch.SizeBytes(1));
    std::free(first);
    std::free(third);
    EXPECT_EQ(0, watch.Outstanding());
    watch.FailAllAfter(0);
    void* const refused = std::malloc(40);
    void* const refusedToo = std::realloc(nullptr, 50);
    watch.StopFailing();
    EXPECT_EQ(nullptr, refused);
    EXPECT_EQ(nullptr, refusedToo);
}

TEST(PageEdge, TextEndsWithItsPage)
{
    const PageEdge<wchar_t> page(L"abc");
    EXPECT_STREQ(L"abc", page.Text());
    EXPECT_EQ(page.Text() + 4, page.Unreadable());
    EXPECT_FALSE(IsBadReadPtr(page.Text(), 8));
    EXPECT_TRUE(IsBadReadPtr(page.Text(), 9));
}
