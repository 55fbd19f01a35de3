#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <cwchar>
#include <gmock/gmock.h>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using testing::_;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// What the manager finds out about the system when it is made, and what it leaves behind when it goes.

namespace
{
// Records which libraries a manager loads and frees, and keeps chosen ones from loading.
class LibraryWatch
{
public:
    explicit LibraryWatch(std::vector<std::wstring> missing = {})
        : m_missing(std::move(missing)), m_load("LoadLibraryW", Load), m_free("FreeLibrary", Free)
    {
        s_self = this;
    }
    ~LibraryWatch() { s_self = nullptr; }
    LibraryWatch(const LibraryWatch&) = delete;
    LibraryWatch& operator=(const LibraryWatch&) = delete;

    // "load NAME" and "free NAME" in order.
    std::vector<std::wstring> TakeCalls() { return std::exchange(m_calls, {}); }

private:
    static HMODULE Load(const wchar_t* name)
    {
        s_self->m_calls.push_back(L"load " + std::wstring(name));
        for (const std::wstring& missing : s_self->m_missing)
        {
            if (missing != name)
                continue;
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        HMODULE const module = s_self->m_load.Real()(name);
        s_self->m_names[module] = name;
        return module;
    }

    static BOOL Free(HMODULE module)
    {
        s_self->m_calls.push_back(L"free " + s_self->m_names[module]);
        return s_self->m_free.Real()(module);
    }

    static inline LibraryWatch* s_self = nullptr;

    std::vector<std::wstring> m_missing;
    std::map<HMODULE, std::wstring> m_names;
    std::vector<std::wstring> m_calls;
    Redirect<decltype(LoadLibraryW)> m_load;
    Redirect<decltype(FreeLibrary)> m_free;
};

struct VersionCase
{
    SystemVersion system;
    uint64_t version;
    size_t queries;
};
} // namespace

TEST(GetWindowsVersion, KnowsTheLinesOfTheSystem)
{
    const VersionCase cases[] = {
        {{4, 0, 6}, 5, 8}, {{5, 0, 4}, 5, 8},   {{5, 1, 3}, 5, 8},   {{5, 2, 2}, 5, 8},   {{6, 0, 0}, 6, 8},
        {{6, 0, 1}, 6, 7}, {{6, 0, 2}, 6, 6},   {{6, 0, 9}, 6, 6},   {{6, 1, 0}, 7, 5},   {{6, 1, 1}, 7, 4},
        {{6, 1, 2}, 7, 4}, {{6, 2, 0}, 8, 3},   {{6, 2, 1}, 8, 3},   {{6, 3, 0}, 8, 2},   {{6, 4, 0}, 8, 2},
        {{9, 9, 9}, 8, 2}, {{10, 0, 0}, 10, 1}, {{10, 1, 0}, 10, 1}, {{11, 0, 0}, 10, 1},
    };
    for (const VersionCase& item : cases)
    {
        const ReportedVersion reported(item.system);
        EXPECT_EQ(item.version, GetWindowsVersion()) << item.system.major << '.' << item.system.minor;
        EXPECT_EQ(item.queries, reported.Queries().size()) << item.system.major << '.' << item.system.minor;
    }
}

TEST(GetWindowsVersion, AsksFromTheNewestToTheOldest)
{
    struct Expected
    {
        unsigned major;
        unsigned minor;
        unsigned servicePack;
    };
    const Expected expected[] = {
        {10, 0, 0}, {6, 3, 0}, {6, 2, 0}, {6, 1, 1}, {6, 1, 0}, {6, 0, 2}, {6, 0, 1}, {6, 0, 0},
    };
    const ReportedVersion reported(c_windowsXp64);
    GetWindowsVersion();
    const std::vector<ReportedVersion::Query>& queries = reported.Queries();
    ASSERT_EQ(8U, queries.size());
    for (size_t i = 0; i < 8; ++i)
    {
        EXPECT_EQ(284U, queries[i].size);
        EXPECT_EQ(expected[i].major, queries[i].major) << i;
        EXPECT_EQ(expected[i].minor, queries[i].minor) << i;
        EXPECT_EQ(expected[i].servicePack, queries[i].servicePack) << i;
        EXPECT_EQ(0x23U, queries[i].fields) << "major version 2, minor version 1, service pack 0x20";
        // Three bits for each field, 3 for greater or equal; the system marks its masks with the top bit.
        EXPECT_EQ(0x1801BU, queries[i].conditions & 0x7FFFFFFFFFFFFFFFU);
    }
}

TEST(GetWindowsVersion, IsFiveWhenTheSystemAnswersNothing)
{
    const FailingCall<decltype(VerifyVersionInfoW)> verify("VerifyVersionInfoW", ERROR_GEN_FAILURE);
    EXPECT_EQ(5U, GetWindowsVersion());
    EXPECT_EQ(8U, verify.Calls().size());
}

ORV_CHILD_ROLE(TellWindowsVersion)
{
    return static_cast<int>(GetWindowsVersion());
}

// The entry of one program in Wine's configuration, which goes with this object.
class ProgramDefaults
{
public:
    explicit ProgramDefaults(const std::wstring& name) : m_key(L"Software\\Wine\\AppDefaults\\" + name) {}
    ~ProgramDefaults() { RegDeleteKeyW(HKEY_CURRENT_USER, m_key.c_str()); }
    ProgramDefaults(const ProgramDefaults&) = delete;
    ProgramDefaults& operator=(const ProgramDefaults&) = delete;

