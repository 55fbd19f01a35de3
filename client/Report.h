#pragma once

#include "client/ClientError.h"
#include "client/Session.h"

#include <cstdint>
#include <memory>
#include <string>

// Shows what happens to the user or to another program.
class Report : public SessionObserver
{
public:
    virtual ~Report() = default;

    virtual void OnReady(uint32_t workbenchId, uint32_t clientId, double elapsedMs) = 0;
    virtual void OnCommand(const Command& command) = 0;
    virtual void OnResult(const CommandResult& result) = 0;
    virtual void OnEnd(uint32_t workbenchExitCode) = 0;
    virtual void OnError(const ClientError& error) = 0;
};

// For people: indented lines on the standard output, errors on the standard error stream.
std::unique_ptr<Report> MakeTextReport();
// For programs: one JSON object per line on the standard output (docs/client.md describes them).
std::unique_ptr<Report> MakeJsonReport();
