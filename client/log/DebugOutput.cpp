#include "client/log/DebugOutput.h"

#include <windows.h>

#include <cstring>
#include <utility>

// The layout and the names below are the system's.
struct DebugOutput::Buffer
{
    DWORD processId;
    char text[4092];
};

namespace
{
constexpr const wchar_t* c_bufferName = L"DBWIN_BUFFER";
constexpr DWORD c_releasePollMs = 5;
constexpr int c_releasePolls = 400;
} // namespace

DebugOutput::DebugOutput(Receiver receiver) : m_receiver(std::move(receiver))
{
    if (MakeObjects())
        m_thread = std::thread([this] { Listen(); });
    else
        m_mapping.Reset(); // while it is there, a process that prints waits for its listener
}

DebugOutput::~DebugOutput()
{
    if (m_thread.joinable())
    {
        SetEvent(m_stop.Get());
        m_thread.join();
    }
    if (m_view)
        ReleasePrinters();
}

bool DebugOutput::MakeObjects()
{
    static_assert(sizeof(Buffer) == 4096, "the system's buffer");
    m_mapping.Reset(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Buffer), c_bufferName));
    // Whoever made it before listens.
    if (!m_mapping || GetLastError() == ERROR_ALREADY_EXISTS)
        return false;
    m_isFree.Reset(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY"));
    m_isFilled.Reset(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY"));
    m_stop.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!m_isFree || !m_isFilled || !m_stop)
        return false;
    m_view.Reset(MapViewOfFile(m_mapping.Get(), FILE_MAP_READ, 0, 0, 0));
    return static_cast<bool>(m_view);
}

void DebugOutput::Listen()
{
    const auto* const buffer = static_cast<const Buffer*>(m_view.Get());
    const HANDLE awaited[] = {m_isFilled.Get(), m_stop.Get()};
    SetEvent(m_isFree.Get());
    while (WaitForMultipleObjects(2, awaited, FALSE, INFINITE) == WAIT_OBJECT_0)
    {
        const uint32_t processId = buffer->processId;
        const std::string text(buffer->text, strnlen(buffer->text, sizeof buffer->text));
        SetEvent(m_isFree.Get());
        m_receiver(processId, text);
    }
}

// A process that found the listener a moment ago still waits for the buffer, for up to ten seconds: the buffer
// is declared free until nobody has it open any more.
void DebugOutput::ReleasePrinters()
{
    m_view.Reset();
    m_mapping.Reset();
    for (int i = 0; i < c_releasePolls; ++i)
    {
        const UniqueHandle stillOpen(OpenFileMappingW(FILE_MAP_READ, FALSE, c_bufferName));
        if (!stillOpen)
            return;
        SetEvent(m_isFree.Get());
        WaitForSingleObject(m_isFilled.Get(), c_releasePollMs);
    }
}
