#pragma once

#include "tests/support/worlds/TemporaryFile.h"

#include <windows.h>

#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// A scratch folder with a quick way to files and folders in it.
class TemporaryFolder : public ScratchFolder
{
public:
    std::wstring MakeFolder(const std::wstring& name, DWORD attributes = FILE_ATTRIBUTE_NORMAL) const
    {
        const std::wstring path = Path() + L"\\" + name;
        EXPECT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
        if (attributes != FILE_ATTRIBUTE_NORMAL)
            SetFileAttributesW(path.c_str(), attributes);
        return path;
    }

    std::wstring MakeFile(const std::wstring& name, size_t sizeBytes = 0) const
    {
        std::wstring path = Path() + L"\\" + name;
        HANDLE const file =
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(INVALID_HANDLE_VALUE, file);
        const std::vector<char> content(sizeBytes, 'c');
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(file, content.data(), static_cast<DWORD>(sizeBytes), &written, nullptr));
        CloseHandle(file);
        return path;
    }
};
