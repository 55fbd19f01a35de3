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

#include <cstddef>
#include <new>
#include <utility>

namespace
{
constexpr const wchar_t* c_source = L"ProxySecurity";
constexpr uint32_t c_firstVersionWithNamespaces = 6;

} // namespace

bool CProxySecManager::s_allowNoUser = false;

CProxySecManager::CProxySecManager() noexcept : m_osVersion(GetWindowsVersion())
{
    static_assert(sizeof(CProxySecManager) == 192 && offsetof(CProxySecManager, m_osVersion) == 0 &&
                      offsetof(CProxySecManager, m_namespaceCreatedHere) == 8 &&
                      offsetof(CProxySecManager, m_version) == 16 && offsetof(CProxySecManager, m_kernel32) == 24 &&
                      offsetof(CProxySecManager, m_ntdll) == 32 && offsetof(CProxySecManager, m_advApi32) == 40 &&
                      offsetof(CProxySecManager, m_namespace) == 48 && offsetof(CProxySecManager, m_boundary) == 56 &&
                      offsetof(CProxySecManager, m_functions) == 64 &&
                      offsetof(CProxySecManager, m_currentProcess) == 176 &&
                      offsetof(CProxySecManager, m_runningUnderWine) == 184,
                  "the order of the fields is the family's");
    DebugAssert(this == &g_SecManager, c_source);
    DebugAssert(m_osVersion != 0, c_source);
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
    m_ntdll.Reset();
    m_kernel32.Reset();
    m_advApi32.Reset();
    m_version.Reset();
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
        TraceLine(L"%6.0f %s OpenProcess Failed\n%s\n", function, ErrorText(GetLastError()));
        return c_sessionFailed;
    }
    UniqueHandle token;
    if (OpenProcessToken(process.Get(), TOKEN_READ, token.Receive()) == FALSE)
    {
        TraceLine(L"%6.0f %s OpenProcessToken Failed\n%s\n", function, ErrorText(GetLastError()));
        return c_sessionFailed;
    }
    uint32_t session = c_sessionFailed;
    if (!QueryTokenSession(token.Get(), session))
        TraceLine(L"%6.0f %s GetTokenInformation Failed\n%s\n", function, ErrorText(GetLastError()));
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
        TraceLine(L"%6.0f %s CreateEvent %s succeeded \n", function, kernelName);
    else
        TraceLine(L"%6.0f %s CreateEvent %s Failed\n%s\n", function, kernelName, ErrorText(GetLastError()));
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
    TraceLine(L"%6.0f %s Create Mutex %s\n", function, kernelName);
    HANDLE const mutex = CreateMutexW(attributes, FALSE, kernelName);
    if (mutex == nullptr)
        TraceLine(L"%6.0f %s CreateMutex Failed %s\n", function, ErrorText(GetLastError()));
    return mutex;
}

HANDLE CProxySecManager::OrvPOpenMutex(const wchar_t* kernelName, DWORD access) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::OrvPOpenMutex";
    if (kernelName == nullptr)
        return nullptr;
    TraceLine(L"%6.0f %s Open Mutex %s\n", function, kernelName);
    HANDLE const mutex = OpenMutexW(access, FALSE, kernelName);
    if (mutex == nullptr)
        TraceLine(L"%6.0f %s Open Mutex Failed %s\n", function, ErrorText(GetLastError()));
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
    TraceLine(L"%6.0f %s Create Named File Map: %s\n", function, kernelName);
    HANDLE const mapping = CreateFileMappingW(file, attributes, protection, sizeHigh, sizeLow, kernelName);
    if (mapping == nullptr)
        TraceLine(L"%6.0f %s Failed with %s\n", function, ErrorText(GetLastError()));
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
        TraceLine(L"%6.0f %s Failed with %s\n", function, ErrorText(GetLastError()));
    return mapping;
}

bool CProxySecManager::OrvPCreateACL(SECURITY_ATTRIBUTES* attributes, PSECURITY_DESCRIPTOR descriptor) const noexcept
{
    return OpenToAll::Fill(attributes, descriptor);
}

