#include "OrvProfiler/share/ProxyMap.h"

#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ManagerIn.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

using contract::c_noProcessLine;
using contract::c_openMapFailedLine;
using contract::c_openMappingFailedLine;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
// A mapping that shows its fields and counts what is called on it.
class TestMap : public CProxyMap
{
public:
    explicit TestMap(const wchar_t* baseName) : CProxyMap(baseName) {}

    using CProxyMap::m_baseName;
    using CProxyMap::m_created;
    using CProxyMap::m_hFile;
    using CProxyMap::m_hMap;
    using CProxyMap::m_id;
    using CProxyMap::m_name;
    using CProxyMap::m_pView;
    using CProxyMap::ViewSize;

    void OnMapped() override
    {
        ++mapped;
        zeroWhenMapped = Bytes()[0] == 0;
        if (refuse)
            Close();
    }
    void Close() override
    {
        ++closed;
        CProxyMap::Close();
    }

    unsigned char* Bytes() const { return static_cast<unsigned char*>(m_pView); }

    int mapped = 0;
    int closed = 0;
    bool zeroWhenMapped = false;
    bool refuse = false;
};

// One that adds nothing to the base.
class PlainMap : public CProxyMap
{
public:
    explicit PlainMap(const wchar_t* baseName) : CProxyMap(baseName) {}
};

// A base name, an id that no process has, and the names made of both.
struct Names
{
    std::wstring base = FreshName(L"map");
    uint32_t id = FreshId();
    std::wstring name = base + contract::PaddedHex(id);
    std::wstring kernel = contract::LocalName(name);

    std::wstring OpenLine() const { return contract::OpenMapLine(name); }
    std::wstring CreateMapLine() const { return contract::MappingCreatedLine(kernel); }
    std::wstring CreatedLine() const { return contract::MapCreatedLine(name); }
    std::wstring OpenedLine() const { return L"CProxyMap::Open opened share " + name + L" successfully\n"; }
};

bool MappingExists(const std::wstring& kernelName)
{
    HANDLE const mapping = OpenFileMappingW(FILE_MAP_READ, FALSE, kernelName.c_str());
    return mapping != nullptr && CloseHandle(mapping) != FALSE;
}
} // namespace

TEST(CProxyMap, IsBornUnmapped)
{
    TestMap map(L"Base");
    EXPECT_STREQ(L"Base", map.m_baseName);
    EXPECT_STREQ(L"", map.m_name);
    EXPECT_EQ(0U, map.m_id);
    EXPECT_EQ(nullptr, map.m_hFile);
    EXPECT_EQ(nullptr, map.m_hMap);
    EXPECT_EQ(nullptr, map.m_pView);
    EXPECT_EQ(nullptr, map.GetView());
    EXPECT_FALSE(map.IsCreated());
    EXPECT_EQ(0U, map.ViewSize());
    EXPECT_EQ(nullptr, map.MapView()) << "there is nothing to map";
}

TEST(CProxyMap, NameIsTheBaseWordAndEightHexadecimalDigits)
{
    struct Row
    {
        uint32_t id;
        const wchar_t* name;
    };
    constexpr Row rows[] = {
        {0x1A2C, L"OrvProfiler00001a2c"},
        {4294967295U, L"OrvProfilerffffffff"},
        {0, L"OrvProfiler00000000"},
        {0xABCDEF01, L"OrvProfilerabcdef01"},
    };
    for (const Row& row : rows)
    {
        const ErrorTextStandIn texts;
        const FailingCall<decltype(OpenProcess)> openProcess("OpenProcess", ERROR_INVALID_PARAMETER);
        const FailingCall<decltype(OpenFileMappingW)> open("OpenFileMappingW", ERROR_FILE_NOT_FOUND);
        const TraceCapture trace;
        TestMap map(L"OrvProfiler");
        EXPECT_EQ(nullptr, map.OpenMap(row.id));
        EXPECT_THAT(trace.Lines(), ElementsAre(c_noProcessLine,
                                               L"CProxyMap::OpenMap Open Map Name: " + std::wstring(row.name) + L"\n",
                                               c_openMappingFailedLine, c_openMapFailedLine));
        EXPECT_STREQ(row.name, map.m_name) << "set although nothing was opened";
        EXPECT_EQ(row.id, map.m_id);
        ASSERT_THAT(openProcess.Calls(), SizeIs(1));
        EXPECT_EQ(row.id, std::get<2>(openProcess.Calls()[0]));
        ASSERT_THAT(open.Calls(), SizeIs(1));
        EXPECT_EQ(6U, std::get<0>(open.Calls()[0]));
        EXPECT_EQ(FALSE, std::get<1>(open.Calls()[0]));
    }
}

