#include "OrvProfiler/share/ProxyPrivate.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/share/MappedMemory.h"
#include "OrvProfiler/share/TextField.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <new>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxyShare";
// The fields' sizes in units. A text of that many loses its last unit; a longer one is refused.
constexpr uint64_t c_textUnits = sizeof(PrivateHeader::text) / sizeof(wchar_t);
constexpr uint64_t c_shortTextUnits = sizeof(PrivateHeader::shortText) / sizeof(wchar_t);
} // namespace

CProxyPrivate::CProxyPrivate(const wchar_t* baseName) : CProxyMap(baseName)
{
    static_assert(sizeof(CProxyPrivate) == 88 && offsetof(CProxyPrivate, m_dataSize) == 72 &&
                      offsetof(CProxyPrivate, m_pMutex) == 80,
                  "the order of the fields is the family's");
}

CProxyPrivate::~CProxyPrivate()
{
    CProxyPrivate::Close();
}

bool CProxyPrivate::Create(uint32_t id, uint32_t dataSize)
{
    constexpr uint32_t headerSize = sizeof(PrivateHeader);
    m_dataSize = dataSize;
    TraceLine(L"%6.0f %s Requested Size of Private Data is %d bytes\n", L"CProxyPrivate::Create", dataSize);
    // In 32 bits on purpose: a sum beyond them wraps.
    const uint32_t size = dataSize + headerSize;
    if (CProxyMap::Create(id, size, nullptr))
        return true;
    m_dataSize = 0;
    DebugAssert(false, c_source, 3100);
    return false;
}

void CProxyPrivate::OnMapped()
{
    PrivateHeader* const header = Header();
    const uint64_t viewSize = ViewSize();
    if (header == nullptr || viewSize < sizeof(PrivateHeader))
    {
        TraceLine(L"%6.0f %s share %s is smaller than %u bytes\n", L"CProxyPrivate::OnMapped", m_name.GetBuffer(),
                  static_cast<uint32_t>(sizeof(PrivateHeader)));
        Close();
        return;
    }
    const uint32_t session = g_SecManager.GetSessionForProcess(m_id);
    m_pMutex.reset(new (std::nothrow) CProxyAccess(session, c_privateMutexName));
    if (IsCreated())
        header->dataSize = m_dataSize;
    else
        m_dataSize = ReadOnce(header->dataSize);
    // Whatever size the block announces, there is no data beyond the view.
    const uint64_t limit = viewSize - sizeof(PrivateHeader);
    m_dataSize = static_cast<uint32_t>(std::min<uint64_t>(m_dataSize, limit));
}

void CProxyPrivate::Close()
{
    m_pMutex.reset();
    CProxyMap::Close();
}

void* CProxyPrivate::GetView()
{
    return m_pView != nullptr ? static_cast<uint8_t*>(m_pView) + sizeof(PrivateHeader) : nullptr;
}

PrivateHeader* CProxyPrivate::Header() const
{
    DebugAssert(m_pView != nullptr, c_source, 3076);
    return static_cast<PrivateHeader*>(m_pView);
}

void* CProxyPrivate::LockData()
{
    if (m_pMutex == nullptr)
        return nullptr;
    const bool locked = m_pMutex->Lock(INFINITE);
    void* const data = GetView();
    if (locked && data != nullptr)
        return data;
    m_pMutex->Unlock();
    return nullptr;
}

void CProxyPrivate::UnlockData()
{
    if (m_pMutex != nullptr)
        m_pMutex->Unlock();
}

void CProxyPrivate::SetValue4(uint32_t value)
{
    if (PrivateHeader* const header = Header())
        header->value4 = value;
}

uint32_t CProxyPrivate::GetValue4() const
{
    const PrivateHeader* const header = Header();
    return header != nullptr ? ReadOnce(header->value4) : 0;
}

void CProxyPrivate::SetValue18360(uint64_t value)
{
    if (PrivateHeader* const header = Header())
        header->value18360 = value;
}

uint64_t CProxyPrivate::GetValue18360() const
{
    const PrivateHeader* const header = Header();
    return header != nullptr ? ReadOnce(header->value18360) : 0;
}

void CProxyPrivate::SetValue18368(uint32_t value)
{
    if (PrivateHeader* const header = Header())
        header->value18368 = value;
}

uint32_t CProxyPrivate::GetValue18368() const
{
    const PrivateHeader* const header = Header();
    return header != nullptr ? ReadOnce(header->value18368) : 0;
}

bool CProxyPrivate::SetText(const wchar_t* text)
{
    auto* const header = static_cast<PrivateHeader*>(m_pView);
    if (header != nullptr)
    {
        header->text[0] = L'\0';
        if (SafeLength(text) <= c_textUnits)
        {
            CopyText(header->text, text, c_textUnits);
            return true;
        }
    }
    DebugAssert(false, c_source, 3224);
    return false;
}

const wchar_t* CProxyPrivate::GetText() const
{
    const PrivateHeader* const header = Header();
    return header != nullptr ? header->text : nullptr;
}

bool CProxyPrivate::SetShortText(const wchar_t* text)
{
    auto* const header = static_cast<PrivateHeader*>(m_pView);
    DebugAssert(header != nullptr, c_source, 3252);
    if (header == nullptr)
        return false;
    header->shortText[0] = L'\0';
    if (SafeLength(text) <= c_shortTextUnits)
        CopyText(header->shortText, text, c_shortTextUnits);
    return true;
}

const wchar_t* CProxyPrivate::GetShortText() const
{
    const PrivateHeader* const header = Header();
    return header != nullptr ? header->shortText : nullptr;
}
