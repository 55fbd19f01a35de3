// The Windows half of the bridge: an mscoree.dll to lie beside a program under a Wine that has no Mono of its own. It
// answers as the real runtime does and leaves the managed work to the Unix half (OrvRuntimeBridge.h).

#include "bridge/OrvRuntimeBridge.h"

#include <windows.h>

#include <mscoree.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cwchar>
#include <string>

namespace
{
constexpr HRESULT Status(uint32_t value)
{
    return static_cast<HRESULT>(value);
}

constexpr HRESULT c_runtimeMissing = Status(0x80131700);
constexpr HRESULT c_notStarted = Status(0x80131023);
constexpr HRESULT c_fileMissing = Status(0x80070002);
constexpr DWORD c_defaultDomain = 1;

// The start-up flags of the 2.0 and 4.0 runtimes. Mono needs none of them, but a wrong one is an error anywhere.
constexpr DWORD c_knownStartupFlags = 0x5F710F;

constexpr GUID c_runtimeHostClass = {0x90F1A06E, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
constexpr GUID c_runtimeHostInterface = {
    0x90F1A06C, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
constexpr GUID c_unknownInterface = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

struct Bridge
{
    decltype(&OrvBridgeSetVariable) setVariable = nullptr;
    decltype(&OrvBridgeStart) start = nullptr;
    decltype(&OrvBridgeExecute) execute = nullptr;
    decltype(&OrvBridgeCatchOutput) catchOutput = nullptr;
    decltype(&OrvBridgeAwaitOutput) awaitOutput = nullptr;
    decltype(&OrvBridgeTakeOutput) takeOutput = nullptr;
    char*(__cdecl* unixFileName)(const wchar_t*) = nullptr;
};

bool IsComplete(const Bridge& bridge)
{
    return bridge.setVariable != nullptr && bridge.start != nullptr && bridge.execute != nullptr &&
           bridge.catchOutput != nullptr && bridge.awaitOutput != nullptr && bridge.takeOutput != nullptr &&
           bridge.unixFileName != nullptr;
}

template <class Function>
void Find(HMODULE module, const char* name, Function& function)
{
    if (module != nullptr)
        function = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

std::wstring EnvironmentText(const std::wstring& name)
{
    std::wstring value(32768, L'\0');
    value.resize(GetEnvironmentVariableW(name.c_str(), value.data(), static_cast<DWORD>(value.size())));
    return value;
}

// Loads the Unix half through its placeholder in one of the folders of WINEDLLPATH, which Wine hands on as NT paths
// in WINEDLLDIR0 and so on. (Without a path Wine would look for the placeholder beside the program and in system32
// only.)
HMODULE LoadUnixHalf()
{
    for (int i = 0;; ++i)
    {
        std::wstring folder = EnvironmentText(L"WINEDLLDIR" + std::to_wstring(i));
        if (folder.empty())
            return nullptr;
        if (folder.compare(0, 4, L"\\??\\") == 0)
            folder.erase(0, 4);
        const HMODULE library = LoadLibraryW((folder + L"\\x86_64-windows\\orvruntimebridge.dll").c_str());
        if (library != nullptr)
            return library;
    }
}

// Incomplete where there is no bridge: on Windows itself, or without WINEDLLPATH.
const Bridge& TheBridge()
{
    static const Bridge bridge = [] {
        Bridge found;
        Find(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name", found.unixFileName);
        const HMODULE library = found.unixFileName == nullptr ? nullptr : LoadUnixHalf();
        Find(library, "OrvBridgeSetVariable", found.setVariable);
        Find(library, "OrvBridgeStart", found.start);
        Find(library, "OrvBridgeExecute", found.execute);
        Find(library, "OrvBridgeCatchOutput", found.catchOutput);
        Find(library, "OrvBridgeAwaitOutput", found.awaitOutput);
        Find(library, "OrvBridgeTakeOutput", found.takeOutput);
        return found;
    }();
    return bridge;
}

std::string Utf8(const wchar_t* text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), size, nullptr, nullptr);
    narrow.resize(narrow.size() - 1);
    return narrow;
}

std::string UnixPath(const std::wstring& path)
{
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): nobody has a host without a whole bridge
    char* const name = TheBridge().unixFileName(path.c_str());
    if (name == nullptr)
        return {};
    std::string copy = name;
    HeapFree(GetProcessHeap(), 0, name);
    return copy;
}

std::wstring ProgramPath()
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

// The application base, with its trailing backslash.
std::wstring ProgramFolder()
{
    const std::wstring path = ProgramPath();
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

std::wstring CurrentFolder()
{
    std::wstring path(32768, L'\0');
    path.resize(GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data()));
    return path;
}

bool IsRelative(const std::wstring& path)
{
    const bool hasDrive = path.size() > 1 && path[1] == L':';
    return !hasDrive && path[0] != L'\\' && path[0] != L'/';
}

// Whether the file can be read, as a status.
HRESULT Probe(const std::wstring& path)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        const DWORD error = GetLastError();
        return error == ERROR_PATH_NOT_FOUND ? c_fileMissing : HRESULT_FROM_WIN32(error);
    }
    CloseHandle(file);
    return S_OK;
}

