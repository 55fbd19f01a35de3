#include "OrvProfiler/security/ProxySecurity.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <iterator>
#include <utility>

namespace
{
constexpr const wchar_t* c_source = L"ProxySecurity";
constexpr uint32_t c_firstVersionWithNamespaces = 6;
constexpr DWORD c_tokenForPrivileges = TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY;
constexpr uint32_t c_privilegeUnknown = 0xFFFFFFFF;

struct KnownVersion
{
    DWORD major;
    DWORD minor;
    WORD servicePackMajor;
    uint64_t version;
};

// Tried in this order; the first that the system is at least decides.
constexpr KnownVersion c_knownVersions[] = {
    {10, 0, 0, 10}, {6, 3, 0, 8}, {6, 2, 0, 8}, {6, 1, 1, 7}, {6, 1, 0, 7}, {6, 0, 2, 6}, {6, 0, 1, 6}, {6, 0, 0, 6},
};
constexpr uint64_t c_olderVersion = 5;

bool IsAtLeast(const KnownVersion& known) noexcept
{
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof info;
    info.dwMajorVersion = known.major;
    info.dwMinorVersion = known.minor;
    info.wServicePackMajor = known.servicePackMajor;
    ULONGLONG conditions = 0;
    conditions = VerSetConditionMask(conditions, VER_MAJORVERSION, VER_GREATER_EQUAL);
    conditions = VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
    conditions = VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    constexpr DWORD fields = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
    return VerifyVersionInfoW(&info, fields, conditions) != FALSE;
}

void Unload(HMODULE& module) noexcept
{
    if (module != nullptr)
        FreeLibrary(std::exchange(module, nullptr));
}

// Opens a process's token for privilege work; traces under the caller's name.
UniqueHandle OpenPrivilegeToken(HANDLE process, const wchar_t* function) noexcept
{
    UniqueHandle token;
    if (OpenProcessToken(process, c_tokenForPrivileges, token.Receive()) == FALSE)
    {
        Trace(L"%6.0f %s OpenProcessToken() failed, Error = %s\n", TickMs(), function, ErrorText(GetLastError()));
        return UniqueHandle();
    }
    return token;
}

// Finds a privilege on the local system; traces under the caller's name.
bool LookUpPrivilege(const wchar_t* name, LUID& luid, const wchar_t* function) noexcept
{
    if (LookupPrivilegeValueW(nullptr, name, &luid) != FALSE)
        return true;
    Trace(L"%6.0f %s LookupPrivilegeValue() failed for %s, Error:-\n%s\n", TickMs(), function, name,
          ErrorText(GetLastError()));
    return false;
}
} // namespace

uint64_t GetWindowsVersion() noexcept
{
    for (const KnownVersion& known : c_knownVersions)
    {
        if (IsAtLeast(known))
            return known.version;
    }
    return c_olderVersion;
}

CProxySecManager::CProxySecManager() noexcept : m_osVersion(GetWindowsVersion())
{
    DebugAssert(this == &g_SecManager, c_source, __LINE__);
    DebugAssert(m_osVersion != 0, c_source, __LINE__);
    OrvPEnablePrivilege(L"SeDebugPrivilege"); // the system goes on whether it got the privilege or not
    LoadStandardFunctions();
    LoadVistaFunctions();
}

CProxySecManager::~CProxySecManager()
{
    m_currentProcess.reset();
    if (m_namespace != nullptr)
        OrvPCloseNamespace(m_namespace);
    if (m_boundary != nullptr)
    {
        DebugAssert(m_deleteBoundaryDescriptor != nullptr, c_source, __LINE__);
        if (m_deleteBoundaryDescriptor != nullptr)
            EntryPointAs<decltype(DeleteBoundaryDescriptor)>(m_deleteBoundaryDescriptor)(m_boundary);
        m_boundary = nullptr;
    }
    Unload(m_ntdll);
    Unload(m_kernel32);
    Unload(m_advApi32);
    Unload(m_version);
}

