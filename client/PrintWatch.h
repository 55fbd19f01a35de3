#pragma once

#include "client/session/Session.h"

#include <functional>
#include <string>
#include <vector>

// Stands between a session and who shows what comes from it: passes it on, beside a line that is being typed, or
// keeps it; and knows whether anything was printed. Used on the session's thread.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): nobody deletes it as what it derives from
class PrintWatch final : public SessionObserver
{
public:
    // Carries out what writes to the console so that it stands beside what the user types.
    using Beside = std::function<void(const std::function<void()>&)>;
    enum class Mode
    {
        Show,
        // Nobody wants to see it.
        Hide,
        // Lines of output are kept instead, until they are taken.
        Keep,
    };

    // Is told of what comes, and of a loss, whatever is shown.
    struct Witness
    {
        std::function<void(const Happening& happening)> onHappening;
        std::function<void()> onLosing;
    };

    // The target must outlive it.
    PrintWatch(SessionObserver& target, Beside beside, Witness witness);

    void OnHappening(const Happening& happening) override;
    void OnLosing() override { m_witness.onLosing(); }
    void OnAnswered(double tickMs) override;

    void Set(Mode mode) noexcept { m_mode = mode; }
    // Whether anything was printed since the last call.
    bool HasPrinted() noexcept;
    // What was kept since the last call.
    std::vector<std::wstring> TakeLines() noexcept;

private:
    SessionObserver& m_target;
    const Beside m_beside;
    const Witness m_witness;
    std::vector<std::wstring> m_lines;
    Mode m_mode = Mode::Show;
    bool m_hasPrinted = false;
};
