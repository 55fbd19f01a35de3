#include "OrvProfiler/foundation/Path.h"

#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <io.h>
#include <wchar.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// What a network library answers, the drives that a system has, and real folders below the temporary one.

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// The drives of a system and what its network library says of them. A CNetDrives made while it lives believes in it.
// Nothing in the stand-ins allocates: the heap may be watched.
class MappedDrives
{
public:
    explicit MappedDrives(std::map<wchar_t, std::wstring> connections, const std::wstring& localLetters = L"C")
        : m_connections(std::move(connections)), m_drives("GetLogicalDrives", AnswerDrives),
          m_load("LoadLibraryW", Load), m_free("FreeLibrary", Free), m_lookUp("GetProcAddress", LookUp)
    {
        s_self = this;
        for (const auto& connection : m_connections)
            m_mask |= Bit(connection.first);
        for (const wchar_t letter : localLetters)
            m_mask |= Bit(letter);
    }
    ~MappedDrives() { s_self = nullptr; }
    MappedDrives(const MappedDrives&) = delete;
    MappedDrives& operator=(const MappedDrives&) = delete;

    void SetMask(DWORD mask) { m_mask = mask; }
    void HideLibrary() { m_libraryMissing = true; }
    void HideExport() { m_exportMissing = true; }
    // From the given call on (0 is the first), the drive is connected, or no longer.
    void Connect(wchar_t letter, unsigned call) { m_connectedFrom[letter] = call; }
    void Disconnect(wchar_t letter, unsigned call) { m_connectedUntil[letter] = call; }

    unsigned Calls() const { return m_calls; }
    unsigned Loads() const { return m_loads; }
    unsigned Frees() const { return m_frees; }
    bool AskedAsExpected() const { return m_askedAsExpected; }

private:
    static DWORD Bit(wchar_t letter) { return 1U << (letter - L'A'); }
    static DWORD WINAPI AnswerDrives() { return s_self->m_mask; }
    static HMODULE WINAPI Load(const wchar_t* name)
    {
        if (wcscmp(name, L"MPR.DLL") != 0)
            return s_self->m_load.Real()(name);
        ++s_self->m_loads;
        return s_self->m_libraryMissing ? nullptr : GetModuleHandleW(L"kernel32");
    }
    static BOOL WINAPI Free(HMODULE module)
    {
        if (module != GetModuleHandleW(L"kernel32"))
            return s_self->m_free.Real()(module);
        ++s_self->m_frees;
        return TRUE;
    }
    static FARPROC WINAPI LookUp(HMODULE module, const char* name)
    {
        if (std::strcmp(name, "WNetGetConnectionW") != 0)
            return s_self->m_lookUp.Real()(module, name);
        return s_self->m_exportMissing ? nullptr
                                       : reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(GetConnection));
    }
    bool IsConnected(wchar_t letter) const
    {
        const auto from = m_connectedFrom.find(letter);
        const auto until = m_connectedUntil.find(letter);
        return m_connections.count(letter) != 0 && (from == m_connectedFrom.end() || m_calls >= from->second) &&
               (until == m_connectedUntil.end() || m_calls < until->second);
    }
    static DWORD WINAPI GetConnection(const wchar_t* drive, wchar_t* remoteName, DWORD* units)
    {
        MappedDrives& self = *s_self;
        if (wcslen(drive) != 2 || drive[1] != L':' || *units != 260)
            self.m_askedAsExpected = false;
        const bool connected = self.IsConnected(drive[0]);
        ++self.m_calls;
        if (!connected)
            return ERROR_NOT_CONNECTED;
        const std::wstring& remote = self.m_connections.find(drive[0])->second;
        if (remote.size() + 1 > *units)
            return ERROR_MORE_DATA;
        std::wmemcpy(remoteName, remote.c_str(), remote.size() + 1);
        return NO_ERROR;
    }

    static inline MappedDrives* s_self = nullptr;

    std::map<wchar_t, std::wstring> m_connections;
    std::map<wchar_t, unsigned> m_connectedFrom;
    std::map<wchar_t, unsigned> m_connectedUntil;
    DWORD m_mask = 0;
    bool m_libraryMissing = false;
    bool m_exportMissing = false;
    bool m_askedAsExpected = true;
    unsigned m_calls = 0;
    unsigned m_loads = 0;
    unsigned m_frees = 0;
    Redirect<decltype(GetLogicalDrives)> m_drives;
    Redirect<decltype(LoadLibraryW)> m_load;
    Redirect<decltype(FreeLibrary)> m_free;
    Redirect<decltype(GetProcAddress)> m_lookUp;
};

struct NetDrivesFields
{
    explicit NetDrivesFields(const CNetDrives& table)
    {
        static_assert(sizeof(NetDrivesFields) == 32 && sizeof(CNetDrives) == 32, "");
        std::memcpy(this, &table, sizeof *this);
    }

    uint32_t drives;
    uint32_t scanned;
    wchar_t** entries;
    uint32_t* lengths;
    uint32_t count;
    uint32_t padding;
};
} // namespace

TEST(CNetDrives, KeepsEachConnectedDriveWithItsRemoteName)
{
    const MappedDrives world({{L'X', L"\\\\srv\\share"}, {L'H', L"\\\\srv\\home"}}, L"AC");
    const CNetDrives drives;
    EXPECT_EQ(2U, drives.Count());
    EXPECT_STREQ(L"H:\\\\srv\\home", drives.Entry(0));
    EXPECT_STREQ(L"X:\\\\srv\\share", drives.Entry(1));
    EXPECT_EQ(nullptr, drives.Entry(2));
    EXPECT_EQ(nullptr, drives.Entry(0xFFFFFFFF));
    EXPECT_TRUE(world.AskedAsExpected());
    // Two passes over four drives.
    EXPECT_EQ(8U, world.Calls());
    EXPECT_EQ(1U, world.Loads());
    EXPECT_EQ(1U, world.Frees());
}

TEST(CNetDrives, LayoutIsFixed)
{
    MappedDrives world({{L'X', L"\\\\srv\\share"}});
    // Bits above the 26th are no drives.
    world.SetMask(0x84800004);
    const CNetDrives drives;
    const NetDrivesFields fields(drives);
    EXPECT_EQ(0x84800004U, fields.drives);
    EXPECT_EQ(0x00800004U, fields.scanned);
    EXPECT_STREQ(L"X:\\\\srv\\share", fields.entries[0]);
    EXPECT_EQ(11U, fields.lengths[0]);
    EXPECT_EQ(1U, fields.count);
}

