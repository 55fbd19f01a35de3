#pragma once

#include "OrvProfiler/foundation/BitMask.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <atomic>
#include <cstdint>

// The numbers of the proxy events, the same in the client and in all its helper processes. NOT_OK and OK are the two
// responses; every other number is a command or a notification.
enum ProxyEventNumber : int32_t
{
    PROXY_EVENT_ZEPH_DIE = 1,
    PROXY_EVENT_ZEPH_STOP = 2,
    PROXY_EVENT_ATTACH = 3,
    PROXY_EVENT_ZEPH_DEBUG = 4,
    PROXY_EVENT_ZEPH_RUN = 5,
    PROXY_EVENT_ZEPH_STEPIN = 6,
    PROXY_EVENT_ZEPH_STEPOVER = 7,
    PROXY_EVENT_ZEPH_STEPOUT = 8,
    PROXY_EVENT_ZEPH_STEP_BACK = 9,
    PROXY_EVENT_ZEPH_ADD_BREAKPOINT = 10,
    PROXY_EVENT_ZEPH_DELETE_BREAKPOINT = 11,
    PROXY_EVENT_NOT_OK = 12,
    PROXY_EVENT_OK = 13,
    PROXY_EVENT_ZEPH_CREATE_PLATFORM = 14,
    PROXY_EVENT_DEBUGGER_BEGIN = 15,
    PROXY_EVENT_GET_VARIABLE = 16,
    PROXY_EVENT_JVM_BEGIN = 17,
    PROXY_EVENT_RECORD = 18,
    PROXY_EVENT_RECORD_STOP = 19,
    PROXY_EVENT_ZEPH_GET_LOCALS = 20,
    PROXY_EVENT_ZEPH_GET_BRANCH = 21,
    PROXY_EVENT_ZEPH_REFRESH_BRANCH = 22,
    PROXY_EVENT_ZEPH_DELETE_BRANCH = 23,
    PROXY_EVENT_ZEPH_EVALUATE = 24,
    PROXY_EVENT_MAIN_THREAD_EXIT = 25,
    PROXY_EVENT_WORKBENCH_LOAD_ASSEMBLY = 26,
    PROXY_EVENT_WORKBENCH_CREATE_INSTANCE = 27,
    PROXY_EVENT_WORKBENCH_INVOKE = 28,
    PROXY_EVENT_WORKBENCH_DELETE_INSTANCE = 29,
    PROXY_EVENT_WORKBENCH_RESET = 30,
    PROXY_EVENT_WORKBENCH_GET_PROPERTY = 31,
    PROXY_EVENT_WORKBENCH_SET_PROPERTY = 32,
    PROXY_EVENT_RESUME_THREADS = 33,
    PROXY_EVENT_SUSPEND_THREADS = 34,
    PROXY_EVENT_TRACE_LINE_NUMBERS = 35,
    PROXY_EVENT_GET_THREAD_STATE = 36,
    PROXY_EVENT_ADD_WATCH = 37,
    PROXY_EVENT_CLEAR_WATCH = 38,
    PROXY_EVENT_GET_ADDRESS = 39,
    PROXY_EVENT_GET_FRAME_PARAMS = 40,
    PROXY_EVENT_GET_BREAKPOINT = 41,
    PROXY_EVENT_UPDATE_OPTIONS = 42,
    PROXY_EVENT_ZEPH_START = 43,
    PROXY_EVENT_QUERY = 44,
    PROXY_EVENT_DELETE_BREAKPOINTS = 45,
    PROXY_EVENT_SET_LINE = 46,
    PROXY_EVENT_READ_MEMORY = 47,
    PROXY_EVENT_WRITE_MEMORY = 48,
    PROXY_EVENT_COMMAND = 49,
    PROXY_EVENT_CANCEL = 50,
};

constexpr int32_t c_proxyEventCount = 50;

// Fifty named, manual-reset events through which two processes signal each other: one that controls, and a proxy that
// does the work. Their names contain the process id of the one that owns them. Both sides construct the same set: the
// first creates the events, the other opens them.
//
// An event has a number from 1 to 50. For any other number the answer is false, 128 or an empty name. An event set is
// a bit mask with bit n-1 for event n. An event stays signalled until it is reset.
//
// Any thread may set and wait. The last response is the one that any thread saw last. Time-outs are in milliseconds,
// 0xFFFFFFFF for no limit. The result tells of a failed system call. Only an event set that cannot allocate throws.
//
// The order of the fields and of the virtual operations is the family's, counted as Microsoft's compiler lays them
// out.
class CProxyEvent
{
public:
    // Results of Wait and DoWait other than the index of a handle.
    static constexpr uint32_t c_waitInvalidNumber = 128;
    static constexpr uint32_t c_waitTimeout = 258;
    static constexpr uint32_t c_waitFailed = 0xFFFFFFFF;

