#include "client/Console.h"
#include "client/Report.h"
#include "OrvProfiler/Trace.h"

namespace
{
const wchar_t* OutcomeText(Outcome outcome) noexcept
{
    switch (outcome)
    {
    case Outcome::Succeeded:
        return L"succeeded";
    case Outcome::Failed:
        return L"failed";
    case Outcome::TimedOut:
        return L"timed out";
    case Outcome::Lost:
        return L"workbench lost";
    case Outcome::Interrupted:
        return L"interrupted";
    }
    return L"";
}

class TextReport : public Report
{
public:
    void OnHappening(const Happening& happening) override
    {
        switch (happening.kind)
        {
        case Happening::Kind::Output:
            TextStream::Out().Write(L"    | " + happening.text + L"\n");
            return;
        case Happening::Kind::Response:
            TextStream::Out().Write(L"    response " + happening.text + L"\n");
            return;
        case Happening::Kind::Message:
            TextStream::Out().Write(L"    message " + happening.text + L"\n");
            return;
        }
    }

    void OnReady(uint32_t workbenchId, uint32_t clientId, double elapsedMs) override
    {
        TextStream::Out().Write(
            FormatSlot(L"workbench %u ready for client %x after %.1f ms\n", workbenchId, clientId, elapsedMs));
    }

    void OnCommand(const Command& command) override
    {
        TextStream::Out().Write(L"> " + std::wstring(command.word->word) +
                                (command.text.empty() ? L"" : L" " + command.text) + L"\n");
    }

    void OnResult(const CommandResult& result) override
    {
        TextStream::Out().Write(std::wstring(L"  ") + OutcomeText(result.outcome) +
                                FormatSlot(L" after %.3f ms\n", result.elapsedMs));
        if (!result.deviation.empty())
            TextStream::Out().Write(L"  protocol: " + result.deviation + L"\n");
    }

    void OnEnd(uint32_t workbenchExitCode) override
    {
        TextStream::Out().Write(FormatSlot(L"workbench ended with exit code %u\n", workbenchExitCode));
    }

    void OnError(const ClientError& error) override
    {
        TextStream::Error().Write(L"OrvClient: " + error.Message() + L"\n");
    }
};
} // namespace

std::unique_ptr<Report> MakeTextReport()
{
    return std::make_unique<TextReport>();
}