TEST(CNetDrives, WithoutConnectionsNothingIsAllocated)
{
    const MappedDrives world({}, L"ACZ");
    const AllocationProbe heap;
    const CNetDrives drives;
    EXPECT_EQ(0U, drives.Count());
    EXPECT_EQ(nullptr, drives.Entry(0));
    const NetDrivesFields fields(drives);
    EXPECT_EQ(nullptr, fields.entries);
    EXPECT_EQ(nullptr, fields.lengths);
    EXPECT_EQ(0x02000005U, fields.scanned);
    EXPECT_EQ(3U, world.Calls());
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(CNetDrives, WithoutANetworkLibraryTheTableIsEmpty)
{
    MappedDrives world({{L'X', L"\\\\srv\\share"}});
    world.HideLibrary();
    const CNetDrives drives;
    EXPECT_EQ(0U, drives.Count());
    EXPECT_EQ(0U, NetDrivesFields(drives).scanned);
    EXPECT_EQ(0U, world.Calls());
    EXPECT_EQ(0U, world.Frees());
    EXPECT_EQ(nullptr, drives.ShareOf(L"X:\\a"));
}

TEST(CNetDrives, WithoutTheExportTheTableIsEmptyAndTheLibraryFreed)
{
    MappedDrives world({{L'X', L"\\\\srv\\share"}});
    world.HideExport();
    const CNetDrives drives;
    EXPECT_EQ(0U, drives.Count());
    EXPECT_EQ(0U, world.Calls());
    EXPECT_EQ(1U, world.Frees());
}

TEST(CNetDrives, AConnectionLostBetweenThePassesIsLeftOut)
{
    MappedDrives world({{L'X', L"\\\\srv\\x"}, {L'Y', L"\\\\srv\\y"}}, L"");
    world.Disconnect(L'X', 2);
    const CNetDrives drives;
    EXPECT_EQ(1U, drives.Count());
    EXPECT_STREQ(L"Y:\\\\srv\\y", drives.Entry(0));
}

TEST(CNetDrives, AConnectionMadeBetweenThePassesFindsNoRoom)
{
    MappedDrives world({{L'W', L"\\\\srv\\w"}, {L'X', L"\\\\srv\\x"}, {L'Y', L"\\\\srv\\y"}}, L"");
    world.Connect(L'W', 3);
    const CNetDrives drives;
    EXPECT_EQ(2U, drives.Count());
    EXPECT_STREQ(L"W:\\\\srv\\w", drives.Entry(0));
    EXPECT_STREQ(L"X:\\\\srv\\x", drives.Entry(1));
    EXPECT_TRUE(HeapIsConsistent());
}

TEST(CNetDrives, RemoteNamesHaveAtMost259Units)
{
    const std::wstring longest = L"\\\\" + std::wstring(257, L's');
    const MappedDrives world({{L'X', longest}, {L'Y', longest + L"s"}}, L"");
    const CNetDrives drives;
    ASSERT_EQ(1U, drives.Count());
    EXPECT_EQ(L"X:" + longest, drives.Entry(0));
    EXPECT_TRUE(HeapIsConsistent());
}

TEST(CNetDrives, EveryLetterMayBeConnected)
{
    std::map<wchar_t, std::wstring> connections;
    for (wchar_t letter = L'A'; letter <= L'Z'; ++letter)
        connections[letter] = std::wstring(L"\\\\srv\\") + letter;
    const MappedDrives world(connections, L"");
    const CNetDrives drives;
    EXPECT_EQ(26U, drives.Count());
    EXPECT_STREQ(L"A:\\\\srv\\A", drives.Entry(0));
    EXPECT_STREQ(L"Z:\\\\srv\\Z", drives.Entry(25));
    EXPECT_STREQ(L"\\\\srv\\Q", drives.ShareOf(L"q:"));
}

TEST(CNetDrives, DestructionFreesEverything)
{
    const MappedDrives world({{L'X', L"\\\\srv\\x"}, {L'Y', L"\\\\srv\\y"}}, L"");
    const AllocationProbe heap;
    std::optional<CNetDrives> drives(std::in_place);
    EXPECT_EQ(4U, heap.LiveBlocks());
    drives.reset();
    EXPECT_EQ(0U, heap.LiveBlocks());
}

TEST(CNetDrives, AllocationFailuresLeaveAShorterTable)
{
    const MappedDrives world({{L'X', L"\\\\srv\\x"}, {L'Y', L"\\\\srv\\y"}}, L"");
    // The entry array, the length array, the two entries.
    const uint32_t counts[] = {0, 0, 1, 1};
    for (unsigned n = 1; n <= 4; ++n)
    {
        AllocationProbe heap;
        heap.FailRequest(n);
        {
            const CNetDrives drives;
            EXPECT_TRUE(heap.HasFailed());
            EXPECT_EQ(counts[n - 1], drives.Count()) << n;
            EXPECT_EQ(nullptr, drives.Entry(counts[n - 1])) << n;
            EXPECT_STREQ(n == 3 ? L"Y:\\\\srv\\y" : n == 4 ? L"X:\\\\srv\\x" : nullptr, drives.Entry(0));
            EXPECT_EQ(nullptr, drives.ShareOf(n == 3 ? L"X:\\a" : L"Y:\\a"));
        }
        EXPECT_EQ(0U, heap.LiveBlocks());
    }
}

TEST(CNetDrives, FindsTheShareOfAPath)
{
    const MappedDrives world({{L'X', L"\\\\srv\\share"}, {L'Y', L"\\\\srv\\sharefiles"}});
    const CNetDrives drives;
    const PageEdge<wchar_t> page(L"");
    struct Case
    {
        const wchar_t* path;
        const wchar_t* share;
    };
    for (const Case& example : {
             Case{L"X:\\dir\\f", L"\\\\srv\\share"},
             {L"x:", L"\\\\srv\\share"},
             {L"Y:f", L"\\\\srv\\sharefiles"},
             {L"C:\\dir", nullptr},
             {L"Q:\\dir", nullptr},
             {L"\\\\srv\\share\\f", L"\\\\srv\\share"},
             {L"\\\\SRV\\Share", L"\\\\srv\\share"},
             // The first remote name that the path begins with, wherever the match ends.
             {L"\\\\srv\\sharefiles\\f", L"\\\\srv\\share"},
             {L"\\\\srv\\shar", nullptr},
             {L"\\\\other\\share", nullptr},
             {L"a\\\\srv\\share", nullptr},
             {L"dir\\f", nullptr},
             {L"X", nullptr},
             {L"", nullptr},
             {nullptr, nullptr},
             {page.Unreadable(), nullptr},
         })
        EXPECT_STREQ(example.share, drives.ShareOf(example.path));
}

TEST(CNetDrives, CutsTheDriveOrTheShareOffAPath)
{
    const MappedDrives world({{L'X', L"\\\\srv\\share"}});
    const CNetDrives drives;
    struct Case
    {
        const wchar_t* path;
        size_t skipped;
    };
    for (const Case& example : {
             Case{L"X:\\dir\\f", 2},
             {L"C:\\dir", 2},
             {L"Q:", 2},
             {L"\\\\srv\\share\\dir", 11},
             {L"\\\\SRV\\SHARE", 11},
             {L"\\\\srv\\sharefiles", 11},
             {L"\\\\other\\share", 0},
             {L"dir\\f", 0},
             {L"a\\f", 0},
             {L"X", 0},
             {L"", 0},
             {nullptr, 0},
         })
        EXPECT_EQ(example.path + example.skipped, drives.RestOfPath(example.path));
}

TEST(CNetDrives, OneFileByItsLetterAndByItsShareIsTheSame)
{
    const MappedDrives world({{L'X', L"\\\\srv\\share"}, {L'Y', L"\\\\srv\\other"}, {L'Z', L"\\\\SRV\\SHARE"}});
    const CNetDrives drives;
    const PageEdge<wchar_t> page(L"");
    struct Case
    {
        const wchar_t* left;
        const wchar_t* right;
        bool same;
    };
    for (const Case& example : {
             Case{L"X:\\dir\\f", L"\\\\srv\\share\\dir\\f", true},
             {L"X:\\dir\\f", L"\\\\SRV\\Share\\DIR\\F", true},
             {L"X:\\dir\\f", L"x:\\DIR\\f", true},
             {L"X:\\dir\\f", L"Z:\\dir\\f", true},
             {L"X:\\dir\\f", L"X:\\dir\\g", false},
             {L"X:\\dir\\f", L"Y:\\dir\\f", false},
             {L"X:\\dir\\f", L"\\\\srv\\other\\dir\\f", false},
             {L"C:\\dir\\f", L"c:\\DIR\\F", true},
             {L"C:\\dir\\f", L"X:\\dir\\f", false},
             {L"ab", L"AB", true},
             {L"X:", L"x:", true},
             // Too short to be looked up.
             {L"X:", L"Z:", false},
             {L"X:\\", L"Z:", false},
             {L"X:\\", L"Z:\\", true},
             {L"", L"", true},
             {L"", L"a", false},
             {nullptr, nullptr, true},
             {nullptr, L"", false},
             {L"X:\\a", nullptr, false},
             {page.Unreadable(), L"X:\\a", false},
         })
    {
        EXPECT_EQ(example.same, drives.SamePath(example.left, example.right));
        EXPECT_EQ(example.same, drives.SamePath(example.right, example.left));
    }
}

TEST(CNetDrives, WithoutNetworkDrivesWholeTextsAreCompared)
{
    const MappedDrives world({}, L"CX");
    const CNetDrives drives;
    EXPECT_EQ(nullptr, drives.ShareOf(L"C:\\a"));
    EXPECT_TRUE(drives.SamePath(L"C:\\Dir\\f", L"c:\\dir\\F"));
    EXPECT_FALSE(drives.SamePath(L"X:\\f", L"\\\\srv\\share\\f"));
    EXPECT_TRUE(drives.SamePath(L"ab", L"AB"));
}

TEST(CNetDrives, TheProcessHasOneFromItsStart)
{
    const NetDrivesFields atStart(g_NetDrives);
    const CNetDrives now;
    EXPECT_EQ(GetLogicalDrives(), atStart.drives);
    EXPECT_NE(0U, atStart.drives);
    EXPECT_EQ(atStart.drives & 0x03FFFFFFU, atStart.scanned);
    EXPECT_EQ(now.Count(), g_NetDrives.Count());
}

namespace
{
// The drive strings of a system and their device names; a name that is not there cannot be asked for.
// GetLongPathNameW answers <path> for a path, and fails for one with a question mark in it.
class DosDevices
{
public:
    using Devices = std::vector<std::pair<std::wstring, std::wstring>>;

    explicit DosDevices(Devices devices)
        : m_devices(std::move(devices)), m_strings("GetLogicalDriveStringsW", DriveStrings),
          m_query("QueryDosDeviceW", Query), m_longPath("GetLongPathNameW", LongPath)
    {
        s_self = this;
        for (const auto& device : m_devices)
            m_driveStrings += device.first + L'\0';
    }
    ~DosDevices() { s_self = nullptr; }
    DosDevices(const DosDevices&) = delete;
    DosDevices& operator=(const DosDevices&) = delete;

    void FailDriveStrings(DWORD result) { m_driveStringsResult = result; }
    void RepairDriveStrings() { m_driveStringsResult.reset(); }
    unsigned DriveStringsCalls() const { return m_driveStringsCalls; }
    unsigned QueryCalls() const { return m_queryCalls; }

private:
    static DWORD WINAPI DriveStrings(DWORD units, wchar_t* buffer)
    {
        ++s_self->m_driveStringsCalls;
        if (s_self->m_driveStringsResult)
            return *s_self->m_driveStringsResult;
        if (units != 512)
            return 0;
        const std::wstring& all = s_self->m_driveStrings;
        std::wmemcpy(buffer, all.c_str(), all.size() + 1);
        return static_cast<DWORD>(all.size());
    }
    static DWORD WINAPI Query(const wchar_t* drive, wchar_t* buffer, DWORD units)
    {
        ++s_self->m_queryCalls;
        for (const auto& [driveString, name] : s_self->m_devices)
        {
            if (units != 1048 || driveString.compare(0, 2, drive) != 0 || name == L"?")
                continue;
            std::wmemcpy(buffer, name.c_str(), name.size() + 1);
            return static_cast<DWORD>(name.size() + 2);
        }
        return 0;
    }
    static DWORD WINAPI LongPath(const wchar_t* path, wchar_t* buffer, DWORD units)
    {
        const size_t length = wcslen(path) + 2;
        if (wcschr(path, L'?') != nullptr)
            return 0;
        if (length >= units)
            return static_cast<DWORD>(length + 1);
        wcscpy(buffer, L"<");
        wcscat(buffer, path);
        wcscat(buffer, L">");
        return static_cast<DWORD>(length);
    }

    static inline DosDevices* s_self = nullptr;

    Devices m_devices;
    std::wstring m_driveStrings;
    std::optional<DWORD> m_driveStringsResult;
    unsigned m_driveStringsCalls = 0;
    unsigned m_queryCalls = 0;
    Redirect<decltype(GetLogicalDriveStringsW)> m_strings;
    Redirect<decltype(QueryDosDeviceW)> m_query;
    Redirect<decltype(GetLongPathNameW)> m_longPath;
};

std::string Narrow(const std::wstring& text)
{
    std::string narrow;
    for (const wchar_t unit : text)
        narrow += static_cast<char>(unit);
    return narrow;
}

// What a child process expects; its text ends up with the failure.
void Require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error(what);
}

void RequireTranslation(const std::wstring& path, const std::wstring& expected)
{
    const std::wstring actual = DeviceToDrivePath(path.c_str());
    Require(actual == expected, Narrow(path + L" became " + actual + L" and not " + expected));
}

// The argument itself comes back.
void RequireUnchanged(const std::wstring& path)
{
    Require(DeviceToDrivePath(path.c_str()) == path.c_str(), Narrow(path + L" did not come back"));
}

const DosDevices::Devices& UsualDevices()
{
    static const DosDevices::Devices devices = {
        {L"A:\\", L"?"},
        {L"C:\\", L"\\Device\\HarddiskVolume2"},
        {L"D:\\", L"\\Device\\HarddiskVolume20"},
        {L"N:\\", L"\\Device\\Odd\\;N:123"},
        {L"S:\\", L"\\??\\C:\\work"},
        {L"X:\\", L"\\Device\\LanmanRedirector\\;X:0000000000012345\\srv\\share"},
        {L"Y:\\", L"\\Device\\Mup\\;LanmanRedirector\\;Y:0\\Srv2\\s$"},
        {L"Z:\\", L"\\Device\\;Z:\\srv3\\share"},
    };
    return devices;
}
} // namespace

