#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/faults/ImportRedirect.h"

#include <functional>
#include <string>
#include <vector>

// Records what is done with a share's mutexes while it lives: "+2" for a wait without time limit for mutex 2, "-2"
// for its release, "+?" for any other wait. It watches the calling thread alone. At most one at a time, for a share
// that is mapped.
class ShareMutexRecorder
{
public:
    explicit ShareMutexRecorder(CProxyShare& share);
    ~ShareMutexRecorder();
    ShareMutexRecorder(const ShareMutexRecorder&) = delete;
    ShareMutexRecorder& operator=(const ShareMutexRecorder&) = delete;

    const std::vector<std::string>& Entries() const noexcept { return m_entries; }
    void Clear() { m_entries.clear(); }
    // Called just before each wait and each release, with the entry.
    void OnEntry(std::function<void(const std::string&)> call) { m_onEntry = std::move(call); }

private:
    static DWORD Wait(HANDLE handle, DWORD timeoutMs);
    static int Release(HANDLE handle);
    void Add(char sign, HANDLE handle, bool unlimited);

    std::vector<HANDLE> m_mutexes;
    std::vector<std::string> m_entries;
    std::function<void(const std::string&)> m_onEntry;
    // The types of WaitForSingleObject and ReleaseMutex.
    Redirect<DWORD(HANDLE, DWORD)> m_wait;
    Redirect<int(HANDLE)> m_release;
};
