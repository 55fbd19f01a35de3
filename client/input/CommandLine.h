#pragma once

#include "client/console/TextStream.h"
#include "client/session/Session.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What the user asks for on the command line.
struct Options
{
    // One line each, as in a script.
    std::vector<std::wstring> commands;
    // A file, or "-" for the standard input. Empty: none.
    std::wstring script;
    // The full path.
    std::wstring program;
    // Process ids of a running workbench and of the client on its command line.
    std::optional<uint32_t> attachTo;
    std::optional<uint32_t> clientId;
    bool isInteractive = false;
    // The user sits at a console, and reads what is printed there: lines can be edited, and questions asked.
    bool isAtConsole = false;
    bool keepsGoing = false;
    bool followsLog = false;
    bool printsJson = false;
    // With JSON: what happens during a command also as it comes.
    bool streams = false;
    // Nothing but values.
    bool printsValues = false;
    // What is not found, or raises an exception, succeeds.
    bool protocolView = false;
    ColourUse colour = ColourUse::Automatic;
    // A debugger is let into the workbench, by this port of the runtime's agent; 0: one that is free, or the one that
    // a running workbench has. Commands have no time limit then.
    std::optional<uint16_t> debuggerPort;
    // The first command waits until a debugger is there.
    bool awaitsDebugger = false;
    // Where the evidence of a lost call is left, with a separator at its end; empty: nowhere.
    std::wstring evidencePlace;
    // The full path of a page that shows the session; empty: none.
    std::wstring picture;
    // The full path of a trace log of which a page is made, instead of a session; empty: none.
    std::wstring pictureLog;
    TimeLimits limits;
};

// Reads the command line. Nothing when it asked for help or the version only, which was then shown. Throws
// ClientError (usage).
std::optional<Options> ParseCommandLine(int argc, const wchar_t* const* argv);