// The drives are asked for once per process: such a test runs its body in a process of its own, as a child's role.
#define ORV_TEST_IN_OWN_PROCESS(suite, name)                                                                         \
    static void OwnProcess##suite##name();                                                                           \
    ORV_CHILD_ROLE(suite##name)                                                                                      \
    {                                                                                                                \
        OwnProcess##suite##name();                                                                                   \
        return 0;                                                                                                    \
    }                                                                                                                \
    TEST(suite, name)                                                                                                \
    {                                                                                                                \
        EXPECT_EQ(0U, ChildProcess::StartRole(L"" #suite #name).WaitForExit());                                      \
    }                                                                                                                \
    static void OwnProcess##suite##name()

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, FindsTheDriveOfADevice)
{
    const DosDevices world(UsualDevices());
    RequireTranslation(L"\\Device\\HarddiskVolume2\\dir\\a.exe", L"C:\\dir\\a.exe");
    RequireTranslation(L"\\DEVICE\\harddiskVOLUME2\\Dir", L"C:\\Dir");
    RequireTranslation(L"\\Device\\HarddiskVolume2\\", L"C:\\");
    RequireTranslation(L"\\Device\\HarddiskVolume2", L"C:\\");
    RequireTranslation(L"\\??\\C:\\work\\f", L"S:\\f");
    RequireTranslation(L"\\Device\\Odd\\;N:123\\f", L"N:\\f");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, TheLetterAloneIsNoLogonMarker)
{
    const DosDevices world(DosDevices::Devices{{L"O:\\", L"\\Device\\Even\\;Other\\b"}});
    RequireTranslation(L"\\Device\\Even\\;Other\\b\\f", L"O:\\f");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, TheFirstDriveWinsEvenInTheMiddleOfAName)
{
    const DosDevices world(UsualDevices());
    // D's device begins with C's; the unit behind the match is taken for the separator.
    RequireTranslation(L"\\Device\\HarddiskVolume20\\a", L"C:\\\\a");
    RequireTranslation(L"\\Device\\HarddiskVolume27", L"C:\\");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, TheOrderIsThatOfTheDriveStrings)
{
    const DosDevices world(
        DosDevices::Devices{{L"D:\\", L"\\Device\\HarddiskVolume20"}, {L"C:\\", L"\\Device\\HarddiskVolume2"}});
    RequireTranslation(L"\\Device\\HarddiskVolume20\\a", L"D:\\a");
    RequireTranslation(L"\\Device\\HarddiskVolume2\\a", L"C:\\a");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, FindsTheDriveOfAShare)
{
    const DosDevices world(UsualDevices());
    RequireTranslation(L"\\Device\\Mup\\srv\\share\\a.txt", L"X:\\a.txt");
    RequireTranslation(L"\\DEVICE\\MUP\\SRV\\SHARE\\a.txt", L"X:\\a.txt");
    RequireTranslation(L"\\\\srv\\share\\a.txt", L"X:\\a.txt");
    RequireTranslation(L"\\Device\\Mup\\srv2\\S$\\dir\\b", L"Y:\\dir\\b");
    RequireTranslation(L"\\\\srv3\\share", L"Z:\\");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, WithoutADriveThePathGetsItsLongForm)
{
    const DosDevices world(UsualDevices());
    RequireTranslation(L"\\Device\\Mup\\other\\share\\a.txt", L"<\\\\other\\share\\a.txt>");
    RequireTranslation(L"c:\\progra~1", L"<c:\\progra~1>");
    // A drive that the system cannot tell the device of is no drive.
    RequireTranslation(L"A:\\f", L"<A:\\f>");
    RequireTranslation(L"\\Device\\Mup", L"<\\Device\\Mup>");
    RequireTranslation(L"\\Device\\Mup\\", L"<\\\\>");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, WithoutALongFormThePathComesBack)
{
    const DosDevices world(UsualDevices());
    RequireUnchanged(L"\\Device\\Unknown\\?");
    RequireUnchanged(L"\\Device\\Mup\\other\\?");
    // The long form has to fit 260 units with its NUL: here it is two longer than the path.
    const std::wstring fits(257, L'f');
    RequireTranslation(fits, L"<" + fits + L">");
    RequireUnchanged(fits + L"f");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, TranslatesUpTo260Units)
{
    const DosDevices world(UsualDevices());
    const std::wstring device = L"\\Device\\HarddiskVolume2\\";
    const std::wstring name(260 - device.size(), L'n');
    RequireTranslation(device + name, L"C:\\" + name);
    RequireUnchanged(device + name + L"n");
    RequireUnchanged(device + std::wstring(5000, L'n'));
    const std::wstring network = L"\\Device\\Mup\\srv\\share\\";
    const std::wstring rest(260 - network.size(), L'r');
    RequireTranslation(network + rest, L"X:\\" + rest);
    RequireUnchanged(network + rest + L"r");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, ADrivePathTooLongForTheResultComesBack)
{
    const DosDevices world(DosDevices::Devices{{L"C:\\", L"\\"}});
    RequireTranslation(L"\\" + std::wstring(258, L'n'), L"C:\\" + std::wstring(257, L'n'));
    RequireUnchanged(L"\\" + std::wstring(259, L'n'));
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, EmptyAndUnreadablePathsComeBack)
{
    const DosDevices world(UsualDevices());
    const PageEdge<wchar_t> page(L"\\Device\\HarddiskVolume2");
    Require(DeviceToDrivePath(nullptr) == nullptr, "null changed");
    RequireUnchanged(L"");
    Require(DeviceToDrivePath(page.Unreadable()) == page.Unreadable(), "an unreadable path changed");
    RequireTranslation(page.Text(), L"C:\\");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, AsksForTheDrivesOnceAndReusesItsBuffer)
{
    const DosDevices world(UsualDevices());
    const wchar_t* const first = DeviceToDrivePath(L"\\Device\\HarddiskVolume2\\one");
    const wchar_t* const second = DeviceToDrivePath(L"\\Device\\HarddiskVolume2\\two");
    Require(first == second, "two buffers");
    RequireTranslation(second, L"<C:\\two>");
    Require(world.DriveStringsCalls() == 1, "the drives were asked for again");
    Require(world.QueryCalls() == 8, "a device was asked for again");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, WithoutDriveStringsThereAreNoDrivesUntilTheyAreThere)
{
    DosDevices world(UsualDevices());
    for (const DWORD result : {0U, 513U, 0xFFFFFFFFU})
    {
        world.FailDriveStrings(result);
        RequireTranslation(L"\\Device\\HarddiskVolume2\\a", L"<\\Device\\HarddiskVolume2\\a>");
    }
    world.RepairDriveStrings();
    RequireTranslation(L"\\Device\\HarddiskVolume2\\a", L"C:\\a");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, ADriveWithoutADeviceNameIsLeftOut)
{
    const DosDevices world(
        DosDevices::Devices{{L"A:\\", L""}, {L"B:\\", L"?"}, {L"C:\\", L"\\Device\\HarddiskVolume2"}});
    RequireTranslation(L"\\Device\\HarddiskVolume2\\a", L"C:\\a");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, AFailedAllocationLeavesNoHalfTable)
{
    DosDevices world(UsualDevices());
    const std::wstring path = L"\\Device\\Mup\\srv2\\s$\\f";
    // The tables themselves are made by the first call.
    world.FailDriveStrings(0);
    DeviceToDrivePath(path.c_str());
    world.RepairDriveStrings();
    AllocationProbe heap;
    unsigned failures = 0;
    for (unsigned n = 1;; ++n)
    {
        Require(n < 200, "the allocations never end");
        heap.FailRequest(n);
        const size_t before = heap.LiveBlocks();
        const wchar_t* const result = DeviceToDrivePath(path.c_str());
        const bool translated = wcscmp(result, L"Y:\\f") == 0;
        heap.StopFailing();
        if (translated)
            break;
        ++failures;
        Require(wcscmp(result, L"<\\\\srv2\\s$\\f>") == 0, "neither translated nor the long form");
        const bool nothingStayed = heap.LiveBlocks() == before;
        Require(nothingStayed, "a half table stayed");
    }
    // Three arrays, and for each of seven drives three elements and two texts.
    Require(failures == 3 + 7 * 5, "allocations not covered: " + std::to_string(failures));
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, KnowsTheSystemsOwnDrives)
{
    wchar_t device[1048]{};
    Require(QueryDosDeviceW(L"C:", device, 1048) != 0, "drive C has no device");
    RequireTranslation(std::wstring(device) + L"\\windows\\system32\\kernel32.dll",
                       L"C:\\windows\\system32\\kernel32.dll");
    wchar_t windows[MAX_PATH]{};
    GetWindowsDirectoryW(windows, MAX_PATH);
    wchar_t shortForm[MAX_PATH]{};
    Require(GetShortPathNameW(windows, shortForm, MAX_PATH) != 0, "the system folder has no short form");
    wchar_t longForm[MAX_PATH]{};
    Require(GetLongPathNameW(shortForm, longForm, MAX_PATH) != 0, "the system folder has no long form");
    RequireTranslation(shortForm, longForm);
    RequireUnchanged(L"C:\\no such folder\\at all");
}

namespace
{
std::vector<std::wstring> Components(const CPath& path)
{
    std::vector<std::wstring> components;
    for (size_t i = 0; i < path.GetComponentCount(); ++i)
        components.emplace_back(path.Component(i));
    return components;
}

CPath Parsed(const wchar_t* text)
{
    CPath path;
    EXPECT_TRUE(path.Parse(text));
    return path;
}

// Where the process was, to come back at the end.
class CurrentDirectory
{
public:
    CurrentDirectory() { GetCurrentDirectoryW(MAX_PATH, m_path); }
    ~CurrentDirectory() { SetCurrentDirectoryW(m_path); }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

private:
    wchar_t m_path[MAX_PATH]{};
};
} // namespace

TEST(CPath, NewPathIsCleared)
{
    const CPath path;
    EXPECT_EQ(3U, path.GetKind());
    EXPECT_EQ(0U, path.GetComponentCount());
    EXPECT_STREQ(L"", path.GetFileName());
    EXPECT_STREQ(L"", path.GetText());
    EXPECT_FALSE(path.HasFileName());
    const FileAttributeData zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &path.GetAttributeData(), sizeof zero));
}

TEST(CPath, FieldsAreInTheirOrder)
{
    CPath path;
    path.Parse(L"C:\\Dir\\a.txt");
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&path);
    uint32_t kind = 9;
    std::memcpy(&kind, bytes, sizeof kind);
    EXPECT_EQ(0U, kind);
    const size_t texts = 8 + sizeof(std::vector<TString>);
    EXPECT_EQ(&path.GetFileName(), reinterpret_cast<const TString*>(bytes + texts));
    EXPECT_EQ(&path.GetText(), reinterpret_cast<const TString*>(bytes + texts + 16));
    EXPECT_EQ(&path.GetGivenText(), reinterpret_cast<const TString*>(bytes + texts + 32));
    EXPECT_EQ(&path.GetAttributeData(), reinterpret_cast<const FileAttributeData*>(bytes + texts + 48));
    static_assert(sizeof(FileAttributeData) == 36, "");
}

