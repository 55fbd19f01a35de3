#include "tests/support/faults/SystemFaults.h"

#include "OrvProfiler/OrvWorkbench/RuntimeHost.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <io.h>
#include <malloc.h>
#include <winnetwk.h>
#include <winsvc.h>
#include <winternl.h>
#include <winver.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace
{
enum class Found
{
    Imported,
    LookedUp, // with GetProcAddress
};

// What a call does that is made to fail.
enum class Way
{
    DoesNothing,
    GivesBack,  // a release: does its work all the same
    CannotFail, // it is only told of
};

struct Fault
{
    const char* name;
    Found found;
    void* stand;
    void** real;
    Way way;
};

constexpr size_t c_mostFaults = 128;
constexpr size_t c_none = SIZE_MAX;

// Nothing in here may allocate while calls are counted.
struct State
{
    DWORD thread = 0;
    bool counting = false;
    std::array<unsigned, c_mostFaults> calls{};
    std::array<unsigned, c_mostFaults> successes{};
    size_t failing = c_none;
    unsigned failingCall = 0;
    bool failed = false;
    unsigned surplusReleases = 0;
    SystemFaults::Listener* listener = nullptr;
};

State g_state;
std::vector<Fault> g_faults;

bool IsCounting() noexcept
{
    return g_state.counting && GetCurrentThreadId() == g_state.thread;
}

// Counts a call and says whether it is to fail.
bool Reach(size_t index) noexcept
{
    const unsigned call = ++g_state.calls[index];
    if (index != g_state.failing || call != g_state.failingCall)
        return false;
    g_state.failed = true;
    return true;
}

// While one of these lives, what the thread does is neither the product's nor the test's; the last error stays.
class Aside
{
public:
    Aside() = default;
    ~Aside() { SetLastError(m_error); }
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;

private:
    DWORD m_error = GetLastError();
    SystemFaults::Paused m_paused;
    AllocationProbe::Unwatched m_unwatched;
};

template <class... Arguments>
void TellBefore(const char* name, bool fails, const Arguments&... arguments)
{
    if (g_state.listener == nullptr)
        return;
    const Aside aside;
    g_state.listener->BeforeCall({name, {ToCallValue(arguments)...}, fails});
}

template <class Result, class... Arguments>
void TellAfter(const char* name, const Result& result, const Arguments&... arguments)
{
    if (g_state.listener == nullptr)
        return;
    const Aside aside;
    g_state.listener->AfterCall({name, {ToCallValue(arguments)...}, false}, ToCallValue(result));
}

// Stands for a function that cannot fail.
template <int Line, class Function>
struct Heard;

template <int Line, class Result, class... Arguments>
struct Heard<Line, Result(Arguments...)>
{
    static inline Result (*s_real)(Arguments...) = nullptr;
    static inline const char* s_name = nullptr;

    static Result Call(Arguments... arguments)
    {
        if (!IsCounting())
            return s_real(arguments...);
        TellBefore(s_name, false, arguments...);
        const SystemFaults::Paused paused;
        const AllocationProbe::Unwatched unwatched;
        return s_real(arguments...);
    }
};

template <int Line, class Function>
struct Stand;

template <int Line, class Result, class... Arguments>
struct Stand<Line, Result(Arguments...)>
{
    static inline const char* s_name = nullptr;
    using Answer = Result;
    static inline Result (*s_real)(Arguments...) = nullptr;
    static inline size_t s_index = c_none;
    static inline Result s_answer{};
    static inline DWORD s_error = 0;
    static inline Way s_way = Way::DoesNothing;

    static Result CallReal(Arguments... arguments)
    {
        const SystemFaults::Paused paused;
        const AllocationProbe::Unwatched unwatched;
        const Result result = s_real(arguments...);
        if (result != s_answer)
            ++g_state.successes[s_index];
        else
            g_state.surplusReleases += s_way == Way::GivesBack && !IsNull(arguments...) ? 1U : 0U;
        return result;
    }

    static Result Call(Arguments... arguments)
    {
        if (!IsCounting())
            return s_real(arguments...);
        const bool fails = Reach(s_index);
        TellBefore(s_name, fails, arguments...);
        if (!fails)
        {
            const Result result = CallReal(arguments...);
            TellAfter(s_name, result, arguments...);
            return result;
        }
        if (s_way == Way::GivesBack)
            CallReal(arguments...);
        SetLastError(s_error);
        return s_answer;
    }

    template <class First, class... Rest>
    static bool IsNull(const First& first, const Rest&...)
    {
        return first == First{};
    }
    static bool IsNull() { return false; }
};

template <int Line, class Function, class Answer>
void Add(const char* name, Found found, Answer answer, DWORD error, Way way)
{
    using Own = Stand<Line, Function>;
    Own::s_index = g_faults.size();
    Own::s_answer = static_cast<typename Own::Answer>(answer);
    Own::s_error = error;
    Own::s_way = way;
    Own::s_name = name;
    g_faults.push_back(
        {name, found, reinterpret_cast<void*>(&Own::Call), reinterpret_cast<void**>(&Own::s_real), way});
}

template <int Line, class Function>
void AddHeard(const char* name, Found found)
{
    using Own = Heard<Line, Function>;
    Own::s_name = name;
    g_faults.push_back(
        {name, found, reinterpret_cast<void*>(&Own::Call), reinterpret_cast<void**>(&Own::s_real), Way::CannotFail});
}

// Each entry: the function, what it returns when it fails, and the last error that it leaves.
#define IMPORTED(function, answer, error)                                                                            \
    Add<__LINE__, decltype(function)>(#function, Found::Imported, answer, error, Way::DoesNothing)
#define GIVING_BACK(function, answer, error)                                                                         \
    Add<__LINE__, decltype(function)>(#function, Found::Imported, answer, error, Way::GivesBack)
#define LOOKED_UP_GIVING_BACK(function, answer, error)                                                               \
    Add<__LINE__, decltype(function)>(#function, Found::LookedUp, answer, error, Way::GivesBack)
#define LOOKED_UP(function, answer, error)                                                                           \
    Add<__LINE__, decltype(function)>(#function, Found::LookedUp, answer, error, Way::DoesNothing)

void ListObjects()
{
    IMPORTED(CreateEventW, nullptr, ERROR_NO_SYSTEM_RESOURCES);
    IMPORTED(CreateFileMappingW, nullptr, ERROR_COMMITMENT_LIMIT);
    IMPORTED(CreateMutexW, nullptr, ERROR_NO_SYSTEM_RESOURCES);
    IMPORTED(MapViewOfFile, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    IMPORTED(OpenEventW, nullptr, ERROR_ACCESS_DENIED);
    IMPORTED(OpenFileMappingW, nullptr, ERROR_ACCESS_DENIED);
    IMPORTED(OpenMutexW, nullptr, ERROR_ACCESS_DENIED);
    IMPORTED(ResetEvent, FALSE, ERROR_INVALID_HANDLE);
    IMPORTED(SetEvent, FALSE, ERROR_INVALID_HANDLE);
    IMPORTED(SetThreadStackGuarantee, FALSE, ERROR_INVALID_PARAMETER);
    IMPORTED(VirtualQuery, 0U, ERROR_INVALID_PARAMETER);
    IMPORTED(WaitForMultipleObjects, WAIT_FAILED, ERROR_INVALID_HANDLE);
    IMPORTED(WaitForSingleObject, WAIT_FAILED, ERROR_INVALID_HANDLE);
    GIVING_BACK(CloseHandle, FALSE, ERROR_INVALID_HANDLE);
    GIVING_BACK(ReleaseMutex, FALSE, ERROR_NOT_OWNER);
    GIVING_BACK(UnmapViewOfFile, FALSE, ERROR_INVALID_ADDRESS);
}

void ListSecurity()
{
    IMPORTED(AdjustTokenPrivileges, FALSE, ERROR_ACCESS_DENIED);
    IMPORTED(EnumServicesStatusExW, FALSE, ERROR_ACCESS_DENIED);
    IMPORTED(GetExitCodeProcess, FALSE, ERROR_ACCESS_DENIED);
    IMPORTED(GetTokenInformation, FALSE, ERROR_ACCESS_DENIED);
    IMPORTED(InitializeSecurityDescriptor, FALSE, ERROR_UNKNOWN_REVISION);
    IMPORTED(LookupPrivilegeValueW, FALSE, ERROR_NO_SUCH_PRIVILEGE);
    IMPORTED(OpenProcess, nullptr, ERROR_ACCESS_DENIED);
    IMPORTED(OpenProcessToken, FALSE, ERROR_ACCESS_DENIED);
    IMPORTED(OpenSCManagerW, nullptr, ERROR_ACCESS_DENIED);
    IMPORTED(ReadProcessMemory, FALSE, ERROR_PARTIAL_COPY);
    IMPORTED(SetSecurityDescriptorDacl, FALSE, ERROR_INVALID_SECURITY_DESCR);
    GIVING_BACK(CloseServiceHandle, FALSE, ERROR_INVALID_HANDLE);
    LOOKED_UP_GIVING_BACK(ClosePrivateNamespace, FALSE, ERROR_INVALID_HANDLE);
    LOOKED_UP(CreateBoundaryDescriptorW, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    LOOKED_UP(CreatePrivateNamespaceW, nullptr, ERROR_ACCESS_DENIED);
    LOOKED_UP(GetProcessId, 0U, ERROR_ACCESS_DENIED);
    LOOKED_UP(IsWellKnownSid, FALSE, ERROR_INVALID_SID);
    LOOKED_UP(IsWow64Process, FALSE, ERROR_ACCESS_DENIED);
    LOOKED_UP(LookupAccountSidW, FALSE, ERROR_NONE_MAPPED);
    LOOKED_UP(NtQueryInformationProcess, static_cast<NTSTATUS>(0xC0000022), ERROR_SUCCESS);
    LOOKED_UP(OpenPrivateNamespaceW, nullptr, ERROR_ACCESS_DENIED);
    LOOKED_UP(QueryFullProcessImageNameW, FALSE, ERROR_GEN_FAILURE);
}

void ListFiles()
{
    IMPORTED(CreateDirectoryW, FALSE, ERROR_ACCESS_DENIED);
    IMPORTED(CreateFileW, INVALID_HANDLE_VALUE, ERROR_SHARING_VIOLATION);
    IMPORTED(FileTimeToSystemTime, FALSE, ERROR_INVALID_PARAMETER);
    IMPORTED(GetCurrentDirectoryW, 0U, ERROR_PATH_NOT_FOUND);
    IMPORTED(GetFileAttributesExW, FALSE, ERROR_FILE_NOT_FOUND);
    IMPORTED(GetLogicalDriveStringsW, 0U, ERROR_NO_SYSTEM_RESOURCES);
    IMPORTED(GetLogicalDrives, 0U, ERROR_NO_SYSTEM_RESOURCES);
    IMPORTED(GetLongPathNameW, 0U, ERROR_PATH_NOT_FOUND);
    IMPORTED(QueryDosDeviceW, 0U, ERROR_FILE_NOT_FOUND);
    IMPORTED(GetFileType, static_cast<DWORD>(FILE_TYPE_UNKNOWN), ERROR_INVALID_HANDLE);
    IMPORTED(ReadFile, FALSE, ERROR_READ_FAULT);
    IMPORTED(SetFilePointerEx, FALSE, ERROR_NEGATIVE_SEEK);
    IMPORTED(SystemTimeToFileTime, FALSE, ERROR_INVALID_PARAMETER);
    IMPORTED(SystemTimeToTzSpecificLocalTime, FALSE, ERROR_INVALID_PARAMETER);
    IMPORTED(_resetstkoflw, 0, ERROR_NOT_ENOUGH_MEMORY);
    IMPORTED(_waccess_s, ENOENT, ERROR_FILE_NOT_FOUND);
    IMPORTED(_wchdir, -1, ERROR_PATH_NOT_FOUND);
    IMPORTED(_wfindfirst64, -1, ERROR_NO_MORE_FILES);
    IMPORTED(_wfindnext64, -1, ERROR_NO_MORE_FILES);
    IMPORTED(_wfopen_s, EACCES, ERROR_ACCESS_DENIED);
    IMPORTED(fflush, EOF, ERROR_DISK_FULL);
    // Its declared type has an attribute that no template argument may have.
    using Write = size_t(const void*, size_t, size_t, FILE*);
    Add<__LINE__, Write>("fwrite", Found::Imported, size_t{0}, ERROR_DISK_FULL, Way::DoesNothing);
    GIVING_BACK(_findclose, -1, ERROR_INVALID_HANDLE);
    GIVING_BACK(fclose, EOF, ERROR_DISK_FULL);
    LOOKED_UP(GetFileVersionInfoSizeW, 0U, ERROR_RESOURCE_DATA_NOT_FOUND);
    LOOKED_UP(GetFileVersionInfoW, FALSE, ERROR_RESOURCE_DATA_NOT_FOUND);
    LOOKED_UP(VerQueryValueW, FALSE, ERROR_RESOURCE_TYPE_NOT_FOUND);
    LOOKED_UP(WNetGetConnectionW, static_cast<DWORD>(ERROR_NOT_CONNECTED), ERROR_NOT_CONNECTED);
}

void ListRest()
{
    IMPORTED(CorBindToRuntimeEx, static_cast<HRESULT>(0x80131700), ERROR_FILE_NOT_FOUND);
    // Its declared type has an attribute that no template argument may have.
    using Format = DWORD(DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, char**);
    Add<__LINE__, Format>("FormatMessageW", Found::Imported, 0U, ERROR_MR_MID_NOT_FOUND, Way::DoesNothing);
    IMPORTED(GetEnvironmentVariableW, 0U, ERROR_ENVVAR_NOT_FOUND);
    IMPORTED(GetModuleHandleW, nullptr, ERROR_MOD_NOT_FOUND);
    IMPORTED(GetProcAddress, nullptr, ERROR_PROC_NOT_FOUND);
    IMPORTED(LoadLibraryW, nullptr, ERROR_MOD_NOT_FOUND);
    IMPORTED(LoadStringW, 0, ERROR_RESOURCE_NAME_NOT_FOUND);
    IMPORTED(MsgWaitForMultipleObjectsEx, WAIT_FAILED, ERROR_INVALID_HANDLE);
    IMPORTED(MultiByteToWideChar, 0, ERROR_NO_UNICODE_TRANSLATION);
    IMPORTED(PostMessageW, FALSE, ERROR_NOT_ENOUGH_QUOTA);
    IMPORTED(SendMessageW, 0, ERROR_INVALID_WINDOW_HANDLE);
    IMPORTED(VerifyVersionInfoW, FALSE, ERROR_OLD_WIN_VERSION);
    IMPORTED(WideCharToMultiByte, 0, ERROR_NO_UNICODE_TRANSLATION);
    GIVING_BACK(FreeLibrary, FALSE, ERROR_MOD_NOT_FOUND);
}

#define HEARD(function) AddHeard<__LINE__, decltype(function)>(#function, Found::Imported)
#define HEARD_LOOKED_UP(name, type) AddHeard<__LINE__, type>(name, Found::LookedUp)

// What cannot fail, and is told of all the same.
void ListHeard()
{
    HEARD(DeleteCriticalSection);
    HEARD(DispatchMessageW);
    HEARD(EnterCriticalSection);
    HEARD(GetNativeSystemInfo);
    HEARD(InitializeCriticalSection);
    HEARD(LeaveCriticalSection);
    HEARD(OutputDebugStringW);
    HEARD(PeekMessageW);
    HEARD(QueryPerformanceCounter);
    HEARD(QueryPerformanceFrequency);
    HEARD(TranslateMessage);
    HEARD(free);
    HEARD_LOOKED_UP("DeleteBoundaryDescriptor", decltype(DeleteBoundaryDescriptor));
    HEARD_LOOKED_UP("IsDebuggerPresent", decltype(IsDebuggerPresent));
    HEARD_LOOKED_UP("wine_get_build_id", const char*());
    HEARD_LOOKED_UP("wine_get_version", const char*());
}

#undef HEARD
#undef HEARD_LOOKED_UP
#undef IMPORTED
#undef GIVING_BACK
#undef LOOKED_UP
#undef LOOKED_UP_GIVING_BACK

const std::vector<Fault>& Faults()
{
    if (g_faults.empty())
    {
        ListObjects();
        ListSecurity();
        ListFiles();
        ListRest();
        ListHeard();
    }
    if (g_faults.size() > c_mostFaults)
        throw std::runtime_error("there are more functions than counters");
    return g_faults;
}

size_t IndexOf(const std::string& function)
{
    const auto found =
        std::find_if(Faults().begin(), Faults().end(), [&](const Fault& fault) { return function == fault.name; });
    return found != Faults().end() ? static_cast<size_t>(found - Faults().begin()) : c_none;
}

// What is only told of stays as it is when nobody listens.
bool IsInstalled(const Fault& fault) noexcept
{
    return fault.way != Way::CannotFail || g_state.listener != nullptr;
}

// What GetProcAddress answers instead of a function that can be made to fail.
struct LookUp
{
    static inline FARPROC (*s_next)(HMODULE, const char*) = nullptr;

    static FARPROC WINAPI Call(HMODULE module, const char* name)
    {
        constexpr uintptr_t highestOrdinal = 0xFFFF;
        FARPROC const found = s_next(module, name);
        if (found == nullptr || reinterpret_cast<uintptr_t>(name) <= highestOrdinal)
            return found;
        for (const Fault& fault : g_faults)
        {
            if (fault.found != Found::LookedUp || !IsInstalled(fault) || std::strcmp(fault.name, name) != 0)
                continue;
            *fault.real = reinterpret_cast<void*>(found);
            return reinterpret_cast<FARPROC>(fault.stand);
        }
        return found;
    }
};
} // namespace

struct SystemFaults::Installed
{
    std::vector<std::unique_ptr<ImportTableEntry>> entries;
};

SystemFaults::SystemFaults(Listener* listener) : m_installed(std::make_unique<Installed>())
{
    g_state = {};
    g_state.listener = listener;
    // Nothing is freed between a redirection and its function's being known.
    m_installed->entries.reserve(Faults().size() + 1);
    for (const Fault& fault : Faults())
    {
        if (fault.found != Found::Imported || !IsInstalled(fault))
            continue;
        try
        {
            m_installed->entries.push_back(std::make_unique<ImportTableEntry>(fault.name, fault.stand));
        }
        catch (const std::runtime_error&) // this test program does without it
        {
            continue;
        }
        *fault.real = m_installed->entries.back()->Original();
    }
    m_installed->entries.push_back(
        std::make_unique<ImportTableEntry>("GetProcAddress", reinterpret_cast<void*>(&LookUp::Call)));
    LookUp::s_next = reinterpret_cast<FARPROC (*)(HMODULE, const char*)>(m_installed->entries.back()->Original());
    g_state.thread = GetCurrentThreadId();
}

SystemFaults::~SystemFaults()
{
    g_state.counting = false;
    // In reverse order: the last entry redirects GetProcAddress, which an earlier entry has redirected already.
    while (!m_installed->entries.empty())
        m_installed->entries.pop_back();
    g_state.listener = nullptr;
}

std::vector<std::string> SystemFaults::Functions()
{
    std::vector<std::string> names;
    for (const Fault& fault : Faults())
    {
        if (fault.way != Way::CannotFail)
            names.emplace_back(fault.name);
    }
    return names;
}

bool SystemFaults::CanFail(const std::string& function)
{
    const size_t index = IndexOf(function);
    return index != c_none && Faults()[index].way != Way::CannotFail;
}

void SystemFaults::FailCall(const std::string& function, unsigned n)
{
    const size_t index = IndexOf(function);
    if (index == c_none || Faults()[index].way == Way::CannotFail)
        throw std::runtime_error("it is not known how this function fails: " + function);
    FailNone();
    g_state.failing = index;
    g_state.failingCall = n;
}

void SystemFaults::FailNone()
{
    State state;
    state.thread = g_state.thread;
    state.listener = g_state.listener;
    g_state = state;
    g_state.counting = true;
}

void SystemFaults::Stop() noexcept
{
    g_state.counting = false;
}

bool SystemFaults::HasFailed() const noexcept
{
    return g_state.failed;
}

unsigned SystemFaults::Calls(const std::string& function) const
{
    const size_t index = IndexOf(function);
    return index != c_none ? g_state.calls[index] : 0;
}

unsigned SystemFaults::Successes(const std::string& function) const
{
    const size_t index = IndexOf(function);
    return index != c_none ? g_state.successes[index] : 0;
}

unsigned SystemFaults::SurplusReleases() const noexcept
{
    return g_state.surplusReleases;
}

SystemFaults::Paused::Paused() noexcept : m_wasCounting(IsCounting())
{
    if (m_wasCounting)
        g_state.counting = false;
}

SystemFaults::Paused::~Paused()
{
    if (m_wasCounting)
        g_state.counting = true;
}
