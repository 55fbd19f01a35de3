#include "client/console/ClientError.h"

namespace
{
ExitStatus StatusOf(SessionFailure failure) noexcept
{
    switch (failure)
    {
    case SessionFailure::BadRequest:
        return ExitStatus::Usage;
    case SessionFailure::TimedOut:
        return ExitStatus::TimedOut;
    case SessionFailure::Interrupted:
        return ExitStatus::Interrupted;
    case SessionFailure::NoWorkbench:
        break;
    }
    return ExitStatus::WorkbenchLost;
}
} // namespace

ClientError::ClientError(const SessionError& error) : ClientError(StatusOf(error.Failure()), error.Message()) {}
