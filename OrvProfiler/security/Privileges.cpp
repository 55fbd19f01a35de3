#include "OrvProfiler/security/Privileges.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxySecurity";
constexpr DWORD c_tokenForPrivileges = TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY;
constexpr uint32_t c_privilegeUnknown = 0xFFFFFFFF;

// Opens a process's token for work on privileges; traces under the caller's name.
UniqueHandle OpenPrivilegeToken(HANDLE process, const wchar_t* function) noexcept
{
    UniqueHandle token;
    if (OpenProcessToken(process, c_tokenForPrivileges, token.Receive()) == FALSE)
    {
        TraceLine(L"%6.0f %s OpenProcessToken() failed, Error = %s\n", function, ErrorText(GetLastError()));
        return UniqueHandle();
    }
    return token;
}

// Finds a privilege on the local system; traces under the caller's name.
bool LookUpPrivilege(const wchar_t* name, LUID& luid, const wchar_t* function) noexcept
{
    if (LookupPrivilegeValueW(nullptr, name, &luid) != FALSE)
        return true;
    TraceLine(L"%6.0f %s LookupPrivilegeValue() failed for %s, Error:-\n%s\n", function, name,
              ErrorText(GetLastError()));
    return false;
}
} // namespace

bool EnablePrivilege(const wchar_t* name) noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPEnablePrivilege";
    const UniqueHandle token = OpenPrivilegeToken(GetCurrentProcess(), function);
    if (!token)
        return false;
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!LookUpPrivilege(name, privileges.Privileges[0].Luid, function))
        return false;
    // A privilege that the account does not hold is no failure, on purpose: the last error after a success does not
    // count.
    if (AdjustTokenPrivileges(token.Get(), FALSE, &privileges, sizeof privileges, nullptr, nullptr) == FALSE)
    {
        TraceLine(L"%6.0f %s AdjustTokenPrivileges() failed for %s, Error:-\n%s\n", function, name,
                  ErrorText(GetLastError()));
        return false;
    }
    return true;
}

uint32_t HasPrivilege(HANDLE process, const wchar_t* name) noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPHasPrivilege";
    if (process == nullptr)
    {
        DebugAssert(false, c_source);
        return c_privilegeUnknown;
    }
    const UniqueHandle token = OpenPrivilegeToken(process, function);
    if (!token)
        return c_privilegeUnknown;
    PRIVILEGE_SET privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Control = PRIVILEGE_SET_ALL_NECESSARY;
    if (!LookUpPrivilege(name, privileges.Privilege[0].Luid, function))
        return c_privilegeUnknown;
    // On purpose the token is not asked in between: the answer is 0.
    return (privileges.Privilege[0].Attributes & SE_PRIVILEGE_ENABLED) != 0 ? 1 : 0;
}
