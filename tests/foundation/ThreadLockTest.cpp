#include "OrvProfiler/foundation/ThreadLock.h"

#include "tests/support/contract/ObjectFields.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <atomic>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace
{
struct LockFields
{
    int32_t count;
    uint32_t owner;
    CRITICAL_SECTION* section;
};

// Whether another thread could enter the section now.
bool IsFree(const CThreadLock& lock)
{
    bool entered = false;
    std::thread([section = FieldsOf<LockFields>(lock).section, &entered] {
        entered = TryEnterCriticalSection(section) != FALSE;
        if (entered)
            LeaveCriticalSection(section);
    }).join();
    return entered;
}

CRITICAL_SECTION* g_watched = nullptr;
std::atomic<int> g_calls{0};

// Counts the calls of one critical section function for a lock's section, in place of the function itself.
class CountedSectionCall
{
public:
    CountedSectionCall(const char* name, const CThreadLock& lock)
    {
        g_calls = 0;
        g_watched = FieldsOf<LockFields>(lock).section;
        m_redirect.emplace(name, Count);
        s_real = m_redirect->Real();
    }
    int Calls() const { return g_calls; }

private:
    static void WINAPI Count(CRITICAL_SECTION* section)
    {
        // The runtime library's own sections go on working.
        if (section == g_watched)
            ++g_calls;
        else
            s_real(section);
    }

    static inline void(WINAPI* s_real)(CRITICAL_SECTION*);
    std::optional<Redirect<decltype(LeaveCriticalSection)>> m_redirect;
};
} // namespace

TEST(CThreadLock, StartsFreeWithoutAnOwner)
{
    const CThreadLock lock;
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
    EXPECT_EQ(0U, FieldsOf<LockFields>(lock).owner);
    ASSERT_NE(nullptr, FieldsOf<LockFields>(lock).section);
    EXPECT_TRUE(IsFree(lock));
}

TEST(CThreadLock, EnterRecordsTheThreadAndReturnsTheLock)
{
    CThreadLock lock;
    EXPECT_EQ(&lock, &lock.Enter());
    EXPECT_EQ(1, FieldsOf<LockFields>(lock).count);
    EXPECT_EQ(GetCurrentThreadId(), FieldsOf<LockFields>(lock).owner);
    EXPECT_FALSE(IsFree(lock));
    lock.Leave();
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
    EXPECT_EQ(GetCurrentThreadId(), FieldsOf<LockFields>(lock).owner); // not cleared
    EXPECT_TRUE(IsFree(lock));
}

TEST(CThreadLock, IsReentrant)
{
    CThreadLock lock;
    lock.Enter().Enter();
    EXPECT_EQ(2, FieldsOf<LockFields>(lock).count);
    lock.Leave();
    EXPECT_EQ(1, FieldsOf<LockFields>(lock).count);
    EXPECT_FALSE(IsFree(lock));
    lock.Leave();
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
    EXPECT_TRUE(IsFree(lock));
}

TEST(CThreadLock, LeaveBeforeAnyEnterChangesNothing)
{
    CThreadLock lock;
    lock.Leave();
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
    EXPECT_EQ(0U, FieldsOf<LockFields>(lock).owner);
    EXPECT_TRUE(IsFree(lock));
}

TEST(CThreadLock, AbsorbsASurplusLeave)
{
    CThreadLock lock;
    lock.Enter();
    lock.Leave();
    {
        const CountedSectionCall leave("LeaveCriticalSection", lock);
        lock.Leave();
        lock.Leave();
        EXPECT_EQ(0, leave.Calls());
    }
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
    lock.Enter();
    EXPECT_EQ(1, FieldsOf<LockFields>(lock).count);
    EXPECT_FALSE(IsFree(lock));
    lock.Leave();
    EXPECT_TRUE(IsFree(lock));
}

TEST(CThreadLock, LeaveByAnotherThreadChangesNothing)
{
    CThreadLock lock;
    lock.Enter();
    std::thread([&lock] { lock.Leave(); }).join();
    EXPECT_EQ(1, FieldsOf<LockFields>(lock).count);
    EXPECT_EQ(GetCurrentThreadId(), FieldsOf<LockFields>(lock).owner);
    EXPECT_FALSE(IsFree(lock));
    lock.Leave();
    EXPECT_TRUE(IsFree(lock));
}