const wchar_t* CProxySecManager::BuildObjectName(uint32_t session, const wchar_t* name) const noexcept
{
    if (name == nullptr)
        return nullptr;
    if (UsePrivateNamespace())
        return FormatSlot(L"%s\\%s", c_namespaceName, name);
    if (session == c_sessionNone || m_runningUnderWine != 0)
        return FormatSlot(L"Local\\%s", name);
    return FormatSlot(L"Session\\%d\\%s", session, name);
}

bool CProxySecManager::UsePrivateNamespace() const noexcept
{
    return m_osVersion >= c_firstVersionWithNamespaces && m_runningUnderWine == 0;
}

uint32_t CProxySecManager::GetSessionForProcess(uint32_t processId) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::GetSessionForProcess";
    const DWORD access = UsePrivateNamespace() ? PROCESS_QUERY_LIMITED_INFORMATION : PROCESS_QUERY_INFORMATION;
    const UniqueHandle process(OpenProcess(access, FALSE, processId));
    if (!process)
    {
        Trace(L"%6.0f %s OpenProcess Failed\n%s\n", TickMs(), function, ErrorText(GetLastError()));
        return c_sessionFailed;
    }
    UniqueHandle token;
    if (OpenProcessToken(process.Get(), TOKEN_READ, token.Receive()) == FALSE)
    {
        Trace(L"%6.0f %s OpenProcessToken Failed\n%s\n", TickMs(), function, ErrorText(GetLastError()));
        return c_sessionFailed;
    }
    uint32_t session = c_sessionFailed;
    DWORD size = 0;
    if (GetTokenInformation(token.Get(), TokenSessionId, &session, sizeof session, &size) != FALSE)
        return session;
    const DWORD error = GetLastError();
    if (error == ERROR_INVALID_FUNCTION)
        return c_sessionNone;
    Trace(L"%6.0f %s GetTokenInformation Failed\n%s\n", TickMs(), function, ErrorText(error));
    return c_sessionFailed;
}

HANDLE CProxySecManager::OrvPCreateEvent(uint32_t session, SECURITY_ATTRIBUTES* attributes, bool manualReset,
                                         bool initialState, const wchar_t* name) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPCreateEvent";
    const wchar_t* const kernelName = BuildObjectName(session, name);
    if (kernelName == nullptr)
        return nullptr;
    HANDLE const event =
        CreateEventW(attributes, manualReset ? TRUE : FALSE, initialState ? TRUE : FALSE, kernelName);
    if (event != nullptr)
        Trace(L"%6.0f %s CreateEvent %s succeeded \n", TickMs(), function, kernelName);
    else
        Trace(L"%6.0f %s CreateEvent %s Failed\n%s\n", TickMs(), function, kernelName, ErrorText(GetLastError()));
    return event;
}

HANDLE CProxySecManager::OrvPOpenEvent(uint32_t session, DWORD access, const wchar_t* name) const noexcept
{
    const wchar_t* const kernelName = BuildObjectName(session, name);
    return kernelName != nullptr ? OpenEventW(access, FALSE, kernelName) : nullptr;
}

HANDLE CProxySecManager::OrvPCreateMutex(uint32_t session, SECURITY_ATTRIBUTES* attributes,
                                         const wchar_t* name) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPCreateMutex";
    const wchar_t* const kernelName = BuildObjectName(session, name);
    if (kernelName == nullptr)
        return nullptr;
    Trace(L"%6.0f %s Create Mutex %s\n", TickMs(), function, kernelName);
    HANDLE const mutex = CreateMutexW(attributes, FALSE, kernelName);
    if (mutex == nullptr)
        Trace(L"%6.0f %s CreateMutex Failed %s\n", TickMs(), function, ErrorText(GetLastError()));
    return mutex;
}

HANDLE CProxySecManager::OrvPOpenMutex(const wchar_t* kernelName, DWORD access) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPOpenMutex";
    if (kernelName == nullptr)
        return nullptr;
    Trace(L"%6.0f %s Open Mutex %s\n", TickMs(), function, kernelName);
    HANDLE const mutex = OpenMutexW(access, FALSE, kernelName);
    if (mutex == nullptr)
        Trace(L"%6.0f %s Open Mutex Failed %s\n", TickMs(), function, ErrorText(GetLastError()));
    return mutex;
}

