#pragma once

#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <optional>
#include <tuple>
#include <vector>

// Records the arguments of each call of a system function, and lets the call through, unless it is told to fail.
//     const CallRecorder<decltype(OpenProcess)> openProcess("OpenProcess");
//     ... openProcess.Calls() ...
// At most one at a time for functions of the same type. Recorded texts are pointers, good as long as the caller's.
// What ImportRedirect.h says of threads holds here.
template <class Function>
class CallRecorder;

template <class Result, class... Arguments>
class CallRecorder<Result(Arguments...)>
{
public:
    explicit CallRecorder(const char* name) : m_redirect(name, Record) { s_self = this; }
    ~CallRecorder() { s_self = nullptr; }
    CallRecorder(const CallRecorder&) = delete;
    CallRecorder& operator=(const CallRecorder&) = delete;

    const std::vector<std::tuple<Arguments...>>& Calls() const noexcept { return m_calls; }

    // From here on, calls do nothing but set this last error, and return 0.
    void FailWith(DWORD error) noexcept { m_error = error; }

private:
    static Result Record(Arguments... arguments)
    {
        s_self->m_calls.emplace_back(arguments...);
        if (!s_self->m_error)
            return s_self->m_redirect.Real()(arguments...);
        SetLastError(*s_self->m_error);
        return Result{};
    }

    static inline CallRecorder* s_self = nullptr;

    std::optional<DWORD> m_error;
    std::vector<std::tuple<Arguments...>> m_calls;
    Redirect<Result(Arguments...)> m_redirect;
};

// Makes each call of a system function fail: the call sets the last error and returns 0, without doing anything. The
// arguments are recorded too.
//     const FailingCall<decltype(OpenProcess)> openProcess("OpenProcess", ERROR_ACCESS_DENIED);
template <class Function>
class FailingCall : public CallRecorder<Function>
{
public:
    FailingCall(const char* name, DWORD error) : CallRecorder<Function>(name) { this->FailWith(error); }
};
