#pragma once

#include "OrvProfiler/foundation/ThreadLock.h"
#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <atomic>
#include <cstdint>

// A named mutex between processes that knows which thread of this process holds it. One Unlock releases it, however
// often the owner has locked it. A mutex whose holder died counts as acquired.
class CProxyAccess
{
public:
    // Creates the mutex, or opens it when another process made it first, under the kernel name that the security
    // manager forms from session and name. Never initially held. When it cannot be had, that is traced and Lock
    // fails. name is copied.
    CProxyAccess(uint32_t session, const wchar_t* name);
    // Unlocks if the calling thread holds it, then closes the handle.
    ~CProxyAccess();
    CProxyAccess(const CProxyAccess&) = delete;
    CProxyAccess& operator=(const CProxyAccess&) = delete;

    // Waits for the mutex, at most timeoutMs milliseconds (0xFFFFFFFF: without limit). A thread that holds it already
    // is answered at once. Returns whether the calling thread holds it now; false without a handle. Any thread.
    bool Lock(uint32_t timeoutMs);
    // Releases the mutex if the calling thread holds it. Returns whether no thread of this process holds it now.
    bool Unlock();

    // False when another process (or object) had made the mutex before.
    bool IsFirstInstance() const noexcept { return m_firstInstance; }
    // Whether the calling thread does not hold it.
    bool IsNotHeld() const noexcept;
    // The mutex, still owned here; null when it could not be had.
    HANDLE GetHandle() const noexcept { return m_mutex.Get(); }

private:
    UniqueHandle m_mutex;
    bool m_firstInstance = true;
    TString m_name;
    // Lives and dies with the mutex; no operation uses it.
    CThreadLock m_companion;
    // The thread that holds the mutex, 0 for none. Each thread asks only whether it is the owner itself.
    std::atomic<uint32_t> m_owner{0};
};
