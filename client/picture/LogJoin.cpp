#include "client/picture/LogJoin.h"

#include "OrvProfiler/protocol/WorkbenchEvents.h"

#include <algorithm>
#include <string_view>

namespace
{
// The lines' times are rounded, and each side reads the clock at its own moment.
constexpr double c_toleranceMs = 2;
// A line is cut; so much of its text is there in any case.
constexpr size_t c_comparedUnits = 900;

// The text of a load command is made a full path on its way.
bool IsSame(const Step& step, const Step& told) noexcept
{
    if (step.number == 0 || step.event != told.event)
        return false;
    const std::wstring_view posted = step.posted;
    const std::wstring_view logged = told.posted;
    return step.event == EV_LOAD || posted.substr(0, c_comparedUnits) == logged.substr(0, c_comparedUnits);
}
} // namespace

void LogJoin::Take(const Step& told)
{
    if (told.endMs + c_toleranceMs < m_fromMs)
        return;
    if (Step* const step = Find(told))
    {
        const Ends<LogLine> kept = WithinRoom(m_picture, told.log);
        kept.ForEach([&](const LogLine& line) { step->log.Add(line); });
        return;
    }
    told.log.ForEach([&](const LogLine& line) { m_picture.logLines.Add(line); });
}

void LogJoin::Take(const LogLine& line)
{
    if (line.atMs + c_toleranceMs >= m_fromMs)
        m_picture.logLines.Add(line);
}

Step* LogJoin::Find(const Step& told) noexcept
{
    StepList& steps = m_picture.steps;
    while (m_next < steps.Count() && steps[m_next].endMs + c_toleranceMs < told.atMs)
        ++m_next;
    for (size_t i = m_next; i < steps.Count() && steps[i].atMs <= told.atMs + c_toleranceMs; ++i)
    {
        Step& step = steps[i];
        if (!IsSame(step, told) || (!step.log.IsEmpty() && !step.runs))
            continue;
        m_next = i;
        return &step;
    }
    return nullptr;
}
