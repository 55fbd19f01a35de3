#pragma once

#include <string_view>

// The files of a workbench, which lie in one folder.
constexpr const wchar_t* c_workbenchProgramFile = L"OrvWorkBench64.exe";
constexpr const wchar_t* c_dispatcherExtension = L".dll";

// The log file. Each start of the workbench truncates it; its folder is not created.
constexpr const wchar_t* c_traceLogPath = L"c:\\zeph\\logs\\OrvWorkBench.log";

// A program's file name without folder and extension, which is also the dispatcher's: the part of path that it is. A
// name without a dot is taken whole; a dot in the folder alone is no extension.
constexpr std::wstring_view ProgramBaseName(std::wstring_view path) noexcept
{
    const size_t backslash = path.rfind(L'\\');
    const std::wstring_view name = backslash == std::wstring_view::npos ? path : path.substr(backslash + 1);
    return name.substr(0, name.rfind(L'.'));
}
