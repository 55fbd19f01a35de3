#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What is known of a lost call.
struct LostCall
{
    // What the user was told.
    std::wstring message;
    // As it was given; empty when none was under way.
    std::wstring command;
    // Its place in a script; empty without one.
    std::wstring where;
    // From the command's start to the look at the process, or to its end.
    double commandSeconds = 0;
    uint32_t workbenchId = 0;
    uint32_t clientId = 0;
    // Empty when somebody else started it.
    std::wstring program;
    // When the process was gone by itself.
    std::optional<uint32_t> exitCode;
    bool wasInCommand = false;
    // What the dispatcher told, in UTF-8 (WitnessFile.h).
    std::string told;
    // Why there is no dump; empty when there is one.
    std::wstring noDump;
    // Why there is no log; empty when there is one.
    std::wstring noLog;
    // The log's last lines.
    std::vector<std::wstring> logEnd;
    bool hasStacks = false;
    bool hasOutput = false;
};

// The text of the report about it, in UTF-8, lines end with CR LF: what happened, in which method, versions, loaded
// assemblies, the end of the log, what the folder holds, and what of it may be private.
std::string EvidenceReportText(const LostCall& lost);

// The part of what the dispatcher told that begins with the command: which method, and the stacks. Empty when it told
// none.
std::string StacksOf(const std::string& told);
