#include "OrvProfiler/foundation/SystemFunction.h"
#include "OrvProfiler/foundation/Trace.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallScript.h"
#include "tests/support/faults/GuardedBlock.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/ImportRedirect.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/faults/SystemFaults.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <cstdlib>
#include <gmock/gmock.h>
#include <new>
#include <vector>

// Tests of the harness itself.

ORV_CHILD_ROLE(ReturnSeven)
{
    return arguments.size() == 2 && arguments[1] == L"b c" ? 7 : 1;
}

ORV_CHILD_ROLE(Throw)
{
    throw std::runtime_error("on purpose");
}

ORV_CHILD_ROLE(Crash)
{
    volatile int* const nowhere = reinterpret_cast<int*>(static_cast<uintptr_t>(arguments.size()) * 16);
    return *nowhere;
}

ORV_CHILD_ROLE(Hang)
{
    Meeting(arguments.at(0)).Signal();
    Sleep(INFINITE);
    return 0;
}

TEST(ChildProcess, ACrashIsNoSuccess)
{
    EXPECT_EQ(87U, ChildProcess::StartRole(L"Crash").WaitForExit());
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
// A function of its own for the call: within one function the compiler may keep the import's address in a register.
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

TEST(HeldResources, CountAHandleThatStaysOpen)
{
    const unsigned before = OpenHandleCount();
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(before + 1, OpenHandleCount());
    CloseHandle(event);
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_TRUE(HeapIsConsistent());
}

namespace
{
// Called through these, so that the compiler cannot leave out a block that nothing uses.
void* (*volatile g_malloc)(size_t) = std::malloc;
void* (*volatile g_calloc)(size_t, size_t) = std::calloc;
void* (*volatile g_realloc)(void*, size_t) = std::realloc;
void (*volatile g_free)(void*) = std::free;
void* (*volatile g_new)(size_t) = operator new;
void (*volatile g_delete)(void*) = operator delete;
} // namespace

TEST(AllocationProbe, CountsTheBlocksThatStayTaken)
{
    const AllocationProbe heap;
    void* const plain = g_realloc(g_malloc(200), 300);
    void* const zeroed = g_calloc(10, 40);
    void* const object = g_new(500);
    EXPECT_EQ(3U, heap.LiveBlocks());
    EXPECT_EQ((std::vector<size_t>{200, 300, 400, 500}), heap.Requests());
    g_free(plain);
    g_free(nullptr);
    EXPECT_EQ(2U, heap.LiveBlocks());
    g_free(zeroed);
    g_delete(object);
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(AllocationProbe, LeavesOtherThreadsAlone)
{
    static void* block;
    AllocationProbe heap;
    heap.FailSize(100);
    HANDLE const thread = CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
            block = g_malloc(100);
            return 0;
        },
        nullptr, 0, nullptr);
    WaitForSingleObject(thread, 30000);
    CloseHandle(thread);
    EXPECT_NE(nullptr, block);
    EXPECT_EQ(0U, heap.LiveBlocks());
    g_free(block);
}