// A relative name means a file of the current directory or else of the application base.
HRESULT Locate(const wchar_t* assembly, std::wstring& found)
{
    found = assembly;
    if (found.empty())
        return E_INVALIDARG;
    const HRESULT status = Probe(found);
    if (SUCCEEDED(status) || !IsRelative(found))
        return status;
    found = ProgramFolder() + assembly;
    return SUCCEEDED(Probe(found)) ? S_OK : status;
}

// Hands on what managed code prints. Mono writes to the Unix descriptor, which is the standard handle's where that
// stands for a Unix file, a terminal, or a pipe of the shell's. A pipe between two Windows programs has no
// descriptor: for one, output is caught and copied to the handle.
class OutputRelay
{
public:
    void Begin(DWORD standardHandle, int32_t descriptor)
    {
        const HANDLE target = GetStdHandle(standardHandle);
        if (GetFileType(target) != FILE_TYPE_PIPE ||
            GetNamedPipeInfo(target, nullptr, nullptr, nullptr, nullptr) == FALSE)
            return;
        const int32_t source = TheBridge().catchOutput(descriptor);
        if (source < 0)
            return;
        m_target = target;
        m_source = source;
        const HANDLE thread = CreateThread(nullptr, 0, Serve, this, 0, nullptr);
        if (thread != nullptr)
            CloseHandle(thread);
    }

    // Returns when everything that was printed so far has reached the handle.
    void Flush()
    {
        if (m_target == nullptr)
            return;
        AcquireSRWLockExclusive(&m_lock);
        char bytes[4096];
        while (const int32_t size = TheBridge().takeOutput(m_source, bytes, sizeof bytes))
            Write(bytes, static_cast<DWORD>(size));
        ReleaseSRWLockExclusive(&m_lock);
    }

private:
    // For what is printed while a call lasts, and between calls.
    [[noreturn]] static DWORD WINAPI Serve(void* relay)
    {
        for (;;)
        {
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): nobody has a host without a whole bridge
            TheBridge().awaitOutput(static_cast<OutputRelay*>(relay)->m_source);
            static_cast<OutputRelay*>(relay)->Flush();
        }
    }

    // A reader that is gone loses it.
    void Write(const char* bytes, DWORD size)
    {
        DWORD written = 0;
        for (; size != 0 && WriteFile(m_target, bytes, size, &written, nullptr) != FALSE; size -= written)
            bytes += written;
    }

    HANDLE m_target = nullptr;
    int32_t m_source = -1;
    SRWLOCK m_lock = SRWLOCK_INIT;
};

struct StandardRelays
{
    StandardRelays()
    {
        output.Begin(STD_OUTPUT_HANDLE, 1);
        error.Begin(STD_ERROR_HANDLE, 2);
    }

    OutputRelay output;
    OutputRelay error;
};

StandardRelays& TheRelays()
{
    static StandardRelays relays;
    return relays;
}

bool IsHandedOn(const std::wstring& name)
{
    return name.compare(0, 4, L"ORV_") == 0 || name == L"MONO_ENV_OPTIONS";
}

// Managed code finds the workbench's own variables as it would on Windows, and the runtime its options.
void HandOnVariables()
{
    wchar_t* const block = GetEnvironmentStringsW();
    if (block == nullptr)
        return;
    for (const wchar_t* entry = block; *entry != L'\0'; entry += std::wcslen(entry) + 1)
    {
        const wchar_t* const end = std::wcschr(entry, L'=');
        if (end != nullptr && IsHandedOn(std::wstring(entry, end)))
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): nobody has a host without a whole bridge
            TheBridge().setVariable(Utf8(std::wstring(entry, end).c_str()).c_str(), Utf8(end + 1).c_str());
    }
    FreeEnvironmentStringsW(block);
}

