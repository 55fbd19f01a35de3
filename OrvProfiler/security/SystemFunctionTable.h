#pragma once

#include "OrvProfiler/foundation/SystemFunction.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <cstddef>

// Asks for a kind of information (a PROCESSINFOCLASS) about a process; 0 or above on success.
// NOLINTNEXTLINE(google-runtime-int): a status is a long
using NtQueryInformationProcessFunction = SystemFunction<long(HANDLE, int, void*, DWORD, DWORD*)>;

// The system functions that older systems lack, as the security manager looked them up. One that the system does not
// have is null: whoever calls one tests it first. Enumerations are declared as int, as only <windows.h> can name
// them.
struct SystemFunctionTable
{
    // The functions of Version.
    SystemFunction<int(const void*, const wchar_t*, void**, unsigned int*)> verQueryValueW;
    SystemFunction<DWORD(const wchar_t*, DWORD*)> getFileVersionInfoSizeW;
    SystemFunction<int(const wchar_t*, DWORD, DWORD, void*)> getFileVersionInfoW;

    // The functions of Kernel32.
    SystemFunction<HANDLE(SECURITY_ATTRIBUTES*, void*, const wchar_t*)> createPrivateNamespaceW;
    SystemFunction<HANDLE(void*, const wchar_t*)> openPrivateNamespaceW;
    SystemFunction<unsigned char(HANDLE, DWORD)> closePrivateNamespace;
    SystemFunction<HANDLE(const wchar_t*, DWORD)> createBoundaryDescriptorW;
    SystemFunction<void(HANDLE)> deleteBoundaryDescriptor;
    SystemFunction<int(HANDLE, DWORD, wchar_t*, DWORD*)> queryFullProcessImageNameW;
    SystemFunction<int(HANDLE, int*)> isWow64Process;

    // The function of Ntdll.
    NtQueryInformationProcessFunction ntQueryInformationProcess;

    // The functions of AdvAPI32.
    SystemFunction<int(PSID, int)> isWellKnownSid;
    SystemFunction<int(const wchar_t*, PSID, wchar_t*, DWORD*, wchar_t*, DWORD*, int*)> lookupAccountSidW;
    SystemFunction<int(const wchar_t*, const wchar_t*, PSID, DWORD*, wchar_t*, DWORD*, int*)> lookupAccountNameW;

    // Look up the functions of one library; with a null module all of them become null.
    void LookUpVersionFunctions(HMODULE version) noexcept;
    void LookUpNativeFunctions(HMODULE ntdll) noexcept;
    void LookUpAccountFunctions(HMODULE advApi32) noexcept;
    // Looks for the first three in any case, and from there on until one is missing. Returns whether all are there.
    bool LookUpKernelFunctions(HMODULE kernel32) noexcept;

    // Whether SIDs can be told apart and accounts be found.
    bool HasAccountFunctions() const noexcept;
};

static_assert(sizeof(SystemFunctionTable) == 112 && offsetof(SystemFunctionTable, verQueryValueW) == 0 &&
                  offsetof(SystemFunctionTable, getFileVersionInfoSizeW) == 8 &&
                  offsetof(SystemFunctionTable, getFileVersionInfoW) == 16 &&
                  offsetof(SystemFunctionTable, createPrivateNamespaceW) == 24 &&
                  offsetof(SystemFunctionTable, openPrivateNamespaceW) == 32 &&
                  offsetof(SystemFunctionTable, closePrivateNamespace) == 40 &&
                  offsetof(SystemFunctionTable, createBoundaryDescriptorW) == 48 &&
                  offsetof(SystemFunctionTable, deleteBoundaryDescriptor) == 56 &&
                  offsetof(SystemFunctionTable, queryFullProcessImageNameW) == 64 &&
                  offsetof(SystemFunctionTable, isWow64Process) == 72 &&
                  offsetof(SystemFunctionTable, ntQueryInformationProcess) == 80 &&
                  offsetof(SystemFunctionTable, isWellKnownSid) == 88 &&
                  offsetof(SystemFunctionTable, lookupAccountSidW) == 96 &&
                  offsetof(SystemFunctionTable, lookupAccountNameW) == 104,
              "the order of the functions is the family's");

// Those of the process's one security manager. Defined where the manager is, in StaticObjects.cpp, so that what lies
// below the manager can call system functions without knowing it.
const SystemFunctionTable& GetSystemFunctions() noexcept;