TEST(CProxyMap, OpensWhatIsThereAsItIs)
{
    const Names names;
    const ForeignMapping client(names.kernel, 10000, PAGE_READWRITE);
    strcpy_s(reinterpret_cast<char*>(client.Bytes()), 10000, "from the client");
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Open(names.id));
    EXPECT_THAT(trace.Lines(), ElementsAre(c_noProcessLine, names.OpenLine(), names.OpenedLine()));
    EXPECT_EQ(1, map.mapped);
    EXPECT_FALSE(map.IsCreated());
    EXPECT_EQ(map.m_pView, map.GetView());
    EXPECT_STREQ("from the client", reinterpret_cast<char*>(map.Bytes()));
    EXPECT_EQ(12288U, map.ViewSize());
    map.Bytes()[9999] = 7;
    EXPECT_EQ(7, client.Bytes()[9999]);
    EXPECT_EQ(nullptr, map.m_hFile);
}

TEST(CProxyMap, OpenFailsWhereNothingIs)
{
    const Names names;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    TestMap map(names.base.c_str());
    EXPECT_FALSE(map.Open(names.id));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(c_noProcessLine, names.OpenLine(), c_openMappingFailedLine, c_openMapFailedLine,
                            L"CProxyMap::Open failed to open share " + names.name + L"\n<error 2>\n"));
    EXPECT_EQ(0, map.mapped);
    EXPECT_EQ(nullptr, map.GetView());
    EXPECT_FALSE(map.IsCreated());
}

TEST(CProxyMap, WhatOpensButCannotBeMappedIsTracedAsBoth)
{
    const Names names;
    const ForeignMapping client(names.kernel, 4096, PAGE_READWRITE);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const unsigned handles = OpenHandleCount();
    {
        const FailingCall<decltype(MapViewOfFile)> mapView("MapViewOfFile", ERROR_NOT_ENOUGH_MEMORY);
        TestMap map(names.base.c_str());
        EXPECT_FALSE(map.Open(names.id));
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(c_noProcessLine, names.OpenLine(), names.OpenedLine(),
                                L"CProxyMap::Open failed to open share " + names.name + L"\n<error 8>\n"));
        EXPECT_EQ(0, map.mapped);
        EXPECT_EQ(nullptr, map.GetView());
        ASSERT_THAT(mapView.Calls(), SizeIs(1));
        const auto& [mapping, access, offsetHigh, offsetLow, size] = mapView.Calls()[0];
        EXPECT_EQ(map.m_hMap, mapping);
        EXPECT_EQ(0xF001FU, access);
        EXPECT_EQ(0U, offsetHigh);
        EXPECT_EQ(0U, offsetLow);
        EXPECT_EQ(0U, size);
    }
    EXPECT_EQ(handles, OpenHandleCount());
}