HANDLE CProxySecManager::OrvPCreateFileMapping(uint32_t session, HANDLE file, SECURITY_ATTRIBUTES* attributes,
                                               DWORD protection, uint32_t sizeHigh, uint32_t sizeLow,
                                               const wchar_t* name) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPCreateFileMapping";
    const wchar_t* const kernelName = BuildObjectName(session, name);
    if (kernelName == nullptr)
        return nullptr;
    Trace(L"%6.0f %s Create Named File Map: %s\n", TickMs(), function, kernelName);
    HANDLE const mapping = CreateFileMappingW(file, attributes, protection, sizeHigh, sizeLow, kernelName);
    if (mapping == nullptr)
        Trace(L"%6.0f %s Failed with %s\n", TickMs(), function, ErrorText(GetLastError()));
    return mapping;
}

HANDLE CProxySecManager::OrvPOpenFileMapping(uint32_t session, DWORD access, bool inherit,
                                             const wchar_t* name) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPOpenFileMapping";
    const wchar_t* const kernelName = BuildObjectName(session, name);
    if (kernelName == nullptr)
        return nullptr;
    HANDLE const mapping = OpenFileMappingW(access, inherit ? TRUE : FALSE, kernelName);
    if (mapping == nullptr)
        Trace(L"%6.0f %s Failed with %s\n", TickMs(), function, ErrorText(GetLastError()));
    return mapping;
}

bool CProxySecManager::OrvPCreateACL(SECURITY_ATTRIBUTES* attributes, PSECURITY_DESCRIPTOR descriptor) const noexcept
{
    if (InitializeSecurityDescriptor(descriptor, SECURITY_DESCRIPTOR_REVISION) == FALSE ||
        SetSecurityDescriptorDacl(descriptor, TRUE, nullptr, FALSE) == FALSE)
    {
        Trace(L"%6.0f %s OrvPCreateACL\n%s\n", TickMs(), L"CProxySecManager::OrvPCreateACL",
              ErrorText(GetLastError()));
        return false;
    }
    attributes->nLength = sizeof *attributes;
    attributes->lpSecurityDescriptor = descriptor;
    attributes->bInheritHandle = FALSE;
    return true;
}

HANDLE CProxySecManager::OrvPCreateNamespace(const wchar_t* name) const noexcept
{
    if (!UsePrivateNamespace())
    {
        DebugAssert(false, c_source, __LINE__);
        return nullptr;
    }
    const bool ready = m_boundary != nullptr && m_createPrivateNamespaceW != nullptr;
    DebugAssert(ready, c_source, __LINE__);
    SECURITY_ATTRIBUTES attributes{};
    SECURITY_DESCRIPTOR descriptor{};
    if (!ready || !OrvPCreateACL(&attributes, &descriptor))
    {
        DebugAssert(false, c_source, __LINE__);
        return nullptr;
    }
    const auto create = EntryPointAs<decltype(CreatePrivateNamespaceW)>(m_createPrivateNamespaceW);
    HANDLE const handle = create(&attributes, m_boundary, name);
    if (handle == nullptr)
        Trace(L"%6.0f %s CreatePrivateNamespace %s\n%s\n", TickMs(), L"CProxySecManager::OrvPCreateNamespace", name,
              ErrorText(GetLastError()));
    return handle;
}

HANDLE CProxySecManager::OrvPOpenNamespace(const wchar_t* name) const noexcept
{
    if (!UsePrivateNamespace())
    {
        DebugAssert(false, c_source, __LINE__);
        return nullptr;
    }
    if (m_openPrivateNamespaceW == nullptr || m_boundary == nullptr)
        return nullptr;
    const auto open = EntryPointAs<decltype(OpenPrivateNamespaceW)>(m_openPrivateNamespaceW);
    HANDLE const handle = open(m_boundary, name);
    if (handle != nullptr)
        return handle;
    const DWORD error = GetLastError();
    // Path not found: nobody has created it yet.
    if (error != ERROR_PATH_NOT_FOUND)
        Trace(L"%6.0f %s OpenPrivateNamespace %s\n%s\n", TickMs(), L"CProxySecManager::OrvPOpenNamespace", name,
              ErrorText(error));
    return nullptr;
}

