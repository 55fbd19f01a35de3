#include "client/input/CommandLine.h"

#include "client/base/Folders.h"
#include "client/base/SystemFailure.h"
#include "client/base/Text.h"
#include "client/console/ClientError.h"
#include "client/console/IsConsole.h"
#include "client/console/TextStream.h"
#include "client/input/CommandHelp.h"
#include "client/input/LoadPath.h"
#include "OrvProfiler/protocol/WorkbenchFiles.h"

#include <windows.h>

#include <algorithm>
#include <CLI/CLI.hpp>
#include <iterator>
#include <map>

namespace
{
constexpr double c_millisecondsPerSecond = 1000;
// The longest limit that the system's waits take.
constexpr double c_longestLimitSeconds = 4294967;
constexpr double c_commandSeconds = TimeLimits().commandMs / c_millisecondsPerSecond;

constexpr const wchar_t* c_evidenceFolder = L"evidence\\";

constexpr const char* c_description =
    "Starts the managed workbench, or attaches to a running one, posts commands to it and\n"
    "shows what comes back.\n"
    "\n"
    "Without COMMAND and --script, commands are read from the standard input: with a prompt\n"
    "when that is a console, as a script otherwise.";

constexpr const wchar_t* c_beforeWords =
    L"\n"
    L"A COMMAND, or a line of a script, is a word and a text that is handed to the workbench as it stands (its\n"
    L"language is the managed dispatcher's, see commands.md):\n";
constexpr const wchar_t* c_afterWords =
    L"In scripts, empty lines and lines that begin with # are skipped. A script stops at the first failure.\n"
    L"\n"
    L"Exit status, of the first failure:\n";

struct StatusHelp
{
    ExitStatus status;
    const wchar_t* meaning;
};

constexpr StatusHelp c_statusHelp[] = {
    {ExitStatus::Success, L"everything succeeded"},
    {ExitStatus::CommandFailed, L"a command failed, or did not find a type or an assembly"},
    {ExitStatus::Usage, L"bad usage: options, a script that cannot be read, a report that cannot be written, a line "
                        L"that is no command, a "
                        L"text that is too long"},
    {ExitStatus::WorkbenchLost, L"the workbench could not be started, or ended unasked"},
    {ExitStatus::TimedOut,
     L"time-out: the workbench was not ready, a command not answered, or the workbench not stopped in time"},
    {ExitStatus::Interrupted, L"interrupted by Ctrl-C"},
    {ExitStatus::Deviation, L"the workbench departed from its protocol"},
    {ExitStatus::ExceptionRaised, L"the code that a command called raised an exception"},
    {ExitStatus::OutputClosed, L"nobody reads the standard output any more"},
};

std::wstring Footer()
{
    std::wstring text = c_beforeWords + CommandHelp() + c_afterWords;
    for (const StatusHelp& help : c_statusHelp)
        text += L"  " + std::to_wstring(static_cast<int>(help.status)) + L"  " + help.meaning + L"\n";
    return text;
}

struct RawOptions
{
    std::vector<std::string> commands;
    std::string script;
    std::string program;
    std::string attachTo;
    std::string clientId;
    bool isInteractive = false;
    bool keepsGoing = false;
    bool followsLog = false;
    bool printsJson = false;
    bool streams = false;
    bool printsValues = false;
    bool protocolView = false;
    ColourUse colour = ColourUse::Automatic;
    double readySeconds = TimeLimits().readyMs / c_millisecondsPerSecond;
    // Without one it is c_commandSeconds, and no limit at a prompt.
    std::optional<double> commandSeconds;
    // "true" for a free one, as the parser gives an option without its value.
    std::string debuggerPort;
    bool awaitsDebugger = false;
    std::string evidencePlace;
    bool keepsNoEvidence = false;
    std::string picture;
    std::string pictureLog;
    double stopSeconds = TimeLimits().stopMs / c_millisecondsPerSecond;
};

std::wstring Wide(const std::string& text)
{
    return FromUtf8(text).value_or(std::wstring());
}

std::wstring ProgramBesideThis()
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path.substr(0, path.find_last_of(L'\\') + 1) + c_workbenchProgramFile;
}

uint32_t LimitOf(double seconds)
{
    return seconds > 0 ? static_cast<uint32_t>(seconds * c_millisecondsPerSecond) : TimeLimits::c_noLimit;
}

// A process id: base 10 (or 16 with 0x) as the system's tools show it, or base 16 as the workbench reads it.
std::optional<uint32_t> ProcessIdOf(const std::string& text, int base, const char* option)
{
    if (text.empty())
        return std::nullopt;
    size_t length = 0;
    uint64_t value = 0;
    try
    {
        const bool isHexadecimal = text.rfind("0x", 0) == 0;
        value = std::stoull(text, &length, isHexadecimal ? 16 : base);
    }
    catch (const std::logic_error&)
    {
        length = 0;
    }
    if (length != text.size() || text[0] == '-' || value == 0 || value > UINT32_MAX)
        throw ClientError(ExitStatus::Usage, Wide(std::string(option) + ": \"" + text + "\" is no process id"));
    return static_cast<uint32_t>(value);
}

