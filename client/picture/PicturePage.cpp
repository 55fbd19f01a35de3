#include "client/picture/PicturePage.h"

#include "client/base/Text.h"
#include "client/picture/PageParts.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/protocol/ClientId.h"
#include "OrvProfiler/protocol/ManagedMethods.h"
#include "OrvProfiler/protocol/WorkbenchEvents.h"

#include <cwchar>
#include <nlohmann/json.hpp>
#include <string_view>

namespace
{
using Json = nlohmann::ordered_json;

// Without scripts the page shows so many commands.
constexpr size_t c_plainRows = 200;

// In the page's script: the text of a script element ends at its first end tag, wherever that stands. All else that
// is not plain ASCII is escaped already.
std::string ScriptText(const Json& value)
{
    std::string text;
    for (const char c : value.dump(-1, ' ', true))
    {
        switch (c)
        {
        case '<':
            text += "\\u003c";
            break;
        case '>':
            text += "\\u003e";
            break;
        case '&':
            text += "\\u0026";
            break;
        case '\x7F':
            text += "\\u007f";
            break;
        default:
            text += c;
        }
    }
    return text;
}

// In the document itself, as numbers: all but letters, digits and what cannot be mistaken.
std::string HtmlText(const std::wstring& text)
{
    constexpr std::wstring_view plain = L" .,:;=()[]{}/*+-_#!?@$%";
    std::string html;
    for (size_t i = 0; i < text.size(); ++i)
    {
        uint32_t character = text[i];
        const bool isHigh = character >= 0xD800 && character <= 0xDBFF;
        if (isHigh && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
            character = 0x10000 + ((character - 0xD800) << 10) + (text[++i] - uint32_t{0xDC00});
        const bool isWord =
            character < 0x80 && ((character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
                                 (character >= 'a' && character <= 'z'));
        const bool isNone = character < ' ' || (character >= 0x7F && character < 0xA0) ||
                            (character >= 0xD800 && character <= 0xDFFF) || (character & 0xFFFE) == 0xFFFE;
        if (isWord || plain.find(text[i]) != std::wstring_view::npos)
            html += static_cast<char>(character);
        else
            html += "&#" + std::to_string(isNone ? uint32_t{0xFFFD} : character) + ";";
    }
    return html;
}

const char* NameOf(Moment::Kind kind) noexcept
{
    switch (kind)
    {
    case Moment::Kind::Output:
        return "output";
    case Moment::Kind::PartialOutput:
        return "partial";
    case Moment::Kind::Response:
        return "response";
    case Moment::Kind::Message:
        return "message";
    case Moment::Kind::Answer:
        return "answer";
    case Moment::Kind::Shown:
        return "shown";
    }
    return "";
}

class PageWriter
{
public:
    explicit PageWriter(const Picture& picture) : m_picture(picture) {}

    std::string Write()
    {
        m_page += PagePart("head.html");
        m_page += "<style>\n";
        m_page += PagePart("picture.css");
        m_page += "</style>\n</head>\n";
        m_page += PagePart("body.html");
        WritePlain();
        m_page += "<script type=\"application/json\" id=\"session\">\n";
        WriteData();
        m_page += "</script>\n<script>\n";
        m_page += PagePart("picture.js");
        m_page += "</script>\n</body>\n</html>\n";
        return std::move(m_page);
    }

private:
    double At(double tickMs) const { return RoundedMs(tickMs - m_picture.beganMs); }

    // For whoever opens it where no script runs.
    void WritePlain()
    {
        const StepList& steps = m_picture.steps;
        m_page += "<noscript><p>Scripts do not run here: the page shows its commands only, the first " +
                  std::to_string(c_plainRows) + ".</p><table><tr><th>Command<th>Outcome<th>Milliseconds</tr>\n";
        size_t rows = 0;
        for (size_t i = 0; i < steps.Count() && rows < c_plainRows; ++i)
        {
            const Step& step = steps[i];
            if (step.number == 0)
                continue;
            ++rows;
            m_page += "<tr><td>" + HtmlText(step.word + L" " + step.text) + "<td>" +
                      (step.verdict ? ::NameOf(*step.verdict) : "none") + "<td>" +
                      (step.elapsedMs ? Json(RoundedMs(*step.elapsedMs)).dump() : std::string()) + "</tr>\n";
        }
        m_page += "</table></noscript>\n";
    }

    // One line for each part, so that a reader of the file finds its way.
    void WriteData()
    {
        m_page += "{\"session\":" + ScriptText(Session());
        WriteList("lives",
                  [&](const auto& write) { m_picture.lives.ForEach([&](const auto& life) { write(Life(life)); }); });
        WriteList("errors", [&](const auto& write) {
            m_picture.errors.ForEach([&](const auto& error) { write(Error(error)); });
        });
        WriteList("log", [&](const auto& write) {
            m_picture.logLines.ForEach([&](const auto& line) { write(Line(line)); });
        });
        WriteList("steps", [&](const auto& write) {
            for (size_t i = 0; i < m_picture.steps.Count(); ++i)
                write(StepOf(m_picture.steps[i]));
        });
        m_page += "}\n";
    }

    template <class Writer>
    void WriteList(const char* name, const Writer& writeAll)
    {
        m_page += std::string(",\n\"") + name + "\":[";
        const char* between = "\n";
        writeAll([&](const Json& entry) {
            m_page += between + ScriptText(entry);
            between = ",\n";
        });
        m_page += "]";
    }

    Json Session() const
    {
        const bool isLog = !m_picture.log.empty();
        Json session{{"source", isLog ? "log" : "session"}};
        if (isLog)
            session["file"] = ToUtf8(m_picture.log);
        session["began"] = ToUtf8(m_picture.began);
        session["durationMs"] = At(m_picture.endMs);
        session["resolutionMs"] = isLog ? Json(1) : Json(0.001);
        session["commands"] = m_picture.steps.CommandCount();
        session["failed"] = m_picture.steps.FailedCount();
        session["commandsLeftOut"] = m_picture.steps.LeftOut();
        session["stepsBeforeGap"] = m_picture.steps.FirstCount();
        session["errorsLeftOut"] = m_picture.errors.LeftOut();
        session["errorsBeforeGap"] = m_picture.errors.FirstCount();
        session["livesLeftOut"] = m_picture.lives.LeftOut();
        session["logLeftOut"] = m_picture.logLines.LeftOut();
        session["logBeforeGap"] = m_picture.logLines.FirstCount();
        session["logWithoutRoom"] = m_picture.logLinesWithoutRoom;
        session["notes"] = Texts(m_picture.notes);
        session["evidence"] = Evidence();
        return session;
    }

    // What lies below the page's folder can go with it to another place.
    Json Evidence() const
    {
        Json list = Json::array();
        const std::wstring& base = m_picture.pageFolder;
        for (const std::wstring& folder : m_picture.evidence)
        {
            Json entry{{"folder", ToUtf8(folder)}};
            if (!base.empty() && _wcsnicmp(folder.c_str(), base.c_str(), base.size()) == 0)
                entry["below"] = ToUtf8(folder.substr(base.size()));
            list.push_back(entry);
        }
        return list;
    }

    static Json Texts(const std::vector<std::wstring>& texts)
    {
        Json list = Json::array();
        for (const std::wstring& text : texts)
            list.push_back(ToUtf8(text));
        return list;
    }

    Json Life(const WorkbenchLife& life) const
    {
        Json entry{{"workbench", life.workbenchId},
                   {"client", ToUtf8(ClientIdText(life.clientId).Get())},
                   {"attached", life.isAttached},
                   {"atMs", At(life.atMs)}};
        if (life.readyElapsedMs)
        {
            entry["readyMs"] = At(life.readyMs);
            entry["readyElapsedMs"] = RoundedMs(*life.readyElapsedMs);
        }
        if (life.debuggerPort)
            entry["debuggerPort"] = *life.debuggerPort;
        if (life.endMs)
            entry["endMs"] = At(*life.endMs);
        if (life.exitCode)
            entry["exitCode"] = *life.exitCode;
        return entry;
    }

    Json Error(const PictureError& error) const
    {
        Json entry{{"atMs", At(error.atMs)}, {"message", ToUtf8(error.message)}};
        if (error.exitStatus)
            entry["exitStatus"] = *error.exitStatus;
        entry["hints"] = Texts(error.hints);
        return entry;
    }

    Json Line(const LogLine& line) const { return Json::array({At(line.atMs), ToUtf8(line.text)}); }

    Json StepOf(const Step& step) const
    {
        Json entry = step.number != 0 ? CommandOf(step) : Json{{"atMs", At(step.atMs)}, {"endMs", At(step.endMs)}};
        Json moments = Json::array();
        step.moments.ForEach([&](const Moment& moment) {
            moments.push_back(Json::array({At(moment.atMs), NameOf(moment.kind), ToUtf8(moment.text)}));
        });
        entry["moments"] = moments;
        AddGap(entry, "moments", step.moments);
        if (step.log.IsEmpty())
            return entry;
        Json log = Json::array();
        step.log.ForEach([&](const LogLine& line) { log.push_back(Line(line)); });
        entry["log"] = log;
        AddGap(entry, "log", step.log);
        return entry;
    }

    template <class Item>
    static void AddGap(Json& entry, const std::string& name, const Ends<Item>& items)
    {
        if (items.LeftOut() == 0)
            return;
        entry[name + "LeftOut"] = items.LeftOut();
        entry[name + "BeforeGap"] = items.FirstCount();
    }

    // Its members are those of a command in JSON, where that has them.
    Json CommandOf(const Step& step) const
    {
        Json entry{{"number", step.number}, {"command", ToUtf8(step.word)}, {"text", ToUtf8(step.text)}};
        if (!step.where.empty())
            entry["where"] = ToUtf8(step.where);
        entry["atMs"] = At(step.atMs);
        entry["endMs"] = At(step.endMs);
        entry["event"] = ToUtf8(c_workbenchEventNames[step.event]);
        if (const wchar_t* const method = c_workbenchCommands[step.event].method)
            entry["method"] = ToUtf8(method);
        entry["breakpoint"] = step.passesBreakpoint;
        if (step.verdict)
            entry["outcome"] = ::NameOf(*step.verdict);
        if (!step.resultName.empty())
            entry["result"] =
                Json{{"number", step.result ? Json(*step.result) : Json()}, {"name", ToUtf8(step.resultName)}};
        if (!step.told.empty())
            entry.update(Json::parse(step.told, nullptr, false));
        if (step.runs)
            entry["times"] = Json{{"count", step.runs->Count()},
                                  {"minimumMs", RoundedMs(step.runs->Minimum())},
                                  {"medianMs", RoundedMs(step.runs->Median())},
                                  {"maximumMs", RoundedMs(step.runs->Maximum())}};
        else if (step.elapsedMs)
            entry["elapsedMs"] = RoundedMs(*step.elapsedMs);
        if (!step.deviation.empty())
            entry["deviation"] = ToUtf8(step.deviation);
        if (!step.hint.empty())
            entry["hint"] = ToUtf8(step.hint);
        return entry;
    }

    const Picture& m_picture;
    std::string m_page;
};
} // namespace

std::string PageOf(const Picture& picture)
{
    return PageWriter(picture).Write();
}
