#include "OrvProfiler/foundation/Path.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/PathPrefix.h"

#include <windows.h>

#include <direct.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <cwchar>
#include <new>

namespace
{
constexpr const wchar_t* c_source = L"Path";
constexpr wchar_t c_longPrefix[] = L"\\\\?\\";
constexpr wchar_t c_longNetworkPrefix[] = L"\\\\?\\UNC\\";

// Makes the text that is parsed: lowered, with backslashes, without a long-path prefix. False when memory is short.
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

// How many components at the start of a path of that kind cannot be a file: the drive, or the server and the share.
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
    // A time that the system cannot convert stays as it is.
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
    // The text may be one of this path's own, which Clear empties.
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
    // The backslash tells a root from a bare drive, or from an empty path.
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
    // A root ends with its backslash already; a second one would make it a network path.
    if (text.Last() != L'\\')
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

// The name with the long-path prefix. Empty without a path, without a buffer when memory is short.
TString CPath::LongPathName() const noexcept
{
    if (m_text.IsEmpty())
        return {};
    const bool network = m_kind == c_networkPath;
    TString name(network ? c_longNetworkPrefix : c_longPrefix);
    // The prefix takes the place of a network path's two backslashes.
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

bool CPath::FindFiles(const wchar_t* directory, const wchar_t* namePrefix, const wchar_t* extensions,
                      FileCallback onFile, DirectoryCallback onDirectory, void* context, bool recurse)
{
    const FileSearch search{SafeLength(namePrefix) > 0 ? namePrefix : L"", onFile, onDirectory, context, recurse};
    return search.Run(directory, extensions);
}
