#include "client/base/Text.h"
#include "client/console/TextStream.h"
#include "client/reports/Report.h"
#include "OrvProfiler/protocol/ClientId.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace
{
using Json = nlohmann::ordered_json;

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

void Print(const Json& object)
{
    TextStream::Out().WriteUtf8(object.dump() + "\n");
}

// NOLINTNEXTLINE(bugprone-exception-escape): a document's destructor says noexcept, whatever it calls
class JsonReport : public Report
{
public:
    explicit JsonReport(bool streams) : m_streams(streams) {}

    void OnHappening(const Happening& happening) override
    {
        const std::string text = ToUtf8(happening.text);
        if (m_isInCommand)
            m_command["happenings"].push_back(Entry(Json{{KindName(happening.kind), text}}, happening));
        if (m_streams || !m_isInCommand)
            Print(Entry(Json{{"type", KindName(happening.kind)}, {"text", text}}, happening));
    }

    void OnStarted(uint32_t workbenchId, uint32_t clientId, bool isAttached) override
    {
        Print(Json{{"type", isAttached ? "attached" : "started"},
                   {"workbench", workbenchId},
                   {"client", ToUtf8(ClientIdText(clientId).Get())}});
    }

    void OnReady(double elapsedMs) override { Print(Json{{"type", "ready"}, {"elapsedMs", RoundedMs(elapsedMs)}}); }

    void OnDebuggerMayAttach(uint32_t workbenchId, std::optional<uint16_t> port, bool waits) override
    {
        Json debugger{{"type", "debugger"}, {"workbench", workbenchId}};
        if (port)
            debugger["port"] = *port;
        debugger["waits"] = waits;
        Print(debugger);
    }

    void OnCommand(const Command& command, const std::wstring& where) override
    {
        m_command = Json{
            {"type", "command"}, {"command", ToUtf8(command.ShownWord())}, {"text", ToUtf8(command.ShownText())}};
        if (!where.empty())
            m_command["where"] = ToUtf8(where);
        m_command["happenings"] = Json::array();
        m_isInCommand = true;
    }

    void OnResult(const CommandResult& result, const CommandRecord& record, Verdict verdict,
                  const std::wstring& hint) override
    {
        m_isInCommand = false;
        m_command["outcome"] = NameOf(verdict);
        AddRecord(record);
        m_command["elapsedMs"] = RoundedMs(result.elapsedMs);
        if (!result.deviation.empty())
            m_command["deviation"] = ToUtf8(result.deviation);
        if (!hint.empty())
            m_command["hint"] = ToUtf8(hint);
        Print(m_command);
    }

    void OnTimes(const Durations& durations) override
    {
        m_isInCommand = false;
        m_command["outcome"] = NameOf(Verdict::Succeeded);
        m_command["times"] = Json{{"count", durations.Count()},
                                  {"minimumMs", RoundedMs(durations.Minimum())},
                                  {"medianMs", RoundedMs(durations.Median())},
                                  {"maximumMs", RoundedMs(durations.Maximum())}};
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

    void OnEvidence(const std::wstring& folder, const std::wstring& failure) override
    {
        Print(folder.empty() ? Json{{"type", "evidence"}, {"failure", ToUtf8(failure)}}
                             : Json{{"type", "evidence"}, {"folder", ToUtf8(folder)}});
    }

    void OnLogLine(const std::wstring& line) override { Print(Json{{"type", "log"}, {"text", ToUtf8(line)}}); }

    void OnHistory(const std::vector<std::wstring>& commands) override
    {
        Json list = Json::array();
        for (const std::wstring& command : commands)
            list.push_back(ToUtf8(command));
        Print(Json{{"type", "history"}, {"commands", list}});
    }

    void OnShown(const std::vector<std::wstring>& /*lines*/, const std::vector<ListEntry>& values) override
    {
        Json list = Json::array();
        for (const ListEntry& value : values)
        {
            Json entry = Json::object();
            for (const auto& [name, text] : value)
                entry[name] = ToUtf8(text);
            list.push_back(entry);
        }
        Print(Json{{"type", "shown"}, {"values", list}});
    }

    void OnHelp(const std::wstring& text) override { Print(Json{{"type", "help"}, {"text", ToUtf8(text)}}); }

    void OnPicture(const std::wstring& path) override { Print(Json{{"type", "report"}, {"file", ToUtf8(path)}}); }

private:
    static Json Entry(Json entry, const Happening& happening)
    {
        if (happening.isPartial)
            entry["partial"] = true;
        return entry;
    }

    // The dispatcher's own members, with the result's name beside its number.
    void AddRecord(const CommandRecord& record)
    {
        if (!record.result)
            return;
        m_command["result"] = Json{{"number", *record.result}, {"name", ToUtf8(record.resultName)}};
        const Json told = Json::parse(record.json, nullptr, false);
        if (!told.is_object())
            return;
        for (const char* name : {"made", "value", "references", "list", "assembly", "error", "exception"})
            if (told.contains(name))
                m_command[name] = told[name];
    }

    const bool m_streams;
    Json m_command;
    bool m_isInCommand = false;
};
} // namespace

std::unique_ptr<Report> MakeJsonReport(bool streams)
{
    return std::make_unique<JsonReport>(streams);
}
