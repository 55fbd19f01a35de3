#include "OrvProfiler/share/ProxyShare.h"

#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/faults/PageFault.h"
#include "tests/support/faults/ShareMutexRecorder.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ManagerIn.h"
#include "tests/support/worlds/NamedObjects.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <gmock/gmock.h>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

using contract::c_noProcessLine;
using contract::c_shareSizeLine;
using contract::MapCreatedLine;
using contract::MappingCreatedLine;
using contract::OpenMapLine;
using contract::ShareMutexLines;
using contract::ShareName;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
std::wstring MutexName(uint32_t id, uint32_t index)
{
    return contract::LocalName(contract::ShareMutexName(id, index));
}

// A control block in which no byte is like its neighbour.
std::vector<unsigned char> MakeControl()
{
    std::vector<unsigned char> control(contract::c_controlBytes);
    for (size_t i = 0; i < control.size(); ++i)
        control[i] = static_cast<unsigned char>(i % 251 + 1);
    return control;
}

// A share that the client has made, and the product's view of it.
class CProxyShareMapped : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_share.Create(m_id)); }

    unsigned char* View() { return static_cast<unsigned char*>(m_share.GetView()); }

    const uint32_t m_id = FreshId();
    TraceCapture m_trace;
    ClientShare m_client{m_id};
    CProxyShare m_share;
};
} // namespace

TEST(CProxyShare, EveryOperationOnAnUnmappedShareDoesNothing)
{
    CProxyShare share;
    const TraceCapture trace;
    const std::vector<unsigned char> control = MakeControl();
    EXPECT_EQ(nullptr, share.GetView());
    EXPECT_EQ(nullptr, share.GetControl());
    EXPECT_EQ(nullptr, share.GetClientWindow());
    EXPECT_EQ(256, share.GetControlCount());
    EXPECT_FALSE(share.SetControl(control.data()));
    share.ClearAll();
    share.ResetRunData();
    for (const uint32_t index : {0U, 6U, 7U, 0xFFFFFFFFU})
    {
        share.Lock(index);
        share.Unlock(index);
    }
    share.Close();
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxyShare, OneShareIsKnownToTheProcess)
{
    EXPECT_EQ(nullptr, g_pShare);
    {
        const CProxyShare share;
        EXPECT_EQ(&share, g_pShare);
    }
    EXPECT_EQ(nullptr, g_pShare);
}

TEST(CProxyShare, ASecondShareTakesThePlaceOfTheFirst)
{
    const CProxyShare first;
    {
        const CProxyShare second;
        EXPECT_EQ(&second, g_pShare);
    }
    EXPECT_EQ(nullptr, g_pShare);
}

TEST(CProxyShare, TheEndOfAnEarlierShareLeavesNoneKnown)
{
    auto first = std::make_unique<CProxyShare>();
    const CProxyShare second;
    first.reset();
    EXPECT_EQ(nullptr, g_pShare);
}

TEST(CProxyShare, CreatesZeroedMemoryAndSevenMutexes)
{
    const uint32_t id = FreshId();
    const std::wstring name = ShareName(id);
    const ErrorTextStandIn texts;
    TraceCapture trace;
    const unsigned handles = OpenHandleCount();
    const unsigned views = MappedViewCount();
    {
        const CallRecorder<decltype(CreateFileMappingW)> create("CreateFileMappingW");
        CProxyShare share;
        ASSERT_TRUE(share.Create(id));
        EXPECT_THAT(trace.Lines(),
                    ElementsAreArray(contract::Join({{
                                                         c_shareSizeLine,
                                                         c_noProcessLine,
                                                         OpenMapLine(name),
                                                         contract::c_openMappingFailedLine,
                                                         contract::c_openMapFailedLine,
                                                         c_noProcessLine,
                                                         MappingCreatedLine(contract::LocalName(name)),
                                                         MapCreatedLine(name),
                                                         c_noProcessLine,
                                                     },
                                                     ShareMutexLines(contract::LocalName(ShareName(id)))})));
        ASSERT_THAT(create.Calls(), SizeIs(1));
        EXPECT_EQ(0U, std::get<3>(create.Calls()[0]));
        EXPECT_EQ(contract::c_shareBytes, std::get<4>(create.Calls()[0]));
        EXPECT_TRUE(share.IsCreated());
        EXPECT_EQ(handles + 8, OpenHandleCount());
        EXPECT_EQ(views + 1, MappedViewCount());
        const auto* const bytes = static_cast<const unsigned char*>(share.GetView());
        EXPECT_TRUE(std::all_of(bytes, bytes + contract::c_shareBytes, [](unsigned char byte) { return byte == 0; }));
        for (uint32_t i = 0; i < 7; ++i)
            EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(id, i))) << i;

        // Opening another share on the same object closes the first.
        trace.Clear();
        EXPECT_FALSE(share.CProxyMap::Open(FreshId()));
        EXPECT_EQ(nullptr, share.GetControl());
        EXPECT_EQ(MutexState::Missing, MutexStateOf(MutexName(id, 0))) << "there is none any more";
    }
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_EQ(views, MappedViewCount());
}

