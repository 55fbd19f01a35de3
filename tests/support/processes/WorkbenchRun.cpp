#include "tests/support/processes/WorkbenchRun.h"

#include "tests/support/contract/LogFile.h"
#include "tests/support/processes/BuildFolder.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

bool IsWine() noexcept
{
    return GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

namespace
{
constexpr unsigned c_timeoutMs = 30000;

// The mscoree.dll that the runtime needs beside the program, or nothing when it is the system's.
std::wstring HostingLibrary(WorkbenchRuntime runtime)
{
    if (runtime == WorkbenchRuntime::Scripted)
        return BuildFile(L"tests\\scripted\\mscoree.dll");
    if (runtime == WorkbenchRuntime::System || !IsWine())
        return {};
    return BuildFile(L"bridge\\mscoree.dll");
}

void Copy(const std::wstring& from, const std::wstring& folder)
{
    const std::wstring to = folder + from.substr(from.rfind(L'\\'));
    if (CopyFileW(from.c_str(), to.c_str(), FALSE) == FALSE)
        throw std::runtime_error("a part of the workbench is not built");
}

// Removes what a run or a test has put there: a log, also a read-only one, or an empty folder.
void ClearLogPlace()
{
    SetFileAttributesW(WorkbenchRun::c_logPath, FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(WorkbenchRun::c_logPath);
    RemoveDirectoryW(WorkbenchRun::c_logPath);
}
} // namespace

bool WorkbenchRun::Has(WorkbenchRuntime runtime)
{
    const std::wstring library = HostingLibrary(runtime);
    if (!library.empty() && !PathExists(library))
        return false;
    return runtime != WorkbenchRuntime::Managed || PathExists(BuildFile(L"bin\\OrvWorkBench64.dll"));
}

std::wstring WorkbenchRun::BuiltProgram()
{
    return BuildFile(L"bin\\OrvWorkBench64.exe");
}

WorkbenchRun::WorkbenchRun(WorkbenchRuntime runtime) : m_recordPath(L"ORV_SCRIPT_LOG", m_folder.PathOf(L"record.txt"))
{
    Copy(BuiltProgram(), Folder());
    if (!HostingLibrary(runtime).empty())
        Copy(HostingLibrary(runtime), Folder());
    const std::wstring config = BuiltProgram() + L".config";
    if (PathExists(config))
        Copy(config, Folder());
    if (runtime == WorkbenchRuntime::Managed)
    {
        Copy(BuildFile(L"bin\\OrvWorkBench64.dll"), Folder());
        Copy(BuildFile(L"bin\\OrvSample.dll"), Folder());
    }
    CreateDirectoryW(L"c:\\zeph", nullptr);
    CreateDirectoryW(L"c:\\zeph\\logs", nullptr);
    ClearLogPlace();
}

WorkbenchRun::~WorkbenchRun()
{
    m_process.reset();
    ClearLogPlace();
}

void WorkbenchRun::Start(const std::wstring& arguments)
{
    StartWithCommandLine(L"\"" + ProgramPath() + L"\" " + arguments);
}

void WorkbenchRun::StartWithCommandLine(const std::wstring& commandLine)
{
    m_process.reset();
    m_process.emplace(ChildProcess::Start(ProgramPath(), commandLine, Folder().c_str()));
}

void WorkbenchRun::StartDebugged(const std::wstring& arguments)
{
    m_process.reset();
    m_debugger.emplace();
    const std::wstring program = ProgramPath();
    m_process.emplace(m_debugger->Start(program, L"\"" + program + L"\" " + arguments, Folder().c_str()));
}

bool WorkbenchRun::HasLog()
{
    return PathExists(c_logPath);
}

std::string WorkbenchRun::LogBytes()
{
    return FileBytes(c_logPath);
}

std::vector<std::wstring> WorkbenchRun::Log()
{
    return LogLines(LogBytes());
}

void WorkbenchRun::WaitForLogLine(const std::wstring& line)
{
    for (const ULONGLONG end = GetTickCount64() + c_timeoutMs; GetTickCount64() < end; Sleep(5))
    {
        const std::string bytes = HasLog() ? LogBytes() : std::string();
        const std::vector<std::wstring> lines = bytes.empty() ? std::vector<std::wstring>() : LogLines(bytes);
        if (std::find(lines.begin(), lines.end(), line) != lines.end())
            return;
    }
    throw std::runtime_error("a line of the log did not come");
}

std::vector<std::string> WorkbenchRun::Record() const
{
    std::vector<std::string> lines;
    const std::wstring path = m_folder.PathOf(L"record.txt");
    std::istringstream text(PathExists(path) ? FileBytes(path) : std::string());
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}
