#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>

// The privileges of a process. A failed system call writes one trace line under the name of the security manager's
// operation that stands behind each function, where the contract is.

// The work of CProxySecManager::OrvPEnablePrivilege.
bool EnablePrivilege(const wchar_t* name) noexcept;

// The work of CProxySecManager::OrvPHasPrivilege.
uint32_t HasPrivilege(HANDLE process, const wchar_t* name) noexcept;