// By the option's text; nothing without one.
std::optional<uint16_t> PortOf(const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    if (text == "true")
        return uint16_t{0};
    const bool isNumber = text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos;
    const uint64_t port = isNumber ? std::stoull(text) : UINT64_MAX;
    if (port > UINT16_MAX)
        throw ClientError(ExitStatus::Usage, Wide("--debug: \"" + text + "\" is no port (1 to 65535)"));
    return static_cast<uint16_t>(port);
}

void DefineInput(CLI::App& app, RawOptions& raw)
{
    auto* const commands = app.add_option("COMMAND", raw.commands, "Commands to run, each quoted as one argument");
    auto* const script = app.add_option("-s,--script", raw.script, "Commands, one per line; - is the standard input");
    auto* const interactive = app.add_flag("-i,--interactive", raw.isInteractive,
                                           "Prompt, and go on after failures, also without a console");
    commands->option_text("COMMAND...");
    script->option_text("FILE")->excludes(commands);
    interactive->excludes(commands)->excludes(script);
    app.add_flag("-k,--keep-going", raw.keepsGoing, "Go on after a command that failed");
}

void DefineWorkbench(CLI::App& app, RawOptions& raw)
{
    auto* const program =
        app.add_option("-w,--workbench", raw.program,
                       "The program to start instead of " + ToUtf8(c_workbenchProgramFile) + "\nbeside this one");
    auto* const attach = app.add_option("-a,--attach", raw.attachTo,
                                        "Process id of a running workbench to drive, which is left\nrunning");
    auto* const client = app.add_option(
        "--client", raw.clientId,
        "With --attach: the id on the workbench's command line,\nhexadecimal (read from there by default)");
    program->option_text("FILE")->excludes(attach);
    attach->option_text("PID");
    client->option_text("HEX")->needs(attach);
}

void DefineOutput(CLI::App& app, RawOptions& raw)
{
    auto* const json = app.add_flag("-j,--json", raw.printsJson, "Print one JSON object per line (client.md)");
    app.add_flag("--stream", raw.streams, "With --json: what happens during a command also as it comes")->needs(json);
    app.add_flag("-e,--eval", raw.printsValues, "Print nothing but the values that get and invoke give")
        ->excludes(json);
    app.add_flag("--protocol-view", raw.protocolView,
                 "By the response alone: a command that found nothing, or raised\nan exception, has succeeded");
    const std::map<std::string, ColourUse> uses{
        {"auto", ColourUse::Automatic}, {"always", ColourUse::Always}, {"never", ColourUse::Never}};
    app.add_option("--color", raw.colour, "Colour: auto (on a console, unless NO_COLOR is set), always or\nnever")
        ->transform(CLI::CheckedTransformer(uses).description(""))
        ->option_text("WHEN");
    app.add_flag("-f,--follow-log", raw.followsLog, "Show the workbench's trace log as it grows");
}

void DefineLimits(CLI::App& app, RawOptions& raw)
{
    const auto range = CLI::Range(0.0, c_longestLimitSeconds);
    const auto define = [&](const char* name, auto& seconds, double usual, const std::string& text) {
        const std::string limits = std::to_string(static_cast<int>(usual)) + "; 0: no limit)";
        app.add_option(name, seconds, text + limits)->check(range)->option_text("SECONDS");
    };
    define("-t,--timeout", raw.commandSeconds, c_commandSeconds,
           "Until a command's final response (at a prompt none, else\n");
    define("--ready-timeout", raw.readySeconds, raw.readySeconds, "Until a started workbench is ready (");
    define("--stop-timeout", raw.stopSeconds, raw.stopSeconds, "Until a stopped workbench has ended (");
}

void DefineDebugging(CLI::App& app, RawOptions& raw)
{
    auto* const debug = app.add_flag("-d,--debug", raw.debuggerPort,
                                     "Let a debugger into the calls; commands have no time limit.\n"
                                     "The port of the runtime's agent, where it has one, is free\n"
                                     "or that of --debug=PORT");
    auto* const waits =
        app.add_flag("--debug-wait", raw.awaitsDebugger, "Wait for the debugger before the first command");
    debug->option_text("[=PORT]");
    debug->excludes(app.get_option("--timeout"));
    waits->needs(debug)->excludes(app.get_option("--attach"));
}

void DefineEvidence(CLI::App& app, RawOptions& raw)
{
    auto* const place = app.add_option("--evidence", raw.evidencePlace,
                                       "Where the evidence of a call that was lost is left (the folder\n"
                                       "OrvClient\\evidence of the user's local data)");
    auto* const none = app.add_flag("--no-evidence", raw.keepsNoEvidence, "Leave no evidence");
    place->option_text("FOLDER");
    none->excludes(place);
}

