#pragma once

#include <functional>
#include <string>
#include <vector>

// A job that ends the processes in it when its handle is closed, which the caller does.
void* MakeKillJob();

// A second process that never outlives the test: it runs in a job that ends it when this object goes.
class ChildProcess
{
public:
    using Arguments = std::vector<std::wstring>;
    static constexpr unsigned c_defaultTimeoutMs = 30000;

    // Starts a program with a command line (the program's own path first, quoted by the caller where needed), in the
    // given folder or the current one, with the given window title or the system's choice. Throws std::runtime_error
    // when it cannot be started.
    static ChildProcess Start(const std::wstring& program, const std::wstring& commandLine,
                              const wchar_t* folder = nullptr, const wchar_t* title = nullptr);
    // The same; the calling thread is the process's debugger.
    static ChildProcess StartDebugged(const std::wstring& program, const std::wstring& commandLine,
                                      const wchar_t* folder = nullptr);

    // Starts this test program again, to run the role of the given name (see ORV_CHILD_ROLE).
    static ChildProcess StartRole(const wchar_t* role, const Arguments& arguments = {});

    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&&) = delete;
    ~ChildProcess();

    unsigned Id() const noexcept { return m_id; }
    void* Handle() const noexcept { return m_process; }
    bool IsRunning() const;

    // Waits for the end. Returns the exit code; throws std::runtime_error after the time-out.
    unsigned WaitForExit(unsigned timeoutMs = c_defaultTimeoutMs) const;
    // Ends the process at once, as a crash would, and waits until it is gone.
    void Kill(unsigned exitCode = 99) const;

private:
    ChildProcess() = default;
    static ChildProcess StartWith(unsigned creationFlags, const std::wstring& program,
                                  const std::wstring& commandLine, const wchar_t* folder, const wchar_t* title);

    void* m_job = nullptr;
    void* m_process = nullptr;
    unsigned m_id = 0;
};

// Exit codes of a child that never reached its role's own.
constexpr unsigned c_exitUnknownRole = 90;
constexpr unsigned c_exitRoleThrew = 91;

// A role that this program plays as a child process: a function of its arguments that returns the exit code.
//     ORV_CHILD_ROLE(HoldMutex)
//     {
//         ... arguments[0] ...
//         return 0;
//     }
#define ORV_CHILD_ROLE(name)                                                                                         \
    static int ChildRole##name(const ChildProcess::Arguments& arguments);                                            \
    static const bool g_childRole##name = RegisterChildRole(L"" #name, ChildRole##name);                             \
    static int ChildRole##name([[maybe_unused]] const ChildProcess::Arguments& arguments)

bool RegisterChildRole(const wchar_t* name, std::function<int(const ChildProcess::Arguments&)> role);

// Plays the role when the process was started as a child: returns true and the exit code.
bool RunChildRole(int argc, wchar_t** argv, int& exitCode);

// A named event for the two processes of a test to meet at: either side may come first.
class Meeting
{
public:
    explicit Meeting(const std::wstring& name);
    ~Meeting();
    Meeting(const Meeting&) = delete;
    Meeting& operator=(const Meeting&) = delete;

    void Signal() const;
    // Throws std::runtime_error after the time-out.
    void Wait(unsigned timeoutMs = ChildProcess::c_defaultTimeoutMs) const;

private:
    void* m_event;
};
