#include "OrvProfiler/objects/WBEvent.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/protocol/ClientId.h"
#include "OrvProfiler/security/ProxySecurity.h"

#include <windows.h>

#include <cstddef>

CWBEvent::CWBEvent(uint32_t processId) noexcept
{
    static_assert(sizeof(CWBEvent) == 96 && offsetof(CWBEvent, m_waiting) == 0 && sizeof m_waiting == 1 &&
                      offsetof(CWBEvent, m_handles) == 8,
                  "the order of the fields is the family's");
    for (uint32_t i = 0; i < c_workbenchEventCount; ++i)
        m_handles[i] = g_SecManager.OrvPCreateEvent(c_sessionNone, nullptr, true, false,
                                                    EventName(static_cast<int32_t>(i), processId));
}

CWBEvent::~CWBEvent()
{
    for (HANDLE handle : m_handles)
        CloseHandle(handle);
}

const wchar_t* CWBEvent::EventName(int32_t index, uint32_t processId) noexcept
{
    if (index < 0 || index >= static_cast<int32_t>(c_workbenchEventCount))
        return L"";
    return FormatSlot(L"%s%s", c_workbenchEventNames[index], ClientIdText(processId).Get());
}

uint32_t CWBEvent::Set(uint32_t index) noexcept
{
    constexpr const wchar_t* function = L"CWBEvent::Set";
    if (index >= c_workbenchEventCount)
    {
        TraceText(function, L"bad id in set event \n");
        return 0;
    }
    if (SetEvent(m_handles[index]) != FALSE)
        return 1;
    TraceLine(L"%6.0f %s Failed to set event %s\n", function, c_workbenchEventNames[index]);
    return 0;
}

uint32_t CWBEvent::Reset(uint32_t index) noexcept
{
    constexpr const wchar_t* function = L"CWBEvent::Reset";
    if (index >= c_workbenchEventCount)
    {
        TraceText(function, L"bad id in reset event\n");
        return 0;
    }
    if (ResetEvent(m_handles[index]) != FALSE)
        return 1;
    TraceLine(L"%6.0f %s Failed to reset event %s\n", function, c_workbenchEventNames[index]);
    return 0;
}

bool CWBEvent::ResetAll() noexcept
{
    TraceText(L"CWBEvent::ResetAll", L"");
    uint32_t succeeded = 0;
    for (uint32_t i = 0; i < c_workbenchEventCount; ++i)
        succeeded += Reset(i);
    return succeeded == c_workbenchEventCount;
}

void CWBEvent::Block(const wchar_t* function, uint32_t first, uint32_t count, uint32_t timeoutMs,
                     uint32_t& result) noexcept
{
    m_waiting = true;
    TraceText(function, L"Waiting\n");
    const bool inTable = count <= c_workbenchEventCount - first;
    result = inTable ? WaitForMultipleObjects(count, &m_handles[first], FALSE, timeoutMs) : WAIT_FAILED;
    // After the result is stored: who sees the wait ended can read it.
    m_waiting = false;
}

uint32_t CWBEvent::Wait(uint32_t* index, uint32_t count, uint32_t timeoutMs) noexcept
{
    constexpr const wchar_t* function = L"CWBEvent::Wait";
    Block(function, 0, count, timeoutMs, *index);
    const uint32_t result = *index;
    if (result < count)
    {
        // The events are manual-reset: whoever was woken resets what woke it.
        Reset(result);
        TraceLine(L"%6.0f %s Event is %s\n", function, c_workbenchEventNames[result]);
        return c_waitEvent;
    }
    if (result >= WAIT_ABANDONED_0 && result < WAIT_ABANDONED_0 + count)
    {
        TraceText(function, L"Abandoned\n");
        *index = result - WAIT_ABANDONED_0;
        return c_waitAbandoned;
    }
    if (result == WAIT_TIMEOUT)
    {
        TraceText(function, L"Timeout\n");
        return c_waitTimeout;
    }
    TraceText(function, L"Error\n");
    return c_waitError;
}

uint32_t CWBEvent::GetResponse(uint32_t timeoutMs) noexcept
{
    constexpr const wchar_t* function = L"CWBEvent::GetResponse";
    constexpr const wchar_t* responses[] = {L"Success\n", L"Failed\n", L"Breakpoint\n"};
    constexpr uint32_t count = c_workbenchResponseCount;
    static_assert(count == sizeof responses / sizeof *responses, "one text for each response");
    uint32_t result = 0;
    Block(function, c_responseSuccess, count, timeoutMs, result);
    if (result < count)
    {
        TraceText(function, responses[result]);
        Reset(c_responseSuccess + result);
        return c_responseSuccess + result;
    }
    if (result == WAIT_TIMEOUT)
    {
        TraceText(function, L"Timeout\n");
        return c_waitTimeout;
    }
    if (result >= WAIT_ABANDONED_0 && result < WAIT_ABANDONED_0 + count)
        TraceText(function, L"Event abandoned, other client holding the event has probably exited\n");
    else
        TraceText(function, L"Error\n");
    return c_noResponse;
}
