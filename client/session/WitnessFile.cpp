#include "client/session/WitnessFile.h"

#include <windows.h>

#include <string_view>

namespace
{
constexpr DWORD c_lookMs = 20;
// Thousands of threads, or assemblies.
constexpr uint64_t c_greatestText = 4ULL << 20;
constexpr std::string_view c_lastLine = "\nend\n";
} // namespace

WitnessFile::WitnessFile() : m_file(L"OrvEvidence-", L".txt") {}

bool WitnessFile::Ask(HANDLE workbench, uint32_t limitMs)
{
    if (m_file.Size() == 0)
        return false;
    const UniqueHandle question = CreatePassing(Path() + c_askEnding);
    const ULONGLONG start = GetTickCount64();
    while (!HasToldStacks())
    {
        const bool hasEnded = WaitForSingleObject(workbench, c_lookMs) != WAIT_TIMEOUT;
        if (hasEnded || GetTickCount64() - start >= limitMs)
            return HasToldStacks();
    }
    return true;
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
