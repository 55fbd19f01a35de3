#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/NamespaceWorld.h"
#include "tests/support/worlds/TokenStandIn.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
const SidBytes c_everyone = MakeSid(1, {0});
const SidBytes c_builtInAdministrators = MakeSid(5, {32, 544});
const SidBytes c_builtInUsers = MakeSid(5, {32, 545});
const SidBytes c_administrator = MakeSid(5, {21, 11, 12, 13, 500});
const SidBytes c_domainAdmins = MakeSid(5, {21, 11, 12, 13, 512});

PSID Sid(const SidBytes& sid)
{
    return const_cast<unsigned char*>(sid.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

// Knows the three types by their last number, as Windows does for the SIDs of any domain.
std::vector<int> g_typesAsked;
BOOL WINAPI KnowSid(PSID sid, WELL_KNOWN_SID_TYPE type)
{
    g_typesAsked.push_back(type);
    const DWORD last = *GetSidSubAuthority(sid, static_cast<DWORD>(*GetSidSubAuthorityCount(sid) - 1));
    return (type == 26 && last == 544) || (type == 38 && last == 500) || (type == 41 && last == 512) ? TRUE : FALSE;
}

// A manager that finds KnowSid as the system's own.
class ManagerWithKnownSids
{
public:
    ManagerWithKnownSids() { g_typesAsked.clear(); }

    const CProxySecManager* operator->() const noexcept { return &m_manager; }

private:
    struct Exports : ExportTable
    {
        Exports() { Replace("IsWellKnownSid", KnowSid); }
    };
    Exports m_exports;
    CProxySecManager m_manager;
};
} // namespace

TEST(IsRunAsAdmin, ReportsEachKindOfAdministratorAmongTheGroups)
{
    const ManagerWithKnownSids manager;
    const struct
    {
        std::vector<SidBytes> groups;
        uint32_t bits;
    } cases[] = {
        {{}, 0},
        {{c_everyone, c_builtInUsers}, 0},
        {{c_everyone, c_builtInAdministrators}, 1},
        {{c_administrator}, 2},
        {{c_domainAdmins, c_everyone}, 4},
        {{c_domainAdmins, c_builtInAdministrators, c_everyone, c_administrator, c_domainAdmins}, 7},
    };
    // Groups count whether they are enabled, disabled or for denying only.
    for (const DWORD attributes : {0x7U, 0x0U, 0x10U})
    {
        for (const auto& row : cases)
        {
            std::vector<TokenStandIn::Group> groups;
            for (const SidBytes& sid : row.groups)
                groups.push_back({sid, attributes});
            TokenStandIn token;
            token.AnswerGroups(groups);
            EXPECT_EQ(manager->IsRunAsAdmin(GetCurrentProcess()), row.bits) << attributes;
        }
    }
}

TEST(IsRunAsAdmin, AsksForTheTokenOfTheProcessToRead)
{
    TokenStandIn token;
    token.AnswerGroups({});
    CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    HANDLE const process = GetCurrentProcess();
    EXPECT_EQ(g_SecManager.IsRunAsAdmin(process), 0U);
    ASSERT_EQ(openToken.Calls().size(), 1U);
    EXPECT_EQ(std::get<0>(openToken.Calls()[0]), process);
    EXPECT_EQ(std::get<1>(openToken.Calls()[0]), 0x20008U);
}

TEST(IsRunAsAdmin, IsZeroWithoutIsWellKnownSid)
{
    ExportTable exports;
    exports.Hide("IsWellKnownSid");
    const CProxySecManager manager;
    TokenStandIn token;
    token.AnswerGroups({{c_builtInAdministrators, 7}});
    CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    const TraceCapture trace;
    EXPECT_EQ(manager.IsRunAsAdmin(GetCurrentProcess()), 0U);
    EXPECT_THAT(openToken.Calls(), IsEmpty());
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(IsRunAsAdmin, IsZeroWithOneLineWhenTheTokenCannotBeOpened)
{
    const ErrorTextStandIn texts;
    FailingCall<decltype(OpenProcessToken)> openToken("OpenProcessToken", ERROR_ACCESS_DENIED);
    const TraceCapture trace;
    EXPECT_EQ(g_SecManager.IsRunAsAdmin(GetCurrentProcess()), 0U);
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::IsRunAsAdmin <error 5>\n"));
}

TEST(IsRunAsAdmin, IsZeroWithOneLineForNoProcess)
{
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(g_SecManager.IsRunAsAdmin(nullptr), 0U);
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::IsRunAsAdmin <error 6>\n"));
}

TEST(IsRunAsAdmin, IsZeroWithOneLineWhenTheGroupsCannotBeRead)
{
    const ErrorTextStandIn texts;
    for (const bool atSize : {true, false})
    {
        TokenStandIn token;
        token.AnswerGroups({{c_builtInAdministrators, 7}});
        if (atSize)
            token.FailSizeQuery(TokenGroupsAndPrivileges, ERROR_ACCESS_DENIED);
        else
            token.FailAnswer(TokenGroupsAndPrivileges, ERROR_ACCESS_DENIED);
        const TraceCapture trace;
        EXPECT_EQ(g_SecManager.IsRunAsAdmin(GetCurrentProcess()), 0U);
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::IsRunAsAdmin <error 5>\n"));
    }
}

TEST(IsRunAsAdmin, GivesBackAllThatItTook)
{
    TokenStandIn token;
    token.AnswerGroups({{c_builtInAdministrators, 7}});
    ExpectNothingLeaks([] { EXPECT_EQ(g_SecManager.IsRunAsAdmin(GetCurrentProcess()), 1U); });
    token.FailAnswer(TokenGroupsAndPrivileges, ERROR_ACCESS_DENIED);
    ExpectNothingLeaks([] { EXPECT_EQ(g_SecManager.IsRunAsAdmin(GetCurrentProcess()), 0U); });
}

TEST(IsWellKnown, AsksTheSystem)
{
    EXPECT_TRUE(g_SecManager.IsWellKnown(Sid(c_builtInAdministrators), WinBuiltinAdministratorsSid));
    EXPECT_FALSE(g_SecManager.IsWellKnown(Sid(c_builtInUsers), 26));
    EXPECT_TRUE(g_SecManager.IsWellKnown(Sid(c_builtInUsers), 27));
    EXPECT_TRUE(g_SecManager.IsWellKnown(Sid(c_everyone), 1));
}

TEST(IsWellKnown, IsFalseWithoutIsWellKnownSid)
{
    ExportTable exports;
    exports.Hide("IsWellKnownSid");
    const CProxySecManager manager;
    EXPECT_FALSE(manager.IsWellKnown(Sid(c_builtInAdministrators), 26));
    EXPECT_FALSE(manager.IsAdminSid(Sid(c_builtInAdministrators)));
}

TEST(IsWellKnown, IsFalseWhenTheLibraryWasGivenUp)
{
    ExportTable exports;
    exports.Hide("LookupAccountSidW");
    const CProxySecManager manager;
    EXPECT_FALSE(manager.IsWellKnown(Sid(c_builtInAdministrators), 26));
    EXPECT_EQ(manager.IsRunAsAdmin(GetCurrentProcess()), 0U);
}

TEST(IsAdminSid, IsTrueForTheThreeTypesOfAdministrators)
{
    const ManagerWithKnownSids manager;
    EXPECT_TRUE(manager->IsAdminSid(Sid(c_builtInAdministrators)));
    EXPECT_TRUE(manager->IsAdminSid(Sid(c_administrator)));
    EXPECT_TRUE(manager->IsAdminSid(Sid(c_domainAdmins)));
    g_typesAsked.clear();
    EXPECT_FALSE(manager->IsAdminSid(Sid(c_builtInUsers)));
    EXPECT_THAT(g_typesAsked, testing::UnorderedElementsAre(26, 38, 41));
}
