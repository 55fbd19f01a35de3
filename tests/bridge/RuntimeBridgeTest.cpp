// The bridge to Debian's Mono, as a program that hosts the runtime sees it, and the dispatcher behind it. The
// expected status codes are those of Microsoft's runtime.

#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <mscoree.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <string>
#include <vector>

namespace
{
constexpr GUID c_class = {0x90F1A06E, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
constexpr GUID c_interface = {0x90F1A06C, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
constexpr GUID c_unknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID c_other = {0xCB2F6722, 0xAB3A, 0x11D2, {0x9C, 0x40, 0x00, 0xC0, 0x4F, 0xA3, 0x0A, 0x3E}};

constexpr const wchar_t* c_type = L"OrvTest.Runtime";

using BindFunction = HRESULT(WINAPI*)(LPCWSTR, LPCWSTR, DWORD, REFCLSID, REFIID, void**);

// HRESULTs as the unsigned numbers in which they are documented.
unsigned long Number(HRESULT status)
{
    return static_cast<unsigned long>(status);
}

// The folder of this test program, without a trailing backslash.
std::wstring TestFolder()
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return path.substr(0, path.find_last_of(L'\\'));
}

std::wstring Fixture()
{
    return TestFolder() + L"\\managed\\RuntimeFixture.dll";
}

std::wstring BinFile(const wchar_t* name)
{
    return TestFolder() + L"\\..\\bin\\" + name;
}

BindFunction Bind()
{
    static const HMODULE library = LoadLibraryW((TestFolder() + L"\\..\\bridge\\mscoree.dll").c_str());
    if (library == nullptr)
        throw std::runtime_error("bridge/mscoree.dll cannot be loaded");
    return reinterpret_cast<BindFunction>(
        reinterpret_cast<void (*)()>(GetProcAddress(library, "CorBindToRuntimeEx")));
}

HRESULT BindVersion(const wchar_t* version, void** object)
{
    return Bind()(version, L"svr", 2, c_class, c_interface, object);
}

// A bound runtime, one reference to it.
class Runtime
{
public:
    Runtime()
    {
        void* object = nullptr;
        if (FAILED(BindVersion(L"v2.0.50727", &object)))
            throw std::runtime_error("the bridge does not bind");
        m_host = static_cast<ICLRRuntimeHost*>(object);
    }
    ~Runtime() { m_host->Release(); }
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    ICLRRuntimeHost* operator->() const { return m_host; }

private:
    ICLRRuntimeHost* m_host = nullptr;
};

struct Outcome
{
    unsigned long status;
    DWORD value;
};

std::string ReadBytes(const std::wstring& path)
{
    std::string bytes(4096, '\0');
    FILE* const file = _wfopen(path.c_str(), L"rb");
    if (file == nullptr)
        throw std::runtime_error("the output file cannot be read");
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
}

constexpr DWORD c_untouched = 4711;

class RuntimeBridge : public testing::Test
{
protected:
    RuntimeBridge() { EXPECT_EQ(0UL, Number(m_runtime->Start())); }

    Outcome Execute(const std::wstring& assembly, const wchar_t* type, const wchar_t* method, const wchar_t* argument)
    {
        Outcome outcome{0, c_untouched};
        outcome.status =
            Number(m_runtime->ExecuteInDefaultAppDomain(assembly.c_str(), type, method, argument, &outcome.value));
        return outcome;
    }
    Outcome Call(const wchar_t* method, const wchar_t* argument = L"")
    {
        return Execute(Fixture(), c_type, method, argument);
    }

    Runtime m_runtime;
};

class BridgedDispatcher : public RuntimeBridge
{
protected:
    // The result code; -1 and a failure when the hosting call itself fails.
    int Command(const wchar_t* method, const std::wstring& text)
    {
        const Outcome outcome =
            Execute(BinFile(L"OrvWorkBench64.dll"), L"OrvWorkBench.CInvoke", method, text.c_str());
        EXPECT_EQ(0UL, outcome.status);
        return outcome.status == 0 ? static_cast<int>(outcome.value) : -1;
    }
    int LoadSample() { return Command(L"LoadAssembly", BinFile(L"OrvSample.dll")); }
};
} // namespace

TEST(RuntimeBridgeBind, KnownVersionsBind)
{
    for (const wchar_t* version : {L"v2.0.50727", L"v4.0.30319", static_cast<const wchar_t*>(nullptr)})
    {
        void* object = nullptr;
        EXPECT_LE(0, BindVersion(version, &object));
        ASSERT_NE(nullptr, object);
        EXPECT_EQ(0UL, static_cast<ICLRRuntimeHost*>(object)->Release());
    }
}

TEST(RuntimeBridgeBind, SecondBindSaysThatTheRuntimeIsThere)
{
    void* first = nullptr;
    void* second = nullptr;
    EXPECT_LE(0, BindVersion(L"v2.0.50727", &first));
    EXPECT_EQ(1UL, Number(BindVersion(L"v2.0.50727", &second)));
    EXPECT_EQ(0UL, static_cast<ICLRRuntimeHost*>(first)->Release());
    EXPECT_EQ(0UL, static_cast<ICLRRuntimeHost*>(second)->Release());
}

TEST(RuntimeBridgeBind, WrongArgumentsAreRefused)
{
    struct Case
    {
        const wchar_t* version;
        const wchar_t* flavour;
        DWORD flags;
        GUID classId;
        GUID interfaceId;
        unsigned long status;
    };
    const Case cases[] = {
        {L"v1.1.4322", L"svr", 2, c_class, c_interface, 0x80131700},
        {L"v2.0.50728", L"svr", 2, c_class, c_interface, 0x80131700},
        {L"", L"svr", 2, c_class, c_interface, 0x80131700},
        {L"v2.0.50727", L"server", 2, c_class, c_interface, 0x80070057},
        {L"v2.0.50727", L"", 2, c_class, c_interface, 0x80070057},
        {L"v2.0.50727", L"svr", 0x80000000, c_class, c_interface, 0x80070057},
        {L"v2.0.50727", L"svr", 0x10, c_class, c_interface, 0x80070057},
        {L"v2.0.50727", L"svr", 2, c_other, c_interface, 0x80040154},
        {L"v2.0.50727", L"svr", 2, c_class, c_other, 0x80004002},
    };
    for (const Case& c : cases)
    {
        void* object = &object;
        EXPECT_EQ(c.status, Number(Bind()(c.version, c.flavour, c.flags, c.classId, c.interfaceId, &object)));
        EXPECT_EQ(nullptr, object);
    }
    EXPECT_EQ(0x80004003UL, Number(Bind()(L"v2.0.50727", L"svr", 2, c_class, c_interface, nullptr)));
}

TEST(RuntimeBridgeBind, FlavourMayBeNullOrEitherInAnyCase)
{
    for (const wchar_t* flavour : {L"svr", L"wks", L"SVR", static_cast<const wchar_t*>(nullptr)})
    {
        void* object = nullptr;
        EXPECT_LE(0, Bind()(L"v2.0.50727", flavour, 0, c_class, c_unknown, &object));
        ASSERT_NE(nullptr, object);
        static_cast<IUnknown*>(object)->Release();
    }
}

// In a process of its own: the library looks for its other half only once.
ORV_CHILD_ROLE(BindWithoutUnixHalf)
{
    for (int i = 0; i < 10; ++i)
        SetEnvironmentVariableW((L"WINEDLLDIR" + std::to_wstring(i)).c_str(), nullptr);
    void* object = &object;
    const HRESULT status = BindVersion(L"v2.0.50727", &object);
    return object == nullptr && Number(status) == 0x80131700 ? 0 : 1;
}

TEST(RuntimeBridgeBind, WithoutTheUnixHalfTheRuntimeIsAbsent)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"BindWithoutUnixHalf").WaitForExit());
}

