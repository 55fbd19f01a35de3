#pragma once

#include "OrvProfiler/foundation/TString.h"
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

// The one place where kernel objects that two processes share (events, mutexes, file mappings) are named, created and
// opened, where system functions that older systems lack are looked up, and where questions about processes, accounts
// and executable files are answered.
//
// Exactly one exists, g_SecManager, constructed before the entry function runs and destroyed at process exit. It is
// read-only after its construction, the object of the current process excepted: any thread may call it, where nothing
// else is said.
//
// No operation throws. A failed system call is reported by one trace line with the system's error text and by the
// result (null, false or an all-ones value); nothing is left half made.
//
// A name is a short object name; the kernel name is formed from it and the session in BuildObjectName alone. With a
// null name every operation returns "none" without any system call. Returned handles belong to the caller.
class CProxySecManager
{
public:
    using CAccount = ::CAccount; // a user or a group, see ProxyProcess.h
    using CProcess = ::CProcess; // a running process, see ProxyProcess.h

    // Finds out the system's version, enables the debug privilege if the account has it, looks up the entry points
    // and opens, or as the first process creates, the private namespace.
    CProxySecManager() noexcept;
    // Deletes the object of the current process, leaves the namespace, which lives on while other processes hold it,
    // and frees the libraries.
    ~CProxySecManager();
    CProxySecManager(const CProxySecManager&) = delete;
    CProxySecManager& operator=(const CProxySecManager&) = delete;

    // The full kernel name of an object. With private namespaces "OrvP\name", whatever the session; else "Local\name"
    // without a session (0xFFFFFFFF) or under Wine; else "Session\session\name", the session printed signed (so that
    // the failure value deliberately gives "Session\-2\name"). Cut at 1024 units. Null for a null name.
    // The text is a formatting slot's: use it before 31 further slots are taken.
    const wchar_t* BuildObjectName(uint32_t session, const wchar_t* name) const noexcept;

    // Whether shared objects live in the private namespace: Windows 6.0 or later, not under Wine. Stays true when
    // the namespace could not be joined; creating and opening named objects then fails.
    bool UsePrivateNamespace() const noexcept;

    // The session of a process; 0xFFFFFFFF when the system knows no sessions, 0xFFFFFFFE (and one trace line) when
    // the process, its token or the session cannot be read.
    uint32_t GetSessionForProcess(uint32_t processId) const noexcept;

    // Creates the event, or opens it when it exists already, which counts as success. Traces success and failure.
    HANDLE OrvPCreateEvent(uint32_t session, SECURITY_ATTRIBUTES* attributes, bool manualReset, bool initialState,
                           const wchar_t* name) const noexcept;
    // Opens an event for the desired access, not inherited. Traces nothing; the thread's last error tells the reason.
    HANDLE OrvPOpenEvent(uint32_t session, DWORD access, const wchar_t* name) const noexcept;

    // Creates the mutex, never initially owned, or opens it when it exists already: the thread's last error is then
    // ERROR_ALREADY_EXISTS (183).
    HANDLE OrvPCreateMutex(uint32_t session, SECURITY_ATTRIBUTES* attributes, const wchar_t* name) const noexcept;
    // Opens a mutex by its finished kernel name (this operation forms none), not inherited.
    HANDLE OrvPOpenMutex(const wchar_t* kernelName, DWORD access) const noexcept;

    // Creates the file mapping, or opens it when it exists already. file may be INVALID_HANDLE_VALUE (paging file);
    // the size is in bytes, protection a PAGE_ constant.
    HANDLE OrvPCreateFileMapping(uint32_t session, HANDLE file, SECURITY_ATTRIBUTES* attributes, DWORD protection,
                                 uint32_t sizeHigh, uint32_t sizeLow, const wchar_t* name) const noexcept;
    // Opens a file mapping for the desired access.
    HANDLE OrvPOpenFileMapping(uint32_t session, DWORD access, bool inherit, const wchar_t* name) const noexcept;

    // Fills the caller's attributes and descriptor with a present, null access list: every user has full access, the
    // handle is not inherited. The attributes point to the descriptor, so both must live equally long. descriptor
    // points to a SECURITY_DESCRIPTOR.
    bool OrvPCreateACL(SECURITY_ATTRIBUTES* attributes, PSECURITY_DESCRIPTOR descriptor) const noexcept;

    // Creates or opens a private namespace within the boundary. Null on systems without namespaces, and on failure;
    // opening one that nobody has created is expected and not traced.
    HANDLE OrvPCreateNamespace(const wchar_t* name) const noexcept;
    HANDLE OrvPOpenNamespace(const wchar_t* name) const noexcept;
    // Closes a namespace handle without destroying the namespace. True on success; the handle is null then.
    bool OrvPCloseNamespace(HANDLE& handle) const noexcept;

