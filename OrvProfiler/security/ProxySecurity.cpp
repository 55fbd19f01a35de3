#include "OrvProfiler/security/ProxySecurity.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/security/OpenToAll.h"
#include "OrvProfiler/security/Privileges.h"
#include "OrvProfiler/security/ProcessInformation.h"
#include "OrvProfiler/security/RunningServices.h"
#include "OrvProfiler/security/TokenQuery.h"

#include <windows.h>

#include <new>
#include <utility>

namespace
{
constexpr const wchar_t* c_source = L"ProxySecurity";
constexpr uint32_t c_firstVersionWithNamespaces = 6;

void Unload(HMODULE& module) noexcept
{
    if (module != nullptr)
        FreeLibrary(std::exchange(module, nullptr));
}
} // namespace

bool CProxySecManager::s_allowNoUser = false;

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
    DeleteNamespaceBoundary(m_functions, m_boundary);
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
    if (!QueryTokenSession(token.Get(), session))
        Trace(L"%6.0f %s GetTokenInformation Failed\n%s\n", TickMs(), function, ErrorText(GetLastError()));
    return session;
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
    return OpenToAll::Fill(attributes, descriptor);
}

HANDLE CProxySecManager::OrvPCreateNamespace(const wchar_t* name) const noexcept
{
    const bool hasNamespaces = UsePrivateNamespace();
    DebugAssert(hasNamespaces, c_source, __LINE__);
    return hasNamespaces ? CreateNamespaceWithin(m_functions, m_boundary, name) : nullptr;
}

HANDLE CProxySecManager::OrvPOpenNamespace(const wchar_t* name) const noexcept
{
    const bool hasNamespaces = UsePrivateNamespace();
    DebugAssert(hasNamespaces, c_source, __LINE__);
    return hasNamespaces ? OpenNamespaceWithin(m_functions, m_boundary, name) : nullptr;
}

bool CProxySecManager::OrvPCloseNamespace(HANDLE& handle) const noexcept
{
    const bool hasNamespaces = UsePrivateNamespace();
    DebugAssert(hasNamespaces, c_source, __LINE__);
    return hasNamespaces && CloseNamespaceHandle(m_functions, handle);
}

bool CProxySecManager::OrvPEnablePrivilege(const wchar_t* name) const noexcept
{
    return EnablePrivilege(name);
}

uint32_t CProxySecManager::OrvPHasPrivilege(HANDLE process, const wchar_t* name) const noexcept
{
    return HasPrivilege(process, name);
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

    m_functions.LookUpNativeFunctions(m_ntdll);
    DetectWine();
    m_functions.LookUpAccountFunctions(m_advApi32);
    DebugAssert(m_functions.lookupAccountSidW != nullptr && m_functions.lookupAccountNameW != nullptr, c_source,
                __LINE__);
    m_functions.LookUpVersionFunctions(m_version);

    if (m_functions.HasAccountFunctions())
        return true;
    // A function of a library that is freed is none.
    m_functions.ForgetNativeFunctions();
    m_functions.ForgetAccountFunctions();
    Unload(m_ntdll);
    Unload(m_advApi32);
    return false;
}

void CProxySecManager::JoinNamespace() noexcept
{
    m_boundary = CreateNamespaceBoundary(m_functions);
    if (m_boundary == nullptr)
        return;
    m_namespace = OrvPOpenNamespace(c_namespaceName);
    if (m_namespace != nullptr)
        return;
    m_namespace = OrvPCreateNamespace(c_namespaceName);
    if (m_namespace != nullptr)
        m_namespaceCreatedHere = 1;
    else
        Trace(L"%6.0f %s OrvPCreateNamespace\n%s\n", TickMs(), L"CProxySecManager::LoadVistaFunctions",
              ErrorText(GetLastError()));
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
    m_functions.LookUpKernelFunctions(m_kernel32);
    if (m_functions.HasNamespaceFunctions())
        JoinNamespace();
    if (m_namespace != nullptr)
        return true;
    DebugAssert(false, c_source, __LINE__);
    Trace(L"%6.0f %s %s\n", TickMs(), L"CProxySecManager::LoadVistaFunctions",
          L"Failed to create Security namespace!!!!!!!!!!!!!\n");
    return false;
}

CProxySecManager::CProcess* CProxySecManager::OpenProcessObject(uint32_t processId) const noexcept
{
    // Not granted for every process: without it the parameters stay unknown, the rest does not.
    constexpr DWORD accessForParameters = READ_CONTROL | PROCESS_VM_READ;
    const DWORD access = UsePrivateNamespace() ? PROCESS_QUERY_LIMITED_INFORMATION : PROCESS_QUERY_INFORMATION;
    UniqueHandle process(OpenProcess(access | accessForParameters, FALSE, processId));
    if (!process)
        process.Reset(OpenProcess(access, FALSE, processId));
    if (!process)
        return nullptr;
    DWORD exitCode = 0;
    const bool known = GetExitCodeProcess(process.Get(), &exitCode) != FALSE;
    DebugAssert(known, c_source, __LINE__);
    if (!known || exitCode != STILL_ACTIVE)
        return nullptr;
    std::unique_ptr<CProcess> object(new (std::nothrow) CProcess(m_functions, processId, std::move(process)));
    if (object == nullptr)
        return nullptr;
    const bool hasUser = (object->GetFlags() & c_processUserFound) != 0;
    return hasUser || s_allowNoUser ? object.release() : nullptr;
}

CProxySecManager::CProcess* CProxySecManager::GetCurrentProcessObject() noexcept
{
    if (!m_functions.HasAccountFunctions())
        return nullptr;
    if (m_currentProcess == nullptr)
        m_currentProcess.reset(OpenProcessObject(GetCurrentProcessId()));
    return m_currentProcess.get();
}

uint32_t CProxySecManager::IsRunAsAdmin(HANDLE process) const noexcept
{
    return GetAdministratorBits(m_functions, process);
}

uint32_t CProxySecManager::GetArchitecture(const wchar_t* path) const noexcept
{
    return ReadImageArchitecture(path);
}

bool CProxySecManager::IsProcessAService(uint32_t processId) const noexcept
{
    return IsRunningService(processId);
}

uint32_t CProxySecManager::GetProcessIdOfHandle(HANDLE process) const noexcept
{
    return QueryProcessId(process);
}

TString CProxySecManager::GetImageName(HANDLE process) const noexcept
{
    return QueryImageName(m_functions, process);
}

bool CProxySecManager::Is64BitProcess(HANDLE process) const noexcept
{
    return IsNative64BitProcess(m_functions, process);
}

bool CProxySecManager::IsWellKnown(PSID sid, uint32_t type) const noexcept
{
    return IsWellKnownType(m_functions, sid, type);
}

bool CProxySecManager::IsAdminSid(PSID sid) const noexcept
{
    return IsAdministratorSid(m_functions, sid);
}