TEST(CPath, ParsesTexts)
{
    struct Case
    {
        const wchar_t* given;
        uint32_t kind;
        std::vector<std::wstring> components;
        const wchar_t* fileName;
        const wchar_t* text;
    };
    for (const Case& example : std::vector<Case>{
             // Drive paths.
             {L"C:\\Dir\\Sub", 0, {L"c:", L"dir", L"sub"}, L"", L"c:\\dir\\sub"},
             {L"C:\\Dir\\A.TXT", 0, {L"c:", L"dir", L"a.txt"}, L"a.txt", L"c:\\dir\\a.txt"},
             {L"c:\\a.tar.gz", 0, {L"c:", L"a.tar.gz"}, L"a.tar.gz", L"c:\\a.tar.gz"},
             {L"c:\\dir.d\\", 0, {L"c:", L"dir.d"}, L"", L"c:\\dir.d"},
             {L"c:\\dir.d\\.", 0, {L"c:", L"dir.d"}, L"", L"c:\\dir.d"},
             {L"c:\\dir.d\\x\\..", 0, {L"c:", L"dir.d"}, L"", L"c:\\dir.d"},
             {L"c:\\.hidden", 0, {L"c:", L".hidden"}, L"", L"c:\\.hidden"},
             {L"c:\\ends.", 0, {L"c:", L"ends."}, L"", L"c:\\ends."},
             {L"c:", 0, {L"c:"}, L"", L"c:"},
             {L"c:\\", 0, {L"c:"}, L"", L"c:\\"},
             {L"c:\\\\\\", 0, {L"c:"}, L"", L"c:\\"},
             {L"c:\\.", 0, {L"c:"}, L"", L"c:\\"},
             {L"c:a.txt", 0, {L"c:a.txt"}, L"", L"c:a.txt"},
             {L"c:\\a\\.\\b", 0, {L"c:", L"a", L"b"}, L"", L"c:\\a\\b"},
             {L"c:\\a\\..\\b", 0, {L"c:", L"b"}, L"", L"c:\\b"},
             {L"c:\\a\\b\\..\\..\\c", 0, {L"c:", L"c"}, L"", L"c:\\c"},
             {L"c:\\..\\..\\a", 0, {L"c:", L"a"}, L"", L"c:\\a"},
             {L"c:\\a\\..", 0, {L"c:"}, L"", L"c:\\"},
             {L"c:\\a\\...\\b", 0, {L"c:", L"a", L"...", L"b"}, L"", L"c:\\a\\...\\b"},
             {L"c:\\\\a\\\\\\b\\\\", 0, {L"c:", L"a", L"b"}, L"", L"c:\\a\\b"},
             {L"c:/Dir/a.txt", 0, {L"c:", L"dir", L"a.txt"}, L"a.txt", L"c:\\dir\\a.txt"},
             {L"\\c:\\a", 0, {L"c:", L"a"}, L"", L"c:\\a"},
             {L"\\\\?\\C:\\Dir", 0, {L"c:", L"dir"}, L"", L"c:\\dir"},
             // Network paths.
             {L"\\\\Srv\\Share", 1, {L"srv", L"share"}, L"", L"\\\\srv\\share"},
             {L"\\\\srv.net\\share.d", 1, {L"srv.net", L"share.d"}, L"", L"\\\\srv.net\\share.d"},
             {L"\\\\srv\\share\\a.txt", 1, {L"srv", L"share", L"a.txt"}, L"a.txt", L"\\\\srv\\share\\a.txt"},
             {L"\\\\srv\\share\\a\\", 1, {L"srv", L"share", L"a"}, L"", L"\\\\srv\\share\\a"},
             {L"\\\\srv\\\\share\\.\\a", 1, {L"srv", L"share", L"a"}, L"", L"\\\\srv\\share\\a"},
             {L"\\\\srv\\share\\a\\..", 1, {L"srv", L"share", L"a", L".."}, L"", L"\\\\srv\\share\\a\\.."},
             {L"//srv/share", 1, {L"srv", L"share"}, L"", L"\\\\srv\\share"},
             {L"\\\\?\\UNC\\srv\\share", 1, {L"srv", L"share"}, L"", L"\\\\srv\\share"},
             {L"\\\\?\\unc\\srv", 1, {L"srv"}, L"", L"\\\\srv"},
             {L"\\\\.\\pipe\\x", 1, {L".", L"pipe", L"x"}, L"", L"\\\\.\\pipe\\x"},
             {L"\\\\srv\\share\\f:stream", 1, {L"srv", L"share", L"f:stream"}, L"", L"\\\\srv\\share\\f:stream"},
             {L"\\\\", 1, {}, L"", L"\\\\"},
             {L"\\\\\\", 1, {}, L"", L"\\\\"},
             // Relative paths.
             {L".", 2, {}, L"", L"."},
             {L".\\", 2, {}, L"", L"."},
             {L".\\.\\.", 2, {}, L"", L"."},
             {L".\\a.txt", 2, {L"a.txt"}, L"a.txt", L"a.txt"},
             {L"Dir\\Sub", 2, {L"dir", L"sub"}, L"", L"dir\\sub"},
             {L"dir\\", 2, {L"dir"}, L"", L"dir"},
             {L"..\\a", 2, {L"..", L"a"}, L"", L"..\\a"},
             {L"..\\", 2, {L".."}, L"", L".."},
             {L"a\\..\\b", 2, {L"a", L"..", L"b"}, L"", L"a\\..\\b"},
             {L"\\dir\\f.c", 2, {L"", L"dir", L"f.c"}, L"f.c", L"\\dir\\f.c"},
             {L"\\", 2, {L""}, L"", L"\\"},
             {L"/", 2, {L""}, L"", L"\\"},
             // Bare names and nothing.
             {L"Name", 3, {}, L"name", L"name"},
             {L"A.TXT", 3, {}, L"a.txt", L"a.txt"},
             {L"..", 3, {}, L"..", L".."},
             {L" ", 3, {}, L" ", L" "},
             {L"", 3, {}, L"", L""},
             {L"\\\\?\\", 3, {}, L"", L""},
             {nullptr, 3, {}, L"", L""},
         })
    {
        SCOPED_TRACE(example.given != nullptr ? example.given : L"(null)");
        const CPath path = Parsed(example.given);
        EXPECT_EQ(example.kind, path.GetKind());
        EXPECT_EQ(example.components, Components(path));
        EXPECT_STREQ(example.fileName, path.GetFileName());
        EXPECT_EQ(*example.fileName != L'\0', path.HasFileName());
        EXPECT_STREQ(example.text, path.GetText());
        EXPECT_STREQ(example.given != nullptr ? example.given : L"", path.GetGivenText());
        // What a path reads as is that path.
        const CPath again = Parsed(path.GetText());
        EXPECT_STREQ(example.text, again.GetText());
        // Only a relative path of one component reads as a bare name.
        const bool readsAsName =
            wcschr(example.text, L'\\') == nullptr && example.components.size() == 1 && path.GetKind() == 2;
        EXPECT_EQ(readsAsName ? 3U : example.kind, again.GetKind());
        EXPECT_EQ(!readsAsName, again.Equals(path));
    }
}

TEST(CPath, LowersOnlyAsciiLetters)
{
    EXPECT_STREQ(L"c:\\\x00C4z", Parsed(L"C:\\\x00C4Z").GetText());
}

TEST(CPath, ParsesItsOwnTextsAgain)
{
    CPath path = Parsed(L"C:\\Dir\\Name.txt");
    EXPECT_TRUE(path.Parse(path.GetGivenText()));
    EXPECT_STREQ(L"c:\\dir\\name.txt", path.GetText());
    EXPECT_TRUE(path.Parse(path.GetFileName()));
    EXPECT_STREQ(L"name.txt", path.GetText());
    EXPECT_EQ(3U, path.GetKind());
    EXPECT_EQ(0U, path.GetComponentCount());
}

TEST(CPath, ParsesTextsOfAnyLength)
{
    std::wstring text = L"c:";
    std::vector<std::wstring> components = {L"c:"};
    for (int i = 0; i < 1000; ++i)
    {
        components.push_back(L"folder" + std::to_wstring(i));
        text += L"\\" + components.back();
    }
    const CPath path = Parsed(text.c_str());
    EXPECT_EQ(components, Components(path));
    EXPECT_EQ(text, path.GetText().GetBuffer());
}

TEST(CPath, ClearForgetsEverything)
{
    const TemporaryFolder folder;
    CPath path = Parsed(folder.MakeFile(L"a.txt", 5).c_str());
    ASSERT_TRUE(path.Attributes());
    path.Clear();
    EXPECT_EQ(3U, path.GetKind());
    EXPECT_EQ(0U, path.GetComponentCount());
    EXPECT_FALSE(path.HasFileName());
    EXPECT_STREQ(L"", path.GetText());
    EXPECT_STREQ(L"", path.GetGivenText());
    const FileAttributeData zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &path.GetAttributeData(), sizeof zero));
    EXPECT_FALSE(path.Attributes());
}

TEST(CPath, ParsingWithoutMemoryClearsThePath)
{
    struct Case
    {
        std::wstring text;
        std::wstring result;
        std::wstring fileName;
    };
    const std::wstring longName(400, L'n');
    for (const auto& [text, result, fileName] : {
             Case{L"\\\\?\\UNC\\srv\\share\\new.txt", L"\\\\srv\\share\\new.txt", L"new.txt"},
             Case{L"\\dir\\new.txt", L"\\dir\\new.txt", L"new.txt"},
             Case{L"\\\\?\\name", L"name", L"name"},
             Case{longName, longName, longName},
             Case{L"\\\\?\\UNC\\srv\\share\\" + longName + L".txt", L"\\\\srv\\share\\" + longName + L".txt",
                  longName + L".txt"},
         })
    {
        unsigned refused = 0;
        for (unsigned n = 1;; ++n)
        {
            ASSERT_LT(n, 200U);
            CPath path = Parsed(L"c:\\a.txt");
            AllocationProbe heap;
            heap.FailRequest(n);
            const bool parsed = path.Parse(text.c_str());
            heap.StopFailing();
            refused += parsed ? 0 : 1;
            // What could not grow is without a buffer, which is empty too.
            EXPECT_EQ(!parsed, path.GetText().IsEmpty()) << n;
            EXPECT_EQ(!parsed, path.GetFileName().IsEmpty()) << n;
            if (parsed)
            {
                EXPECT_STREQ(result.c_str(), path.GetText()) << n;
                EXPECT_STREQ(fileName.c_str(), path.GetFileName()) << n;
            }
            EXPECT_EQ(parsed || path.GetComponentCount() == 0, true) << n;
            if (!heap.HasFailed())
                break;
        }
        // Where one string failed, another try may have succeeded; a list has only one.
        EXPECT_TRUE(refused > 0 || result == L"name");
    }
    EXPECT_TRUE(HeapIsConsistent());
}

