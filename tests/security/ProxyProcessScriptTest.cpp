#include "OrvProfiler/security/ProcessLayout.h"
#include "OrvProfiler/security/ProxyProcess.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/security/VersionRecord.h"
#include "tests/support/processes/BuildFolder.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/RebuiltManager.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <memory>
#include <stdexcept>
#include <string>

// What the queries about processes and files ask of the system, in its order.

namespace
{
// The manager is made anew, so that the calls of what it looks up are recorded too.
class CProcessScript : public ScriptTest
{
protected:
    CProcessScript()
    {
        m_manager.Rebuild();
        // Looked up only once, maybe before anything is recorded.
        m_script.Hide("GetProcessId");
        g_SecManager.GetProcessIdOfHandle(GetCurrentProcess());
        m_script.NameHandle(GetCurrentProcess(), L"{current}");
        m_script.Rename(OwnProgram(), L"{program}");
        m_script.Clear();
    }

    std::unique_ptr<CProxySecManager::CProcess> Open() const
    {
        return std::unique_ptr<CProxySecManager::CProcess>(g_SecManager.OpenProcessObject(GetCurrentProcessId()));
    }

    RebuiltManager m_manager;
};

// A process that was started without its image's path, and with a title.
class ParametersStandIn
{
public:
    ParametersStandIn() : m_redirect("ReadProcessMemory", Read)
    {
        s_real = m_redirect.Real();
        s_title = L"title";
    }

    static void SetTitle(const wchar_t* title) { s_title = title; }

private:
    static int Read(HANDLE process, const void* address, void* buffer, SIZE_T size, SIZE_T* read)
    {
        const int result = s_real(process, address, buffer, size, read);
        if (size != sizeof(ProcessParameters))
            return result;
        auto* const parameters = static_cast<ProcessParameters*>(buffer);
        parameters->imagePath.lengthBytes = 0;
        parameters->windowTitle.lengthBytes = static_cast<uint16_t>(s_title.size() * sizeof(wchar_t));
        parameters->windowTitle.maximumBytes = parameters->windowTitle.lengthBytes;
        parameters->windowTitle.text = s_title.data();
        return result;
    }

    static inline std::wstring s_title;
    static inline decltype(&ReadProcessMemory) s_real = nullptr;
    Redirect<decltype(ReadProcessMemory)> m_redirect;
};
} // namespace

TEST_F(CProcessScript, ReadsTheTextsThenTheTokenThenTheAccounts)
{
    auto process = Open();
    EXPECT_TRUE(m_script.Is(
        {L"OpenProcess 20410 0 own", L"GetExitCodeProcess process", L"NtQueryInformationProcess process 0",
         L"ReadProcessMemory process 712", L"ReadProcessMemory process 240", L"OpenProcessToken process 20008",
         L"GetTokenInformation token 12 something", L"GetTokenInformation token 1 null",
         L"GetTokenInformation token 1 something", L"LookupAccountSidW", L"GetTokenInformation token 13 null",
         L"FormatMessageW 1", L"trace CProxySecManager::CProcess::GetGroupMembership <error 1>\n"}));
    process.reset();
    EXPECT_TRUE(m_script.Is({L"CloseHandle token", L"CloseHandle process"}));
}

TEST_F(CProcessScript, TakesTheImageNameFromTheKernelWhenThereIsNone)
{
    const ParametersStandIn parameters;
    m_script.Hide("GetLongPathNameW");
    m_script.Hide("GetLogicalDriveStringsW");
    m_script.Hide("QueryDosDeviceW");
    m_script.Clear();
    const auto process = Open();
    EXPECT_TRUE(m_script.Is({L"OpenProcess 20410 0 own", L"GetExitCodeProcess process",
                             L"NtQueryInformationProcess process 0", L"ReadProcessMemory process 712",
                             L"ReadProcessMemory process 240", L"NtQueryInformationProcess process 27",
                             L"OpenProcessToken process 20008", L"GetTokenInformation token 12 something",
                             L"GetTokenInformation token 1 null", L"GetTokenInformation token 1 something",
                             L"LookupAccountSidW", L"GetTokenInformation token 13 null", L"FormatMessageW 1",
                             L"trace CProxySecManager::CProcess::GetGroupMembership <error 1>\n"}));
    EXPECT_STREQ(L"title", process->GetWindowTitle());
}

