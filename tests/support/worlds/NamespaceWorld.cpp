#include "tests/support/worlds/NamespaceWorld.h"

#include "tests/support/faults/AllocationProbe.h"

#include <windows.h>

#include <winternl.h>

#include <stdexcept>
#include <tuple>

namespace
{
constexpr const wchar_t* c_turnName = L"OrvTestNamespaceWorld";
constexpr DWORD c_turnTimeoutMs = 60000;
constexpr DWORD c_goneTimeoutMs = 10000;
constexpr const wchar_t* c_directoryOfProduct = L"OrvP";
constexpr NTSTATUS c_statusNameCollision = static_cast<NTSTATUS>(0xC0000035);
constexpr NTSTATUS c_statusNameNotFound = static_cast<NTSTATUS>(0xC0000034);
constexpr ACCESS_MASK c_directoryAllAccess = 0x000F000F;

ReportedVersion* g_version = nullptr;
ExportTable* g_exports = nullptr;
NamespaceWorld* g_world = nullptr;

// Calls an Nt function for the object directory of that name among the session's named objects.
NTSTATUS CallForDirectory(const char* function, const std::wstring& name, SECURITY_ATTRIBUTES* attributes,
                          HANDLE& directory)
{
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    std::wstring path = L"\\Sessions\\" + std::to_wstring(session) + L"\\BaseNamedObjects\\" + name;
    UNICODE_STRING text{};
    text.Length = static_cast<USHORT>(path.size() * sizeof(wchar_t));
    text.MaximumLength = static_cast<USHORT>(text.Length + sizeof(wchar_t));
    text.Buffer = path.data();
    OBJECT_ATTRIBUTES object{};
    object.Length = sizeof object;
    object.ObjectName = &text;
    object.Attributes = OBJ_CASE_INSENSITIVE;
    object.SecurityDescriptor = attributes != nullptr ? attributes->lpSecurityDescriptor : nullptr;
    using DirectoryFunction = NTSTATUS(NTAPI*)(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*);
    const auto call = reinterpret_cast<DirectoryFunction>(g_exports->Real(L"ntdll", function));
    return call(&directory, c_directoryAllAccess, &object);
}

bool DirectoryExists(const std::wstring& name)
{
    HANDLE directory = nullptr;
    if (CallForDirectory("NtOpenDirectoryObject", name, nullptr, directory) < 0)
        return false;
    CloseHandle(directory);
    return true;
}

std::wstring Describe(const SECURITY_ATTRIBUTES* attributes)
{
    if (attributes == nullptr)
        return L"(no attributes)";
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    PACL list = nullptr;
    const wchar_t* access = L"unreadable descriptor";
    if (GetSecurityDescriptorDacl(attributes->lpSecurityDescriptor, &present, &list, &defaulted) != FALSE)
    {
        const bool isNull = present != FALSE && list == nullptr && defaulted == FALSE;
        access = isNull ? L"null access list" : L"other access list";
    }
    return L"(length " + std::to_wstring(attributes->nLength) + L", inherit " +
           std::to_wstring(attributes->bInheritHandle) + L", " + access + L")";
}

// What stands for a boundary descriptor: the handle is the address of one of these.
struct Boundary
{
    std::wstring name;
};

std::wstring BoundaryName(HANDLE boundary)
{
    return boundary != nullptr ? static_cast<const Boundary*>(boundary)->name : L"(null)";
}
} // namespace

struct VersionStandIn
{
    static int Verify(OSVERSIONINFOEXW* asked, DWORD fields, unsigned long long conditions)
    {
        g_version->m_queries.push_back({asked->dwOSVersionInfoSize, asked->dwMajorVersion, asked->dwMinorVersion,
                                        asked->wServicePackMajor, fields, conditions});
        const SystemVersion& own = g_version->m_version;
        const auto ownValues = std::make_tuple(own.major, own.minor, own.servicePack);
        const auto askedValues = std::make_tuple(static_cast<unsigned>(asked->dwMajorVersion),
                                                 static_cast<unsigned>(asked->dwMinorVersion),
                                                 static_cast<unsigned>(asked->wServicePackMajor));
        if (ownValues >= askedValues)
            return TRUE;
        SetLastError(ERROR_OLD_WIN_VERSION);
        return FALSE;
    }
};

ReportedVersion::ReportedVersion(const SystemVersion& version)
    : m_version(version), m_redirect("VerifyVersionInfoW", VersionStandIn::Verify)
{
    g_version = this;
}

ReportedVersion::~ReportedVersion()
{
    g_version = nullptr;
}

struct ExportStandIn
{
    static FARPROC LookUp(HMODULE module, const char* name)
    {
        constexpr uintptr_t highestOrdinal = 0xFFFF;
        if (reinterpret_cast<uintptr_t>(name) <= highestOrdinal)
            return g_exports->m_redirect.Real()(module, name);
        g_exports->m_asked.emplace_back(name);
        const auto changed = g_exports->m_changed.find(name);
        if (changed == g_exports->m_changed.end())
            return g_exports->m_redirect.Real()(module, name);
        if (changed->second == nullptr)
            SetLastError(ERROR_PROC_NOT_FOUND);
        return reinterpret_cast<FARPROC>(changed->second);
    }
};

ExportTable::ExportTable() : m_redirect("GetProcAddress", ExportStandIn::LookUp)
{
    g_exports = this;
}

ExportTable::~ExportTable()
{
    g_exports = nullptr;
}