TEST(CPath, APartWithoutMemoryClearsThePath)
{
    // The list of components has room for the parts and one more; what follows it are their copies.
    constexpr size_t listBytes = 3 * sizeof(TString);
    std::vector<size_t> requests;
    {
        CPath path;
        const AllocationProbe heap;
        path.Parse(L"c:\\dir");
        requests = heap.Requests();
    }
    const auto list = std::find(requests.begin(), requests.end(), listBytes);
    ASSERT_NE(requests.end(), list);
    for (auto request = list + 1; request != requests.end(); ++request)
    {
        CPath path;
        AllocationProbe heap;
        heap.FailFrom(static_cast<unsigned>(request - requests.begin()) + 1);
        const bool parsed = path.Parse(L"c:\\dir");
        heap.StopFailing();
        EXPECT_TRUE(heap.HasFailed());
        EXPECT_FALSE(parsed);
        EXPECT_EQ(0U, path.GetComponentCount());
        EXPECT_STREQ(L"", path.GetText());
    }
}

TEST(CPath, AppendingWithoutMemoryClearsThePath)
{
    CPath path = Parsed(L"c:\\dir");
    AllocationProbe heap;
    heap.FailFrom(1);
    const bool appended = path.Append(L"sub");
    heap.StopFailing();
    EXPECT_FALSE(appended);
    EXPECT_STREQ(L"", path.GetText());
    EXPECT_EQ(0U, path.GetComponentCount());
}

TEST(CPath, JoinsItsComponents)
{
    EXPECT_STREQ(L"c:\\a\\b.txt", Parsed(L"c:\\a\\b.txt").Join());
    EXPECT_STREQ(L"\\\\srv\\share", Parsed(L"\\\\srv\\share\\").Join());
    EXPECT_STREQ(L"a\\b", Parsed(L"a\\b").Join());
    EXPECT_STREQ(L"\\a", Parsed(L"\\a").Join());
    EXPECT_STREQ(L"c:", Parsed(L"c:\\").Join());
    EXPECT_STREQ(L"", Parsed(L".").Join());
    EXPECT_STREQ(L"", Parsed(L"name").Join());
    EXPECT_STREQ(L"", CPath().Join());
}

TEST(CPath, AppendsNamesAndPaths)
{
    struct Case
    {
        const wchar_t* path;
        const wchar_t* name;
        uint32_t kind;
        const wchar_t* fileName;
        const wchar_t* text;
    };
    for (const Case& example : {
             Case{L"c:\\dir", L"Sub", 0, L"", L"c:\\dir\\sub"},
             {L"c:\\dir", L"a.txt", 0, L"a.txt", L"c:\\dir\\a.txt"},
             {L"c:\\dir\\", L"\\sub\\", 0, L"", L"c:\\dir\\sub"},
             {L"c:\\", L"sub", 0, L"", L"c:\\sub"},
             {L"c:", L"sub", 0, L"", L"c:\\sub"},
             {L"c:\\dir", L"..", 0, L"", L"c:\\"},
             {L"c:\\dir", L"..\\x\\y", 0, L"", L"c:\\x\\y"},
             {L"c:\\dir", L"", 0, L"", L"c:\\dir"},
             {L"c:\\dir\\a.txt", L"b", 0, L"", L"c:\\dir\\a.txt\\b"},
             {L"\\\\srv\\share", L"f.c", 1, L"f.c", L"\\\\srv\\share\\f.c"},
             {L"dir", L"a", 2, L"", L"dir\\a"},
             {L".", L"a", 2, L"", L"a"},
             {L"\\", L"a", 2, L"", L"\\a"},
             {L"..\\x", L"..", 2, L"", L"..\\x\\.."},
             {L"", L"a.txt", 3, L"a.txt", L"a.txt"},
             {L"", L"c:\\a", 0, L"", L"c:\\a"},
             {L"", L"", 3, L"", L""},
         })
    {
        SCOPED_TRACE(std::wstring(example.path) + L" and " + example.name);
        CPath byName = Parsed(example.path);
        EXPECT_TRUE(byName.Append(example.name));
        EXPECT_EQ(example.kind, byName.GetKind());
        EXPECT_STREQ(example.fileName, byName.GetFileName());
        EXPECT_STREQ(example.text, byName.GetText());
    }
    CPath path = Parsed(L"c:\\dir");
    EXPECT_TRUE(path.Append(Parsed(L"Sub\\.\\deep")));
    EXPECT_STREQ(L"c:\\dir\\sub\\deep", path.GetText());
    EXPECT_TRUE(path.Append(static_cast<const wchar_t*>(nullptr)));
    EXPECT_STREQ(L"c:\\dir\\sub\\deep", path.GetText());
    CPath twice = Parsed(L"a\\b");
    EXPECT_TRUE(twice.Append(twice));
    EXPECT_STREQ(L"a\\b\\a\\b", twice.GetText());
}

TEST(CPath, EqualPathsHaveEqualComponents)
{
    struct Case
    {
        const wchar_t* left;
        const wchar_t* right;
        bool equal;
    };
    for (const Case& example : {
             Case{L"C:\\Dir\\f.txt", L"c:/dir//F.TXT", true},
             {L"c:\\a\\x\\..\\b", L"c:\\a\\b", true},
             {L"c:\\", L"c:", true},
             {L"c:\\a", L"c:\\a\\b", false},
             {L"c:\\a.txt", L"c:\\b.txt", false},
             {L"c:\\a", L"d:\\a", false},
             {L"\\\\srv\\share", L"\\\\SRV\\share\\", true},
             {L"name", L"name", true},
             {L"Name", L"nAME", true},
             {L"name", L"other", false},
             {L"\x00C4", L"\x00E4", false},
             {L"name", L"c:\\name", false},
             {L"name", L".\\name", false},
             {L"", L"", true},
             {L"", L"name", false},
             {L"", L"c:", false},
             {L".", L"", true},
         })
    {
        SCOPED_TRACE(std::wstring(example.left) + L" and " + example.right);
        EXPECT_EQ(example.equal, Parsed(example.left).Equals(Parsed(example.right)));
        EXPECT_EQ(example.equal, Parsed(example.right).Equals(Parsed(example.left)));
    }
}

TEST(CPath, APathIsWithinWhatItBeginsWith)
{
    struct Case
    {
        const wchar_t* path;
        const wchar_t* other;
        bool within;
    };
    for (const Case& example : {
             Case{L"c:\\a\\b", L"C:\\A", true},
             {L"c:\\a\\b", L"c:\\a\\b", true},
             {L"c:\\a\\b", L"c:\\", true},
             {L"c:\\a", L"c:\\a\\b", false},
             {L"c:\\ab", L"c:\\a", false},
             {L"c:\\b\\a", L"c:\\a", false},
             {L"\\\\srv\\share\\f", L"\\\\srv\\share", true},
             {L"name", L"name", true},
             {L"name", L"other", false},
             {L"c:\\a", L"", false},
             {L"", L"c:\\a", false},
             {L"", L"", true},
         })
        EXPECT_EQ(example.within, Parsed(example.path).IsWithin(Parsed(example.other)))
            << example.path << L" " << example.other;
}

TEST(CPath, OrdersByText)
{
    EXPECT_TRUE(Parsed(L"c:\\a").Less(Parsed(L"c:\\b")));
    EXPECT_FALSE(Parsed(L"c:\\b").Less(Parsed(L"c:\\a")));
    EXPECT_TRUE(Parsed(L"c:\\a").Less(Parsed(L"C:\\A\\b")));
    EXPECT_FALSE(Parsed(L"c:\\a").Less(Parsed(L"C:\\A")));
    EXPECT_FALSE(CPath().Less(Parsed(L"c:\\a")));
    EXPECT_FALSE(Parsed(L"c:\\a").Less(CPath()));
}

TEST(CPath, ComponentsBeyondTheLastAreEmpty)
{
    const CPath path = Parsed(L"c:\\a");
    EXPECT_STREQ(L"c:", path.Component(0));
    EXPECT_STREQ(L"a", path.Component(1));
    EXPECT_STREQ(L"", path.Component(2));
    EXPECT_STREQ(L"", path.Component(SIZE_MAX));
    EXPECT_STREQ(L"", CPath().Component(0));
}

TEST(CPath, ChecksTheDotsOfAllComponentsButTheLast)
{
    struct Case
    {
        const wchar_t* text;
        bool wrong;
    };
    for (const Case& example : {
             Case{L"", true},
             {L"name", true},
             {L".", true},
             {L"dir\\f", false},
             {L"..\\..\\f", false},
             {L"a\\..\\f", true},
             {L"a.b\\f", false},
             {L"c:\\a.b\\f", true},
             {L"c:\\a\\b.c", false},
             {L"...\\f", true},
             {L"a...", true},
             {L"a\\...", false},
             {L"a.b.c\\f", false},
             {L"a.b.c.d\\f", true},
             {L"..\\a\\b\\f", false},
             {L"..\\a\\.b\\f", true},
         })
        EXPECT_EQ(example.wrong, Parsed(example.text).CheckDots()) << example.text;
}

TEST(CPath, CopiesStandAlone)
{
    CPath path = Parsed(L"c:\\dir\\a.txt");
    CPath copy(path);
    path.Clear();
    EXPECT_STREQ(L"c:\\dir\\a.txt", copy.GetText());
    EXPECT_THAT(Components(copy), ElementsAre(L"c:", L"dir", L"a.txt"));
    path = copy;
    copy.Clear();
    EXPECT_TRUE(path.Equals(Parsed(L"c:\\dir\\a.txt")));
}

TEST(CPath, TakesTheCurrentDirectory)
{
    const CurrentDirectory back;
    const TemporaryFolder folder;
    ASSERT_TRUE(SetCurrentDirectoryW(folder.Path().c_str()));
    CPath path = Parsed(L"name");
    EXPECT_TRUE(path.FromCurrentDirectory());
    EXPECT_EQ(0U, path.GetKind());
    EXPECT_TRUE(path.Equals(Parsed(folder.Path().c_str())));
    EXPECT_TRUE(path.IsDirectory());
}