// The title is compared before the kernel is asked.
TEST_F(CProcessScript, KeepsATitleThatRepeatsTheKernelsImageName)
{
    const ParametersStandIn parameters;
    const std::wstring path = Open()->GetImagePath().GetBuffer();
    ParametersStandIn::SetTitle(path.c_str());
    const auto process = Open();
    EXPECT_EQ(path, process->GetImagePath().GetBuffer());
    EXPECT_EQ(path, process->GetWindowTitle().GetBuffer());
}

TEST_F(CProcessScript, OpensWithLessAccessWhenMoreIsRefused)
{
    m_script.Fail("OpenProcess");
    Open();
    const Script steps = m_script.Steps();
    ASSERT_GE(steps.size(), 3U);
    EXPECT_EQ(Script({L"OpenProcess 20410 0 own fails", L"OpenProcess 400 0 own", L"GetExitCodeProcess process"}),
              Script(steps.begin(), steps.begin() + 3));
}

TEST_F(CProcessScript, EndsWhenNothingIsKnownOfTheProcess)
{
    m_script.Fail("GetExitCodeProcess");
    EXPECT_EQ(nullptr, Open());
    EXPECT_TRUE(
        m_script.Is({L"OpenProcess 20410 0 own", L"GetExitCodeProcess process fails", L"CloseHandle process"}));
}

TEST_F(CProcessScript, SaysThatThereIsNoToken)
{
    m_script.Fail("OpenProcessToken");
    EXPECT_EQ(nullptr, Open());
    EXPECT_TRUE(m_script.Is(
        {L"OpenProcess 20410 0 own", L"GetExitCodeProcess process", L"NtQueryInformationProcess process 0",
         L"ReadProcessMemory process 712", L"ReadProcessMemory process 240", L"OpenProcessToken process 20008 fails",
         L"FormatMessageW 5", L"trace CProxySecManager::CProcess::CProcess <error 5>\n", L"CloseHandle process"}));
}

TEST_F(CProcessScript, EndsWithoutAUser)
{
    m_script.Fail("LookupAccountSidW");
    EXPECT_EQ(nullptr, Open());
    EXPECT_TRUE(m_script.Is(
        {L"OpenProcess 20410 0 own", L"GetExitCodeProcess process", L"NtQueryInformationProcess process 0",
         L"ReadProcessMemory process 712", L"ReadProcessMemory process 240", L"OpenProcessToken process 20008",
         L"GetTokenInformation token 12 something", L"GetTokenInformation token 1 null",
         L"GetTokenInformation token 1 something", L"LookupAccountSidW fails", L"FormatMessageW 1332",
         L"trace CProxySecManager::CAccount::Create <error 1332>\n", L"GetTokenInformation token 13 null",
         L"FormatMessageW 1", L"trace CProxySecManager::CProcess::GetGroupMembership <error 1>\n",
         L"CloseHandle token", L"CloseHandle process"}));
}

TEST_F(CProcessScript, KnowsTheCurrentProcessFromTheFirstRequestOn)
{
    EXPECT_NE(nullptr, g_SecManager.GetCurrentProcessObject());
    m_script.Clear();
    EXPECT_NE(nullptr, g_SecManager.GetCurrentProcessObject());
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProcessScript, TestsTheAdministrators)
{
    g_SecManager.IsRunAsAdmin(GetCurrentProcess());
    EXPECT_TRUE(
        m_script.Is({L"OpenProcessToken {current} 20008", L"GetTokenInformation token 13 null", L"FormatMessageW 1",
                     L"trace CProxySecManager::IsRunAsAdmin <error 1>\n", L"CloseHandle token"}));
    m_script.Fail("OpenProcessToken");
    g_SecManager.IsRunAsAdmin(GetCurrentProcess());
    EXPECT_TRUE(m_script.Is({L"OpenProcessToken {current} 20008 fails", L"FormatMessageW 5",
                             L"trace CProxySecManager::IsRunAsAdmin <error 5>\n"}));
}