TEST(RuntimeBridgeObject, CountsItsReferences)
{
    void* object = nullptr;
    BindVersion(L"v2.0.50727", &object);
    auto* const host = static_cast<ICLRRuntimeHost*>(object);
    EXPECT_EQ(2UL, host->AddRef());
    void* same = nullptr;
    EXPECT_EQ(0UL, Number(host->QueryInterface(c_unknown, &same)));
    EXPECT_EQ(object, same);
    EXPECT_EQ(0UL, Number(host->QueryInterface(c_interface, &same)));
    EXPECT_EQ(object, same);
    EXPECT_EQ(3UL, host->Release());
    EXPECT_EQ(2UL, host->Release());
    EXPECT_EQ(1UL, host->Release());
    EXPECT_EQ(0UL, host->Release());
}

TEST(RuntimeBridgeObject, RefusesOtherInterfaces)
{
    const Runtime runtime;
    void* object = &object;
    EXPECT_EQ(0x80004002UL, Number(runtime->QueryInterface(c_other, &object)));
    EXPECT_EQ(nullptr, object);
    EXPECT_EQ(0x80004003UL, Number(runtime->QueryInterface(c_interface, nullptr)));
}

TEST(RuntimeBridgeObject, MembersThatMonoCannotServeAnswerNotImplemented)
{
    const Runtime runtime;
    runtime->Start();
    int result = 0;
    EXPECT_EQ(0x80004001UL, Number(runtime->SetHostControl(nullptr)));
    EXPECT_EQ(0x80004001UL, Number(runtime->GetCLRControl(nullptr)));
    EXPECT_EQ(0x80004001UL, Number(runtime->UnloadAppDomain(1, TRUE)));
    EXPECT_EQ(0x80004001UL, Number(runtime->ExecuteInAppDomain(1, nullptr, nullptr)));
    EXPECT_EQ(0x80004001UL, Number(runtime->ExecuteApplication(L"x", 0, nullptr, 0, nullptr, &result)));
}

