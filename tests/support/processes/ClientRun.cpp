#include "tests/support/processes/ClientRun.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/processes/EnvironmentVariable.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <algorithm>
#include <deque>
#include <regex>
#include <stdexcept>

namespace
{
constexpr DWORD c_pollMs = 20;
constexpr const wchar_t* c_outputName = L"out.txt";
constexpr const wchar_t* c_errorName = L"err.txt";

[[noreturn]] void ThrowLastError(const std::string& what)
{
    const DWORD error = GetLastError();
    throw std::runtime_error(what + " failed with error " + std::to_string(error));
}

UniqueHandle MakeInheritable(const std::wstring& path)
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    UniqueHandle file = UniqueHandle::FromFile(CreateFileW(
        path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, CREATE_ALWAYS, 0, nullptr));
    if (!file)
        ThrowLastError("opening a file");
    return file;
}

// A text file, with CR LF as LF.
std::string ReadText(const std::wstring& path)
{
    std::string text = FileBytes(path);
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

// Quoted so that the C runtime's parser gives the argument back.
std::wstring Quoted(const std::wstring& argument)
{
    std::wstring quoted = L"\"";
    size_t backslashes = 0;
    for (const wchar_t c : argument)
    {
        if (c == L'"')
            quoted.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    quoted.append(backslashes, L'\\');
    return quoted + L"\"";
}

// Unlike the system's own way of ignoring the key, children do not inherit it.
BOOL WINAPI IgnoreKey(DWORD)
{
    return TRUE;
}
} // namespace

struct ClientRun::Process
{
    TemporaryFolder folder;
    UniqueHandle job{MakeKillJob()};
    UniqueHandle process;
    UniqueHandle input;
    unsigned id = 0;
};

ClientRun::ClientRun(const Setup& setup) : m_process(std::make_unique<Process>())
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    UniqueHandle inputEnd;
    if (CreatePipe(inputEnd.Receive(), m_process->input.Receive(), &inheritable, 0) == FALSE)
        ThrowLastError("making a pipe");
    SetHandleInformation(m_process->input.Get(), HANDLE_FLAG_INHERIT, 0);
    UniqueHandle output = MakeInheritable(m_process->folder.PathOf(c_outputName));
    UniqueHandle reader;
    if (setup.closesOutput && CreatePipe(reader.Receive(), output.Receive(), &inheritable, 0) == FALSE)
        ThrowLastError("making a pipe");
    reader.Reset();
    const UniqueHandle errors = MakeInheritable(m_process->folder.PathOf(c_errorName));

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = inputEnd.Get();
    startup.hStdOutput = output.Get();
    startup.hStdError = errors.Get();
    const std::wstring program = BuildFile(L"bin\\OrvClient.exe");
    std::wstring line = Quoted(program);
    if (!setup.workbenchFolder.empty())
        line += L" --workbench " + Quoted(setup.workbenchFolder + L"\\OrvWorkBench64.exe");
    for (const std::wstring& argument : setup.arguments)
        line += L" " + Quoted(argument);
    std::deque<EnvironmentVariable> environment;
    for (const auto& [name, value] : setup.environment)
        environment.emplace_back(name, value);
    PROCESS_INFORMATION process{};
    const DWORD flags = CREATE_SUSPENDED | (setup.hasConsole ? DWORD{CREATE_NO_WINDOW} : 0);
    if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, flags, nullptr,
                       setup.folder.empty() ? nullptr : setup.folder.c_str(), &startup, &process) == FALSE)
        ThrowLastError("starting the client");
    m_process->process.Reset(process.hProcess);
    m_process->id = process.dwProcessId;
    AssignProcessToJobObject(m_process->job.Get(), process.hProcess);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    inputEnd.Reset();
    Type(setup.input);
    if (!setup.keepsInputOpen)
        EndInput();
}

ClientRun::~ClientRun()
{
    m_process->job.Reset();
    WaitForSingleObject(m_process->process.Get(), c_timeoutMs);
}

