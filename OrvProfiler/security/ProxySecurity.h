#pragma once

#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/security/Administrators.h"
#include "OrvProfiler/security/ImageArchitecture.h"
#include "OrvProfiler/security/PrivateNamespace.h"
#include "OrvProfiler/security/ProxyProcess.h"
#include "OrvProfiler/security/SessionId.h"
#include "OrvProfiler/security/SystemFunctionTable.h"
#include "OrvProfiler/security/WindowsVersion.h"

#include <cstdint>
#include <memory>

// Names, creates and opens every kernel object that two processes share (events, mutexes, file mappings), looks up
// the system functions that older systems lack, and answers questions about processes, accounts and executable files.
//
// Each process has exactly one, g_SecManager. It is constructed before the entry function runs and destroyed when the
// process exits. After its construction only the object of the current process may still change. Any thread may call
// it, unless an operation says otherwise.
//
// No operation throws. A failed system call writes one trace line with the system's error text, and the result says
// so (null, false or an all-ones value). Nothing is left half made.
//
// Callers pass short object names; only BuildObjectName turns one into a kernel name. With a null name an operation
// makes no system call and returns null. The caller owns every handle that is returned.
//
// The order of the fields is the family's.
class CProxySecManager
{
public:
    using CAccount = ::CAccount; // a user or a group, see ProxyProcess.h
    using CProcess = ::CProcess; // a running process, see ProxyProcess.h

    // Reads the system's version, enables the debug privilege if the account has it, looks up the system functions,
    // and opens the private namespace. The first process creates it.
    CProxySecManager() noexcept;
    // Deletes the object of the current process, leaves the namespace and frees the libraries. The namespace lives on
    // while other processes hold it.
    ~CProxySecManager();
    CProxySecManager(const CProxySecManager&) = delete;
    CProxySecManager& operator=(const CProxySecManager&) = delete;

    // The full kernel name of an object, cut at 1024 units; null for a null name.
    //     OrvP\name             with private namespaces, whatever the session
    //     Local\name            without a session (0xFFFFFFFF), and under Wine
    //     Session\number\name   otherwise. The number is signed: on purpose, the failure value gives Session\-2\name.
    // The text lies in a slot of FormatSlot: use it before 31 further slots are taken.
    const wchar_t* BuildObjectName(uint32_t session, const wchar_t* name) const noexcept;

    // Whether shared objects live in the private namespace: on Windows 6.0 or later, but not under Wine. Still true
    // when the namespace could not be joined; then no named object can be created or opened.
    bool UsePrivateNamespace() const noexcept;

    // The session of a process. c_sessionNone (0xFFFFFFFF) when the system has no sessions; c_sessionFailed
    // (0xFFFFFFFE) and one trace line when the process, its token or the session cannot be read.
    uint32_t GetSessionForProcess(uint32_t processId) const noexcept;

    // Creates the event, or opens it when it exists already; both are success. Traces success and failure.
    HANDLE OrvPCreateEvent(uint32_t session, SECURITY_ATTRIBUTES* attributes, bool manualReset, bool initialState,
                           const wchar_t* name) const noexcept;
    // Opens an event with the given access. The handle is not inherited. Traces nothing: the last error has the
    // reason.
    HANDLE OrvPOpenEvent(uint32_t session, DWORD access, const wchar_t* name) const noexcept;

    // Creates the mutex, which nobody owns yet, or opens it when it exists already. The last error is then
    // ERROR_ALREADY_EXISTS (183).
    HANDLE OrvPCreateMutex(uint32_t session, SECURITY_ATTRIBUTES* attributes, const wchar_t* name) const noexcept;
    // Opens a mutex by its full kernel name, which is used as it is. The handle is not inherited.
    HANDLE OrvPOpenMutex(const wchar_t* kernelName, DWORD access) const noexcept;

    // Creates the file mapping, or opens it when it exists already. The last error is then ERROR_ALREADY_EXISTS
    // (183). file may be INVALID_HANDLE_VALUE for the paging file. The size is in bytes; protection is a PAGE_
    // constant.
    HANDLE OrvPCreateFileMapping(uint32_t session, HANDLE file, SECURITY_ATTRIBUTES* attributes, DWORD protection,
                                 uint32_t sizeHigh, uint32_t sizeLow, const wchar_t* name) const noexcept;
    // Opens a file mapping with the given access.
    HANDLE OrvPOpenFileMapping(uint32_t session, DWORD access, bool inherit, const wchar_t* name) const noexcept;

    // Fills the caller's attributes and descriptor, both zeroed before: every user has full access (the access list
    // is present and null), and a handle is not inherited. The attributes point to the descriptor, which must live as
    // long as they do. descriptor points to a SECURITY_DESCRIPTOR. OpenToAll does the same with room of its own.
    bool OrvPCreateACL(SECURITY_ATTRIBUTES* attributes, PSECURITY_DESCRIPTOR descriptor) const noexcept;

