// Tests the stand-in for the runtime itself: what it records, and what each text makes it do.

#include "tests/support/processes/BuildFolder.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/processes/PassingDebugger.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <mscoree.h>

#include <cstdio>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{
constexpr GUID c_class = {0x90F1A06E, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};
constexpr GUID c_interface = {0x90F1A06C, 0x7712, 0x4762, {0x86, 0xB5, 0x7A, 0x5E, 0xBA, 0x6B, 0xDB, 0x02}};

using BindFunction = HRESULT(WINAPI*)(LPCWSTR, LPCWSTR, DWORD, REFCLSID, REFIID, void**);

unsigned long Number(HRESULT status)
{
    return static_cast<unsigned long>(status);
}

std::string ReadBytes(const std::wstring& path)
{
    std::string bytes(65536, '\0');
    FILE* const file = _wfopen(path.c_str(), L"rb");
    if (file == nullptr)
        return "no file";
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
}

HRESULT BindTo(ICLRRuntimeHost*& host)
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    path.resize(path.find_last_of(L'\\'));
    path += L"\\scripted\\mscoree.dll";
    const HMODULE library = LoadLibraryW(path.c_str());
    if (library == nullptr)
        throw std::runtime_error("scripted/mscoree.dll cannot be loaded");
    const auto bind =
        reinterpret_cast<BindFunction>(reinterpret_cast<void (*)()>(GetProcAddress(library, "CorBindToRuntimeEx")));
    void* object = &host;
    const HRESULT status = bind(L"v2.0.50727", L"svr", 2, c_class, c_interface, &object);
    host = static_cast<ICLRRuntimeHost*>(object);
    return status;
}

// The log's name comes with the environment.
ORV_CHILD_ROLE(ExecuteWithDelay)
{
    ICLRRuntimeHost* host = nullptr;
    BindTo(host);
    DWORD value = 0;
    host->ExecuteInDefaultAppDomain(L"a.dll", L"T", L"Invoke", L"delay=60000", &value);
    return 0;
}

ORV_CHILD_ROLE(ExecuteText)
{
    ICLRRuntimeHost* host = nullptr;
    BindTo(host);
    DWORD value = 0;
    host->ExecuteInDefaultAppDomain(L"a.dll", L"T", L"Invoke", arguments.at(0).c_str(), &value);
    return 0;
}

constexpr DWORD c_raised = 0xE0001234;
DWORD g_raisingThread = 0;
int g_raisedCount = 0;

// Notes an exception of the script and lets the script go on.
LONG CALLBACK GoOnAfterRaise(EXCEPTION_POINTERS* exception)
{
    if (exception->ExceptionRecord->ExceptionCode != c_raised)
        return EXCEPTION_CONTINUE_SEARCH;
    g_raisingThread = GetCurrentThreadId();
    ++g_raisedCount;
    return EXCEPTION_CONTINUE_EXECUTION;
}

class ScriptedRuntime : public testing::Test
{
protected:
    ScriptedRuntime() : m_log(m_folder.PathOf(L"log.txt"))
    {
        for (const wchar_t* name : {L"ORV_SCRIPT_BIND", L"ORV_SCRIPT_NULL", L"ORV_SCRIPT_START",
                                    L"ORV_SCRIPT_BREAKPOINT", L"ORV_SCRIPT_RESET", L"ORV_SCRIPT_RELEASE"})
            SetEnvironmentVariableW(name, nullptr);
        SetEnvironmentVariableW(L"ORV_SCRIPT_LOG", m_log.c_str());
    }
    ~ScriptedRuntime() override
    {
        if (m_host != nullptr)
            m_host->Release();
    }

    HRESULT Bind() { return BindTo(m_host); }

    HRESULT Execute(const wchar_t* method, const wchar_t* argument)
    {
        m_value = 4711;
        return m_host->ExecuteInDefaultAppDomain(L"a.dll", L"T", method, argument, &m_value);
    }

