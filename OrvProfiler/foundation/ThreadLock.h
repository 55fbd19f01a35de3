#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <atomic>
#include <cstdint>

// A re-entrant lock between the threads of one process that also records which thread holds it and how often that
// thread has entered it. No operation reports failure: when the section could not be made, the lock does nothing.
class CThreadLock
{
public:
    CThreadLock() noexcept;
    // Leaves once (which only the recorded owner's thread can do), then deletes the section.
    ~CThreadLock();
    CThreadLock(const CThreadLock&) = delete;
    CThreadLock& operator=(const CThreadLock&) = delete;

    // Blocks without time limit until the calling thread holds the lock. Any thread. Returns this lock.
    CThreadLock& Enter();

    // Undoes one Enter of the calling thread. A thread that is not the recorded owner changes nothing; a surplus
    // call of the owner is absorbed.
    void Leave();

private:
    // Entries by the owning thread.
    std::atomic<int32_t> m_count{0};
    // The thread that entered last; deliberately not cleared on leaving. Read by Leave before the section is held.
    std::atomic<uint32_t> m_owner{0};
    // Owned; null when its creation failed.
    _RTL_CRITICAL_SECTION* m_section = nullptr;
};

static_assert(sizeof(CThreadLock) == 16, "count, owner, section");
