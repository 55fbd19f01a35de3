#pragma once
// The client as its users see it: the real workbench under it, with a scripted stand-in for the managed runtime that
// answers what the command texts tell it to.

#include "tests/support/processes/ClientRun.h"
#include "tests/support/worlds/Files.h"

#include <string>
#include <utility>
#include <vector>

// Units of the longest text that a command can have.
constexpr size_t c_textLimit = 35225;

// A folder with the workbench and the scripted runtime beside it.
const WorkbenchFolder& ScriptedFolder();

// A run of the client with that workbench, not started yet.
ClientRun::Setup Scripted(const std::vector<std::wstring>& arguments, const std::string& input = {});

struct ClientResult
{
    int status;
    std::string output;
    // With the numbers that differ from run to run.
    std::string rawOutput;
    std::string errors;
};

// Runs the client to its end.
ClientResult Finish(const ClientRun::Setup& setup);

std::vector<std::string> LinesOf(const std::string& text);

// The file in which the stand-in records how it was used. Goes with the object.
class ScriptRecord
{
public:
    ScriptRecord() : m_file("") {}

    // What the client's environment needs for it.
    std::pair<std::wstring, std::wstring> Variable() const { return {L"ORV_SCRIPT_LOG", m_file.Path()}; }

    // The calls of the dispatcher, as "Invoke: its text", in order, those of the breakpoint method left out.
    std::vector<std::string> Calls() const;

private:
    TemporaryFile m_file;
};