    bool SetVersion(const std::wstring& version) const
    {
        const auto size = static_cast<DWORD>((version.size() + 1) * sizeof(wchar_t));
        return RegSetKeyValueW(HKEY_CURRENT_USER, m_key.c_str(), L"Version", REG_SZ, version.c_str(), size) ==
               ERROR_SUCCESS;
    }

private:
    std::wstring m_key;
};

// Wine takes the version that it reports from its configuration, for one program if its base name has an entry there.
TEST(GetWindowsVersion, FollowsTheVersionThatWineIsConfiguredFor)
{
    if (g_SecManager.RunningUnderWine() == 0)
        GTEST_SKIP() << "the version of Windows cannot be chosen";
    struct Case
    {
        const wchar_t* configured;
        unsigned version;
    };
    // This program's manifest does not name Windows 10, so that the system admits to 6.2 at most.
    const Case cases[] = {{L"winxp64", 5}, {L"vista", 6}, {L"win7", 7}, {L"win8", 8}, {L"win81", 8}, {L"win10", 8}};
    wchar_t own[MAX_PATH]{};
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    const std::wstring name = FreshName(L"version") + L".exe";
    const TemporaryFolder folder;
    const std::wstring program = folder.PathOf(name);
    ASSERT_NE(FALSE, CopyFileW(own, program.c_str(), TRUE));
    const ProgramDefaults defaults(name);
    for (const Case& item : cases)
    {
        ASSERT_TRUE(defaults.SetVersion(item.configured));
        const ChildProcess child =
            ChildProcess::Start(program, L"\"" + program + L"\" --child-role TellWindowsVersion");
        EXPECT_EQ(item.version, child.WaitForExit()) << testing::PrintToString(item.configured);
    }
}

TEST(CProxySecManager, UsesThePrivateNamespaceFromWindowsSixOn)
{
    for (const SystemVersion& version :
         {SystemVersion{6, 0, 0}, c_windowsVista, c_windows7, c_windows8, SystemVersion{6, 3, 0}, c_windows10})
    {
        const NamespaceWorld world(NamespaceWorld::Entry::Own, version);
        EXPECT_TRUE(CProxySecManager().UsePrivateNamespace()) << version.major << '.' << version.minor;
    }
    for (const SystemVersion& version : {SystemVersion{5, 1, 3}, c_windowsXp64})
    {
        const ReportedVersion reported(version);
        ExportTable exports;
        exports.HideWine();
        CProxySecManager manager;
        EXPECT_FALSE(manager.UsePrivateNamespace());
        EXPECT_FALSE(manager.LoadVistaFunctions());
        EXPECT_EQ(0U, manager.RunningUnderWine());
        EXPECT_EQ(0U, manager.NamespaceCreatedHere());
    }
}

TEST(CProxySecManager, AttemptsNoNamespaceUnderWine)
{
    for (const SystemVersion& version : {c_windowsXp64, c_windowsVista, c_windows7, c_windows8, c_windows10})
    {
        const ReportedVersion reported(version);
        ExportTable exports;
        exports.Replace(
            "wine_get_version", +[] { return "8.0"; });
        LibraryWatch libraries;
        CProxySecManager manager;
        EXPECT_EQ(1U, manager.RunningUnderWine());
        EXPECT_FALSE(manager.LoadVistaFunctions());
        EXPECT_FALSE(manager.UsePrivateNamespace());
        EXPECT_EQ(0U, manager.NamespaceCreatedHere());
        EXPECT_THAT(libraries.TakeCalls(), ElementsAre(L"load Ntdll", L"load AdvAPI32", L"load Version"));
        for (const char* name : {"OpenPrivateNamespaceW", "CreatePrivateNamespaceW", "CreateBoundaryDescriptorW"})
            EXPECT_THAT(exports.Asked(), Not(Contains(name)));
    }
}

TEST(CProxySecManager, TracesWinesVersionAndBuild)
{
    const ReportedVersion reported(c_windows10);
    ExportTable exports;
    const TraceCapture trace;
    exports.Replace(
        "wine_get_version", +[] { return "7.11 (test)"; });
    exports.Replace(
        "wine_get_build_id", +[] { return "wine-7.11-1 %s"; });
    EXPECT_EQ(1U, CProxySecManager().RunningUnderWine());
    exports.Hide("wine_get_version");
    EXPECT_EQ(1U, CProxySecManager().RunningUnderWine());
    exports.Hide("wine_get_build_id");
    exports.Replace(
        "wine_get_version", +[] { return "7.11"; });
    EXPECT_EQ(1U, CProxySecManager().RunningUnderWine());
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::LoadStandardFunctions Wine Version 7.11 (test)\n",
                                           L"CProxySecManager::LoadStandardFunctions Wine Build Id wine-7.11-1 %s\n",
                                           L"CProxySecManager::LoadStandardFunctions Wine Build Id wine-7.11-1 %s\n",
                                           L"CProxySecManager::LoadStandardFunctions Wine Version 7.11\n"));
}