HANDLE CProxySecManager::OrvPCreateNamespace(const wchar_t* name) const noexcept
{
    const bool hasNamespaces = UsePrivateNamespace();
    DebugAssert(hasNamespaces, c_source);
    return hasNamespaces ? CreateNamespaceWithin(m_functions, m_boundary, name) : nullptr;
}

HANDLE CProxySecManager::OrvPOpenNamespace(const wchar_t* name) const noexcept
{
    const bool hasNamespaces = UsePrivateNamespace();
    DebugAssert(hasNamespaces, c_source);
    return hasNamespaces ? OpenNamespaceWithin(m_functions, m_boundary, name) : nullptr;
}

bool CProxySecManager::OrvPCloseNamespace(HANDLE& handle) const noexcept
{
    const bool hasNamespaces = UsePrivateNamespace();
    DebugAssert(hasNamespaces, c_source);
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
    const SystemFunction<const char*()> version(m_ntdll.Get(), "wine_get_version");
    if (version != nullptr)
        TraceLine(L"%6.0f %s Wine Version %S\n", function, version());
    const SystemFunction<const char*()> buildId(m_ntdll.Get(), "wine_get_build_id");
    if (buildId != nullptr)
        TraceLine(L"%6.0f %s Wine Build Id %S\n", function, buildId());
    m_runningUnderWine = version != nullptr || buildId != nullptr ? 1 : 0;
}

bool CProxySecManager::LoadStandardFunctions() noexcept
{
    if (m_ntdll || m_advApi32 || m_version)
    {
        DebugAssert(false, c_source);
        return true;
    }
    m_ntdll.Reset(LoadLibraryW(L"Ntdll"));
    m_advApi32.Reset(LoadLibraryW(L"AdvAPI32"));
    m_version.Reset(LoadLibraryW(L"Version"));

    m_functions.LookUpNativeFunctions(m_ntdll.Get());
    DetectWine();
    m_functions.LookUpAccountFunctions(m_advApi32.Get());
    DebugAssert(m_functions.lookupAccountSidW != nullptr && m_functions.lookupAccountNameW != nullptr, c_source);
    m_functions.LookUpVersionFunctions(m_version.Get());

    if (m_functions.HasAccountFunctions())
        return true;
    // The functions go with their libraries.
    m_functions.LookUpNativeFunctions(nullptr);
    m_functions.LookUpAccountFunctions(nullptr);
    m_ntdll.Reset();
    m_advApi32.Reset();
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
        TraceLine(L"%6.0f %s OrvPCreateNamespace\n%s\n", L"CProxySecManager::LoadVistaFunctions",
                  ErrorText(GetLastError()));
}

bool CProxySecManager::LoadVistaFunctions() noexcept
{
    if (m_kernel32)
    {
        DebugAssert(false, c_source);
        return true;
    }
    if (!UsePrivateNamespace())
        return false;
    m_kernel32.Reset(LoadLibraryW(L"Kernel32"));
    DebugAssert(static_cast<bool>(m_kernel32), c_source);
    if (m_functions.LookUpKernelFunctions(m_kernel32.Get()))
        JoinNamespace();
    if (m_namespace != nullptr)
        return true;
    DebugAssert(false, c_source);
    TraceText(L"CProxySecManager::LoadVistaFunctions", L"Failed to create Security namespace!!!!!!!!!!!!!\n");
    return false;
}

CProxySecManager::CProcess* CProxySecManager::OpenProcessObject(uint32_t processId) const noexcept
{
    // Not granted for every process. Without it only the texts that it was started with stay unknown.
    constexpr DWORD accessForParameters = READ_CONTROL | PROCESS_VM_READ;
    const DWORD access = UsePrivateNamespace() ? PROCESS_QUERY_LIMITED_INFORMATION : PROCESS_QUERY_INFORMATION;
    UniqueHandle process(OpenProcess(access | accessForParameters, FALSE, processId));
    if (!process)
        process.Reset(OpenProcess(access, FALSE, processId));
    if (!process)
        return nullptr;
    DWORD exitCode = 0;
    const bool known = GetExitCodeProcess(process.Get(), &exitCode) != FALSE;
    DebugAssert(known, c_source);
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
