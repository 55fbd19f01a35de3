#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <atomic>
#include <cstdint>

// A re-entrant lock between the threads of one process. It records which thread holds it, and how often that thread
// has entered it. Nothing reports failure: without its critical section the lock does nothing.
class CThreadLock
{
public:
    CThreadLock() noexcept;
    // Leaves once, if the calling thread is the recorded owner; then deletes the section.
    ~CThreadLock();
    CThreadLock(const CThreadLock&) = delete;
    CThreadLock& operator=(const CThreadLock&) = delete;

    // Blocks without time limit until the calling thread holds the lock. Any thread. Returns this lock.
    CThreadLock& Enter();

    // Undoes one Enter of the calling thread. Does nothing for a thread that is not the recorded owner, or for a call
    // too many.
    void Leave();

private:
    // How often the owner has entered.
    std::atomic<int32_t> m_count{0};
    // The thread that entered last; not cleared on leaving, on purpose. Leave reads it without holding the section.
    std::atomic<uint32_t> m_owner{0};
    // Owned; null when its creation failed.
    _RTL_CRITICAL_SECTION* m_section = nullptr;
};

static_assert(sizeof(CThreadLock) == 16, "count, owner, section");
