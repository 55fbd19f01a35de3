#include "OrvProfiler/security/PrivateNamespace.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/OpenToAll.h"

#include <windows.h>

namespace
{
constexpr const wchar_t* c_source = L"ProxySecurity";
} // namespace

HANDLE CreateNamespaceBoundary(const SystemFunctionTable& functions) noexcept
{
    const auto create = EntryPointAs<decltype(CreateBoundaryDescriptorW)>(functions.createBoundaryDescriptorW);
    HANDLE const boundary = create(c_boundaryName, 0);
    if (boundary == nullptr)
    {
        DebugAssert(false, c_source, __LINE__);
        Trace(L"%6.0f %s CreateBoundaryDescriptor\n%s\n", TickMs(), L"CProxySecManager::LoadVistaFunctions",
              ErrorText(GetLastError()));
    }
    return boundary;
}

void DeleteNamespaceBoundary(const SystemFunctionTable& functions, HANDLE& boundary) noexcept
{
    if (boundary == nullptr)
        return;
    DebugAssert(functions.deleteBoundaryDescriptor != nullptr, c_source, __LINE__);
    if (functions.deleteBoundaryDescriptor != nullptr)
        EntryPointAs<decltype(DeleteBoundaryDescriptor)>(functions.deleteBoundaryDescriptor)(boundary);
    boundary = nullptr;
}

HANDLE CreateNamespaceWithin(const SystemFunctionTable& functions, HANDLE boundary, const wchar_t* name) noexcept
{
    const bool ready = boundary != nullptr && functions.createPrivateNamespaceW != nullptr;
    DebugAssert(ready, c_source, __LINE__);
    if (!ready)
    {
        DebugAssert(false, c_source, __LINE__);
        return nullptr;
    }
    OpenToAll openToAll;
    if (!openToAll.IsBuilt())
    {
        DebugAssert(false, c_source, __LINE__);
        return nullptr;
    }
    const auto create = EntryPointAs<decltype(CreatePrivateNamespaceW)>(functions.createPrivateNamespaceW);
    HANDLE const handle = create(openToAll.Get(), boundary, name);
    if (handle == nullptr)
        Trace(L"%6.0f %s CreatePrivateNamespace %s\n%s\n", TickMs(), L"CProxySecManager::OrvPCreateNamespace", name,
              ErrorText(GetLastError()));
    return handle;
}

HANDLE OpenNamespaceWithin(const SystemFunctionTable& functions, HANDLE boundary, const wchar_t* name) noexcept
{
    if (functions.openPrivateNamespaceW == nullptr || boundary == nullptr)
        return nullptr;
    const auto open = EntryPointAs<decltype(OpenPrivateNamespaceW)>(functions.openPrivateNamespaceW);
    HANDLE const handle = open(boundary, name);
    if (handle != nullptr)
        return handle;
    const DWORD error = GetLastError();
    // Path not found: nobody has created it yet.
    if (error != ERROR_PATH_NOT_FOUND)
        Trace(L"%6.0f %s OpenPrivateNamespace %s\n%s\n", TickMs(), L"CProxySecManager::OrvPOpenNamespace", name,
              ErrorText(error));
    return nullptr;
}

bool CloseNamespaceHandle(const SystemFunctionTable& functions, HANDLE& handle) noexcept
{
    if (handle == nullptr || functions.closePrivateNamespace == nullptr)
        return false;
    constexpr ULONG keepNamespace = 0;
    if (EntryPointAs<decltype(ClosePrivateNamespace)>(functions.closePrivateNamespace)(handle, keepNamespace) ==
        FALSE)
    {
        Trace(L"%6.0f %s ClosePrivateNamespace\n%s\n", TickMs(), L"CProxySecManager::OrvPCloseNamespace",
              ErrorText(GetLastError()));
        DebugAssert(false, c_source, __LINE__);
        return false;
    }
    handle = nullptr;
    return true;
}
