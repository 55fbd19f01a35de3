#pragma once

#include "OrvProfiler/foundation/TString.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// Paths however they were written: mapped network drives, kernel device paths, and a path as a list of components.
// All comparisons of paths ignore case, as the C runtime does. Nothing here raises, callbacks apart. A null or
// unreadable path is taken as an empty one, where nothing else is said.

// The network drives that are mapped for the user, as they were when the object was made. Read-only afterwards: any
// thread.
class CNetDrives
{
public:
    // Asks the system, through the network library, which may be missing: the table is empty then.
    CNetDrives() noexcept;
    ~CNetDrives();
    CNetDrives(const CNetDrives&) = delete;
    CNetDrives& operator=(const CNetDrives&) = delete;

    // The number of mapped drives.
    uint32_t Count() const noexcept { return m_count; }
    // Mapped drive i in the order of the letters: the drive and behind it the remote name, as in X:\\server\share;
    // null beyond the last. The text is the table's.
    const wchar_t* Entry(uint32_t i) const noexcept;
    // The remote name that a path lives on: that of its drive letter, or the first one that a network path begins
    // with, deliberately without a look at where the match ends; null when there is none. The text is the table's.
    const wchar_t* ShareOf(const wchar_t* path) const noexcept;
    // The part of a path behind its drive (X:) or behind the first remote name that it begins with; the path itself
    // when it has neither. Points into path.
    const wchar_t* RestOfPath(const wchar_t* path) const noexcept;
    // Whether two paths name the same file: a file written by its drive letter and by the share behind the letter is
    // one. Two nulls are the same, a null and a text are not.
    bool SamePath(const wchar_t* left, const wchar_t* right) const noexcept;

private:
    const wchar_t* RemoteName(uint32_t i) const noexcept;
    uint32_t FindRemoteName(const wchar_t* path) const noexcept;

    // Bit 0 is drive A. The second mask has the drives that were asked for a connection.
    uint32_t m_drives = 0;
    uint32_t m_scanned = 0;
    wchar_t** m_entries = nullptr;
    uint32_t* m_lengths = nullptr;
    uint32_t m_count = 0;
};

// The process's table of network drives, made before the entry runs. Defined with the other static objects of the
// process, see StaticObjects.cpp.
extern CNetDrives g_NetDrives;

// Turns a kernel device path, as the system reports a process's image in, into one with a drive letter:
// \Device\HarddiskVolume2\a.exe into C:\a.exe, \Device\Mup\server\share\a.exe into the drive that is mapped to the
// share. The first drive whose device name the path begins with wins, deliberately without a look at where the match
// ends. A path of no drive is returned in its long form, when the system knows one (for \Device\Mup\server the form
// is \\server), else as it was given; so is an empty path, a null one and one of 261 units or more.
// The result is the argument itself or a buffer that the next call overwrites. The drives are asked for once per
// process. Not for concurrent use.
const wchar_t* DeviceToDrivePath(const wchar_t* path) noexcept;

// What the system tells of a file, laid out as the system lays it out.
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

// A path as a list of components. Belongs to one thread.
class CPath
{
public:
    static constexpr uint32_t c_drivePath = 0;
    static constexpr uint32_t c_networkPath = 1;
    static constexpr uint32_t c_relativePath = 2;
    // Cleared, or a bare name.
    static constexpr uint32_t c_noPath = 3;

    // Called for a file with its path (the directory searched, a backslash and the name; good during the call) and
    // the context; for a directory, before its files, with the context. False ends the search.
    using FileCallback = bool (*)(const wchar_t* path, void* context);
    using DirectoryCallback = bool (*)(void* context);

    // Cleared.
    CPath() noexcept;

    // Forgets the path and its attributes.
    void Clear() noexcept;

    // Takes a text as the path. Returns false, with the path cleared, when memory is short. The rules:
    // - The text is lowered (A to Z) and every slash is a backslash. Of a long-path prefix nothing stays, or the two
    //   backslashes of a network path.
    // - A text that begins with two backslashes is a network path, any other with a colon a drive path, any other
    //   with a backslash, and ".", a relative path. Anything else is a bare name: no components, and the file name is
    //   the whole text. The empty text clears the path.
    // - The components are what stands between backslashes: the drive (c:) or the server is the first of them, the
    //   last part of the path, be it a folder or a file, the last. A relative path that begins with a backslash has
    //   an empty first component.
    // - Doubled and trailing backslashes count for nothing, and "." components are skipped (the server's place
    //   excepted). ".." takes away the component before it in a drive path, and nothing when only the drive is left;
    //   in other paths it stays as a component.
    // - The last component is the file name, too, when it has an extension (a dot inside it) and can be a file: no
    //   backslash, "." or ".." follows, and it is not the drive, the server or the share.
    // - The text is Join(), but "." for a relative path without components, and with the root's backslash for a drive
    //   (c:\) or a relative path (\) that is only the root.
    bool Parse(const wchar_t* text) noexcept;
    // Takes the process's current directory as the path, in its long form if it holds a tilde. False, with the path
    // cleared, when the directory cannot be had in 259 units.
    bool FromCurrentDirectory() noexcept;
    // Makes the path the process's current directory.
    bool MakeCurrent() const noexcept;

    // Whether a file or folder of that name exists. Deliberately true, too, for whatever cannot be told: only "no
    // such file" is false.
    static bool Exists(const wchar_t* text) noexcept;
    // Creates one folder with default security. False when it exists already.
    static bool CreateDir(const wchar_t* text) noexcept;

    // The components with a backslash between them, behind two backslashes for a network path; without a buffer when
    // memory is short.
    TString Join() const noexcept;
    // Goes on below the path: parses its text, a backslash and the name (or the other path's text) as the new path;
    // the name alone when the path is empty. The path should carry no file name. Returns what Parse returns.
    bool Append(const wchar_t* name) noexcept;
    bool Append(const CPath& path) noexcept;

    // Whether both have the same components; the file names decide, with their case, when neither has components.
    bool Equals(const CPath& other) const noexcept;
    // Whether this path begins with all of the other's components; like Equals when one of them has none.
    bool IsWithin(const CPath& other) const noexcept;
    // The order of the texts by TString's <, so an empty path is less than none.
    bool Less(const CPath& other) const noexcept;
    // Whether the dots look wrong: a component before the last holds more than two, or holds one behind a component
    // that has none. True without components.
    bool CheckDots() const noexcept;

    // Reads the attributes, once: true when they are known. The times are local times. The system answers only for
    // whole paths, drive or network. False, with everything zero, when there is no such file.
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

    // Searches a directory for files whose extension is in the list, and whose name begins with namePrefix when that
    // is not null or empty; both ignore case. recurse searches the folders below, too, but none that is hidden, a
    // system folder or begins with a dot. Callbacks may be null.
    // The list holds extensions, each a dot followed by letters, digits, '-' or '_', separated by any number of ";",
    // ",", " " and ":", as in ".exe;.dll". No file is in an empty list. Without a list (null) a search from within a
    // callback goes by the list of the search around it; any other one then finds directories only.
    // Returns false when a callback has ended the search; also, with a trace line and nothing searched, when the list
    // is malformed (anything else in it) and when memory is short. A directory that cannot be read is taken as empty.
    // An exception of a callback passes. Not for concurrent use: all searches share one list of extensions.
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
