#include "tests/support/worlds/TemporaryFile.h"

#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <stdexcept>

TemporaryFile::TemporaryFile(const std::string& content, const wchar_t* name)
    : m_folder(FreshFolder()), m_path(m_folder + L"\\" + name)
{
    HANDLE const file = CreateFileW(m_path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    DWORD written = 0;
    const bool ok = WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != FALSE;
    CloseHandle(file);
    if (!ok || written != content.size())
        throw std::runtime_error("a test file cannot be written");
}

TemporaryFile::~TemporaryFile()
{
    DeleteFileW(m_path.c_str());
    RemoveDirectoryW(m_folder.c_str());
}
