#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstddef>
#include <string>

// Files, read and written as any other program would.

// Whether there is a file or a folder of that path.
bool PathExists(const std::wstring& path);
// The whole file, also while another program writes it. Throws std::runtime_error when it cannot be read.
std::string FileBytes(const std::wstring& path);
// Writes the file anew. Throws std::runtime_error when it cannot be written.
void WriteFileBytes(const std::wstring& path, const std::string& bytes);
// Adds to a file that is there, and shares it for all with all. Throws std::runtime_error when that fails.
void AddFileBytes(const std::wstring& path, const std::string& bytes);

// An empty folder of its own below the user's temporary folder. It goes with this object, and all in it.
class TemporaryFolder
{
public:
    // Throws std::runtime_error when no folder can be made.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // Without a trailing backslash.
    const std::wstring& Path() const noexcept { return m_path; }
    std::wstring PathOf(const std::wstring& name) const { return m_path + L"\\" + name; }

    // Make a folder or a file of that many bytes in it, and return its path. Throw std::runtime_error when they
    // cannot.
    std::wstring MakeFolder(const std::wstring& name, DWORD attributes = 0) const;
    std::wstring MakeFile(const std::wstring& name, size_t sizeBytes = 0) const;

private:
    std::wstring m_path;
};

// A file with the given content in a temporary folder.
class TemporaryFile
{
public:
    // Throws std::runtime_error when the file cannot be made.
    explicit TemporaryFile(const std::string& content, const wchar_t* name = L"file.bin")
        : m_path(m_folder.PathOf(name))
    {
        WriteFileBytes(m_path, content);
    }

    const wchar_t* Path() const noexcept { return m_path.c_str(); }

private:
    TemporaryFolder m_folder;
    std::wstring m_path;
};
