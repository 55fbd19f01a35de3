#include "client/base/Folders.h"

#include <windows.h>

namespace
{
constexpr const wchar_t* c_separators = L"\\/";
} // namespace

std::wstring FolderOf(const std::wstring& path)
{
    return path.substr(0, path.find_last_of(c_separators) + 1);
}

std::wstring EnvironmentValue(const wchar_t* name)
{
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::wstring KeptFilesFolder()
{
    const std::wstring folder = EnvironmentValue(L"LOCALAPPDATA");
    return folder.empty() ? std::wstring() : folder + L"\\OrvClient\\";
}

bool MakeFolders(const std::wstring& path) noexcept
{
    // Those that it lies in first; what cannot be made there tells the last one.
    for (size_t end = path.find_first_of(c_separators, 1); end != std::wstring::npos;
         end = path.find_first_of(c_separators, end + 1))
        CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
    if (CreateDirectoryW(path.c_str(), nullptr) != FALSE)
        return true;
    const DWORD error = GetLastError();
    const DWORD attributes = GetFileAttributesW(path.c_str());
    const bool isFolder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    SetLastError(error);
    return isFolder;
}
