#include "client/session/WitnessFile.h"

#include <windows.h>

#include <string_view>
#include <utility>

namespace
{
constexpr DWORD c_lookMs = 20;
// Thousands of threads, or assemblies.
constexpr uint64_t c_greatestText = 4ULL << 20;
constexpr const wchar_t* c_nameStart = L"OrvEvidence-";
constexpr const wchar_t* c_nameEnd = L".txt";
constexpr std::string_view c_lastLine = "\nend\n";

// By a dispatcher that knows of it.
bool IsWritten(const std::wstring& path) noexcept
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    return !path.empty() && GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) != FALSE &&
           data.nFileSizeLow != 0;
}
} // namespace

WitnessFile::WitnessFile() : m_file(c_nameStart, c_nameEnd) {}

WitnessFile::WitnessFile(PassingFile&& file) noexcept : m_file(std::move(file)) {}

std::optional<WitnessFile> WitnessFile::OfOther(uint32_t clientId)
{
    std::optional<PassingFile> file = PassingFile::OfOther(c_nameStart, c_nameEnd, clientId);
    if (!file)
        return std::nullopt;
    return WitnessFile(*std::move(file));
}

bool WitnessFile::Ask(HANDLE workbench, uint32_t limitMs)
{
    if (m_file.Size() == 0)
        return false;
    const UniqueHandle question = CreatePassing(Path() + c_askEnding);
    const ULONGLONG start = GetTickCount64();
    bool goesOn = true;
    while (goesOn && !HasToldStacks())
        goesOn = WaitForSingleObject(workbench, c_lookMs) == WAIT_TIMEOUT && GetTickCount64() - start < limitMs;
    // What was told at last counts too.
    return goesOn || HasToldStacks();
}

HoldCheck::HoldCheck(std::wstring witness) : m_witness(std::move(witness)), m_path(m_witness + c_callEnding) {}

HoldCheck::~HoldCheck()
{
    if (m_hasCalled)
        DeleteFileW(m_path.c_str());
}

bool HoldCheck::Ask()
{
    if (!IsWritten(m_witness))
        return false;
    if (m_hasCalled && GetFileAttributesW(m_path.c_str()) != INVALID_FILE_ATTRIBUTES)
        return true;
    // Not held open: what the dispatcher deletes is to be gone at once.
    const UniqueHandle call = UniqueHandle::FromFile(
        CreateFileW(m_path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY, nullptr));
    m_hasCalled = static_cast<bool>(call);
    return false;
}

bool WitnessFile::HasToldStacks() const
{
    const uint64_t size = m_file.Size();
    return size > c_lastLine.size() && m_file.Read(size - c_lastLine.size(), c_lastLine.size()) == c_lastLine;
}

std::string WitnessFile::Told() const
{
    const uint64_t size = m_file.Size();
    return m_file.Read(0, static_cast<size_t>(size < c_greatestText ? size : c_greatestText));
}
