#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <string_view>

// What a text is, which gives it its colour.
enum class TextStyle
{
    Plain,
    Prompt,
    Quiet,
    Good,
    Warning,
    Bad,
};

enum class ColourUse
{
    // On a console, unless the environment has a NO_COLOR that is not empty.
    Automatic,
    // A file or a pipe gets escape sequences.
    Always,
    Never,
};

// One of the process's standard streams, for text: a console shows it as it is, files and pipes get UTF-8. Any
// thread. The text of one call is not mixed with another's, and has been written when the call returns. When the
// reader of the standard output has gone the process ends at once, with ExitStatus::OutputClosed: nobody is left to
// work for. Any other failure to write is not told.
//
// On a console there can be a status: a last line that is shown below everything that is written meanwhile, by both
// streams.
class TextStream
{
public:
    static TextStream& Out();
    static TextStream& Error();
    TextStream(const TextStream&) = delete;
    TextStream& operator=(const TextStream&) = delete;

    // For both streams. Automatic before the first call.
    static void UseColour(ColourUse use) noexcept;

    bool IsConsole() const noexcept { return m_isConsole; }

    // The text carries its own line ends, "\n".
    void Write(std::wstring_view text, TextStyle style = TextStyle::Plain);
    void WriteUtf8(std::string_view text);

    // Shows that status instead of the last one, as much of it as fits on a line; none when it is empty. The cursor
    // has to stand at the start of a line when the first one is shown. Nothing where this stream is no console.
    void SetStatus(std::wstring_view text);

private:
    TextStream(DWORD standardHandle, bool endsProcess);

    bool IsColoured() const noexcept;
    void WriteToConsole(std::wstring_view text, TextStyle style) const noexcept;
    void WriteBytes(std::string_view bytes);
    void OnFailure(DWORD error) const noexcept;

    HANDLE m_handle;
    bool m_isConsole;
    bool m_endsProcess;
    // The console's own colours.
    uint16_t m_attributes = 0;
};
