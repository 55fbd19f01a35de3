#include "OrvProfiler/share/ProxyPrivate.h"

#include "tests/share/OwnMutexName.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ManagerIn.h"
#include "tests/support/worlds/NamedObjects.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <vector>

using contract::c_noProcessLine;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
struct Names
{
    std::wstring base = FreshName(L"private");
    uint32_t id = FreshId();
    std::wstring name = base + contract::PaddedHex(id);
    std::wstring kernel = contract::LocalName(name);
};

unsigned char* HeaderOf(CProxyPrivate& block)
{
    return static_cast<unsigned char*>(block.CProxyMap::GetView());
}

template <class Value>
Value& At(CProxyPrivate& block, uint64_t offset)
{
    return *reinterpret_cast<Value*>(HeaderOf(block) + offset);
}
} // namespace

TEST(CProxyPrivate, AnUnmappedBlockHasNothing)
{
    CProxyPrivate block(L"Base");
    const TraceCapture trace;
    EXPECT_EQ(nullptr, block.GetView());
    EXPECT_EQ(0U, block.GetDataSize());
    EXPECT_EQ(nullptr, block.LockData());
    block.UnlockData();
    block.SetValue4(1);
    block.SetValue18360(2);
    block.SetValue18368(3);
    EXPECT_EQ(0U, block.GetValue4());
    EXPECT_EQ(0U, block.GetValue18360());
    EXPECT_EQ(0U, block.GetValue18368());
    EXPECT_FALSE(block.SetText(L"text"));
    EXPECT_FALSE(block.SetShortText(L"text"));
    EXPECT_EQ(nullptr, block.GetText());
    EXPECT_EQ(nullptr, block.GetShortText());
    block.Close();
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxyPrivate, CreatesAHeaderAndAZeroedDataArea)
{
    const Names names;
    const OwnMutexName mutex;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const CallRecorder<decltype(CreateFileMappingW)> create("CreateFileMappingW");
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxyPrivate::Create Requested Size of Private Data is 100 bytes\n", c_noProcessLine,
                            contract::OpenMapLine(names.name), contract::c_openMappingFailedLine,
                            contract::c_openMapFailedLine, c_noProcessLine,
                            contract::MappingCreatedLine(names.kernel), contract::MapCreatedLine(names.name),
                            c_noProcessLine,
                            L"CProxySecManager::OrvPCreateMutex Create Mutex Local\\AgentDataMutex\n"));
    ASSERT_THAT(create.Calls(), SizeIs(1));
    EXPECT_EQ(INVALID_HANDLE_VALUE, std::get<0>(create.Calls()[0]));
    EXPECT_EQ(0U, std::get<3>(create.Calls()[0]));
    EXPECT_EQ(18476U, std::get<4>(create.Calls()[0]));
    EXPECT_TRUE(block.IsCreated());
    EXPECT_EQ(100U, block.GetDataSize());
    EXPECT_EQ(100U, At<uint32_t>(block, 0));
    EXPECT_EQ(HeaderOf(block) + 18376, block.GetView());
    const unsigned char* const bytes = HeaderOf(block);
    EXPECT_TRUE(std::all_of(bytes + 4, bytes + 18476, [](unsigned char byte) { return byte == 0; }));
}

TEST(CProxyPrivate, FindsTheSessionOfALivingProcess)
{
    const Names names;
    const OwnMutexName mutex;
    const TraceCapture trace;
    CProxyPrivate block(names.base.c_str());
    EXPECT_TRUE(block.Create(GetCurrentProcessId(), 100));
    EXPECT_THAT(trace.Lines(), SizeIs(7)) << "the same without the three lines of a session that is not found";
}