TEST(CProxyShare, OpensTheClientsShareAsItIs)
{
    const uint32_t id = FreshId();
    const ClientShare client(id);
    client.At<uint64_t>(0) = 0x1122334455667788;
    client.At<uint64_t>(0x6ED0968) = 0x8877665544332211;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    CProxyShare share;
    ASSERT_TRUE(share.Create(id));
    EXPECT_THAT(trace.Lines(), ElementsAreArray(contract::Join(
                                   {{c_shareSizeLine, c_noProcessLine, OpenMapLine(ShareName(id)), c_noProcessLine},
                                    ShareMutexLines(contract::LocalName(ShareName(id)))})));
    EXPECT_FALSE(share.IsCreated());
    EXPECT_EQ(0x1122334455667788U, client.At<uint64_t>(0));
    EXPECT_EQ(0x8877665544332211U, client.At<uint64_t>(0x6ED0968));
}

TEST(CProxyShare, OpenAttachesTheMutexesToo)
{
    const uint32_t id = GetCurrentProcessId();
    const ClientShare client(id);
    const TraceCapture trace;
    CProxyShare share;
    ASSERT_TRUE(share.Open(id));
    EXPECT_THAT(trace.Lines(),
                ElementsAreArray(contract::Join({{OpenMapLine(ShareName(id)), L"CProxyMap::Open opened share " +
                                                                                  ShareName(id) + L" successfully\n"},
                                                 ShareMutexLines(contract::LocalName(ShareName(id)))})));
    EXPECT_NE(nullptr, share.GetControl());
}

TEST_F(CProxyShareMapped, ControlBlockIsReadWhereItLies)
{
    EXPECT_EQ(View() + contract::c_controlOffset, reinterpret_cast<unsigned char*>(m_share.GetControl()));
    m_client.At<uint64_t>(contract::c_windowOffset) = 0xFEDCBA9876543210;
    EXPECT_EQ(0xFEDCBA9876543210, reinterpret_cast<uint64_t>(m_share.GetClientWindow()));
    std::memcpy(&m_client.At<wchar_t>(contract::c_textOffset), L"C:\\a.dll", sizeof L"C:\\a.dll");
    EXPECT_STREQ(L"C:\\a.dll", m_share.GetControl()->commandText);
    m_client.At<int32_t>(contract::c_controlOffset) = -9;
    m_client.At<uint64_t>(contract::c_windowOffset) = 0;
    EXPECT_EQ(nullptr, m_share.GetClientWindow());
}

TEST_F(CProxyShareMapped, ControlCountIsBelievedFrom1To255)
{
    struct Row
    {
        int32_t stored;
        int32_t read;
    };
    for (const Row& row : {Row{0, 256}, Row{-1, 256}, Row{INT32_MIN, 256}, Row{256, 256}, Row{INT32_MAX, 256},
                           Row{257, 256}, Row{255, 255}, Row{254, 254}, Row{1, 1}})
    {
        m_client.At<int32_t>(0x1CB24) = row.stored;
        EXPECT_EQ(row.read, m_share.GetControlCount()) << row.stored;
    }
}

