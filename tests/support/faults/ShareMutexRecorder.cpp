#include "tests/support/faults/ShareMutexRecorder.h"

#include "tests/support/contract/Contract.h"

#include <windows.h>

#include <algorithm>

namespace
{
ShareMutexRecorder* g_recorder = nullptr;
// The thread that is watched, and the system's own functions, which other threads get even when the recorder is gone.
DWORD g_watchedThread = 0;
decltype(&WaitForSingleObject) g_realWait = nullptr;
decltype(&ReleaseMutex) g_realRelease = nullptr;
} // namespace

ShareMutexRecorder::ShareMutexRecorder(CProxyShare& share)
    : m_wait("WaitForSingleObject", Wait), m_release("ReleaseMutex", Release)
{
    g_realWait = m_wait.Real();
    g_realRelease = m_release.Real();
    g_watchedThread = GetCurrentThreadId();
    g_recorder = this;
    // One round over all mutexes tells which handle is which.
    for (uint32_t i = 0; i < contract::c_shareMutexCount; ++i)
    {
        share.Lock(i);
        share.Unlock(i);
    }
    Clear();
}

ShareMutexRecorder::~ShareMutexRecorder()
{
    g_watchedThread = 0;
    g_recorder = nullptr;
}

void ShareMutexRecorder::Add(char sign, HANDLE handle, bool unlimited)
{
    auto known = std::find(m_mutexes.begin(), m_mutexes.end(), handle);
    if (known == m_mutexes.end() && m_mutexes.size() < contract::c_shareMutexCount)
        known = m_mutexes.insert(m_mutexes.end(), handle);
    std::string entry(1, sign);
    entry += known != m_mutexes.end() && unlimited ? std::to_string(known - m_mutexes.begin()) : "?";
    if (m_onEntry)
        m_onEntry(entry);
    m_entries.push_back(entry);
}

DWORD ShareMutexRecorder::Wait(HANDLE handle, DWORD timeoutMs)
{
    if (GetCurrentThreadId() == g_watchedThread)
        g_recorder->Add('+', handle, timeoutMs == INFINITE);
    return g_realWait(handle, timeoutMs);
}

int ShareMutexRecorder::Release(HANDLE handle)
{
    if (GetCurrentThreadId() == g_watchedThread)
        g_recorder->Add('-', handle, true);
    return g_realRelease(handle);
}
