#pragma once

#include "tests/support/worlds/SystemProbe.h"

#include <windows.h>

#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// A folder that is deleted, with everything in it, when this object goes.
class TemporaryFolder
{
public:
    TemporaryFolder() : m_path(FreshFolder()) {}
    ~TemporaryFolder() { Delete(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::wstring& Path() const { return m_path; }

    std::wstring MakeFolder(const std::wstring& name, DWORD attributes = FILE_ATTRIBUTE_NORMAL) const
    {
        const std::wstring path = m_path + L"\\" + name;
        EXPECT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
        if (attributes != FILE_ATTRIBUTE_NORMAL)
            SetFileAttributesW(path.c_str(), attributes);
        return path;
    }

    std::wstring MakeFile(const std::wstring& name, size_t sizeBytes = 0) const
    {
        std::wstring path = m_path + L"\\" + name;
        HANDLE const file =
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(INVALID_HANDLE_VALUE, file);
        const std::vector<char> content(sizeBytes, 'c');
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(file, content.data(), static_cast<DWORD>(sizeBytes), &written, nullptr));
        CloseHandle(file);
        return path;
    }

private:
    static void Delete(const std::wstring& folder)
    {
        WIN32_FIND_DATAW entry{};
        HANDLE const find = FindFirstFileW((folder + L"\\*").c_str(), &entry);
        do
        {
            const std::wstring name = entry.cFileName;
            if (name == L"." || name == L"..")
                continue;
            const std::wstring path = folder + L"\\" + name;
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
                Delete(path);
            else
                DeleteFileW(path.c_str());
        } while (FindNextFileW(find, &entry) != FALSE);
        FindClose(find);
        RemoveDirectoryW(folder.c_str());
    }

    std::wstring m_path;
};
