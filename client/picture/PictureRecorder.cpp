#include "client/picture/PictureRecorder.h"

#include "client/base/FileTime.h"
#include "client/base/Text.h"
#include "client/console/EndNow.h"
#include "client/log/TraceLogFile.h"
#include "client/picture/LogJoin.h"
#include "client/picture/LogSteps.h"
#include "client/picture/PicturePage.h"
#include "client/picture/TraceLogReader.h"
#include "client/results/RecordLines.h"

#include <windows.h>

#include <algorithm>
#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

namespace
{
using Json = nlohmann::ordered_json;

// Lines that were followed, at either end.
constexpr size_t c_followedLines = 50000;
// Folders that are named, the last ones.
constexpr size_t c_evidence = 100;
// Of what the dispatcher told: units of a text, entries of a list.
constexpr size_t c_toldUnits = 2000;
constexpr size_t c_toldEntries = 50;

void Cut(Json& value)
{
    if (value.is_string())
    {
        const std::wstring text = FromUtf8(value.get_ref<const std::string&>()).value_or(std::wstring());
        if (text.size() > c_toldUnits)
            value = ToUtf8(CutText(text, c_toldUnits));
        return;
    }
    if (value.is_array() && value.size() > c_toldEntries)
        value.erase(value.begin() + c_toldEntries, value.end());
    for (Json& part : value)
        if (part.is_structured() || part.is_string())
            Cut(part);
}

// A list stands among what was printed.
std::string Told(const CommandRecord& record)
{
    const Json all = Json::parse(record.json, nullptr, false);
    Json told = Json::object();
    for (const char* name : {"made", "value", "references", "assembly", "error", "exception"})
        if (all.is_object() && all.contains(name))
            told[name] = all[name];
    Cut(told);
    return told.empty() ? std::string() : told.dump();
}

Moment::Kind KindOf(const Happening& happening) noexcept
{
    switch (happening.kind)
    {
    case Happening::Kind::Response:
        return Moment::Kind::Response;
    case Happening::Kind::Message:
        return Moment::Kind::Message;
    case Happening::Kind::Output:
        break;
    }
    return happening.isPartial ? Moment::Kind::PartialOutput : Moment::Kind::Output;
}

uint64_t Now() noexcept
{
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return TicksOf(now);
}
} // namespace

PictureRecorder::PictureRecorder(PictureFile file, bool protocolView)
    : m_file(std::move(file)), m_protocolView(protocolView), m_followed(c_followedLines, c_followedLines)
{
    SYSTEMTIME now{};
    GetLocalTime(&now);
    m_picture.began = LocalTimeText(now);
    m_picture.pageFolder = m_file.Path().substr(0, m_file.Path().find_last_of(L'\\') + 1);
    m_picture.beganMs = TickMs();
    m_picture.endMs = m_picture.beganMs;
    m_freeFromMs = m_picture.beganMs;
    SetWorkBeforeEnd([this] {
        try
        {
            Write();
        }
        catch (const ClientError&) // NOLINT(bugprone-empty-catch): nobody is left who could be told
        {
        }
        catch (const std::exception&) // NOLINT(bugprone-empty-catch): there is no memory for a page
        {
        }
    });
}

PictureRecorder::~PictureRecorder()
{
    SetWorkBeforeEnd(nullptr);
}

bool PictureRecorder::HasBegun() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_hasBegun;
}

void PictureRecorder::Write()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_hasBegun)
        WriteNow();
}

void PictureRecorder::WriteNow()
{
    if (!m_hasChanged)
        return;
    CloseStep();
    CloseLife();
    m_file.Write(PageOf(m_picture));
    m_hasChanged = false;
}

// What was kept at this time.
double PictureRecorder::Touch(double tickMs)
{
    m_picture.endMs = std::max(m_picture.endMs, tickMs);
    m_hasChanged = true;
    return tickMs;
}

Step& PictureRecorder::StepNow(double tickMs)
{
    if (m_step && m_step->number != 0 && !m_isInCommand)
        CloseStep();
    if (!m_step)
    {
        m_step.emplace();
        m_step->atMs = tickMs;
    }
    m_step->endMs = std::max(m_step->endMs, tickMs);
    return *m_step;
}

void PictureRecorder::CloseStep()
{
    m_isInCommand = false;
    if (std::optional<Step> step = std::exchange(m_step, std::nullopt))
        m_picture.steps.Add(*std::move(step));
}

void PictureRecorder::CloseLife()
{
    if (!m_life)
        return;
    JoinLog();
    m_picture.lives.Add(*m_life);
    m_life.reset();
}

// When the workbench has ended its log can be read everywhere.
void PictureRecorder::JoinLog()
{
    LogJoin join(m_picture, m_life->isAttached ? m_life->atMs : m_freeFromMs);
    LogSteps steps({[&](const Step& step) { join.Take(step); }, [&](const LogLine& line) { join.Take(line); }},
                   m_protocolView);
    TraceLogReader reader([&](const TracedLine& line) { steps.Take(line); });
    const UniqueHandle file = OpenTraceLog(m_life->isAttached ? 0 : m_lifeBegan);
    if (file && IsTraceLogOf(file.Get(), m_life->clientId))
        reader.FeedFile(file.Get());
    else
        m_followed.ForEach([&](const std::wstring& line) { reader.FeedLine(line); });
    reader.End();
    steps.End();
    m_followed = Ends<std::wstring>(c_followedLines, c_followedLines);
    m_freeFromMs = m_picture.endMs;
}

