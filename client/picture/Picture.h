#pragma once

#include "client/results/Durations.h"
#include "client/results/Verdict.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What a session was, for a page that shows it. All times are milliseconds by the performance counter (TickMs). It is
// bounded: of what is many the first and the last are kept, and what is in between is counted.

// A list of which only the ends are kept.
template <class Item>
class Ends
{
public:
    Ends(size_t first, size_t last) noexcept : m_first(first), m_last(last) {}

    void Add(Item item)
    {
        if (m_items.size() < m_first + m_last)
        {
            m_items.push_back(std::move(item));
            return;
        }
        m_items[m_first + m_leftOut++ % m_last] = std::move(item);
    }

    bool IsEmpty() const noexcept { return m_items.empty(); }
    // How many are missing.
    size_t LeftOut() const noexcept { return m_leftOut; }
    // How many there are before those.
    size_t FirstCount() const noexcept { return m_leftOut == 0 ? m_items.size() : m_first; }

    // In order.
    template <class Visit>
    void ForEach(const Visit& visit) const
    {
        for (size_t i = 0; i < FirstCount(); ++i)
            visit(m_items[i]);
        for (size_t i = 0; m_leftOut != 0 && i < m_last; ++i)
            visit(m_items[m_first + (m_leftOut + i) % m_last]);
    }

private:
    size_t m_first;
    size_t m_last;
    size_t m_leftOut = 0;
    // Behind the first ones a ring.
    std::vector<Item> m_items;
};

// What happened at a moment of a session.
struct Moment
{
    enum class Kind
    {
        Output,
        // Output that had no end for a while.
        PartialOutput,
        Response,
        Message,
        // The client has answered the message before.
        Answer,
        // A value that the user wants to see after each command.
        Shown,
    };

    double atMs = 0;
    Kind kind = Kind::Output;
    std::wstring text;
};

// A line of the trace log: its time, which is a whole number, and what follows it.
struct LogLine
{
    double atMs = 0;
    std::wstring text;
};

// One command, or what came while none was under way.
struct Step
{
    static constexpr size_t c_moments = 200;
    static constexpr size_t c_logLines = 40;

    // Counted from 1; 0 where there was no command.
    size_t number = 0;
    // As the user wrote it, and its place in a script.
    std::wstring word;
    std::wstring text;
    std::wstring where;
    // As the workbench got it: the slot of its event, and the text.
    uint32_t event = 0;
    std::wstring posted;
    bool passesBreakpoint = false;
    // When the command's event was set.
    double atMs = 0;
    // When all was over.
    double endMs = 0;
    // Up to the final response; none without one, and for several runs.
    std::optional<double> elapsedMs;
    // None when it was given up by an error.
    std::optional<Verdict> verdict;
    std::optional<Durations> runs;
    std::optional<int32_t> result;
    std::wstring resultName;
    // What the dispatcher told, a JSON object in UTF-8; empty when nothing.
    std::string told;
    std::wstring deviation;
    std::wstring hint;
    Ends<Moment> moments{c_moments, c_moments};
    Ends<LogLine> log{c_logLines, c_logLines};
};

// Commands in their order. What is left out are whole steps in the middle.
class StepList
{
public:
    static constexpr size_t c_firstSteps = 2000;
    static constexpr size_t c_lastSteps = 10000;
    // Units of text in all steps, log lines apart.
    static constexpr size_t c_firstUnits = size_t{4} << 20;
    static constexpr size_t c_lastUnits = size_t{12} << 20;

    void Add(Step step);

    // The number of commands that were added.
    size_t CommandCount() const noexcept { return m_commands; }
    size_t FailedCount() const noexcept { return m_failed; }
    // How many commands are missing.
    size_t LeftOut() const noexcept { return m_leftOut; }
    // How many steps there are before those.
    size_t FirstCount() const noexcept { return m_first.size(); }
    size_t Count() const noexcept { return m_first.size() + m_last.size(); }
    Step& operator[](size_t index) noexcept
    {
        return index < m_first.size() ? m_first[index] : m_last[index - m_first.size()];
    }
    const Step& operator[](size_t index) const noexcept
    {
        return index < m_first.size() ? m_first[index] : m_last[index - m_first.size()];
    }

private:
    void DropOldest();

    std::vector<Step> m_first;
    std::deque<Step> m_last;
    size_t m_firstUnits = 0;
    size_t m_lastUnits = 0;
    size_t m_commands = 0;
    size_t m_failed = 0;
    size_t m_leftOut = 0;
};

// Whether the page shows the step in red.
bool HasFailed(const Step& step) noexcept;

// One workbench, from its start or since it was attached.
struct WorkbenchLife
{
    // 0 when nobody told it.
    uint32_t workbenchId = 0;
    uint32_t clientId = 0;
    bool isAttached = false;
    double atMs = 0;
    // As told, and when that was.
    std::optional<double> readyElapsedMs;
    double readyMs = 0;
    std::optional<uint16_t> debuggerPort;
    // None as long as it runs, or is left running.
    std::optional<uint32_t> exitCode;
    std::optional<double> endMs;
};

struct PictureError
{
    double atMs = 0;
    std::wstring message;
    // Of the client; none for what a log tells.
    std::optional<int> exitStatus;
    std::vector<std::wstring> hints;
};

struct Picture
{
    static constexpr size_t c_logLines = 1000;
    static constexpr size_t c_errors = 100;
    static constexpr size_t c_lives = 100;
    // Units of all log lines of commands.
    static constexpr size_t c_logUnits = size_t{12} << 20;
    // A text is cut where it is longer.
    static constexpr size_t c_textUnits = 4000;

    // The local time of the beginning, as 2026-11-22T13:31:49; for a log the time when it was last written.
    std::wstring began;
    // The file of a log; empty for a session that was seen.
    std::wstring log;
    double beganMs = 0;
    double endMs = 0;
    Ends<WorkbenchLife> lives{c_lives, c_lives};
    StepList steps;
    Ends<PictureError> errors{c_errors, c_errors};
    // Lines of the trace log that belong to no command.
    Ends<LogLine> logLines{c_logLines, c_logLines};
    // Lines of commands that had no room any more.
    size_t logLinesWithoutRoom = 0;
    size_t logUnits = 0;
    // What its reader should know beside it.
    std::vector<std::wstring> notes;
    // Folders with what is left of a call that was lost.
    std::vector<std::wstring> evidence;
    // The folder of the page, with a separator at its end; links to what lies below it begin there.
    std::wstring pageFolder;
};

// A local time as a picture tells it.
std::wstring LocalTimeText(const SYSTEMTIME& time);

// The lines of a command's log as far as the picture has room for them, which they then take.
Ends<LogLine> WithinRoom(Picture& picture, const Ends<LogLine>& lines);

// The text, cut where it is too long for a picture, with a mark that says so.
std::wstring CutText(const std::wstring& text, size_t limit = Picture::c_textUnits);
