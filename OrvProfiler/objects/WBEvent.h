#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/protocol/WorkbenchEvents.h"

#include <atomic>
#include <cstdint>

// The eleven named, manual-reset events through which a client and its workbench signal each other, keyed by the
// client's process id. Both sides construct the same set: whoever comes first creates the events, the other opens
// them. Wait is the workbench's half, GetResponse and ResetAll the client's. Nothing throws. Used by one thread of
// each process. The order of the fields is the family's.
class CWBEvent
{
public:
    // Results of Wait.
    static constexpr uint32_t c_waitError = 0;
    static constexpr uint32_t c_waitEvent = 1;
    static constexpr uint32_t c_waitAbandoned = 2;
    static constexpr uint32_t c_waitTimeout = 258;
    // The result of GetResponse for an abandoned event or an error.
    static constexpr uint32_t c_noResponse = 0xFFFFFFFF;

    // Creates or opens the events of that process id. One that cannot be had is traced and missing from the set.
    explicit CWBEvent(uint32_t processId) noexcept;
    ~CWBEvent();
    CWBEvent(const CWBEvent&) = delete;
    CWBEvent& operator=(const CWBEvent&) = delete;

    // The name of a slot's event: its table name and the process id in lower-case hexadecimal, as "EV_LOAD1a2b"; the
    // empty string for an index outside 0 to 10. The security manager places the name in its namespace. The text is
    // a formatting slot's: use it before 31 further slots are taken.
    static const wchar_t* EventName(int32_t index, uint32_t processId) noexcept;

    // Signals or clears a slot's event: 1 on success; 0, with a trace line, on a bad index or a failing system call.
    uint32_t Set(uint32_t index) noexcept;
    uint32_t Reset(uint32_t index) noexcept;
    // Clears all eleven; whether every one succeeded.
    bool ResetAll() noexcept;

    // Blocks until one of the first count slots is signalled, at most timeoutMs milliseconds; the lowest wins. Stores
    // the slot in index and returns
    //   1    it is signalled, and already reset;
    //   2    it is abandoned: whoever held it is gone;
    //   258  the time is over (index is 258 as well);
    //   0    the wait failed, for example because one of the slots is missing or count is 0 or above 11 (index is
    //        0xFFFFFFFF).
    uint32_t Wait(uint32_t* index, uint32_t count, uint32_t timeoutMs) noexcept;

    // Blocks until a response is signalled, at most timeoutMs milliseconds. Returns its slot, already reset (8
    // success, 9 failed, 10 breakpoint), 258 when the time is over, 0xFFFFFFFF when abandoned or failed.
    uint32_t GetResponse(uint32_t timeoutMs) noexcept;

    // True while Wait or GetResponse is blocked in the kernel. Any thread may ask; it is not a lock.
    bool IsWaiting() const noexcept { return m_waiting; }

private:
    // Waits for count slots from the first on, and stores what the system answered.
    void Block(const wchar_t* function, uint32_t first, uint32_t count, uint32_t timeoutMs,
               uint32_t& result) noexcept;

    std::atomic<bool> m_waiting{false};
    // Owned; null where the creation failed. Plain handles in a row, as the system waits for them.
    HANDLE m_handles[c_workbenchEventCount]{};
};
