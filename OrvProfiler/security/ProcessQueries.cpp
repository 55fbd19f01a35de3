#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/security/ProcessInformation.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/security/TokenQuery.h"

#include <windows.h>

#include <winsvc.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

// The operations of the security manager that answer questions about processes and files.

namespace
{
constexpr const wchar_t* c_source = L"ProxySecurity";

constexpr size_t c_imageNameUnits = 260;

struct AdminSid
{
    WELL_KNOWN_SID_TYPE type;
    uint32_t bit;
};

constexpr AdminSid c_adminSids[] = {
    {WinBuiltinAdministratorsSid, c_adminBuiltInGroup},
    {WinAccountAdministratorSid, c_adminAccount},
    {WinAccountDomainAdminsSid, c_adminDomainGroup},
};

template <class Structure>
bool ReadStructure(HANDLE file, Structure& structure) noexcept
{
    DWORD read = 0;
    return ReadFile(file, &structure, sizeof structure, &read, nullptr) != FALSE && read == sizeof structure;
}

bool MoveTo(HANDLE file, LONG offset) noexcept
{
    LARGE_INTEGER position{};
    position.QuadPart = offset;
    return SetFilePointerEx(file, position, nullptr, FILE_BEGIN) != FALSE;
}

uint32_t ReadArchitecture(HANDLE file) noexcept
{
    IMAGE_DOS_HEADER dos{};
    static_assert(sizeof dos == 64 && offsetof(IMAGE_DOS_HEADER, e_lfanew) == 60);
    if (!ReadStructure(file, dos))
        return c_architectureUnreadable;
    if (dos.e_magic != IMAGE_DOS_SIGNATURE)
        return c_architectureUnknown;
    DWORD signature = 0;
    if (!MoveTo(file, dos.e_lfanew) || !ReadStructure(file, signature))
        return c_architectureUnreadable;
    if (signature != IMAGE_NT_SIGNATURE)
        return c_architectureUnknown;
    IMAGE_FILE_HEADER header{};
    static_assert(sizeof header == 20);
    WORD magic = 0;
    if (!ReadStructure(file, header) || !ReadStructure(file, magic))
        return c_architectureUnreadable;
    if (magic == IMAGE_NT_OPTIONAL_HDR32_MAGIC)
        return 32;
    return magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC ? 64 : c_architectureUnknown;
}

// The service control manager, open for listing services.
class ServiceManager
{
public:
    ServiceManager() noexcept : m_handle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE)) {}
    ~ServiceManager()
    {
        if (m_handle != nullptr)
            CloseServiceHandle(m_handle);
    }
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    explicit operator bool() const noexcept { return m_handle != nullptr; }

    // Lists the running Win32 services into a buffer. False on failure, with the bytes missing in needed.
    bool List(unsigned char* buffer, DWORD sizeBytes, DWORD& needed, DWORD& count) const noexcept
    {
        DWORD resume = 0;
        return EnumServicesStatusExW(m_handle, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_ACTIVE, buffer, sizeBytes,
                                     &needed, &count, &resume, nullptr) != FALSE;
    }

private:
    SC_HANDLE m_handle;
};

// The image name by NtQueryInformationProcess; empty on failure.
TString AskImageName(EntryPoint query, HANDLE process) noexcept
{
    ProcessImageName answer{};
    answer.name.maximumBytes = c_imageNameUnits;
    if (!QueryProcess(query, process, answer))
        return TString();
    const auto offset = reinterpret_cast<uintptr_t>(answer.name.text) - reinterpret_cast<uintptr_t>(answer.text);
    if (offset >= sizeof answer.text)
        return TString();
    const size_t first = offset / sizeof(wchar_t);
    const size_t last = first + answer.name.lengthBytes / sizeof(wchar_t);
    answer.text[std::min(last, std::size(answer.text) - 1)] = L'\0';
    return TString(answer.text + first);
}

// The two ways from a process handle to its id, of which older systems lack one.
struct IdFunctions
{
    EntryPoint queryInformation = LookUpEntryPoint(GetModuleHandleW(L"NTDLL.DLL"), "NtQueryInformationProcess");
    EntryPoint getProcessId = LookUpEntryPoint(GetModuleHandleW(L"KERNEL32.DLL"), "GetProcessId");
};
} // namespace

bool CProxySecManager::s_allowNoUser = false;

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
    std::unique_ptr<CProcess> object(new (std::nothrow) CProcess(*this, processId, std::move(process)));
    return object != nullptr && object->IsValid() ? object.release() : nullptr;
}