TEST(CProxyPrivate, TheCreatorsSizeWins)
{
    const Names names;
    const OwnMutexName mutex;
    const ForeignMapping creator(names.kernel, 18376 + 4096, PAGE_READWRITE);
    creator.At<uint32_t>(0) = 4096;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxyPrivate::Create Requested Size of Private Data is 100 bytes\n", c_noProcessLine,
                            contract::OpenMapLine(names.name), c_noProcessLine,
                            L"CProxySecManager::OrvPCreateMutex Create Mutex Local\\AgentDataMutex\n"));
    EXPECT_EQ(4096U, block.GetDataSize());
    EXPECT_EQ(4096U, creator.At<uint32_t>(0));
    EXPECT_FALSE(block.IsCreated());
    static_cast<unsigned char*>(block.GetView())[4095] = 9;
    EXPECT_EQ(9, creator.Bytes()[18376 + 4095]);

    CProxyPrivate opened(names.base.c_str());
    EXPECT_TRUE(opened.Open(names.id));
    EXPECT_EQ(4096U, opened.GetDataSize());
}

TEST(CProxyPrivate, ABlockMadeBetweenOpenAndCreateIsAdopted)
{
    const Names names;
    const OwnMutexName mutex;
    const ForeignMapping creator(names.kernel, 18376 + 4096, PAGE_READWRITE);
    creator.At<uint32_t>(0) = 4096;
    creator.At<uint32_t>(4) = 7;
    const FailingCall<decltype(OpenFileMappingW)> open("OpenFileMappingW", ERROR_FILE_NOT_FOUND);
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    EXPECT_FALSE(block.IsCreated());
    EXPECT_EQ(4096U, block.GetDataSize());
    EXPECT_EQ(4096U, creator.At<uint32_t>(0));
    EXPECT_EQ(7U, block.GetValue4());
}

TEST(CProxyPrivate, HasNoSizeOnceItIsClosed)
{
    const Names names;
    const OwnMutexName mutex;
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    block.Close();
    EXPECT_EQ(0U, block.GetDataSize());
    ASSERT_TRUE(block.Create(names.id, 200));
    EXPECT_EQ(200U, block.GetDataSize());
    EXPECT_FALSE(block.Open(FreshId()));
    EXPECT_EQ(0U, block.GetDataSize());
}

TEST(CProxyPrivate, ValuesLieAtTheirOffsets)
{
    const Names names;
    const OwnMutexName mutex;
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    block.SetValue4(0x11223344);
    block.SetValue18360(0x5566778899AABBCC);
    block.SetValue18368(0xDDEEFF00);
    EXPECT_TRUE(block.SetText(L"the text"));
    EXPECT_TRUE(block.SetShortText(L"the short text"));
    EXPECT_EQ(0x11223344U, At<uint32_t>(block, 4));
    EXPECT_STREQ(L"the text", &At<wchar_t>(block, 8));
    EXPECT_STREQ(L"the short text", &At<wchar_t>(block, 17834));
    EXPECT_EQ(0x5566778899AABBCCU, At<uint64_t>(block, 18360));
    EXPECT_EQ(0xDDEEFF00U, At<uint32_t>(block, 18368));
    for (const uint64_t reserved : {17832U, 17833U, 18356U, 18359U, 18372U, 18375U, 18376U})
        EXPECT_EQ(0, HeaderOf(block)[reserved]) << reserved;

    EXPECT_EQ(0x11223344U, block.GetValue4());
    EXPECT_EQ(0x5566778899AABBCCU, block.GetValue18360());
    EXPECT_EQ(0xDDEEFF00U, block.GetValue18368());
    EXPECT_STREQ(L"the text", block.GetText());
    EXPECT_STREQ(L"the short text", block.GetShortText());
    EXPECT_EQ(100U, At<uint32_t>(block, 0));
}

TEST(CProxyPrivate, TextKeeps8911UnitsAndRefuses8913)
{
    const Names names;
    const OwnMutexName mutex;
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    At<uint16_t>(block, 17832) = 0x5A5A;
    struct Row
    {
        size_t length;
        bool accepted;
        size_t kept;
    };
    for (const Row& row : {Row{8910, true, 8910}, Row{8911, true, 8911}, Row{8912, true, 8911}, Row{8913, false, 0},
                           Row{20000, false, 0}, Row{0, true, 0}})
    {
        EXPECT_TRUE(block.SetText(L"before"));
        EXPECT_EQ(row.accepted, block.SetText(std::wstring(row.length, L't').c_str())) << row.length;
        EXPECT_EQ(std::wstring(row.kept, L't'), block.GetText());
        EXPECT_EQ(0x5A5A, At<uint16_t>(block, 17832)) << "the unit behind the field";
    }
}

