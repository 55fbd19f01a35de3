#include "client/console/TextStream.h"
#include "client/reports/Report.h"
#include "client/results/RecordLines.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/protocol/ClientId.h"

#include <string_view>

namespace
{
constexpr std::wstring_view c_commandMark = L"> ";
constexpr std::wstring_view c_outputMark = L"    | ";
constexpr std::wstring_view c_eventIndent = L"    ";
constexpr std::wstring_view c_resultIndent = L"  ";
// The dispatcher's line begins with two blanks more.
constexpr std::wstring_view c_shownMark = L"  ";
constexpr std::wstring_view c_logMark = L"    log ";

const wchar_t* OutcomeText(Verdict verdict) noexcept
{
    switch (verdict)
    {
    case Verdict::Succeeded:
        return L"succeeded";
    case Verdict::Failed:
        return L"failed";
    case Verdict::NotFound:
        return L"not found";
    case Verdict::Raised:
        return L"exception raised";
    case Verdict::TimedOut:
        return L"timed out";
    case Verdict::Lost:
        return L"workbench lost";
    case Verdict::Interrupted:
        return L"interrupted";
    }
    return L"";
}

TextStyle StyleOf(Verdict verdict) noexcept
{
    switch (verdict)
    {
    case Verdict::Succeeded:
        return TextStyle::Good;
    case Verdict::NotFound:
    case Verdict::Raised:
    case Verdict::Interrupted:
        return TextStyle::Warning;
    case Verdict::Failed:
    case Verdict::TimedOut:
    case Verdict::Lost:
        break;
    }
    return TextStyle::Bad;
}

void Print(std::wstring_view mark, std::wstring_view text, TextStyle style = TextStyle::Plain)
{
    std::wstring line(mark);
    line += text;
    line += L'\n';
    TextStream::Out().Write(line, style);
}

class TextReport : public Report
{
public:
    explicit TextReport(bool echoesCommands) : m_echoesCommands(echoesCommands) {}

    void OnHappening(const Happening& happening) override
    {
        switch (happening.kind)
        {
        case Happening::Kind::Output:
            Print(c_outputMark, happening.text);
            return;
        case Happening::Kind::Response:
            Print(c_eventIndent, L"response " + happening.text, TextStyle::Quiet);
            return;
        case Happening::Kind::Message:
            Print(c_eventIndent, L"message " + happening.text, TextStyle::Quiet);
            return;
        }
    }

    void OnStarted(uint32_t workbenchId, uint32_t clientId, bool isAttached) override
    {
        Print(L"", FormatSlot(L"workbench %u %s, client id %s", workbenchId, isAttached ? L"attached" : L"started",
                              ClientIdText(clientId).Get()));
        m_isAttached = isAttached;
    }

    void OnReady(double elapsedMs) override { Print(c_resultIndent, FormatSlot(L"ready after %.1f ms", elapsedMs)); }

    void OnDebuggerMayAttach(uint32_t workbenchId, std::optional<uint16_t> port, bool waits) override
    {
        if (port)
            Print(c_resultIndent,
                  FormatSlot(L"a Mono debugger may connect to 127.0.0.1 port %u (sdb: connect 127.0.0.1 %u)", *port,
                             *port));
        else
            Print(c_resultIndent,
                  FormatSlot(
                      L"a debugger of managed code may attach to the process %u (Visual Studio: Debug, Attach to "
                      L"Process)",
                      workbenchId));
        if (waits)
            Print(c_resultIndent, L"waiting for it");
    }

    void OnCommand(const Command& command, const std::wstring& /*where*/) override
    {
        if (m_echoesCommands)
            Print(c_commandMark,
                  command.ShownWord() + (command.ShownText().empty() ? L"" : L" " + command.ShownText()),
                  TextStyle::Prompt);
    }

    void OnResult(const CommandResult& result, const CommandRecord& record, Verdict verdict,
                  const std::wstring& hint) override
    {
        // What the workbench prints goes to the client that started it.
        if (m_isAttached)
            for (const std::wstring& told : LinesOf(record))
                Print(c_eventIndent, told);
        std::wstring line = OutcomeText(verdict) + std::wstring(FormatSlot(L" after %.3f ms", result.elapsedMs));
        if (record.result)
            line += L", result " + std::to_wstring(*record.result) + L" " + record.resultName;
        Print(c_resultIndent, line, StyleOf(verdict));
        if (!result.deviation.empty())
            Print(c_resultIndent, L"protocol: " + result.deviation, TextStyle::Bad);
        if (!hint.empty())
            Print(c_resultIndent, L"hint: " + hint, TextStyle::Warning);
    }

    void OnTimes(const Durations& durations) override
    {
        Print(c_resultIndent, FormatSlot(L"succeeded %u times: minimum %.3f ms, median %.3f ms, maximum %.3f ms",
                                         static_cast<unsigned>(durations.Count()), durations.Minimum(),
                                         durations.Median(), durations.Maximum()));
    }

    void OnEnd(std::optional<uint32_t> workbenchExitCode) override
    {
        if (workbenchExitCode)
            Print(L"", FormatSlot(L"workbench ended with exit code %u", *workbenchExitCode));
        else
            Print(L"", L"workbench left running");
    }

    void OnError(const ClientError& error, const std::vector<std::wstring>& hints) override
    {
        std::wstring text = L"OrvClient: " + error.Message() + L"\n";
        for (const std::wstring& hint : hints)
            text += L"  " + hint + L"\n";
        TextStream::Error().Write(text, TextStyle::Bad);
    }

    void OnEvidence(const std::wstring& folder, const std::wstring& failure) override
    {
        const std::wstring text =
            folder.empty() ? L"its evidence cannot be kept: " + failure : L"its evidence: " + folder;
        TextStream::Error().Write(L"  " + text + L"\n", TextStyle::Bad);
    }

    void OnLogLine(const std::wstring& line) override { Print(c_logMark, line, TextStyle::Quiet); }

    void OnHistory(const std::vector<std::wstring>& commands) override
    {
        for (const std::wstring& command : commands)
            Print(c_resultIndent, command);
    }

    void OnShown(const std::vector<std::wstring>& lines, const std::vector<ListEntry>& values) override
    {
        for (const std::wstring& line : lines)
            Print(c_shownMark, line);
        if (m_isAttached)
            for (const ListEntry& value : values)
                Print(c_eventIndent, LineOf(value));
    }

    void OnHelp(const std::wstring& text) override { TextStream::Out().Write(text); }

    void OnPicture(const std::wstring& path) override { Print(L"", L"report written to " + path); }

private:
    const bool m_echoesCommands;
    bool m_isAttached = false;
};
} // namespace

std::unique_ptr<Report> MakeTextReport(bool echoesCommands)
{
    return std::make_unique<TextReport>(echoesCommands);
}
