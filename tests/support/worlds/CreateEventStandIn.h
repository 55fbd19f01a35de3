#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "tests/support/faults/ImportRedirect.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

// Answers CreateEventW while it lives: as the system does, but for chosen kernel names with another handle or with an
// error. Records the calls; events without a name are the test's own and pass unseen. At most one at a time.
class CreateEventStandIn
{
public:
    struct Call
    {
        std::wstring kernelName;
        bool manualReset;
        bool initialState;
        bool hasAttributes;
        // Whether the attributes let everybody in: with an access list that is present and null.
        bool opensToAll;
    };

    CreateEventStandIn();
    ~CreateEventStandIn();
    CreateEventStandIn(const CreateEventStandIn&) = delete;
    CreateEventStandIn& operator=(const CreateEventStandIn&) = delete;

    // Whoever creates that event next gets this handle, and owns it.
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