TEST(RuntimeBridgeObject, NothingRunsBeforeTheStart)
{
    const Runtime runtime;
    DWORD value = c_untouched;
    EXPECT_EQ(0x80131023UL,
              Number(runtime->ExecuteInDefaultAppDomain(Fixture().c_str(), c_type, L"Length", L"abc", &value)));
    EXPECT_EQ(c_untouched, value);
    EXPECT_EQ(0x80131023UL, Number(runtime->GetCurrentAppDomainId(&value)));
    EXPECT_EQ(c_untouched, value);
    EXPECT_EQ(0x80131023UL, Number(runtime->Stop()));
}

TEST(RuntimeBridgeObject, EachStartNeedsItsStop)
{
    const Runtime runtime;
    EXPECT_EQ(0UL, Number(runtime->Start()));
    EXPECT_EQ(1UL, Number(runtime->Start()));
    EXPECT_EQ(1UL, Number(runtime->Stop()));
    DWORD value = 0;
    EXPECT_EQ(0UL, Number(runtime->ExecuteInDefaultAppDomain(Fixture().c_str(), c_type, L"Length", L"abc", &value)));
    EXPECT_EQ(3UL, value);
    EXPECT_EQ(0UL, Number(runtime->Stop()));
    EXPECT_EQ(0x80131023UL,
              Number(runtime->ExecuteInDefaultAppDomain(Fixture().c_str(), c_type, L"Length", L"", &value)));
    EXPECT_EQ(0UL, Number(runtime->Start()));
    EXPECT_EQ(0UL, Number(runtime->ExecuteInDefaultAppDomain(Fixture().c_str(), c_type, L"Length", L"abcd", &value)));
    EXPECT_EQ(4UL, value);
}

TEST_F(RuntimeBridge, TheDefaultDomainIsTheFirst)
{
    DWORD id = 0;
    EXPECT_EQ(0UL, Number(m_runtime->GetCurrentAppDomainId(&id)));
    EXPECT_EQ(1UL, id);
    EXPECT_EQ(0x80004003UL, Number(m_runtime->GetCurrentAppDomainId(nullptr)));
}

