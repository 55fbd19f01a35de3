#include "OrvProfiler/security/ProxySecurity.h"

#include "OrvProfiler/foundation/Trace.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <cstring>
#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

// What the manager answers and prepares: names, sessions, access lists, privileges.

namespace
{
constexpr uint32_t c_noSession = 0xFFFFFFFF;

struct NameCase
{
    uint32_t session;
    const wchar_t* name;
    const wchar_t* kernelName;
};

// A long name, without a prefix.
std::wstring Letters(size_t count)
{
    return std::wstring(count, L'n');
}

// Whether the account holds the privilege, and whether it is enabled, by the process's own token.
enum class Privilege
{
    NotHeld,
    Disabled,
    Enabled,
};

Privilege ReadPrivilege(const wchar_t* name)
{
    LUID wanted{};
    HANDLE token = nullptr;
    if (LookupPrivilegeValueW(nullptr, name, &wanted) == FALSE ||
        OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE)
        return Privilege::NotHeld;
    std::vector<unsigned char> buffer(65536);
    DWORD size = 0;
    const BOOL read =
        GetTokenInformation(token, TokenPrivileges, buffer.data(), static_cast<DWORD>(buffer.size()), &size);
    CloseHandle(token);
    const auto* const held = reinterpret_cast<const TOKEN_PRIVILEGES*>(buffer.data());
    for (DWORD i = 0; read != FALSE && i < held->PrivilegeCount; ++i)
    {
        const LUID_AND_ATTRIBUTES& entry = held->Privileges[i];
        if (entry.Luid.LowPart == wanted.LowPart && entry.Luid.HighPart == wanted.HighPart)
            return (entry.Attributes & SE_PRIVILEGE_ENABLED) != 0 ? Privilege::Enabled : Privilege::Disabled;
    }
    return Privilege::NotHeld;
}

void DisablePrivilege(const wchar_t* name)
{
    HANDLE token = nullptr;
    ASSERT_NE(FALSE, OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token));
    TOKEN_PRIVILEGES change{};
    change.PrivilegeCount = 1;
    EXPECT_NE(FALSE, LookupPrivilegeValueW(nullptr, name, &change.Privileges[0].Luid));
    EXPECT_NE(FALSE, AdjustTokenPrivileges(token, FALSE, &change, 0, nullptr, nullptr));
    CloseHandle(token);
}
} // namespace

TEST(CProxySecManager, PutsNamesIntoTheSessionOnOlderSystems)
{
    const WindowsWithoutNamespaces world;
    const CProxySecManager manager;
    const NameCase cases[] = {
        {0xFFFFFFFF, L"E", L"Local\\E"},
        {0, L"E", L"Session\\0\\E"},
        {1, L"E", L"Session\\1\\E"},
        {65535, L"Event12_00001234", L"Session\\65535\\Event12_00001234"},
        {0x7FFFFFFF, L"E", L"Session\\2147483647\\E"},
        {0x80000000, L"E", L"Session\\-2147483648\\E"},
        {0xFFFFFFFD, L"E", L"Session\\-3\\E"},
        {0xFFFFFFFE, L"E", L"Session\\-2\\E"},
        {1, L"", L"Session\\1\\"},
        {1, L"100%s%n\\x", L"Session\\1\\100%s%n\\x"},
    };
    EXPECT_FALSE(manager.UsePrivateNamespace());
    for (const NameCase& item : cases)
        EXPECT_STREQ(item.kernelName, manager.BuildObjectName(item.session, item.name));
}

TEST(CProxySecManager, PutsNamesIntoThePrivateNamespaceWhateverTheSession)
{
    for (const SystemVersion& version : {c_windowsVista, c_windows7, c_windows8, c_windows10})
    {
        const NamespaceWorld world(NamespaceWorld::Entry::Own, version);
        const CProxySecManager manager;
        EXPECT_TRUE(manager.UsePrivateNamespace());
        for (const uint32_t session : {0U, 1U, 0x80000000U, 0xFFFFFFFEU, 0xFFFFFFFFU})
            EXPECT_STREQ(L"OrvP\\E", manager.BuildObjectName(session, L"E"));
        EXPECT_STREQ(L"OrvP\\", manager.BuildObjectName(1, L""));
        EXPECT_STREQ(L"OrvP\\100%s%n\\x", manager.BuildObjectName(1, L"100%s%n\\x"));
    }
}