    // Creates or opens the events. With a window of the calling thread, WaitForResponse dispatches that window's
    // messages while it waits.
    explicit CProxyEvent(uint32_t processId, HWND window = nullptr);

    // Waits until one of the handles is signalled. Returns its index, 258 when the time is over, or 0xFFFFFFFF, with
    // a trace line, when the wait failed. Resets nothing.
    virtual uint32_t DoWait(uint32_t count, const HANDLE* handles, uint32_t timeoutMs);
    // Closes this process's handles only.
    virtual ~CProxyEvent();
    // Waits for one of the two responses. True when one came (ResponseWasOk tells which); false when the time is over
    // or the wait failed. With a window the response is reset; without one it stays set until the next command.
    virtual bool WaitForResponse(uint32_t timeoutMs);

    CProxyEvent(const CProxyEvent&) = delete;
    CProxyEvent& operator=(const CProxyEvent&) = delete;

    // Creates or opens the fifty events of that process id in its session, as the constructor does. Events held
    // before are closed first. A failure is traced, and that event is missing.
    void Construct(uint32_t processId);

    // Signals an event. A command resets both responses first, so that a response seen later belongs to it. Returns
    // whether the event was signalled. Set traces the event's name, before it checks the number; SetQuietly does not.
    bool Set(int32_t number);
    bool SetQuietly(int32_t number);
    // Returns whether the event was reset.
    bool Reset(int32_t number);
    void ResetAll();
    // Whether the event is signalled now.
    bool IsSet(int32_t number) const;
    bool IsNotSet(int32_t number) const { return !IsSet(number); }

    // Waits for one event and, if asked, resets it. 0 when it was signalled, 258 when the time is over, 0xFFFFFFFF
    // when the wait failed, 128 for an invalid number.
    uint32_t Wait(int32_t number, uint32_t timeoutMs, bool resetAfter);
    // Waits until an event of the set is signalled. Resets and returns all of the set that are signalled then; none
    // when the time is over or the wait failed.
    BitMask WaitForAny(const BitMask& set, uint32_t timeoutMs);

    // Answers a command: signals OK or NOT_OK. Returns whether that succeeded.
    bool Respond(bool ok);
    // Whether the last response that WaitForResponse saw was OK. Traced.
    bool ResponseWasOk() const;

    // A copy of the set. Meant to trace bits beyond the fifty, but on purpose never does: a set counts as wrong only
    // when each of its words has an invalid bit, and the first word has none.
    BitMask VerifyMask(const BitMask& set) const;

    // Return whether the number was valid; only then is it added or removed.
    static bool AddToSet(BitMask& set, int32_t number);
    static bool RemoveFromSet(BitMask& set, int32_t number);
    static bool IsInSet(const BitMask& set, int32_t number);
    // Removes the lowest event from the set and returns its number; 0 when the set holds none.
    static int32_t TakeFirst(BitMask& set);

    // The display name of an event, "" for an invalid number. Static text.
    static const wchar_t* EventName(int32_t number) noexcept;
    // The name of an event's kernel object, as "Event12_00001234". index is the event's number less one; "" when it
    // is not in 0 to 49. The text lies in a slot of FormatSlot: use it before 31 further slots are taken.
    static const wchar_t* KernelName(int32_t index, uint32_t processId) noexcept;
    // Creates or opens the event by which the proxy of that process id says that it is ready, as "OrvPReady4660". The
    // caller owns the handle; null on failure.
    static HANDLE ReadyEvent(uint32_t processId);
    // The name of a service's object, as "OrvPSvc00001234". The text lies in a slot of FormatSlot.
    static const wchar_t* ServiceName(uint32_t number) noexcept;

private:
    static bool IsValid(int32_t number) noexcept;
    HANDLE HandleOf(int32_t number) const noexcept { return m_handles[number - 1].Get(); }
    bool Signal(int32_t number);
    uint32_t WaitPumping(uint32_t count, const HANDLE* handles, uint32_t timeoutMs);
    void DispatchMessages() const;
    void CloseAll() noexcept;

    HWND m_window;
    // Entry n-1 for event n, null where the creation failed.
    UniqueHandle m_handles[c_proxyEventCount];
    // The handles of OK and NOT_OK once more, in the order in which a wait for a response reports them. Not owned.
    HANDLE m_responses[2]{};
    std::atomic<bool> m_lastResponseOk{false};
    // Every bit that belongs to no event.
    BitMask m_invalidEvents;
};

// The instance names of the proxy and of the client, as "orvp_instance00004660" with a decimal number. The texts lie
// in slots of FormatSlot.
const wchar_t* ProxyInstanceName(uint32_t number) noexcept;
const wchar_t* ClientInstanceName(uint32_t number) noexcept;