TEST_F(CProxyShareMapped, SetControlCopiesTheWholeBlockUnderLock2)
{
    const std::vector<unsigned char> control = MakeControl();
    m_client.At<uint32_t>(0x1CB1C) = 0xAAAAAAAA;
    m_client.At<uint32_t>(0x2E280) = 0xBBBBBBBB;
    ShareMutexRecorder log(m_share);
    log.OnEntry([&](const std::string& entry) {
        EXPECT_EQ(entry == "-2" ? control[71519] : 0, m_client.Bytes()[0x2E27F]) << "the work is done in between";
    });
    EXPECT_TRUE(m_share.SetControl(control.data()));
    EXPECT_THAT(log.Entries(), ElementsAre("+2", "-2"));
    EXPECT_EQ(0, std::memcmp(m_client.Bytes() + contract::c_controlOffset, control.data(), contract::c_controlBytes));
    EXPECT_EQ(0xAAAAAAAAU, m_client.At<uint32_t>(0x1CB1C));
    EXPECT_EQ(0xBBBBBBBBU, m_client.At<uint32_t>(0x2E280));
    EXPECT_FALSE(m_share.SetControl(nullptr));
    EXPECT_EQ(1, m_client.Bytes()[contract::c_controlOffset]);
}

TEST_F(CProxyShareMapped, ClearAllZeroesEverythingUnderLock2)
{
    for (const uint32_t offset : {0x0U, 0x1CB20U, 0x255178U, 0x6E4B978U, 0x6ED096FU})
        m_client.Bytes()[offset] = 0x5A;
    ShareMutexRecorder log(m_share);
    log.OnEntry([&](const std::string& entry) {
        EXPECT_EQ(entry == "-2" ? 0 : 0x5A, m_client.Bytes()[0x6ED096F]) << "the work is done in between";
    });
    m_share.ClearAll();
    EXPECT_THAT(log.Entries(), ElementsAre("+2", "-2"));
    EXPECT_TRUE(std::all_of(m_client.Bytes(), m_client.Bytes() + contract::c_shareBytes,
                            [](unsigned char byte) { return byte == 0; }));
}

TEST_F(CProxyShareMapped, ResetRunDataZeroesItsRegionsUnderLock2AndNothingElse)
{
    // The edges of every region and what lies just outside.
    constexpr uint32_t cleared[] = {0x1C4EC,  0x1C4EF,  0x36F68,  0x36F6C,  0x36F70,  0x254F6F, 0x254F70, 0x254F74,
                                    0x255173, 0x255174, 0x255178, 0x28B577, 0x28B578, 0x362D80, 0x6E4B977};
    constexpr uint32_t kept[] = {0x0,     0x1C4EB, 0x1C4F0, 0x1CB1F, 0x1CB20,   0x2E27F,
                                 0x2E280, 0x36F5F, 0x36F60, 0x36F67, 0x6E4B978, 0x6ED096F};
    for (const uint32_t offset : cleared)
        m_client.Bytes()[offset] = 0x5A;
    for (const uint32_t offset : kept)
        m_client.Bytes()[offset] = 0x5A;
    ShareMutexRecorder log(m_share);
    log.OnEntry([&](const std::string& entry) {
        EXPECT_EQ(entry == "-2" ? 0 : 0x5A, m_client.Bytes()[0x1C4EC]) << "the work is done in between";
        EXPECT_EQ(entry == "-2" ? 0 : 0x5A, m_client.Bytes()[0x28B578]);
    });
    m_share.ResetRunData();
    EXPECT_THAT(log.Entries(), ElementsAre("+2", "-2"));
    for (const uint32_t offset : cleared)
        EXPECT_EQ(0, m_client.Bytes()[offset]) << offset;
    for (const uint32_t offset : kept)
        EXPECT_EQ(0x5A, m_client.Bytes()[offset]) << offset;
    EXPECT_TRUE(std::all_of(m_client.Bytes() + 0x36F68, m_client.Bytes() + 0x6E4B978,
                            [](unsigned char byte) { return byte == 0; }));
}

