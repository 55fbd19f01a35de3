#include "OrvProfiler/objects/ProxyEvent.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/PerfTimer.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/OpenToAll.h"
#include "OrvProfiler/security/ProxySecurity.h"

#include <windows.h>

#include <cstddef>

namespace
{
constexpr const wchar_t* c_source = L"ProxyEvent";
constexpr size_t c_nameUnits = 261;
// How long a wait that dispatches messages blocks at most before it looks at its handles again.
constexpr DWORD c_pumpSliceMs = 200;
constexpr DWORD c_wakeMask = QS_SENDMESSAGE | QS_ALLPOSTMESSAGE;
static_assert(c_wakeMask == 0x140, "sent messages and all posted ones");

// The names of events 1 to 50 and a sentinel, at a fixed width.
constexpr wchar_t c_eventNames[c_proxyEventCount + 1][c_nameUnits] = {
    L"PROXY_EVENT_ZEPH_DIE",
    L"PROXY_EVENT_ZEPH_STOP",
    L"PROXY_EVENT_ATTACH",
    L"PROXY_EVENT_ZEPH_DEBUG",
    L"PROXY_EVENT_ZEPH_RUN",
    L"PROXY_EVENT_ZEPH_STEPIN",
    L"PROXY_EVENT_ZEPH_STEPOVER",
    L"PROXY_EVENT_ZEPH_STEPOUT",
    L"PROXY_EVENT_ZEPH_STEP_BACK",
    L"PROXY_EVENT_ZEPH_ADD_BREAKPOINT",
    L"PROXY_EVENT_ZEPH_DELETE_BREAKPOINT",
    L"PROXY_EVENT_NOT_OK",
    L"PROXY_EVENT_OK",
    L"PROXY_EVENT_ZEPH_CREATE_PLATFORM",
    L"PROXY_EVENT_DEBUGGER_BEGIN",
    L"PROXY_EVENT_GET_VARIABLE",
    L"PROXY_EVENT_JVM_BEGIN",
    L"PROXY_EVENT_RECORD",
    L"PROXY_EVENT_RECORD_STOP",
    L"PROXY_EVENT_ZEPH_GET_LOCALS",
    L"PROXY_EVENT_ZEPH_GET_BRANCH",
    L"PROXY_EVENT_ZEPH_REFRESH_BRANCH",
    L"PROXY_EVENT_ZEPH_DELETE_BRANCH",
    L"PROXY_EVENT_ZEPH_EVALUATE",
    L"PROXY_EVENT_MAIN_THREAD_EXIT",
    L"PROXY_EVENT_WORKBENCH_LOAD_ASSEMBLY",
    L"PROXY_EVENT_WORKBENCH_CREATE_INSTANCE",
    L"PROXY_EVENT_WORKBENCH_INVOKE",
    L"PROXY_EVENT_WORKBENCH_DELETE_INSTANCE",
    L"PROXY_EVENT_WORKBENCH_RESET",
    L"PROXY_EVENT_WORKBENCH_GET_PROPERTY",
    L"PROXY_EVENT_WORKBENCH_SET_PROPERTY",
    L"PROXY_EVENT_RESUME_THREADS",
    L"PROXY_EVENT_SUSPEND_THREADS",
    L"PROXY_EVENT_TRACE_LINE_NUMBERS",
    L"PROXY_EVENT_GET_THREAD_STATE",
    L"PROXY_EVENT_ADD_WATCH",
    L"PROXY_EVENT_CLEAR_WATCH",
    L"PROXY_EVENT_GET_ADDRESS",
    L"PROXY_EVENT_GET_FRAME_PARAMS",
    L"PROXY_EVENT_GET_BREAKPOINT",
    L"PROXY_EVENT_UPDATE_OPTIONS",
    L"PROXY_EVENT_ZEPH_START",
    L"PROXY_EVENT_QUERY",
    L"PROXY_EVENT_DELETE_BREAKPOINTS",
    L"PROXY_EVENT_SET_LINE",
    L"PROXY_EVENT_READ_MEMORY",
    L"PROXY_EVENT_WRITE_MEMORY",
    L"PROXY_EVENT_COMMAND",
    L"PROXY_EVENT_CANCEL",
    // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one text, seven times the same
    L"--end of event list----end of event list----end of event list----end of event list--"
    L"--end of event list----end of event list----end of event list--",
};

bool IsSignalled(HANDLE handle) noexcept
{
    return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
}

bool IsResponse(int32_t number) noexcept
{
    return number == PROXY_EVENT_OK || number == PROXY_EVENT_NOT_OK;
}

uint32_t BitOf(int32_t number) noexcept
{
    return static_cast<uint32_t>(number) - 1;
}
} // namespace

CProxyEvent::CProxyEvent(uint32_t processId, HWND window) : m_window(window)
{
    static_assert(sizeof(CProxyEvent) == 472 && offsetof(CProxyEvent, m_window) == 8 &&
                      offsetof(CProxyEvent, m_handles) == 16 && offsetof(CProxyEvent, m_responses) == 416 &&
                      offsetof(CProxyEvent, m_lastResponseOk) == 432 && sizeof m_lastResponseOk == 1 &&
                      offsetof(CProxyEvent, m_invalidEvents) == 440,
                  "the order of the fields is the family's");
    Construct(processId);
}