TEST(CProxySecManager, MakesNamesLocalForEverySessionUnderWine)
{
    for (const SystemVersion& version : {c_windowsXp64, c_windowsVista, c_windows7, c_windows8, c_windows10})
    {
        const ReportedVersion reported(version);
        ExportTable exports;
        exports.Replace(
            "wine_get_version", +[] { return "8.0"; });
        const CProxySecManager manager;
        EXPECT_FALSE(manager.UsePrivateNamespace());
        for (const uint32_t session : {0U, 1U, 0x80000000U, 0xFFFFFFFEU, 0xFFFFFFFFU})
            EXPECT_STREQ(L"Local\\E", manager.BuildObjectName(session, L"E"));
    }
}

TEST(CProxySecManager, FormsNoNameFromNull)
{
    {
        const WindowsWithoutNamespaces world;
        const CProxySecManager manager;
        EXPECT_EQ(nullptr, manager.BuildObjectName(0xFFFFFFFF, nullptr));
        EXPECT_EQ(nullptr, manager.BuildObjectName(1, nullptr));
    }
    const NamespaceWorld world;
    const CProxySecManager manager;
    EXPECT_EQ(nullptr, manager.BuildObjectName(1, nullptr));
}

TEST(CProxySecManager, CutsNamesAt1024Units)
{
    {
        const WindowsWithoutNamespaces world;
        const CProxySecManager manager;
        EXPECT_EQ(L"Local\\" + Letters(1017), manager.BuildObjectName(c_noSession, Letters(1017).c_str()));
        EXPECT_EQ(L"Local\\" + Letters(1018), manager.BuildObjectName(c_noSession, Letters(1018).c_str()));
        EXPECT_EQ(L"Local\\" + Letters(1018), manager.BuildObjectName(c_noSession, Letters(1019).c_str()));
        EXPECT_EQ(L"Session\\1\\" + Letters(1014), manager.BuildObjectName(1, Letters(5000).c_str()));
    }
    const NamespaceWorld world;
    const CProxySecManager manager;
    EXPECT_EQ(L"OrvP\\" + Letters(1019), manager.BuildObjectName(1, Letters(1019).c_str()));
    EXPECT_EQ(L"OrvP\\" + Letters(1019), manager.BuildObjectName(1, Letters(1020).c_str()));
}

TEST(CProxySecManager, KeepsAFormedNameUntilTheSlotsHaveGoneRound)
{
    const WindowsWithoutNamespaces world;
    const CProxySecManager manager;
    const wchar_t* const name = manager.BuildObjectName(1, L"E");
    for (int i = 0; i < 31; ++i)
        FormatSlot(L"%d", i);
    EXPECT_STREQ(L"Session\\1\\E", name);
    FormatSlot(L"%s", L"another");
    EXPECT_STREQ(L"another", name);
}

ORV_CHILD_ROLE(WaitForParent)
{
    Meeting(arguments.at(0)).Wait();
    return 0;
}

TEST(CProxySecManager, FindsTheSessionOfAProcess)
{
    DWORD session = 99;
    ASSERT_NE(FALSE, ProcessIdToSessionId(GetCurrentProcessId(), &session));
    const std::wstring name = FreshName(L"end");
    const Meeting end(name);
    const ChildProcess child = ChildProcess::StartRole(L"WaitForParent", {name});
    const TraceCapture trace;
    const unsigned before = OpenHandleCount();
    EXPECT_EQ(session, g_SecManager.GetSessionForProcess(GetCurrentProcessId()));
    EXPECT_EQ(session, g_SecManager.GetSessionForProcess(child.Id())) << "the child inherits its parent's session";
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_THAT(trace.Lines(), IsEmpty());
    end.Signal();
    EXPECT_EQ(0U, child.WaitForExit());
}