    TemporaryFolder m_folder;
    std::wstring m_log;
    ICLRRuntimeHost* m_host = nullptr;
    DWORD m_value = 0;
};
} // namespace

TEST_F(ScriptedRuntime, RecordsEveryCallWithItsArguments)
{
    EXPECT_EQ(0UL, Number(Bind()));
    EXPECT_EQ(0UL, Number(m_host->Start()));
    Execute(L"Invoke", L"a \"b\" \\ \r\n\t\u4E2D");
    Execute(L"Reset", nullptr);
    m_host->AddRef();
    m_host->Release();
    m_host->Stop();
    EXPECT_EQ(0x80004001UL, Number(m_host->GetCLRControl(nullptr)));
    m_host->Release();
    m_host = nullptr;
    EXPECT_EQ("bind version=\"v2.0.50727\" flavour=\"svr\" flags=2 class={90F1A06E-7712-4762-86B5-7A5EBA6BDB02} "
              "interface={90F1A06C-7712-4762-86B5-7A5EBA6BDB02} status=0x00000000\n"
              "start status=0x00000000\n"
              "execute assembly=\"a.dll\" type=\"T\" method=\"Invoke\" argument=\"a \\\"b\\\" \\\\ "
              "\\r\\n\\t\xE4\xB8\xAD\"\n"
              "execute assembly=\"a.dll\" type=\"T\" method=\"Reset\" argument=null\n"
              "addref count=2\n"
              "release count=1\n"
              "stop\n"
              "other method=\"GetCLRControl\"\n"
              "release count=0\n",
              ReadBytes(m_log));
}

TEST_F(ScriptedRuntime, RecordsNothingWithoutALogName)
{
    SetEnvironmentVariableW(L"ORV_SCRIPT_LOG", nullptr);
    Bind();
    EXPECT_EQ("no file", ReadBytes(m_log));
}

TEST_F(ScriptedRuntime, BindAndStartFailAsTold)
{
    SetEnvironmentVariableW(L"ORV_SCRIPT_BIND", L"0x80131700");
    EXPECT_EQ(0x80131700UL, Number(Bind()));
    EXPECT_EQ(nullptr, m_host);
    SetEnvironmentVariableW(L"ORV_SCRIPT_BIND", nullptr);
    SetEnvironmentVariableW(L"ORV_SCRIPT_NULL", L"1");
    EXPECT_EQ(0UL, Number(Bind()));
    EXPECT_EQ(nullptr, m_host);
    SetEnvironmentVariableW(L"ORV_SCRIPT_NULL", nullptr);
    Bind();
    SetEnvironmentVariableW(L"ORV_SCRIPT_START", L"-2147467259");
    EXPECT_EQ(0x80004005UL, Number(m_host->Start()));
}

TEST_F(ScriptedRuntime, TheTextGivesTheAnswer)
{
    struct Case
    {
        const wchar_t* text;
        unsigned long status;
        DWORD value;
    };
    const Case cases[] = {
        {L"", 0, 5},
        {L"any other text; t.Raise(2)", 0, 5},
        {L"result=11", 0, 11},
        {L"result=-3", 0, 0xFFFFFFFD},
        {L" delay=1 ; result=0 ;", 0, 0},
        {L"status=0x80131513", 0x80131513, 4711},
        {L"status=-2147467259;result=9", 0x80004005, 4711},
        {L"status=1;result=9", 1, 9},
        {L"t.Raise(2);result=1", 0, 1},
    };
    Bind();
    for (const Case& c : cases)
    {
        EXPECT_EQ(c.status, Number(Execute(L"Invoke", c.text))) << testing::PrintToString(c.text);
        EXPECT_EQ(c.value, m_value) << testing::PrintToString(c.text);
    }
}

