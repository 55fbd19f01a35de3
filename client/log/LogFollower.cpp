#include "client/log/LogFollower.h"

#include "client/base/Text.h"
#include "client/log/TraceLogFile.h"
#include "client/process/StartTime.h"
#include "OrvProfiler/protocol/WorkbenchFiles.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <utility>

namespace
{
constexpr DWORD c_pollMs = 50;
constexpr size_t c_readSize = 65536;
constexpr wchar_t c_byteOrderMark = 0xFEFF;
} // namespace

bool LogFollower::CanReadFile()
{
    // The log's own folder and the way in which the workbench opens it.
    const std::wstring log = c_traceLogPath;
    const std::wstring probe =
        log.substr(0, log.find_last_of(L'\\') + 1) + L"OrvClient-" + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    std::FILE* writer = nullptr;
    if (_wfopen_s(&writer, probe.c_str(), L"w") != 0)
        return false;
    const bool isReadable = static_cast<bool>(OpenShared(probe.c_str()));
    static_cast<void>(std::fclose(writer));
    DeleteFileW(probe.c_str());
    // Another program may have the log itself open, and keep others out.
    return isReadable && (OpenShared(log.c_str()) || GetLastError() == ERROR_FILE_NOT_FOUND);
}

LogFollower::LogFollower(Receiver receiver, bool readsFile)
    : m_receiver(std::move(receiver)), m_readsFile(readsFile), m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
}

LogFollower::~LogFollower()
{
    Finish();
}

void LogFollower::OnDebugText(uint32_t processId, const std::string& text)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_readsFile)
        return;
    if (m_processId == 0)
        m_earlyTexts.push_back({processId, text});
    else if (processId == m_processId)
        ShowLine(FromProgramOutput(text));
}

bool LogFollower::Begin(uint32_t processId, uint32_t clientId, From from)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_processId = processId;
    m_from = from;
    if (!m_readsFile)
    {
        ShowEarlyTexts();
        return true;
    }
    if (!OpenFile(clientId))
        return false;
    m_thread = std::thread([this] { Serve(); });
    return true;
}

void LogFollower::Finish()
{
    if (m_thread.joinable())
    {
        SetEvent(m_stop.Get());
        m_thread.join();
    }
    CatchUp();
    m_file.Reset();
}

void LogFollower::CatchUp()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_file)
        ReadFile();
}

void LogFollower::Serve()
{
    do
        CatchUp();
    while (WaitForSingleObject(m_stop.Get(), c_pollMs) == WAIT_TIMEOUT);
}

bool LogFollower::OpenFile(uint32_t clientId)
{
    const UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, m_processId));
    m_file = OpenTraceLog(process ? StartTimeOf(process.Get()) : 0);
    // Of several workbenches only the first has the file.
    if (m_file && !IsTraceLogOf(m_file.Get(), clientId))
        m_file.Reset();
    LARGE_INTEGER size{};
    if (m_file && m_from == From::Now && GetFileSizeEx(m_file.Get(), &size) != FALSE)
        m_position = static_cast<uint64_t>(size.QuadPart);
    return static_cast<bool>(m_file);
}

void LogFollower::ReadFile()
{
    LARGE_INTEGER size{};
    if (GetFileSizeEx(m_file.Get(), &size) == FALSE)
        return;
    // Another workbench has begun the file anew, which only Wine lets it do.
    if (static_cast<uint64_t>(size.QuadPart) < m_position)
        return m_file.Reset();
    std::string chunk(c_readSize, '\0');
    for (;;)
    {
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(m_position);
        place.OffsetHigh = static_cast<DWORD>(m_position >> 32);
        DWORD taken = 0;
        if (::ReadFile(m_file.Get(), chunk.data(), c_readSize, &taken, &place) == FALSE || taken == 0)
            break;
        m_position += taken;
        m_bytes.append(chunk, 0, taken);
    }
    ShowBytes();
}

// Shows the lines that are complete.
void LogFollower::ShowBytes()
{
    std::wstring text(m_bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), m_bytes.data(), text.size() * sizeof(wchar_t));
    size_t start = 0;
    for (size_t end = text.find(L'\n'); end != std::wstring::npos; end = text.find(L'\n', start))
    {
        ShowLine(text.substr(start, end - start));
        start = end + 1;
    }
    m_bytes.erase(0, start * sizeof(wchar_t));
}

void LogFollower::ShowEarlyTexts()
{
    for (const DebugText& early : std::exchange(m_earlyTexts, {}))
        if (early.processId == m_processId && m_from == From::Start)
            ShowLine(FromProgramOutput(early.text));
}

void LogFollower::ShowLine(std::wstring line)
{
    if (!line.empty() && line.front() == c_byteOrderMark)
        line.erase(0, 1);
    while (!line.empty() && (line.back() == L'\r' || line.back() == L'\n'))
        line.pop_back();
    if (!line.empty())
        m_receiver(line);
}