// The runtime is one per process; any number of binds share it.
std::atomic<bool> g_bound{false};

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it deletes itself, as the class that it is
class RuntimeHost final : public ICLRRuntimeHost
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        const bool known =
            IsEqualGUID(id, c_unknownInterface) != FALSE || IsEqualGUID(id, c_runtimeHostInterface) != FALSE;
        *object = known ? this : nullptr;
        if (!known)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

    // The second and further starts answer S_FALSE and need a stop each.
    HRESULT STDMETHODCALLTYPE Start() override
    {
        TheRelays();
        HandOnVariables();
        const HRESULT status =
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): nobody has a host without a whole bridge
            TheBridge().start(UnixPath(ProgramFolder()).c_str(), UnixPath(ProgramPath() + L".config").c_str());
        if (FAILED(status))
            return status;
        return m_starts++ == 0 ? S_OK : S_FALSE;
    }

    // Refuses further calls once each start has its stop. Mono itself stays: it cannot be started twice in a process.
    HRESULT STDMETHODCALLTYPE Stop() override
    {
        int32_t starts = m_starts;
        while (starts > 0)
        {
            if (m_starts.compare_exchange_weak(starts, starts - 1))
                return starts == 1 ? S_OK : S_FALSE;
        }
        return c_notStarted;
    }

    HRESULT STDMETHODCALLTYPE SetHostControl(IHostControl*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCLRControl(ICLRControl**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnloadAppDomain(DWORD, BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ExecuteInAppDomain(DWORD, FExecuteInAppDomainCallback, void*) override
    {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE GetCurrentAppDomainId(DWORD* id) override
    {
        if (m_starts == 0)
            return c_notStarted;
        if (id == nullptr)
            return E_POINTER;
        *id = c_defaultDomain;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE ExecuteApplication(LPCWSTR, DWORD, LPCWSTR*, DWORD, LPCWSTR*, int*) override
    {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE ExecuteInDefaultAppDomain(LPCWSTR assembly, LPCWSTR type, LPCWSTR method,
                                                        LPCWSTR argument, DWORD* returnValue) override
    {
        if (m_starts == 0)
            return c_notStarted;
        if (assembly == nullptr || type == nullptr || method == nullptr)
            return E_POINTER;
        std::wstring path;
        const HRESULT located = Locate(assembly, path);
        if (FAILED(located))
            return located;
        uint32_t value = 0;
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): nobody has a host without a whole bridge
        const HRESULT status = TheBridge().execute(UnixPath(CurrentFolder()).c_str(), UnixPath(path).c_str(),
                                                   Utf8(type).c_str(), Utf8(method).c_str(), Text(argument), &value);
        TheRelays().output.Flush();
        TheRelays().error.Flush();
        if (SUCCEEDED(status) && returnValue != nullptr)
            *returnValue = value;
        return status;
    }

private:
    static const char16_t* Text(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }

    std::atomic<ULONG> m_references{0};
    std::atomic<int32_t> m_starts{0};
};

bool IsKnownVersion(const wchar_t* version)
{
    return version == nullptr || std::wcscmp(version, L"v2.0.50727") == 0 || std::wcscmp(version, L"v4.0.30319") == 0;
}

bool IsKnownFlavour(const wchar_t* flavour)
{
    return flavour == nullptr || _wcsicmp(flavour, L"svr") == 0 || _wcsicmp(flavour, L"wks") == 0;
}
} // namespace

// Binds the process to the runtime. Returns S_OK, S_FALSE when the process is bound already, or a failing status with
// *object null: 0x80131700 for a version that is not there (or no bridge), E_INVALIDARG for an unknown flavour or
// flag, REGDB_E_CLASSNOTREG and E_NOINTERFACE for another class or interface, E_POINTER for a null pointer.
extern "C" HRESULT WINAPI CorBindToRuntimeEx(LPCWSTR version, LPCWSTR flavour, DWORD flags, REFCLSID classId,
                                             REFIID interfaceId, void** object);

extern "C" HRESULT WINAPI CorBindToRuntimeEx(LPCWSTR version, LPCWSTR flavour, DWORD flags, REFCLSID classId,
                                             REFIID interfaceId, void** object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    if (!IsKnownFlavour(flavour) || (flags & ~c_knownStartupFlags) != 0)
        return E_INVALIDARG;
    if (!IsKnownVersion(version) || !IsComplete(TheBridge()))
        return c_runtimeMissing;
    if (IsEqualGUID(classId, c_runtimeHostClass) == FALSE)
        return REGDB_E_CLASSNOTREG;
    auto* const host = new RuntimeHost;
    host->AddRef();
    const HRESULT status = host->QueryInterface(interfaceId, object);
    host->Release();
    if (FAILED(status))
        return status;
    return g_bound.exchange(true) ? S_FALSE : S_OK;
}