TEST_F(CProcessScript, ListsTheServicesTwice)
{
    g_SecManager.IsProcessAService(GetCurrentProcessId());
    EXPECT_TRUE(m_script.Is({L"OpenSCManagerW 4", L"EnumServicesStatusExW services 0 30 1 null",
                             L"EnumServicesStatusExW services 0 30 1 something", L"CloseServiceHandle services"}));
    m_script.Fail("EnumServicesStatusExW", 2);
    EXPECT_FALSE(g_SecManager.IsProcessAService(GetCurrentProcessId()));
    EXPECT_TRUE(
        m_script.Is({L"OpenSCManagerW 4", L"EnumServicesStatusExW services 0 30 1 null",
                     L"EnumServicesStatusExW services 0 30 1 something fails", L"CloseServiceHandle services"}));
    m_script.Fail("OpenSCManagerW");
    EXPECT_FALSE(g_SecManager.IsProcessAService(GetCurrentProcessId()));
    EXPECT_TRUE(m_script.Is({L"OpenSCManagerW 4 fails"}));
}

TEST_F(CProcessScript, AsksForImageNameAndWordLength)
{
    g_SecManager.GetImageName(GetCurrentProcess());
    EXPECT_TRUE(m_script.Is({L"NtQueryInformationProcess {current} 27"}));
    g_SecManager.GetImageName(nullptr);
    EXPECT_TRUE(m_script.Is({}));
    g_SecManager.Is64BitProcess(GetCurrentProcess());
    EXPECT_TRUE(m_script.Is({L"GetNativeSystemInfo"}));
}

TEST_F(CProcessScript, ReadsTheArchitectureAndClosesTheFile)
{
    const TemporaryFile text("a text that is longer than the first header, which has sixty-four bytes, and no image");
    const TemporaryFile brief("brief");
    m_script.Rename(text.Path(), L"{text}");
    m_script.Rename(brief.Path(), L"{brief}");
    m_script.Clear();
    EXPECT_EQ(64U, g_SecManager.GetArchitecture(OwnProgram().c_str()));
    EXPECT_TRUE(m_script.Is({L"CreateFileW {program} 80000000 1 default 3 110080", L"GetFileType {program}",
                             L"ReadFile {program} 64", L"SetFilePointerEx {program}", L"ReadFile {program} 4",
                             L"ReadFile {program} 20", L"ReadFile {program} 2", L"CloseHandle {program}"}));
    EXPECT_EQ(0xFFFFFFFF, g_SecManager.GetArchitecture(text.Path()));
    EXPECT_TRUE(m_script.Is({L"CreateFileW {text} 80000000 1 default 3 110080", L"GetFileType {text}",
                             L"ReadFile {text} 64", L"CloseHandle {text}"}));
    EXPECT_EQ(0U, g_SecManager.GetArchitecture(brief.Path()));
    EXPECT_TRUE(m_script.Is({L"CreateFileW {brief} 80000000 1 default 3 110080", L"GetFileType {brief}",
                             L"ReadFile {brief} 64", L"CloseHandle {brief}"}));
    m_script.Fail("SetFilePointerEx");
    EXPECT_EQ(0U, g_SecManager.GetArchitecture(OwnProgram().c_str()));
    EXPECT_TRUE(
        m_script.Is({L"CreateFileW {program} 80000000 1 default 3 110080", L"GetFileType {program}",
                     L"ReadFile {program} 64", L"SetFilePointerEx {program} fails", L"CloseHandle {program}"}));
    EXPECT_EQ(0U, g_SecManager.GetArchitecture(L"missing"));
    EXPECT_TRUE(m_script.Is(
        {L"CreateFileW missing 80000000 1 default 3 110080", L"FormatMessageW 2",
         L"trace CProxySecManager::GetArchitecture CreateFile(OPEN_EXISTING) failed for file:missing, <error 2>\n"}));
}