CProxySecManager::CProcess* CProxySecManager::GetCurrentProcessObject() noexcept
{
    if (m_isWellKnownSid == nullptr || m_lookupAccountSidW == nullptr)
        return nullptr;
    if (m_currentProcess == nullptr)
        m_currentProcess.reset(OpenProcessObject(GetCurrentProcessId()));
    return m_currentProcess.get();
}

uint32_t CProxySecManager::IsRunAsAdmin(HANDLE process) const noexcept
{
    constexpr const wchar_t* function = L"CProxySecManager::IsRunAsAdmin";
    if (m_isWellKnownSid == nullptr)
        return 0;
    UniqueHandle token;
    if (OpenProcessToken(process, TOKEN_READ, token.Receive()) == FALSE)
    {
        const DWORD error = GetLastError();
        DebugAssert(false, c_source, __LINE__);
        Trace(L"%6.0f %s %s\n", TickMs(), function, ErrorText(error));
        return 0;
    }
    uint32_t bits = 0;
    for (const SID_AND_ATTRIBUTES& group : TokenGroupsQuery(token.Get(), function))
    {
        for (const AdminSid& admin : c_adminSids)
        {
            if (IsWellKnown(group.Sid, admin.type))
                bits |= admin.bit;
        }
    }
    return bits;
}

uint32_t CProxySecManager::GetArchitecture(const wchar_t* path) const noexcept
{
    const UniqueHandle file = UniqueHandle::FromFile(
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file)
        return ReadArchitecture(file.Get());
    Trace(L"%6.0f %s CreateFile(OPEN_EXISTING) failed for file:%s, %s\n", TickMs(),
          L"CProxySecManager::GetArchitecture", path, ErrorText(GetLastError()));
    return c_architectureUnreadable;
}

bool CProxySecManager::IsProcessAService(uint32_t processId) const noexcept
{
    const ServiceManager services;
    if (!services)
        return false;
    DWORD size = 0;
    DWORD count = 0;
    if (services.List(nullptr, 0, size, count) || GetLastError() != ERROR_MORE_DATA)
        return false;
    const std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[size]);
    DWORD missing = 0;
    if (buffer == nullptr || !services.List(buffer.get(), size, missing, count))
        return false;
    const auto* const first = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(buffer.get());
    const auto* const last = first + std::min<size_t>(count, size / sizeof *first);
    return std::any_of(first, last, [processId](const ENUM_SERVICE_STATUS_PROCESSW& service) {
        return service.ServiceStatusProcess.dwProcessId == processId;
    });
}

uint32_t CProxySecManager::GetProcessIdOfHandle(HANDLE process) const noexcept
{
    static const IdFunctions functions;
    if (functions.getProcessId != nullptr)
        return EntryPointAs<decltype(GetProcessId)>(functions.getProcessId)(process);
    ProcessBasics basics{};
    return QueryProcess(functions.queryInformation, process, basics) ? static_cast<uint32_t>(basics.processId) : 0;
}

TString CProxySecManager::GetImageName(HANDLE process) const noexcept
{
    if (process == nullptr)
        return TString();
    if (UsePrivateNamespace() && m_queryFullProcessImageNameW != nullptr)
    {
        wchar_t name[c_imageNameUnits]{};
        auto units = static_cast<DWORD>(std::size(name));
        const auto query = EntryPointAs<decltype(QueryFullProcessImageNameW)>(m_queryFullProcessImageNameW);
        return query(process, PROCESS_NAME_NATIVE, name, &units) != FALSE ? TString(name) : TString();
    }
    return AskImageName(m_ntQueryInformationProcess, process);
}

bool CProxySecManager::Is64BitProcess(HANDLE process) const noexcept
{
    SYSTEM_INFO system{};
    GetNativeSystemInfo(&system);
    if (system.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_AMD64 &&
        system.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_IA64)
        return false;
    if (m_isWow64Process == nullptr)
        return false;
    BOOL isWow64 = TRUE;
    const BOOL known = EntryPointAs<decltype(IsWow64Process)>(m_isWow64Process)(process, &isWow64);
    return known != FALSE && isWow64 == FALSE;
}

bool CProxySecManager::IsWellKnown(PSID sid, uint32_t type) const noexcept
{
    return m_isWellKnownSid != nullptr && EntryPointAs<decltype(IsWellKnownSid)>(m_isWellKnownSid)(
                                              sid, static_cast<WELL_KNOWN_SID_TYPE>(type)) != FALSE;
}

bool CProxySecManager::IsAdminSid(PSID sid) const noexcept
{
    return std::any_of(std::begin(c_adminSids), std::end(c_adminSids),
                       [this, sid](const AdminSid& admin) { return IsWellKnown(sid, admin.type); });
}