// Made at once: it is to be there when it is needed.
std::wstring EvidencePlaceOf(const RawOptions& raw)
{
    if (raw.keepsNoEvidence)
        return {};
    if (raw.evidencePlace.empty())
        return KeptFilesFolder().empty() ? std::wstring() : KeptFilesFolder() + c_evidenceFolder;
    std::wstring place = FullPath(Wide(raw.evidencePlace));
    if (place.back() != L'\\')
        place += L'\\';
    if (!MakeFolders(place))
        throw ClientError(ExitStatus::Usage,
                          SystemFailure(L"--evidence: " + place + L" cannot be made", GetLastError()));
    return place;
}

void DefinePicture(CLI::App& app, RawOptions& raw)
{
    app.add_option("-r,--report", raw.picture, "Write a page that shows the session, for a browser (HTML)")
        ->option_text("FILE");
    auto* const log = app.add_option("--report-from", raw.pictureLog,
                                     "Start nothing: make that page from a trace log; without\n"
                                     "--report in the current folder, named after the log");
    log->option_text("LOG");
    for (const char* name : {"COMMAND", "--script", "--interactive", "--keep-going", "--workbench", "--attach",
                             "--stream", "--eval", "--follow-log", "--debug", "--evidence", "--no-evidence"})
        log->excludes(app.get_option(name));
}

// In the current folder, whatever folder the log is in.
std::wstring PictureBeside(const std::wstring& log)
{
    const std::wstring name = log.substr(log.find_last_of(L"\\/:") + 1);
    return name.substr(0, name.find_last_of(L'.')) + L".html";
}

uint32_t CommandLimitOf(const RawOptions& raw, bool isInteractive)
{
    const double usual = isInteractive || !raw.debuggerPort.empty() ? 0 : c_commandSeconds;
    return LimitOf(raw.commandSeconds.value_or(usual));
}

Options Convert(const RawOptions& raw)
{
    Options options;
    std::transform(raw.commands.begin(), raw.commands.end(), std::back_inserter(options.commands), Wide);
    options.script = Wide(raw.script);
    options.program = raw.program.empty() ? ProgramBesideThis() : FullPath(Wide(raw.program));
    options.attachTo = ProcessIdOf(raw.attachTo, 10, "--attach");
    options.clientId = ProcessIdOf(raw.clientId, 16, "--client");
    const bool readsInput = raw.commands.empty() && raw.script.empty();
    options.isInteractive = raw.isInteractive || (readsInput && IsConsole(GetStdHandle(STD_INPUT_HANDLE)));
    options.isAtConsole = options.isInteractive && !raw.printsJson && !raw.printsValues &&
                          IsConsole(GetStdHandle(STD_INPUT_HANDLE)) && IsConsole(GetStdHandle(STD_OUTPUT_HANDLE));
    options.keepsGoing = raw.keepsGoing || options.isInteractive;
    options.followsLog = raw.followsLog;
    options.printsJson = raw.printsJson;
    options.streams = raw.streams;
    options.printsValues = raw.printsValues;
    options.protocolView = raw.protocolView;
    options.colour = raw.colour;
    options.limits.readyMs = LimitOf(raw.readySeconds);
    options.debuggerPort = PortOf(raw.debuggerPort);
    options.awaitsDebugger = raw.awaitsDebugger;
    if (options.attachTo && options.debuggerPort.value_or(0) != 0)
        throw ClientError(ExitStatus::Usage, L"--debug: who started the workbench has chosen its port");
    options.limits.commandMs = CommandLimitOf(raw, options.isInteractive);
    options.evidencePlace = EvidencePlaceOf(raw);
    options.limits.stopMs = LimitOf(raw.stopSeconds);
    if (!raw.pictureLog.empty())
        options.pictureLog = FullPath(Wide(raw.pictureLog));
    if (!raw.picture.empty())
        options.picture = FullPath(Wide(raw.picture));
    else if (!raw.pictureLog.empty())
        options.picture = FullPath(PictureBeside(options.pictureLog));
    if (!options.pictureLog.empty() && _wcsicmp(options.picture.c_str(), options.pictureLog.c_str()) == 0)
        throw ClientError(ExitStatus::Usage, L"--report: the page would replace the log");
    return options;
}
} // namespace

std::optional<Options> ParseCommandLine(int argc, const wchar_t* const* argv)
{
    CLI::App app(c_description, "OrvClient");
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", "OrvClient " ORV_VERSION);
    app.footer(ToUtf8(Footer()));
    RawOptions raw;
    DefineInput(app, raw);
    DefineWorkbench(app, raw);
    DefineOutput(app, raw);
    DefineLimits(app, raw);
    DefineDebugging(app, raw);
    DefineEvidence(app, raw);
    DefinePicture(app, raw);
    // The parser takes them in reverse.
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i)
        arguments.push_back(ToUtf8(argv[i]));
    try
    {
        app.parse(std::move(arguments));
    }
    catch (const CLI::CallForHelp&)
    {
        TextStream::Out().WriteUtf8(app.help());
        return std::nullopt;
    }
    catch (const CLI::CallForVersion& version)
    {
        TextStream::Out().WriteUtf8(std::string(version.what()) + "\n");
        return std::nullopt;
    }
    catch (const CLI::ParseError& error)
    {
        throw ClientError(ExitStatus::Usage, Wide(error.what()) + L" (--help lists the options)");
    }
    return Convert(raw);
}
