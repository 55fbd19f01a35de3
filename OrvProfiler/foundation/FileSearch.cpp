#include "OrvProfiler/foundation/FileSearch.h"

#include "OrvProfiler/foundation/array.h"
#include "OrvProfiler/foundation/TextFunctions.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <io.h>

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <new>
#include <optional>
#include <string>

namespace
{
constexpr int32_t c_extensionStep = 100;

// The extensions of all searches under way, without their dots. Those from g_firstExtension on are the list in force:
// that of the innermost search that has one.
int32_t g_firstExtension = 0;

PtrArray<PtrArrayText>& Extensions() noexcept
{
    static PtrArray<PtrArrayText> extensions(c_extensionStep);
    return extensions;
}

// While this object lives, the list in force is that of one search.
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

// Adds the extension between two pointers (dot included) to the list in force. False: none, or memory is short.
bool AddExtension(const wchar_t* begin, const wchar_t* end)
{
    if (*begin != L'.' || end - begin < 2 || !std::all_of(begin + 1, end, IsExtensionUnit))
        return false;
    const std::wstring extension(begin + 1, end);
    const int32_t before = Extensions().GetCount();
    Extensions().Add(extension.c_str(), true);
    return Extensions().GetCount() == before + 1;
}

// Adds the extensions of a list to the one in force. False when it is malformed or memory is short.
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

bool IsFound(const FileSearch& search, const wchar_t* name) noexcept
{
    const wchar_t* const dot = wcsrchr(name, L'.');
    return search.onFile != nullptr && dot != nullptr && IsListedExtension(dot + 1) &&
           _wcsnicmp(name, search.namePrefix, SafeLength(search.namePrefix)) == 0;
}

bool IsSearched(const FileSearch& search, const _wfinddata64_t& directory) noexcept
{
    return search.recurse && directory.name[0] != L'.' && (directory.attrib & (_A_HIDDEN | _A_SYSTEM)) == 0;
}

bool SearchDirectory(const FileSearch& search, const TString& directory);

// NOLINTNEXTLINE(misc-no-recursion): as deep as the folders are
bool Visit(const FileSearch& search, const TString& directory, const _wfinddata64_t& entry)
{
    const bool isDirectory = (entry.attrib & _A_SUBDIR) != 0;
    if (isDirectory ? !IsSearched(search, entry) : !IsFound(search, entry.name))
        return true;
    TString path(directory);
    path.Append(L'\\');
    path.Append(entry.name);
    if (path.GetBuffer() == nullptr)
        return false;
    return isDirectory ? SearchDirectory(search, path) : search.onFile(path, search.context);
}

// Returns false when a callback has ended the search or memory is short.
// NOLINTNEXTLINE(misc-no-recursion)
bool SearchDirectory(const FileSearch& search, const TString& directory)
{
    TString pattern(directory);
    pattern.Append(L"\\*");
    // A directory that has lost its text would be the root of the drive.
    if (directory.IsEmpty() || pattern.GetBuffer() == nullptr)
        return false;
    _wfinddata64_t entry{};
    const UniqueFindHandle find(_wfindfirst64(pattern, &entry));
    if (!find)
        return true;
    if (search.onDirectory != nullptr && !search.onDirectory(search.context))
        return false;
    do
    {
        if (!Visit(search, directory, entry))
            return false;
    } while (_wfindnext64(find.Get(), &entry) == 0);
    return true;
}
} // namespace

bool FileSearch::Run(const wchar_t* directory, const wchar_t* extensions) const
{
    std::optional<ExtensionScope> scope;
    if (extensions != nullptr)
    {
        scope.emplace();
        if (!ParseExtensions(extensions))
        {
            TraceLine(L"%6.0f %s extension list refused: %s\n", L"CPath::FindFiles", extensions);
            return false;
        }
    }
    return SafeLength(directory) == 0 || SearchDirectory(*this, directory);
}
