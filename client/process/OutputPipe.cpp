#include "client/process/OutputPipe.h"

#include "client/base/SessionError.h"
#include "client/base/SystemFailure.h"

#include <windows.h>

#include <atomic>

namespace
{
constexpr DWORD c_bufferSize = 65536;

std::wstring NextPipeName()
{
    static std::atomic<unsigned> counter{0};
    return L"\\\\.\\pipe\\OrvClient-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++counter);
}

[[noreturn]] void ThrowPipeFailure()
{
    const DWORD error = GetLastError();
    throw SessionError(SessionFailure::NoWorkbench, SystemFailure(L"the output pipe cannot be made", error));
}
} // namespace

struct OutputPipe::Read
{
    OVERLAPPED overlapped{};
    UniqueHandle arrival{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    char bytes[c_bufferSize]{};
};

OutputPipe::OutputPipe() : m_read(std::make_unique<Read>())
{
    const std::wstring name = NextPipeName();
    m_readEnd = UniqueHandle::FromFile(
        CreateNamedPipeW(name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                         PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, 1, 0, c_bufferSize, 0, nullptr));
    if (!m_readEnd)
        ThrowPipeFailure();
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    m_writeEnd = UniqueHandle::FromFile(
        CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inheritable, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_writeEnd)
        ThrowPipeFailure();
    m_read->overlapped.hEvent = m_read->arrival.Get();
    StartRead();
}

OutputPipe::~OutputPipe()
{
    if (!m_readEnd)
        return;
    // The system writes into the buffer until the read has ended.
    CancelIoEx(m_readEnd.Get(), &m_read->overlapped);
    DWORD size = 0;
    GetOverlappedResult(m_readEnd.Get(), &m_read->overlapped, &size, TRUE);
}

HANDLE OutputPipe::Arrival() const noexcept
{
    return IsOpen() ? m_read->arrival.Get() : nullptr;
}

void OutputPipe::StartRead()
{
    if (ReadFile(m_readEnd.Get(), m_read->bytes, c_bufferSize, nullptr, &m_read->overlapped) == FALSE &&
        GetLastError() != ERROR_IO_PENDING)
        m_readEnd.Reset();
}

std::string OutputPipe::Take()
{
    std::string taken;
    DWORD size = 0;
    while (IsOpen())
    {
        if (GetOverlappedResult(m_readEnd.Get(), &m_read->overlapped, &size, FALSE) == FALSE)
        {
            if (GetLastError() != ERROR_IO_INCOMPLETE)
                m_readEnd.Reset();
            break;
        }
        taken.append(m_read->bytes, size);
        StartRead();
    }
    return taken;
}
