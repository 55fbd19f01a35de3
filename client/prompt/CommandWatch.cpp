#include "client/prompt/CommandWatch.h"

#include "client/console/ConsoleKeys.h"
#include "client/console/TextStream.h"

#include <windows.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace
{
constexpr DWORD c_secondMs = 1000;
constexpr const wchar_t* c_question = L"the call goes on: w to wait for it, e to end the workbench";
} // namespace

CommandWatch::CommandWatch(Setup setup)
    : m_setup(std::move(setup)), m_over(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    if (TextStream::Out().IsConsole())
        m_thread = std::thread([this] { Run(); });
}

CommandWatch::~CommandWatch()
{
    SetEvent(m_over.Get());
    if (m_thread.joinable())
        m_thread.join();
    TextStream::Out().SetStatus(L"");
}

void CommandWatch::Run() const
{
    std::vector<HANDLE> events{m_over.Get()};
    if (m_setup.pressed != nullptr)
        events.push_back(m_setup.pressed);
    const uint64_t start = GetTickCount64();
    for (;;)
    {
        const DWORD cause =
            WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, c_secondMs);
        if (cause == WAIT_TIMEOUT)
            ShowProgress((GetTickCount64() - start) / c_secondMs);
        else if (cause != WAIT_OBJECT_0 + 1 || !Ask())
            return;
    }
}

void CommandWatch::ShowProgress(uint64_t seconds) const
{
    const std::wstring held = m_setup.held ? m_setup.held() : std::wstring();
    std::wstring status = L"  " + (held.empty() ? m_setup.activity : L"held by a debugger " + held) + L" for " +
                          std::to_wstring(seconds) + L" s";
    const std::wstring line = m_setup.lastLogLine ? m_setup.lastLogLine() : std::wstring();
    if (!line.empty())
        status += L", log: " + line;
    TextStream::Out().SetStatus(status);
}

// Whether the user wants to wait. A second Ctrl-C is an answer too.
bool CommandWatch::Ask() const
{
    ResetEvent(m_setup.pressed);
    TextStream::Out().SetStatus(std::wstring(L"  ") + c_question);
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    const KeysAside keys(input);
    const HANDLE events[] = {m_over.Get(), m_setup.pressed, input};
    for (;;)
    {
        const DWORD cause = WaitForMultipleObjects(3, events, FALSE, INFINITE);
        if (cause == WAIT_OBJECT_0)
            return false;
        const wchar_t key = cause == WAIT_OBJECT_0 + 1 ? L'e' : keys.Next();
        if (key == L'w' || key == L'\r')
        {
            TextStream::Out().SetStatus(L"  waiting");
            return true;
        }
        if (key == L'e')
        {
            ResetEvent(m_setup.pressed);
            SetEvent(m_setup.end);
            return false;
        }
    }
}