CProxyEvent::~CProxyEvent()
{
    CloseAll();
}

void CProxyEvent::CloseAll() noexcept
{
    for (UniqueHandle& handle : m_handles)
        handle.Reset();
}

void CProxyEvent::Construct(uint32_t processId)
{
    CloseAll();
    m_lastResponseOk = false;
    m_invalidEvents = BitMask();
    for (int32_t number = 1; number <= c_proxyEventCount; ++number)
        AddToSet(m_invalidEvents, number);
    m_invalidEvents.Invert();

    OpenToAll openToAll;
    const uint32_t session = g_SecManager.GetSessionForProcess(processId);
    for (int32_t index = 0; index < c_proxyEventCount; ++index)
    {
        const wchar_t* const name = KernelName(index, processId);
        m_handles[index].Reset(g_SecManager.OrvPCreateEvent(session, openToAll.Get(), true, false, name));
        if (!m_handles[index])
        {
            TraceLine(L"%6.0f %s FAILED TO CREATE EVENT %s\n", L"CProxyEvent::Construct", name);
            DebugAssert(false, c_source);
        }
    }
    m_responses[0] = HandleOf(PROXY_EVENT_OK);
    m_responses[1] = HandleOf(PROXY_EVENT_NOT_OK);
}

bool CProxyEvent::IsValid(int32_t number) noexcept
{
    const bool valid = number >= 1 && number <= c_proxyEventCount;
    DebugAssert(valid, c_source);
    return valid;
}

bool CProxyEvent::Signal(int32_t number)
{
    if (!IsValid(number))
        return false;
    if (!IsResponse(number))
    {
        Reset(PROXY_EVENT_OK);
        Reset(PROXY_EVENT_NOT_OK);
    }
    return SetEvent(HandleOf(number)) != FALSE;
}

bool CProxyEvent::Set(int32_t number)
{
    TraceLine(L"%6.0f %s %s %d\n", L"CProxyEvent::Set", EventName(number), number);
    return Signal(number);
}

bool CProxyEvent::SetQuietly(int32_t number)
{
    return Signal(number);
}

bool CProxyEvent::Reset(int32_t number)
{
    return IsValid(number) && ResetEvent(HandleOf(number)) != FALSE;
}

void CProxyEvent::ResetAll()
{
    for (int32_t number = 1; number <= c_proxyEventCount; ++number)
        Reset(number);
}

bool CProxyEvent::IsSet(int32_t number) const
{
    return IsValid(number) && IsSignalled(HandleOf(number));
}

uint32_t CProxyEvent::Wait(int32_t number, uint32_t timeoutMs, bool resetAfter)
{
    constexpr const wchar_t* function = L"CProxyEvent::Wait";
    if (!IsValid(number))
        return c_waitInvalidNumber;
    const wchar_t* const name = EventName(number);
    uint32_t result = WAIT_ABANDONED;
    while (result == WAIT_ABANDONED)
    {
        TraceLine(L"%6.0f %s waiting on event id:%d name:%s timeout:%d\n", function, number, name, timeoutMs);
        result = WaitForSingleObject(HandleOf(number), timeoutMs);
    }
    if (result == WAIT_OBJECT_0)
    {
        TraceLine(L"%6.0f %s event %s signalled\n", function, name);
        if (resetAfter)
            Reset(number);
    }
    else if (result == WAIT_TIMEOUT)
    {
        TraceLine(L"%6.0f %s event timeout %s\n", function, name);
    }
    return result;
}

BitMask CProxyEvent::WaitForAny(const BitMask& set, uint32_t timeoutMs)
{
    int32_t numbers[c_proxyEventCount];
    HANDLE handles[c_proxyEventCount];
    uint32_t count = 0;
    for (int32_t number = 1; number <= c_proxyEventCount; ++number)
    {
        if (!IsInSet(set, number))
            continue;
        DebugAssert(HandleOf(number) != nullptr, c_source);
        numbers[count] = number;
        handles[count] = HandleOf(number);
        ++count;
    }
    DebugAssert(count > 0, c_source);

    BitMask signalled;
    if (DoWait(count, handles, timeoutMs) >= count)
        return signalled;
    // Everything that is signalled by now is reported at once, not only what woke the wait.
    for (uint32_t i = 0; i < count; ++i)
    {
        if (!IsSignalled(handles[i]))
            continue;
        ResetEvent(handles[i]);
        AddToSet(signalled, numbers[i]);
    }
    return signalled;
}

uint32_t CProxyEvent::DoWait(uint32_t count, const HANDLE* handles, uint32_t timeoutMs)
{
    const uint32_t result = WaitForMultipleObjects(count, handles, FALSE, timeoutMs);
    if (result == WAIT_FAILED)
    {
        TraceText(L"CProxyEvent::DoWait", ErrorText(GetLastError()));
        DebugAssert(false, c_source);
    }
    return result;
}

