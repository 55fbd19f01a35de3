#include "client/PrintWatch.h"

#include <utility>

PrintWatch::PrintWatch(SessionObserver& target, Beside beside, Witness witness)
    : m_target(target), m_beside(std::move(beside)), m_witness(std::move(witness))
{
}

void PrintWatch::OnHappening(const Happening& happening)
{
    const bool isOutput = happening.kind == Happening::Kind::Output;
    m_hasPrinted = m_hasPrinted || isOutput;
    m_witness.onHappening(happening);
    if (m_mode == Mode::Show)
        m_beside([&] { m_target.OnHappening(happening); });
    else if (m_mode == Mode::Keep && isOutput)
        m_lines.push_back(happening.text);
}

void PrintWatch::OnAnswered(double tickMs)
{
    if (m_mode == Mode::Show)
        m_target.OnAnswered(tickMs);
}

bool PrintWatch::HasPrinted() noexcept
{
    return std::exchange(m_hasPrinted, false);
}

std::vector<std::wstring> PrintWatch::TakeLines() noexcept
{
    return std::exchange(m_lines, {});
}
