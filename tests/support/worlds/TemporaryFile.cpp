#include "tests/support/worlds/TemporaryFile.h"

#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <stdexcept>

namespace
{
void DeleteWithContent(const std::wstring& folder)
{
    WIN32_FIND_DATAW entry{};
    HANDLE const find = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    for (bool isThere = find != INVALID_HANDLE_VALUE; isThere; isThere = FindNextFileW(find, &entry) != FALSE)
    {
        const std::wstring name = entry.cFileName;
        if (name == L"." || name == L"..")
            continue;
        const std::wstring path = folder + L"\\" + name;
        // What is read-only cannot be deleted.
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            DeleteWithContent(path);
        else
            DeleteFileW(path.c_str());
    }
    FindClose(find);
    RemoveDirectoryW(folder.c_str());
}
} // namespace

ScratchFolder::ScratchFolder() : m_path(FreshFolder()) {}

ScratchFolder::~ScratchFolder()
{
    DeleteWithContent(m_path);
}

TemporaryFile::TemporaryFile(const std::string& content, const wchar_t* name) : m_path(m_folder.Path() + L"\\" + name)
{
    HANDLE const file = CreateFileW(m_path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    DWORD written = 0;
    const bool ok = WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != FALSE;
    CloseHandle(file);
    if (!ok || written != content.size())
        throw std::runtime_error("a test file cannot be written");
}
