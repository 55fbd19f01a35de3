#include "client/evidence/Hints.h"

#include "client/base/Folders.h"
#include "client/evidence/ExitMeaning.h"
#include "client/log/TraceLogFile.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/protocol/WorkbenchFiles.h"

#include <windows.h>

namespace
{
constexpr size_t c_shownLogLines = 5;

std::wstring LogFolder()
{
    std::wstring folder = FolderOf(c_traceLogPath);
    folder.pop_back();
    return folder;
}

bool Exists(const std::wstring& path) noexcept
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::wstring DispatcherOf(const std::wstring& program)
{
    return FolderOf(program) + std::wstring(ProgramBaseName(program)) + c_dispatcherExtension;
}

std::wstring ReadLogTail(const LostWorkbench& lost)
{
    const UniqueHandle file = OpenTraceLog(lost.startTime);
    LARGE_INTEGER size{};
    if (!file || GetFileSizeEx(file.Get(), &size) == FALSE || !IsTraceLogOf(file.Get(), lost.clientId))
        return {};
    constexpr LONGLONG partBytes = c_tracePartUnits * sizeof(wchar_t);
    // A unit is two bytes long: an odd end is a unit under way.
    return TracePart(file.Get(), size.QuadPart > partBytes ? (size.QuadPart - partBytes) & ~1LL : 0);
}
} // namespace

std::vector<std::wstring> LastLines(const std::wstring& text, size_t count)
{
    constexpr const wchar_t* between = L"\r\n\xFEFF";
    std::vector<std::wstring> lines;
    size_t end = text.find_last_not_of(between);
    while (end != std::wstring::npos && lines.size() < count)
    {
        const size_t before = text.find_last_of(between, end);
        const size_t start = before == std::wstring::npos ? 0 : before + 1;
        lines.insert(lines.begin(), text.substr(start, end + 1 - start));
        end = before == std::wstring::npos ? before : text.find_last_not_of(between, before);
    }
    return lines;
}

std::vector<std::wstring> HintsAfterLoss(const LostWorkbench& lost)
{
    std::vector<std::wstring> hints;
    if (lost.exitCode)
        hints.push_back(ExitCodeText(*lost.exitCode, lost.wasInCommand));
    if (!lost.program.empty() && !Exists(DispatcherOf(lost.program)))
        hints.push_back(L"the managed dispatcher is missing: " + DispatcherOf(lost.program));
    const std::vector<std::wstring> lines = LastLines(ReadLogTail(lost), c_shownLogLines);
    if (!lines.empty())
        hints.push_back(L"the trace log " + std::wstring(c_traceLogPath) + L" ends with:");
    else if (Exists(LogFolder()))
        hints.push_back(L"the trace log " + std::wstring(c_traceLogPath) + L" cannot be read, or is of another run");
    else
        hints.push_back(L"there is no trace log; it is written when the folder " + LogFolder() + L" exists");
    for (const std::wstring& line : lines)
        hints.push_back(L"  " + line);
    return hints;
}

std::wstring HintForSilentFailure()
{
    return std::wstring(L"the dispatcher printed nothing; the trace log ") + c_traceLogPath +
           L" tells whether it could be called";
}
