#include "client/Console.h"
#include "client/Report.h"
#include "client/Text.h"
#include "OrvProfiler/Trace.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <string_view>

namespace
{
using Json = nlohmann::ordered_json;

const char* OutcomeName(Outcome outcome) noexcept
{
    switch (outcome)
    {
    case Outcome::Succeeded:
        return "succeeded";
    case Outcome::Failed:
        return "failed";
    case Outcome::TimedOut:
        return "timedOut";
    case Outcome::Lost:
        return "lost";
    case Outcome::Interrupted:
        return "interrupted";
    }
    return "";
}

const char* KindName(Happening::Kind kind) noexcept
{
    switch (kind)
    {
    case Happening::Kind::Output:
        return "output";
    case Happening::Kind::Response:
        return "response";
    case Happening::Kind::Message:
        return "message";
    }
    return "";
}

// To a microsecond, which is more than the clock is good for.
double Rounded(double milliseconds) noexcept
{
    return std::round(milliseconds * 1000) / 1000;
}

class JsonReport : public Report
{
public:
    void OnHappening(const Happening& happening) override
    {
        Json entry{{KindName(happening.kind), ToUtf8(happening.text)}};
        if (m_isInCommand)
            m_command["happenings"].push_back(std::move(entry));
        else
            Write(Json{{"type", "happening"}, {KindName(happening.kind), ToUtf8(happening.text)}});
    }

    void OnReady(uint32_t workbenchId, uint32_t clientId, double elapsedMs) override
    {
        Write(Json{{"type", "ready"},
                   {"workbench", workbenchId},
                   {"client", ToUtf8(FormatSlot(L"%x", clientId))},
                   {"elapsedMs", Rounded(elapsedMs)}});
    }

    void OnCommand(const Command& command) override
    {
        m_command = Json{{"type", "command"},
                         {"command", ToUtf8(command.word->word)},
                         {"text", ToUtf8(command.text)},
                         {"happenings", Json::array()}};
        m_isInCommand = true;
    }

    void OnResult(const CommandResult& result) override
    {
        m_isInCommand = false;
        m_command["outcome"] = OutcomeName(result.outcome);
        m_command["elapsedMs"] = Rounded(result.elapsedMs);
        if (!result.deviation.empty())
            m_command["deviation"] = ToUtf8(result.deviation);
        Write(m_command);
    }

    void OnEnd(uint32_t workbenchExitCode) override
    {
        Write(Json{{"type", "end"}, {"workbenchExitCode", workbenchExitCode}});
    }

    void OnError(const ClientError& error) override
    {
        Write(Json{{"type", "error"},
                   {"message", ToUtf8(error.Message())},
                   {"exitStatus", static_cast<int>(error.Status())}});
    }

private:
    static void Write(const Json& object)
    {
        const std::string line = object.dump() + "\n";
        TextStream::Out().Write(FromProgramOutput(line));
    }

    Json m_command;
    bool m_isInCommand = false;
};
} // namespace

std::unique_ptr<Report> MakeJsonReport()
{
    return std::make_unique<JsonReport>();
}
