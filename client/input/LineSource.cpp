#include "client/input/LineSource.h"

#include "client/base/SystemFailure.h"
#include "client/base/Text.h"
#include "client/console/ClientError.h"
#include "client/console/IsConsole.h"
#include "client/console/TextStream.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <thread>
#include <utility>

namespace
{
constexpr std::string_view c_utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view c_utf16Mark = "\xFF\xFE";

bool StartsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

template <class Text>
void StripLineEnd(Text& line)
{
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
}

// Reads one line at a time, on a thread of its own. Nothing can wake that thread from a read, so it shares the
// ownership of this object and ends with the process.
class InputReader
{
public:
    InputReader() : m_handle(GetStdHandle(STD_INPUT_HANDLE)), m_isConsole(IsConsole(m_handle)) {}

    HANDLE Ready() const noexcept { return m_ready.Get(); }

    void Run()
    {
        do
        {
            WaitForSingleObject(m_wanted.Get(), INFINITE);
            m_isOver = !(m_isConsole ? ReadConsoleLine() : ReadByteLine());
            SetEvent(m_ready.Get());
        } while (!m_isOver);
    }

    // Asks for a line, unless one was asked for and not taken.
    void Begin()
    {
        if (!std::exchange(m_isBegun, true))
            SetEvent(m_wanted.Get());
    }

    // Waits until there is the line that was asked for. False at the end of the input, from then on. No line: it is
    // not text.
    bool Take(std::optional<std::wstring>& line)
    {
        WaitForSingleObject(m_ready.Get(), INFINITE);
        if (m_isOver)
            return false;
        line = std::move(m_line);
        m_isBegun = false;
        ResetEvent(m_ready.Get());
        return true;
    }

private:
    bool ReadConsoleLine()
    {
        std::wstring line;
        wchar_t buffer[1024];
        DWORD size = 0;
        while ((line.empty() || line.back() != L'\n') &&
               ReadConsoleW(m_handle, buffer, static_cast<DWORD>(std::size(buffer)), &size, nullptr) != FALSE &&
               size != 0)
            line.append(buffer, size);
        constexpr wchar_t endOfInput = 0x1A;
        if (line.empty() || line.front() == endOfInput)
            return false;
        StripLineEnd(line);
        m_line = std::move(line);
        return true;
    }

    bool ReadByteLine()
    {
        char buffer[4096];
        DWORD size = 0;
        while (m_bytes.find('\n') == std::string::npos &&
               ReadFile(m_handle, buffer, sizeof buffer, &size, nullptr) != FALSE && size != 0)
            m_bytes.append(buffer, size);
        if (m_bytes.empty())
            return false;
        std::string line = m_bytes.substr(0, m_bytes.find('\n'));
        m_bytes.erase(0, line.size() + 1);
        if (std::exchange(m_isFirst, false) && StartsWith(line, c_utf8Mark))
            line.erase(0, c_utf8Mark.size());
        StripLineEnd(line);
        m_line = FromUtf8(line);
        return true;
    }

    const HANDLE m_handle;
    const bool m_isConsole;
    // While m_ready is set, m_line and m_isOver belong to the user; otherwise to the thread.
    const UniqueHandle m_ready{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    const UniqueHandle m_wanted{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::optional<std::wstring> m_line;
    bool m_isOver = false;
    std::string m_bytes;
    bool m_isFirst = true;
    // The user's.
    bool m_isBegun = false;
};

class StandardInput : public LineSource
{
public:
    explicit StandardInput(bool prompts) : m_prompts(prompts)
    {
        std::thread([reader = m_reader] { reader->Run(); }).detach();
    }

    // A console that is read before the prompt stands there would show what is typed in its place.
    void Begin() override
    {
        if (m_prompts)
            TextStream::Out().Write(c_prompt, TextStyle::Prompt);
        m_reader->Begin();
    }

    HANDLE Ready() const noexcept override { return m_reader->Ready(); }

    LineState Next(ScriptLine& line) override
    {
        std::optional<std::wstring> text;
        if (!m_reader->Take(text))
            return LineState::Ended;
        const std::wstring where = L"input:" + std::to_wstring(++m_lineNumber);
        if (!text)
            throw ClientError(ExitStatus::Usage, where + L": this line is not UTF-8 text");
        line = {*std::move(text), where};
        return LineState::Taken;
    }

private:
    const bool m_prompts;
    std::shared_ptr<InputReader> m_reader = std::make_shared<InputReader>();
    unsigned m_lineNumber = 0;
};

class LineList : public LineSource
{
public:
    explicit LineList(std::vector<ScriptLine> lines) : m_lines(std::move(lines)) {}

    HANDLE Ready() const noexcept override { return nullptr; }

    LineState Next(ScriptLine& line) override
    {
        if (m_next == m_lines.size())
            return LineState::Ended;
        line = m_lines[m_next++];
        return LineState::Taken;
    }

private:
    std::vector<ScriptLine> m_lines;
    size_t m_next = 0;
};

std::string ReadWholeFile(const std::wstring& path)
{
    const UniqueHandle file = UniqueHandle::FromFile(CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    const DWORD error = GetLastError();
    if (!file)
        throw ClientError(ExitStatus::Usage, SystemFailure(path + L" cannot be read", error));
    std::string bytes;
    char buffer[65536];
    DWORD size = 0;
    while (ReadFile(file.Get(), buffer, sizeof buffer, &size, nullptr) != FALSE && size != 0)
        bytes.append(buffer, size);
    return bytes;
}

std::optional<std::wstring> DecodeScript(std::string_view bytes)
{
    if (StartsWith(bytes, c_utf8Mark))
        return FromUtf8(bytes.substr(c_utf8Mark.size()));
    if (!StartsWith(bytes, c_utf16Mark))
        return FromUtf8(bytes);
    bytes.remove_prefix(c_utf16Mark.size());
    if (bytes.size() % sizeof(wchar_t) != 0)
        return std::nullopt;
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), bytes.size());
    return text;
}
} // namespace

std::unique_ptr<LineSource> StandardInputLines(bool prompts)
{
    return std::make_unique<StandardInput>(prompts);
}

std::unique_ptr<LineSource> ListedLines(std::vector<ScriptLine> lines)
{
    return std::make_unique<LineList>(std::move(lines));
}

std::vector<ScriptLine> ReadScript(const std::wstring& path)
{
    const std::optional<std::wstring> text = DecodeScript(ReadWholeFile(path));
    if (!text)
        throw ClientError(ExitStatus::Usage, path + L" is neither UTF-8 nor UTF-16 text");
    std::vector<ScriptLine> lines;
    size_t start = 0;
    while (start < text->size())
    {
        const size_t end = std::min(text->find(L'\n', start), text->size());
        std::wstring line = text->substr(start, end - start);
        StripLineEnd(line);
        lines.push_back({std::move(line), path + L":" + std::to_wstring(lines.size() + 1)});
        start = end + 1;
    }
    return lines;
}
