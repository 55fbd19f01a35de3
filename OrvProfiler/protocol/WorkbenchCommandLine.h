#pragma once

#include "OrvProfiler/protocol/ClientId.h"

#include <cstdint>
#include <string>

// How a client starts the workbench, and how the workbench ends:
//     "<program>" workbench <client process id>
// Further arguments change nothing.

// The program, the mode word and the client id.
constexpr int c_workbenchArgumentCount = 3;
constexpr int c_clientIdArgument = 2;
// Whatever stands in its place, the workbench does the same.
constexpr const wchar_t* c_workbenchModeWord = L"workbench";

// What the workbench exits with: when arguments are missing, and in every other case.
constexpr int c_exitArgumentsMissing = 0;
constexpr int c_exitCode = 1;

// The command line that starts a program as a client's workbench.
inline std::wstring WorkbenchCommandLine(const std::wstring& program, uint32_t clientId)
{
    return L"\"" + program + L"\" " + c_workbenchModeWord + L" " + ClientIdText(clientId).Get();
}
