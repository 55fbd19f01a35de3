#include "OrvProfiler/security/Administrators.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/security/TokenQuery.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxySecurity";

struct AdminSid
{
    WELL_KNOWN_SID_TYPE type;
    uint32_t bit;
};

constexpr AdminSid c_adminSids[] = {
    {WinBuiltinAdministratorsSid, c_adminBuiltInGroup},
    {WinAccountAdministratorSid, c_adminAccount},
    {WinAccountDomainAdminsSid, c_adminDomainGroup},
};
} // namespace

bool IsWellKnownType(const SystemFunctionTable& functions, PSID sid, uint32_t type) noexcept
{
    return functions.isWellKnownSid != nullptr && functions.isWellKnownSid(sid, static_cast<int>(type)) != FALSE;
}

bool IsAdministratorSid(const SystemFunctionTable& functions, PSID sid) noexcept
{
    return std::any_of(std::begin(c_adminSids), std::end(c_adminSids), [&functions, sid](const AdminSid& admin) {
        return IsWellKnownType(functions, sid, admin.type);
    });
}

uint32_t GetAdministratorBits(const SystemFunctionTable& functions, HANDLE process) noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::IsRunAsAdmin";
    if (functions.isWellKnownSid == nullptr)
        return 0;
    UniqueHandle token;
    if (OpenProcessToken(process, TOKEN_READ, token.Receive()) == FALSE)
    {
        const DWORD error = GetLastError();
        DebugAssert(false, c_source);
        TraceText(function, ErrorText(error));
        return 0;
    }
    uint32_t bits = 0;
    for (const SID_AND_ATTRIBUTES& group : TokenGroupsQuery(token.Get(), function))
    {
        for (const AdminSid& admin : c_adminSids)
        {
            if (IsWellKnownType(functions, group.Sid, admin.type))
                bits |= admin.bit;
        }
    }
    return bits;
}
