#pragma once

#include "client/picture/Picture.h"
#include "client/picture/TraceLogReader.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

// A command of which lines have been read, and how far they go.
struct OpenStep
{
    Step step;
    // That of the event, where its line is there.
    std::optional<size_t> slot;
    bool isCalled = false;
    bool hasResponded = false;
    bool isIdle = false;
    bool isAnswered = false;
    bool isPastBreakpoint = false;
    bool isOver = false;
};

// Makes commands of the lines of a trace log: when each began, its responses and its result, what became of the
// workbench, and where the lines are in an order that they cannot have.
class LogSteps
{
public:
    struct Receivers
    {
        // A command that is over, with all of its lines; without a number.
        std::function<void(Step step)> onStep;
        // A line that belongs to no command.
        std::function<void(const LogLine& line)> onLine;
    };

    // By the protocol alone what was not found, or raised an exception, has succeeded.
    LogSteps(Receivers receivers, bool protocolView);

    void Take(const TracedLine& line);
    // There are no more lines. A command that is not over has no result.
    void End();

    // What is known of the workbench: the times of its first and its last line, the client's id, how it ended.
    struct Life
    {
        std::optional<double> firstMs;
        double lastMs = 0;
        std::wstring program;
        uint32_t clientId = 0;
        // From here on it waited for commands.
        std::optional<double> readyMs;
        bool hasExited = false;
        // An exception has ended it.
        bool hasRaised = false;
        // The log has its beginning.
        bool hasBegun = false;
        bool hasNoRuntime = false;
        bool wasAnotherRun = false;
    };
    const Life& LifeSoFar() const noexcept { return m_life; }

private:
    void TakeLife(const TracedLine& line);
    bool TakeEvent(const TracedLine& line);
    void TakeMainLoop(const TracedLine& line);
    void TakeBreakpoint(const TracedLine& line);
    void TakeCall(const TracedLine& line);
    void TakeResult(const TracedLine& line, bool succeeded);
    void Begin(const TracedLine& line);
    void Finish();
    void Keep(const TracedLine& line);
    void AddMoment(const TracedLine& line, Moment::Kind kind, const wchar_t* text);
    void Deviate(const wchar_t* text);
    void Expect(bool holds, const wchar_t* otherwise);

    const Receivers m_receivers;
    const bool m_protocolView;
    std::optional<OpenStep> m_open;
    Life m_life;
};
