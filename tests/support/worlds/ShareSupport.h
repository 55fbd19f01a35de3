#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/faults/ImportRedirect.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// A named block of shared memory that is not the product's doing: as a client leaves it, or as somebody hostile does.
// Its memory costs nothing until it is touched.
class ForeignMapping
{
public:
    static constexpr uint64_t c_shareSize = 116197744;

    // Throws std::runtime_error when it cannot be had, or when the name is taken. protection is a PAGE_ constant,
    // with SEC_ flags if wanted.
    ForeignMapping(const std::wstring& kernelName, uint64_t size, DWORD protection);
    // The share of that id, all zero.
    explicit ForeignMapping(uint32_t id);
    ~ForeignMapping();
    ForeignMapping(const ForeignMapping&) = delete;
    ForeignMapping& operator=(const ForeignMapping&) = delete;

    unsigned char* Bytes() const noexcept { return m_bytes; }
    // A value at an offset from the start.
    template <class Value>
    Value& At(uint64_t offset) const noexcept
    {
        return *reinterpret_cast<Value*>(m_bytes + offset);
    }

private:
    HANDLE m_mapping = nullptr;
    unsigned char* m_bytes = nullptr;
};

// What is done with the share's mutexes while one of these lives: "+2" for a wait without time limit for mutex 2,
// "-2" for its release, "+?" for any other wait. The calling thread alone is watched. At most one at a time, for a
// share that is mapped.
class LockLog
{
public:
    explicit LockLog(CProxyShare& share);
    ~LockLog();
    LockLog(const LockLog&) = delete;
    LockLog& operator=(const LockLog&) = delete;

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

// Whether no thread of any process holds the mutex of that kernel name: asked by a thread of its own, since mutexes
// are recursive. False when there is none, or when its last holder died.
bool MutexIsFree(const std::wstring& kernelName);

// How many views of file mappings this process has.
unsigned MappedViewCount();
