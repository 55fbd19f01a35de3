#include "tests/support/processes/PassingDebugger.h"

#include <windows.h>

#include <future>
#include <ostream>
#include <utility>

void PrintTo(const SeenException& exception, std::ostream* stream)
{
    *stream << std::hex << exception.code << std::dec << (exception.isFirstChance ? " first" : " second")
            << " chance";
}

PassingDebugger::~PassingDebugger()
{
    Exceptions();
}

ChildProcess PassingDebugger::Start(const std::wstring& program, const std::wstring& commandLine,
                                    const wchar_t* folder)
{
    // Events go to the thread that has started the process.
    std::promise<ChildProcess> started;
    std::future<ChildProcess> process = started.get_future();
    m_thread = std::thread([&, this] {
        unsigned long id = 0;
        try
        {
            ChildProcess child = ChildProcess::StartDebugged(program, commandLine, folder);
            id = child.Id();
            started.set_value(std::move(child));
        }
        catch (...)
        {
            started.set_exception(std::current_exception());
            return;
        }
        DebugUntilTheEnd(id);
    });
    return process.get();
}

const std::vector<SeenException>& PassingDebugger::Exceptions()
{
    if (m_thread.joinable())
        m_thread.join();
    return m_exceptions;
}

void PassingDebugger::DebugUntilTheEnd(unsigned long process)
{
    bool isGreeted = false;
    DEBUG_EVENT event{};
    while (WaitForDebugEvent(&event, INFINITE) != FALSE)
    {
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT)
        {
            const EXCEPTION_DEBUG_INFO& exception = event.u.Exception;
            if (isGreeted || exception.ExceptionRecord.ExceptionCode != EXCEPTION_BREAKPOINT)
            {
                answer = DBG_EXCEPTION_NOT_HANDLED;
                m_exceptions.push_back({exception.ExceptionRecord.ExceptionCode, exception.dwFirstChance != 0});
            }
            isGreeted = true;
        }
        if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT)
            CloseHandle(event.u.CreateProcessInfo.hFile);
        if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT)
            CloseHandle(event.u.LoadDll.hFile);
        const bool isOver = event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT && event.dwProcessId == process;
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
        if (isOver)
            return;
    }
}
