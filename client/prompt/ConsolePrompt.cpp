#include "client/prompt/ConsolePrompt.h"

#include "client/console/TextStream.h"

#include <windows.h>

#include <utility>

namespace
{
struct ScreenSize
{
    size_t width = 80;
    size_t height = 25;
};

ScreenSize SizeOfScreen() noexcept
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) == FALSE)
        return {};
    return {static_cast<size_t>(info.dwSize.X), static_cast<size_t>(info.srWindow.Bottom - info.srWindow.Top + 1)};
}
} // namespace

ConsolePrompt::ConsolePrompt(const Completer& completer, const std::vector<std::wstring>& earlier)
    : m_completer(completer)
{
    m_line.Remember(earlier);
}

void ConsolePrompt::Begin()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_line.IsBegun() || m_taken)
        return;
    m_line.Begin(c_prompt, m_before, m_after);
    m_before.clear();
    m_after.clear();
}

LineState ConsolePrompt::Next(ScriptLine& line)
{
    const ConsoleLine::Typed typed = TakeTyped();
    switch (typed.end)
    {
    case ConsoleLine::End::Line:
        line = {typed.before, L""};
        return LineState::Taken;
    case ConsoleLine::End::Tab:
        OnTab(typed);
        return LineState::Pending;
    case ConsoleLine::End::BrokenOff:
        return LineState::Pending;
    case ConsoleLine::End::Closed:
        break;
    }
    TextStream::Out().Write(L"\n");
    return LineState::Ended;
}

// Nothing was typed when something was written beside the line in the meantime: it keeps what was.
ConsoleLine::Typed ConsolePrompt::TakeTyped()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_taken)
        return *std::exchange(m_taken, std::nullopt);
    if (!m_line.IsBegun())
        return {ConsoleLine::End::BrokenOff, L"", L""};
    ConsoleLine::Typed typed = m_line.Take();
    if (typed.end == ConsoleLine::End::BrokenOff)
        Keep(typed);
    return typed;
}

void ConsolePrompt::Keep(const ConsoleLine::Typed& typed)
{
    m_line.Erase(typed);
    m_before = typed.before;
    m_after = typed.after;
}

// Not under the lock: the workbench may be asked, and what it has to say meanwhile must not wait for that.
void ConsolePrompt::OnTab(const ConsoleLine::Typed& typed)
{
    const std::vector<Proposal> proposals = m_completer.Propose(typed.before);
    Completed completed = Complete(typed.before, proposals);
    // A bracket that stands there already is not put a second time.
    if (!completed.isUndecided && !typed.after.empty() && completed.line.back() == typed.after.front())
        completed.line.pop_back();
    const std::lock_guard<std::mutex> guard(m_lock);
    if (completed.isUndecided)
        ShowChoices(proposals);
    else
        m_line.Erase(typed);
    m_before = completed.line;
    m_after = typed.after;
}

void ConsolePrompt::ShowChoices(const std::vector<Proposal>& proposals) const
{
    const ScreenSize screen = SizeOfScreen();
    // The lines that were typed and are typed next stay on the screen.
    TextStream::Out().Write(L"\n" + ChoiceText(proposals, screen.width, screen.height - 2));
}

void ConsolePrompt::WriteBeside(const std::function<void()>& write)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_line.IsBegun())
    {
        m_line.BreakOff();
        const ConsoleLine::Typed typed = m_line.Take();
        if (typed.end == ConsoleLine::End::Line || typed.end == ConsoleLine::End::Closed)
            m_taken = typed;
        else
            Keep(typed);
    }
    write();
}

void ConsolePrompt::Drop()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_before.clear();
    m_after.clear();
    m_taken.reset();
    if (!m_line.IsBegun())
        return;
    m_line.BreakOff();
    m_line.Take();
    TextStream::Out().Write(L"\n");
}