TEST_F(RuntimeBridge, ReturnsWhatTheMethodReturns)
{
    const Outcome outcome = Call(L"Length", L"four");
    EXPECT_EQ(0UL, outcome.status);
    EXPECT_EQ(4UL, outcome.value);
}

TEST_F(RuntimeBridge, NegativeValuesComeBackAsTheyAre)
{
    EXPECT_EQ(0xFFFFFFFFUL, Execute(Fixture(), c_type, L"Length", nullptr).value);
}

TEST_F(RuntimeBridge, TheReturnValueMayBeUnwanted)
{
    EXPECT_EQ(0UL, Number(m_runtime->ExecuteInDefaultAppDomain(Fixture().c_str(), c_type, L"Length", L"", nullptr)));
}

TEST_F(RuntimeBridge, NullArgumentsAreRefusedExceptTheMethodsOwn)
{
    DWORD value = c_untouched;
    const std::wstring fixture = Fixture();
    EXPECT_EQ(0x80004003UL, Number(m_runtime->ExecuteInDefaultAppDomain(nullptr, c_type, L"Length", L"", &value)));
    EXPECT_EQ(0x80004003UL,
              Number(m_runtime->ExecuteInDefaultAppDomain(fixture.c_str(), nullptr, L"Length", L"", &value)));
    EXPECT_EQ(0x80004003UL,
              Number(m_runtime->ExecuteInDefaultAppDomain(fixture.c_str(), c_type, nullptr, L"", &value)));
    EXPECT_EQ(c_untouched, value);
    EXPECT_EQ(0UL, Number(m_runtime->ExecuteInDefaultAppDomain(fixture.c_str(), c_type, L"Length", nullptr, &value)));
}

TEST_F(RuntimeBridge, FailuresHaveTheRuntimesOwnStatuses)
{
    struct Case
    {
        std::wstring assembly;
        const wchar_t* type;
        const wchar_t* method;
        unsigned long status;
    };
    const std::wstring fixture = Fixture();
    const Case cases[] = {
        {L"no such file.dll", c_type, L"Length", 0x80070002},
        {L"c:\\no such folder\\x.dll", c_type, L"Length", 0x80070002},
        {L"", c_type, L"Length", 0x80070057},
        {L"c:\\windows\\system32\\kernel32.dll", c_type, L"Length", 0x8007000B},
        {TestFolder() + L"\\..\\bridge\\mscoree.dll", c_type, L"Length", 0x8007000B},
        {TestFolder() + L"\\CTestTestfile.cmake", c_type, L"Length", 0x8007000B},
        {fixture, L"OrvTest.Missing", L"Length", 0x80131522},
        {fixture, L"orvtest.runtime", L"Length", 0x80131522},
        {fixture, L"Runtime", L"Length", 0x80131522},
        {fixture, L"System.String", L"IsNullOrEmpty", 0x80131522},
        {fixture, L"", L"Length", 0x80131522},
        {fixture, L"A[[,", L"Length", 0x80131522},
        {fixture, c_type, L"Missing", 0x80131513},
        {fixture, c_type, L"length", 0x80131513},
        {fixture, c_type, L"", 0x80131513},
        {fixture, c_type, L"NotStatic", 0x80131513},
        {fixture, c_type, L"ReturnsText", 0x80131513},
        {fixture, c_type, L"TakesNothing", 0x80131513},
        {fixture, c_type, L"TakesReference", 0x80131513},
    };
    for (const Case& c : cases)
    {
        const Outcome outcome = Execute(c.assembly, c.type, c.method, L"");
        EXPECT_EQ(c.status, outcome.status) << testing::PrintToString(c.assembly) << testing::PrintToString(c.method);
        EXPECT_EQ(c_untouched, outcome.value);
    }
}