TEST_F(CProxyShareMapped, EachLockIsTheNamedMutexOfItsIndex)
{
    for (uint32_t locked = 0; locked < 7; ++locked)
    {
        m_share.Lock(locked);
        for (uint32_t i = 0; i < 7; ++i)
            EXPECT_EQ(i != locked ? MutexState::Free : MutexState::Held, MutexStateOf(MutexName(m_id, i))) << i;
        m_share.Unlock(locked);
        EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(m_id, locked)));
    }
    EXPECT_EQ(MutexState::Missing, MutexStateOf(MutexName(m_id, 7))) << "there is no eighth";
}

TEST_F(CProxyShareMapped, LocksOutsideTheRangeAreIgnored)
{
    const ShareMutexRecorder log(m_share);
    for (const uint32_t index : {7U, 8U, 0x80000000U, 0xFFFFFFFFU})
    {
        m_share.Lock(index);
        m_share.Unlock(index);
    }
    EXPECT_THAT(log.Entries(), IsEmpty());
}

TEST(CProxyShare, WhatLiesBehindItsMutexesIsNone)
{
    alignas(CProxyShare) unsigned char memory[sizeof(CProxyShare) + sizeof(void*)];
    std::memset(memory, 0x5A, sizeof memory);
    auto* const share = new (memory) CProxyShare;
    EXPECT_TRUE(share->Create(FreshId()));
    share->Lock(7);
    share->Unlock(7);
    share->~CProxyShare();
}

TEST(CProxyShare, ClosesNoFileWhenItHasNone)
{
    const CallRecorder<decltype(fclose)> close("fclose");
    {
        const CProxyShare share;
    }
    EXPECT_THAT(close.Calls(), IsEmpty());
}

TEST_F(CProxyShareMapped, AnOperationWaitsForTheOtherProcessesLock)
{
    HANDLE const mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, MutexName(m_id, 2).c_str());
    ASSERT_EQ(DWORD{WAIT_OBJECT_0}, WaitForSingleObject(mutex, 0));
    const std::vector<unsigned char> control = MakeControl();
    bool done = false;
    std::thread thread([&] { done = m_share.SetControl(control.data()); });
    Sleep(50);
    EXPECT_EQ(0, m_client.Bytes()[contract::c_controlOffset]);
    ReleaseMutex(mutex);
    thread.join();
    EXPECT_TRUE(done);
    EXPECT_EQ(1, m_client.Bytes()[contract::c_controlOffset]);
    CloseHandle(mutex);
}

TEST_F(CProxyShareMapped, CloseLetsGoOfMemoryAndMutexes)
{
    m_share.Lock(4);
    HANDLE const mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, MutexName(m_id, 4).c_str());
    m_share.Close();
    EXPECT_EQ(nullptr, m_share.GetView());
    EXPECT_EQ(nullptr, m_share.GetControl());
    EXPECT_EQ(256, m_share.GetControlCount());
    EXPECT_EQ(MutexState::Missing, MutexStateOf(MutexName(m_id, 0))) << "there is none any more";
    EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(m_id, 4))) << "released before it was closed";
    CloseHandle(mutex);
    m_share.Close();

    EXPECT_EQ(&m_share, g_pShare) << "it is still the process's share";
    EXPECT_TRUE(m_share.Create(m_id));
    EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(m_id, 6)));
}

TEST(CProxyShare, LeavesNothingOpen)
{
    const uint32_t id = FreshId();
    const TraceCapture trace;
    const ClientShare client(id);
    const unsigned handles = OpenHandleCount();
    const unsigned views = MappedViewCount();
    {
        CProxyShare share;
        EXPECT_TRUE(share.Create(id));
        EXPECT_TRUE(share.Create(id));
        EXPECT_EQ(handles + 8, OpenHandleCount());
        EXPECT_EQ(views + 1, MappedViewCount());
    }
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_EQ(views, MappedViewCount());
}

