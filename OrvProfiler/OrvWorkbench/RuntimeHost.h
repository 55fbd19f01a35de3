#pragma once

// The hosting interface of the managed runtime (mscoree): ICLRRuntimeHost and the call that binds a process to it.

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
