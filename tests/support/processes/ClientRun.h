#pragma once

#include "tests/support/processes/BuildFolder.h"
#include "tests/support/worlds/Files.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

// A run of OrvClient.exe as a user or a program would start it: in a process of its own, with its output caught.
class ClientRun
{
public:
    struct Setup
    {
        // As they stand on the command line, quoted here where needed.
        std::vector<std::wstring> arguments;
        // The folder of the workbench program that is passed with --workbench; the client's own when empty.
        std::wstring workbenchFolder;
        // Where it starts; the test's own current directory when empty.
        std::wstring folder;
        // Further variables for the environment of both.
        std::vector<std::pair<std::wstring, std::wstring>> environment;
        // The standard input, which ends after it unless it is kept open for Type.
        std::string input;
        bool keepsInputOpen = false;
        // Its standard output is a pipe that nobody reads.
        bool closesOutput = false;
        // Gives it a console of its own, without a window, for PressCtrlC.
        bool hasConsole = false;
    };

    static constexpr unsigned c_timeoutMs = 60000;

    explicit ClientRun(const Setup& setup);
    // Ends the client, if it still runs, and everything that it started.
    ~ClientRun();
    ClientRun(const ClientRun&) = delete;
    ClientRun& operator=(const ClientRun&) = delete;

    unsigned Id() const noexcept;
    // Writes to the standard input; EndInput closes it.
    void Type(const std::string& text);
    void EndInput();
    // Sends Ctrl-C to all processes of its console. Throws std::runtime_error when that fails.
    void PressCtrlC() const;
    // Waits until the standard output contains the text. Throws std::runtime_error after the time-out.
    void AwaitOutput(const std::string& text) const;
    // Waits for the end; returns the exit status. Throws std::runtime_error after the time-out.
    int Wait() const;
    // Ends it at once, as a crash would; what it started is left to the system.
    void Kill() const;
    bool IsRunning() const;

    // UTF-8, with CR LF as LF.
    std::string Output() const;
    std::string Errors() const;

    // The workbench's process id, from the output.
    unsigned WorkbenchId() const;

private:
    struct Process;

    std::unique_ptr<Process> m_process;
};

// Output with everything that differs from run to run (numbers of processes, times) replaced by '#'.
std::string Masked(const std::string& output);

// A folder with the workbench program and one of the stand-ins for its runtime; goes with this object.
class WorkbenchFolder
{
public:
    // Files of the build folder, as "bin\\OrvWorkBench64.exe", with the names that they get.
    explicit WorkbenchFolder(const std::vector<std::pair<std::wstring, std::wstring>>& files);

    const std::wstring& Path() const noexcept { return m_folder.Path(); }

private:
    TemporaryFolder m_folder;
};

// Whether a process of that id runs.
bool IsProcessRunning(unsigned processId);
// Waits until it does not. Throws std::runtime_error after the time-out.
void AwaitProcessEnd(unsigned processId);
