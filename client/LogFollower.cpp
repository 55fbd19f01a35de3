#include "client/LogFollower.h"

#include "client/Text.h"
#include "client/TraceLog.h"

#include <windows.h>

#include <cstring>
#include <utility>

namespace
{
constexpr DWORD c_pollMs = 50;
constexpr size_t c_readSize = 65536;
constexpr wchar_t c_byteOrderMark = 0xFEFF;
} // namespace

LogFollower::LogFollower(Receiver receiver)
    : m_receiver(std::move(receiver)), m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
}

LogFollower::~LogFollower()
{
    Finish();
}

void LogFollower::OnDebugText(uint32_t processId, const std::string& text)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_source == Source::Undecided)
        m_debugTexts.push_back({processId, text});
    else if (m_source == Source::DebugOutput && processId == m_processId)
        ShowLine(FromProgramOutput(text));
}

void LogFollower::Begin(uint32_t processId, From from, bool hearsDebugger)
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_hasBegun = true;
        m_processId = processId;
        m_from = from;
        m_hearsDebugger = hearsDebugger;
    }
    m_thread = std::thread([this] { Serve(); });
}

void LogFollower::Finish()
{
    if (!m_thread.joinable())
        return;
    SetEvent(m_stop.Get());
    m_thread.join();
    CatchUp();
    m_file.Reset();
}

void LogFollower::CatchUp()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_hasBegun)
        Poll();
}

bool LogFollower::IsReadingFile()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_source == Source::File;
}

void LogFollower::Serve()
{
    do
        CatchUp();
    while (WaitForSingleObject(m_stop.Get(), c_pollMs) == WAIT_TIMEOUT);
}

void LogFollower::Poll()
{
    if (m_source == Source::Undecided)
    {
        if (OpenFile())
            m_source = Source::File;
        else
            UseDebugOutput();
        m_debugTexts.clear();
    }
    if (m_source == Source::File)
        ReadFile();
}

bool LogFollower::OpenFile()
{
    const UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, m_processId));
    UniqueHandle file = OpenTraceLog(process ? StartTimeOf(process.Get()) : 0);
    if (!file)
        return false;
    LARGE_INTEGER size{};
    if (m_from == From::Now && GetFileSizeEx(file.Get(), &size) != FALSE)
        m_position = static_cast<uint64_t>(size.QuadPart);
    m_file = std::move(file);
    return true;
}

void LogFollower::ReadFile()
{
    LARGE_INTEGER size{};
    if (GetFileSizeEx(m_file.Get(), &size) == FALSE)
        return;
    if (static_cast<uint64_t>(size.QuadPart) < m_position)
    {
        // Another workbench has begun the file anew.
        m_position = 0;
        m_bytes.clear();
    }
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

void LogFollower::UseDebugOutput()
{
    m_source = Source::DebugOutput;
    if (!m_hearsDebugger)
        m_receiver(L"(cannot be shown: the file cannot be read, and another program takes the debugger output)");
    for (const DebugText& early : m_debugTexts)
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
