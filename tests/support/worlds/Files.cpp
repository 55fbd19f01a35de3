#include "tests/support/worlds/Files.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <stdexcept>

namespace
{
// A process id may come again, and an earlier run may have left its folder.
std::wstring MakeFreshFolder()
{
    wchar_t temp[MAX_PATH]{};
    GetTempPathW(MAX_PATH, temp);
    std::wstring folder = temp + FreshName(L"orv");
    while (CreateDirectoryW(folder.c_str(), nullptr) == FALSE)
    {
        if (GetLastError() != ERROR_ALREADY_EXISTS)
            throw std::runtime_error("no temporary folder");
        folder = temp + FreshName(L"orv");
    }
    return folder;
}

void Delete(const std::wstring& folder);

void DeleteEntry(const std::wstring& folder, const WIN32_FIND_DATAW& entry)
{
    const std::wstring name = entry.cFileName;
    if (name == L"." || name == L"..")
        return;
    const std::wstring path = folder + L"\\" + name;
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        Delete(path);
    else
        DeleteFileW(path.c_str());
}

void Delete(const std::wstring& folder)
{
    WIN32_FIND_DATAW entry{};
    HANDLE const search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do
        DeleteEntry(folder, entry);
    while (FindNextFileW(search, &entry) != FALSE);
    FindClose(search);
    RemoveDirectoryW(folder.c_str());
}

void WriteTo(HANDLE file, const std::string& bytes)
{
    DWORD written = 0;
    if (file == nullptr ||
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) == FALSE ||
        written != bytes.size())
        throw std::runtime_error("a file cannot be written");
}
} // namespace

bool PathExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string FileBytes(const std::wstring& path)
{
    const UniqueHandle file = UniqueHandle::FromFile(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, 0, nullptr));
    if (!file)
        throw std::runtime_error("a file cannot be read");
    std::string bytes(GetFileSize(file.Get(), nullptr), '\0');
    DWORD read = 0;
    ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
    bytes.resize(read);
    return bytes;
}

void WriteFileBytes(const std::wstring& path, const std::string& bytes)
{
    const UniqueHandle file = UniqueHandle::FromFile(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    WriteTo(file.Get(), bytes);
}

void AddFileBytes(const std::wstring& path, const std::string& bytes)
{
    const UniqueHandle file = UniqueHandle::FromFile(
        CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, 0, nullptr));
    WriteTo(file.Get(), bytes);
}

TemporaryFolder::TemporaryFolder() : m_path(MakeFreshFolder()) {}

TemporaryFolder::~TemporaryFolder()
{
    Delete(m_path);
}

std::wstring TemporaryFolder::MakeFolder(const std::wstring& name, DWORD attributes) const
{
    std::wstring path = PathOf(name);
    if (CreateDirectoryW(path.c_str(), nullptr) == FALSE ||
        (attributes != 0 && SetFileAttributesW(path.c_str(), attributes) == FALSE))
        throw std::runtime_error("a folder cannot be made");
    return path;
}

std::wstring TemporaryFolder::MakeFile(const std::wstring& name, size_t sizeBytes) const
{
    std::wstring path = PathOf(name);
    WriteFileBytes(path, std::string(sizeBytes, 'c'));
    return path;
}