TEST(CProxyPrivate, ShortTextKeeps260UnitsAndEmptiesFrom262)
{
    const Names names;
    const OwnMutexName mutex;
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    At<uint32_t>(block, 18356) = 0x5A5A5A5A;
    struct Row
    {
        size_t length;
        size_t kept;
    };
    for (const Row& row : {Row{259, 259}, Row{260, 260}, Row{261, 260}, Row{262, 0}, Row{20000, 0}, Row{0, 0}})
    {
        EXPECT_TRUE(block.SetShortText(L"before"));
        EXPECT_TRUE(block.SetShortText(std::wstring(row.length, L't').c_str())) << row.length;
        EXPECT_EQ(std::wstring(row.kept, L't'), block.GetShortText());
        EXPECT_EQ(0x5A5A5A5AU, At<uint32_t>(block, 18356)) << "what lies behind the field";
    }
}

TEST(CProxyPrivate, AbsentTextsAreEmptyOnes)
{
    const Names names;
    const OwnMutexName mutex;
    const PageEdge<wchar_t> edge(L"");
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    for (const wchar_t* const absent :
         {static_cast<const wchar_t*>(nullptr), static_cast<const wchar_t*>(edge.Text()),
          static_cast<const wchar_t*>(edge.Unreadable())})
    {
        block.SetText(L"before");
        block.SetShortText(L"before");
        EXPECT_TRUE(block.SetText(absent));
        EXPECT_TRUE(block.SetShortText(absent));
        EXPECT_STREQ(L"", block.GetText());
        EXPECT_STREQ(L"", block.GetShortText());
    }
}

TEST(CProxyPrivate, LockDataHoldsTheMutexUntilUnlockData)
{
    const Names names;
    const OwnMutexName mutex;
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    EXPECT_EQ(MutexState::Free, MutexStateOf(mutex.KernelName()));
    EXPECT_EQ(block.GetView(), block.LockData());
    EXPECT_EQ(MutexState::Held, MutexStateOf(mutex.KernelName()));
    EXPECT_EQ(block.GetView(), block.LockData()) << "the thread has it already";
    block.UnlockData();
    EXPECT_EQ(MutexState::Free, MutexStateOf(mutex.KernelName()));
    block.UnlockData();
}

TEST(CProxyPrivate, LockDataWaitsWithoutLimit)
{
    const Names names;
    const OwnMutexName mutex;
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    const CallRecorder<decltype(WaitForSingleObject)> wait("WaitForSingleObject");
    ASSERT_NE(nullptr, block.LockData());
    ASSERT_THAT(wait.Calls(), SizeIs(1));
    EXPECT_EQ(0xFFFFFFFFU, std::get<1>(wait.Calls()[0]));
    block.UnlockData();
}

TEST(CProxyPrivate, WithoutAMutexLockDataIsNullAtOnce)
{
    const Names names;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const FailingCall<decltype(CreateMutexW)> create("CreateMutexW", ERROR_ACCESS_DENIED);
    CProxyPrivate block(names.base.c_str());
    EXPECT_TRUE(block.Create(names.id, 100));
    EXPECT_EQ(L"CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 5>\n", trace.Lines().back());
    const CallRecorder<decltype(WaitForSingleObject)> wait("WaitForSingleObject");
    EXPECT_EQ(nullptr, block.LockData());
    block.UnlockData();
    EXPECT_THAT(wait.Calls(), IsEmpty());
    EXPECT_NE(nullptr, block.GetView()) << "the data area is there all the same";
}

TEST(CProxyPrivate, WithoutMemoryForTheMutexLockDataIsNullAtOnce)
{
    const Names names;
    const OwnMutexName mutex;
    AllocationProbe memory;
    memory.FailSize(sizeof(CProxyAccess));
    CProxyPrivate block(names.base.c_str());
    EXPECT_TRUE(block.Create(names.id, 100));
    EXPECT_TRUE(memory.HasFailed());
    EXPECT_EQ(nullptr, block.LockData());
    block.UnlockData();
}