TEST(CPath, MakesItselfTheCurrentDirectory)
{
    const CurrentDirectory back;
    const TemporaryFolder folder;
    const CPath target = Parsed(folder.MakeFolder(L"sub").c_str());
    EXPECT_TRUE(target.MakeCurrent());
    CPath current;
    EXPECT_TRUE(current.FromCurrentDirectory());
    EXPECT_TRUE(current.Equals(target));
    EXPECT_FALSE(Parsed((folder.Path() + L"\\none").c_str()).MakeCurrent());
    EXPECT_FALSE(CPath().MakeCurrent());
    EXPECT_TRUE(current.FromCurrentDirectory());
    EXPECT_TRUE(current.Equals(target));
    EXPECT_TRUE(Parsed(L"C:\\").MakeCurrent());
    EXPECT_TRUE(current.FromCurrentDirectory());
    EXPECT_STREQ(L"c:\\", current.GetText());
    ASSERT_TRUE(target.MakeCurrent());
}

namespace
{
// What GetCurrentDirectoryW answers, and GetLongPathNameW for it.
struct DirectoryAnswers
{
    static inline std::wstring directory;
    static inline std::wstring longForm;
    static inline bool asExpected = true;

    static DWORD WINAPI Current(DWORD units, wchar_t* buffer) { return Answer(directory, units, buffer); }
    static DWORD WINAPI Long(const wchar_t* path, wchar_t* buffer, DWORD units)
    {
        asExpected = asExpected && path == directory;
        return longForm.empty() ? 0 : Answer(longForm, units, buffer);
    }
    static DWORD Answer(const std::wstring& text, DWORD units, wchar_t* buffer)
    {
        asExpected = asExpected && units == 260;
        if (text.size() + 1 > units)
            return static_cast<DWORD>(text.size() + 1);
        std::wmemcpy(buffer, text.c_str(), text.size() + 1);
        return static_cast<DWORD>(text.size());
    }
};
} // namespace

TEST(CPath, TheCurrentDirectoryIsTakenInItsLongForm)
{
    const std::wstring longest = L"c:\\" + std::wstring(256, L'd');
    struct Case
    {
        std::wstring directory;
        std::wstring longForm;
        bool taken;
        std::wstring text;
    };
    const Redirect<decltype(GetCurrentDirectoryW)> current("GetCurrentDirectoryW", DirectoryAnswers::Current);
    const Redirect<decltype(GetLongPathNameW)> longPath("GetLongPathNameW", DirectoryAnswers::Long);
    for (const Case& example : std::vector<Case>{
             {L"C:\\Progra~1\\x", L"C:\\Program Files\\x", true, L"c:\\program files\\x"},
             {L"C:\\Progra~1\\x", L"", true, L"c:\\progra~1\\x"},
             {L"C:\\Progra~1\\x", longest + L"d", true, L"c:\\progra~1\\x"},
             {L"C:\\Progra~1\\x", longest, true, longest},
             {L"C:\\plain", L"C:\\never asked for", true, L"c:\\plain"},
             {longest, L"", true, longest},
             {longest + L"d", L"", false, L""},
             {L"", L"", false, L""},
         })
    {
        DirectoryAnswers::directory = example.directory;
        DirectoryAnswers::longForm = example.longForm;
        CPath path = Parsed(L"c:\\old");
        EXPECT_EQ(example.taken, path.FromCurrentDirectory());
        EXPECT_EQ(example.text, path.GetText().GetBuffer());
        EXPECT_TRUE(DirectoryAnswers::asExpected);
    }
}

TEST(CPath, TheCurrentDirectoryWithoutMemoryIsNone)
{
    for (unsigned n = 1; n <= 3; ++n)
    {
        CPath path = Parsed(L"c:\\old");
        AllocationProbe heap;
        heap.FailFrom(n);
        const bool taken = path.FromCurrentDirectory();
        heap.StopFailing();
        EXPECT_FALSE(taken);
        EXPECT_STREQ(L"", path.GetText());
        EXPECT_EQ(0U, heap.LiveBlocks());
    }
}

TEST(CPath, TheCurrentDirectoryIsTakenAsItIsWithoutMemoryForItsLongForm)
{
    const Redirect<decltype(GetCurrentDirectoryW)> current("GetCurrentDirectoryW", DirectoryAnswers::Current);
    const Redirect<decltype(GetLongPathNameW)> longPath("GetLongPathNameW", DirectoryAnswers::Long);
    DirectoryAnswers::directory = L"C:\\Progra~1\\x";
    DirectoryAnswers::longForm = L"C:\\Program Files\\x";
    CPath path;
    AllocationProbe heap;
    heap.FailRequest(2);
    const bool taken = path.FromCurrentDirectory();
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_TRUE(taken);
    EXPECT_STREQ(L"c:\\progra~1\\x", path.GetText());
}

TEST(CPath, TellsWhatExists)
{
    const TemporaryFolder folder;
    const PageEdge<wchar_t> page(L"");
    EXPECT_TRUE(CPath::Exists(folder.Path().c_str()));
    EXPECT_TRUE(CPath::Exists(folder.MakeFile(L"a.txt").c_str()));
    EXPECT_FALSE(CPath::Exists((folder.Path() + L"\\none").c_str()));
    EXPECT_FALSE(CPath::Exists((folder.Path() + L"\\none\\at all").c_str()));
    EXPECT_FALSE(CPath::Exists(L""));
    EXPECT_FALSE(CPath::Exists(nullptr));
    EXPECT_FALSE(CPath::Exists(page.Unreadable()));
}

TEST(CPath, WhatCannotBeToldExists)
{
    // The C runtime answers "invalid argument" for names that no file can have, not "no such file".
    EXPECT_TRUE(CPath::Exists(L"c:\\a|b"));
    EXPECT_TRUE(CPath::Exists(L"?:\\x"));
}

TEST(CPath, CreatesAFolder)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.Path() + L"\\new";
    EXPECT_TRUE(CPath::CreateDir(path.c_str()));
    EXPECT_TRUE(Parsed(path.c_str()).IsDirectory());
    EXPECT_FALSE(CPath::CreateDir(path.c_str()));
    const CurrentDirectory back;
    ASSERT_TRUE(SetCurrentDirectoryW(path.c_str()));
    EXPECT_FALSE(CPath::Exists(L"x"));
    EXPECT_TRUE(CPath::CreateDir(L"x"));
    EXPECT_TRUE(CPath::Exists(L"x"));
    EXPECT_FALSE(CPath::CreateDir((folder.Path() + L"\\none\\new").c_str()));
    EXPECT_FALSE(CPath::CreateDir(L""));
    EXPECT_FALSE(CPath::CreateDir(nullptr));
}

TEST(CPath, ReadsTheAttributesOfAFile)
{
    const TemporaryFolder folder;
    CPath file = Parsed(folder.MakeFile(L"a.txt", 1234).c_str());
    EXPECT_TRUE(file.Attributes());
    EXPECT_EQ(1234U, file.GetAttributeData().sizeLow);
    EXPECT_EQ(0U, file.GetAttributeData().sizeHigh);
    EXPECT_FALSE(file.IsDirectory());
    CPath directory = Parsed(folder.Path().c_str());
    EXPECT_TRUE(directory.IsDirectory());
    EXPECT_EQ(0x10U, directory.GetAttributeData().attributes & 0x10U);
    EXPECT_TRUE(Parsed(L"C:\\").IsDirectory());
    CPath none = Parsed((folder.Path() + L"\\none").c_str());
    EXPECT_FALSE(none.Attributes());
    EXPECT_FALSE(none.IsDirectory());
    const FileAttributeData zero{};
    EXPECT_EQ(0, std::memcmp(&zero, &none.GetAttributeData(), sizeof zero));
}

namespace
{
// A file as the system describes it to a query, and the name that was asked for.
struct AttributeAnswers
{
    static inline WIN32_FILE_ATTRIBUTE_DATA data{};
    static inline BOOL result = TRUE;
    static inline std::wstring name;
    static inline unsigned calls = 0;
    static inline bool standardLevel = true;

    static BOOL WINAPI Query(const wchar_t* path, GET_FILEEX_INFO_LEVELS level, void* answer)
    {
        ++calls;
        name = path;
        standardLevel = level == GetFileExInfoStandard;
        if (result != FALSE)
            std::memcpy(answer, &data, sizeof data);
        return result;
    }
    static void Reset()
    {
        data = {};
        result = TRUE;
        name.clear();
        calls = 0;
    }
};

// The file time of the given hour of 2 January 2001.
FILETIME TimeAt(WORD hour)
{
    SYSTEMTIME time{};
    time.wYear = 2001;
    time.wMonth = 1;
    time.wDay = 2;
    time.wHour = hour;
    FILETIME result{};
    SystemTimeToFileTime(&time, &result);
    return result;
}

bool IsTime(const FileTime& time, WORD hour)
{
    const FILETIME expected = TimeAt(hour);
    return time.low == expected.dwLowDateTime && time.high == expected.dwHighDateTime;
}

BOOL WINAPI ThreeHoursLater(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc, SYSTEMTIME* local)
{
    *local = *utc;
    local->wHour = static_cast<WORD>(utc->wHour + 3);
    return zone == nullptr ? TRUE : FALSE;
}
} // namespace

TEST(CPath, AsksForAttributesByTheLongPathName)
{
    AttributeAnswers::Reset();
    AttributeAnswers::result = FALSE;
    const Redirect<decltype(GetFileAttributesExW)> query("GetFileAttributesExW", AttributeAnswers::Query);
    struct Case
    {
        const wchar_t* text;
        const wchar_t* name;
    };
    for (const Case& example : {
             Case{L"C:\\Dir\\F.txt", L"\\\\?\\c:\\dir\\f.txt"},
             {L"C:\\", L"\\\\?\\c:\\"},
             {L"\\\\Srv\\Share\\F", L"\\\\?\\UNC\\srv\\share\\f"},
             {L"dir\\f", L"\\\\?\\dir\\f"},
             {L"name", L"\\\\?\\name"},
         })
    {
        EXPECT_FALSE(Parsed(example.text).Attributes());
        EXPECT_EQ(example.name, AttributeAnswers::name);
        EXPECT_TRUE(AttributeAnswers::standardLevel);
    }
    EXPECT_EQ(5U, AttributeAnswers::calls);
    EXPECT_FALSE(CPath().Attributes());
    EXPECT_EQ(5U, AttributeAnswers::calls);
}

TEST(CPath, AttributeTimesAreLocal)
{
    AttributeAnswers::Reset();
    AttributeAnswers::data = {0x21, TimeAt(1), TimeAt(2), TimeAt(3), 5, 6};
    const Redirect<decltype(GetFileAttributesExW)> query("GetFileAttributesExW", AttributeAnswers::Query);
    const Redirect<decltype(SystemTimeToTzSpecificLocalTime)> zone("SystemTimeToTzSpecificLocalTime",
                                                                   ThreeHoursLater);
    CPath path = Parsed(L"c:\\any");
    EXPECT_TRUE(path.Attributes());
    const FileAttributeData& data = path.GetAttributeData();
    EXPECT_EQ(0x21U, data.attributes);
    EXPECT_TRUE(IsTime(data.creation, 4));
    EXPECT_TRUE(IsTime(data.lastAccess, 5));
    EXPECT_TRUE(IsTime(data.lastWrite, 6));
    EXPECT_EQ(5U, data.sizeHigh);
    EXPECT_EQ(6U, data.sizeLow);
}

