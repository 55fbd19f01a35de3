#pragma once

// The few Windows types that the library's headers name, declared as in <windows.h>, so that these headers do without
// it. <windows.h> may be included before or after: the declarations agree.

// As Windows spells them.
// NOLINTBEGIN(bugprone-reserved-identifier, google-runtime-int, modernize-use-using)

struct HWND__;
struct HINSTANCE__;
struct SC_HANDLE__;
struct _RTL_CRITICAL_SECTION;
struct _SECURITY_ATTRIBUTES;
struct _SID_AND_ATTRIBUTES;

typedef void* HANDLE;
typedef HWND__* HWND;
typedef HINSTANCE__* HMODULE;
typedef SC_HANDLE__* SC_HANDLE;
typedef unsigned long DWORD;
typedef long HRESULT;
typedef _SECURITY_ATTRIBUTES SECURITY_ATTRIBUTES;
typedef void* PSECURITY_DESCRIPTOR;
typedef void* PSID;
typedef _SID_AND_ATTRIBUTES SID_AND_ATTRIBUTES;

// NOLINTEND(bugprone-reserved-identifier, google-runtime-int, modernize-use-using)
