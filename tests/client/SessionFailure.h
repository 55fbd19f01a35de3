#pragma once

#include "client/base/SessionError.h"

#include <optional>
#include <string>
#include <utility>

// What a call of the session library says when it throws, and why; empty and nothing when it does not.
template <class Call>
std::pair<std::wstring, std::optional<SessionFailure>> FailureOf(const Call& call)
{
    try
    {
        call();
    }
    catch (const SessionError& error)
    {
        return {error.Message(), error.Failure()};
    }
    return {};
}