TEST(CPath, ATimeThatCannotBeConvertedStays)
{
    AttributeAnswers::Reset();
    AttributeAnswers::data = {0x21, TimeAt(1), TimeAt(2), TimeAt(3), 5, 6};
    const Redirect<decltype(GetFileAttributesExW)> query("GetFileAttributesExW", AttributeAnswers::Query);
    const Redirect<decltype(SystemTimeToTzSpecificLocalTime)> zone("SystemTimeToTzSpecificLocalTime",
                                                                   ThreeHoursLater);
    const auto isUnconverted = [] {
        CPath path = Parsed(L"c:\\any");
        EXPECT_TRUE(path.Attributes());
        return IsTime(path.GetAttributeData().creation, 1) && IsTime(path.GetAttributeData().lastWrite, 3);
    };
    EXPECT_FALSE(isUnconverted());
    {
        const FailingCall<decltype(FileTimeToSystemTime)> call("FileTimeToSystemTime", ERROR_INVALID_PARAMETER);
        EXPECT_TRUE(isUnconverted());
        EXPECT_EQ(3U, call.Calls().size());
    }
    {
        const FailingCall<decltype(SystemTimeToTzSpecificLocalTime)> call("SystemTimeToTzSpecificLocalTime",
                                                                          ERROR_INVALID_PARAMETER);
        EXPECT_TRUE(isUnconverted());
        EXPECT_EQ(3U, call.Calls().size());
    }
    {
        const FailingCall<decltype(SystemTimeToFileTime)> call("SystemTimeToFileTime", ERROR_INVALID_PARAMETER);
        CPath path = Parsed(L"c:\\any");
        EXPECT_TRUE(path.Attributes());
        EXPECT_EQ(AttributeAnswers::data.ftCreationTime.dwLowDateTime, path.GetAttributeData().creation.low);
        EXPECT_EQ(3U, call.Calls().size());
    }
}

TEST(CPath, KnownAttributesAreNotAskedForAgain)
{
    const Redirect<decltype(GetFileAttributesExW)> query("GetFileAttributesExW", AttributeAnswers::Query);
    struct Case
    {
        WIN32_FILE_ATTRIBUTE_DATA data;
        unsigned calls;
    };
    const FILETIME none{};
    for (const Case& example : {
             Case{{0x10, TimeAt(1), none, none, 0, 0}, 1},
             {{0x20, none, none, none, 0, 7}, 1},
             {{0x20, none, none, none, 7, 0}, 1},
             // Without a creation time and a size nothing is known.
             {{0x10, none, TimeAt(1), TimeAt(1), 0, 0}, 2},
         })
    {
        AttributeAnswers::Reset();
        AttributeAnswers::data = example.data;
        CPath path = Parsed(L"c:\\any");
        EXPECT_TRUE(path.Attributes());
        EXPECT_TRUE(path.Attributes());
        EXPECT_EQ(example.calls, AttributeAnswers::calls);
        EXPECT_TRUE(path.Parse(L"c:\\other"));
        EXPECT_TRUE(path.Attributes());
        EXPECT_EQ(example.calls + 1, AttributeAnswers::calls);
    }
}

TEST(CPath, AttributesWithoutMemoryAreUnknown)
{
    const TemporaryFolder folder;
    CPath path = Parsed(folder.MakeFile((std::wstring(200, L'n') + L".txt").c_str(), 5).c_str());
    AllocationProbe heap;
    heap.FailFrom(1);
    const bool known = path.Attributes();
    heap.StopFailing();
    EXPECT_FALSE(known);
    EXPECT_TRUE(path.Attributes());
}

namespace
{
// What a search reports, below its root folder; and when to end it.
struct Found
{
    std::wstring root;
    std::vector<std::wstring> files;
    unsigned directories = 0;
    size_t stopAtFile = SIZE_MAX;
    unsigned stopAtDirectory = ~0U;

    static bool OnFile(const wchar_t* path, void* context)
    {
        auto& found = *static_cast<Found*>(context);
        const std::wstring text = path;
        const bool below = text.compare(0, found.root.size() + 1, found.root + L"\\") == 0;
        found.files.push_back(below ? text.substr(found.root.size() + 1) : L"outside: " + text);
        return found.files.size() != found.stopAtFile;
    }
    static bool OnDirectory(void* context)
    {
        auto& found = *static_cast<Found*>(context);
        return ++found.directories != found.stopAtDirectory;
    }

    bool Search(const wchar_t* prefix, const wchar_t* extensions, bool recurse)
    {
        files.clear();
        directories = 0;
        return CPath::FindFiles(root.c_str(), prefix, extensions, OnFile, OnDirectory, this, recurse);
    }
};

// The C runtime's search, with the handles counted and the attributes of folders named "hidden" and "system" made
// what their names say: not every file system under Wine keeps them.
class WatchedSearch
{
public:
    WatchedSearch() : m_first("_wfindfirst64", First), m_next("_wfindnext64", Next), m_close("_findclose", Close)
    {
        s_self = this;
    }
    ~WatchedSearch() { s_self = nullptr; }
    WatchedSearch(const WatchedSearch&) = delete;
    WatchedSearch& operator=(const WatchedSearch&) = delete;

    int OpenSearches() const { return m_open; }
    unsigned Searches() const { return m_searches; }

private:
    static intptr_t First(const wchar_t* pattern, _wfinddata64_t* entry)
    {
        const intptr_t handle = s_self->m_first.Real()(pattern, entry);
        ++s_self->m_searches;
        s_self->m_open += handle != -1 ? 1 : 0;
        if (handle != -1)
            Mark(*entry);
        return handle;
    }
    static int Next(intptr_t handle, _wfinddata64_t* entry)
    {
        const int result = s_self->m_next.Real()(handle, entry);
        if (result == 0)
            Mark(*entry);
        return result;
    }
    static int Close(intptr_t handle)
    {
        --s_self->m_open;
        return s_self->m_close.Real()(handle);
    }
    static void Mark(_wfinddata64_t& entry)
    {
        if (wcscmp(entry.name, L"hidden") == 0)
            entry.attrib |= _A_HIDDEN;
        if (wcscmp(entry.name, L"system") == 0)
            entry.attrib |= _A_SYSTEM;
    }

    static inline WatchedSearch* s_self = nullptr;

    int m_open = 0;
    unsigned m_searches = 0;
    Redirect<intptr_t(const wchar_t*, _wfinddata64_t*)> m_first;
    Redirect<int(intptr_t, _wfinddata64_t*)> m_next;
    Redirect<int(intptr_t)> m_close;
};

// A tree of folders and files.
class Tree
{
public:
    Tree()
    {
        m_folder.MakeFolder(L"hidden", FILE_ATTRIBUTE_HIDDEN);
        m_folder.MakeFolder(L"system", FILE_ATTRIBUTE_SYSTEM);
        for (const wchar_t* name : {L"sub", L"sub\\deep", L".git", L"empty", L"dir.txt"})
            m_folder.MakeFolder(name);
        for (const wchar_t* name :
             {L"a.txt", L"b.TXT", L"c.log", L"d.txt.bak", L"noext", L".txt", L"ends.", L"sub\\a2.txt", L"sub\\b2.log",
              L"sub\\deep\\a3.txt", L"hidden\\h.txt", L"system\\s.txt", L".git\\g.txt", L"dir.txt\\in.txt"})
            m_folder.MakeFile(name);
        m_found.root = m_folder.Path();
    }

    Found& Search() { return m_found; }
    const std::wstring& Path() const { return m_folder.Path(); }

private:
    TemporaryFolder m_folder;
    Found m_found;
};
} // namespace

TEST(FindFiles, FindsTheFilesOfOneFolder)
{
    Tree tree;
    const WatchedSearch watch;
    EXPECT_TRUE(tree.Search().Search(nullptr, L".txt", false));
    EXPECT_THAT(tree.Search().files, UnorderedElementsAre(L"a.txt", L"b.TXT", L".txt"));
    EXPECT_EQ(1U, tree.Search().directories);
    EXPECT_EQ(0, watch.OpenSearches());
}

TEST(FindFiles, RecursesButNotIntoHiddenSystemAndDottedFolders)
{
    Tree tree;
    const WatchedSearch watch;
    EXPECT_TRUE(tree.Search().Search(L"", L".txt", true));
    EXPECT_THAT(tree.Search().files, UnorderedElementsAre(L"a.txt", L"b.TXT", L".txt", L"sub\\a2.txt",
                                                          L"sub\\deep\\a3.txt", L"dir.txt\\in.txt"));
    // The root, sub, deep, empty and dir.txt.
    EXPECT_EQ(5U, tree.Search().directories);
    EXPECT_EQ(5U, watch.Searches());
    EXPECT_EQ(0, watch.OpenSearches());
}

TEST(FindFiles, TakesSeveralExtensionsAndAPrefixOfTheName)
{
    Tree tree;
    Found& found = tree.Search();
    EXPECT_TRUE(found.Search(nullptr, L".TXT;.log", true));
    EXPECT_THAT(found.files, testing::IsSupersetOf({L"a.txt", L"c.log", L"sub\\b2.log", L"sub\\a2.txt"}));
    EXPECT_TRUE(found.Search(L"A", L".txt .log", true));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"a.txt", L"sub\\a2.txt", L"sub\\deep\\a3.txt"));
    EXPECT_TRUE(found.Search(L"a2", L".txt", true));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"sub\\a2.txt"));
    EXPECT_TRUE(found.Search(L"a.txt and more", L".txt", true));
    EXPECT_THAT(found.files, IsEmpty());
    EXPECT_TRUE(found.Search(nullptr, L".bak", false));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"d.txt.bak"));
}

TEST(FindFiles, ExtensionListsHaveFourSeparators)
{
    Tree tree;
    Found& found = tree.Search();
    for (const wchar_t* const list :
         {L".bak;.log", L".bak,.log", L".bak .log", L".bak:.log", L" ;,: .bak :: .log;;", L".log;.log;.bak;.x-_9"})
    {
        EXPECT_TRUE(found.Search(nullptr, list, false)) << list;
        EXPECT_THAT(found.files, UnorderedElementsAre(L"c.log", L"d.txt.bak")) << list;
    }
}