TEST_F(RuntimeBridge, FindsOverloadsNestedTypesAndMethodsThatAreNotPublic)
{
    EXPECT_EQ(2UL, Call(L"Overloaded").value);
    EXPECT_EQ(3UL, Call(L"Hidden").value);
    EXPECT_EQ(4UL, Execute(Fixture(), L"OrvTest.Runtime+Nested", L"Four", L"").value);
}

TEST_F(RuntimeBridge, EscapedExceptionsGiveTheirOwnStatus)
{
    struct Case
    {
        const wchar_t* method;
        unsigned long status;
    };
    for (const Case& c : {Case{L"Throw", 0x80131500}, Case{L"ThrowInvalidOperation", 0x80131509},
                          Case{L"ThrowOwn", 0x80041234}, Case{L"DereferenceNull", 0x80004003}})
    {
        const Outcome outcome = Call(c.method, L"message");
        EXPECT_EQ(c.status, outcome.status) << testing::PrintToString(c.method);
        EXPECT_EQ(c_untouched, outcome.value);
    }
    // A status that claims success would hide the failure.
    EXPECT_EQ(0x80131500UL, Call(L"ThrowPositive").status);
    EXPECT_EQ(3UL, Call(L"Length", L"abc").value);
}

TEST_F(RuntimeBridge, TwoThousandCallsWithCollectionsBetween)
{
    for (DWORD i = 1; i <= 2000; ++i)
    {
        const Outcome outcome = Call(L"Collect");
        ASSERT_EQ(0UL, outcome.status);
        ASSERT_EQ(i, outcome.value);
    }
}

TEST_F(RuntimeBridge, CollectionsStopOtherManagedThreads)
{
    EXPECT_EQ(8000UL, Call(L"CollectWithThreads").value);
}

TEST_F(RuntimeBridge, RecursionHasRoom)
{
    EXPECT_EQ(20000UL, Call(L"Recurse").value);
}

// The program's configuration asks for it: see OrvWorkBench64.exe.config, which lies beside this program too.
TEST_F(RuntimeBridge, ExceptionsOnOtherThreadsLeaveTheProcessAlive)
{
    EXPECT_EQ(1UL, Call(L"ThrowOnThread", L"of its own").value);
    EXPECT_EQ(3UL, Call(L"Length", L"abc").value);
}

TEST_F(RuntimeBridge, FaultsOfTheProgramStayItsOwn)
{
    // A fault in native code must pass Mono's exception handlers and reach the program's.
    static volatile LONG seen = 0;
    void* const handler = AddVectoredExceptionHandler(1, [](EXCEPTION_POINTERS* pointers) -> LONG {
        if (pointers->ExceptionRecord->ExceptionCode != EXCEPTION_ACCESS_VIOLATION)
            return EXCEPTION_CONTINUE_SEARCH;
        seen = seen + 1;
        DWORD before = 0;
        VirtualProtect(reinterpret_cast<void*>(pointers->ExceptionRecord->ExceptionInformation[1]), 1, PAGE_READWRITE,
                       &before);
        return EXCEPTION_CONTINUE_EXECUTION;
    });
    Call(L"Length", L"");
    auto* const page = static_cast<volatile char*>(VirtualAlloc(nullptr, 4096, MEM_COMMIT, PAGE_NOACCESS));
    *page = 1;
    EXPECT_EQ(1, seen);
    EXPECT_EQ(1, *page);
    RemoveVectoredExceptionHandler(handler);
    EXPECT_EQ(3UL, Call(L"Length", L"abc").value);
}

TEST_F(RuntimeBridge, CallsFromSeveralThreadsTakeTurns)
{
    std::vector<HANDLE> threads;
    static const Runtime* runtime = &m_runtime;
    static volatile LONG right = 0;
    for (int i = 0; i < 4; ++i)
        threads.push_back(CreateThread(
            nullptr, 0,
            [](void*) -> DWORD {
                for (int k = 0; k < 50; ++k)
                {
                    DWORD value = 0;
                    (*runtime)->ExecuteInDefaultAppDomain(Fixture().c_str(), c_type, L"Length", L"abc", &value);
                    if (value == 3)
                        InterlockedIncrement(&right);
                }
                return 0;
            },
            nullptr, 0, nullptr));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForMultipleObjects(4, threads.data(), TRUE, 60000));
    for (const HANDLE thread : threads)
        CloseHandle(thread);
    EXPECT_EQ(200, right);
}

