#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "tests/support/faults/ImportRedirect.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

// What CreateEventW answers while one of these lives: as ever, but for chosen kernel names another handle or an
// error. At most one at a time.
class CreatedEvents
{
public:
    struct Call
    {
        std::wstring kernelName;
        bool manualReset;
        bool initialState;
        // Whether attributes came, and whether they let everybody in (a present, null access list).
        bool hasAttributes;
        bool opensToAll;
    };

    CreatedEvents();
    ~CreatedEvents();
    CreatedEvents(const CreatedEvents&) = delete;
    CreatedEvents& operator=(const CreatedEvents&) = delete;

    // Creating that event gives this handle instead, once: whoever creates it owns it then.
    void Give(const std::wstring& kernelName, HANDLE handle) { m_answers[kernelName] = {handle, 0}; }
    void Fail(const std::wstring& kernelName, DWORD error) { m_answers[kernelName] = {nullptr, error}; }

    const std::vector<Call>& Calls() const noexcept { return m_calls; }

private:
    static HANDLE Create(SECURITY_ATTRIBUTES* attributes, int manualReset, int initialState, const wchar_t* name);

    std::map<std::wstring, std::pair<HANDLE, DWORD>> m_answers;
    std::vector<Call> m_calls;
    // The type of CreateEventW.
    Redirect<HANDLE(SECURITY_ATTRIBUTES*, int, int, const wchar_t*)> m_redirect;
};

// A mutex, unnamed, whose holder has died. The handle is the caller's.
HANDLE MakeAbandonedMutex();

// Whether the event (or other object) of that kernel name is signalled; false when there is none.
bool IsSignalled(const std::wstring& kernelName);
bool Exists(const std::wstring& eventName);

// An id as lower-case hexadecimal digits without leading zeros.
std::wstring ShortHexId(unsigned id);
