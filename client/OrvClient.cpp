#include "client/CommandLine.h"
#include "client/Console.h"
#include "client/Report.h"
#include "client/Runner.h"

#include <exception>
#include <memory>
#include <optional>

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

extern "C" int wmain(int argc, wchar_t** argv)
{
    std::unique_ptr<Report> report = MakeTextReport();
    ExitStatus status = ExitStatus::Success;
    try
    {
        const std::optional<Options> options = ParseCommandLine(argc, argv);
        if (!options)
            return static_cast<int>(ExitStatus::Success);
        if (options->json)
            report = MakeJsonReport();
        status = Run(*options, *report);
    }
    catch (const ClientError& error)
    {
        report->OnError(error);
        status = error.Status();
    }
    return static_cast<int>(status);
}
