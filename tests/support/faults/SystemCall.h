#pragma once

#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <optional>
#include <tuple>
#include <vector>

// Watches a system function: records the arguments of each call and lets the call through, or makes it fail.
//     SystemCall<decltype(OpenProcess)> openProcess("OpenProcess");
//     openProcess.FailWith(ERROR_ACCESS_DENIED);
// At most one at a time for functions of the same type. Recorded texts are pointers, good as long as the caller's.
// What ImportRedirect.h says of threads holds here.
template <class Function>
class SystemCall;

template <class Result, class... Arguments>
class SystemCall<Result(Arguments...)>
{
public:
    explicit SystemCall(const char* name) : m_redirect(name, Stand) { s_self = this; }
    SystemCall(const char* name, DWORD error) : SystemCall(name) { FailWith(error); }
    ~SystemCall() { s_self = nullptr; }
    SystemCall(const SystemCall&) = delete;
    SystemCall& operator=(const SystemCall&) = delete;

    // From now on every call sets this last error and returns 0, without doing anything.
    void FailWith(DWORD error) { m_error = error; }

    const std::vector<std::tuple<Arguments...>>& Calls() const noexcept { return m_calls; }

private:
    static Result Stand(Arguments... arguments)
    {
        s_self->m_calls.emplace_back(arguments...);
        if (!s_self->m_error)
            return s_self->m_redirect.Real()(arguments...);
        SetLastError(*s_self->m_error);
        return Result{};
    }

    static inline SystemCall* s_self = nullptr;

    std::vector<std::tuple<Arguments...>> m_calls;
    std::optional<DWORD> m_error;
    Redirect<Result(Arguments...)> m_redirect;
};