    // Creates or opens a private namespace within the boundary. Null on failure and on systems without namespaces.
    // That nobody has created the namespace to open is normal and not traced.
    HANDLE OrvPCreateNamespace(const wchar_t* name) const noexcept;
    HANDLE OrvPOpenNamespace(const wchar_t* name) const noexcept;
    // Closes a namespace handle without destroying the namespace. True on success; the handle is null then.
    bool OrvPCloseNamespace(HANDLE& handle) const noexcept;

    // Enables a privilege, by its system name, for the current process. On purpose also true when the account does
    // not hold the privilege: the system reports success then.
    bool OrvPEnablePrivilege(const wchar_t* name) const noexcept;
    // 0xFFFFFFFF on failure. Otherwise always 0, on purpose: the privilege is looked up, but the process's token is
    // not asked for it.
    uint32_t OrvPHasPrivilege(HANDLE process, const wchar_t* name) const noexcept;

    // Load the libraries and look up the system functions. The constructor calls them; later calls do nothing. The
    // first is false when account functions are missing, the second when no namespace is held.
    bool LoadStandardFunctions() noexcept;
    bool LoadVistaFunctions() noexcept;

    // Reads what can be known of a running process. The caller deletes the object. Null, without a trace line of its
    // own, when the process has ended or cannot be opened, or when its user is not known and s_allowNoUser is not
    // set. Not for concurrent use: the image path may have to be translated, see DeviceToDrivePath.
    CProcess* OpenProcessObject(uint32_t processId) const noexcept;

    // The object of the current process, which the manager owns. Made by the first call and the same from then on, so
    // it shows the process as it was then. Null when account functions are missing or the object cannot be made; the
    // next call tries again. On purpose not locked: two threads must not make the first call together.
    CProcess* GetCurrentProcessObject() noexcept;

    // The administrators among the process's groups: c_adminBuiltInGroup, c_adminAccount and c_adminDomainGroup,
    // added up. Groups that the token holds only to deny access count too, on purpose: a user with a filtered token
    // is an administrator all the same. 0 for none, on systems without IsWellKnownSid, and, with one trace line, when
    // the token cannot be read.
    uint32_t IsRunAsAdmin(HANDLE process) const noexcept;

    // 32 or 64: the word length of an executable file, by its header. c_architectureUnknown when the file is no
    // executable or one of another kind. c_architectureUnreadable when it is too short, cannot be read, is no file on
    // a disk or, with one trace line, cannot be opened. The path may come from another process, as an image path
    // does.
    uint32_t GetArchitecture(const wchar_t* path) const noexcept;

    // Whether a running Win32 service has that process id. False also when the services cannot be listed.
    bool IsProcessAService(uint32_t processId) const noexcept;

    // The id of the process behind a handle, 0 on failure.
    uint32_t GetProcessIdOfHandle(HANDLE process) const noexcept;

    // The process's image file as the kernel names it (\Device\...), at most 259 units. Empty for a null handle and
    // on failure.
    TString GetImageName(HANDLE process) const noexcept;

    // Whether the system is 64-bit and the process runs natively on it. False also on failure, and on systems where
    // LoadVistaFunctions has not looked IsWow64Process up.
    bool Is64BitProcess(HANDLE process) const noexcept;

    // Whether the SID is of the well-known type (a WELL_KNOWN_SID_TYPE). False on systems without IsWellKnownSid.
    bool IsWellKnown(PSID sid, uint32_t type) const noexcept;
    // Whether the SID is one of those that IsRunAsAdmin looks for.
    bool IsAdminSid(PSID sid) const noexcept;

    // Lets OpenProcessObject succeed for processes whose user is not known. Off by default. A program that sets it
    // does so before other threads ask for processes.
    static bool s_allowNoUser;

    // 1 when this process created the private namespace, 0 when it opened it or has none. For information only.
    uint32_t NamespaceCreatedHere() const noexcept { return m_namespaceCreatedHere; }
    // 1 when the system is Wine.
    uint32_t RunningUnderWine() const noexcept { return m_runningUnderWine; }

private:
    friend const SystemFunctionTable& GetSystemFunctions() noexcept;

    void DetectWine() noexcept;
    void JoinNamespace() noexcept;

    uint64_t m_osVersion;
    uint32_t m_namespaceCreatedHere = 0;
    UniqueLibrary m_version;
    // Held once LoadVistaFunctions has done its work.
    UniqueLibrary m_kernel32;
    UniqueLibrary m_ntdll;
    UniqueLibrary m_advApi32;
    // Owned. Only functions of the table below can close them.
    HANDLE m_namespace = nullptr;
    HANDLE m_boundary = nullptr;
    SystemFunctionTable m_functions;
    std::unique_ptr<CProcess> m_currentProcess;
    uint32_t m_runningUnderWine = 0;
};

// The one manager, defined with the process's other static objects in StaticObjects.cpp.
extern CProxySecManager g_SecManager;