TEST(CProxyPrivate, LockDataGivesTheMutexBackWhenThereIsNoDataArea)
{
    struct NoData : CProxyPrivate
    {
        using CProxyPrivate::CProxyPrivate;
        void* GetView() override { return nullptr; }
    };
    const Names names;
    const OwnMutexName mutex;
    NoData block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    EXPECT_EQ(nullptr, block.LockData());
    EXPECT_EQ(MutexState::Free, MutexStateOf(mutex.KernelName()));
}

TEST(CProxyPrivate, AFailingWaitIsNoLock)
{
    const Names names;
    const OwnMutexName mutex;
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    {
        const Redirect<decltype(WaitForSingleObject)> wait("WaitForSingleObject",
                                                           [](HANDLE, DWORD) -> DWORD { return WAIT_FAILED; });
        EXPECT_EQ(nullptr, block.LockData());
    }
    EXPECT_EQ(MutexState::Free, MutexStateOf(mutex.KernelName()));
    EXPECT_NE(nullptr, block.LockData());
}

TEST(CProxyPrivate, SizesAreAddedIn32Bits)
{
    struct Row
    {
        uint32_t dataSize;
        const wchar_t* printed;
        // The size that the system is asked for, whether there is a block, and how much of it is data.
        uint32_t mappingSize;
        bool created;
        uint32_t usableSize;
    };
    constexpr Row rows[] = {
        {0, L"0", 18376, true, 0},
        {1, L"1", 18377, true, 1},
        // One byte less than the header; the rest of the last page is there all the same, and is the data.
        {4294967295U, L"-1", 18375, true, 2104},
        {4294948920U, L"-18376", 0, false, 0},
        {4294948921U, L"-18375", 1, false, 0},
    };
    for (const Row& row : rows)
    {
        const Names names;
        const OwnMutexName mutex;
        const ErrorTextStandIn texts;
        const TraceCapture trace;
        const unsigned handles = OpenHandleCount();
        const unsigned views = MappedViewCount();
        {
            const CallRecorder<decltype(CreateFileMappingW)> create("CreateFileMappingW");
            CProxyPrivate block(names.base.c_str());
            EXPECT_EQ(row.created, block.Create(names.id, row.dataSize)) << row.dataSize;
            EXPECT_EQ(L"CProxyPrivate::Create Requested Size of Private Data is " + std::wstring(row.printed) +
                          L" bytes\n",
                      trace.Lines().front());
            ASSERT_THAT(create.Calls(), SizeIs(1));
            EXPECT_EQ(row.mappingSize, std::get<4>(create.Calls()[0]));
            EXPECT_EQ(row.usableSize, block.GetDataSize());
            EXPECT_EQ(row.created, block.GetView() != nullptr);
            EXPECT_EQ(row.created, block.SetText(L"text"));
            EXPECT_EQ(row.created ? row.dataSize : 0, row.created ? At<uint32_t>(block, 0) : 0)
                << "the header tells what was asked for";
        }
        EXPECT_EQ(handles, OpenHandleCount());
        EXPECT_EQ(views, MappedViewCount());
    }
}

TEST(CProxyPrivate, ABlockThatCannotBeHadHasNoSize)
{
    const Names names;
    const OwnMutexName mutex;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const unsigned handles = OpenHandleCount();
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 100));
    {
        const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_COMMITMENT_LIMIT);
        EXPECT_FALSE(block.Create(FreshId(), 200));
        EXPECT_EQ(0U, block.GetDataSize());
        EXPECT_EQ(nullptr, block.LockData()) << "the old mutex went with the old block";
        EXPECT_EQ(nullptr, block.GetText());
    }
    {
        const FailingCall<decltype(MapViewOfFile)> mapView("MapViewOfFile", ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_FALSE(block.Create(FreshId(), 300));
        EXPECT_EQ(0U, block.GetDataSize());
        EXPECT_EQ(nullptr, block.GetView());
    }
    block.Close();
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_TRUE(block.Create(names.id, 400));
    EXPECT_EQ(400U, block.GetDataSize());
}

