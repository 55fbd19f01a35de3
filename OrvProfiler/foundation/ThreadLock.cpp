#include "OrvProfiler/foundation/ThreadLock.h"

#include <windows.h>

CThreadLock::CThreadLock() noexcept
{
    try
    {
        m_section = new CRITICAL_SECTION;
        InitializeCriticalSection(m_section);
    }
    catch (...)
    {
        delete m_section;
        m_section = nullptr;
    }
}

CThreadLock::~CThreadLock()
{
    try
    {
        Leave();
        if (m_section != nullptr)
            DeleteCriticalSection(m_section);
    }
    catch (...) // NOLINT(bugprone-empty-catch): nothing can be reported from here
    {
    }
    delete m_section;
    m_section = nullptr;
}

CThreadLock& CThreadLock::Enter()
{
    if (m_section == nullptr)
        return *this;
    EnterCriticalSection(m_section);
    m_owner = GetCurrentThreadId();
    ++m_count;
    return *this;
}

void CThreadLock::Leave()
{
    if (m_owner != GetCurrentThreadId())
        return;
    if (--m_count < 0)
    {
        // One call too many: the section is not held, so it is not left.
        m_count = 0;
        return;
    }
    LeaveCriticalSection(m_section);
}
