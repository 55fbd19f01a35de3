#include "client/Console.h"

#include "client/ClientError.h"
#include "client/Text.h"

#include <windows.h>

#include <cstring>
#include <thread>
#include <utility>
#include <vector>

namespace
{
constexpr DWORD c_endGraceMs = 15000;

bool IsConsoleHandle(HANDLE handle) noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != FALSE;
}

[[noreturn]] void ThrowNotText(const std::wstring& where)
{
    throw ClientError(ExitStatus::Usage, where + L" is not UTF-8 text");
}

void StripLineEnd(std::string& line)
{
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
}
} // namespace

TextStream::TextStream(DWORD standardHandle)
    : m_handle(GetStdHandle(standardHandle)), m_isConsole(IsConsoleHandle(m_handle))
{
}

TextStream& TextStream::Out()
{
    static TextStream stream(STD_OUTPUT_HANDLE);
    return stream;
}

TextStream& TextStream::Error()
{
    static TextStream stream(STD_ERROR_HANDLE);
    return stream;
}

void TextStream::Write(std::wstring_view text)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    DWORD written = 0;
    if (m_isConsole)
    {
        WriteConsoleW(m_handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        return;
    }
    const std::string bytes = ToUtf8(text);
    for (size_t done = 0; done < bytes.size(); done += written)
        if (WriteFile(m_handle, bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &written, nullptr) ==
                FALSE ||
            written == 0)
            return; // nobody reads it any more
}

bool IsInputConsole() noexcept
{
    return IsConsoleHandle(GetStdHandle(STD_INPUT_HANDLE));
}

namespace
{
// Reads the lines of a stream on a thread of its own, one ahead. The thread ends with the process.
class StandardInput : public LineSource
{
public:
    StandardInput()
        : m_handle(GetStdHandle(STD_INPUT_HANDLE)), m_isConsole(IsConsoleHandle(m_handle)),
          m_ready(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_wanted(CreateEventW(nullptr, FALSE, TRUE, nullptr))
    {
        std::thread([this] { Read(); }).detach();
    }

    HANDLE Ready() const noexcept override { return m_ready.Get(); }

    std::optional<std::wstring> Next() override
    {
        WaitForSingleObject(m_ready.Get(), INFINITE);
        ++m_lineNumber;
        if (m_isOver)
            return std::nullopt;
        std::optional<std::wstring> line = m_line;
        ResetEvent(m_ready.Get());
        SetEvent(m_wanted.Get());
        if (!line)
            ThrowNotText(L"line " + std::to_wstring(m_lineNumber) + L" of the standard input");
        return line;
    }

private:
    void Read()
    {
        while (WaitForSingleObject(m_wanted.Get(), INFINITE) == WAIT_OBJECT_0)
        {
            m_isOver = !(m_isConsole ? ReadConsoleLine() : ReadByteLine());
            SetEvent(m_ready.Get());
            if (m_isOver)
                return;
        }
    }

    bool ReadConsoleLine()
    {
        std::wstring line;
        wchar_t buffer[1024];
        while (line.empty() || line.back() != L'\n')
        {
            DWORD size = 0;
            if (ReadConsoleW(m_handle, buffer, 1024, &size, nullptr) == FALSE || size == 0)
                break;
            line.append(buffer, size);
        }
        constexpr wchar_t endOfInput = 0x1A;
        if (line.empty() || line.front() == endOfInput)
            return false;
        while (!line.empty() && (line.back() == L'\n' || line.back() == L'\r'))
            line.pop_back();
        m_line = std::move(line);
        return true;
    }

    bool ReadByteLine()
    {
        while (m_bytes.find('\n') == std::string::npos)
        {
            char buffer[4096];
            DWORD size = 0;
            if (ReadFile(m_handle, buffer, sizeof buffer, &size, nullptr) == FALSE || size == 0)
                break;
            m_bytes.append(buffer, size);
        }
        if (m_bytes.empty())
            return false;
        std::string line = m_bytes.substr(0, m_bytes.find('\n'));
        m_bytes.erase(0, line.size() + 1);
        if (std::exchange(m_isFirst, false) && line.rfind("\xEF\xBB\xBF", 0) == 0)
            line.erase(0, 3);
        StripLineEnd(line);
        m_line = FromUtf8(line);
        return true;
    }

    const HANDLE m_handle;
    const bool m_isConsole;
    UniqueHandle m_ready;
    UniqueHandle m_wanted;
    std::string m_bytes;
    bool m_isFirst = true;
    bool m_isOver = false;
    // Nothing when it is not text.
    std::optional<std::wstring> m_line;
    unsigned m_lineNumber = 0;
};

class LineList : public LineSource
{
public:
    explicit LineList(std::vector<std::wstring> lines) : m_lines(std::move(lines)) {}

