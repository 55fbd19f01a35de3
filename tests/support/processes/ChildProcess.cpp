#include "tests/support/processes/ChildProcess.h"

#include "tests/support/processes/BuildFolder.h"

#include <windows.h>

#include <cstdio>
#include <map>
#include <stdexcept>
#include <utility>

namespace
{
constexpr const wchar_t* c_roleSwitch = L"--child-role";

std::map<std::wstring, std::function<int(const ChildProcess::Arguments&)>>& Roles()
{
    static std::map<std::wstring, std::function<int(const ChildProcess::Arguments&)>> roles;
    return roles;
}

[[noreturn]] void ThrowLastError(const char* what)
{
    throw std::runtime_error(std::string(what) + " failed with error " + std::to_string(GetLastError()));
}
} // namespace

void* MakeKillJob()
{
    HANDLE const job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

ChildProcess ChildProcess::Start(const std::wstring& program, const std::wstring& commandLine, const wchar_t* folder,
                                 const wchar_t* title)
{
    return StartWith(0, program, commandLine, folder, title);
}

ChildProcess ChildProcess::StartDebugged(const std::wstring& program, const std::wstring& commandLine,
                                         const wchar_t* folder)
{
    return StartWith(DEBUG_PROCESS, program, commandLine, folder, nullptr);
}

ChildProcess ChildProcess::StartWith(unsigned creationFlags, const std::wstring& program,
                                     const std::wstring& commandLine, const wchar_t* folder, const wchar_t* title)
{
    ChildProcess child;
    child.m_job = MakeKillJob();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    std::wstring ownTitle = title != nullptr ? title : L"";
    startup.lpTitle = title != nullptr ? ownTitle.data() : nullptr;
    PROCESS_INFORMATION process{};
    std::wstring line = commandLine;
    if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED | creationFlags,
                       nullptr, folder, &startup, &process) == FALSE)
        ThrowLastError("starting a child process");
    AssignProcessToJobObject(child.m_job, process.hProcess);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    child.m_process = process.hProcess;
    child.m_id = process.dwProcessId;
    return child;
}

ChildProcess ChildProcess::StartRole(const wchar_t* role, const Arguments& arguments)
{
    std::wstring line = L"\"" + OwnProgram() + L"\" " + c_roleSwitch + L" " + role;
    for (const std::wstring& argument : arguments)
        line += L" \"" + argument + L"\"";
    return Start(OwnProgram(), line);
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : m_job(std::exchange(other.m_job, nullptr)), m_process(std::exchange(other.m_process, nullptr)), m_id(other.m_id)
{
}

ChildProcess::~ChildProcess()
{
    if (m_job != nullptr)
        CloseHandle(m_job);
    if (m_process == nullptr)
        return;
    WaitForSingleObject(m_process, c_defaultTimeoutMs);
    CloseHandle(m_process);
}

bool ChildProcess::IsRunning() const
{
    return WaitForSingleObject(m_process, 0) == WAIT_TIMEOUT;
}

unsigned ChildProcess::WaitForExit(unsigned timeoutMs) const
{
    if (WaitForSingleObject(m_process, timeoutMs) != WAIT_OBJECT_0)
        throw std::runtime_error("a child process did not end in time");
    DWORD exitCode = 0;
    GetExitCodeProcess(m_process, &exitCode);
    return exitCode;
}

void ChildProcess::Kill(unsigned exitCode) const
{
    TerminateProcess(m_process, exitCode);
    WaitForExit();
}

bool RegisterChildRole(const wchar_t* name, std::function<int(const ChildProcess::Arguments&)> role)
{
    Roles()[name] = std::move(role);
    return true;
}

bool RunChildRole(int argc, wchar_t** argv, int& exitCode)
{
    if (argc < 3 || std::wstring(argv[1]) != c_roleSwitch)
        return false;
    const auto role = Roles().find(argv[2]);
    if (role == Roles().end())
    {
        exitCode = c_exitUnknownRole;
        return true;
    }
    try
    {
        exitCode = role->second(ChildProcess::Arguments(argv + 3, argv + argc));
    }
    catch (const std::exception& error)
    {
        static_cast<void>(std::fprintf(stderr, "child role %ls: %s\n", argv[2], error.what()));
        exitCode = c_exitRoleThrew;
    }
    return true;
}

Meeting::Meeting(const std::wstring& name) : m_event(CreateEventW(nullptr, TRUE, FALSE, name.c_str()))
{
    if (m_event == nullptr)
        ThrowLastError("making a meeting");
}

Meeting::~Meeting()
{
    CloseHandle(m_event);
}

void Meeting::Signal() const
{
    SetEvent(m_event);
}

void Meeting::Wait(unsigned timeoutMs) const
{
    if (WaitForSingleObject(m_event, timeoutMs) != WAIT_OBJECT_0)
        throw std::runtime_error("the other process did not come to the meeting");
}