void ExportTable::HideWine()
{
    Hide("wine_get_version");
    Hide("wine_get_build_id");
}

void* ExportTable::Real(const wchar_t* library, const char* name) const
{
    return reinterpret_cast<void*>(m_redirect.Real()(GetModuleHandleW(library), name));
}

WindowsWithoutNamespaces::WindowsWithoutNamespaces() : m_version(c_windowsXp64)
{
    m_exports.HideWine();
}

ModernSystem::ModernSystem() : m_version(c_windows10)
{
    m_exports.HideWine();
    m_exports.Hide("CreatePrivateNamespaceW");
}

struct NamespaceStandIn
{
    // Whether the function is to fail; the last error is set then.
    static bool Fails(const wchar_t* function)
    {
        const auto failure = g_world->m_failures.find(function);
        if (failure == g_world->m_failures.end())
            return false;
        SetLastError(failure->second);
        return true;
    }

    static HANDLE WINAPI CreateBoundary(const wchar_t* name, ULONG flags)
    {
        g_world->Record(L"CreateBoundaryDescriptorW " + std::wstring(name) + L" " + std::to_wstring(flags));
        if (Fails(L"CreateBoundaryDescriptorW"))
            return nullptr;
        ++g_world->m_openBoundaries;
        return new Boundary{name};
    }

    static void WINAPI DeleteBoundary(HANDLE boundary)
    {
        const AllocationProbe::Unwatched unwatched;
        g_world->Record(L"DeleteBoundaryDescriptor " + BoundaryName(boundary));
        --g_world->m_openBoundaries;
        delete static_cast<Boundary*>(boundary);
    }

    static HANDLE WINAPI Create(SECURITY_ATTRIBUTES* attributes, void* boundary, const wchar_t* name)
    {
        const std::wstring alias = name != nullptr ? name : L"(null)";
        g_world->Record(L"CreatePrivateNamespaceW " + Describe(attributes) + L" " + BoundaryName(boundary) + L" " +
                        alias);
        if (Fails(L"CreatePrivateNamespaceW"))
            return nullptr;
        HANDLE directory = nullptr;
        const NTSTATUS status = CallForDirectory("NtCreateDirectoryObject", alias, attributes, directory);
        if (status >= 0)
            return *g_world->m_namespaces.insert(directory).first;
        SetLastError(status == c_statusNameCollision ? ERROR_ALREADY_EXISTS : ERROR_GEN_FAILURE);
        return nullptr;
    }

    static HANDLE WINAPI Open(void* boundary, const wchar_t* name)
    {
        const std::wstring alias = name != nullptr ? name : L"(null)";
        g_world->Record(L"OpenPrivateNamespaceW " + BoundaryName(boundary) + L" " + alias);
        if (Fails(L"OpenPrivateNamespaceW"))
            return nullptr;
        HANDLE directory = nullptr;
        const NTSTATUS status = CallForDirectory("NtOpenDirectoryObject", alias, nullptr, directory);
        if (status >= 0)
            return *g_world->m_namespaces.insert(directory).first;
        SetLastError(status == c_statusNameNotFound ? ERROR_PATH_NOT_FOUND : ERROR_GEN_FAILURE);
        return nullptr;
    }

    static BOOLEAN WINAPI Close(HANDLE handle, ULONG flags)
    {
        g_world->Record(L"ClosePrivateNamespace " + std::to_wstring(flags));
        if (Fails(L"ClosePrivateNamespace"))
            return FALSE;
        if (g_world->m_namespaces.erase(handle) != 0)
            return CloseHandle(handle) != FALSE ? TRUE : FALSE;
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
};

NamespaceWorld::NamespaceWorld(Entry entry, const SystemVersion& version) : m_version(version)
{
    if (entry == Entry::Own)
    {
        m_turn = CreateMutexW(nullptr, FALSE, c_turnName);
        const DWORD waited = WaitForSingleObject(m_turn, c_turnTimeoutMs);
        if (waited != WAIT_OBJECT_0 && waited != WAIT_ABANDONED)
        {
            CloseHandle(m_turn);
            throw std::runtime_error("another test keeps the namespace");
        }
        // A process of an earlier test may still be ending and hold the directory open.
        for (DWORD waitedMs = 0; DirectoryExists(c_directoryOfProduct); waitedMs += 10)
        {
            if (waitedMs >= c_goneTimeoutMs)
            {
                ReleaseMutex(m_turn);
                CloseHandle(m_turn);
                throw std::runtime_error("the namespace of an earlier test does not go away");
            }
            Sleep(10);
        }
    }
    g_world = this;
    m_exports.HideWine();
    m_exports.Replace("CreateBoundaryDescriptorW", NamespaceStandIn::CreateBoundary);
    m_exports.Replace("DeleteBoundaryDescriptor", NamespaceStandIn::DeleteBoundary);
    m_exports.Replace("CreatePrivateNamespaceW", NamespaceStandIn::Create);
    m_exports.Replace("OpenPrivateNamespaceW", NamespaceStandIn::Open);
    m_exports.Replace("ClosePrivateNamespace", NamespaceStandIn::Close);
}

NamespaceWorld::~NamespaceWorld()
{
    g_world = nullptr;
    for (HANDLE const directory : m_namespaces)
        CloseHandle(directory);
    if (m_turn == nullptr)
        return;
    ReleaseMutex(m_turn);
    CloseHandle(m_turn);
}
