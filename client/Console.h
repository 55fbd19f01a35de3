#pragma once

#include "OrvProfiler/UniqueHandle.h"
#include "OrvProfiler/WinTypes.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One of the process's standard streams for text: a console shows it as it is, files and pipes get UTF-8.
class TextStream
{
public:
    static TextStream& Out();
    static TextStream& Error();

    // The text carries its own line ends, "\n". Complete when it returns. Any thread; one call's text stays together.
    void Write(std::wstring_view text);
    bool IsConsole() const noexcept { return m_isConsole; }

private:
    explicit TextStream(DWORD standardHandle);

    std::mutex m_lock;
    HANDLE m_handle;
    bool m_isConsole;
};

// Where the lines of commands come from.
class LineSource
{
public:
    virtual ~LineSource() = default;
    // An object that is signalled when Next will not block; null when it never does.
    virtual HANDLE Ready() const noexcept = 0;
    // The next line without its end; nothing after the last. Throws ClientError for a line that is not text.
    virtual std::optional<std::wstring> Next() = 0;
};

bool IsInputConsole() noexcept;
// The lines of the standard input, each as soon as it is there. A console's Ctrl-Z line ends it.
std::unique_ptr<LineSource> StandardInputLines();
std::unique_ptr<LineSource> ListedLines(std::vector<std::wstring> lines);
// The lines of a file in UTF-8 or, with its byte-order mark, UTF-16. Throws ClientError when it cannot be read.
std::unique_ptr<LineSource> FileLines(const std::wstring& path);

// An event that Ctrl-C and Ctrl-Break set, and the closing of the console, the user's logging off and the system's
// shutting down as well. One per process.
class InterruptEvent
{
public:
    InterruptEvent();
    ~InterruptEvent();
    InterruptEvent(const InterruptEvent&) = delete;
    InterruptEvent& operator=(const InterruptEvent&) = delete;

    HANDLE Handle() const noexcept { return m_event.Get(); }

private:
    UniqueHandle m_event;
    UniqueHandle m_done;
};