TEST(CThreadLock, PassesToTheThreadThatEntersNext)
{
    CThreadLock lock;
    lock.Enter();
    lock.Leave();
    uint32_t other = 0;
    std::thread([&] {
        lock.Enter();
        other = GetCurrentThreadId();
        EXPECT_EQ(other, FieldsOf<LockFields>(lock).owner);
        lock.Leave();
    }).join();
    EXPECT_EQ(other, FieldsOf<LockFields>(lock).owner);
    lock.Leave(); // no longer the owner
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
    EXPECT_TRUE(IsFree(lock));
}

TEST(CThreadLock, LetsOneThreadInAtATime)
{
    CThreadLock lock;
    int inside = 0;
    int most = 0;
    int total = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i)
    {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round)
            {
                lock.Enter();
                lock.Enter();
                most = std::max(most, ++inside);
                ++total;
                --inside;
                lock.Leave();
                lock.Leave();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(1, most);
    EXPECT_EQ(12000, total);
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
    EXPECT_TRUE(IsFree(lock));
}

TEST(CThreadLock, DestructionLeavesTheSectionOnceForItsOwner)
{
    auto lock = std::make_unique<CThreadLock>();
    lock->Enter();
    const CountedSectionCall leave("LeaveCriticalSection", *lock);
    lock.reset();
    EXPECT_EQ(1, leave.Calls());
}

TEST(CThreadLock, DestructionOfAFreeLockLeavesNothing)
{
    auto lock = std::make_unique<CThreadLock>();
    lock->Enter();
    lock->Leave();
    const CountedSectionCall leave("LeaveCriticalSection", *lock);
    lock.reset();
    EXPECT_EQ(0, leave.Calls());
}

TEST(CThreadLock, DestructionByAnotherThreadLeavesNothing)
{
    auto lock = std::make_unique<CThreadLock>();
    lock->Enter();
    const CountedSectionCall leave("LeaveCriticalSection", *lock);
    std::thread([&lock] { lock.reset(); }).join();
    EXPECT_EQ(0, leave.Calls());
}

TEST(CThreadLock, DestructionDeletesTheSectionOnce)
{
    auto lock = std::make_unique<CThreadLock>();
    const CountedSectionCall deleted("DeleteCriticalSection", *lock);
    lock.reset();
    EXPECT_EQ(1, deleted.Calls());
}

TEST(CThreadLock, GivesItsMemoryBack)
{
    const AllocationProbe heap;
    {
        const CThreadLock lock;
        EXPECT_EQ(1U, heap.LiveBlocks());
        EXPECT_EQ(40U, heap.Requests().at(0)); // a critical section
    }
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(CThreadLock, DropsAnExceptionOfTheDeletion)
{
    static int calls;
    calls = 0;
    const AllocationProbe heap;
    {
        auto lock = std::make_unique<CThreadLock>();
        const Redirect<decltype(DeleteCriticalSection)> deletion("DeleteCriticalSection", [](CRITICAL_SECTION*) {
            ++calls;
            throw std::runtime_error("on purpose");
        });
        EXPECT_NO_THROW(lock.reset());
    }
    EXPECT_EQ(1, calls);
    EXPECT_EQ(0U, heap.LiveBlocks());
}

// What a lock without a section does.
static void ExpectToDoNothing(CThreadLock& lock)
{
    EXPECT_EQ(nullptr, FieldsOf<LockFields>(lock).section);
    EXPECT_EQ(&lock, &lock.Enter());
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
    EXPECT_EQ(0U, FieldsOf<LockFields>(lock).owner);
    std::thread([&lock] { lock.Enter(); }).join(); // would wait if anything were held
    lock.Leave();
    EXPECT_EQ(0, FieldsOf<LockFields>(lock).count);
}

TEST(CThreadLock, DoesNothingWhenTheSectionCannotBeInitialised)
{
    const AllocationProbe heap;
    std::optional<CThreadLock> lock;
    {
        const Redirect<decltype(InitializeCriticalSection)> initialisation(
            "InitializeCriticalSection", [](CRITICAL_SECTION*) { throw std::runtime_error("on purpose"); });
        const size_t before = heap.LiveBlocks();
        lock.emplace();
        EXPECT_EQ(before, heap.LiveBlocks());
    }
    ExpectToDoNothing(*lock);
    const CountedSectionCall deleted("DeleteCriticalSection", *lock);
    lock.reset();
    EXPECT_EQ(0, deleted.Calls());
}

TEST(CThreadLock, DoesNothingWhenThereIsNoMemoryForTheSection)
{
    std::optional<CThreadLock> lock;
    {
        AllocationProbe heap;
        heap.FailRequest(1);
        lock.emplace();
    }
    ExpectToDoNothing(*lock);
}
