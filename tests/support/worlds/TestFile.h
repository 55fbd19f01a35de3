#pragma once

#include <string>

// A file with the given content in a folder of its own below the user's temporary folder; both go with this object.
class TestFile
{
public:
    // Throws std::runtime_error when the file cannot be made.
    explicit TestFile(const std::string& content, const wchar_t* name = L"file.bin");
    ~TestFile();
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;

    const wchar_t* Path() const noexcept { return m_path.c_str(); }

private:
    std::wstring m_folder;
    std::wstring m_path;
};
