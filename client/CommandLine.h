#pragma once

#include "client/Session.h"

#include <optional>
#include <string>
#include <vector>

// What the user asks for on the command line.
struct Options
{
    // One command each, as in a script.
    std::vector<std::wstring> commands;
    // "-" is the standard input. Empty: none given.
    std::wstring script;
    std::wstring program;
    bool keepGoing = false;
    bool json = false;
    TimeLimits limits;
};

// Reads the command line. Nothing when it only asked for help or the version, which was then shown. Throws
// ClientError (usage).
std::optional<Options> ParseCommandLine(int argc, wchar_t** argv);
