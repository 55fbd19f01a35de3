#include "OrvProfiler/foundation/NetDrives.h"

#include "OrvProfiler/foundation/PathPrefix.h"
#include "OrvProfiler/foundation/SystemFunction.h"
#include "OrvProfiler/foundation/TextFunctions.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <winnetwk.h>

#include <cstddef>
#include <cstdlib>
#include <cwchar>

namespace
{
constexpr uint32_t c_letterCount = 26;
constexpr DWORD c_remoteNameUnits = 260;
constexpr size_t c_driveUnits = 2; // X:

using ConnectionFunction = SystemFunction<DWORD(const wchar_t*, wchar_t*, DWORD*)>;
static_assert(ConnectionFunction::Fits<decltype(WNetGetConnectionW)>(), "as the system declares it");

bool HasDrive(const wchar_t* path) noexcept
{
    return SafeLength(path) >= c_driveUnits && path[1] == L':';
}

// Reads what a drive is connected to. remoteName has room for a full answer and is empty without one.
bool AskConnection(const ConnectionFunction& getConnection, uint32_t letter,
                   wchar_t (&remoteName)[c_remoteNameUnits + 1]) noexcept
{
    const wchar_t drive[] = {static_cast<wchar_t>(L'A' + letter), L':', L'\0'};
    DWORD length = c_remoteNameUnits;
    remoteName[0] = L'\0';
    remoteName[c_remoteNameUnits] = L'\0';
    return getConnection(drive, remoteName, &length) == NO_ERROR;
}

// Asks for each drive once. Returns how many are connected, and tells which were asked for.
uint32_t CountConnections(const ConnectionFunction& getConnection, uint32_t drives, uint32_t& scanned) noexcept
{
    wchar_t remoteName[c_remoteNameUnits + 1];
    uint32_t connected = 0;
    for (uint32_t letter = 0; letter < c_letterCount; ++letter)
    {
        if ((drives >> letter & 1U) == 0)
            continue;
        scanned |= 1U << letter;
        connected += AskConnection(getConnection, letter, remoteName) ? 1U : 0U;
    }
    return connected;
}

// The drive and the remote name as one heap string, or null when memory is short.
wchar_t* MakeEntry(uint32_t letter, const wchar_t* remoteName) noexcept
{
    constexpr size_t units = c_remoteNameUnits + c_driveUnits + 1;
    auto* const entry = static_cast<wchar_t*>(std::malloc(units * sizeof(wchar_t)));
    if (entry == nullptr)
        return nullptr;
    entry[0] = static_cast<wchar_t>(L'A' + letter);
    entry[1] = L':';
    std::wmemcpy(entry + c_driveUnits, remoteName, wcslen(remoteName) + 1);
    return entry;
}
} // namespace

CNetDrives::CNetDrives() noexcept : m_drives(GetLogicalDrives())
{
    static_assert(sizeof(CNetDrives) == 32 && offsetof(CNetDrives, m_drives) == 0 &&
                      offsetof(CNetDrives, m_scanned) == 4 && offsetof(CNetDrives, m_entries) == 8 &&
                      offsetof(CNetDrives, m_lengths) == 16 && offsetof(CNetDrives, m_count) == 24,
                  "the table's layout is fixed");
    const UniqueLibrary network(LoadLibraryW(L"MPR.DLL"));
    const ConnectionFunction getConnection(network.Get(), "WNetGetConnectionW");
    if (getConnection == nullptr)
        return;
    const uint32_t connected = CountConnections(getConnection, m_drives, m_scanned);
    if (connected == 0)
        return;
    m_entries = static_cast<wchar_t**>(std::malloc(connected * sizeof(wchar_t*)));
    m_lengths = static_cast<uint32_t*>(std::malloc(connected * sizeof(uint32_t)));
    if (m_entries == nullptr || m_lengths == nullptr)
        return;
    wchar_t remoteName[c_remoteNameUnits + 1];
    // A connection made since they were counted finds no room.
    for (uint32_t letter = 0; letter < c_letterCount && m_count < connected; ++letter)
    {
        if ((m_scanned >> letter & 1U) == 0 || !AskConnection(getConnection, letter, remoteName))
            continue;
        wchar_t* const entry = MakeEntry(letter, remoteName);
        if (entry == nullptr)
            continue;
        m_entries[m_count] = entry;
        m_lengths[m_count] = static_cast<uint32_t>(wcslen(remoteName));
        ++m_count;
    }
}

CNetDrives::~CNetDrives()
{
    for (uint32_t i = 0; i < m_count; ++i)
        std::free(m_entries[i]);
    std::free(m_entries);
    std::free(m_lengths);
    m_entries = nullptr;
    m_lengths = nullptr;
    m_count = 0;
}

const wchar_t* CNetDrives::Entry(uint32_t i) const noexcept
{
    return m_entries != nullptr && i < m_count ? m_entries[i] : nullptr;
}

const wchar_t* CNetDrives::RemoteName(uint32_t i) const noexcept
{
    return m_entries[i] + c_driveUnits;
}

// The first entry whose remote name a path begins with; the count when there is none.
uint32_t CNetDrives::FindRemoteName(const wchar_t* path) const noexcept
{
    uint32_t i = 0;
    while (i < m_count && _wcsnicmp(path, RemoteName(i), m_lengths[i]) != 0)
        ++i;
    return i;
}

const wchar_t* CNetDrives::ShareOf(const wchar_t* path) const noexcept
{
    if (HasDrive(path))
    {
        for (uint32_t i = 0; i < m_count; ++i)
        {
            if (_wcsnicmp(path, m_entries[i], 1) == 0)
                return RemoteName(i);
        }
        return nullptr;
    }
    if (!BeginsWithNetworkPrefix(path))
        return nullptr;
    const uint32_t i = FindRemoteName(path);
    return i < m_count ? RemoteName(i) : nullptr;
}

const wchar_t* CNetDrives::RestOfPath(const wchar_t* path) const noexcept
{
    if (HasDrive(path))
        return path + c_driveUnits;
    if (SafeLength(path) < 2 || path[1] != L'\\')
        return path;
    const uint32_t i = FindRemoteName(path);
    return i < m_count ? path + m_lengths[i] : path;
}

bool CNetDrives::SamePath(const wchar_t* left, const wchar_t* right) const noexcept
{
    constexpr uint64_t shortestWithShare = 3;
    if (SafeLength(left) >= shortestWithShare && SafeLength(right) >= shortestWithShare)
    {
        const wchar_t* const leftShare = ShareOf(left);
        const wchar_t* const rightShare = ShareOf(right);
        if (leftShare != nullptr && rightShare != nullptr)
            return Equal(leftShare, rightShare, false) && Equal(RestOfPath(left), RestOfPath(right), false);
    }
    return Equal(left, right, false);
}
