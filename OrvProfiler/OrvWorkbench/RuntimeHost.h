#pragma once

// The hosting interface of the managed runtime (mscoree): ICLRRuntimeHost, the call that binds a process to it, and
// what the workbench binds.

#include <windows.h>

#ifdef _MSC_VER
// The 2.0 way of binding is wanted: the client's assemblies are built for that runtime.
#define USE_DEPRECATED_CLR_API_WITHOUT_WARNING
#endif
#include <mscoree.h>

#ifndef _MSC_VER
// MinGW's mscoree.h lacks it.
extern "C" HRESULT STDAPICALLTYPE CorBindToRuntimeEx(LPCWSTR version, LPCWSTR buildFlavor, DWORD startupFlags,
                                                     REFCLSID classId, REFIID interfaceId, LPVOID* runtimeHost);
#endif

// The runtime that the workbench binds, and how.
constexpr const wchar_t* c_runtimeVersion = L"v2.0.50727";
constexpr const wchar_t* c_runtimeFlavour = L"svr"; // the server garbage collector
constexpr DWORD c_runtimeSingleDomain = 2;          // STARTUP_LOADER_OPTIMIZATION_SINGLE_DOMAIN
constexpr CLSID c_runtimeHostClass = {0x90F1A06E, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
constexpr IID c_runtimeHostInterface = {0x90F1A06C, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
