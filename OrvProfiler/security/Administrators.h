#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/security/SystemFunctionTable.h"

#include <cstdint>

// The bits of GetAdministratorBits.
constexpr uint32_t c_adminBuiltInGroup = 1;
constexpr uint32_t c_adminAccount = 2;
constexpr uint32_t c_adminDomainGroup = 4;

// Questions about SIDs of well-known types. Without IsWellKnownSid every answer is no. Any thread.

// Whether the SID is of the well-known type, a WELL_KNOWN_SID_TYPE.
bool IsWellKnownType(const SystemFunctionTable& functions, PSID sid, uint32_t type) noexcept;

// Whether the SID is one of those that GetAdministratorBits looks for.
bool IsAdministratorSid(const SystemFunctionTable& functions, PSID sid) noexcept;

// The administrators among the process's groups, as bits added up. Groups that the token holds only to deny access
// count too. 0 for none, and, with one trace line of CProxySecManager::IsRunAsAdmin, when the token cannot be read.
// The handle needs query access.
uint32_t GetAdministratorBits(const SystemFunctionTable& functions, HANDLE process) noexcept;