TEST(CProxySecManager, AsksForNoMoreRightsThanTheSessionNeeds)
{
    const DWORD id = GetCurrentProcessId();
    {
        const WindowsWithoutNamespaces world;
        const CProxySecManager manager;
        const CallRecorder<decltype(OpenProcess)> openProcess("OpenProcess");
        const CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
        const CallRecorder<decltype(GetTokenInformation)> information("GetTokenInformation");
        manager.GetSessionForProcess(id);
        EXPECT_THAT(openProcess.Calls(), ElementsAre(FieldsAre(0x400U, FALSE, id)));
        EXPECT_THAT(openToken.Calls(), ElementsAre(FieldsAre(_, 0x20008U, _)));
        EXPECT_THAT(information.Calls(), ElementsAre(FieldsAre(_, 12, _, 4U, _)));
    }
    {
        const CallRecorder<decltype(OpenProcess)> openProcess("OpenProcess");
        g_SecManager.GetSessionForProcess(id);
        EXPECT_THAT(openProcess.Calls(), ElementsAre(FieldsAre(0x400U, FALSE, id))) << "under Wine";
    }
    const NamespaceWorld world;
    const CProxySecManager manager;
    const CallRecorder<decltype(OpenProcess)> openProcess("OpenProcess");
    const CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    EXPECT_NE(0xFFFFFFFEU, manager.GetSessionForProcess(id));
    EXPECT_THAT(openProcess.Calls(), ElementsAre(FieldsAre(0x1000U, FALSE, id)));
    EXPECT_THAT(openToken.Calls(), ElementsAre(FieldsAre(_, 0x20008U, _)));
}

TEST(CProxySecManager, ClosesTheTokenBeforeTheProcess)
{
    static std::vector<HANDLE> opened;
    opened.clear();
    const Redirect<decltype(OpenProcess)> openProcess("OpenProcess", [](DWORD, BOOL, DWORD) -> HANDLE {
        opened.push_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        return opened.back();
    });
    const Redirect<decltype(OpenProcessToken)> openToken(
        "OpenProcessToken", [](HANDLE process, DWORD, HANDLE* token) -> BOOL {
            EXPECT_EQ(opened.front(), process);
            opened.push_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
            *token = opened.back();
            return TRUE;
        });
    const Redirect<decltype(GetTokenInformation)> information(
        "GetTokenInformation", [](HANDLE token, TOKEN_INFORMATION_CLASS, void* value, DWORD, DWORD*) -> BOOL {
            EXPECT_EQ(opened.back(), token);
            *static_cast<uint32_t*>(value) = 77;
            return TRUE;
        });
    const CallRecorder<decltype(CloseHandle)> closeHandle("CloseHandle");
    EXPECT_EQ(77U, g_SecManager.GetSessionForProcess(4));
    ASSERT_EQ(2U, opened.size());
    EXPECT_THAT(closeHandle.Calls(), ElementsAre(FieldsAre(opened[1]), FieldsAre(opened[0])));
}

TEST(CProxySecManager, ReportsAProcessThatDoesNotExist)
{
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(0xFFFFFFFEU, g_SecManager.GetSessionForProcess(FreshId()));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 87>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, AppendsTheSystemsOwnTextToAFailure)
{
    wchar_t text[1024]{};
    ASSERT_NE(0U, FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, 87, 0x400, text,
                                 1024, nullptr));
    const TraceCapture trace;
    g_SecManager.GetSessionForProcess(FreshId());
    EXPECT_THAT(trace.Lines(), ElementsAre(std::wstring(L"CProxySecManager::GetSessionForProcess ") +
                                           L"OpenProcess Failed\n" + text + L"\n"));
}

TEST(CProxySecManager, ReportsAProcessThatItMayNotOpen)
{
    const CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    const FailingCall<decltype(OpenProcess)> openProcess("OpenProcess", ERROR_ACCESS_DENIED);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(0xFFFFFFFEU, g_SecManager.GetSessionForProcess(GetCurrentProcessId()));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 5>\n"));
    EXPECT_THAT(openToken.Calls(), IsEmpty());
}

