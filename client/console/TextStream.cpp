#include "client/console/TextStream.h"

#include "client/base/Text.h"
#include "client/console/ExitStatus.h"
#include "client/console/IsConsole.h"

#include <windows.h>

#include <algorithm>
#include <string>

namespace
{
// What a console takes in one call.
constexpr size_t c_consoleChunk = 8192;
} // namespace

TextStream::TextStream(DWORD standardHandle, bool endsProcess)
    : m_handle(GetStdHandle(standardHandle)), m_isConsole(IsConsole(m_handle)), m_endsProcess(endsProcess)
{
}

TextStream& TextStream::Out()
{
    static TextStream stream(STD_OUTPUT_HANDLE, true);
    return stream;
}

TextStream& TextStream::Error()
{
    static TextStream stream(STD_ERROR_HANDLE, false);
    return stream;
}

void TextStream::Write(std::wstring_view text)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_isConsole)
    {
        WriteBytes(ToUtf8(text));
        return;
    }
    DWORD written = 0;
    for (size_t done = 0; done < text.size(); done += written)
    {
        const size_t size = std::min(text.size() - done, c_consoleChunk);
        if (WriteConsoleW(m_handle, text.data() + done, static_cast<DWORD>(size), &written, nullptr) == FALSE ||
            written == 0)
            return;
    }
}

void TextStream::WriteUtf8(std::string_view text)
{
    if (m_isConsole)
    {
        Write(FromProgramOutput(text));
        return;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    WriteBytes(text);
}

void TextStream::WriteBytes(std::string_view bytes)
{
    DWORD written = 0;
    for (size_t done = 0; done < bytes.size(); done += written)
    {
        const std::string_view rest = bytes.substr(done);
        if (WriteFile(m_handle, rest.data(), static_cast<DWORD>(rest.size()), &written, nullptr) == FALSE)
            return OnFailure(GetLastError());
        if (written == 0)
            return;
    }
}

// Not in order: any thread may be the one that writes. A workbench that was started here ends with this process.
void TextStream::OnFailure(DWORD error) const noexcept
{
    const bool hasReaderGone =
        error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED;
    if (m_endsProcess && hasReaderGone)
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitStatus::OutputClosed));
}