TEST(CProxyShare, LosesNoMemory)
{
    const uint32_t id = FreshId();
    const ClientShare client(id);
    ExpectNothingLeaks([id] {
        CProxyShare share;
        share.Create(id);
        share.Lock(2);
        int32_t tindex = -1;
        share.AddThread(&tindex, 5, L"detail", L"name");
        share.RemoveThread(tindex, true);
    });
}

TEST(CProxyShare, WithoutMutexesTheShareStillWorks)
{
    const uint32_t id = FreshId();
    const ClientShare client(id);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const FailingCall<decltype(CreateMutexW)> create("CreateMutexW", ERROR_ACCESS_DENIED);
    CProxyShare share;
    EXPECT_TRUE(share.Create(id));
    ASSERT_THAT(trace.Lines(), SizeIs(18));
    EXPECT_EQ(L"CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 5>\n", trace.Lines().back());
    share.Lock(3);
    share.Unlock(3);
    const std::vector<unsigned char> control = MakeControl();
    EXPECT_TRUE(share.SetControl(control.data()));
    EXPECT_EQ(1, client.Bytes()[contract::c_controlOffset]);
}

TEST(CProxyShare, AMutexThatCannotBeAllocatedIsMissingAlone)
{
    const uint32_t id = FreshId();
    const ClientShare client(id);
    CProxyShare share;
    {
        AllocationProbe memory;
        memory.FailSize(sizeof(CProxyAccess));
        EXPECT_TRUE(share.Create(id));
        EXPECT_TRUE(memory.HasFailed());
    }
    EXPECT_EQ(MutexState::Missing, MutexStateOf(MutexName(id, 0))) << "there is none";
    share.Lock(0);
    share.Unlock(0);
    share.Lock(1);
    EXPECT_EQ(MutexState::Held, MutexStateOf(MutexName(id, 1)));
    share.Unlock(1);
    EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(id, 1)));
}

TEST(CProxyShare, ASmallerMappingIsRefused)
{
    for (const uint64_t size : {uint64_t{1}, uint64_t{4096}, uint64_t{0x6ED0000}})
    {
        const uint32_t id = FreshId();
        const ForeignMapping hostile(contract::LocalName(ShareName(id)), size, PAGE_READWRITE);
        const ErrorTextStandIn texts;
        const TraceCapture trace;
        const unsigned handles = OpenHandleCount();
        const unsigned views = MappedViewCount();
        CProxyShare share;
        EXPECT_FALSE(share.Create(id));
        EXPECT_THAT(trace.Lines(), ElementsAre(c_shareSizeLine, c_noProcessLine, OpenMapLine(ShareName(id)),
                                               L"CProxyShare::OnMapped share " + ShareName(id) +
                                                   L" is smaller than 116197744 bytes\n"));
        EXPECT_EQ(nullptr, share.GetControl());
        EXPECT_EQ(nullptr, share.GetView());
        EXPECT_EQ(handles, OpenHandleCount());
        EXPECT_EQ(views, MappedViewCount());
        EXPECT_FALSE(share.Open(id));
    }
}

TEST(CProxyShare, AMappingThatReachesToItsLastPageIsEnough)
{
    const uint32_t id = FreshId();
    const ForeignMapping client(contract::LocalName(ShareName(id)), 0x6ED0001, PAGE_READWRITE);
    CProxyShare share;
    EXPECT_TRUE(share.Create(id)) << "memory comes in pages";
    share.GetControl()->count = 5;
    EXPECT_EQ(5, client.At<int32_t>(0x1CB24));
}

TEST(CProxyShare, AMappingWhoseMemoryIsOnlyReservedIsRefused)
{
    const uint32_t id = FreshId();
    const ForeignMapping hostile(contract::LocalName(ShareName(id)), contract::c_shareBytes,
                                 PAGE_READWRITE | SEC_RESERVE);
    CProxyShare share;
    EXPECT_FALSE(share.Create(id));
    EXPECT_EQ(256, share.GetControlCount());
}

