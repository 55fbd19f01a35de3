#pragma once

#include <cstdint>

// The network drives that are mapped for the user, as they were when the object was made. Read-only afterwards: any
// thread. Comparisons ignore case, as the C runtime does. Nothing raises. A null or unreadable path counts as an
// empty one, where nothing else is said.
class CNetDrives
{
public:
    // Asks the system through the network library MPR.DLL. Without that library the table is empty.
    CNetDrives() noexcept;
    ~CNetDrives();
    CNetDrives(const CNetDrives&) = delete;
    CNetDrives& operator=(const CNetDrives&) = delete;

    // The number of mapped drives.
    uint32_t Count() const noexcept { return m_count; }
    // Mapped drive i, in the order of the letters: the drive with the remote name behind it, as in X:\\server\share;
    // null beyond the last. The text belongs to the table.
    const wchar_t* Entry(uint32_t i) const noexcept;
    // The remote name that a path lies on: that of its drive letter, or the first one that a network path begins
    // with; null when there is none. The match may end in the middle of a name, on purpose. The text belongs to the
    // table.
    const wchar_t* ShareOf(const wchar_t* path) const noexcept;
    // The part of a path behind its drive (X:) or behind the first remote name that it begins with; the path itself
    // when it has neither. Points into path.
    const wchar_t* RestOfPath(const wchar_t* path) const noexcept;
    // Whether two paths name the same file. A drive letter and the share that it is mapped to count as the same. Two
    // nulls are the same, a null and a text are not.
    bool SamePath(const wchar_t* left, const wchar_t* right) const noexcept;

private:
    const wchar_t* RemoteName(uint32_t i) const noexcept;
    uint32_t FindRemoteName(const wchar_t* path) const noexcept;

    // Bit 0 is drive A: the drives that there are, and those that were asked for a connection.
    uint32_t m_drives = 0;
    uint32_t m_scanned = 0;
    wchar_t** m_entries = nullptr;
    uint32_t* m_lengths = nullptr;
    uint32_t m_count = 0;
};

// The process's table of network drives, made before main runs. Defined in StaticObjects.cpp.
extern CNetDrives g_NetDrives;
