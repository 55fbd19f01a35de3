#include "client/results/Verdict.h"

#include "OrvProfiler/protocol/ActionResult.h"

Verdict VerdictOf(Outcome outcome, const CommandRecord& record, bool protocolView) noexcept
{
    switch (outcome)
    {
    case Outcome::Succeeded:
        break;
    case Outcome::Failed:
        return Verdict::Failed;
    case Outcome::TimedOut:
        return Verdict::TimedOut;
    case Outcome::Lost:
        return Verdict::Lost;
    case Outcome::Interrupted:
        return Verdict::Interrupted;
    }
    if (protocolView)
        return Verdict::Succeeded;
    switch (record.result.value_or(ActionSuccess))
    {
    case ActionAssemblyNotFound:
    case ActionTypeNotFound:
        return Verdict::NotFound;
    case ActionException:
        return Verdict::Raised;
    default:
        return Verdict::Succeeded;
    }
}

const char* NameOf(Verdict verdict) noexcept
{
    switch (verdict)
    {
    case Verdict::Succeeded:
        return "succeeded";
    case Verdict::Failed:
        return "failed";
    case Verdict::NotFound:
        return "notFound";
    case Verdict::Raised:
        return "exception";
    case Verdict::TimedOut:
        return "timedOut";
    case Verdict::Lost:
        return "lost";
    case Verdict::Interrupted:
        return "interrupted";
    }
    return "";
}

ExitStatus StatusOf(Verdict verdict) noexcept
{
    switch (verdict)
    {
    case Verdict::Failed:
    case Verdict::NotFound:
        return ExitStatus::CommandFailed;
    case Verdict::Raised:
        return ExitStatus::ExceptionRaised;
    case Verdict::TimedOut:
        return ExitStatus::TimedOut;
    case Verdict::Lost:
        return ExitStatus::WorkbenchLost;
    case Verdict::Interrupted:
        return ExitStatus::Interrupted;
    case Verdict::Succeeded:
        break;
    }
    return ExitStatus::Success;
}