    HANDLE Ready() const noexcept override { return nullptr; }

    std::optional<std::wstring> Next() override
    {
        if (m_next == m_lines.size())
            return std::nullopt;
        return m_lines[m_next++];
    }

private:
    std::vector<std::wstring> m_lines;
    size_t m_next = 0;
};

std::string ReadWholeFile(const std::wstring& path)
{
    const UniqueHandle file = UniqueHandle::FromFile(CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file)
        throw ClientError(ExitStatus::Usage, SystemFailure((path + L" cannot be read").c_str(), GetLastError()));
    std::string bytes;
    char buffer[65536];
    DWORD size = 0;
    while (ReadFile(file.Get(), buffer, sizeof buffer, &size, nullptr) != FALSE && size != 0)
        bytes.append(buffer, size);
    return bytes;
}

std::wstring DecodeScript(const std::string& bytes, const std::wstring& path)
{
    if (bytes.rfind("\xFF\xFE", 0) == 0)
    {
        std::wstring text((bytes.size() - 2) / sizeof(wchar_t), L'\0');
        std::memcpy(text.data(), bytes.data() + 2, text.size() * sizeof(wchar_t));
        return text;
    }
    const bool hasMark = bytes.rfind("\xEF\xBB\xBF", 0) == 0;
    auto text = FromUtf8(std::string_view(bytes).substr(hasMark ? 3 : 0));
    if (!text)
        ThrowNotText(path);
    return *text;
}
} // namespace

std::unique_ptr<LineSource> StandardInputLines()
{
    return std::make_unique<StandardInput>();
}

std::unique_ptr<LineSource> ListedLines(std::vector<std::wstring> lines)
{
    return std::make_unique<LineList>(std::move(lines));
}

std::unique_ptr<LineSource> FileLines(const std::wstring& path)
{
    const std::wstring text = DecodeScript(ReadWholeFile(path), path);
    std::vector<std::wstring> lines;
    size_t start = 0;
    while (start < text.size())
    {
        const size_t end = std::min(text.find(L'\n', start), text.size());
        std::wstring line = text.substr(start, end - start);
        while (!line.empty() && line.back() == L'\r')
            line.pop_back();
        lines.push_back(std::move(line));
        start = end + 1;
    }
    return ListedLines(std::move(lines));
}

namespace
{
HANDLE g_interrupt = nullptr;
HANDLE g_interruptDone = nullptr;

BOOL WINAPI OnConsoleControl(DWORD control)
{
    SetEvent(g_interrupt);
    // When the console goes, the process ends as soon as this function returns: leave the time to stop in order.
    if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT)
        WaitForSingleObject(g_interruptDone, c_endGraceMs);
    return TRUE;
}
} // namespace

InterruptEvent::InterruptEvent()
    : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_done(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    g_interrupt = m_event.Get();
    g_interruptDone = m_done.Get();
    SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

InterruptEvent::~InterruptEvent()
{
    SetConsoleCtrlHandler(OnConsoleControl, FALSE);
    SetEvent(m_done.Get());
}
