#include "client/base/Folders.h"

#include <windows.h>

std::wstring FolderOf(const std::wstring& path)
{
    return path.substr(0, path.find_last_of(L"\\/") + 1);
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
    if (CreateDirectoryW(path.c_str(), nullptr) != FALSE)
        return true;
    const DWORD error = GetLastError();
    if (error == ERROR_PATH_NOT_FOUND)
    {
        const size_t end = path.find_last_of(L"\\/", path.find_last_not_of(L"\\/"));
        if (end != std::wstring::npos && end > 0 && MakeFolders(path.substr(0, end)))
            return CreateDirectoryW(path.c_str(), nullptr) != FALSE;
        return false;
    }
    const DWORD attributes = GetFileAttributesW(path.c_str());
    const bool isFolder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    SetLastError(error);
    return isFolder;
}