TEST(CProxyMap, CreatesWhatIsNotThereYet)
{
    const Names names;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const CallRecorder<decltype(CreateFileMappingW)> create("CreateFileMappingW");
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 10000, nullptr));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(c_noProcessLine, names.OpenLine(), c_openMappingFailedLine, c_openMapFailedLine,
                            c_noProcessLine, names.CreateMapLine(), names.CreatedLine()));
    EXPECT_TRUE(map.IsCreated());
    EXPECT_EQ(1, map.mapped);
    EXPECT_TRUE(map.zeroWhenMapped);
    EXPECT_EQ(map.m_pView, map.GetView());
    EXPECT_TRUE(std::all_of(map.Bytes(), map.Bytes() + 10000, [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(INVALID_HANDLE_VALUE, map.m_hFile);
    EXPECT_TRUE(MappingExists(names.kernel));

    ASSERT_THAT(create.Calls(), SizeIs(1));
    const auto& [file, attributes, protection, sizeHigh, sizeLow, name] = create.Calls()[0];
    EXPECT_EQ(INVALID_HANDLE_VALUE, file);
    EXPECT_NE(nullptr, attributes);
    EXPECT_EQ(4U, protection);
    EXPECT_EQ(0U, sizeHigh);
    EXPECT_EQ(10000U, sizeLow);
}

TEST(CProxyMap, CreateOpensWhatTheClientMadeAndLeavesItsContents)
{
    const Names names;
    const ForeignMapping client(names.kernel, 10000, PAGE_READWRITE);
    std::memset(client.Bytes(), 0x5A, 10000);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 10000, nullptr));
    EXPECT_THAT(trace.Lines(), ElementsAre(c_noProcessLine, names.OpenLine()));
    EXPECT_FALSE(map.IsCreated());
    EXPECT_EQ(1, map.mapped);
    EXPECT_TRUE(std::all_of(map.Bytes(), map.Bytes() + 10000, [](unsigned char byte) { return byte == 0x5A; }));
    EXPECT_EQ(nullptr, map.m_hFile) << "no create was attempted";
}

TEST(CProxyMap, FindsTheSessionOfALivingProcess)
{
    const Names names;
    const uint32_t id = GetCurrentProcessId();
    const std::wstring name = names.base + contract::PaddedHex(id);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(id, 4096, nullptr));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(contract::OpenMapLine(name), c_openMappingFailedLine, c_openMapFailedLine,
                            contract::MappingCreatedLine(contract::LocalName(name)), contract::MapCreatedLine(name)));
}

TEST(CProxyMap, SizeGoesOutInTwoHalves)
{
    const Names names;
    const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_COMMITMENT_LIMIT);
    TestMap map(names.base.c_str());
    EXPECT_FALSE(map.Create(names.id, 0xFEDCBA9876543210, nullptr));
    ASSERT_THAT(create.Calls(), SizeIs(1));
    EXPECT_EQ(0xFEDCBA98U, std::get<3>(create.Calls()[0]));
    EXPECT_EQ(0x76543210U, std::get<4>(create.Calls()[0]));
}

TEST(CProxyMap, ACreateThatFailsIsTraced)
{
    const Names names;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const unsigned handles = OpenHandleCount();
    {
        const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_ACCESS_DENIED);
        TestMap map(names.base.c_str());
        EXPECT_FALSE(map.Create(names.id, 4096, nullptr));
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(c_noProcessLine, names.OpenLine(), c_openMappingFailedLine, c_openMapFailedLine,
                                c_noProcessLine, names.CreateMapLine(),
                                L"CProxySecManager::OrvPCreateFileMapping Failed with <error 5>\n",
                                L"CProxyMap::Create create share " + names.name + L" failed\n<error 5>\n"));
        EXPECT_EQ(0, map.mapped);
        EXPECT_EQ(nullptr, map.GetView());
        EXPECT_TRUE(map.IsCreated()) << "until it is closed";
        map.Close();
        EXPECT_FALSE(map.IsCreated());
    }
    EXPECT_EQ(handles, OpenHandleCount());
}

TEST(CProxyMap, ANameThatIsTakenByAnotherObjectGivesNoMapping)
{
    const Names names;
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, names.kernel.c_str());
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    TestMap map(names.base.c_str());
    EXPECT_FALSE(map.Create(names.id, 4096, nullptr));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(c_noProcessLine, names.OpenLine(),
                            L"CProxySecManager::OrvPOpenFileMapping Failed with <error 6>\n",
                            L"CProxyMap::OpenMap Open returned: <error 6>\n", c_noProcessLine, names.CreateMapLine(),
                            L"CProxySecManager::OrvPCreateFileMapping Failed with <error 6>\n",
                            L"CProxyMap::Create create share " + names.name + L" failed\n<error 6>\n"));
    CloseHandle(event);
}

