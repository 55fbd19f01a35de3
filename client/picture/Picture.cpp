#include "client/picture/Picture.h"

#include "OrvProfiler/foundation/Trace.h"

namespace
{
size_t UnitsOf(const Step& step)
{
    size_t units = step.word.size() + step.text.size() + step.where.size() + step.posted.size() + step.told.size() +
                   step.deviation.size() + step.hint.size();
    step.moments.ForEach([&](const Moment& moment) { units += moment.text.size(); });
    return units;
}
} // namespace

bool HasFailed(const Step& step) noexcept
{
    return step.number != 0 && (step.verdict != Verdict::Succeeded || !step.deviation.empty());
}

void StepList::Add(Step step)
{
    const size_t units = UnitsOf(step);
    m_commands += step.number != 0 ? 1U : 0U;
    m_failed += HasFailed(step) ? 1U : 0U;
    if (m_last.empty() && m_first.size() < c_firstSteps && m_firstUnits + units <= c_firstUnits)
    {
        m_firstUnits += units;
        m_first.push_back(std::move(step));
        return;
    }
    m_lastUnits += units;
    m_last.push_back(std::move(step));
    while (m_last.size() > 1 && (m_last.size() > c_lastSteps || m_lastUnits > c_lastUnits))
        DropOldest();
}

void StepList::DropOldest()
{
    m_lastUnits -= UnitsOf(m_last.front());
    m_leftOut += m_last.front().number != 0 ? 1U : 0U;
    m_last.pop_front();
}

std::wstring LocalTimeText(const SYSTEMTIME& time)
{
    return FormatSlot(L"%04u-%02u-%02d %02u:%02u:%02u", time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute,
                      time.wSecond);
}

Ends<LogLine> WithinRoom(Picture& picture, const Ends<LogLine>& lines)
{
    size_t units = 0;
    size_t count = lines.LeftOut();
    lines.ForEach([&](const LogLine& line) {
        units += line.text.size();
        ++count;
    });
    if (picture.logUnits + units > Picture::c_logUnits)
    {
        picture.logLinesWithoutRoom += count;
        return {Step::c_logLines, Step::c_logLines};
    }
    picture.logUnits += units;
    return lines;
}

std::wstring CutText(const std::wstring& text, size_t limit)
{
    if (text.size() <= limit)
        return text;
    // Not between the two units of one character.
    const bool isPair = limit > 0 && text[limit - 1] >= 0xD800 && text[limit - 1] <= 0xDBFF;
    const size_t kept = limit - (isPair ? 1U : 0U);
    return text.substr(0, kept) + L" [... " + std::to_wstring(text.size() - kept) + L" more characters]";
}
