#include "OrvProfiler/foundation/NetDrives.h"

#include "tests/support/contract/ObjectFields.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/PageEdge.h"

#include <windows.h>

#include <cstring>
#include <cwchar>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace
{
// A system with these drives and these answers of its network library, while this object lives. The stand-ins do not
// allocate, so that the heap can be watched.
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
    uint32_t drives;
    uint32_t scanned;
    wchar_t** entries;
    uint32_t* lengths;
    uint32_t count;
    uint32_t padding;
};
static_assert(sizeof(CNetDrives) == 32, "");
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
    const auto fields = FieldsOf<NetDrivesFields>(drives);
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
    const auto fields = FieldsOf<NetDrivesFields>(drives);
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
    EXPECT_EQ(0U, FieldsOf<NetDrivesFields>(drives).scanned);
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
    const PageEdge<wchar_t> page(L"");
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
             {page.Unreadable(), 0},
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
    const auto atStart = FieldsOf<NetDrivesFields>(g_NetDrives);
    const CNetDrives now;
    EXPECT_EQ(GetLogicalDrives(), atStart.drives);
    EXPECT_NE(0U, atStart.drives);
    EXPECT_EQ(atStart.drives & 0x03FFFFFFU, atStart.scanned);
    EXPECT_EQ(now.Count(), g_NetDrives.Count());
}
