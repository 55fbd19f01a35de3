#include "OrvProfiler/foundation/DevicePath.h"

#include "OrvProfiler/foundation/array.h"
#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/PathPrefix.h"
#include "OrvProfiler/foundation/TextFunctions.h"

#include <windows.h>

#include <cwchar>
#include <new>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"Path";
constexpr wchar_t c_networkDevice[] = L"\\device\\mup\\";
constexpr DWORD c_driveStringsUnits = 512;
constexpr DWORD c_deviceNameUnits = 1048;

// The drives in the system's order: the drive string (X:\), the text that the drive's device paths begin with, and
// the length of that text. Filled when it is made; empty when anything fails.
struct DeviceTable
{
    DeviceTable() noexcept;

    PtrArray<PtrArrayText> drives{100};
    PtrArray<PtrArrayText> devices{100};
    PtrArray<PtrArrayNumber> lengths{100};
};

// The text that the device paths of a drive begin with: its device name. The device name of a network drive may hold
// a logon marker, as in \Device\LanmanRedirector\;X:0000000000012345\server\share; then it is the share,
// \\server\share, which is cut out in place.
const wchar_t* DevicePrefix(wchar_t* deviceName, const wchar_t* drive) noexcept
{
    const wchar_t marker[] = {L';', drive[0], drive[1], L'\0'};
    const wchar_t* const marked = FindSub(deviceName, marker);
    const wchar_t* const share = marked != nullptr ? FindChar(marked, L'\\') : nullptr;
    if (share == nullptr)
        return deviceName;
    wchar_t* const prefix = deviceName + (share - deviceName) - 1;
    *prefix = L'\\';
    return prefix;
}

void AddDrive(DeviceTable& table, const wchar_t* driveString)
{
    const wchar_t drive[] = {driveString[0], driveString[1], L'\0'};
    wchar_t deviceName[c_deviceNameUnits]{};
    if (QueryDosDeviceW(drive, deviceName, c_deviceNameUnits) == 0 || deviceName[0] == L'\0')
        return;
    const wchar_t* const prefix = DevicePrefix(deviceName, drive);
    table.drives.Add(driveString, true);
    table.devices.Add(prefix, true);
    table.lengths.Add(static_cast<int64_t>(wcslen(prefix)), false);
}

DeviceTable::DeviceTable() noexcept
{
    wchar_t driveStrings[c_driveStringsUnits + 2]{};
    const DWORD length = GetLogicalDriveStringsW(c_driveStringsUnits, driveStrings);
    if (length > c_driveStringsUnits)
        return;
    bool complete = true;
    try
    {
        for (const wchar_t* drive = driveStrings; *drive != L'\0'; drive += wcslen(drive) + 1)
            AddDrive(*this, drive);
    }
    catch (const std::bad_alloc&)
    {
        complete = false;
    }
    const bool sameDevices = drives.GetCount() == devices.GetCount();
    const bool sameLengths = drives.GetCount() == lengths.GetCount();
    DebugAssert(sameDevices, c_source, 852);
    DebugAssert(sameLengths, c_source, 853);
    if (complete && sameDevices && sameLengths)
        return;
    drives.DeleteAll();
    devices.DeleteAll();
    lengths.DeleteAll();
}

// The path with its drive letter, in a static buffer; null when it lies on no drive.
const wchar_t* PathOnDrive(const wchar_t* path) noexcept
{
    static wchar_t result[c_maximumPathUnits + 1];
    static const DeviceTable table;
    for (int32_t i = 0; i < table.drives.GetCount(); ++i)
    {
        const auto length = static_cast<size_t>(table.lengths[i]);
        if (_wcsnicmp(path, table.devices[i], length) != 0)
            continue;
        const wchar_t* rest = path + length;
        if (*rest != L'\0')
            ++rest; // the drive string ends with the separator
        const size_t driveLength = wcslen(table.drives[i]);
        if (driveLength + wcslen(rest) > c_maximumPathUnits)
            return nullptr;
        SafeCopy(result, table.drives[i]);
        SafeCopy(result + driveLength, rest);
        return result;
    }
    return nullptr;
}
} // namespace

const wchar_t* DeviceToDrivePath(const wchar_t* path) noexcept
{
    static wchar_t longPath[c_maximumPathUnits];
    const uint64_t length = SafeLength(path);
    DebugAssert(length <= c_maximumPathUnits, c_source, 910);
    if (length == 0 || length > c_maximumPathUnits)
        return path;
    wchar_t copy[c_maximumPathUnits + 1]{};
    const wchar_t* const networkPart = SkipPrefix(path, c_networkDevice);
    SafeCopy(copy, networkPart != nullptr ? c_networkPrefix : path);
    if (networkPart != nullptr)
        SafeCopy(copy + wcslen(c_networkPrefix), networkPart);
    const wchar_t* const onDrive = PathOnDrive(copy);
    if (onDrive != nullptr)
        return onDrive;
    const DWORD longLength = GetLongPathNameW(copy, longPath, c_maximumPathUnits);
    return longLength > 0 && longLength < c_maximumPathUnits ? longPath : path;
}