TEST(CProxyMap, WhatIsCreatedButCannotBeMappedIsNoSuccess)
{
    const Names names;
    const unsigned handles = OpenHandleCount();
    const unsigned views = MappedViewCount();
    {
        const ErrorTextStandIn texts;
        const TraceCapture trace;
        const FailingCall<decltype(MapViewOfFile)> mapView("MapViewOfFile", ERROR_NOT_ENOUGH_MEMORY);
        TestMap map(names.base.c_str());
        EXPECT_FALSE(map.Create(names.id, 4096, nullptr));
        EXPECT_EQ(names.CreatedLine(), trace.Lines().back()) << "a view that fails is not traced";
        EXPECT_EQ(0, map.mapped);
        EXPECT_EQ(nullptr, map.GetView());
        EXPECT_NE(nullptr, map.m_hMap);
    }
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_EQ(views, MappedViewCount());
    EXPECT_FALSE(MappingExists(names.kernel));
}

TEST(CProxyMap, ADerivedClassMayRefuseTheView)
{
    const Names names;
    const ForeignMapping client(names.kernel, 4096, PAGE_READWRITE);
    TestMap map(names.base.c_str());
    map.refuse = true;
    EXPECT_FALSE(map.Create(names.id, 4096, nullptr));
    EXPECT_EQ(1, map.mapped);
    EXPECT_EQ(nullptr, map.m_hMap);
    EXPECT_FALSE(map.Open(names.id));
    EXPECT_EQ(2, map.mapped);
    EXPECT_EQ(nullptr, map.GetView());
}

