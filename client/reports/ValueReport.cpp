#include "client/console/TextStream.h"
#include "client/reports/Report.h"
#include "client/results/RecordLines.h"
#include "OrvProfiler/foundation/Trace.h"

namespace
{
void Tell(const std::wstring& line)
{
    TextStream::Error().Write(line + L"\n");
}

class ValueReport : public Report
{
public:
    // The dispatcher's own lines are among what is printed, and say the value again. A list has no value.
    void OnHappening(const Happening& happening) override
    {
        if (m_isLook && happening.kind == Happening::Kind::Output)
            TextStream::Out().Write(happening.text + L"\n");
    }

    void OnStarted(uint32_t /*workbenchId*/, uint32_t /*clientId*/, bool isAttached) override
    {
        m_isAttached = isAttached;
    }
    void OnReady(double /*elapsedMs*/) override {}
    void OnDebuggerMayAttach(uint32_t /*workbenchId*/, std::optional<uint16_t> /*port*/, bool /*waits*/) override {}
    void OnCommand(const Command& command, const std::wstring& /*where*/) override
    {
        m_isLook = !command.asked.empty();
        m_asks = command.word->event == EV_INVOKE || command.word->event == c_commandGetProperty;
    }
    void OnEnd(std::optional<uint32_t> /*workbenchExitCode*/) override {}

    void OnResult(const CommandResult& result, const CommandRecord& record, Verdict verdict,
                  const std::wstring& hint) override
    {
        if (m_isLook && m_isAttached)
            for (const ListEntry& entry : EntriesOf(record))
                TextStream::Out().Write(L"  " + LineOf(entry) + L"\n");
        if (m_asks && verdict == Verdict::Succeeded && record.value && !record.hasMade)
            TextStream::Out().Write(*record.value + L"\n");
        if (!result.deviation.empty())
            Tell(L"protocol: " + result.deviation);
        if (!hint.empty())
            Tell(L"hint: " + hint);
    }

    void OnTimes(const Durations& durations) override
    {
        TextStream::Out().Write(
            FormatSlot(L"%.3f %.3f %.3f\n", durations.Minimum(), durations.Median(), durations.Maximum()));
    }

    void OnError(const ClientError& error, const std::vector<std::wstring>& hints) override
    {
        Tell(L"OrvClient: " + error.Message());
        for (const std::wstring& hint : hints)
            Tell(L"  " + hint);
    }

    void OnEvidence(const std::wstring& folder, const std::wstring& failure) override
    {
        Tell(folder.empty() ? L"  its evidence cannot be kept: " + failure : L"  its evidence: " + folder);
    }

    void OnLogLine(const std::wstring& line) override { Tell(line); }
    void OnHistory(const std::vector<std::wstring>& commands) override
    {
        for (const std::wstring& command : commands)
            TextStream::Out().Write(command + L"\n");
    }

    void OnShown(const std::vector<std::wstring>& /*lines*/, const std::vector<ListEntry>& values) override
    {
        for (const ListEntry& value : values)
            TextStream::Out().Write(TextOf(value, value.count("text") != 0 ? "text" : "raised") + L"\n");
    }

    void OnHelp(const std::wstring& text) override { TextStream::Out().Write(text); }
    void OnPicture(const std::wstring& /*path*/) override {}

private:
    bool m_asks = false;
    bool m_isLook = false;
    bool m_isAttached = false;
};
} // namespace

std::unique_ptr<Report> MakeValueReport()
{
    return std::make_unique<ValueReport>();
}