TEST_F(CProcessScript, AsksForTheVersionsTextsInTheirOrder)
{
    const CVersionRecord record(OwnProgram().c_str());
    EXPECT_TRUE(m_script.Is({L"CreateFileW {program} 80000000 1 default 3 110080", L"GetFileType {program}",
                             L"GetFileVersionInfoSizeW {program}", L"GetFileVersionInfoW {program}",
                             L"CloseHandle {program}", L"VerQueryValueW \\VarFileInfo\\Translation",
                             L"VerQueryValueW \\StringFileInfo\\040c04b0\\FileDescription",
                             L"VerQueryValueW \\StringFileInfo\\040c04b0\\ProductName",
                             L"VerQueryValueW \\StringFileInfo\\040c04b0\\CompanyName",
                             L"VerQueryValueW \\StringFileInfo\\040c04b0\\ProductVersion"}));
    m_script.Fail("GetFileVersionInfoW");
    const CVersionRecord unread(OwnProgram().c_str());
    EXPECT_TRUE(m_script.Is({L"CreateFileW {program} 80000000 1 default 3 110080", L"GetFileType {program}",
                             L"GetFileVersionInfoSizeW {program}", L"GetFileVersionInfoW {program} fails",
                             L"CloseHandle {program}"}));
    const CVersionRecord missing(L"missing");
    EXPECT_TRUE(m_script.Is({L"CreateFileW missing 80000000 1 default 3 110080"}));
}

// The two functions are looked up once in a process, so each of these has one of its own. With an argument the system
// lacks the newer one.
ORV_CHILD_ROLE(GetProcessIdScript)
{
    const bool isOld = !arguments.empty();
    CallScript script;
    script.NameHandle(GetCurrentProcess(), L"{current}");
    if (isOld)
        script.Fail("GetProcAddress", 2);
    for (int i = 0; i < 2; ++i)
        g_SecManager.GetProcessIdOfHandle(GetCurrentProcess());
    const std::wstring ask = isOld ? L"NtQueryInformationProcess {current} 0" : L"GetProcessId {current}";
    const std::wstring second = L"GetProcAddress KERNEL32.DLL GetProcessId";
    const testing::AssertionResult result =
        script.Is({L"GetModuleHandleW NTDLL.DLL", L"GetProcAddress NTDLL.DLL NtQueryInformationProcess",
                   L"GetModuleHandleW KERNEL32.DLL", isOld ? second + L" fails" : second, ask, ask});
    if (!result)
        throw std::runtime_error(result.message());
    return 0;
}

TEST(GetProcessIdOfHandleScript, LooksUpBothFunctionsOnceAndAsksTheNewer)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"GetProcessIdScript").WaitForExit());
    EXPECT_EQ(0U, ChildProcess::StartRole(L"GetProcessIdScript", {L"old"}).WaitForExit());
}

// In a process in which no id was asked for yet, as above.
ORV_CHILD_ROLE(UnreadableProcessScript)
{
    CallScript script;
    RebuiltManager manager;
    manager.Rebuild();
    script.Clear();
    script.Fail("NtQueryInformationProcess");
    const std::unique_ptr<CProxySecManager::CProcess> process(g_SecManager.OpenProcessObject(GetCurrentProcessId()));
    for (const std::wstring& step : script.Steps())
    {
        if (step.find(L"GetProcessId") != std::wstring::npos)
            throw std::runtime_error("the id was asked for");
    }
    return script.Steps().empty() ? 1 : 0;
}

TEST(CProcessScriptAtStart, AsksForTheIdOnlyOfAProcessWhoseTextsCanBeRead)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"UnreadableProcessScript").WaitForExit());
}
