#pragma once

#include <string>

// A file with the given content in a folder of its own below the user's temporary folder; both go with this object.
class TemporaryFile
{
public:
    // Throws std::runtime_error when the file cannot be made.
    explicit TemporaryFile(const std::string& content, const wchar_t* name = L"file.bin");
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const wchar_t* Path() const noexcept { return m_path.c_str(); }

private:
    std::wstring m_folder;
    std::wstring m_path;
};
