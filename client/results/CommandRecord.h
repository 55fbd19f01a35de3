#pragma once

#include "client/session/Session.h"

#include <cstdint>
#include <optional>
#include <string>

// What is known of a command beside its response.
struct CommandRecord
{
    // An ActionResult; empty when nobody told it.
    std::optional<int32_t> result;
    // Its name; empty without one.
    std::wstring resultName;
    // The value that the command gave, as plain text: a string as it is, anything else as the dispatcher shows it.
    std::optional<std::wstring> value;
    // The value has become an instance with a name.
    bool hasMade = false;
    // Why the command was not carried out, or what the called code raised, on one line; empty when neither.
    std::wstring reason;
    // All that the dispatcher told, as a JSON object in UTF-8; empty when it told nothing.
    std::string json;
};

// Reads what the dispatcher told, or else the trace. What is no record counts as nothing told.
CommandRecord ReadRecord(const CommandResult& result);
