#include "client/process/OutputPipe.h"

#include "client/base/ClientError.h"
#include "client/base/Text.h"

#include <windows.h>

#include <atomic>
#include <utility>

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
    throw ClientError(ExitStatus::WorkbenchLost, SystemFailure(L"the output pipe cannot be made", error));
}
} // namespace

struct OutputPipe::Read
{
    OVERLAPPED overlapped{};
    UniqueHandle arrival{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    char bytes[c_bufferSize];
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

std::vector<std::wstring> LineCutter::Feed(const std::string& bytes)
{
    std::vector<std::wstring> lines;
    m_rest += bytes;
    size_t start = 0;
    for (size_t end = m_rest.find('\n'); end != std::string::npos; end = m_rest.find('\n', start))
    {
        lines.push_back(Decode(m_rest.substr(start, end - start)));
        start = end + 1;
    }
    m_rest.erase(0, start);
    return lines;
}

std::wstring LineCutter::TakeRest()
{
    return Decode(std::exchange(m_rest, {}));
}

std::wstring LineCutter::Decode(std::string line)
{
    constexpr const char* byteOrderMark = "\xEF\xBB\xBF";
    if (m_isAtStart && line.rfind(byteOrderMark, 0) == 0)
        line.erase(0, 3);
    m_isAtStart = m_isAtStart && line.empty();
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return FromProgramOutput(line);
}