bool CProxySecManager::OrvPCloseNamespace(HANDLE& handle) const noexcept
{
    if (!UsePrivateNamespace())
    {
        DebugAssert(false, c_source, __LINE__);
        return false;
    }
    if (handle == nullptr || m_closePrivateNamespace == nullptr)
        return false;
    constexpr ULONG keepNamespace = 0;
    if (EntryPointAs<decltype(ClosePrivateNamespace)>(m_closePrivateNamespace)(handle, keepNamespace) == FALSE)
    {
        Trace(L"%6.0f %s ClosePrivateNamespace\n%s\n", TickMs(), L"CProxySecManager::OrvPCloseNamespace",
              ErrorText(GetLastError()));
        DebugAssert(false, c_source, __LINE__);
        return false;
    }
    handle = nullptr;
    return true;
}

bool CProxySecManager::OrvPEnablePrivilege(const wchar_t* name) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPEnablePrivilege";
    const UniqueHandle token = OpenPrivilegeToken(GetCurrentProcess(), function);
    if (!token)
        return false;
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!LookUpPrivilege(name, privileges.Privileges[0].Luid, function))
        return false;
    // That a privilege is not held is deliberately no failure: the last error after a success is not examined.
    if (AdjustTokenPrivileges(token.Get(), FALSE, &privileges, sizeof privileges, nullptr, nullptr) == FALSE)
    {
        Trace(L"%6.0f %s AdjustTokenPrivileges() failed for %s, Error:-\n%s\n", TickMs(), function, name,
              ErrorText(GetLastError()));
        return false;
    }
    return true;
}

uint32_t CProxySecManager::OrvPHasPrivilege(HANDLE process, const wchar_t* name) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPHasPrivilege";
    if (process == nullptr)
    {
        DebugAssert(false, c_source, __LINE__);
        return c_privilegeUnknown;
    }
    const UniqueHandle token = OpenPrivilegeToken(process, function);
    if (!token)
        return c_privilegeUnknown;
    PRIVILEGE_SET privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Control = PRIVILEGE_SET_ALL_NECESSARY;
    if (!LookUpPrivilege(name, privileges.Privilege[0].Luid, function))
        return c_privilegeUnknown;
    // Deliberately without a check against the token in between: the answer is 0.
    return (privileges.Privilege[0].Attributes & SE_PRIVILEGE_ENABLED) != 0 ? 1 : 0;
}

void CProxySecManager::DetectWine() noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::LoadStandardFunctions";
    using TextFunction = const char*();
    const EntryPoint version = LookUpEntryPoint(m_ntdll, "wine_get_version");
    if (version != nullptr)
        Trace(L"%6.0f %s Wine Version %S\n", TickMs(), function, EntryPointAs<TextFunction>(version)());
    const EntryPoint buildId = LookUpEntryPoint(m_ntdll, "wine_get_build_id");
    if (buildId != nullptr)
        Trace(L"%6.0f %s Wine Build Id %S\n", TickMs(), function, EntryPointAs<TextFunction>(buildId)());
    m_runningUnderWine = version != nullptr || buildId != nullptr ? 1 : 0;
}

bool CProxySecManager::LoadStandardFunctions() noexcept
{
    if (m_ntdll != nullptr || m_advApi32 != nullptr || m_version != nullptr)
    {
        DebugAssert(false, c_source, __LINE__);
        return true;
    }
    m_ntdll = LoadLibraryW(L"Ntdll");
    m_advApi32 = LoadLibraryW(L"AdvAPI32");
    m_version = LoadLibraryW(L"Version");

    m_ntQueryInformationProcess = LookUpEntryPoint(m_ntdll, "NtQueryInformationProcess");
    DetectWine();

    m_isWellKnownSid = LookUpEntryPoint(m_advApi32, "IsWellKnownSid");
    m_lookupAccountSidW = LookUpEntryPoint(m_advApi32, "LookupAccountSidW");
    m_lookupAccountNameW = LookUpEntryPoint(m_advApi32, "LookupAccountNameW");
    DebugAssert(m_lookupAccountSidW != nullptr && m_lookupAccountNameW != nullptr, c_source, __LINE__);

    m_verQueryValueW = LookUpEntryPoint(m_version, "VerQueryValueW");
    m_getFileVersionInfoSizeW = LookUpEntryPoint(m_version, "GetFileVersionInfoSizeW");
    m_getFileVersionInfoW = LookUpEntryPoint(m_version, "GetFileVersionInfoW");

    if (m_isWellKnownSid != nullptr && m_lookupAccountSidW != nullptr)
        return true;
    // An entry point of a library that is freed is none.
    m_ntQueryInformationProcess = nullptr;
    m_isWellKnownSid = nullptr;
    m_lookupAccountSidW = nullptr;
    m_lookupAccountNameW = nullptr;
    Unload(m_ntdll);
    Unload(m_advApi32);
    return false;
}

