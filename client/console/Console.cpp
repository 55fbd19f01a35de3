#include "client/console/Console.h"

#include "client/base/ClientError.h"
#include "client/base/Text.h"

#include <windows.h>

#include <algorithm>
#include <string>

namespace
{
// How long the system lets a process go on after its console was closed, and a little less.
constexpr DWORD c_endGraceMs = 4500;
// What a console takes in one call.
constexpr size_t c_consoleChunk = 8192;

HANDLE g_interrupt = nullptr;
HANDLE g_interruptDone = nullptr;

BOOL WINAPI OnConsoleControl(DWORD control)
{
    const bool isKey = control == CTRL_C_EVENT || control == CTRL_BREAK_EVENT;
    if (isKey && WaitForSingleObject(g_interrupt, 0) == WAIT_OBJECT_0)
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitStatus::Interrupted));
    SetEvent(g_interrupt);
    // When the console goes, the process ends as soon as this function returns: leave it the time to stop in order.
    if (!isKey)
        WaitForSingleObject(g_interruptDone, c_endGraceMs);
    return TRUE;
}
} // namespace

TextStream::TextStream(DWORD standardHandle)
    : m_handle(GetStdHandle(standardHandle)), m_isConsole(IsConsole(m_handle))
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
        if (WriteFile(m_handle, bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &written, nullptr) ==
                FALSE ||
            written == 0)
            return;
}

bool IsConsole(HANDLE handle) noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != FALSE;
}

ConsoleCodePageGuard::ConsoleCodePageGuard() : m_codePage(GetConsoleOutputCP()) {}

ConsoleCodePageGuard::~ConsoleCodePageGuard()
{
    if (m_codePage != 0 && m_codePage != GetConsoleOutputCP())
        SetConsoleOutputCP(m_codePage);
}

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
