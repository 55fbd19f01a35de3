#include "client/picture/LogSteps.h"

#include "client/results/CommandRecord.h"
#include "OrvProfiler/protocol/ActionResult.h"
#include "OrvProfiler/protocol/ClientId.h"
#include "OrvProfiler/protocol/ManagedMethods.h"
#include "OrvProfiler/protocol/TraceLines.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <iterator>
#include <utility>

namespace
{
// The text of a command stands in the command already.
constexpr size_t c_longestLineUnits = 400;

constexpr std::wstring_view c_eventMark = L"Event is ";
constexpr std::wstring_view c_resultMark = L"result = ";
constexpr std::wstring_view c_unknownEvent = L"unknown event";
constexpr std::wstring_view c_exit = L"WorkBench Exiting";
constexpr const wchar_t* c_wait = L"CWBEvent::Wait";
constexpr const wchar_t* c_breakpoint = L"CHost::Breakpoint";

bool StartsWith(std::wstring_view text, std::wstring_view start) noexcept
{
    return text.substr(0, start.size()) == start;
}

std::optional<size_t> SlotOf(std::wstring_view event) noexcept
{
    for (size_t slot = 0; slot < c_workbenchCommandCount; ++slot)
        if (event == c_workbenchEventNames[slot])
            return slot;
    return std::nullopt;
}

std::optional<size_t> SlotOfName(std::wstring_view name) noexcept
{
    for (size_t slot = 0; slot < c_workbenchCommandCount; ++slot)
        if (c_workbenchCommands[slot].name != nullptr && name == c_workbenchCommands[slot].name)
            return slot;
    return std::nullopt;
}

std::wstring Lower(std::wstring_view text)
{
    std::wstring lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), std::towlower);
    return lower;
}

void Name(Step& step, size_t slot)
{
    const WorkbenchCommand& command = c_workbenchCommands[slot];
    step.word = command.name == nullptr ? L"stop" : Lower(command.name);
    step.event = static_cast<uint32_t>(slot);
    step.passesBreakpoint = command.passesBreakpoint;
}

// A text may go on in further lines, its own or others'.
std::wstring_view FirstLineOf(std::wstring_view text) noexcept
{
    return text.substr(0, text.find(L'\n'));
}

std::optional<int32_t> ResultOf(std::wstring_view name) noexcept
{
    const auto* const found = std::find(std::begin(c_actionResultNames), std::end(c_actionResultNames), name);
    if (found == std::end(c_actionResultNames))
        return std::nullopt;
    return static_cast<int32_t>(found - std::begin(c_actionResultNames));
}
} // namespace

LogSteps::LogSteps(Receivers receivers, bool protocolView)
    : m_receivers(std::move(receivers)), m_protocolView(protocolView)
{
}

void LogSteps::Take(const TracedLine& line)
{
    if (line.function.empty())
        return Keep(line);
    const bool goesBack = m_life.firstMs && line.timeMs < m_life.lastMs;
    if (goesBack && m_open && !m_open->isOver)
        Deviate(L"the log's time runs backwards");
    TakeLife(line);
    if (TakeEvent(line))
        return;
    if (line.function == c_traceMainLoop)
        TakeMainLoop(line);
    else if (line.function == c_breakpoint)
        TakeBreakpoint(line);
    else if (m_open && line.function == L"CHost::Execute")
        m_open->step.hint = L"the dispatcher could not be called";
    Keep(line);
    // The wait for the next one is the end of this one, and so is the workbench's end.
    if (m_open && m_open->isOver && (line.function == c_wait || StartsWith(line.text, c_exit)))
        Finish();
}

void LogSteps::End()
{
    Finish();
}

