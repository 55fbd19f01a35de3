#pragma once

#include <string>

// A path up to its last separator, with it; empty for a bare name.
std::wstring FolderOf(const std::wstring& path);

// The value of a variable of this process's environment; empty when there is none.
std::wstring EnvironmentValue(const wchar_t* name);

// The folder for what this client keeps for this user from session to session, with a separator at its end; it need
// not exist. Empty when the system names no place for such.
std::wstring KeptFilesFolder();

// Makes a folder, and those that it lies in. True when it is there; else the last error tells why it is not.
bool MakeFolders(const std::wstring& path) noexcept;