TEST(CProxyShare, AViewThatCannotBeMeasuredIsRefused)
{
    const uint32_t id = FreshId();
    const ClientShare client(id);
    const FailingCall<decltype(VirtualQuery)> query("VirtualQuery", ERROR_INVALID_PARAMETER);
    CProxyShare share;
    EXPECT_FALSE(share.Create(id));
    EXPECT_EQ(nullptr, share.GetControl());
}

TEST(CProxyShare, AShareThatCannotBeHadIsNoShare)
{
    const uint32_t id = FreshId();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const unsigned handles = OpenHandleCount();
    CProxyShare share;
    {
        const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_COMMITMENT_LIMIT);
        EXPECT_FALSE(share.Create(id));
        EXPECT_EQ(L"CProxyMap::Create create share " + ShareName(id) + L" failed\n<error 1455>\n",
                  trace.Lines().back());
    }
    const ClientShare client(id);
    {
        const FailingCall<decltype(MapViewOfFile)> mapView("MapViewOfFile", ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_FALSE(share.Create(id));
        EXPECT_EQ(nullptr, share.GetControl());
    }
    share.Close();
    EXPECT_EQ(handles + 1, OpenHandleCount()) << "the client's";
    EXPECT_TRUE(share.Create(id)) << "the next try works";
}

// A fault in the view, which a handler turns into a C++ exception.

TEST_F(CProxyShareMapped, AFaultReleasesTheLockOnItsWayOut)
{
    const std::vector<unsigned char> control = MakeControl();
    ThreadSlot record{};
    record.threadId = 7;
    int32_t tindex = -1;
    struct Row
    {
        const char* what;
        uint32_t unreadable;
        uint32_t lock;
        std::function<void()> run;
    };
    const Row rows[] = {
        {"control block", 0x20000, 2, [&] { m_share.SetControl(control.data()); }},
        {"end of the share", 0x6ED0000, 2, [&] { m_share.ClearAll(); }},
        {"thread blocks", 0x28C000, 2, [&] { m_share.ResetRunData(); }},
        {"thread table", 0x256000, 2, [&] { m_share.ResetRunData(); }},
        {"record table", 0x40000, 2, [&] { m_share.ResetRunData(); }},
        {"run word", 0x1C4EC, 2, [&] { m_share.ResetRunData(); }},
        {"search for a free slot", 0x255178, 3, [&] { m_share.AddThread(&tindex, record); }},
        {"thread count", 0x254F70, 3, [&] { m_share.AddThread(&tindex, record); }},
        {"rest of the free slot", 0x256000, 3, [&] { m_share.AddThread(&tindex, record); }},
        {"search for a free slot", 0x255178, 3, [&] { m_share.AddThread(&tindex, 8, L"d", L"n"); }},
        {"rest of the free slot", 0x256000, 3, [&] { m_share.AddThread(&tindex, 8, L"d", L"n"); }},
        {"slot", 0x255178, 3, [&] { m_share.RemoveThread(0, false); }},
        {"thread block", 0x28B578, 3, [&] { m_share.RemoveThread(0, false); }},
        {"order list", 0x254F74, 3, [&] { m_share.RemoveThread(1, false); }},
        {"thread count", 0x254F70, 3, [&] { m_share.SetAllThreadsState(5); }},
        {"state", 0x256000, 3, [&] { m_share.SetAllThreadsState(5); }},
        {"thread count", 0x254F70, 2, [&] { m_share.Record(0, 1); }},
        {"record mode", 0x255178, 2, [&] { m_share.Record(0, 1); }},
    };
    for (const Row& row : rows)
    {
        // Slots 0 and 1 are in use; slot 2, the first free one, crosses the end of a page.
        m_client.At<int32_t>(0x254F70) = 4;
        m_client.At<uint32_t>(0x255178) = 1;
        m_client.At<uint32_t>(0x255178 + 1736) = 2;
        m_client.At<uint32_t>(0x255178 + 2 * 1736) = 0;
        m_client.At<uint32_t>(0x255178 + 3 * 1736) = 4;
        {
            const UnreadablePage page(View() + row.unreadable);
            EXPECT_THROW(row.run(), PageFault) << row.what;
        }
        EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(m_id, row.lock))) << row.what;
        row.run();
        EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(m_id, row.lock))) << row.what;
    }
}

