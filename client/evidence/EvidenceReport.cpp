#include "client/evidence/EvidenceReport.h"

#include "client/base/Text.h"
#include "client/evidence/EvidenceFolder.h"
#include "client/evidence/ExitMeaning.h"
#include "client/evidence/ProcessDump.h"
#include "OrvProfiler/foundation/SystemFunction.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/protocol/ClientId.h"
#include "OrvProfiler/security/VersionRecord.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

namespace
{
constexpr std::string_view c_runtimeMark = "runtime: ";
constexpr std::string_view c_assemblyMark = "assembly: ";
constexpr std::string_view c_commandMark = "command: ";
constexpr std::string_view c_methodMark = "method: ";
constexpr std::string_view c_calledMark = "which called: ";

// Without the mark; those that stand there several times once.
std::vector<std::wstring> LinesWith(std::string_view text, std::string_view mark)
{
    std::vector<std::wstring> lines;
    while (!text.empty())
    {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.substr(0, mark.size()) != mark)
            continue;
        const std::wstring told = FromProgramOutput(line.substr(mark.size()));
        if (std::find(lines.begin(), lines.end(), told) == lines.end())
            lines.push_back(told);
    }
    return lines;
}

std::wstring FirstWith(std::string_view text, std::string_view mark)
{
    const std::vector<std::wstring> lines = LinesWith(text, mark);
    return lines.empty() ? std::wstring() : lines.front();
}

std::wstring Now()
{
    SYSTEMTIME now{};
    GetSystemTime(&now);
    return FormatSlot(L"%04u-%02u-%02u %02u:%02u:%02u UTC", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute,
                      now.wSecond);
}

// The system tells its true version only so.
std::wstring SystemText()
{
    const HMODULE ntdll = GetModuleHandleW(L"ntdll");
    const SystemFunction<LONG(OSVERSIONINFOW*)> getVersion(ntdll, "RtlGetVersion");
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (getVersion == nullptr || getVersion(&version) != 0)
        return L"Windows";
    std::wstring text =
        FormatSlot(L"Windows %u.%u, build %u", version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber);
    const SystemFunction<const char*()> wineVersion(ntdll, "wine_get_version");
    return wineVersion == nullptr ? text : text + L" (Wine " + FromProgramOutput(wineVersion()) + L")";
}

std::wstring ProgramText(const LostCall& lost)
{
    if (lost.program.empty())
        return L"started by somebody else";
    const TString version = CVersionRecord(lost.program.c_str()).ProductVersion();
    return lost.program + (version.GetLength() == 0 ? L"" : L", version ") + static_cast<const wchar_t*>(version);
}

std::wstring MethodText(const LostCall& lost)
{
    const std::wstring method = FirstWith(lost.told, c_methodMark);
    const std::wstring called = FirstWith(lost.told, c_calledMark);
    if (!method.empty())
        return called.empty() ? method : method + L", which called " + called;
    if (lost.command.empty())
        return L"none: no command was under way";
    return L"the one that the command names; what that had called, nobody could say any more";
}

std::wstring EndText(const LostCall& lost)
{
    if (lost.exitCode)
        return L"gone: " + ExitCodeText(*lost.exitCode, lost.wasInCommand);
    return L"was there, and was looked at";
}

class ReportText
{
public:
    void Line(const std::wstring& text = {}) { m_text += text + L"\r\n"; }
    void Field(const wchar_t* name, const std::wstring& value) { Line(FormatSlot(L"%-10s ", name) + value); }
    void File(const wchar_t* name, const std::wstring& content) { Line(FormatSlot(L"  %-14s ", name) + content); }
    std::string Utf8() const { return ToUtf8(m_text); }

private:
    std::wstring m_text;
};

void AddWhatHappened(ReportText& report, const LostCall& lost)
{
    report.Line(L"A call to the workbench was lost: " + lost.message);
    report.Line();
    report.Field(L"When", Now());
    if (!lost.command.empty())
    {
        report.Field(L"Command", lost.command + (lost.where.empty() ? L"" : L" (" + lost.where + L")"));
        report.Field(L"Ran for", FormatSlot(L"%.3f s", lost.commandSeconds));
    }
    report.Field(L"Method", MethodText(lost));
    report.Field(L"Process", std::to_wstring(lost.workbenchId) + L" of client " + ClientIdText(lost.clientId).Get() +
                                 L", " + EndText(lost));
    report.Field(L"Program", ProgramText(lost));
    report.Field(L"Client", L"OrvClient " + *FromUtf8(ORV_VERSION));
    report.Field(L"System", SystemText());
    const std::wstring runtime = FirstWith(lost.told, c_runtimeMark);
    report.Field(L"Runtime", runtime.empty() ? L"not known: no command had reached the dispatcher" : runtime);
}

void AddAssemblies(ReportText& report, const LostCall& lost)
{
    report.Line();
    report.Line(L"Loaded assemblies");
    for (const std::wstring& line : LinesWith(lost.told, c_assemblyMark))
    {
        const size_t tab = line.find(L'\t');
        report.Line(L"  " + line.substr(0, tab));
        if (tab != std::wstring::npos && tab + 1 < line.size())
            report.Line(L"    " + line.substr(tab + 1));
    }
}

void AddLogEnd(ReportText& report, const LostCall& lost)
{
    report.Line();
    report.Line(lost.noLog.empty() ? L"The trace log ends with" : L"There is no trace log: " + lost.noLog);
    for (const std::wstring& line : lost.logEnd)
        report.Line(L"  " + line);
}

void AddContents(ReportText& report, const LostCall& lost)
{
    report.Line();
    report.Line(L"This folder holds");
    if (lost.hasStacks)
        report.File(c_evidenceStacksFile, L"what each managed thread was doing");
    if (lost.noDump.empty())
        report.File(c_evidenceDumpFile, L"a minidump: threads and stacks, modules, handles. " + DumpGap());
    else
        report.File(L"(no dump)", lost.noDump);
    if (lost.noLog.empty())
        report.File(c_evidenceLogFile, L"the workbench's trace log of this run");
    if (lost.hasOutput)
        report.File(c_evidenceOutputFile, L"what was printed in this run, at most the last million characters");
    report.Line();
    report.Line(L"Before you pass it on: it holds the texts of commands, what the called code printed, names and");
    report.Line(L"paths of your files and assemblies, and what lay on the threads' stacks. Nothing of it was sent");
    report.Line(L"anywhere.");
}
} // namespace

std::string StacksOf(const std::string& told)
{
    const size_t start =
        told.compare(0, c_commandMark.size(), c_commandMark) == 0 ? 0 : told.find("\n" + std::string(c_commandMark));
    if (start == std::string::npos)
        return {};
    return told.substr(start == 0 ? 0 : start + 1);
}

std::string EvidenceReportText(const LostCall& lost)
{
    ReportText report;
    AddWhatHappened(report, lost);
    AddAssemblies(report, lost);
    AddLogEnd(report, lost);
    AddContents(report, lost);
    return report.Utf8();
}