unsigned ClientRun::Id() const noexcept
{
    return m_process->id;
}

void ClientRun::Type(const std::string& text)
{
    DWORD written = 0;
    WriteFile(m_process->input.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

void ClientRun::EndInput()
{
    m_process->input.Reset();
}

void ClientRun::PressCtrlC() const
{
    // This process has to join the client's console for that, and would get the key too.
    FreeConsole();
    if (AttachConsole(m_process->id) == FALSE)
        ThrowLastError("attaching to the client's console");
    SetConsoleCtrlHandler(IgnoreKey, TRUE);
    const bool pressed = GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != FALSE;
    FreeConsole();
    if (!pressed)
        ThrowLastError("pressing Ctrl-C");
}

void ClientRun::AwaitOutput(const std::string& text) const
{
    const ULONGLONG start = GetTickCount64();
    while (Output().find(text) == std::string::npos)
    {
        if (GetTickCount64() - start > c_timeoutMs || !IsRunning())
        {
            // It may have printed the text just before it ended.
            if (Output().find(text) != std::string::npos)
                return;
            throw std::runtime_error("the client did not print \"" + text + "\" but:\n" + Output() + Errors());
        }
        Sleep(c_pollMs);
    }
}

int ClientRun::Wait() const
{
    if (WaitForSingleObject(m_process->process.Get(), c_timeoutMs) != WAIT_OBJECT_0)
        throw std::runtime_error("the client did not end in time:\n" + Output() + Errors());
    DWORD status = 0;
    GetExitCodeProcess(m_process->process.Get(), &status);
    return static_cast<int>(status);
}

void ClientRun::Kill() const
{
    TerminateProcess(m_process->process.Get(), 99);
    Wait();
}

bool ClientRun::IsRunning() const
{
    return WaitForSingleObject(m_process->process.Get(), 0) == WAIT_TIMEOUT;
}

std::string ClientRun::Output() const
{
    return ReadText(m_process->folder.PathOf(c_outputName));
}

std::string ClientRun::Errors() const
{
    return ReadText(m_process->folder.PathOf(c_errorName));
}

unsigned ClientRun::WorkbenchId() const
{
    std::smatch match;
    const std::string output = Output();
    if (!std::regex_search(output, match, std::regex("workbench (\\d+) started|\"workbench\":(\\d+)")))
        throw std::runtime_error("the client has started no workbench:\n" + output);
    return static_cast<unsigned>(std::stoul(match[1].matched ? match[1] : match[2]));
}

std::string Masked(const std::string& output)
{
    std::string masked = output;
    for (const char* pattern :
         {"(workbench )\\d+( started| attached)", "(client id )[0-9a-f]+()",
          "((?:after|minimum|median|maximum) )\\d+\\.\\d+( ms)", "(\"workbench\":)\\d+()",
          "(\"client\":\")[0-9a-f]+(\")", "(\"[a-z]+Ms\":)[0-9.e-]+()", "(\\\\evidence\\\\)[-_0-9]+()"})
        masked = std::regex_replace(masked, std::regex(pattern), "$1#$2");
    return masked;
}

WorkbenchFolder::WorkbenchFolder(const std::vector<std::pair<std::wstring, std::wstring>>& files)
{
    for (const auto& [source, name] : files)
        if (CopyFileW(BuildFile(source).c_str(), m_folder.PathOf(name).c_str(), TRUE) == FALSE)
            ThrowLastError("copying a file of the build");
}

bool IsProcessRunning(unsigned processId)
{
    const UniqueHandle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
    return process && WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
}

void AwaitProcessEnd(unsigned processId)
{
    const UniqueHandle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
    if (process && WaitForSingleObject(process.Get(), ClientRun::c_timeoutMs) != WAIT_OBJECT_0)
        throw std::runtime_error("the process " + std::to_string(processId) + " did not end");
}
