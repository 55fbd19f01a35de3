#include "OrvProfiler/objects/ProxyAccess.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/security/OpenToAll.h"
#include "OrvProfiler/security/ProxySecurity.h"

#include <windows.h>

#include <cstddef>

CProxyAccess::CProxyAccess(uint32_t session, const wchar_t* name) : m_name(name)
{
    static_assert(sizeof(CProxyAccess) == 56 && offsetof(CProxyAccess, m_mutex) == 0 &&
                      offsetof(CProxyAccess, m_firstInstance) == 8 && offsetof(CProxyAccess, m_name) == 16 &&
                      offsetof(CProxyAccess, m_companion) == 32 && offsetof(CProxyAccess, m_owner) == 48,
                  "the order of the fields is the family's");
    OpenToAll openToAll;
    m_mutex.Reset(g_SecManager.OrvPCreateMutex(session, openToAll.Get(), m_name));
    // NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer): right after the create, or the answer is gone
    m_firstInstance = GetLastError() != ERROR_ALREADY_EXISTS;
    DebugAssert(static_cast<bool>(m_mutex), L"ProxyAccess");
}

CProxyAccess::~CProxyAccess()
{
    Unlock();
    // First the handle, then the companion, then the name, on purpose. The members' own order has the other two.
    m_mutex.Reset();
}

bool CProxyAccess::Lock(uint32_t timeoutMs)
{
    if (!m_mutex)
        return false;
    if (!IsNotHeld())
        return true;
    const DWORD result = WaitForSingleObject(m_mutex.Get(), timeoutMs);
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED)
        m_owner = GetCurrentThreadId();
    return !IsNotHeld();
}

bool CProxyAccess::Unlock()
{
    if (!IsNotHeld())
    {
        // Before the release: afterwards another thread may own it.
        m_owner = 0;
        const bool released = ReleaseMutex(m_mutex.Get()) != FALSE;
        DebugAssert(released, L"ProxyAccess");
    }
    return m_owner == 0;
}

bool CProxyAccess::IsNotHeld() const noexcept
{
    return m_owner != GetCurrentThreadId();
}