TEST(CProxySecManager, ReportsATokenThatItMayNotOpen)
{
    const unsigned before = OpenHandleCount();
    const FailingCall<decltype(OpenProcessToken)> openToken("OpenProcessToken", ERROR_ACCESS_DENIED);
    const CallRecorder<decltype(GetTokenInformation)> information("GetTokenInformation");
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(0xFFFFFFFEU, g_SecManager.GetSessionForProcess(GetCurrentProcessId()));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::GetSessionForProcess OpenProcessToken Failed\n<error 5>\n"));
    EXPECT_THAT(information.Calls(), IsEmpty());
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, TakesInvalidFunctionForASystemWithoutSessions)
{
    const unsigned before = OpenHandleCount();
    const FailingCall<decltype(GetTokenInformation)> information("GetTokenInformation", ERROR_INVALID_FUNCTION);
    const TraceCapture trace;
    EXPECT_EQ(0xFFFFFFFFU, g_SecManager.GetSessionForProcess(GetCurrentProcessId()));
    EXPECT_THAT(trace.Lines(), IsEmpty());
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, ReportsASessionThatTheTokenDoesNotTell)
{
    const unsigned before = OpenHandleCount();
    for (const unsigned error : {2U, 5U, 24U, 122U})
    {
        const FailingCall<decltype(GetTokenInformation)> information("GetTokenInformation", error);
        const ErrorTextStandIn texts;
        const TraceCapture trace;
        EXPECT_EQ(0xFFFFFFFEU, g_SecManager.GetSessionForProcess(GetCurrentProcessId()));
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(L"CProxySecManager::GetSessionForProcess GetTokenInformation Failed\n<error " +
                                std::to_wstring(error) + L">\n"));
    }
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, DoesNotBelieveASessionWrittenByAFailedCall)
{
    const Redirect<decltype(GetTokenInformation)> information(
        "GetTokenInformation", [](HANDLE, TOKEN_INFORMATION_CLASS, void* value, DWORD, DWORD*) -> BOOL {
            *static_cast<uint32_t*>(value) = 3;
            SetLastError(ERROR_GEN_FAILURE);
            return FALSE;
        });
    const TraceCapture trace;
    EXPECT_EQ(0xFFFFFFFEU, g_SecManager.GetSessionForProcess(GetCurrentProcessId()));
    EXPECT_EQ(1U, trace.Lines().size());
}

TEST(CProxySecManager, BuildsAnAccessListThatAdmitsEveryUser)
{
    SECURITY_DESCRIPTOR descriptor;
    std::memset(&descriptor, 0xCC, sizeof descriptor);
    SECURITY_ATTRIBUTES attributes;
    std::memset(&attributes, 0xCC, sizeof attributes);
    const TraceCapture trace;
    EXPECT_TRUE(g_SecManager.OrvPCreateACL(&attributes, &descriptor));
    EXPECT_THAT(trace.Lines(), IsEmpty());

    EXPECT_EQ(24U, attributes.nLength);
    EXPECT_EQ(&descriptor, attributes.lpSecurityDescriptor);
    EXPECT_EQ(FALSE, attributes.bInheritHandle);

    ASSERT_NE(FALSE, IsValidSecurityDescriptor(&descriptor));
    EXPECT_EQ(1, descriptor.Revision);
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL something{};
    ACL* list = &something;
    ASSERT_NE(FALSE, GetSecurityDescriptorDacl(&descriptor, &present, &list, &defaulted));
    EXPECT_EQ(TRUE, present);
    EXPECT_EQ(nullptr, list);
    EXPECT_EQ(FALSE, defaulted);
}

TEST(CProxySecManager, GivesCreatedObjectsTheAccessList)
{
    SECURITY_DESCRIPTOR descriptor{};
    SECURITY_ATTRIBUTES attributes{};
    ASSERT_TRUE(g_SecManager.OrvPCreateACL(&attributes, &descriptor));
    HANDLE const event =
        g_SecManager.OrvPCreateEvent(c_noSession, &attributes, true, false, FreshName(L"acl").c_str());
    ASSERT_NE(nullptr, event);

    alignas(SECURITY_DESCRIPTOR) unsigned char buffer[1024];
    DWORD size = 0;
    ASSERT_NE(FALSE, GetKernelObjectSecurity(event, DACL_SECURITY_INFORMATION, buffer, sizeof buffer, &size));
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL something{};
    ACL* list = &something;
    ASSERT_NE(FALSE, GetSecurityDescriptorDacl(buffer, &present, &list, &defaulted));
    EXPECT_EQ(nullptr, present != FALSE ? list : nullptr);
    CloseHandle(event);
}

TEST(CProxySecManager, ReportsADescriptorThatCannotBeMade)
{
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    SECURITY_DESCRIPTOR descriptor{};
    SECURITY_ATTRIBUTES attributes{};
    attributes.nLength = 7;
    {
        const CallRecorder<decltype(SetSecurityDescriptorDacl)> setList("SetSecurityDescriptorDacl");
        const FailingCall<decltype(InitializeSecurityDescriptor)> initialize("InitializeSecurityDescriptor", 1305);
        EXPECT_FALSE(g_SecManager.OrvPCreateACL(&attributes, &descriptor));
        EXPECT_THAT(initialize.Calls(), ElementsAre(FieldsAre(&descriptor, 1U)));
        EXPECT_THAT(setList.Calls(), IsEmpty());
    }
    {
        const FailingCall<decltype(SetSecurityDescriptorDacl)> setList("SetSecurityDescriptorDacl", 1338);
        EXPECT_FALSE(g_SecManager.OrvPCreateACL(&attributes, &descriptor));
        EXPECT_THAT(setList.Calls(), ElementsAre(FieldsAre(&descriptor, TRUE, nullptr, FALSE)));
    }
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1305>\n",
                                           L"CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1338>\n"));
    EXPECT_EQ(7U, attributes.nLength) << "the attributes are filled on success only";
}