TEST_F(RuntimeBridge, ArgumentsArriveAsUtf16)
{
    EXPECT_EQ(0x4E2DUL, Call(L"CodeOfFirst", L"\u4E2D").value);
    EXPECT_EQ(0xD83DUL, Call(L"CodeOfFirst", L"\U0001F600").value);
    EXPECT_EQ(2UL, Call(L"Length", L"\U0001F600").value);
    // A lone surrogate is no character, but it is what the host passed.
    EXPECT_EQ(0xD800UL, Call(L"CodeOfFirst", L"\xD800").value);
}

TEST_F(RuntimeBridge, RelativeNamesMeanTheCurrentFolderThenTheProgramsOwn)
{
    const TemporaryFolder folder;
    SetCurrentDirectoryW(folder.Path().c_str());
    EXPECT_EQ(0x80070002UL, Execute(L"RuntimeFixture.dll", c_type, L"Length", L"").status);
    // Beside the program: this is below its folder.
    EXPECT_EQ(0UL, Execute(L"managed\\RuntimeFixture.dll", c_type, L"Length", L"").status);
    SetCurrentDirectoryW((TestFolder() + L"\\managed").c_str());
    EXPECT_EQ(0UL, Execute(L"RuntimeFixture.dll", c_type, L"Length", L"").status);
    EXPECT_EQ(0UL, Execute(L".\\runtimefixture.DLL", c_type, L"Length", L"").status);
}

TEST_F(RuntimeBridge, ManagedCodeSeesTheFoldersOfTheProgram)
{
    EXPECT_EQ(1UL, Call(L"BaseFolderIs", L"tests").value);
    SetCurrentDirectoryW((TestFolder() + L"\\managed").c_str());
    EXPECT_EQ(1UL, Call(L"CurrentFolderIs", L"managed").value);
    SetCurrentDirectoryW(TestFolder().c_str());
    EXPECT_EQ(1UL, Call(L"CurrentFolderIs", L"tests").value);
}

// Prints in turn, as the program itself and as managed code.
ORV_CHILD_ROLE(PrintByTurns)
{
    const Runtime runtime;
    runtime->Start();
    const std::wstring fixture = Fixture();
    for (const wchar_t* text : {L"eins", L"zw\u00F6lf", L"\u4E2D"})
    {
        std::printf("program\n");
        std::fflush(stdout);
        DWORD value = 0;
        runtime->ExecuteInDefaultAppDomain(fixture.c_str(), c_type, L"Print", text, &value);
    }
    return 0;
}

TEST(RuntimeBridgeOutput, ManagedOutputComesInOrderAndAsUtf8)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"out.txt");
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
    std::wstring program(MAX_PATH, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
    std::wstring line = L"\"" + program + L"\" --child-role PrintByTurns";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = file;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process.hProcess, 30000));
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    CloseHandle(file);

    std::string text = ReadBytes(path);
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    EXPECT_EQ("program\neins\nprogram\nzw\xC3\xB6lf\nprogram\n\xE4\xB8\xAD\n", text);
}

