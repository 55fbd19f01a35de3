#include "tests/support/worlds/ShareSupport.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/worlds/SystemProbe.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace
{
LockLog* g_log = nullptr;
// The thread that is watched, and the system's own functions, which other threads get even when the log is gone.
DWORD g_logThread = 0;
decltype(&WaitForSingleObject) g_realWait = nullptr;
decltype(&ReleaseMutex) g_realRelease = nullptr;
} // namespace

ForeignMapping::ForeignMapping(const std::wstring& kernelName, uint64_t size, DWORD protection)
{
    m_mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, protection, static_cast<DWORD>(size >> 32),
                                   static_cast<DWORD>(size), kernelName.c_str());
    const bool taken = GetLastError() == ERROR_ALREADY_EXISTS;
    if (m_mapping != nullptr && !taken)
        m_bytes = static_cast<unsigned char*>(MapViewOfFile(m_mapping, FILE_MAP_WRITE, 0, 0, 0));
    if (m_bytes != nullptr)
        return;
    CloseHandle(m_mapping);
    throw std::runtime_error("a foreign mapping cannot be had");
}

ForeignMapping::ForeignMapping(uint32_t id)
    : ForeignMapping(L"Local\\OrvProfiler" + HexId(id), c_shareSize, PAGE_READWRITE)
{
}

ForeignMapping::~ForeignMapping()
{
    UnmapViewOfFile(m_bytes);
    CloseHandle(m_mapping);
}

LockLog::LockLog(CProxyShare& share) : m_wait("WaitForSingleObject", Wait), m_release("ReleaseMutex", Release)
{
    g_realWait = m_wait.Real();
    g_realRelease = m_release.Real();
    g_logThread = GetCurrentThreadId();
    g_log = this;
    // The handles are learnt from one round over all of them.
    for (uint32_t i = 0; i < 7; ++i)
    {
        share.Lock(i);
        share.Unlock(i);
    }
    Clear();
}

LockLog::~LockLog()
{
    g_logThread = 0;
    g_log = nullptr;
}

void LockLog::Add(char sign, HANDLE handle, bool unlimited)
{
    auto known = std::find(m_mutexes.begin(), m_mutexes.end(), handle);
    if (known == m_mutexes.end() && m_mutexes.size() < 7)
        known = m_mutexes.insert(m_mutexes.end(), handle);
    std::string entry(1, sign);
    entry += known != m_mutexes.end() && unlimited ? std::to_string(known - m_mutexes.begin()) : "?";
    if (m_onEntry)
        m_onEntry(entry);
    m_entries.push_back(entry);
}

DWORD LockLog::Wait(HANDLE handle, DWORD timeoutMs)
{
    if (GetCurrentThreadId() == g_logThread)
        g_log->Add('+', handle, timeoutMs == INFINITE);
    return g_realWait(handle, timeoutMs);
}

int LockLog::Release(HANDLE handle)
{
    if (GetCurrentThreadId() == g_logThread)
        g_log->Add('-', handle, true);
    return g_realRelease(handle);
}

bool MutexIsFree(const std::wstring& kernelName)
{
    bool isFree = false;
    std::thread([&] {
        const UniqueHandle mutex(OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, kernelName.c_str()));
        isFree = mutex && WaitForSingleObject(mutex.Get(), 0) == WAIT_OBJECT_0;
        if (isFree)
            ReleaseMutex(mutex.Get());
    }).join();
    return isFree;
}

unsigned MappedViewCount()
{
    unsigned count = 0;
    MEMORY_BASIC_INFORMATION region{};
    const unsigned char* address = nullptr;
    const void* last = nullptr;
    while (VirtualQuery(address, &region, sizeof region) != 0)
    {
        if (region.Type == MEM_MAPPED && region.AllocationBase != last)
        {
            ++count;
            last = region.AllocationBase;
        }
        address = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize;
    }
    return count;
}
