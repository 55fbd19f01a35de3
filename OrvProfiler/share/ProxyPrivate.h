#pragma once

#include "OrvProfiler/objects/ProxyAccess.h"
#include "OrvProfiler/share/ProxyMap.h"
#include "OrvProfiler/share/ShareLayout.h"

#include <cstdint>
#include <memory>

// The name of the mutex that guards the data area, the same for every client: the namespace keeps clients apart.
constexpr const wchar_t* c_privateMutexName = L"AgentDataMutex";

// A block of private data: a fixed header (PrivateHeader) and a data area whose size the creator chooses. The caller
// chooses the base name. One named mutex guards the data area: work on it between LockData and UnlockData. The
// header's values are not guarded. While the block is not mapped, readers return null, 0 or false. The order of the
// fields is the family's.
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

    // Opens the block of that id. If there is none, creates it with a data area of dataSize bytes, all zero, and
    // stores that size in the header, also one that with the header goes beyond 32 bits: the block is smaller then.
    // The creator's size counts; GetDataSize returns it. True when the block is mapped.
    bool Create(uint32_t id, uint32_t dataSize);
    // The size of the data area in bytes, never beyond the end of the block; 0 while not mapped.
    uint32_t GetDataSize() const noexcept { return m_pView != nullptr ? m_dataSize : 0; }

    // Waits for the data mutex without time limit, and returns the data area with the mutex held. Null, with nothing
    // held, when there is no mutex or no view. The same thread must call UnlockData; one call is enough, however
    // often it has locked.
    void* LockData();
    void UnlockData();

    // Values of the header, named after their offsets.
    void SetValue4(uint32_t value);
    uint32_t GetValue4() const;
    void SetValue18360(uint64_t value);
    uint64_t GetValue18360() const;
    void SetValue18368(uint32_t value);
    uint32_t GetValue18368() const;

    // The header's texts, in place. Another process may have left one without a NUL: read at most 8912 and 261 units.
    // SetText takes up to 8912 units and keeps 8911 of them, on purpose; a longer text leaves the field empty and
    // gives false. SetShortText takes up to 261 units and keeps 260; a longer text leaves the field empty, and the
    // result only tells whether the block is mapped. A null or unreadable text counts as empty.
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