TEST(CProxyPrivate, CloseReleasesTheMutexAndTheMemory)
{
    const Names names;
    const OwnMutexName mutex;
    const TraceCapture trace;
    const unsigned handles = OpenHandleCount();
    const unsigned views = MappedViewCount();
    HANDLE const keeper = CreateMutexW(nullptr, FALSE, mutex.KernelName().c_str());
    {
        CProxyPrivate block(names.base.c_str());
        ASSERT_TRUE(block.Create(names.id, 100));
        EXPECT_EQ(handles + 3, OpenHandleCount());
        ASSERT_NE(nullptr, block.LockData());
        block.Close();
        EXPECT_EQ(nullptr, block.GetView());
        EXPECT_EQ(MutexState::Free, MutexStateOf(mutex.KernelName())) << "released, not abandoned";
        ASSERT_TRUE(block.Create(names.id, 100));
        ASSERT_NE(nullptr, block.LockData());
    }
    EXPECT_EQ(MutexState::Free, MutexStateOf(mutex.KernelName())) << "also by the destructor";
    CloseHandle(keeper);
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_EQ(views, MappedViewCount());
}

TEST(CProxyPrivate, LosesNoMemory)
{
    const Names names;
    const OwnMutexName mutex;
    ExpectNothingLeaks([&names] {
        CProxyPrivate block(names.base.c_str());
        block.Create(names.id, 100);
        block.SetText(L"text");
        block.LockData();
    });
}

// Blocks that a broken or hostile process may have made.

TEST(CProxyPrivate, AMappingSmallerThanTheHeaderIsRefused)
{
    for (const uint64_t size : {uint64_t{1}, uint64_t{4096}, uint64_t{16384}})
    {
        const Names names;
        const OwnMutexName mutex;
        const ForeignMapping hostile(names.kernel, size, PAGE_READWRITE);
        const ErrorTextStandIn texts;
        const TraceCapture trace;
        const unsigned handles = OpenHandleCount();
        CProxyPrivate block(names.base.c_str());
        EXPECT_FALSE(block.Create(names.id, 100)) << size;
        EXPECT_EQ(L"CProxyPrivate::OnMapped share " + names.name + L" is smaller than 18376 bytes\n",
                  trace.Lines().back());
        EXPECT_EQ(0U, block.GetDataSize());
        EXPECT_EQ(nullptr, block.GetView());
        EXPECT_EQ(nullptr, block.LockData());
        EXPECT_FALSE(block.Open(names.id));
        EXPECT_EQ(handles, OpenHandleCount());
    }
}

TEST(CProxyPrivate, AnnouncedDataThatDoesNotLieInTheBlockIsNoData)
{
    struct Row
    {
        uint64_t mappingSize;
        uint32_t announced;
        uint32_t usable;
    };
    for (const Row& row : {Row{18376, 4294967295U, 20480 - 18376}, Row{18376 + 4096, 4294967295U, 24576 - 18376},
                           Row{18376 + 4096, 6201, 6200}, Row{18376 + 4096, 6200, 6200}, Row{18376 + 4096, 0, 0}})
    {
        const Names names;
        const OwnMutexName mutex;
        const ForeignMapping hostile(names.kernel, row.mappingSize, PAGE_READWRITE);
        hostile.At<uint32_t>(0) = row.announced;
        CProxyPrivate block(names.base.c_str());
        EXPECT_TRUE(block.Create(names.id, 100));
        EXPECT_EQ(row.usable, block.GetDataSize());
        EXPECT_EQ(row.announced, hostile.At<uint32_t>(0)) << "the block is not ours to correct";
        // Every byte of it can be touched.
        std::memset(block.GetView(), 1, block.GetDataSize());
    }
}

// Two processes.

