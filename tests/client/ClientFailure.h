#pragma once

#include "client/console/ClientError.h"

#include <string>
#include <utility>

// What a call says when it throws, and the exit status; empty and 0 when it does not.
template <class Call>
std::pair<std::wstring, int> ClientFailureOf(const Call& call)
{
    try
    {
        call();
    }
    catch (const ClientError& error)
    {
        return {error.Message(), static_cast<int>(error.Status())};
    }
    return {};
}