void LogSteps::TakeLife(const TracedLine& line)
{
    constexpr std::wstring_view program = L" arg 0 = ";
    constexpr std::wstring_view client = L" arg 2 = ";
    m_life.lastMs = line.timeMs;
    if (!m_life.firstMs)
        m_life.firstMs = line.timeMs;
    const std::wstring_view text = line.text;
    if (line.function == L"CHost::CHost" && StartsWith(text, L"Executing "))
    {
        m_life.wasAnotherRun = m_life.hasBegun;
        m_life.hasBegun = true;
    }
    if (line.function == L"CHost::CHost" && StartsWith(text, L"Failed "))
        m_life.hasNoRuntime = true;
    // One blank of the line's own stands before the text.
    if (line.function == L"wmain" && StartsWith(text, program))
        m_life.program = text.substr(program.size());
    if (line.function == L"wmain" && StartsWith(text, client))
        m_life.clientId = ClientIdOf(std::wstring(text.substr(client.size())).c_str());
    if (line.function == c_traceMainLoop && StartsWith(text, c_traceOfWait) && !m_life.readyMs)
        m_life.readyMs = line.timeMs;
    if (line.function == c_traceMainLoop && StartsWith(text, c_exit))
        m_life.hasExited = true;
    if (line.function == c_traceMainLoop && StartsWith(text, L"WorkBench Exception"))
        m_life.hasRaised = true;
}

bool LogSteps::TakeEvent(const TracedLine& line)
{
    if (line.function != c_wait || !StartsWith(line.text, c_eventMark))
        return false;
    if (m_open && !m_open->isOver)
        Deviate(L"the next command came before this one had its final response");
    Begin(line);
    m_open->slot = SlotOf(FirstLineOf(line.text).substr(c_eventMark.size()));
    if (m_open->slot)
        Name(m_open->step, *m_open->slot);
    Expect(m_open->slot.has_value(), L"an event woke the workbench that is no command");
    Keep(line);
    return true;
}

void LogSteps::TakeMainLoop(const TracedLine& line)
{
    const std::wstring_view text = line.text;
    if (StartsWith(text, c_traceOfCommand))
        return TakeCall(line);
    if (StartsWith(text, c_traceOfSuccess))
        return TakeResult(line, true);
    if (StartsWith(text, c_traceOfFailure))
        return TakeResult(line, false);
    if (!m_open)
        return;
    if (StartsWith(text, c_unknownEvent))
        Deviate(L"an event woke the workbench that is no command");
    if (StartsWith(text, c_exit) && m_open->slot == size_t{EV_STOP})
    {
        m_open->isOver = true;
        m_open->step.verdict = Verdict::Succeeded;
        m_open->step.endMs = line.timeMs;
        m_open->step.elapsedMs = line.timeMs - m_open->step.atMs;
    }
    else if (StartsWith(text, L"WorkBench Exception") && !m_open->isOver)
    {
        m_open->isOver = true;
        m_open->step.verdict = Verdict::Lost;
        m_open->step.endMs = line.timeMs;
    }
    else if (StartsWith(text, c_traceOfWait) && !m_open->isOver)
    {
        Deviate(L"the workbench waits again without a final response to this command");
        m_open->isOver = true;
    }
}

void LogSteps::TakeCall(const TracedLine& line)
{
    std::wstring_view text = line.text;
    text.remove_prefix(std::wcslen(c_traceOfCommand));
    const size_t colon = std::min(text.find(L": "), text.size());
    const std::wstring_view name = text.substr(0, colon);
    // The log's beginning is missing, or lines of it.
    if (!m_open || m_open->isOver)
        Begin(line);
    Expect(!m_open->isCalled, L"two commands came at once");
    Expect(m_open->slot == std::nullopt || m_open->slot == SlotOfName(name),
           L"the command that was called is not that of the event");
    Step& step = m_open->step;
    m_open->isCalled = true;
    if (const std::optional<size_t> slot = SlotOfName(name))
        Name(step, *slot);
    else
        step.word = name;
    step.posted = text.substr(std::min(colon + 2, text.size()));
    step.text = CutText(step.posted);
}