namespace
{
// Counts in the data area, under the block's lock alone.
bool CountInData(CProxyPrivate& block, int turns)
{
    for (int turn = 0; turn < turns; ++turn)
    {
        auto* const counter = static_cast<volatile int*>(block.LockData());
        if (counter == nullptr)
            return false;
        *counter = *counter + 1;
        block.UnlockData();
    }
    return true;
}
} // namespace

ORV_CHILD_ROLE(UsePrivateBlock)
{
    const OwnMutexName mutex(arguments.at(2));
    CProxyPrivate block(arguments.at(0).c_str());
    if (!block.Create(std::stoul(arguments.at(1), nullptr, 16), 100) || block.IsCreated())
        return 1;
    if (block.GetDataSize() != 4096)
        return 2;
    if (block.GetValue4() != 11 || block.GetValue18360() != 22 || block.GetValue18368() != 33)
        return 3;
    if (std::wstring(block.GetText()) != L"parent's" || std::wstring(block.GetShortText()) != L"short")
        return 4;
    block.SetValue4(44);
    block.SetValue18360(55);
    block.SetValue18368(66);
    block.SetText(L"child's");
    block.SetShortText(L"shorter");
    Meeting(arguments.at(3)).Signal();
    if (!CountInData(block, 1000))
        return 5;
    // Ends while it holds the mutex, as a crash would.
    block.LockData();
    TerminateProcess(GetCurrentProcess(), 0);
    return 6;
}

namespace
{
void ExpectASharedBlock(const wchar_t* role, const OwnMutexName& mutex)
{
    const Names names;
    const std::wstring readyName = FreshName(L"ready");
    const Meeting ready(readyName);
    CProxyPrivate block(names.base.c_str());
    ASSERT_TRUE(block.Create(names.id, 4096));
    block.SetValue4(11);
    block.SetValue18360(22);
    block.SetValue18368(33);
    block.SetText(L"parent's");
    block.SetShortText(L"short");
    const ChildProcess child =
        ChildProcess::StartRole(role, {names.base, contract::PaddedHex(names.id), mutex.Ending(), readyName});
    ready.Wait();
    EXPECT_EQ(44U, block.GetValue4());
    EXPECT_EQ(55U, block.GetValue18360());
    EXPECT_EQ(66U, block.GetValue18368());
    EXPECT_STREQ(L"child's", block.GetText());
    EXPECT_STREQ(L"shorter", block.GetShortText());
    EXPECT_TRUE(CountInData(block, 1000));
    EXPECT_EQ(0U, child.WaitForExit());
    const auto* const counter = static_cast<const int*>(block.LockData());
    ASSERT_NE(nullptr, counter) << "the mutex of the dead process is taken over";
    EXPECT_EQ(2000, *counter);
    block.UnlockData();
}
} // namespace

TEST(CProxyPrivate, TwoProcessesShareTheBlockAndItsMutex)
{
    ExpectASharedBlock(L"UsePrivateBlock", OwnMutexName());
}

ORV_CHILD_ROLE(UsePrivateBlockInNamespace)
{
    const ManagerIn<NamespaceWorld> world(NamespaceWorld::Entry::Parents);
    return ChildRoleUsePrivateBlock(arguments);
}

TEST(CProxyPrivate, TwoProcessesShareTheBlockAndItsMutexInThePrivateNamespace)
{
    // In the namespace no other test has this mutex.
    const ManagerIn<NamespaceWorld> world;
    {
        const Names names;
        const TraceCapture trace;
        CProxyPrivate block(names.base.c_str());
        ASSERT_TRUE(block.Create(names.id, 100));
        EXPECT_EQ(L"CProxySecManager::OrvPCreateMutex Create Mutex OrvP\\AgentDataMutex\n", trace.Lines().back());
        EXPECT_NE(nullptr, block.LockData());
        EXPECT_EQ(MutexState::Held, MutexStateOf(L"OrvP\\AgentDataMutex"));
        block.UnlockData();
        EXPECT_EQ(MutexState::Free, MutexStateOf(L"OrvP\\AgentDataMutex"));
    }
    ExpectASharedBlock(L"UsePrivateBlockInNamespace", OwnMutexName());
}
