#pragma once

#include "client/console/ExitStatus.h"
#include "client/results/CommandRecord.h"
#include "client/session/Session.h"

// How a command ended, for its user.
enum class Verdict
{
    Succeeded,
    Failed,
    // An assembly or a type that it names is not there; by the protocol it has succeeded.
    NotFound,
    // The code that it called raised an exception; by the protocol it has succeeded.
    Raised,
    TimedOut,
    Lost,
    Interrupted,
};

// By the result where it is known. The protocol's view knows the response alone.
Verdict VerdictOf(Outcome outcome, const CommandRecord& record, bool protocolView) noexcept;

// What JSON calls it.
const char* NameOf(Verdict verdict) noexcept;

// The exit status of a client whose command ended so.
ExitStatus StatusOf(Verdict verdict) noexcept;
