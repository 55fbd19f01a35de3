#include "client/console/ClientError.h"
#include "client/console/TextStream.h"
#include "client/input/CommandLine.h"
#include "client/picture/LogPicture.h"
#include "client/picture/PictureFile.h"
#include "client/picture/PicturePage.h"
#include "client/picture/PictureRecorder.h"
#include "client/picture/ReportPair.h"
#include "client/reports/Report.h"
#include "client/Runner.h"

#include <memory>
#include <optional>

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

namespace
{
ExitStatus EndAfter(const ClientError& error, Report& report)
{
    report.OnError(error, {});
    return error.Status();
}

std::unique_ptr<Report> ReportFor(const Options& options)
{
    if (options.printsJson)
        return MakeJsonReport(options.streams);
    return options.printsValues ? MakeValueReport() : MakeTextReport(!options.isInteractive);
}

void WritePictureOfLog(const Options& options, Report& report)
{
    const PictureFile file(options.picture);
    file.Write(PageOf(PictureOfLog(options.pictureLog, options.protocolView)));
    report.OnPicture(file.Path());
}

// Runs, and tells what keeps it from that.
ExitStatus RunOrTell(const Options& options, Report& report)
{
    try
    {
        return Run(options, report);
    }
    catch (const SessionError& error)
    {
        return EndAfter(ClientError(error), report);
    }
    catch (const ClientError& error)
    {
        return EndAfter(error, report);
    }
}

ExitStatus RunWithPicture(const Options& options, Report& report)
{
    PictureRecorder recorder(PictureFile(options.picture), options.protocolView);
    ReportPair both(recorder, report);
    const ExitStatus status = RunOrTell(options, both);
    // What was never begun leaves the file as it is.
    if (!recorder.HasBegun())
        return status;
    try
    {
        recorder.Write();
        report.OnPicture(recorder.Path());
    }
    catch (const ClientError& error)
    {
        const ExitStatus failure = EndAfter(error, report);
        return status == ExitStatus::Success ? failure : status;
    }
    return status;
}

ExitStatus RunAsAsked(const Options& options, Report& report)
{
    if (!options.pictureLog.empty())
    {
        WritePictureOfLog(options, report);
        return ExitStatus::Success;
    }
    return options.picture.empty() ? RunOrTell(options, report) : RunWithPicture(options, report);
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
        return static_cast<int>(RunAsAsked(*options, *report));
    }
    catch (const ClientError& error)
    {
        return static_cast<int>(EndAfter(error, *report));
    }
}
