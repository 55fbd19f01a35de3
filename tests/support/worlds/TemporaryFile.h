#pragma once

#include <string>

// A fresh folder below the user's temporary folder. It goes with this object, with all that is in it by then.
class ScratchFolder
{
public:
    // Throws std::runtime_error when the folder cannot be made.
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::wstring& Path() const noexcept { return m_path; }

private:
    std::wstring m_path;
};

// A file with the given content in a folder of its own; both go with this object.
class TemporaryFile
{
public:
    // Throws std::runtime_error when the file cannot be made.
    explicit TemporaryFile(const std::string& content, const wchar_t* name = L"file.bin");

    const wchar_t* Path() const noexcept { return m_path.c_str(); }

private:
    ScratchFolder m_folder;
    std::wstring m_path;
};