TEST(CProxyMap, ZeroesTheGivenSizeAndNoMore)
{
    const Names names;
    // As if the system gave memory that is not zero.
    const Redirect<decltype(MapViewOfFile)> mapView(
        "MapViewOfFile", [](HANDLE mapping, DWORD access, DWORD high, DWORD low, SIZE_T size) -> void* {
            void* const view = MapViewOfFileEx(mapping, access, high, low, size, nullptr);
            std::memset(view, 0x5A, 8192);
            return view;
        });
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 8191, nullptr));
    EXPECT_TRUE(map.IsCreated());
    EXPECT_TRUE(map.zeroWhenMapped);
    EXPECT_TRUE(std::all_of(map.Bytes(), map.Bytes() + 8191, [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(0x5A, map.Bytes()[8191]);
}

TEST(CProxyMap, AMappingMadeBetweenOpenAndCreateIsTakenAsItIs)
{
    for (const uint64_t size : {uint64_t{100}, uint64_t{1} << 20})
    {
        const Names names;
        const ForeignMapping other(names.kernel, 8192, PAGE_READWRITE);
        std::memset(other.Bytes(), 0x5A, 8192);
        const ErrorTextStandIn texts;
        const TraceCapture trace;
        const FailingCall<decltype(OpenFileMappingW)> open("OpenFileMappingW", ERROR_FILE_NOT_FOUND);
        TestMap map(names.base.c_str());
        EXPECT_TRUE(map.Create(names.id, size, nullptr)) << size;
        EXPECT_EQ(names.CreatedLine(), trace.Lines().back()) << "it says so all the same";
        EXPECT_FALSE(map.IsCreated());
        EXPECT_EQ(1, map.mapped);
        EXPECT_EQ(8192U, map.ViewSize());
        EXPECT_TRUE(
            std::all_of(other.Bytes(), other.Bytes() + 8192, [](unsigned char byte) { return byte == 0x5A; }));
    }
}

TEST(CProxyMap, ASizeOfNothingGivesNoMapping)
{
    const Names names;
    TestMap map(names.base.c_str());
    EXPECT_FALSE(map.Create(names.id, 0, nullptr));
    EXPECT_EQ(nullptr, map.GetView());
}

TEST(CProxyMap, AFileBacksTheMapping)
{
    const Names names;
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"share.bin");
    WriteFileBytes(path, "what was there before");
    const unsigned handles = OpenHandleCount();
    const unsigned views = MappedViewCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    TestMap map(names.base.c_str());
    {
        const CallRecorder<decltype(CreateFileW)> createFile("CreateFileW");
        EXPECT_TRUE(map.Create(names.id, 5000, path.c_str()));
        ASSERT_THAT(createFile.Calls(), SizeIs(1));
        const auto& [name, access, sharing, attributes, disposition, flags, templateFile] = createFile.Calls()[0];
        EXPECT_EQ(path, name);
        EXPECT_EQ(0xC0000000U, access);
        EXPECT_EQ(3U, sharing);
        EXPECT_EQ(nullptr, attributes);
        EXPECT_EQ(2U, disposition);
        EXPECT_EQ(0x80U, flags);
        EXPECT_EQ(nullptr, templateFile);
    }
    EXPECT_THAT(trace.Lines(),
                ElementsAre(c_noProcessLine, names.OpenLine(), c_openMappingFailedLine, c_openMapFailedLine,
                            c_noProcessLine, names.CreateMapLine(), names.CreatedLine()));
    EXPECT_NE(INVALID_HANDLE_VALUE, map.m_hFile);
    EXPECT_NE(nullptr, map.m_hFile);
    EXPECT_TRUE(map.IsCreated()) << "that the file was there already says nothing about the mapping";
    EXPECT_EQ(0, map.Bytes()[0]);
    std::memcpy(map.Bytes(), "first", 5);
    map.Bytes()[4999] = 'z';
    map.Close();
    EXPECT_EQ(nullptr, map.m_hFile);
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_EQ(views, MappedViewCount());
    EXPECT_EQ("first" + std::string(4994, '\0') + "z", FileBytes(path));
    EXPECT_TRUE(DeleteFileW(path.c_str()) != FALSE);
}

TEST(CProxyMap, AFileThatCannotBeMadeIsNoError)
{
    const Names names;
    const TemporaryFolder folder;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 5000, folder.PathOf(L"missing\\share.bin").c_str()));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(c_noProcessLine, names.OpenLine(), c_openMappingFailedLine, c_openMapFailedLine,
                            c_noProcessLine, names.CreateMapLine(), names.CreatedLine()));
    EXPECT_EQ(INVALID_HANDLE_VALUE, map.m_hFile);
    map.Bytes()[4999] = 1;
}

TEST(CProxyMap, AFileIsClosedAlsoWhenTheCreateFails)
{
    const Names names;
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"share.bin");
    const unsigned handles = OpenHandleCount();
    {
        const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_DISK_FULL);
        TestMap map(names.base.c_str());
        EXPECT_FALSE(map.Create(names.id, 5000, path.c_str()));
        EXPECT_EQ(handles + 1, OpenHandleCount());
    }
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_TRUE(DeleteFileW(path.c_str()) != FALSE);
}

TEST(CProxyMap, AFileIsNotTouchedWhenTheMappingIsThere)
{
    const Names names;
    const ForeignMapping client(names.kernel, 4096, PAGE_READWRITE);
    const FailingCall<decltype(CreateFileW)> createFile("CreateFileW", ERROR_ACCESS_DENIED);
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 4096, L"Z:\\nowhere.bin"));
    EXPECT_THAT(createFile.Calls(), IsEmpty());
}

TEST(CProxyMap, CloseKeepsTheHandleThatNeverWasOne)
{
    const Names names;
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 4096, nullptr));
    HANDLE const mapping = map.m_hMap;
    const CallRecorder<decltype(CloseHandle)> closeHandle("CloseHandle");
    map.Close();
    EXPECT_THAT(closeHandle.Calls(), ElementsAre(std::make_tuple(mapping)));
    EXPECT_EQ(INVALID_HANDLE_VALUE, map.m_hFile);
    EXPECT_EQ(nullptr, map.m_hMap);
    EXPECT_EQ(nullptr, map.m_pView);
    EXPECT_FALSE(map.IsCreated());
    map.Close();
    EXPECT_THAT(closeHandle.Calls(), SizeIs(1)) << "a second time does nothing";
}

