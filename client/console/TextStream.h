#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <mutex>
#include <string_view>

// One of the process's standard streams, for text: a console shows it as it is, files and pipes get UTF-8. Any
// thread. The text of one call is not mixed with another's, and has been written when the call returns. A failure to
// write, as when the reader of a pipe has gone, is not told.
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
