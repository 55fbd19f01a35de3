#include "client/CommandLine.h"

#include "client/ClientError.h"
#include "client/Console.h"
#include "client/Text.h"

#include <windows.h>

#include <algorithm>
#include <CLI/CLI.hpp>

namespace
{
constexpr double c_millisecondsPerSecond = 1000;
// The longest limit that the system's waits take.
constexpr double c_longestLimitSeconds = 4294967;

std::wstring ProgramBesideThis()
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path.substr(0, path.find_last_of(L'\\') + 1) + L"OrvWorkBench64.exe";
}

std::wstring FullPath(const std::wstring& path)
{
    std::wstring full(32768, L'\0');
    const DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    full.resize(length);
    return length != 0 ? full : path;
}

uint32_t LimitOf(double seconds)
{
    return seconds == 0 ? TimeLimits::c_noLimit : static_cast<uint32_t>(seconds * c_millisecondsPerSecond);
}

std::wstring Wide(const std::string& text)
{
    return FromUtf8(text).value_or(std::wstring());
}

struct RawOptions
{
    std::vector<std::string> commands;
    std::string script;
    std::string program;
    bool keepGoing = false;
    bool json = false;
    double readySeconds = 30;
    double commandSeconds = 60;
    double stopSeconds = 10;
};

void Define(CLI::App& app, RawOptions& raw)
{
    app.allow_windows_style_options(false);
    app.add_option("commands", raw.commands, "Commands to run, one argument each");
    app.add_option("-s,--script", raw.script, "File of commands, one per line; - is the standard input");
    app.add_option("-w,--workbench", raw.program, "The workbench program (OrvWorkBench64.exe beside this one)");
    app.add_flag("-k,--keep-going", raw.keepGoing, "Go on after a command that failed");
    app.add_flag("--json", raw.json, "Print one JSON object per line");
    const auto range = CLI::Range(0.0, c_longestLimitSeconds);
    app.add_option("--ready-timeout", raw.readySeconds, "Seconds until the workbench is ready, 0 for no limit")
        ->check(range)
        ->capture_default_str();
    app.add_option("-t,--timeout", raw.commandSeconds, "Seconds until a command's final response, 0 for no limit")
        ->check(range)
        ->capture_default_str();
    app.add_option("--stop-timeout", raw.stopSeconds, "Seconds until the workbench has stopped, 0 for no limit")
        ->check(range)
        ->capture_default_str();
}

Options Convert(const RawOptions& raw)
{
    Options options;
    std::transform(raw.commands.begin(), raw.commands.end(), std::back_inserter(options.commands), Wide);
    options.script = Wide(raw.script);
    options.program = raw.program.empty() ? ProgramBesideThis() : FullPath(Wide(raw.program));
    options.keepGoing = raw.keepGoing;
    options.json = raw.json;
    options.limits.readyMs = LimitOf(raw.readySeconds);
    options.limits.commandMs = LimitOf(raw.commandSeconds);
    options.limits.stopMs = LimitOf(raw.stopSeconds);
    return options;
}
} // namespace

std::optional<Options> ParseCommandLine(int argc, wchar_t** argv)
{
    CLI::App app("Drives the managed workbench", "OrvClient");
    RawOptions raw;
    Define(app, raw);
    std::vector<std::string> arguments;
    for (int i = argc; --i > 0;)
        arguments.push_back(ToUtf8(argv[i]));
    try
    {
        app.parse(std::move(arguments));
    }
    catch (const CLI::CallForHelp&)
    {
        TextStream::Out().Write(Wide(app.help()));
        return std::nullopt;
    }
    catch (const CLI::ParseError& error)
    {
        throw ClientError(ExitStatus::Usage, Wide(error.what()) + L" (--help lists the options)");
    }
    return Convert(raw);
}