TEST(CProxyMap, ANewMappingReplacesTheOldOneThroughTheVirtualClose)
{
    const Names names;
    const Names others;
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 4096, nullptr));
    EXPECT_EQ(1, map.closed);
    EXPECT_TRUE(map.Create(others.id, 4096, nullptr));
    EXPECT_EQ(2, map.closed);
    EXPECT_FALSE(MappingExists(names.kernel));
    EXPECT_TRUE(MappingExists(contract::LocalName(names.base + contract::PaddedHex(others.id))));

    const ForeignMapping client(names.kernel, 4096, PAGE_READWRITE);
    EXPECT_TRUE(map.Open(names.id));
    EXPECT_EQ(3, map.closed);
    EXPECT_FALSE(map.IsCreated());
    EXPECT_EQ(INVALID_HANDLE_VALUE, map.m_hFile) << "left over from the create";

    EXPECT_EQ(nullptr, map.OpenMap(others.id)) << "it lived as long as this object held it";
    EXPECT_EQ(4, map.closed);
    EXPECT_EQ(nullptr, map.GetView());
}

TEST(CProxyMap, OpenMapGivesTheHandleAway)
{
    const Names names;
    const ForeignMapping client(names.kernel, 4096, PAGE_READWRITE);
    TestMap map(names.base.c_str());
    HANDLE const mapping = map.OpenMap(names.id);
    EXPECT_NE(nullptr, mapping);
    EXPECT_EQ(nullptr, map.m_hMap);
    EXPECT_EQ(nullptr, map.m_pView);
    EXPECT_EQ(0, map.mapped);
    CloseHandle(mapping);
}

TEST(CProxyMap, MapViewMapsOnce)
{
    const Names names;
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 4096, nullptr));
    const CallRecorder<decltype(MapViewOfFile)> mapView("MapViewOfFile");
    EXPECT_EQ(map.m_pView, map.MapView());
    EXPECT_THAT(mapView.Calls(), IsEmpty());
}

TEST(CProxyMap, ReleasesEverythingWhenItIsDestroyed)
{
    const Names names;
    const TraceCapture trace;
    const unsigned handles = OpenHandleCount();
    const unsigned views = MappedViewCount();
    {
        TestMap map(names.base.c_str());
        EXPECT_TRUE(map.Create(names.id, 4096, nullptr));
        EXPECT_EQ(handles + 1, OpenHandleCount());
        EXPECT_EQ(views + 1, MappedViewCount());
    }
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_EQ(views, MappedViewCount());
    EXPECT_FALSE(MappingExists(names.kernel));
}

TEST(CProxyMap, OnlyADerivedClassCanBeMade)
{
    EXPECT_FALSE((std::is_constructible_v<CProxyMap, const wchar_t*>));
}

TEST(CProxyMap, TheBasesOwnOnMappedDoesNothing)
{
    const Names names;
    PlainMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 4096, nullptr));
    void* const view = map.GetView();
    EXPECT_NE(nullptr, view);
    map.OnMapped();
    EXPECT_EQ(view, map.GetView());
}

TEST(CProxyMap, WithoutAnAccessListTheMappingIsCreatedAllTheSame)
{
    const Names names;
    const ErrorTextStandIn texts;
    const FailingCall<decltype(InitializeSecurityDescriptor)> initialize("InitializeSecurityDescriptor",
                                                                         ERROR_NOT_ENOUGH_MEMORY);
    const TraceCapture trace;
    TestMap map(names.base.c_str());
    EXPECT_TRUE(map.Create(names.id, 4096, nullptr));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(c_noProcessLine, names.OpenLine(), c_openMappingFailedLine, c_openMapFailedLine,
                            L"CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 8>\n", c_noProcessLine,
                            names.CreateMapLine(), names.CreatedLine()));
}

