#pragma once

#include "client/console/ConsoleLine.h"
#include "client/input/LineSource.h"
#include "client/prompt/Completion.h"

#include <mutex>
#include <optional>
#include <string>
#include <vector>

// Lines that a user types at a prompt on a console, with Tab and a history. Standard input and output have to be
// consoles.
class ConsolePrompt final : public LineSource
{
public:
    // earlier: lines that the arrow keys bring back. The completer has to outlive it.
    ConsolePrompt(const Completer& completer, const std::vector<std::wstring>& earlier);

    void Begin() override;
    HANDLE Ready() const noexcept override { return m_line.Ready(); }
    LineState Next(ScriptLine& line) override;
    void WriteBeside(const std::function<void()>& write) override;
    void Drop() override;

private:
    ConsoleLine::Typed TakeTyped();
    void Keep(const ConsoleLine::Typed& typed);
    void OnTab(const ConsoleLine::Typed& typed);
    void ShowChoices(const std::vector<Proposal>& proposals) const;

    const Completer& m_completer;
    ConsoleLine m_line;
    // Guards the screen's last line, and what follows.
    std::mutex m_lock;
    // A line that was complete before something could be written beside it.
    std::optional<ConsoleLine::Typed> m_taken;
    // What the next line begins with.
    std::wstring m_before;
    std::wstring m_after;
};