bool CProxyEvent::WaitForResponse(uint32_t timeoutMs)
{
    constexpr uint32_t count = sizeof m_responses / sizeof *m_responses;
    const uint32_t result =
        m_window != nullptr ? WaitPumping(count, m_responses, timeoutMs) : DoWait(count, m_responses, timeoutMs);
    if (result >= count)
        return false;
    const bool ok = result == 0;
    if (!ok)
        TraceText(L"CProxyEvent::WaitForResponse", L"failed\n");
    m_lastResponseOk = ok;
    return true;
}

// A wait for a thread that owns windows: it goes on dispatching messages. Which handle is signalled is found only by
// the test at the top, never by what the blocking wait returns. That handle is reset. Only the blocking waits count
// as time; dispatching messages does not, on purpose.
uint32_t CProxyEvent::WaitPumping(uint32_t count, const HANDLE* handles, uint32_t timeoutMs)
{
    const double limitMs = timeoutMs;
    double elapsedMs = 0.0;
    CPerfTimer timer;
    timer.Start();
    for (;;)
    {
        timer.Stop();
        for (uint32_t i = 0; i < count; ++i)
        {
            if (!IsSignalled(handles[i]))
                continue;
            ResetEvent(handles[i]);
            return i;
        }
        elapsedMs += timer.Seconds() * 1000.0;
        if (timeoutMs != INFINITE && elapsedMs > limitMs)
            return c_waitTimeout;
        DispatchMessages();
        timer.Start();
        if (MsgWaitForMultipleObjectsEx(count, handles, c_pumpSliceMs, c_wakeMask, 0) == WAIT_FAILED)
            return c_waitFailed;
    }
}

void CProxyEvent::DispatchMessages() const
{
    MSG message;
    while (PeekMessageW(&message, m_window, 0, 0, PM_REMOVE) != FALSE)
    {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

bool CProxyEvent::Respond(bool ok)
{
    TraceText(L"CProxyEvent::Respond", L"");
    return Set(ok ? PROXY_EVENT_OK : PROXY_EVENT_NOT_OK);
}

bool CProxyEvent::ResponseWasOk() const
{
    const bool ok = m_lastResponseOk;
    TraceLine(L"%6.0f %s  %s\n", L"CProxyEvent::ResponseWasOk", ok ? L"ok" : L"not ok");
    return ok;
}

BitMask CProxyEvent::VerifyMask(const BitMask& set) const
{
    if (m_invalidEvents.OverlapsInEveryWord(set))
    {
        TraceLine(L"%6.0f %s event bitmask contains invalid bits. Bits are not in the range %u - (1 << (%u - 1))\n",
                  L"CProxyEvent::VerifyMask", 1, c_proxyEventCount);
        DebugAssert(false, c_source);
    }
    return set;
}

bool CProxyEvent::AddToSet(BitMask& set, int32_t number)
{
    return IsValid(number) && set.Set(BitOf(number), true);
}

bool CProxyEvent::RemoveFromSet(BitMask& set, int32_t number)
{
    return IsValid(number) && set.Set(BitOf(number), false);
}

bool CProxyEvent::IsInSet(const BitMask& set, int32_t number)
{
    // Reads the word: the mask's own test of a bit may grow the mask.
    return IsValid(number) && (set.GetWord(BitOf(number) / 32) >> BitOf(number) % 32 & 1U) != 0;
}

int32_t CProxyEvent::TakeFirst(BitMask& set)
{
    for (int32_t number = 1; number <= c_proxyEventCount; ++number)
    {
        if (!IsInSet(set, number))
            continue;
        RemoveFromSet(set, number);
        return number;
    }
    return 0;
}

const wchar_t* CProxyEvent::EventName(int32_t number) noexcept
{
    return number >= 1 && number <= c_proxyEventCount ? c_eventNames[number - 1] : L"";
}

const wchar_t* CProxyEvent::KernelName(int32_t index, uint32_t processId) noexcept
{
    const bool valid = index >= 0 && index < c_proxyEventCount;
    DebugAssert(valid, c_source);
    return valid ? FormatSlot(L"Event%d_%8.8x", index, processId) : L"";
}

HANDLE CProxyEvent::ReadyEvent(uint32_t processId)
{
    OpenToAll openToAll;
    const uint32_t session = g_SecManager.GetSessionForProcess(processId);
    return g_SecManager.OrvPCreateEvent(session, openToAll.Get(), true, false, FormatSlot(L"OrvPReady%d", processId));
}

const wchar_t* CProxyEvent::ServiceName(uint32_t number) noexcept
{
    return FormatSlot(L"OrvPSvc%8.8x", number);
}

const wchar_t* ProxyInstanceName(uint32_t number) noexcept
{
    return FormatSlot(L"%s%8.8u", L"orvp_instance", number);
}

const wchar_t* ClientInstanceName(uint32_t number) noexcept
{
    return FormatSlot(L"%s%8.8u", L"zeph_instance", number);
}
