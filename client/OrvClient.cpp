#include "client/console/ClientError.h"
#include "client/console/TextStream.h"
#include "client/input/CommandLine.h"
#include "client/reports/Report.h"
#include "client/Runner.h"

#include <memory>
#include <optional>

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

namespace
{
int EndAfter(const ClientError& error, Report& report)
{
    report.OnError(error, {});
    return static_cast<int>(error.Status());
}

std::unique_ptr<Report> ReportFor(const Options& options)
{
    if (options.printsJson)
        return MakeJsonReport(options.streams);
    return options.printsValues ? MakeValueReport() : MakeTextReport(!options.isInteractive);
}
} // namespace

// The client console: drives the workbench from a prompt, a script or the command line (--help tells how).
extern "C" int wmain(int argc, wchar_t** argv)
{
    std::unique_ptr<Report> report = MakeTextReport(true);
    try
    {
        const std::optional<Options> options = ParseCommandLine(argc, argv);
        if (!options)
            return static_cast<int>(ExitStatus::Success);
        TextStream::UseColour(options->colour);
        report = ReportFor(*options);
        return static_cast<int>(Run(*options, *report));
    }
    catch (const SessionError& error)
    {
        return EndAfter(ClientError(error), *report);
    }
    catch (const ClientError& error)
    {
        return EndAfter(error, *report);
    }
}