TEST(CProxySecManager, TakesASystemWithoutWinesExportsForWindows)
{
    const WindowsWithoutNamespaces world;
    const TraceCapture trace;
    EXPECT_EQ(0U, CProxySecManager().RunningUnderWine());
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxySecManager, AsksNtdllWhetherItIsWines)
{
    using TextFunction = const char*();
    const auto version = reinterpret_cast<TextFunction*>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version")));
    EXPECT_EQ(version != nullptr ? 1U : 0U, g_SecManager.RunningUnderWine());
    if (version == nullptr)
        GTEST_SKIP() << "this is Windows";
    const std::string text = version();
    const TraceCapture trace;
    const CProxySecManager manager;
    EXPECT_THAT(trace.Lines(), Contains(L"CProxySecManager::LoadStandardFunctions Wine Version " +
                                        std::wstring(text.begin(), text.end()) + L"\n"));
}

TEST(CProxySecManager, EnablesTheDebugPrivilegeBeforeItLoadsAnything)
{
    static std::vector<std::wstring> calls;
    calls.clear();
    const WindowsWithoutNamespaces world;
    const Redirect<decltype(LookupPrivilegeValueW)> lookup(
        "LookupPrivilegeValueW", [](const wchar_t* system, const wchar_t* name, LUID*) -> BOOL {
            EXPECT_EQ(nullptr, system);
            calls.emplace_back(name);
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    const Redirect<decltype(LoadLibraryW)> load("LoadLibraryW", [](const wchar_t* name) -> HMODULE {
        calls.emplace_back(name);
        return nullptr;
    });
    const CProxySecManager manager;
    EXPECT_THAT(calls, ElementsAre(L"SeDebugPrivilege", L"Ntdll", L"AdvAPI32", L"Version"))
        << "without the privilege it goes on";
}

TEST(CProxySecManager, LooksUpEntryPointsByTheirNames)
{
    ExportTable exports;
    exports.HideWine();
    const ReportedVersion reported(c_windowsXp64);
    const CProxySecManager manager;
    EXPECT_THAT(exports.Asked(), ElementsAre("NtQueryInformationProcess", "wine_get_version", "wine_get_build_id",
                                             "IsWellKnownSid", "LookupAccountSidW", "LookupAccountNameW",
                                             "VerQueryValueW", "GetFileVersionInfoSizeW", "GetFileVersionInfoW"));
}

TEST(CProxySecManager, LoadsItsLibrariesOnce)
{
    const WindowsWithoutNamespaces world;
    LibraryWatch libraries;
    const TraceCapture trace;
    {
        CProxySecManager manager;
        EXPECT_THAT(libraries.TakeCalls(), ElementsAre(L"load Ntdll", L"load AdvAPI32", L"load Version"));
        EXPECT_TRUE(manager.LoadStandardFunctions());
        EXPECT_TRUE(manager.LoadStandardFunctions());
        EXPECT_THAT(libraries.TakeCalls(), IsEmpty());
    }
    EXPECT_THAT(libraries.TakeCalls(), ElementsAre(L"free Ntdll", L"free AdvAPI32", L"free Version"));
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxySecManager, GivesUpAccountsWhenTheirEntryPointsAreMissing)
{
    for (const char* missing : {"IsWellKnownSid", "LookupAccountSidW"})
    {
        const ReportedVersion reported(c_windowsXp64);
        ExportTable exports;
        exports.HideWine();
        exports.Hide(missing);
        LibraryWatch libraries;
        {
            CProxySecManager manager;
            EXPECT_THAT(libraries.TakeCalls(), ElementsAre(L"load Ntdll", L"load AdvAPI32", L"load Version",
                                                           L"free Ntdll", L"free AdvAPI32"))
                << missing;
            EXPECT_TRUE(manager.LoadStandardFunctions()) << "Version is kept, so this is a repeated call";
            EXPECT_THAT(libraries.TakeCalls(), IsEmpty());
        }
        EXPECT_THAT(libraries.TakeCalls(), ElementsAre(L"free Version"));
    }
}

TEST(CProxySecManager, DoesWithoutTheOtherEntryPoints)
{
    for (const char* missing : {"NtQueryInformationProcess", "LookupAccountNameW", "VerQueryValueW",
                                "GetFileVersionInfoSizeW", "GetFileVersionInfoW"})
    {
        const ReportedVersion reported(c_windowsXp64);
        ExportTable exports;
        exports.HideWine();
        exports.Hide(missing);
        LibraryWatch libraries;
        {
            const CProxySecManager manager;
            EXPECT_THAT(libraries.TakeCalls(), SizeIs(3)) << missing;
        }
        EXPECT_THAT(libraries.TakeCalls(), SizeIs(3)) << missing;
    }
}

TEST(CProxySecManager, DoesWithoutEachLibrary)
{
    struct Case
    {
        const wchar_t* missing;
        std::vector<std::wstring> made;
        std::vector<std::wstring> gone;
    };
    const std::vector<std::wstring> loads{L"load Ntdll", L"load AdvAPI32", L"load Version"};
    const Case cases[] = {
        {L"Ntdll", {}, {L"free AdvAPI32", L"free Version"}},
        {L"AdvAPI32", {L"free Ntdll"}, {L"free Version"}},
        {L"Version", {}, {L"free Ntdll", L"free AdvAPI32"}},
    };
    for (const Case& item : cases)
    {
        const WindowsWithoutNamespaces world;
        LibraryWatch libraries({item.missing});
        const TraceCapture trace;
        {
            const CProxySecManager manager;
            std::vector<std::wstring> made = loads;
            made.insert(made.end(), item.made.begin(), item.made.end());
            EXPECT_THAT(libraries.TakeCalls(), ElementsAreArray(made));
            EXPECT_EQ(0U, manager.RunningUnderWine());
        }
        EXPECT_THAT(libraries.TakeCalls(), ElementsAreArray(item.gone));
        EXPECT_THAT(trace.Lines(), IsEmpty());
    }
}

TEST(CProxySecManager, SaysWhetherAccountsCanBeLookedUp)
{
    const WindowsWithoutNamespaces world;
    LibraryWatch libraries({L"Ntdll", L"AdvAPI32", L"Version"});
    CProxySecManager manager;
    EXPECT_THAT(libraries.TakeCalls(), SizeIs(3));
    EXPECT_FALSE(manager.LoadStandardFunctions()) << "nothing was loaded, so this is no repeated call";
    EXPECT_THAT(libraries.TakeCalls(), ElementsAre(L"load Ntdll", L"load AdvAPI32", L"load Version"));
}

TEST(CProxySecManager, FindsLaterWhatWasMissing)
{
    const WindowsWithoutNamespaces world;
    std::optional<LibraryWatch> libraries(std::in_place,
                                          std::vector<std::wstring>{L"Ntdll", L"AdvAPI32", L"Version"});
    CProxySecManager manager;
    libraries.reset();
    EXPECT_TRUE(manager.LoadStandardFunctions());
}

TEST(CProxySecManager, LeavesNoHandleBehind)
{
    {
        const WindowsWithoutNamespaces world;
        // The first leaves open whatever the system opens once for all.
        std::optional<CProxySecManager> manager(std::in_place);
        manager.reset();
        const unsigned before = OpenHandleCount();
        manager.emplace();
        manager.reset();
        EXPECT_EQ(before, OpenHandleCount());
    }
    const NamespaceWorld world;
    const unsigned before = OpenHandleCount();
    {
        const CProxySecManager manager;
        EXPECT_EQ(before + 1, OpenHandleCount()) << "the namespace";
        EXPECT_EQ(1U, world.OpenBoundaries());
    }
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_EQ(0U, world.OpenBoundaries());
    EXPECT_TRUE(HeapIsConsistent());
}
