#include "OrvProfiler/security/WindowsVersion.h"

#include <windows.h>

namespace
{
struct KnownVersion
{
    DWORD major;
    DWORD minor;
    WORD servicePackMajor;
    uint64_t version;
};

// Tried in this order. The first that the system is not older than decides.
constexpr KnownVersion c_knownVersions[] = {
    {10, 0, 0, 10}, {6, 3, 0, 8}, {6, 2, 0, 8}, {6, 1, 1, 7}, {6, 1, 0, 7}, {6, 0, 2, 6}, {6, 0, 1, 6}, {6, 0, 0, 6},
};
constexpr uint64_t c_olderVersion = 5;

bool IsAtLeast(const KnownVersion& known) noexcept
{
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof info;
    info.dwMajorVersion = known.major;
    info.dwMinorVersion = known.minor;
    info.wServicePackMajor = known.servicePackMajor;
    ULONGLONG conditions = 0;
    conditions = VerSetConditionMask(conditions, VER_MAJORVERSION, VER_GREATER_EQUAL);
    conditions = VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
    conditions = VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    constexpr DWORD fields = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
    return VerifyVersionInfoW(&info, fields, conditions) != FALSE;
}
} // namespace

uint64_t GetWindowsVersion() noexcept
{
    for (const KnownVersion& known : c_knownVersions)
    {
        if (IsAtLeast(known))
            return known.version;
    }
    return c_olderVersion;
}