TEST_F(BridgedDispatcher, EachResultCodeWhereItsNameFits)
{
    struct Case
    {
        const wchar_t* method;
        std::wstring text;
        int result;
    };
    const std::wstring sample = BinFile(L"OrvSample.dll");
    const Case cases[] = {
        {L"LoadAssembly", sample, 6},
        {L"LoadAssembly", sample, 7},
        {L"LoadAssembly", BinFile(L"Missing.dll"), 11},
        {L"LoadAssembly", L"c:\\windows\\system32\\kernel32.dll", 2},
        {L"LoadAssembly", L"", 2},
        {L"CreateType", L"t = OrvSample.Thermostat(\"hall\", 21)", 8},
        {L"CreateType", L"t = OrvSample.Thermostat(\"hall\", 21)", 9},
        {L"CreateType", L"u = OrvSample.Missing()", 12},
        {L"CreateType", L"u = OrvSample.Thermostat(1, 2, 3)", 3},
        {L"CreateType", L"u = OrvSample.Thermostat(\"hall\", 99)", 13},
        {L"Invoke", L"t.Raise(2)", 10},
        {L"Invoke", L"t.Missing()", 1},
        {L"Invoke", L"t.Overheat()", 13},
        {L"GetProperty", L"t.Target", 5},
        {L"GetProperty", L"t.Missing", 4},
        {L"SetProperty", L"t.Target = 22", 5},
        {L"SetProperty", L"t.Target = \"warm\"", 4},
        {L"SetProperty", L"t.Target = 99", 13},
        {L"SetProperty", L"t.Missing += watch", 0},
        {L"SetProperty", L"t.TargetChanged += watch", 5},
        {L"OrvBreakPoint", L"", 5},
        {L"Delete", L"t", 5},
        {L"Delete", L"t", 4},
        {L"Reset", L"", 5},
        {L"LoadAssembly", sample, 6},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.result, Command(c.method, c.text)) << testing::PrintToString(c.text);
}

TEST_F(BridgedDispatcher, ANullTextIsAMalformedCommand)
{
    const std::wstring dispatcher = BinFile(L"OrvWorkBench64.dll");
    EXPECT_EQ(2UL, Execute(dispatcher, L"OrvWorkBench.CInvoke", L"LoadAssembly", nullptr).value);
    EXPECT_EQ(3UL, Execute(dispatcher, L"OrvWorkBench.CInvoke", L"CreateType", nullptr).value);
    EXPECT_EQ(1UL, Execute(dispatcher, L"OrvWorkBench.CInvoke", L"Invoke", nullptr).value);
    EXPECT_EQ(4UL, Execute(dispatcher, L"OrvWorkBench.CInvoke", L"GetProperty", nullptr).value);
    EXPECT_EQ(4UL, Execute(dispatcher, L"OrvWorkBench.CInvoke", L"SetProperty", nullptr).value);
    EXPECT_EQ(4UL, Execute(dispatcher, L"OrvWorkBench.CInvoke", L"Delete", nullptr).value);
    EXPECT_EQ(5UL, Execute(dispatcher, L"OrvWorkBench.CInvoke", L"Reset", nullptr).value);
    EXPECT_EQ(5UL, Execute(dispatcher, L"OrvWorkBench.CInvoke", L"OrvBreakPoint", nullptr).value);
}

TEST_F(BridgedDispatcher, TwoThousandCommandsKeepTheirState)
{
    ASSERT_EQ(6, LoadSample());
    ASSERT_EQ(8, Command(L"CreateType", L"n = System.Collections.Generic.List<int>()"));
    for (int i = 0; i < 1000; ++i)
    {
        ASSERT_EQ(10, Command(L"Invoke", L"n.Add(" + std::to_wstring(i) + L")"));
        ASSERT_EQ(10, Command(L"Invoke", L"System.GC.Collect(0)"));
    }
    EXPECT_EQ(5, Command(L"GetProperty", L"n[999]"));
    EXPECT_EQ(13, Command(L"GetProperty", L"n[1000]"));
}

TEST_F(BridgedDispatcher, ATextOfTheControlBlocksLengthIsServed)
{
    ASSERT_EQ(8, Command(L"CreateType", L"b = System.Text.StringBuilder()"));
    const std::wstring longText(30000, L'\u4E2D');
    EXPECT_EQ(10, Command(L"Invoke", L"b.Append(\"" + longText + L"\")"));
    EXPECT_EQ(10, Command(L"Invoke", L"b.ToString(29999, 1)"));
    EXPECT_EQ(13, Command(L"Invoke", L"b.ToString(30000, 1)"));
}
