#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <mutex>
#include <string_view>

// One of the process's standard streams, for text: a console shows it as it is, files and pipes get UTF-8. Any
// thread. The text of one call is not mixed with another's, and has been written when the call returns. When the
// reader of the standard output has gone the process ends at once, with ExitStatus::OutputClosed: nobody is left to
// work for. Any other failure to write is not told.
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
    TextStream(DWORD standardHandle, bool endsProcess);

    void WriteBytes(std::string_view bytes);
    void OnFailure(DWORD error) const noexcept;

    std::mutex m_lock;
    HANDLE m_handle;
    bool m_isConsole;
    bool m_endsProcess;
};