TEST(AllocationProbe, FailsTheRequestAskedForOnce)
{
    AllocationProbe heap;
    heap.FailSize(300);
    g_free(g_malloc(200));
    EXPECT_THROW(g_new(300), std::bad_alloc);
    g_delete(g_new(300));
    for (const auto& attempt :
         {+[] { return g_malloc(15); }, +[] { return g_calloc(3, 5); }, +[] { return g_realloc(nullptr, 15); }})
    {
        heap.FailRequest(2);
        g_free(g_malloc(15));
        EXPECT_EQ(nullptr, attempt());
        g_free(g_malloc(15));
    }
    EXPECT_EQ(0U, heap.LiveBlocks());
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

TEST(AllocationProbe, RefusesOneRequestOrAllThatFollow)
{
    AllocationProbe heap;
    heap.FailRequest(2);
    void* const first = g_malloc(10);
    EXPECT_FALSE(heap.HasFailed());
    EXPECT_EQ(nullptr, g_malloc(20));
    EXPECT_TRUE(heap.HasFailed());
    void* const third = g_malloc(30);
    EXPECT_NE(nullptr, third);
    heap.FailFrom(2);
    void* const fourth = g_malloc(40);
    const bool refused = g_malloc(50) == nullptr && g_calloc(6, 10) == nullptr && g_realloc(fourth, 70) == nullptr;
    heap.StopFailing();
    EXPECT_TRUE(refused);
    EXPECT_EQ(3U, heap.LiveBlocks());
    for (void* const block : {first, third, fourth})
        g_free(block);
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(AllocationProbe, LetsAnExceptionPassWhenThereIsNoMemoryAtAll)
{
    AllocationProbe heap;
    heap.FailFrom(1);
    bool raised = false;
    try
    {
        g_delete(g_new(50));
    }
    catch (const std::bad_alloc&)
    {
        raised = true;
    }
    heap.StopFailing();
    EXPECT_TRUE(raised);
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(AllocationProbe, LeavesOutWhatIsTheTestsOwn)
{
    AllocationProbe heap;
    heap.FailFrom(1);
    void* own = nullptr;
    {
        const AllocationProbe::Unwatched unwatched;
        own = g_malloc(10);
    }
    void* const refused = g_malloc(10);
    heap.StopFailing();
    EXPECT_NE(nullptr, own);
    EXPECT_EQ(nullptr, refused);
    EXPECT_EQ(0U, heap.LiveBlocks());
    EXPECT_THAT(heap.Requests(), testing::ElementsAre(10));
    g_free(own);
}

namespace
{
// Calls of the test program, through its import table.
HANDLE MakeEvent()
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

BOOL CloseEvent(HANDLE event)
{
    return CloseHandle(event);
}
} // namespace

TEST(SystemFaults, FailsTheCallAskedForAndCountsThoseThatAreNotTheTestsOwn)
{
    SystemFaults faults;
    CloseEvent(MakeEvent());
    EXPECT_EQ(0U, faults.Calls("CreateEventW"));
    faults.FailCall("CreateEventW", 2);
    HANDLE const first = MakeEvent();
    HANDLE own = nullptr;
    {
        const SystemFaults::Paused paused;
        own = MakeEvent();
    }
    EXPECT_FALSE(faults.HasFailed());
    SetLastError(0);
    HANDLE const second = MakeEvent();
    const DWORD error = GetLastError();
    HANDLE const third = MakeEvent();
    faults.Stop();
    EXPECT_TRUE(faults.HasFailed());
    EXPECT_NE(nullptr, first);
    EXPECT_NE(nullptr, own);
    EXPECT_EQ(nullptr, second);
    EXPECT_EQ(1450U, error);
    EXPECT_NE(nullptr, third);
    EXPECT_EQ(3U, faults.Calls("CreateEventW"));
    EXPECT_EQ(2U, faults.Successes("CreateEventW"));
    for (HANDLE const event : {first, own, third})
        CloseEvent(event);
    EXPECT_THROW(faults.FailCall("NoSuchFunction", 1), std::runtime_error);
}

TEST(SystemFaults, LetsACallThatGivesBackDoSoBeforeItFails)
{
    SystemFaults faults;
    const unsigned handles = OpenHandleCount();
    faults.FailCall("CloseHandle", 1);
    HANDLE const event = MakeEvent();
    EXPECT_FALSE(CloseEvent(event));
    EXPECT_EQ(0U, faults.SurplusReleases());
    EXPECT_FALSE(CloseEvent(event));
    EXPECT_EQ(1U, faults.SurplusReleases());
    EXPECT_FALSE(CloseEvent(nullptr));
    faults.Stop();
    EXPECT_EQ(1U, faults.SurplusReleases());
    EXPECT_EQ(1U, faults.Successes("CloseHandle"));
    EXPECT_EQ(handles, OpenHandleCount());
}

TEST(SystemFaults, ReachesWhatIsLookedUp)
{
    SystemFaults faults;
    const SystemFunction<DWORD(HANDLE)> getId(GetModuleHandleW(L"kernel32"), "GetProcessId");
    ASSERT_TRUE(getId != nullptr);
    faults.FailCall("GetProcessId", 1);
    EXPECT_EQ(0U, getId(GetCurrentProcess()));
    EXPECT_EQ(GetCurrentProcessId(), getId(GetCurrentProcess()));
    EXPECT_EQ(2U, faults.Calls("GetProcessId"));
}

TEST(GuardedBlock, EndsWithItsPage)
{
    const GuardedBlock guard(12);
    void* const other = g_malloc(16);
    EXPECT_FALSE(guard.IsTaken());
    void* const block = g_malloc(12);
    EXPECT_TRUE(guard.IsTaken());
    EXPECT_FALSE(IsBadWritePtr(block, 12));
    EXPECT_TRUE(IsBadWritePtr(block, 13));
    g_free(block);
    g_free(other);
    g_free(g_malloc(12));
}

TEST(PageEdge, TextEndsWithItsPage)
{
    const PageEdge<wchar_t> page(L"abc");
    EXPECT_STREQ(L"abc", page.Text());
    EXPECT_EQ(page.Text() + 4, page.Unreadable());
    EXPECT_FALSE(IsBadReadPtr(page.Text(), 8));
    EXPECT_TRUE(IsBadReadPtr(page.Text(), 9));
}

TEST(CallScript, RecordsCallsLinesWritesAndStatesInTheirOrder)
{
    const TraceCapture trace;
    auto* const page =
        static_cast<unsigned char*>(VirtualAlloc(nullptr, 1, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    const std::wstring name = FreshName(L"script");
    int state = 0;
    CallScript script;
    script.Rename(name, L"{event}");
    script.WatchWrites(page, L"{page}");
    script.WatchState([&state] { return L"state " + std::to_wstring(state); });
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, name.c_str());
    page[0] = 1;
    page[1] = 2;
    state = 1;
    SetEvent(event);
    page[2] = 3;
    Trace(L"%6.0f %s\n", 0.0, L"Line");
    CloseHandle(event);
    EXPECT_TRUE(script.Is({L"CreateEventW default 1 0 {event}", L"writes {page}", L"= state 1", L"SetEvent {event}",
                           L"writes {page}", L"trace Line\n", L"CloseHandle {event}"}));
    EXPECT_TRUE(script.Is({}));
    script.WatchState(nullptr);
    script.Hide("SetEvent");
    script.Fail("ResetEvent");
    SetEvent(nullptr);
    ResetEvent(nullptr);
    EXPECT_FALSE(script.Is({L"ResetEvent null"})) << "another script";
    script.Clear();
    EXPECT_EQ(6, page[0] + page[1] + page[2]);
    VirtualFree(page, 0, MEM_RELEASE);
}
