#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <mutex>
#include <string_view>

// One of the process's standard streams for text: a console shows it as it is, files and pipes get UTF-8. Any thread;
// the text of one call stays together and has been handed over when the call returns. A reader that is gone is no
// failure.
class TextStream
{
public:
    static TextStream& Out();
    static TextStream& Error();
    TextStream(const TextStream&) = delete;
    TextStream& operator=(const TextStream&) = delete;

    // The text carries its own line ends, "\n".
    void Write(std::wstring_view text);
    void WriteUtf8(std::string_view text);

private:
    explicit TextStream(DWORD standardHandle);

    void WriteBytes(std::string_view bytes);

    std::mutex m_lock;
    HANDLE m_handle;
    bool m_isConsole;
};