    // Enables a privilege, by its system name, for the current process. Deliberately also true when the account does
    // not hold the privilege: the system then reports success.
    bool OrvPEnablePrivilege(const wchar_t* name) const noexcept;
    // 0xFFFFFFFF on failure, else deliberately always 0: the privilege is looked up but not checked against the
    // process's token.
    uint32_t OrvPHasPrivilege(HANDLE process, const wchar_t* name) const noexcept;

    // Load the libraries and look up the entry points; called by the constructor, and without effect when called
    // again. The first is false when account look-ups are missing, the second when no namespace is held.
    bool LoadStandardFunctions() noexcept;
    bool LoadVistaFunctions() noexcept;

    // Reads what there is to know of a running process. The new object is the caller's, who deletes it. Null, without
    // a trace line of its own, when the process has ended, cannot be opened or runs for no known user (unless
    // s_allowNoUser is set). Not for concurrent use: the image path may have to be translated, see DeviceToDrivePath.
    CProcess* OpenProcessObject(uint32_t processId) const noexcept;

    // The object of the current process, which stays the manager's: made on the first call, the same ever after, and
    // as old as that call. Null when account look-ups are missing or the object cannot be made (the next call tries
    // again). Deliberately not locked: two threads must not make the first call together.
    CProcess* GetCurrentProcessObject() noexcept;

    // Which administrators the process's user belongs to: c_adminBuiltInGroup, c_adminAccount and c_adminDomainGroup,
    // added up. Deliberately counts groups that the token holds for denying only, so that an administrator whose
    // token is filtered is reported all the same. 0 when none, on systems without IsWellKnownSid, and, with one trace
    // line, when the token cannot be read.
    uint32_t IsRunAsAdmin(HANDLE process) const noexcept;

    // The word length, 32 or 64, of an executable file by its header; c_architectureUnknown when the file is no such
    // image or of another kind; c_architectureUnreadable when it ends too early, cannot be read or, with one trace
    // line, cannot be opened.
    uint32_t GetArchitecture(const wchar_t* path) const noexcept;

    // Whether a running Win32 service has that process id; false also when the services cannot be listed.
    bool IsProcessAService(uint32_t processId) const noexcept;

    // The id of the process behind a handle, 0 on failure.
    uint32_t GetProcessIdOfHandle(HANDLE process) const noexcept;

    // The process's image file as the kernel names it (\Device\...), at most 259 units; empty for a null handle and
    // on failure.
    TString GetImageName(HANDLE process) const noexcept;

    // Whether the system is 64-bit and the process runs natively on it. False also when that cannot be asked: on
    // failure and where IsWow64Process was not looked up (see LoadVistaFunctions).
    bool Is64BitProcess(HANDLE process) const noexcept;

    // Whether the SID is of the well-known type, a WELL_KNOWN_SID_TYPE. False on systems without IsWellKnownSid.
    bool IsWellKnown(PSID sid, uint32_t type) const noexcept;
    // Whether the SID is one of those that IsRunAsAdmin looks for.
    bool IsAdminSid(PSID sid) const noexcept;

    // Lets OpenProcessObject succeed for processes whose user is not known. Off unless a program sets it, which it
    // does before other threads ask for processes.
    static bool s_allowNoUser;

    // 1 when this process created the private namespace, 0 when it opened it or has none. Informational.
    uint32_t NamespaceCreatedHere() const noexcept { return m_namespaceCreatedHere; }
    // 1 when the system is Wine.
    uint32_t RunningUnderWine() const noexcept { return m_runningUnderWine; }

private:
    friend const SystemFunctionTable& GetSystemFunctions() noexcept;

    void DetectWine() noexcept;
    void JoinNamespace() noexcept;

    uint64_t m_osVersion;
    uint32_t m_namespaceCreatedHere = 0;
    HMODULE m_version = nullptr;
    HMODULE m_kernel32 = nullptr;
    HMODULE m_ntdll = nullptr;
    HMODULE m_advApi32 = nullptr;
    HANDLE m_namespace = nullptr;
    HANDLE m_boundary = nullptr;
    SystemFunctionTable m_functions;
    std::unique_ptr<CProcess> m_currentProcess;
    uint32_t m_runningUnderWine = 0;
};

// The one manager. Defined with the other static objects of the process, see StaticObjects.cpp.
extern CProxySecManager g_SecManager;
