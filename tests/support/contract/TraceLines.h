#pragma once

#include <initializer_list>
#include <string>
#include <vector>

namespace contract
{
// Lines of the trace that several tests expect, each with its line end, as TraceCapture sees them. Names are taken as
// they come, so that a test may put a placeholder in their place.
using Lines = std::vector<std::wstring>;

// The lists one behind the other.
Lines Join(std::initializer_list<Lines> parts);
// The same lines as LogLines reads them from the log file.
Lines InLogFile(const Lines& lines);
// The text with each occurrence of one text replaced by another.
std::wstring Replaced(std::wstring text, const std::wstring& from, const std::wstring& to);
// The line as it would stand in a list in C++ source: L"...",
std::string AsLiteral(const std::wstring& line);

// An object is asked for by the id of a process that is none. The text of the error is ErrorTextStandIn's.
constexpr const wchar_t* c_noProcessLine = L"CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 87>\n";
constexpr const wchar_t* c_openMappingFailedLine = L"CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n";
constexpr const wchar_t* c_openMapFailedLine = L"CProxyMap::OpenMap Open returned: <error 2>\n";
constexpr const wchar_t* c_shareSizeLine = L"CProxyShare::Create Size of Share is 116197744 bytes\n";

std::wstring EventCreatedLine(const std::wstring& kernelName);
std::wstring MutexCreatedLine(const std::wstring& kernelName);
std::wstring MappingCreatedLine(const std::wstring& kernelName);
std::wstring OpenMapLine(const std::wstring& name);
std::wstring MapCreatedLine(const std::wstring& name);

// The eleven events of a workbench: each name stands between the two texts.
Lines EventLines(const std::wstring& prefix, const std::wstring& idText);
// The seven mutexes of a share.
Lines ShareMutexLines(const std::wstring& shareKernelName);
// A workbench that opens the share which its client has made.
Lines OpenedShareLines(const std::wstring& shareName, const std::wstring& shareKernelName,
                       const std::wstring& idText);
// One wait for a command, which that event ends.
Lines WaitLines(const std::wstring& eventName);
} // namespace contract
