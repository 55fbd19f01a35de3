#include "tests/support/processes/WorkbenchProcess.h"

#include "tests/support/contract/LogFile.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace
{
constexpr unsigned c_timeoutMs = 30000;

bool Exists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

// A folder of the build: test programs lie in "tests", or in one for the configuration below it, and so do the
// others.
std::wstring BuildFolder(const wchar_t* folder)
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    path.resize(path.rfind(L'\\'));
    const std::wstring tests = L"\\tests";
    const size_t root = path.rfind(tests);
    if (root == std::wstring::npos)
        throw std::runtime_error("the test program does not lie in the build folder");
    return path.substr(0, root + 1) + folder + path.substr(root + tests.size());
}

// The mscoree.dll that the runtime needs beside the program, or nothing when it is the system's.
std::wstring HostingLibrary(WorkbenchRuntime runtime)
{
    if (runtime == WorkbenchRuntime::Scripted)
        return BuildFolder(L"tests\\scripted") + L"\\mscoree.dll";
    if (runtime == WorkbenchRuntime::System || !IsWine())
        return {};
    return BuildFolder(L"bridge") + L"\\mscoree.dll";
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
    SetFileAttributesW(WorkbenchProcess::c_logPath, FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(WorkbenchProcess::c_logPath);
    RemoveDirectoryW(WorkbenchProcess::c_logPath);
}
} // namespace

EnvironmentVariable::EnvironmentVariable(const wchar_t* name, const std::wstring& value) : m_name(name)
{
    SetEnvironmentVariableW(name, value.c_str());
}

EnvironmentVariable::~EnvironmentVariable()
{
    SetEnvironmentVariableW(m_name, nullptr);
}

bool WorkbenchProcess::Has(WorkbenchRuntime runtime)
{
    const std::wstring library = HostingLibrary(runtime);
    if (!library.empty() && !Exists(library))
        return false;
    return runtime != WorkbenchRuntime::Managed || Exists(BuildFolder(L"bin") + L"\\OrvWorkBench64.dll");
}

std::wstring WorkbenchProcess::BuiltProgram()
{
    return BuildFolder(L"bin") + L"\\OrvWorkBench64.exe";
}

WorkbenchProcess::WorkbenchProcess(WorkbenchRuntime runtime)
    : m_recordPath(L"ORV_SCRIPT_LOG", Folder() + L"\\record.txt")
{
    const std::wstring bin = BuildFolder(L"bin");
    Copy(BuiltProgram(), Folder());
    if (!HostingLibrary(runtime).empty())
        Copy(HostingLibrary(runtime), Folder());
    if (Exists(bin + L"\\OrvWorkBench64.exe.config"))
        Copy(bin + L"\\OrvWorkBench64.exe.config", Folder());
    if (runtime == WorkbenchRuntime::Managed)
    {
        Copy(bin + L"\\OrvWorkBench64.dll", Folder());
        Copy(bin + L"\\OrvSample.dll", Folder());
    }
    CreateDirectoryW(L"c:\\zeph", nullptr);
    CreateDirectoryW(L"c:\\zeph\\logs", nullptr);
    ClearLogPlace();
}

WorkbenchProcess::~WorkbenchProcess()
{
    m_process.reset();
    ClearLogPlace();
}

void WorkbenchProcess::Start(const std::wstring& arguments)
{
    StartWithCommandLine(L"\"" + ProgramPath() + L"\" " + arguments);
}

void WorkbenchProcess::StartWithCommandLine(const std::wstring& commandLine)
{
    m_process.reset();
    m_process.emplace(ChildProcess::Start(ProgramPath(), commandLine, Folder().c_str()));
}

bool WorkbenchProcess::HasLog()
{
    return Exists(c_logPath);
}

std::string WorkbenchProcess::LogBytes()
{
    return FileBytes(c_logPath);
}

std::vector<std::wstring> WorkbenchProcess::Log()
{
    return LogLines(LogBytes());
}

void WorkbenchProcess::WaitForLogLine(const std::wstring& line)
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

std::vector<std::string> WorkbenchProcess::Record() const
{
    std::vector<std::string> lines;
    const std::wstring path = Folder() + L"\\record.txt";
    std::istringstream text(Exists(path) ? FileBytes(path) : std::string());
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}
