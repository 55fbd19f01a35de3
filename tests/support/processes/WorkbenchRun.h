#pragma once

#include "tests/support/processes/ChildProcess.h"
#include "tests/support/processes/EnvironmentVariable.h"
#include "tests/support/processes/PassingDebugger.h"
#include "tests/support/worlds/Files.h"

#include <optional>
#include <string>
#include <vector>

// Whether this is Wine, where the runtime is Mono.
bool IsWine() noexcept;

// Which runtime the workbench finds.
enum class WorkbenchRuntime
{
    Scripted,     // the stand-in that records its use and answers as it is told (scripted_runtime/)
    Managed,      // the real one, with the dispatcher and the sample assembly
    NoDispatcher, // the real one, but no assembly to call
    System,       // what the system has: under a Wine without Mono, none
};

// The real workbench program, run as a process: in a fresh folder of its own, beside it the runtime that the test
// chooses. Its log file has one fixed place, so only one test on a machine may have one (LOCK trace-log).
class WorkbenchRun
{
public:
    static constexpr const wchar_t* c_logPath = L"c:\\zeph\\logs\\OrvWorkBench.log";

    // Makes the folder and clears the log's place. Throws std::runtime_error when a part is not built.
    explicit WorkbenchRun(WorkbenchRuntime runtime);
    // Ends the process if it still runs, removes the folder and clears the log's place.
    ~WorkbenchRun();
    WorkbenchRun(const WorkbenchRun&) = delete;
    WorkbenchRun& operator=(const WorkbenchRun&) = delete;

    // Whether the parts for that runtime are there.
    static bool Has(WorkbenchRuntime runtime);

    // The program as it was built, and the copy in the folder.
    static std::wstring BuiltProgram();
    std::wstring ProgramPath() const { return m_folder.PathOf(L"OrvWorkBench64.exe"); }
    const std::wstring& Folder() const noexcept { return m_folder.Path(); }
    // Starts the program with the folder as current directory; the arguments are a command line's, after the
    // program's quoted path. The second form gives the whole command line.
    void Start(const std::wstring& arguments);
    void StartWithCommandLine(const std::wstring& commandLine);
    // The first form, under a debugger that passes on what it sees.
    void StartDebugged(const std::wstring& arguments);
    // What that debugger has seen; waits for the end.
    const std::vector<SeenException>& SeenExceptions() { return m_debugger->Exceptions(); }
    bool IsRunning() const { return m_process && m_process->IsRunning(); }
    unsigned WaitForExit() const { return m_process->WaitForExit(); }
    // Ends it at once, as a crash would, and waits until it is gone.
    void Kill() const { m_process->Kill(); }
    // The process's handle.
    void* Handle() const { return m_process->Handle(); }

    // The log's bytes and its lines without times (see LogFile.h).
    static bool HasLog();
    static std::string LogBytes();
    static std::vector<std::wstring> Log();
    // Waits until the log has the given line. Throws std::runtime_error after a time-out.
    static void WaitForLogLine(const std::wstring& line);
    // What the scripted runtime recorded, line by line, in UTF-8.
    std::vector<std::string> Record() const;

private:
    TemporaryFolder m_folder;
    EnvironmentVariable m_recordPath;
    // Waits for the process that it debugs, so before it.
    std::optional<PassingDebugger> m_debugger;
    // After the folder, in which it runs.
    std::optional<ChildProcess> m_process;
};
