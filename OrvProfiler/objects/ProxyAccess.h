#pragma once

#include "OrvProfiler/foundation/ThreadLock.h"
#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <atomic>
#include <cstdint>

// A named mutex shared by several processes, which knows the thread of this process that holds it. One Unlock
// releases it, however often its owner has locked it. A mutex whose holder has died is acquired like a free one. The
// order of the fields is the family's.
class CProxyAccess
{
public:
    // Creates the mutex, or opens it when another process made it first. The security manager forms the kernel name
    // from session and name. Nobody holds a new one. On failure, which is traced, there is no mutex and Lock fails.
    // name is copied.
    CProxyAccess(uint32_t session, const wchar_t* name);
    // Unlocks if the calling thread holds it, then closes the handle.
    ~CProxyAccess();
    CProxyAccess(const CProxyAccess&) = delete;
    CProxyAccess& operator=(const CProxyAccess&) = delete;

    // Waits for the mutex, at most timeoutMs milliseconds (0xFFFFFFFF: without limit). Returns at once when the
    // thread holds it already. Returns whether the calling thread holds it now; false without a mutex. Any thread.
    bool Lock(uint32_t timeoutMs);
    // Releases the mutex if the calling thread holds it. Returns whether no thread of this process holds it now.
    bool Unlock();

    // False when the mutex existed already.
    bool IsFirstInstance() const noexcept { return m_firstInstance; }
    // Whether the calling thread does not hold it.
    bool IsNotHeld() const noexcept;
    // The mutex, still owned here; null when there is none.
    HANDLE GetHandle() const noexcept { return m_mutex.Get(); }

private:
    UniqueHandle m_mutex;
    bool m_firstInstance = true;
    TString m_name;
    // Made and destroyed with the mutex; no operation uses it.
    CThreadLock m_companion;
    // The thread that holds the mutex, 0 for none. Each thread asks only whether it is the owner itself.
    std::atomic<uint32_t> m_owner{0};
};
