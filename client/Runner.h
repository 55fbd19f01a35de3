#pragma once

#include "client/CommandLine.h"
#include "client/Report.h"

// Starts the workbench, runs the commands that the options name, and ends it. Failures are reported; the first one
// decides the exit status.
ExitStatus Run(const Options& options, Report& report);
