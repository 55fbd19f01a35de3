#include "client/base/Text.h"
#include "client/console/TextStream.h"
#include "client/reports/Report.h"
#include "OrvProfiler/protocol/ClientId.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

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

// To a microsecond, which is as much as the clock is good for.
double Rounded(double milliseconds) noexcept
{
    return std::round(milliseconds * 1000) / 1000;
}

void Print(const Json& object)
{
    TextStream::Out().WriteUtf8(object.dump() + "\n");
}

// NOLINTNEXTLINE(bugprone-exception-escape): a document's destructor says noexcept, whatever it calls
class JsonReport : public Report
{
public:
    void OnHappening(const Happening& happening) override
    {
        Json entry{{KindName(happening.kind), ToUtf8(happening.text)}};
        if (m_isInCommand)
            m_command["happenings"].push_back(std::move(entry));
        else
            Print(Json{{"type", KindName(happening.kind)}, {"text", ToUtf8(happening.text)}});
    }

    void OnStarted(uint32_t workbenchId, uint32_t clientId, bool isAttached) override
    {
        Print(Json{{"type", isAttached ? "attached" : "started"},
                   {"workbench", workbenchId},
                   {"client", ToUtf8(ClientIdText(clientId).Get())}});
    }

    void OnReady(double elapsedMs) override { Print(Json{{"type", "ready"}, {"elapsedMs", Rounded(elapsedMs)}}); }

    void OnCommand(const Command& command) override
    {
        m_command = Json{{"type", "command"},
                         {"command", ToUtf8(command.word->word)},
                         {"text", ToUtf8(command.text)},
                         {"happenings", Json::array()}};
        m_isInCommand = true;
    }

    void OnResult(const CommandResult& result, const std::wstring& hint) override
    {
        m_isInCommand = false;
        m_command["outcome"] = OutcomeName(result.outcome);
        m_command["elapsedMs"] = Rounded(result.elapsedMs);
        if (!result.deviation.empty())
            m_command["deviation"] = ToUtf8(result.deviation);
        if (!hint.empty())
            m_command["hint"] = ToUtf8(hint);
        Print(m_command);
    }

    void OnEnd(std::optional<uint32_t> workbenchExitCode) override
    {
        Json end{{"type", workbenchExitCode ? "ended" : "left"}};
        if (workbenchExitCode)
            end["workbenchExitCode"] = *workbenchExitCode;
        Print(end);
    }

    void OnError(const ClientError& error, const std::vector<std::wstring>& hints) override
    {
        // The command that it ends has no result.
        m_isInCommand = false;
        Json entry{{"type", "error"},
                   {"message", ToUtf8(error.Message())},
                   {"exitStatus", static_cast<int>(error.Status())},
                   {"hints", Json::array()}};
        for (const std::wstring& hint : hints)
            entry["hints"].push_back(ToUtf8(hint));
        Print(entry);
    }

    void OnLogLine(const std::wstring& line) override { Print(Json{{"type", "log"}, {"text", ToUtf8(line)}}); }

    // Programs need none.
    void OnPrompt() override {}

    void OnHelp(const std::wstring& text) override { Print(Json{{"type", "help"}, {"text", ToUtf8(text)}}); }

private:
    Json m_command;
    bool m_isInCommand = false;
};
} // namespace

std::unique_ptr<Report> MakeJsonReport()
{
    return std::make_unique<JsonReport>();
}