void CProxySecManager::LookUpNamespaceFunctions() noexcept
{
    m_isWow64Process = LookUpEntryPoint(m_kernel32, "IsWow64Process");
    m_queryFullProcessImageNameW = LookUpEntryPoint(m_kernel32, "QueryFullProcessImageNameW");
    m_createPrivateNamespaceW = LookUpEntryPoint(m_kernel32, "CreatePrivateNamespaceW");
    const std::pair<EntryPoint&, const char*> further[] = {
        {m_openPrivateNamespaceW, "OpenPrivateNamespaceW"},
        {m_closePrivateNamespace, "ClosePrivateNamespace"},
        {m_createBoundaryDescriptorW, "CreateBoundaryDescriptorW"},
        {m_deleteBoundaryDescriptor, "DeleteBoundaryDescriptor"},
    };
    bool found = m_isWow64Process != nullptr && m_queryFullProcessImageNameW != nullptr &&
                 m_createPrivateNamespaceW != nullptr;
    for (const auto* entry = std::begin(further); found && entry != std::end(further); ++entry)
    {
        entry->first = LookUpEntryPoint(m_kernel32, entry->second);
        found = entry->first != nullptr;
    }
}

bool CProxySecManager::HasNamespaceFunctions() const noexcept
{
    return m_createPrivateNamespaceW != nullptr && m_openPrivateNamespaceW != nullptr &&
           m_closePrivateNamespace != nullptr && m_createBoundaryDescriptorW != nullptr &&
           m_deleteBoundaryDescriptor != nullptr;
}

void CProxySecManager::JoinNamespace() noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::LoadVistaFunctions";
    // No SID is added to the boundary: whoever knows the two names may join.
    m_boundary = EntryPointAs<decltype(CreateBoundaryDescriptorW)>(m_createBoundaryDescriptorW)(c_boundaryName, 0);
    if (m_boundary == nullptr)
    {
        DebugAssert(false, c_source, __LINE__);
        Trace(L"%6.0f %s CreateBoundaryDescriptor\n%s\n", TickMs(), function, ErrorText(GetLastError()));
        return;
    }
    m_namespace = OrvPOpenNamespace(c_namespaceName);
    if (m_namespace != nullptr)
        return;
    m_namespace = OrvPCreateNamespace(c_namespaceName);
    if (m_namespace != nullptr)
        m_namespaceCreatedHere = 1;
    else
        Trace(L"%6.0f %s OrvPCreateNamespace\n%s\n", TickMs(), function, ErrorText(GetLastError()));
}

bool CProxySecManager::LoadVistaFunctions() noexcept
{
    if (m_kernel32 != nullptr)
    {
        DebugAssert(false, c_source, __LINE__);
        return true;
    }
    if (!UsePrivateNamespace())
        return false;
    m_kernel32 = LoadLibraryW(L"Kernel32");
    DebugAssert(m_kernel32 != nullptr, c_source, __LINE__);
    LookUpNamespaceFunctions();
    if (HasNamespaceFunctions())
        JoinNamespace();
    if (m_namespace != nullptr)
        return true;
    DebugAssert(false, c_source, __LINE__);
    Trace(L"%6.0f %s %s\n", TickMs(), L"CProxySecManager::LoadVistaFunctions",
          L"Failed to create Security namespace!!!!!!!!!!!!!\n");
    return false;
}
