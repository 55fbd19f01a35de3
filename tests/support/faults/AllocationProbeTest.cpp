#include "tests/support/faults/AllocationProbe.h"

#include "tests/support/faults/HeapCalls.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <new>
#include <vector>

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
    using Attempt = void* (*)();
    constexpr Attempt attempts[] = {[] { return g_malloc(15); }, [] { return g_calloc(3, 5); },
                                    [] { return g_realloc(nullptr, 15); }};
    for (const Attempt attempt : attempts)
    {
        heap.FailRequest(2);
        g_free(g_malloc(15));
        EXPECT_EQ(nullptr, attempt());
        g_free(g_malloc(15));
    }
    EXPECT_EQ(0U, heap.LiveBlocks());
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