TEST_F(CProxyShareMapped, AFaultOfTheCallersMemoryReleasesTheLockToo)
{
    auto* const memory =
        static_cast<unsigned char*>(VirtualAlloc(nullptr, 1 << 20, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    {
        const UnreadablePage page(memory);
        EXPECT_THROW(m_share.SetControl(memory), PageFault);
        EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(m_id, 2)));
        int32_t tindex = -1;
        EXPECT_THROW(m_share.AddThread(&tindex, *reinterpret_cast<const ThreadSlot*>(memory)), PageFault);
        EXPECT_EQ(MutexState::Free, MutexStateOf(MutexName(m_id, 3)));
    }
    VirtualFree(memory, 0, MEM_RELEASE);
}

// Two processes.

ORV_CHILD_ROLE(ReadAndAnswerControl)
{
    CProxyShare share;
    if (!share.Create(std::stoul(arguments.at(0), nullptr, 16)) || share.IsCreated())
        return 1;
    if (share.GetControlCount() != 17 || share.GetClientWindow() != reinterpret_cast<HWND>(0x123456789A))
        return 2;
    if (std::wstring(share.GetControl()->commandText) != L"Some.Type")
        return 3;
    share.Lock(5);
    Meeting(arguments.at(1)).Signal();
    Meeting(arguments.at(2)).Wait();
    share.Unlock(5);
    std::vector<unsigned char> control(contract::c_controlBytes, 0x77);
    return share.SetControl(control.data()) ? 0 : 4;
}

namespace
{
void ExpectASharedControlBlock(const wchar_t* role)
{
    const std::wstring lockedName = FreshName(L"locked");
    const std::wstring goOnName = FreshName(L"goOn");
    const Meeting locked(lockedName);
    const Meeting goOn(goOnName);
    const uint32_t id = FreshId();
    CProxyShare share;
    ASSERT_TRUE(share.Create(id));
    EXPECT_TRUE(share.IsCreated());
    ShareControl* const control = share.GetControl();
    control->count = 17;
    control->clientWindow = 0x123456789A;
    std::memcpy(control->commandText, L"Some.Type", sizeof L"Some.Type");
    const ChildProcess child = ChildProcess::StartRole(role, {contract::PaddedHex(id), lockedName, goOnName});
    locked.Wait();
    std::atomic<bool> got{false};
    std::thread waiter([&] {
        share.Lock(5);
        got = true;
        share.Unlock(5);
    });
    Sleep(20);
    EXPECT_FALSE(got) << "the other process holds it";
    goOn.Signal();
    waiter.join();
    EXPECT_TRUE(got);
    EXPECT_EQ(0U, child.WaitForExit());
    EXPECT_EQ(0x77777777, control->count);
}
} // namespace

TEST(CProxyShare, TwoProcessesShareMemoryAndMutexes)
{
    ExpectASharedControlBlock(L"ReadAndAnswerControl");
}

ORV_CHILD_ROLE(ReadAndAnswerControlInNamespace)
{
    const ManagerIn<NamespaceWorld> world(NamespaceWorld::Entry::Parents);
    return ChildRoleReadAndAnswerControl(arguments);
}

TEST(CProxyShare, TwoProcessesShareMemoryAndMutexesInThePrivateNamespace)
{
    const ManagerIn<NamespaceWorld> world;
    {
        const uint32_t id = FreshId();
        const TraceCapture trace;
        const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_COMMITMENT_LIMIT);
        CProxyShare share;
        EXPECT_FALSE(share.Create(id));
        EXPECT_THAT(trace.Lines(), testing::Contains(MappingCreatedLine(contract::NamespaceName(ShareName(id)))));
    }
    ExpectASharedControlBlock(L"ReadAndAnswerControlInNamespace");
}
