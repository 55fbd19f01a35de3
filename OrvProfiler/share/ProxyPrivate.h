#pragma once

#include "OrvProfiler/objects/ProxyAccess.h"
#include "OrvProfiler/share/ProxyMap.h"
#include "OrvProfiler/share/ShareLayout.h"

#include <cstdint>
#include <memory>

// The mutex that guards the data area, the same for every client: the namespace keeps clients apart.
constexpr const wchar_t* c_privateMutexName = L"AgentDataMutex";

// A block of private data whose size its creator chooses, behind a fixed header (PrivateHeader), guarded by one named
// mutex. The base name is the callers' choice. An accessor on a block that is not mapped returns null, 0 or false.
// The header's values are not guarded; the data area is worked on between LockData and UnlockData.
class CProxyPrivate : public CProxyMap
{
public:
    explicit CProxyPrivate(const wchar_t* baseName);
    CProxyPrivate(const CProxyPrivate&) = delete;
    CProxyPrivate& operator=(const CProxyPrivate&) = delete;
    ~CProxyPrivate() override;

    void OnMapped() override;
    void Close() override;
    // The start of the data area; null while not mapped.
    void* GetView() override;

    // Opens the block of that id or, failing that, creates it with a data area of so many bytes, all zero. The
    // creator's size wins: GetDataSize tells it. True when it is mapped.
    bool Create(uint32_t id, uint32_t dataSize);
    // The size of the data area in bytes as far as it lies in the block, 0 after a failed create.
    uint32_t GetDataSize() const noexcept { return m_dataSize; }

    // Waits for the data mutex without time limit and returns the data area with the mutex held; null, with nothing
    // held, when there is no mutex or no view. UnlockData must follow on the same thread; one is enough, however
    // often the thread has locked.
    void* LockData();
    void UnlockData();

    // Plain values of the header, named after their offsets.
    void SetValue4(uint32_t value);
    uint32_t GetValue4() const;
    void SetValue18360(uint64_t value);
    uint64_t GetValue18360() const;
    void SetValue18368(uint32_t value);
    uint32_t GetValue18368() const;

    // The header's texts, within the block: another process may have left one without a NUL, so read at most 8912 and
    // 261 units. SetText takes up to 8912 units, of which it deliberately keeps 8911; a longer text gives false and
    // leaves the field empty. SetShortText takes up to 261 units, keeping 260; a longer text leaves the field empty,
    // and the result tells only whether the block is mapped. A null or unreadable text is an empty one.
    bool SetText(const wchar_t* text);
    const wchar_t* GetText() const;
    bool SetShortText(const wchar_t* text);
    const wchar_t* GetShortText() const;

private:
    PrivateHeader* Header() const;

    uint32_t m_dataSize = 0;
    // Null until mapped.
    std::unique_ptr<CProxyAccess> m_pMutex;
};
