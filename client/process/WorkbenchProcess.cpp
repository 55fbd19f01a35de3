#include "client/process/WorkbenchProcess.h"

#include "client/base/Folders.h"
#include "client/base/SessionError.h"
#include "client/base/SystemFailure.h"
#include "OrvProfiler/protocol/WorkbenchCommandLine.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <memory>
#include <string>

namespace
{
constexpr DWORD c_killWaitMs = 10000;
constexpr UINT c_exitKilled = 0xDEAD;

UniqueHandle MakeKillJob()
{
    UniqueHandle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (job && SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits) != FALSE)
        return job;
    const DWORD error = GetLastError();
    throw SessionError(SessionFailure::NoWorkbench,
                       SystemFailure(L"the job that ties the workbench to this client cannot be made", error));
}

struct AttributeListTraits
{
    using Handle = LPPROC_THREAD_ATTRIBUTE_LIST;
    static constexpr Handle None() noexcept { return nullptr; }
    static void Close(Handle list) noexcept { DeleteProcThreadAttributeList(list); }
};

// Lets a new process inherit the given handles and no others.
class InheritList
{
public:
    InheritList(HANDLE* handles, size_t count)
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_memory = std::make_unique<char[]>(size);
        auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_memory.get());
        if (InitializeProcThreadAttributeList(list, 1, 0, &size) != FALSE)
            m_list.Reset(list);
        if (!m_list || UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles,
                                                 count * sizeof *handles, nullptr, nullptr) == FALSE)
        {
            const DWORD error = GetLastError();
            throw SessionError(SessionFailure::NoWorkbench,
                               SystemFailure(L"the handles of the workbench cannot be chosen", error));
        }
    }

    LPPROC_THREAD_ATTRIBUTE_LIST Get() const noexcept { return m_list.Get(); }

private:
    std::unique_ptr<char[]> m_memory;
    // Lies in the memory.
    BasicUniqueHandle<AttributeListTraits> m_list;
};

UniqueHandle OpenNothing()
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return UniqueHandle::FromFile(CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                              OPEN_EXISTING, 0, nullptr));
}

bool IsNamed(const wchar_t* entry, const EnvironmentEntry& variable) noexcept
{
    const std::wstring& name = variable.first;
    return _wcsnicmp(entry, name.c_str(), name.size()) == 0 && entry[name.size()] == L'=';
}

// This process's environment with these variables, as a new process takes it.
std::wstring EnvironmentWith(const std::vector<EnvironmentEntry>& variables)
{
    wchar_t* const own = GetEnvironmentStringsW();
    if (own == nullptr)
        throw SessionError(SessionFailure::NoWorkbench, L"there is no memory for the workbench's environment");
    std::wstring block;
    for (const wchar_t* entry = own; *entry != L'\0'; entry += std::wcslen(entry) + 1)
    {
        const auto isEntry = [entry](const EnvironmentEntry& variable) { return IsNamed(entry, variable); };
        if (std::none_of(variables.begin(), variables.end(), isEntry))
            block += std::wstring(entry) + L'\0';
    }
    FreeEnvironmentStringsW(own);
    for (const auto& [name, value] : variables)
        if (!value.empty())
            block.append(name).append(L"=").append(value).push_back(L'\0');
    return block;
}
} // namespace

WorkbenchProcess WorkbenchProcess::Start(const std::wstring& program, uint32_t clientId, HANDLE output,
                                         const std::vector<EnvironmentEntry>& variables)
{
    WorkbenchProcess workbench;
    workbench.m_job = MakeKillJob();
    const UniqueHandle nothing = OpenNothing();
    HANDLE inherited[] = {output, nothing.Get()};
    const InheritList inheritList(inherited, nothing ? 2 : 1);

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = nothing.Get();
    startup.StartupInfo.hStdOutput = output;
    startup.StartupInfo.hStdError = output;
    startup.lpAttributeList = inheritList.Get();

    std::wstring commandLine = WorkbenchCommandLine(program, clientId);
    const std::wstring folder = FolderOf(program);
    std::wstring environment = EnvironmentWith(variables);
    PROCESS_INFORMATION process{};
    // Suspended until it is in the job. In a process group of its own Ctrl-C does not end it: this client stops it.
    if (CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                       CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT |
                           CREATE_UNICODE_ENVIRONMENT,
                       environment.data(), folder.c_str(), &startup.StartupInfo, &process) == FALSE)
    {
        const DWORD error = GetLastError();
        throw SessionError(SessionFailure::NoWorkbench, SystemFailure(program + L" cannot be started", error));
    }
    workbench.m_process.Reset(process.hProcess);
    workbench.m_id = process.dwProcessId;
    const UniqueHandle thread(process.hThread);
    if (AssignProcessToJobObject(workbench.m_job.Get(), process.hProcess) == FALSE)
    {
        const DWORD error = GetLastError();
        TerminateProcess(process.hProcess, c_exitKilled);
        throw SessionError(SessionFailure::NoWorkbench,
                           SystemFailure(L"the workbench cannot be tied to this client", error));
    }
    ResumeThread(process.hThread);
    return workbench;
}

WorkbenchProcess WorkbenchProcess::Attach(uint32_t processId)
{
    WorkbenchProcess workbench;
    workbench.m_process.Reset(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    const DWORD error = GetLastError();
    if (!workbench.m_process)
        throw SessionError(SessionFailure::NoWorkbench,
                           SystemFailure(L"process " + std::to_wstring(processId) + L" cannot be opened", error));
    workbench.m_id = processId;
    return workbench;
}

bool WorkbenchProcess::HasEnded() const noexcept
{
    return WaitForSingleObject(m_process.Get(), 0) == WAIT_OBJECT_0;
}

uint32_t WorkbenchProcess::ExitCode() const noexcept
{
    DWORD exitCode = 0;
    GetExitCodeProcess(m_process.Get(), &exitCode);
    return exitCode;
}

void WorkbenchProcess::Kill() noexcept
{
    if (!m_job)
        return;
    TerminateJobObject(m_job.Get(), c_exitKilled);
    WaitForSingleObject(m_process.Get(), c_killWaitMs);
}