TEST(CProxySecManager, EnablesAPrivilegeThatTheAccountHolds)
{
    const wchar_t* const name = L"SeDebugPrivilege";
    if (ReadPrivilege(name) == Privilege::NotHeld)
        GTEST_SKIP() << "this account does not hold the debug privilege";
    DisablePrivilege(name);
    ASSERT_EQ(Privilege::Disabled, ReadPrivilege(name));
    const unsigned before = OpenHandleCount();
    const TraceCapture trace;
    EXPECT_TRUE(g_SecManager.OrvPEnablePrivilege(name));
    EXPECT_THAT(trace.Lines(), IsEmpty());
    EXPECT_EQ(Privilege::Enabled, ReadPrivilege(name));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, CountsAPrivilegeThatTheAccountDoesNotHoldAsEnabled)
{
    const wchar_t* const notHeld = L"SeCreateTokenPrivilege";
    ASSERT_EQ(Privilege::NotHeld, ReadPrivilege(notHeld));
    const TraceCapture trace;
    EXPECT_TRUE(g_SecManager.OrvPEnablePrivilege(notHeld));
    const Redirect<decltype(AdjustTokenPrivileges)> adjust(
        "AdjustTokenPrivileges", [](HANDLE, BOOL, TOKEN_PRIVILEGES*, DWORD, TOKEN_PRIVILEGES*, DWORD*) -> BOOL {
            SetLastError(ERROR_NOT_ALL_ASSIGNED);
            return TRUE;
        });
    EXPECT_TRUE(g_SecManager.OrvPEnablePrivilege(L"SeDebugPrivilege"));
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxySecManager, AdjustsOnePrivilegeAndLeavesTheOthers)
{
    static LUID debug;
    ASSERT_NE(FALSE, LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &debug));
    const CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    const CallRecorder<decltype(LookupPrivilegeValueW)> lookup("LookupPrivilegeValueW");
    const Redirect<decltype(AdjustTokenPrivileges)> adjust(
        "AdjustTokenPrivileges",
        [](HANDLE token, BOOL disableAll, TOKEN_PRIVILEGES* wanted, DWORD, TOKEN_PRIVILEGES* previous,
           DWORD* previousSize) -> BOOL {
            EXPECT_NE(nullptr, token);
            EXPECT_EQ(FALSE, disableAll);
            EXPECT_EQ(1U, wanted->PrivilegeCount);
            EXPECT_EQ(2U, wanted->Privileges[0].Attributes);
            EXPECT_EQ(debug.LowPart, wanted->Privileges[0].Luid.LowPart);
            EXPECT_EQ(debug.HighPart, wanted->Privileges[0].Luid.HighPart);
            EXPECT_EQ(nullptr, previous);
            EXPECT_EQ(nullptr, previousSize);
            return TRUE;
        });
    const wchar_t* const name = L"SeDebugPrivilege";
    EXPECT_TRUE(g_SecManager.OrvPEnablePrivilege(name));
    EXPECT_THAT(openToken.Calls(), ElementsAre(FieldsAre(GetCurrentProcess(), 0x28U, _)));
    EXPECT_THAT(lookup.Calls(), ElementsAre(FieldsAre(nullptr, name, _)));
}

