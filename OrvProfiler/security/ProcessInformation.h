#pragma once

#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/security/ProcessLayout.h"
#include "OrvProfiler/security/SystemFunctionTable.h"

#include <cstdint>

// What the system tells of a process by its handle, which needs query access. Nothing is traced. Any thread.

// Asks NtQueryInformationProcess, given here, for the basic information. False on failure and for a null function.
bool QueryProcess(NtQueryInformationProcessFunction query, HANDLE process, ProcessBasics& answer) noexcept;

// The id of the process, 0 on failure.
uint32_t QueryProcessId(HANDLE process) noexcept;

// The process's image file as the kernel names it (\Device\...), at most 259 units; empty for a null handle and on
// failure. Uses QueryFullProcessImageNameW, which is looked up only where the private namespace is used, else
// NtQueryInformationProcess.
TString QueryImageName(const SystemFunctionTable& functions, HANDLE process) noexcept;

// Whether the system is 64-bit and the process runs natively on it. False also on failure and without IsWow64Process.
bool IsNative64BitProcess(const SystemFunctionTable& functions, HANDLE process) noexcept;