TEST(CProxyMap, AViewWhoseMemoryIsOnlyReservedHasNoSize)
{
    const Names names;
    const ForeignMapping client(names.kernel, 1 << 20, PAGE_READWRITE | SEC_RESERVE);
    TestMap map(names.base.c_str());
    HANDLE const mapping = map.OpenMap(names.id);
    map.m_hMap = mapping;
    EXPECT_NE(nullptr, map.MapView());
    EXPECT_EQ(0U, map.ViewSize());
}

ORV_CHILD_ROLE(WriteIntoMap)
{
    PlainMap map(arguments.at(0).c_str());
    if (!map.Open(std::stoul(arguments.at(1), nullptr, 16)))
        return 1;
    auto* const text = static_cast<char*>(map.GetView());
    if (std::strcmp(text, "from the parent") != 0)
        return 2;
    strcpy_s(text, 4096, "from the child");
    return map.Create(FreshId(), 4096, nullptr) ? 0 : 3;
}

TEST(CProxyMap, TwoProcessesSeeTheSameMemory)
{
    const Names names;
    PlainMap map(names.base.c_str());
    ASSERT_TRUE(map.Create(names.id, 4096, nullptr));
    auto* const text = static_cast<char*>(map.GetView());
    strcpy_s(text, 4096, "from the parent");
    EXPECT_EQ(0U,
              ChildProcess::StartRole(L"WriteIntoMap", {names.base, contract::PaddedHex(names.id)}).WaitForExit());
    EXPECT_STREQ("from the child", text);
}

ORV_CHILD_ROLE(WriteIntoMapInNamespace)
{
    const ManagerIn<NamespaceWorld> world(NamespaceWorld::Entry::Parents);
    return ChildRoleWriteIntoMap(arguments);
}

TEST(CProxyMap, TwoProcessesSeeTheSameMemoryInThePrivateNamespace)
{
    const Names names;
    const ManagerIn<NamespaceWorld> world;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    PlainMap map(names.base.c_str());
    ASSERT_TRUE(map.Create(names.id, 4096, nullptr));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(c_noProcessLine, names.OpenLine(), c_openMappingFailedLine, c_openMapFailedLine,
                            c_noProcessLine, contract::MappingCreatedLine(contract::NamespaceName(names.name)),
                            names.CreatedLine()));
    EXPECT_FALSE(MappingExists(names.kernel));
    EXPECT_TRUE(MappingExists(contract::NamespaceName(names.name)));
    auto* const text = static_cast<char*>(map.GetView());
    strcpy_s(text, 4096, "from the parent");
    EXPECT_EQ(0U, ChildProcess::StartRole(L"WriteIntoMapInNamespace", {names.base, contract::PaddedHex(names.id)})
                      .WaitForExit());
    EXPECT_STREQ("from the child", text);
}

TEST(CProxyMap, ItsNameCarriesTheSessionOfTheProcessWithoutPrivateNamespaces)
{
    const Names names;
    const ManagerIn<WindowsWithoutNamespaces> world;
    const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_PATH_NOT_FOUND);
    DWORD session = 0;
    ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &session) != FALSE);
    const TraceCapture trace;
    PlainMap map(names.base.c_str());
    EXPECT_FALSE(map.Create(names.id, 4096, nullptr));
    EXPECT_FALSE(map.Create(GetCurrentProcessId(), 4096, nullptr));
    std::vector<std::wstring> created;
    for (const std::wstring& line : trace.Lines())
    {
        if (line.find(L"Create Named File Map: ") != std::wstring::npos)
            created.push_back(line.substr(line.find(L"Session")));
    }
    EXPECT_THAT(created, ElementsAre(L"Session\\-2\\" + names.name + L"\n",
                                     L"Session\\" + std::to_wstring(session) + L"\\" + names.base +
                                         contract::PaddedHex(GetCurrentProcessId()) + L"\n"));
}
