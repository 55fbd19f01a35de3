#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/security/SystemFunctionTable.h"

// The private namespace in which all shared kernel objects live, and the boundary descriptor that guards it. Every
// process that is to see the same objects uses the same two names.
constexpr const wchar_t* c_namespaceName = L"OrvP";
constexpr const wchar_t* c_boundaryName = L"Zeph";

// What can be done with private namespaces. The functions are those that the security manager looked up, and may be
// missing. A failed system call writes one trace line under the name of the manager's operation. Handles that are
// returned belong to the caller; they are not the kernel's own, so CloseHandle is not for them.

// The boundary of the name c_boundaryName, null on failure. All namespace functions must be there. No SID is added to
// the boundary: whoever knows the two names may join.
HANDLE CreateNamespaceBoundary(const SystemFunctionTable& functions) noexcept;
// Deletes the boundary and makes it null. Nothing for a null one.
void DeleteNamespaceBoundary(const SystemFunctionTable& functions, HANDLE& boundary) noexcept;

// Create, or open, a namespace within the boundary, open to all. Null on failure, without a boundary and without the
// function. That nobody has created the namespace to open is expected and not traced.
HANDLE CreateNamespaceWithin(const SystemFunctionTable& functions, HANDLE boundary, const wchar_t* name) noexcept;
HANDLE OpenNamespaceWithin(const SystemFunctionTable& functions, HANDLE boundary, const wchar_t* name) noexcept;
// Closes a namespace handle without destroying the namespace. True on success; the handle is null then.
bool CloseNamespaceHandle(const SystemFunctionTable& functions, HANDLE& handle) noexcept;
