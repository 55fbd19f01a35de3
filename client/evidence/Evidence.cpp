#include "client/evidence/Evidence.h"

#include "client/base/SystemFailure.h"
#include "client/base/Text.h"
#include "client/evidence/Hints.h"
#include "client/evidence/ProcessDump.h"
#include "client/log/TraceLogFile.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace
{
constexpr size_t c_logLinesInReport = 10;
constexpr double c_millisecondsPerSecond = 1000;

// What is kept of a log is its end.
constexpr int64_t c_keptLogBytes = 4 << 20;

std::string LogBytes(HANDLE file)
{
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file, &size) == FALSE)
        return {};
    // A unit is two bytes long.
    const int64_t start = std::max<int64_t>(size.QuadPart - c_keptLogBytes, 0) & ~int64_t{1};
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(start);
    place.OffsetHigh = static_cast<DWORD>(start >> 32);
    std::string bytes(static_cast<size_t>(size.QuadPart - start), '\0');
    DWORD read = 0;
    if (ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, &place) == FALSE)
        read = 0;
    bytes.resize(read);
    // What begins in the middle lacks the mark of its encoding.
    return start == 0 ? bytes : "\xFF\xFE" + bytes;
}

std::wstring TextOf(const std::string& utf16)
{
    std::wstring text(utf16.size() / sizeof(wchar_t), L'\0');
    std::copy_n(utf16.begin(), text.size() * sizeof(wchar_t), reinterpret_cast<char*>(text.data()));
    return text;
}
} // namespace

Evidence::Evidence(std::wstring place, std::wstring program, uint32_t clientId, WitnessFile witness)
    : m_place(std::move(place)), m_program(std::move(program)), m_clientId(clientId), m_witness(std::move(witness))
{
}

EnvironmentEntry Evidence::Variable() const
{
    return {c_witnessFileVariable, m_witness.Path()};
}

void Evidence::OnCommand(std::wstring command, std::wstring where)
{
    m_command = std::move(command);
    m_where = std::move(where);
    m_commandStart = GetTickCount64();
}

void Evidence::OnOutput(const std::wstring& line)
{
    if (m_output.size() + line.size() > c_keptOutput / 2)
        m_olderOutput = std::exchange(m_output, {});
    m_output.append(line, 0, c_keptOutput / 2).append(L"\r\n");
}

double Evidence::CommandSeconds() const noexcept
{
    return static_cast<double>(GetTickCount64() - m_commandStart) / c_millisecondsPerSecond;
}

EvidenceFolder& Evidence::Folder(uint32_t processId)
{
    if (m_folder == nullptr)
        m_folder = std::make_unique<EvidenceFolder>(m_place, processId);
    return *m_folder;
}

void Evidence::LookAt(HANDLE process, uint32_t processId, uint32_t stacksLimitMs)
{
    if (m_lookedAfter)
        return;
    m_lookedAfter = CommandSeconds();
    m_witness.Ask(process, stacksLimitMs);
    WriteDump(process, processId);
}

void Evidence::WriteDump(HANDLE process, uint32_t processId)
{
    const EvidenceFolder& folder = Folder(processId);
    if (folder.Path().empty())
        return;
    // The handle of somebody else's workbench has not the rights that are needed.
    const UniqueHandle opened(
        OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ | PROCESS_DUP_HANDLE, FALSE, processId));
    m_noDump = {};
    {
        const UniqueHandle file = folder.Create(c_evidenceDumpFile);
        m_noDump = file ? ::WriteDump(opened ? opened.Get() : process, processId, file.Get())
                        : SystemFailure(L"its file cannot be made", GetLastError());
    }
    if (!m_noDump.empty())
        folder.Remove(c_evidenceDumpFile);
}

Evidence::Left Evidence::Leave(const End& end)
{
    const EvidenceFolder& folder = Folder(end.processId);
    if (folder.Path().empty())
        return {L"", folder.Failure()};
    LostCall lost;
    lost.message = end.message;
    lost.command = m_command;
    lost.where = m_where;
    lost.commandSeconds = m_lookedAfter.value_or(CommandSeconds());
    lost.workbenchId = end.processId;
    lost.clientId = m_clientId;
    lost.program = m_program;
    lost.exitCode = end.exitCode;
    lost.wasInCommand = !m_command.empty();
    lost.told = m_witness.Told();
    lost.noDump = m_noDump;
    const std::string stacks = StacksOf(lost.told);
    lost.hasStacks = !stacks.empty() && folder.Write(c_evidenceStacksFile, stacks);
    LeaveLog(lost, end);
    LeaveOutput(lost);
    if (!folder.Write(c_evidenceReportFile, EvidenceReportText(lost)))
        return {L"", SystemFailure(folder.Path() + c_evidenceReportFile + L" cannot be written", GetLastError())};
    return {folder.Path(), L""};
}

void Evidence::LeaveLog(LostCall& lost, const End& end)
{
    const UniqueHandle file = OpenTraceLog(end.startTime);
    const DWORD error = GetLastError();
    std::string bytes;
    if (file && IsTraceLogOf(file.Get(), m_clientId))
        bytes = LogBytes(file.Get());
    else if (!end.debugOutput.empty())
        bytes = "\xFF\xFE" + std::string(reinterpret_cast<const char*>(end.debugOutput.data()),
                                         end.debugOutput.size() * sizeof(wchar_t));
    else
        lost.noLog =
            file ? std::wstring(L"the file is of another run") : SystemFailure(L"the file cannot be read", error);
    lost.logEnd = LastLines(TextOf(bytes), c_logLinesInReport);
    if (!bytes.empty() && !m_folder->Write(c_evidenceLogFile, bytes))
        lost.noLog = SystemFailure(L"its copy cannot be written", GetLastError());
}

void Evidence::LeaveOutput(LostCall& lost)
{
    const std::wstring output = m_olderOutput + m_output;
    lost.hasOutput = !output.empty() && m_folder->Write(c_evidenceOutputFile, ToUtf8(output));
}