TEST(FindFiles, AnExtensionIsWhatFollowsTheLastDot)
{
    const TemporaryFolder folder;
    for (const wchar_t* name : {L"a.c-1", L"a.c_1", L"a.c1", L"a.c", L"a.7z", L"ac", L"a.c+"})
        folder.MakeFile(name);
    Found found;
    found.root = folder.Path();
    EXPECT_TRUE(found.Search(nullptr, L".c-1,.C_1,.7z", false));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"a.c-1", L"a.c_1", L"a.7z"));
    EXPECT_TRUE(found.Search(nullptr, L".ac", false));
    EXPECT_THAT(found.files, IsEmpty());
}

TEST(FindFiles, MalformedExtensionListsAreRefusedWithALine)
{
    Tree tree;
    Found& found = tree.Search();
    for (const wchar_t* const list : {L"txt", L"*.txt", L".", L".txt;.", L".t*t", L".tar.gz", L".txt;log",
                                      L".txt|.log", L".txt\t.log", L"..txt", L".txt;.lo g"})
    {
        const TraceCapture trace;
        EXPECT_FALSE(found.Search(nullptr, list, true)) << list;
        EXPECT_THAT(found.files, IsEmpty());
        EXPECT_EQ(0U, found.directories);
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(std::wstring(L"CPath::FindFiles extension list refused: ") + list + L"\n"));
    }
    // Nothing of a refused list stays.
    EXPECT_TRUE(found.Search(nullptr, L".bak", false));
    EXPECT_THAT(found.files, UnorderedElementsAre(L"d.txt.bak"));
}

TEST(FindFiles, NoFileIsInAnEmptyListOrInNone)
{
    const WatchedSearch watch;
    Tree tree;
    Found& found = tree.Search();
    const PageEdge<wchar_t> page(L"");
    for (const wchar_t* const list :
         {L"", L" ;,:", static_cast<const wchar_t*>(nullptr), const_cast<const wchar_t*>(page.Unreadable())})
    {
        EXPECT_TRUE(found.Search(nullptr, L".txt", true));
        EXPECT_TRUE(found.Search(nullptr, list, true));
        EXPECT_THAT(found.files, IsEmpty());
        EXPECT_EQ(5U, found.directories);
    }
}

TEST(FindFiles, AFileCallbackEndsTheSearchAtOnce)
{
    Tree tree;
    Found& found = tree.Search();
    const WatchedSearch watch;
    for (size_t stop = 1; stop <= 6; ++stop)
    {
        found.stopAtFile = stop;
        EXPECT_FALSE(found.Search(nullptr, L".txt", true));
        EXPECT_EQ(stop, found.files.size());
        EXPECT_EQ(0, watch.OpenSearches());
    }
    found.stopAtFile = 7;
    EXPECT_TRUE(found.Search(nullptr, L".txt", true));
    EXPECT_EQ(6U, found.files.size());
}

TEST(FindFiles, ADirectoryCallbackEndsTheSearchAtOnce)
{
    Tree tree;
    Found& found = tree.Search();
    const WatchedSearch watch;
    found.stopAtDirectory = 1;
    EXPECT_FALSE(found.Search(nullptr, L".txt", true));
    EXPECT_THAT(found.files, IsEmpty());
    EXPECT_EQ(0, watch.OpenSearches());
    found.stopAtDirectory = 3;
    EXPECT_FALSE(found.Search(nullptr, L".txt", true));
    EXPECT_EQ(3U, found.directories);
    EXPECT_EQ(0, watch.OpenSearches());
}

TEST(FindFiles, CallbacksMayBeNull)
{
    const WatchedSearch watch;
    const Tree tree;
    EXPECT_TRUE(CPath::FindFiles(tree.Path().c_str(), nullptr, L".txt", nullptr, nullptr, nullptr, true));
    Found found;
    EXPECT_TRUE(CPath::FindFiles(tree.Path().c_str(), nullptr, nullptr, nullptr, Found::OnDirectory, &found, true));
    EXPECT_EQ(5U, found.directories);
}

TEST(FindFiles, FindsNothingWhereThereIsNothing)
{
    const Tree tree;
    const PageEdge<wchar_t> page(L"");
    const std::wstring none = tree.Path() + L"\\none";
    const std::wstring file = tree.Path() + L"\\a.txt";
    Found found;
    for (const wchar_t* const directory : {none.c_str(), file.c_str(), L"", static_cast<const wchar_t*>(nullptr),
                                           const_cast<const wchar_t*>(page.Unreadable())})
    {
        EXPECT_TRUE(CPath::FindFiles(directory, nullptr, L".txt", Found::OnFile, Found::OnDirectory, &found, true));
        EXPECT_EQ(0U, found.directories);
        EXPECT_THAT(found.files, IsEmpty());
    }
}

namespace
{
struct NestedSearches
{
    std::wstring root;
    std::vector<std::wstring> outer;
    std::vector<std::wstring> own;
    std::vector<std::wstring> inherited;

    static bool Collect(const wchar_t* path, void* context)
    {
        const std::wstring text = path;
        static_cast<std::vector<std::wstring>*>(context)->push_back(text.substr(text.rfind(L'\\') + 1));
        return true;
    }
    static bool OnFile(const wchar_t* path, void* context)
    {
        auto& searches = *static_cast<NestedSearches*>(context);
        Collect(path, &searches.outer);
        if (searches.outer.size() > 1)
            return true;
        return CPath::FindFiles(searches.root.c_str(), nullptr, L".log", Collect, nullptr, &searches.own, false) &&
               CPath::FindFiles(searches.root.c_str(), nullptr, nullptr, Collect, nullptr, &searches.inherited,
                                false);
    }
};
} // namespace

TEST(FindFiles, ASearchWithinACallbackHasItsOwnListOrTheOuterOne)
{
    const Tree tree;
    NestedSearches searches;
    searches.root = tree.Path();
    EXPECT_TRUE(
        CPath::FindFiles(tree.Path().c_str(), nullptr, L".txt", NestedSearches::OnFile, nullptr, &searches, false));
    EXPECT_THAT(searches.outer, UnorderedElementsAre(L"a.txt", L"b.TXT", L".txt"));
    EXPECT_THAT(searches.own, UnorderedElementsAre(L"c.log"));
    EXPECT_THAT(searches.inherited, UnorderedElementsAre(L"a.txt", L"b.TXT", L".txt"));
    std::vector<std::wstring> afterwards;
    EXPECT_TRUE(CPath::FindFiles(tree.Path().c_str(), nullptr, nullptr, NestedSearches::Collect, nullptr, &afterwards,
                                 false));
    EXPECT_THAT(afterwards, IsEmpty());
}

TEST(FindFiles, AnExceptionOfACallbackPassesAndTheSearchIsClosed)
{
    Tree tree;
    const WatchedSearch watch;
    const auto raise = [](const wchar_t*, void*) -> bool { throw std::runtime_error("on purpose"); };
    EXPECT_THROW(CPath::FindFiles(tree.Path().c_str(), nullptr, L".log", raise, nullptr, nullptr, true),
                 std::runtime_error);
    EXPECT_EQ(0, watch.OpenSearches());
    // The list of the search that ended is gone.
    EXPECT_TRUE(tree.Search().Search(nullptr, nullptr, false));
    EXPECT_THAT(tree.Search().files, IsEmpty());
}

TEST(FindFiles, WithoutMemoryItEndsWithoutALeak)
{
    const Tree tree;
    const WatchedSearch watch;
    const auto ignore = [](const wchar_t*, void*) -> bool { return true; };
    unsigned refused = 0;
    for (unsigned n = 1;; ++n)
    {
        ASSERT_LT(n, 200U);
        AllocationProbe heap;
        const TraceCapture trace;
        const size_t before = heap.LiveBlocks();
        heap.FailRequest(n);
        const bool searched =
            CPath::FindFiles(tree.Path().c_str(), nullptr, L".txt;.log", ignore, nullptr, nullptr, true);
        heap.StopFailing();
        refused += searched ? 0 : 1;
        EXPECT_EQ(0, watch.OpenSearches()) << n;
        trace.Raw();
        if (!heap.HasFailed())
        {
            EXPECT_TRUE(searched);
            EXPECT_EQ(before, heap.LiveBlocks());
            break;
        }
    }
    EXPECT_GT(refused, 3U);
    EXPECT_TRUE(HeapIsConsistent());
}

namespace
{
// A folder whose path is long, with one file in it: more than the file system of a test may take.
struct LongFolder
{
    static inline unsigned entries = 0;
    static inline int open = 0;

    static intptr_t First(const wchar_t*, _wfinddata64_t* entry)
    {
        ++open;
        entries = 0;
        Next(1, entry);
        return 1;
    }
    static int Next(intptr_t, _wfinddata64_t* entry)
    {
        std::wmemcpy(entry->name, L"a.txt", 6);
        entry->attrib = 0;
        return ++entries == 2 ? -1 : 0;
    }
    static int Close(intptr_t)
    {
        --open;
        return 0;
    }
};
} // namespace

TEST(FindFiles, WithoutMemoryForALongPathItEnds)
{
    const Redirect<intptr_t(const wchar_t*, _wfinddata64_t*)> first("_wfindfirst64", LongFolder::First);
    const Redirect<int(intptr_t, _wfinddata64_t*)> next("_wfindnext64", LongFolder::Next);
    const Redirect<int(intptr_t)> close("_findclose", LongFolder::Close);
    static unsigned files;
    const auto onFile = [](const wchar_t* path, void*) -> bool {
        files += wcslen(path) == 300 + 6 ? 1U : 0U;
        return true;
    };
    const std::wstring folder(300, L'f');
    // The first work on the list of extensions allocates, then come the search's own strings.
    unsigned refusedEarly = 0;
    unsigned refusedAtTheFile = 0;
    for (unsigned n = 1;; ++n)
    {
        ASSERT_LT(n, 100U);
        files = 0;
        AllocationProbe heap;
        heap.FailRequest(n);
        const bool searched = CPath::FindFiles(folder.c_str(), nullptr, L".txt", onFile, nullptr, nullptr, false);
        heap.StopFailing();
        EXPECT_EQ(0, LongFolder::open);
        EXPECT_EQ(searched ? 1U : 0U, files) << n;
        refusedEarly += !searched && LongFolder::entries == 0 ? 1 : 0;
        refusedAtTheFile += !searched && LongFolder::entries == 1 ? 1 : 0;
        LongFolder::entries = 0;
        if (!heap.HasFailed())
            break;
    }
    EXPECT_GT(refusedEarly, 2U);
    EXPECT_GT(refusedAtTheFile, 0U);
    AllocationProbe heap;
    heap.FailFrom(1);
    const bool searched = CPath::FindFiles(folder.c_str(), nullptr, nullptr, onFile, nullptr, nullptr, false);
    heap.StopFailing();
    EXPECT_FALSE(searched);
}
