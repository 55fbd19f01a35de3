#pragma once

#include "OrvProfiler/foundation/EntryPoint.h"
#include "OrvProfiler/foundation/WinTypes.h"

// The system functions that older systems lack, as the security manager looked them up. One that the system does not
// have is null: whoever calls one tests it first.
struct SystemFunctionTable
{
    // Of the library Version.
    EntryPoint verQueryValueW = nullptr;
    EntryPoint getFileVersionInfoSizeW = nullptr;
    EntryPoint getFileVersionInfoW = nullptr;

    // Of Kernel32.
    EntryPoint createPrivateNamespaceW = nullptr;
    EntryPoint openPrivateNamespaceW = nullptr;
    EntryPoint closePrivateNamespace = nullptr;
    EntryPoint createBoundaryDescriptorW = nullptr;
    EntryPoint deleteBoundaryDescriptor = nullptr;
    EntryPoint queryFullProcessImageNameW = nullptr;
    EntryPoint isWow64Process = nullptr;

    // Of Ntdll.
    EntryPoint ntQueryInformationProcess = nullptr;

    // Of AdvAPI32.
    EntryPoint isWellKnownSid = nullptr;
    EntryPoint lookupAccountSidW = nullptr;
    EntryPoint lookupAccountNameW = nullptr;

    // Look up the functions of one library. With a null module all of them are null.
    void LookUpVersionFunctions(HMODULE version) noexcept;
    // Stops at the first of Kernel32's functions that is missing; only what it looks up first is then there.
    void LookUpKernelFunctions(HMODULE kernel32) noexcept;
    void LookUpNativeFunctions(HMODULE ntdll) noexcept;
    void LookUpAccountFunctions(HMODULE advApi32) noexcept;

    // Forget the functions of Ntdll and AdvAPI32, as must be done before these are freed.
    void ForgetNativeFunctions() noexcept;
    void ForgetAccountFunctions() noexcept;

    // Whether all five functions of private namespaces and their boundaries are there.
    bool HasNamespaceFunctions() const noexcept;
    // Whether SIDs can be told apart and accounts be found.
    bool HasAccountFunctions() const noexcept;
};

// Those of the process's one security manager. Defined where the manager is, in StaticObjects.cpp, so that what lies
// below the manager can call system functions without knowing it.
const SystemFunctionTable& GetSystemFunctions() noexcept;
