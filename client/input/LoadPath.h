#pragma once

#include <string>

// The path from the current directory on, in full; as it is when the system cannot tell.
std::wstring FullPath(const std::wstring& path);

// The text of a load command with its file named in full where it is one of the current directory: a relative path
// starts where the user stands, and the workbench stands elsewhere. A text that names no file there (a full path, an
// assembly's name, a file beside the workbench) stays as it is.
std::wstring LoadTextFromHere(const std::wstring& text);