TEST_F(ScriptedRuntime, TheBreakpointHasItsOwnAnswer)
{
    Bind();
    EXPECT_EQ(0UL, Number(Execute(L"OrvBreakPoint", L"status=0x80004005")));
    EXPECT_EQ(5UL, m_value);
    SetEnvironmentVariableW(L"ORV_SCRIPT_BREAKPOINT", L"0x80131513");
    EXPECT_EQ(0x80131513UL, Number(Execute(L"OrvBreakPoint", L"")));
    EXPECT_EQ(0UL, Number(Execute(L"Invoke", L"")));
    SetEnvironmentVariableW(L"ORV_SCRIPT_BREAKPOINT", L"result=12");
    EXPECT_EQ(0UL, Number(Execute(L"OrvBreakPoint", L"")));
    EXPECT_EQ(12UL, m_value);
}

TEST_F(ScriptedRuntime, ResetHasItsOwnAnswer)
{
    Bind();
    EXPECT_EQ(0UL, Number(Execute(L"Reset", L"result=4")));
    EXPECT_EQ(5UL, m_value);
    SetEnvironmentVariableW(L"ORV_SCRIPT_RESET", L"result=4");
    EXPECT_EQ(0UL, Number(Execute(L"Reset", L"")));
    EXPECT_EQ(4UL, m_value);
    EXPECT_EQ(0UL, Number(Execute(L"OrvBreakPoint", L"")));
    EXPECT_EQ(5UL, m_value);
    SetEnvironmentVariableW(L"ORV_SCRIPT_RESET", L"0x80131513");
    EXPECT_EQ(0x80131513UL, Number(Execute(L"Reset", L"")));
}

TEST_F(ScriptedRuntime, StaysInTheCallAsLongAsTold)
{
    const ChildProcess child = ChildProcess::StartRole(L"ExecuteWithDelay");
    while (ReadBytes(m_log).find("execute") == std::string::npos && child.IsRunning())
        Sleep(10);
    Sleep(200);
    EXPECT_TRUE(child.IsRunning());
    child.Kill();
}

TEST_F(ScriptedRuntime, ExceptionsReachTheCaller)
{
    Bind();
    bool caught = false;
    try
    {
        Execute(L"Invoke", L"throw");
    }
    catch (...)
    {
        caught = true;
    }
    EXPECT_TRUE(caught);

    void* const handler = AddVectoredExceptionHandler(1, GoOnAfterRaise);
    for (const wchar_t* const where : {L"", L";in=window", L";in=message", L";in=thread"})
    {
        SCOPED_TRACE(testing::PrintToString(where));
        g_raisedCount = 0;
        Execute(L"Invoke", (std::wstring(L"raise=0xE0001234;result=7") + where).c_str());
        EXPECT_EQ(1, g_raisedCount);
        EXPECT_EQ(std::wstring(where) != L";in=thread", g_raisingThread == GetCurrentThreadId());
        EXPECT_EQ(7UL, m_value);
    }
    g_raisedCount = 0;
    SetEnvironmentVariableW(L"ORV_SCRIPT_RELEASE", L"raise=0xE0001234");
    m_host->AddRef();
    m_host->Release();
    EXPECT_EQ(0, g_raisedCount) << "only the last one";
    m_host->Release();
    m_host = nullptr;
    EXPECT_EQ(1, g_raisedCount);
    RemoveVectoredExceptionHandler(handler);
}

TEST_F(ScriptedRuntime, CrashesAsTold)
{
    const std::pair<const wchar_t*, unsigned long> cases[] = {
        {L"crash=access", 0xC0000005}, {L"crash=divide", 0xC0000094}, {L"crash=overflow", 0xC00000FD}};
    for (const auto& [text, code] : cases)
    {
        PassingDebugger debugger;
        const std::wstring line = L"\"" + OwnProgram() + L"\" --child-role ExecuteText " + text;
        const ChildProcess child = debugger.Start(OwnProgram(), line, nullptr);
        ASSERT_FALSE(debugger.Exceptions().empty());
        EXPECT_EQ((SeenException{code, true}), debugger.Exceptions().front());
    }
}
