#include "OrvProfiler/security/SystemFunctionTable.h"

#include <iterator>
#include <utility>

void SystemFunctionTable::LookUpVersionFunctions(HMODULE version) noexcept
{
    verQueryValueW = LookUpEntryPoint(version, "VerQueryValueW");
    getFileVersionInfoSizeW = LookUpEntryPoint(version, "GetFileVersionInfoSizeW");
    getFileVersionInfoW = LookUpEntryPoint(version, "GetFileVersionInfoW");
}

void SystemFunctionTable::LookUpKernelFunctions(HMODULE kernel32) noexcept
{
    isWow64Process = LookUpEntryPoint(kernel32, "IsWow64Process");
    queryFullProcessImageNameW = LookUpEntryPoint(kernel32, "QueryFullProcessImageNameW");
    createPrivateNamespaceW = LookUpEntryPoint(kernel32, "CreatePrivateNamespaceW");
    const std::pair<EntryPoint&, const char*> further[] = {
        {openPrivateNamespaceW, "OpenPrivateNamespaceW"},
        {closePrivateNamespace, "ClosePrivateNamespace"},
        {createBoundaryDescriptorW, "CreateBoundaryDescriptorW"},
        {deleteBoundaryDescriptor, "DeleteBoundaryDescriptor"},
    };
    bool found =
        isWow64Process != nullptr && queryFullProcessImageNameW != nullptr && createPrivateNamespaceW != nullptr;
    for (const auto* entry = std::begin(further); found && entry != std::end(further); ++entry)
    {
        entry->first = LookUpEntryPoint(kernel32, entry->second);
        found = entry->first != nullptr;
    }
}

void SystemFunctionTable::LookUpNativeFunctions(HMODULE ntdll) noexcept
{
    ntQueryInformationProcess = LookUpEntryPoint(ntdll, "NtQueryInformationProcess");
}

void SystemFunctionTable::LookUpAccountFunctions(HMODULE advApi32) noexcept
{
    isWellKnownSid = LookUpEntryPoint(advApi32, "IsWellKnownSid");
    lookupAccountSidW = LookUpEntryPoint(advApi32, "LookupAccountSidW");
    lookupAccountNameW = LookUpEntryPoint(advApi32, "LookupAccountNameW");
}

void SystemFunctionTable::ForgetNativeFunctions() noexcept
{
    LookUpNativeFunctions(nullptr);
}

void SystemFunctionTable::ForgetAccountFunctions() noexcept
{
    LookUpAccountFunctions(nullptr);
}

bool SystemFunctionTable::HasNamespaceFunctions() const noexcept
{
    return createPrivateNamespaceW != nullptr && openPrivateNamespaceW != nullptr &&
           closePrivateNamespace != nullptr && createBoundaryDescriptorW != nullptr &&
           deleteBoundaryDescriptor != nullptr;
}

bool SystemFunctionTable::HasAccountFunctions() const noexcept
{
    return isWellKnownSid != nullptr && lookupAccountSidW != nullptr;
}
