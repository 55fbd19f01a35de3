#pragma once

#include "OrvProfiler/foundation/DevicePath.h"
#include "OrvProfiler/foundation/FileSearch.h"
#include "OrvProfiler/foundation/NetDrives.h"
#include "OrvProfiler/foundation/TString.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// What the system tells about a file, in the system's own layout.
struct FileTime
{
    uint32_t low;
    uint32_t high;
};

struct FileAttributeData
{
    uint32_t attributes;
    FileTime creation;
    FileTime lastAccess;
    FileTime lastWrite;
    uint32_t sizeHigh;
    uint32_t sizeLow;
};
static_assert(sizeof(FileAttributeData) == 36 && offsetof(FileAttributeData, creation) == 4 &&
                  offsetof(FileAttributeData, lastAccess) == 12 && offsetof(FileAttributeData, lastWrite) == 20 &&
                  offsetof(FileAttributeData, sizeHigh) == 28 && offsetof(FileAttributeData, sizeLow) == 32,
              "the system fills this record");

// A path as a list of components. Comparisons ignore case, as the C runtime does. Nothing raises, callbacks excepted.
// A null or unreadable text counts as an empty one. Belongs to one thread.
class CPath
{
public:
    static constexpr uint32_t c_drivePath = 0;
    static constexpr uint32_t c_networkPath = 1;
    static constexpr uint32_t c_relativePath = 2;
    // A cleared path, or a bare name.
    static constexpr uint32_t c_noPath = 3;

    // What FindFiles calls; FileSearch.h says when.
    using FileCallback = FileSearch::FileCallback;
    using DirectoryCallback = FileSearch::DirectoryCallback;

    // Cleared.
    CPath() noexcept;

    // Forgets the path and its attributes.
    void Clear() noexcept;

    // Takes a text as the path. Returns false, with the path cleared, when memory is short. The rules:
    // - The letters A to Z are lowered, slashes become backslashes, and a long-path prefix is dropped: \\?\ leaves
    //   nothing, \\?\UNC\ the two backslashes of a network path.
    // - A text that begins with two backslashes is a network path, any other with a colon a drive path, any other
    //   with a backslash, and ".", a relative path. Anything else is a bare name: no components, and the file name is
    //   the whole text. The empty text clears the path.
    // - The components are what stands between backslashes. The first is the drive (c:) or the server, the last is
    //   the last part of the path, folder or file. A relative path that begins with a backslash has an empty first
    //   component.
    // - Doubled and trailing backslashes are ignored, and so are "." components, except as the server. ".." removes
    //   the component before it in a drive path, but never the drive; in other paths it stays as a component.
    // - The last component is also the file name when it has an extension (a dot inside it) and can be a file: the
    //   text does not end with a backslash, "." or "..", and the component is not the drive, the server or the share.
    // - The path's text is Join(). For a relative path without components it is ".". A root keeps its backslash
    //   (c:\ or \).
    bool Parse(const wchar_t* text) noexcept;
    // Takes the process's current directory as the path, in its long form if it holds a tilde. False, with the path
    // cleared, when the directory is unknown or has more than 259 units, or when memory is short.
    bool FromCurrentDirectory() noexcept;
    // Makes the path the process's current directory.
    bool MakeCurrent() const noexcept;

    // Whether a file or folder of that name exists. Only the answer "no such file" gives false: what the system
    // cannot tell counts as existing, on purpose.
    static bool Exists(const wchar_t* text) noexcept;
    // Creates one folder with default security. False when it exists already.
    static bool CreateDir(const wchar_t* text) noexcept;

    // The components with backslashes between them; a network path begins with two. Without a buffer when memory is
    // short.
    TString Join() const noexcept;
    // Appends a name, or another path's text, behind a backslash, and parses the result as the new path: an empty
    // path becomes the name in the root (\name). A path that is a root gets no second backslash. The path should have
    // no file name. Returns what Parse returns.
    bool Append(const wchar_t* name) noexcept;
    bool Append(const CPath& path) noexcept;

    // Whether both have the same components. When neither has any, the file names are compared, with their case.
    bool Equals(const CPath& other) const noexcept;
    // Whether this path begins with all of the other's components; like Equals when one of them has none.
    bool IsWithin(const CPath& other) const noexcept;
    // The order of the texts by TString's <: an empty path is not less than any other.
    bool Less(const CPath& other) const noexcept;
    // Whether the dots look wrong: a component before the last holds more than two, or holds one behind a component
    // that has none. True without components.
    bool CheckDots() const noexcept;

    // Reads the attributes, once. True when they are known. The times are local times. Only drive and
    // network paths have attributes here. False, with everything zero, when there is no such file.
    bool Attributes() noexcept;
    // What Attributes has read; all zero before.
    const FileAttributeData& GetAttributeData() const noexcept { return m_attributes; }
    bool IsDirectory() noexcept;

    uint32_t GetKind() const noexcept { return m_kind; }
    size_t GetComponentCount() const noexcept { return m_components.size(); }
    // Component i, an empty string beyond the last.
    const TString& Component(size_t i) const noexcept;
    bool HasFileName() const noexcept { return !m_fileName.IsEmpty(); }
    const TString& GetFileName() const noexcept { return m_fileName; }
    // The whole path, lowered.
    const TString& GetText() const noexcept { return m_text; }
    // The text as it was given to Parse.
    const TString& GetGivenText() const noexcept { return m_givenText; }

    // Searches a directory for files whose extension is in the list and whose name begins with namePrefix (null or
    // empty: any name). Both ignore case. recurse also searches the folders below, except hidden ones, system folders
    // and those whose name begins with a dot. Callbacks may be null.
    // The list holds extensions, each a dot followed by letters, digits, '-' or '_', separated by any number of ";",
    // ",", " " and ":", as in ".exe;.dll". With an empty list no file is found. With a null one, a search from within
    // a callback uses the list of the search around it; any other search then finds directories only. Returns false
    // when a callback has ended the search or memory is short. Returns false, too, with a trace line and nothing
    // searched, when the list is malformed or there is no memory for it. A directory that cannot be read counts as
    // empty. An exception of a callback passes through. Not for concurrent use: all searches share one list.
    static bool FindFiles(const wchar_t* directory, const wchar_t* namePrefix, const wchar_t* extensions,
                          FileCallback onFile, DirectoryCallback onDirectory, void* context, bool recurse);

private:
    bool TakeSpelling(const TString& spelling);
    bool TakeParts(const std::vector<TString>& parts, bool rooted);
    bool TakePart(const TString& part);
    bool ComponentsMatch(const CPath& other, size_t count) const noexcept;
    TString LongPathName() const noexcept;

    uint32_t m_kind = c_noPath;
    std::vector<TString> m_components;
    TString m_fileName;
    TString m_text;
    TString m_givenText;
    FileAttributeData m_attributes{};
};
