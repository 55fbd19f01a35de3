#include "OrvProfiler/security/PrivateNamespace.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/OpenToAll.h"

#include <windows.h>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxySecurity";
} // namespace

HANDLE CreateNamespaceBoundary(const SystemFunctionTable& functions) noexcept
{
    HANDLE const boundary = functions.createBoundaryDescriptorW(c_boundaryName, 0);
    if (boundary == nullptr)
    {
        DebugAssert(false, c_source);
        TraceLine(L"%6.0f %s CreateBoundaryDescriptor\n%s\n", L"CProxySecManager::LoadVistaFunctions",
                  ErrorText(GetLastError()));
    }
    return boundary;
}

void DeleteNamespaceBoundary(const SystemFunctionTable& functions, HANDLE& boundary) noexcept
{
    if (boundary == nullptr)
        return;
    DebugAssert(functions.deleteBoundaryDescriptor != nullptr, c_source);
    if (functions.deleteBoundaryDescriptor != nullptr)
        functions.deleteBoundaryDescriptor(boundary);
    boundary = nullptr;
}

HANDLE CreateNamespaceWithin(const SystemFunctionTable& functions, HANDLE boundary, const wchar_t* name) noexcept
{
    const bool ready = boundary != nullptr && functions.createPrivateNamespaceW != nullptr;
    DebugAssert(ready, c_source);
    if (!ready)
    {
        DebugAssert(false, c_source);
        return nullptr;
    }
    OpenToAll openToAll;
    if (!openToAll.IsBuilt())
    {
        DebugAssert(false, c_source);
        return nullptr;
    }
    HANDLE const handle = functions.createPrivateNamespaceW(openToAll.Get(), boundary, name);
    if (handle == nullptr)
        TraceLine(L"%6.0f %s CreatePrivateNamespace %s\n%s\n", L"CProxySecManager::OrvPCreateNamespace", name,
                  ErrorText(GetLastError()));
    return handle;
}

HANDLE OpenNamespaceWithin(const SystemFunctionTable& functions, HANDLE boundary, const wchar_t* name) noexcept
{
    if (functions.openPrivateNamespaceW == nullptr || boundary == nullptr)
        return nullptr;
    HANDLE const handle = functions.openPrivateNamespaceW(boundary, name);
    if (handle != nullptr)
        return handle;
    const DWORD error = GetLastError();
    // Path not found: nobody has created it yet.
    if (error != ERROR_PATH_NOT_FOUND)
        TraceLine(L"%6.0f %s OpenPrivateNamespace %s\n%s\n", L"CProxySecManager::OrvPOpenNamespace", name,
                  ErrorText(error));
    return nullptr;
}

bool CloseNamespaceHandle(const SystemFunctionTable& functions, HANDLE& handle) noexcept
{
    if (handle == nullptr || functions.closePrivateNamespace == nullptr)
        return false;
    constexpr ULONG keepNamespace = 0;
    if (functions.closePrivateNamespace(handle, keepNamespace) == FALSE)
    {
        TraceLine(L"%6.0f %s ClosePrivateNamespace\n%s\n", L"CProxySecManager::OrvPCloseNamespace",
                  ErrorText(GetLastError()));
        DebugAssert(false, c_source);
        return false;
    }
    handle = nullptr;
    return true;
}
