#include "OrvProfiler/security/SystemFunctionTable.h"

#include <windows.h>

#include <winternl.h>
#include <winver.h>

// Each is declared as the system declares it.
using Table = SystemFunctionTable;
static_assert(decltype(Table::verQueryValueW)::Fits<decltype(VerQueryValueW)>());
static_assert(decltype(Table::getFileVersionInfoSizeW)::Fits<decltype(GetFileVersionInfoSizeW)>());
static_assert(decltype(Table::getFileVersionInfoW)::Fits<decltype(GetFileVersionInfoW)>());
static_assert(decltype(Table::createPrivateNamespaceW)::Fits<decltype(CreatePrivateNamespaceW)>());
static_assert(decltype(Table::openPrivateNamespaceW)::Fits<decltype(OpenPrivateNamespaceW)>());
static_assert(decltype(Table::closePrivateNamespace)::Fits<decltype(ClosePrivateNamespace)>());
static_assert(decltype(Table::createBoundaryDescriptorW)::Fits<decltype(CreateBoundaryDescriptorW)>());
static_assert(decltype(Table::deleteBoundaryDescriptor)::Fits<decltype(DeleteBoundaryDescriptor)>());
static_assert(decltype(Table::queryFullProcessImageNameW)::Fits<decltype(QueryFullProcessImageNameW)>());
static_assert(decltype(Table::isWow64Process)::Fits<decltype(IsWow64Process)>());
static_assert(decltype(Table::ntQueryInformationProcess)::Fits<decltype(NtQueryInformationProcess)>());
static_assert(decltype(Table::isWellKnownSid)::Fits<decltype(IsWellKnownSid)>());
static_assert(decltype(Table::lookupAccountSidW)::Fits<decltype(LookupAccountSidW)>());
static_assert(decltype(Table::lookupAccountNameW)::Fits<decltype(LookupAccountNameW)>());

void SystemFunctionTable::LookUpVersionFunctions(HMODULE version) noexcept
{
    verQueryValueW.LookUp(version, "VerQueryValueW");
    getFileVersionInfoSizeW.LookUp(version, "GetFileVersionInfoSizeW");
    getFileVersionInfoW.LookUp(version, "GetFileVersionInfoW");
}

void SystemFunctionTable::LookUpNativeFunctions(HMODULE ntdll) noexcept
{
    ntQueryInformationProcess.LookUp(ntdll, "NtQueryInformationProcess");
}

void SystemFunctionTable::LookUpAccountFunctions(HMODULE advApi32) noexcept
{
    isWellKnownSid.LookUp(advApi32, "IsWellKnownSid");
    lookupAccountSidW.LookUp(advApi32, "LookupAccountSidW");
    lookupAccountNameW.LookUp(advApi32, "LookupAccountNameW");
}

bool SystemFunctionTable::LookUpKernelFunctions(HMODULE kernel32) noexcept
{
    const bool hasWow64 = isWow64Process.LookUp(kernel32, "IsWow64Process");
    const bool hasImageName = queryFullProcessImageNameW.LookUp(kernel32, "QueryFullProcessImageNameW");
    return createPrivateNamespaceW.LookUp(kernel32, "CreatePrivateNamespaceW") && hasWow64 && hasImageName &&
           openPrivateNamespaceW.LookUp(kernel32, "OpenPrivateNamespaceW") &&
           closePrivateNamespace.LookUp(kernel32, "ClosePrivateNamespace") &&
           createBoundaryDescriptorW.LookUp(kernel32, "CreateBoundaryDescriptorW") &&
           deleteBoundaryDescriptor.LookUp(kernel32, "DeleteBoundaryDescriptor");
}

bool SystemFunctionTable::HasAccountFunctions() const noexcept
{
    return isWellKnownSid != nullptr && lookupAccountSidW != nullptr;
}