void PictureRecorder::OnHappening(const Happening& happening)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const double at = Touch(happening.tickMs);
    StepNow(at).moments.Add({at, KindOf(happening), CutText(happening.text)});
    // The ready message is posted: nobody waits for its answer.
    m_isAwaitingAnswer = happening.kind == Happening::Kind::Message && happening.text != L"ready";
}

void PictureRecorder::OnAnswered(double tickMs)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (std::exchange(m_isAwaitingAnswer, false))
        StepNow(Touch(tickMs)).moments.Add({tickMs, Moment::Kind::Answer, L""});
}

void PictureRecorder::OnStarted(uint32_t workbenchId, uint32_t clientId, bool isAttached)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_hasBegun = true;
    CloseStep();
    CloseLife();
    m_life.emplace();
    m_life->workbenchId = workbenchId;
    m_life->clientId = clientId;
    m_life->isAttached = isAttached;
    m_life->atMs = Touch(TickMs());
    m_lifeBegan = Now();
}

void PictureRecorder::OnReady(double elapsedMs)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_life)
        return;
    m_life->readyMs = Touch(TickMs());
    m_life->readyElapsedMs = elapsedMs;
    // From the start on, which came before it was told.
    m_life->atMs = std::min(m_life->atMs, m_life->readyMs - elapsedMs);
}

void PictureRecorder::OnDebuggerMayAttach(uint32_t /*workbenchId*/, std::optional<uint16_t> port, bool /*waits*/)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_life)
        m_life->debuggerPort = port;
}

void PictureRecorder::OnCommand(const Command& command, const std::wstring& where)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_hasBegun = true;
    CloseStep();
    Step& step = StepNow(Touch(TickMs()));
    m_isInCommand = true;
    step.number = m_picture.steps.CommandCount() + 1;
    step.word = command.ShownWord();
    step.text = CutText(command.ShownText());
    step.where = where;
    step.event = command.word->event;
    step.posted = CutText(command.text);
    step.passesBreakpoint = command.word->PassesBreakpoint();
}

void PictureRecorder::OnResult(const CommandResult& result, const CommandRecord& record, Verdict verdict,
                               const std::wstring& hint)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_isInCommand)
        return;
    m_isInCommand = false;
    Step& step = *m_step;
    step.atMs = result.postedMs;
    step.endMs = Touch(result.postedMs + result.elapsedMs);
    step.elapsedMs = result.elapsedMs;
    step.verdict = verdict;
    step.result = record.result;
    step.resultName = record.resultName;
    step.told = Told(record);
    step.deviation = CutText(result.deviation);
    step.hint = CutText(hint);
}

void PictureRecorder::OnTimes(const Durations& durations)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_isInCommand)
        return;
    m_isInCommand = false;
    m_step->endMs = Touch(TickMs());
    m_step->verdict = Verdict::Succeeded;
    m_step->runs = durations;
}

void PictureRecorder::OnEnd(std::optional<uint32_t> workbenchExitCode)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const double now = Touch(TickMs());
    if (m_life)
    {
        m_life->endMs = now;
        m_life->exitCode = workbenchExitCode;
    }
    CloseStep();
    CloseLife();
    try
    {
        // A console that goes leaves no time to write later.
        WriteNow();
    }
    catch (const ClientError&) // NOLINT(bugprone-empty-catch): Write tries it again, and tells
    {
    }
}

void PictureRecorder::OnError(const ClientError& error, const std::vector<std::wstring>& hints)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_hasBegun = m_hasBegun || error.Status() != ExitStatus::Usage;
    m_isInCommand = false;
    PictureError kept{Touch(TickMs()), CutText(error.Message()), static_cast<int>(error.Status()), {}};
    for (const std::wstring& hint : hints)
        kept.hints.push_back(CutText(hint));
    m_picture.errors.Add(std::move(kept));
}

void PictureRecorder::OnEvidence(const std::wstring& folder, const std::wstring& failure)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const double now = Touch(TickMs());
    if (folder.empty())
    {
        m_picture.errors.Add({now, L"the evidence cannot be kept: " + CutText(failure), std::nullopt, {}});
        return;
    }
    m_picture.evidence.push_back(folder);
    if (m_picture.evidence.size() > c_evidence)
        m_picture.evidence.erase(m_picture.evidence.begin());
}

void PictureRecorder::OnLogLine(const std::wstring& line)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_hasChanged = true;
    m_followed.Add(line);
}

void PictureRecorder::OnHistory(const std::vector<std::wstring>& /*commands*/) {}

void PictureRecorder::OnShown(const std::vector<std::wstring>& lines, const std::vector<ListEntry>& values)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_step)
        return;
    const double now = Touch(TickMs());
    for (const std::wstring& line : lines)
        m_step->moments.Add({now, Moment::Kind::Shown, CutText(line)});
    // Of an attached workbench the lines went to the client that started it.
    for (const ListEntry& value : lines.empty() ? values : std::vector<ListEntry>())
        m_step->moments.Add({now, Moment::Kind::Shown, CutText(LineOf(value))});
}

void PictureRecorder::OnHelp(const std::wstring& /*text*/) {}

void PictureRecorder::OnPicture(const std::wstring& /*path*/) {}
