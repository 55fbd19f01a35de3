#pragma once

#include "client/input/CommandLine.h"
#include "client/reports/Report.h"

// Starts the workbench or attaches to it, runs the commands that the options name, and ends what it has started.
// Failures are reported; the first one decides the exit status.
ExitStatus Run(const Options& options, Report& report);
