#include "OrvProfiler/foundation/Path.h"

#include "OrvProfiler/foundation/array.h"
#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/EntryPoint.h"
#include "OrvProfiler/foundation/PerfTimer.h"
#include "OrvProfiler/foundation/Trace.h"

#include <windows.h>

#include <direct.h>
#include <io.h>
#include <winnetwk.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <new>
#include <optional>
#include <string>

namespace
{
constexpr const wchar_t* c_source = L"Path";
constexpr uint32_t c_letterCount = 26;
constexpr DWORD c_remoteNameUnits = 260;
constexpr size_t c_driveUnits = 2; // X:

constexpr size_t c_maximumPathUnits = 260;
constexpr wchar_t c_networkDevice[] = L"\\device\\mup\\";
constexpr wchar_t c_networkPrefix[] = L"\\\\";
constexpr DWORD c_driveStringsUnits = 512;
constexpr DWORD c_deviceNameUnits = 1048;

constexpr wchar_t c_longPrefix[] = L"\\\\?\\";
constexpr wchar_t c_longNetworkPrefix[] = L"\\\\?\\UNC\\";

constexpr int32_t c_extensionStep = 100;

// The text behind a prefix that it begins with, ignoring case, or null.
const wchar_t* SkipPrefix(const wchar_t* text, const wchar_t* prefix) noexcept
{
    const size_t length = wcslen(prefix);
    return _wcsnicmp(text, prefix, length) == 0 ? text + length : nullptr;
}

bool HasDrive(const wchar_t* path) noexcept
{
    return SafeLength(path) >= c_driveUnits && path[1] == L':';
}

bool BeginsWithNetworkPrefix(const wchar_t* path) noexcept
{
    return SafeLength(path) >= 2 && path[0] == L'\\' && path[1] == L'\\';
}

// A library that stays loaded as long as this object lives.
class LoadedLibrary
{
public:
    explicit LoadedLibrary(const wchar_t* name) noexcept : m_module(LoadLibraryW(name)) {}
    ~LoadedLibrary()
    {
        if (m_module != nullptr)
            FreeLibrary(m_module);
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    EntryPoint LookUp(const char* name) const noexcept { return LookUpEntryPoint(m_module, name); }

private:
    HMODULE m_module;
};

// Reads what a drive is connected to. remoteName has room for a full answer and is empty without one.
bool GetConnection(EntryPoint entry, uint32_t letter, wchar_t (&remoteName)[c_remoteNameUnits + 1]) noexcept
{
    const wchar_t drive[] = {static_cast<wchar_t>(L'A' + letter), L':', L'\0'};
    DWORD length = c_remoteNameUnits;
    remoteName[0] = L'\0';
    remoteName[c_remoteNameUnits] = L'\0';
    return EntryPointAs<decltype(WNetGetConnectionW)>(entry)(drive, remoteName, &length) == NO_ERROR;
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
    const LoadedLibrary network(L"MPR.DLL");
    const EntryPoint getConnection = network.LookUp("WNetGetConnectionW");
    if (getConnection == nullptr)
        return;
    wchar_t remoteName[c_remoteNameUnits + 1];
    uint32_t connected = 0;
    for (uint32_t letter = 0; letter < c_letterCount; ++letter)
    {
        if ((m_drives >> letter & 1U) == 0)
            continue;
        m_scanned |= 1U << letter;
        connected += GetConnection(getConnection, letter, remoteName) ? 1U : 0U;
    }
    if (connected == 0)
        return;
    m_entries = static_cast<wchar_t**>(std::malloc(connected * sizeof(wchar_t*)));
    m_lengths = static_cast<uint32_t*>(std::malloc(connected * sizeof(uint32_t)));
    if (m_entries == nullptr || m_lengths == nullptr)
        return;
    // A connection made since the first pass finds no room.
    for (uint32_t letter = 0; letter < c_letterCount && m_count < connected; ++letter)
    {
        if ((m_scanned >> letter & 1U) == 0 || !GetConnection(getConnection, letter, remoteName))
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

namespace
{
// The drives in the system's order: each drive string (X:\), the text that the device paths of the drive begin with,
// and that text's length.
struct DeviceTable
{
    PtrArray<PtrArrayText> drives{100};
    PtrArray<PtrArrayText> devices{100};
    PtrArray<PtrArrayNumber> lengths{100};
};

// The text that device paths of a drive begin with. For a redirected network drive, whose device name holds a logon
// marker as in \Device\LanmanRedirector\;X:0000000000012345\server\share, that is the share, \\server\share, cut out
// in place; for any other drive the device name.
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

// Fills the table; all or nothing.
void FillTable(DeviceTable& table) noexcept
{
    wchar_t driveStrings[c_driveStringsUnits + 2]{};
    const DWORD length = GetLogicalDriveStringsW(c_driveStringsUnits, driveStrings);
    if (length > c_driveStringsUnits)
        return;
    bool complete = true;
    try
    {
        for (const wchar_t* drive = driveStrings; *drive != L'\0'; drive += wcslen(drive) + 1)
            AddDrive(table, drive);
    }
    catch (const std::bad_alloc&)
    {
        complete = false;
    }
    const bool sameDevices = table.drives.GetCount() == table.devices.GetCount();
    const bool sameLengths = table.drives.GetCount() == table.lengths.GetCount();
    DebugAssert(sameDevices, c_source, 852);
    DebugAssert(sameLengths, c_source, 853);
    if (complete && sameDevices && sameLengths)
        return;
    table.drives.DeleteAll();
    table.devices.DeleteAll();
    table.lengths.DeleteAll();
}

const DeviceTable& Devices() noexcept
{
    static DeviceTable table;
    // A table that could not be filled is tried again by the next call.
    if (table.drives.GetCount() == 0)
        FillTable(table);
    return table;
}

// The path with the drive letter, in a static buffer, or null when it is on no drive.
const wchar_t* PathOnDrive(const wchar_t* path) noexcept
{
    static wchar_t result[c_maximumPathUnits + 1];
    const DeviceTable& table = Devices();
    for (int32_t i = 0; i < table.drives.GetCount(); ++i)
    {
        const auto length = static_cast<size_t>(table.lengths[i]);
        if (_wcsnicmp(path, table.devices[i], length) != 0)
            continue;
        const wchar_t* rest = path + length;
        if (*rest != L'\0')
            ++rest; // the separator, which the drive string has
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

namespace
{
// Makes the text that a path is parsed from: lowered, with backslashes, without the long-path prefix. Returns false
// when memory is short.
bool Spell(const TString& text, TString& spelling) noexcept
{
    spelling = text;
    if (spelling.IsEmpty())
        return spelling.GetBuffer() != nullptr;
    spelling.MakeLower();
    spelling.Replace(L'/', L'\\');
    if (const wchar_t* const share = SkipPrefix(spelling, c_longNetworkPrefix))
    {
        TString network(c_networkPrefix);
        network.Append(share);
        if (network.GetBuffer() == nullptr)
            return false;
        spelling = network;
    }
    else if (const wchar_t* const path = SkipPrefix(spelling, c_longPrefix))
        spelling = path;
    return spelling.GetBuffer() != nullptr;
}

uint32_t KindOf(const TString& text) noexcept
{
    if (BeginsWithNetworkPrefix(text))
        return CPath::c_networkPath;
    if (text.Contains(L":"))
        return CPath::c_drivePath;
    return text.Contains(L"\\") || text == L"." ? CPath::c_relativePath : CPath::c_noPath;
}

// How many components at the start of a path of some kind can be no file: the drive, the server and the share.
size_t RootComponents(uint32_t kind) noexcept
{
    if (kind == CPath::c_networkPath)
        return 2;
    return kind == CPath::c_drivePath ? 1 : 0;
}

bool IsSkipped(const TString& part) noexcept
{
    return part.IsEmpty() || part == L".";
}

bool HasExtension(const TString& name) noexcept
{
    const uint64_t dot = name.ReverseFind(L'.', 0);
    return dot != TString::npos && dot > 0 && dot + 1 < name.GetLength();
}

FileTime ToLocalTime(const FILETIME& time) noexcept
{
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    FILETIME result = time;
    // A time that the calendar does not have stays as it is.
    if (FileTimeToSystemTime(&time, &utc) != FALSE && SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) != FALSE)
    {
        FILETIME converted{};
        if (SystemTimeToFileTime(&local, &converted) != FALSE)
            result = converted;
    }
    return FileTime{result.dwLowDateTime, result.dwHighDateTime};
}
} // namespace

CPath::CPath() noexcept
{
    constexpr size_t name = 8 + sizeof(std::vector<TString>);
    static_assert(offsetof(CPath, m_kind) == 0 && offsetof(CPath, m_components) == 8 &&
                      offsetof(CPath, m_fileName) == name && offsetof(CPath, m_text) == name + 16 &&
                      offsetof(CPath, m_givenText) == name + 32 && offsetof(CPath, m_attributes) == name + 48,
                  "the order of the fields is fixed");
}

void CPath::Clear() noexcept
{
    m_attributes = {};
    m_components.clear();
    m_fileName.Empty();
    m_text.Empty();
    m_givenText.Empty();
    m_kind = c_noPath;
}

bool CPath::Parse(const wchar_t* text) noexcept
{
    // The text may be one of this path's own.
    const TString given(text);
    Clear();
    TString spelling;
    m_givenText = given;
    bool complete = given.GetBuffer() != nullptr && m_givenText.GetBuffer() != nullptr && Spell(given, spelling);
    try
    {
        complete = complete && TakeSpelling(spelling);
    }
    catch (const std::bad_alloc&)
    {
        complete = false;
    }
    if (!complete)
        Clear();
    return complete;
}

// Fills the cleared path. Returns false when memory is short.
bool CPath::TakeSpelling(const TString& spelling)
{
    m_kind = KindOf(spelling);
    if (m_kind == c_noPath)
    {
        m_fileName = spelling;
        m_text = spelling;
        return m_fileName.GetBuffer() != nullptr && m_text.GetBuffer() != nullptr;
    }
    std::vector<TString> parts;
    if (!spelling.Split(L'\\', parts))
        return false;
    const bool rooted = m_kind == c_relativePath && spelling.First() == L'\\';
    if (!TakeParts(parts, rooted))
        return false;
    const TString joined = Join();
    if (joined.GetBuffer() == nullptr)
        return false;
    m_text = joined;
    // A root is told from the drive, or from nothing, by its backslash.
    if (m_components.size() == 1 && (rooted || (m_kind == c_drivePath && spelling.Contains(L"\\"))))
        m_text.Append(L'\\');
    if (m_components.empty() && m_kind == c_relativePath)
        m_text = L".";
    const bool canBeFile = m_components.size() > RootComponents(m_kind) && spelling.Last() != L'\\' &&
                           !IsSkipped(parts.back()) && parts.back() != L"..";
    if (canBeFile && HasExtension(m_components.back()))
        m_fileName = m_components.back();
    return m_text.GetBuffer() != nullptr && m_fileName.GetBuffer() != nullptr;
}

// Makes the components of what stands between the backslashes. Returns false when memory is short.
bool CPath::TakeParts(const std::vector<TString>& parts, bool rooted)
{
    m_components.reserve(parts.size() + 1);
    if (rooted)
        m_components.emplace_back();
    return std::all_of(parts.begin(), parts.end(), [this](const TString& part) { return TakePart(part); });
}

bool CPath::TakePart(const TString& part)
{
    const bool isServer = m_kind == c_networkPath && m_components.empty();
    if (part.IsEmpty() || (IsSkipped(part) && !isServer))
        return true;
    if (m_kind == c_drivePath && part == L"..")
    {
        if (m_components.size() > 1)
            m_components.pop_back();
        return true;
    }
    m_components.push_back(part);
    return m_components.back().GetBuffer() != nullptr;
}

bool CPath::FromCurrentDirectory() noexcept
{
    Clear();
    TString directory;
    if (directory.GetBuffer() == nullptr)
        return false;
    const DWORD length = GetCurrentDirectoryW(c_maximumPathUnits, directory.GetBuffer());
    if (length == 0 || length >= c_maximumPathUnits)
        return false;
    if (directory.Contains(L"~"))
    {
        TString longForm;
        const DWORD longLength = longForm.GetBuffer() != nullptr
                                     ? GetLongPathNameW(directory, longForm.GetBuffer(), c_maximumPathUnits)
                                     : 0;
        if (longLength > 0 && longLength < c_maximumPathUnits)
            return Parse(longForm);
    }
    return Parse(directory);
}

bool CPath::MakeCurrent() const noexcept
{
    return !m_text.IsEmpty() && _wchdir(m_text) == 0;
}

bool CPath::Exists(const wchar_t* text) noexcept
{
    const errno_t error = _waccess_s(SafeLength(text) > 0 ? text : L"", 0);
    DebugAssert(error != EINVAL, c_source, 134);
    return error != ENOENT;
}

bool CPath::CreateDir(const wchar_t* text) noexcept
{
    return CreateDirectoryW(SafeLength(text) > 0 ? text : L"", nullptr) != FALSE;
}

TString CPath::Join() const noexcept
{
    TString joined(m_kind == c_networkPath ? c_networkPrefix : L"");
    for (size_t i = 0; i < m_components.size(); ++i)
    {
        if (i > 0)
            joined.Append(L'\\');
        joined.Append(m_components[i]);
    }
    return joined;
}

bool CPath::Append(const wchar_t* name) noexcept
{
    DebugAssert(!HasFileName(), c_source, 639);
    TString text(m_text);
    // A root's text ends with its backslash already; a second one would begin a network path.
    if (!text.IsEmpty() && text.Last() != L'\\')
        text.Append(L'\\');
    text.Append(name);
    if (text.GetBuffer() != nullptr)
        return Parse(text);
    Clear();
    return false;
}

bool CPath::Append(const CPath& path) noexcept
{
    DebugAssert(!HasFileName(), c_source, 651);
    return Append(path.m_text);
}

bool CPath::ComponentsMatch(const CPath& other, size_t count) const noexcept
{
    return std::equal(m_components.begin(), m_components.begin() + static_cast<ptrdiff_t>(count),
                      other.m_components.begin(),
                      [](const TString& left, const TString& right) { return left.Equals(right, false); });
}

bool CPath::Equals(const CPath& other) const noexcept
{
    if (m_components.empty() && other.m_components.empty())
        return m_fileName == other.m_fileName;
    return m_components.size() == other.m_components.size() && ComponentsMatch(other, m_components.size());
}

bool CPath::IsWithin(const CPath& other) const noexcept
{
    if (m_components.empty() || other.m_components.empty())
        return Equals(other);
    return m_components.size() >= other.m_components.size() && ComponentsMatch(other, other.m_components.size());
}

bool CPath::Less(const CPath& other) const noexcept
{
    return m_text < other.m_text;
}

bool CPath::CheckDots() const noexcept
{
    constexpr uint64_t mostDots = 2;
    DebugAssert(false, c_source, 156);
    if (m_components.empty())
    {
        DebugAssert(false, c_source, 163);
        return true;
    }
    bool afterPlain = false;
    for (size_t i = 0; i + 1 < m_components.size(); ++i)
    {
        const uint64_t dots = m_components[i].Count(L'.');
        if (dots > mostDots || (dots > 0 && afterPlain))
            return true;
        afterPlain = afterPlain || dots == 0;
    }
    return false;
}

const TString& CPath::Component(size_t i) const noexcept
{
    static const TString none;
    DebugAssert(i < m_components.size(), c_source, 663);
    return i < m_components.size() ? m_components[i] : none;
}

// The name that the system takes in any length. Empty or without a buffer when there is none.
TString CPath::LongPathName() const noexcept
{
    if (m_text.IsEmpty())
        return {};
    const bool network = m_kind == c_networkPath;
    TString name(network ? c_longNetworkPrefix : c_longPrefix);
    // The prefix stands for the two backslashes of a network path.
    name.Append(network ? m_text.GetBuffer() + wcslen(c_networkPrefix) : m_text.GetBuffer());
    return name;
}

bool CPath::Attributes() noexcept
{
    static_assert(sizeof(FileAttributeData) == sizeof(WIN32_FILE_ATTRIBUTE_DATA), "the system fills this record");
    const FileTime& creation = m_attributes.creation;
    if (creation.low != 0 || creation.high != 0 || m_attributes.sizeHigh != 0 || m_attributes.sizeLow != 0)
        return true;
    const TString name = LongPathName();
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (name.IsEmpty() || GetFileAttributesExW(name, GetFileExInfoStandard, &data) == FALSE)
        return false;
    m_attributes.attributes = data.dwFileAttributes;
    m_attributes.creation = ToLocalTime(data.ftCreationTime);
    m_attributes.lastAccess = ToLocalTime(data.ftLastAccessTime);
    m_attributes.lastWrite = ToLocalTime(data.ftLastWriteTime);
    m_attributes.sizeHigh = data.nFileSizeHigh;
    m_attributes.sizeLow = data.nFileSizeLow;
    return true;
}

bool CPath::IsDirectory() noexcept
{
    return Attributes() && (m_attributes.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

namespace
{
// The extensions, without their dots, that the searches under way go by: those from g_firstExtension on belong to the
// innermost search that has a list.
int32_t g_firstExtension = 0;

PtrArray<PtrArrayText>& Extensions() noexcept
{
    static PtrArray<PtrArrayText> extensions(c_extensionStep);
    return extensions;
}

// The list of one search, in force while this object lives.
class ExtensionScope
{
public:
    ExtensionScope() noexcept : m_outer(g_firstExtension) { g_firstExtension = Extensions().GetCount(); }
    ~ExtensionScope()
    {
        if (g_firstExtension == 0)
            Extensions().DeleteAll();
        else
            Extensions().SetCount(g_firstExtension);
        g_firstExtension = m_outer;
    }
    ExtensionScope(const ExtensionScope&) = delete;
    ExtensionScope& operator=(const ExtensionScope&) = delete;

private:
    int32_t m_outer;
};

bool IsExtensionSeparator(wchar_t unit) noexcept
{
    return unit == L';' || unit == L',' || unit == L' ' || unit == L':';
}

bool IsExtensionUnit(wchar_t unit) noexcept
{
    return std::iswalnum(unit) != 0 || unit == L'-' || unit == L'_';
}

// Adds the extension between two pointers, its dot included, to the list in force. Returns whether it is one.
bool AddExtension(const wchar_t* begin, const wchar_t* end)
{
    if (*begin != L'.' || end - begin < 2 || !std::all_of(begin + 1, end, IsExtensionUnit))
        return false;
    const std::wstring extension(begin + 1, end);
    const int32_t before = Extensions().GetCount();
    Extensions().Add(extension.c_str(), true);
    return Extensions().GetCount() == before + 1;
}

// Adds a list of extensions to the one in force. Returns false when it is malformed or memory is short.
bool ParseExtensions(const wchar_t* list) noexcept
{
    const wchar_t* const end = list + SafeLength(list);
    try
    {
        while (list != end)
        {
            const wchar_t* const next = std::find_if(list, end, IsExtensionSeparator);
            if (next != list && !AddExtension(list, next))
                return false;
            list = std::find_if_not(next, end, IsExtensionSeparator);
        }
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    return true;
}

bool IsListedExtension(const wchar_t* extension) noexcept
{
    const PtrArray<PtrArrayText>& extensions = Extensions();
    for (int32_t i = g_firstExtension; i < extensions.GetCount(); ++i)
    {
        if (_wcsicmp(extension, extensions[i]) == 0)
            return true;
    }
    return false;
}

class FindHandle
{
public:
    explicit FindHandle(intptr_t handle) noexcept : m_handle(handle) {}
    ~FindHandle()
    {
        if (IsValid())
            _findclose(m_handle);
    }
    FindHandle(const FindHandle&) = delete;
    FindHandle& operator=(const FindHandle&) = delete;

    bool IsValid() const noexcept { return m_handle != -1; }
    intptr_t Get() const noexcept { return m_handle; }

private:
    intptr_t m_handle;
};

struct FileSearch
{
    const wchar_t* namePrefix;
    CPath::FileCallback onFile;
    CPath::DirectoryCallback onDirectory;
    void* context;
    bool recurse;

    // Searches one directory. Returns false when a callback has ended the search or memory is short.
    // NOLINTNEXTLINE(misc-no-recursion): as deep as the folders are
    bool Run(const TString& directory) const
    {
        TString pattern(directory);
        pattern.Append(L"\\*");
        // A directory that has lost its text would be the root of the drive.
        if (directory.IsEmpty() || pattern.GetBuffer() == nullptr)
            return false;
        _wfinddata64_t entry{};
        const FindHandle find(_wfindfirst64(pattern, &entry));
        if (!find.IsValid())
            return true;
        if (onDirectory != nullptr && !onDirectory(context))
            return false;
        do
        {
            if (!Visit(directory, entry))
                return false;
        } while (_wfindnext64(find.Get(), &entry) == 0);
        return true;
    }

private:
    // NOLINTNEXTLINE(misc-no-recursion)
    bool Visit(const TString& directory, const _wfinddata64_t& entry) const
    {
        const bool isDirectory = (entry.attrib & _A_SUBDIR) != 0;
        if (isDirectory ? !IsSearched(entry) : !IsFound(entry.name))
            return true;
        TString path(directory);
        path.Append(L'\\');
        path.Append(entry.name);
        if (path.GetBuffer() == nullptr)
            return false;
        return isDirectory ? Run(path) : onFile(path, context);
    }

    bool IsSearched(const _wfinddata64_t& directory) const noexcept
    {
        return recurse && directory.name[0] != L'.' && (directory.attrib & (_A_HIDDEN | _A_SYSTEM)) == 0;
    }

    bool IsFound(const wchar_t* name) const noexcept
    {
        const wchar_t* const dot = wcsrchr(name, L'.');
        return onFile != nullptr && dot != nullptr && IsListedExtension(dot + 1) &&
               _wcsnicmp(name, namePrefix, SafeLength(namePrefix)) == 0;
    }
};
} // namespace

bool CPath::FindFiles(const wchar_t* directory, const wchar_t* namePrefix, const wchar_t* extensions,
                      FileCallback onFile, DirectoryCallback onDirectory, void* context, bool recurse)
{
    const FileSearch search{SafeLength(namePrefix) > 0 ? namePrefix : L"", onFile, onDirectory, context, recurse};
    std::optional<ExtensionScope> scope;
    if (extensions != nullptr)
    {
        scope.emplace();
        if (!ParseExtensions(extensions))
        {
            Trace(L"%6.0f %s extension list refused: %s\n", TickMs(), L"CPath::FindFiles", extensions);
            return false;
        }
    }
    return SafeLength(directory) == 0 || search.Run(directory);
}