void LogSteps::TakeBreakpoint(const TracedLine& line)
{
    if (!m_open)
        return;
    const std::wstring_view text = line.text;
    if (StartsWith(text, L"setting response ok"))
    {
        Expect(m_open->isCalled && !m_open->hasResponded && !m_open->isOver, L"the first response is out of order");
        m_open->hasResponded = true;
        AddMoment(line, Moment::Kind::Response, L"success");
    }
    else if (StartsWith(text, L"Sending IDLE"))
    {
        Expect(m_open->hasResponded && !m_open->isIdle, L"the idle message is out of order");
        m_open->isIdle = true;
        AddMoment(line, Moment::Kind::Message, L"idle");
    }
    else if (StartsWith(text, L"Error is PostMessage"))
        Deviate(L"the idle message was not delivered, or was answered with 0");
    else if (StartsWith(text, L"entering IDLE"))
    {
        Expect(m_open->isIdle && !m_open->isAnswered, L"the breakpoint step is out of order");
        m_open->isAnswered = true;
        AddMoment(line, Moment::Kind::Answer, L"");
    }
    else if (StartsWith(text, L"breakpointed workbench"))
    {
        Expect(m_open->isAnswered && !m_open->isPastBreakpoint, L"the breakpoint step is out of order");
        m_open->isPastBreakpoint = true;
        if (StartsWith(text, L"breakpointed workbench failed"))
            m_open->step.hint = L"the dispatcher's breakpoint method could not be called";
    }
}

void LogSteps::TakeResult(const TracedLine& line, bool succeeded)
{
    if (!m_open)
        return;
    Expect(m_open->isCalled && !m_open->isOver, L"a final response is out of order");
    Expect(m_open->step.passesBreakpoint == m_open->isPastBreakpoint,
           m_open->isPastBreakpoint ? L"a breakpoint step where there is none"
                                    : L"the final response came before the breakpoint step was over");
    const std::wstring_view text = FirstLineOf(line.text);
    const size_t mark = text.find(c_resultMark);
    CommandRecord record;
    if (mark != std::wstring_view::npos)
    {
        record.resultName = text.substr(mark + c_resultMark.size());
        record.result = ResultOf(record.resultName);
    }
    Expect(!record.result || (*record.result >= ActionSuccess) == succeeded,
           L"the final response and the result do not agree");
    AddMoment(line, Moment::Kind::Response, succeeded ? L"success" : L"failed");
    Step& step = m_open->step;
    step.result = record.result;
    step.resultName = record.resultName;
    step.verdict = VerdictOf(succeeded ? Outcome::Succeeded : Outcome::Failed, record, m_protocolView);
    step.endMs = line.timeMs;
    step.elapsedMs = line.timeMs - step.atMs;
    m_open->isOver = true;
}

void LogSteps::Begin(const TracedLine& line)
{
    Finish();
    m_open.emplace();
    m_open->step.atMs = line.timeMs;
    m_open->step.endMs = line.timeMs;
}

void LogSteps::Finish()
{
    if (!m_open)
        return;
    Step step = std::move(m_open->step);
    m_open.reset();
    if (!step.verdict)
        step.endMs = std::max(step.endMs, m_life.lastMs);
    m_receivers.onStep(std::move(step));
}

void LogSteps::Keep(const TracedLine& line)
{
    LogLine kept{line.function.empty() ? m_life.lastMs : line.timeMs,
                 CutText(line.function.empty() ? line.text : line.function + L" " + line.text, c_longestLineUnits)};
    if (m_open)
        m_open->step.log.Add(std::move(kept));
    else
        m_receivers.onLine(kept);
}

void LogSteps::AddMoment(const TracedLine& line, Moment::Kind kind, const wchar_t* text)
{
    m_open->step.moments.Add({line.timeMs, kind, text});
}

void LogSteps::Deviate(const wchar_t* text)
{
    if (m_open->step.deviation.empty())
        m_open->step.deviation = text;
}

void LogSteps::Expect(bool holds, const wchar_t* otherwise)
{
    if (!holds)
        Deviate(otherwise);
}