TEST(CProxySecManager, ReportsEachStepOfEnablingAPrivilege)
{
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    {
        const CallRecorder<decltype(LookupPrivilegeValueW)> lookup("LookupPrivilegeValueW");
        const FailingCall<decltype(OpenProcessToken)> openToken("OpenProcessToken", ERROR_ACCESS_DENIED);
        EXPECT_FALSE(g_SecManager.OrvPEnablePrivilege(L"SeDebugPrivilege"));
        EXPECT_THAT(lookup.Calls(), IsEmpty());
    }
    {
        const CallRecorder<decltype(AdjustTokenPrivileges)> adjust("AdjustTokenPrivileges");
        const FailingCall<decltype(LookupPrivilegeValueW)> lookup("LookupPrivilegeValueW", ERROR_GEN_FAILURE);
        EXPECT_FALSE(g_SecManager.OrvPEnablePrivilege(L"SeDebugPrivilege"));
        EXPECT_THAT(adjust.Calls(), IsEmpty());
    }
    {
        const FailingCall<decltype(AdjustTokenPrivileges)> adjust("AdjustTokenPrivileges", ERROR_INVALID_PARAMETER);
        EXPECT_FALSE(g_SecManager.OrvPEnablePrivilege(L"SeDebugPrivilege"));
    }
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPEnablePrivilege OpenProcessToken() failed, Error = <error 5>\n",
                            L"CProxySecManager::OrvPEnablePrivilege LookupPrivilegeValue() failed for "
                            L"SeDebugPrivilege, Error:-\n<error 31>\n",
                            L"CProxySecManager::OrvPEnablePrivilege AdjustTokenPrivileges() failed for "
                            L"SeDebugPrivilege, Error:-\n<error 87>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, ReportsAPrivilegeThatTheSystemDoesNotKnow)
{
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_FALSE(g_SecManager.OrvPEnablePrivilege(L"SeNoSuchPrivilege"));
    EXPECT_FALSE(g_SecManager.OrvPEnablePrivilege(nullptr));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPEnablePrivilege LookupPrivilegeValue() failed for "
                                           L"SeNoSuchPrivilege, Error:-\n<error 1313>\n",
                                           L"CProxySecManager::OrvPEnablePrivilege LookupPrivilegeValue() failed for "
                                           L"(null), Error:-\n<error 1313>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, NeverFindsAPrivilegeEnabled)
{
    const unsigned before = OpenHandleCount();
    const CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    const CallRecorder<decltype(LookupPrivilegeValueW)> lookup("LookupPrivilegeValueW");
    const TraceCapture trace;
    const wchar_t* const held = L"SeDebugPrivilege";
    g_SecManager.OrvPEnablePrivilege(held);
    EXPECT_EQ(0U, g_SecManager.OrvPHasPrivilege(GetCurrentProcess(), held));
    EXPECT_EQ(0U, g_SecManager.OrvPHasPrivilege(GetCurrentProcess(), L"SeCreateTokenPrivilege"));
    EXPECT_THAT(trace.Lines(), IsEmpty());
    ASSERT_EQ(3U, openToken.Calls().size());
    EXPECT_THAT(openToken.Calls()[1], FieldsAre(GetCurrentProcess(), 0x28U, _));
    EXPECT_THAT(lookup.Calls()[1], FieldsAre(nullptr, held, _));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, KnowsNothingOfThePrivilegesOfNoProcess)
{
    const CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    const TraceCapture trace;
    EXPECT_EQ(0xFFFFFFFFU, g_SecManager.OrvPHasPrivilege(nullptr, L"SeDebugPrivilege"));
    EXPECT_THAT(openToken.Calls(), IsEmpty());
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxySecManager, ReportsEachStepOfTestingAPrivilege)
{
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    {
        const CallRecorder<decltype(LookupPrivilegeValueW)> lookup("LookupPrivilegeValueW");
        const FailingCall<decltype(OpenProcessToken)> openToken("OpenProcessToken", ERROR_ACCESS_DENIED);
        EXPECT_EQ(0xFFFFFFFFU, g_SecManager.OrvPHasPrivilege(GetCurrentProcess(), L"SeDebugPrivilege"));
        EXPECT_THAT(lookup.Calls(), IsEmpty());
    }
    EXPECT_EQ(0xFFFFFFFFU, g_SecManager.OrvPHasPrivilege(GetCurrentProcess(), L"SeNoSuchPrivilege"));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPHasPrivilege OpenProcessToken() failed, Error = <error 5>\n",
                            L"CProxySecManager::OrvPHasPrivilege LookupPrivilegeValue() failed for "
                            L"SeNoSuchPrivilege, Error:-\n<error 1313>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, ReportsAHandleThatIsNoProcess)
{
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(0xFFFFFFFFU, g_SecManager.OrvPHasPrivilege(event, L"SeDebugPrivilege"));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPHasPrivilege OpenProcessToken() failed, Error = <error 6>\n"));
    CloseHandle(event);
}
