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
