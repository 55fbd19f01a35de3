#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <cstring>
#include <cwchar>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// The private namespace: joined at the start, shared by processes, left at the end, and every way in which that
// fails.

namespace
{
constexpr const wchar_t* c_joinFailed =
    L"CProxySecManager::LoadVistaFunctions Failed to create Security namespace!!!!!!!!!!!!!\n\n";

// In a child process: says on the error output what was not as it should be.
void Require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

// The manager's namespace functions in the order in which they are looked up.
constexpr const char* c_lookedUp[] = {
    "IsWow64Process",        "QueryFullProcessImageNameW", "CreatePrivateNamespaceW",  "OpenPrivateNamespaceW",
    "ClosePrivateNamespace", "CreateBoundaryDescriptorW",  "DeleteBoundaryDescriptor",
};

// Those of the names looked up that have to do with the namespace.
std::vector<std::string> NamespaceLookUps(const std::vector<std::string>& asked)
{
    std::vector<std::string> found;
    for (const std::string& name : asked)
    {
        for (const char* const lookedUp : c_lookedUp)
        {
            if (name == lookedUp)
                found.push_back(name);
        }
    }
    return found;
}
} // namespace

TEST(CProxySecManager, CreatesTheNamespaceAsTheFirstProcess)
{
    const NamespaceWorld world;
    const TraceCapture trace;
    CProxySecManager manager;
    EXPECT_THAT(world.Calls(),
                ElementsAre(L"CreateBoundaryDescriptorW Zeph 0", L"OpenPrivateNamespaceW Zeph OrvP",
                            L"CreatePrivateNamespaceW (length 24, inherit 0, null access list) Zeph OrvP"));
    EXPECT_EQ(1U, manager.NamespaceCreatedHere());
    EXPECT_THAT(trace.Lines(), IsEmpty()) << "that nobody has created it yet is expected";

    EXPECT_TRUE(manager.LoadVistaFunctions());
    EXPECT_EQ(3U, world.Calls().size()) << "a repeated call does nothing";
}

TEST(CProxySecManager, OpensTheNamespaceThatIsThere)
{
    NamespaceWorld world;
    const CProxySecManager first;
    world.ClearCalls();
    const TraceCapture trace;
    const CProxySecManager second;
    EXPECT_THAT(world.Calls(), ElementsAre(L"CreateBoundaryDescriptorW Zeph 0", L"OpenPrivateNamespaceW Zeph OrvP"));
    EXPECT_EQ(0U, second.NamespaceCreatedHere());
    EXPECT_EQ(1U, first.NamespaceCreatedHere());
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxySecManager, CreatesTheNamespaceAgainWhenAllHaveLeft)
{
    const NamespaceWorld world;
    {
        const CProxySecManager manager;
        EXPECT_EQ(1U, manager.NamespaceCreatedHere());
    }
    const CProxySecManager manager;
    EXPECT_EQ(1U, manager.NamespaceCreatedHere());
}

ORV_CHILD_ROLE(JoinNamespace)
{
    const Meeting joined(arguments.at(0));
    const Meeting end(arguments.at(1));
    const std::wstring& name = arguments.at(2);
    const NamespaceWorld world(NamespaceWorld::Entry::Parents);
    const CProxySecManager manager;
    Require(manager.UsePrivateNamespace(), "the private namespace is in use");
    Require(manager.NamespaceCreatedHere() == 0, "the namespace was there already");

    HANDLE const event = manager.OrvPOpenEvent(7, EVENT_ALL_ACCESS, (name + L"e").c_str());
    Require(event != nullptr, "the event opens");
    Require(WaitForSingleObject(event, 0) == WAIT_TIMEOUT, "the event is not set yet");
    SECURITY_DESCRIPTOR descriptor{};
    SECURITY_ATTRIBUTES attributes{};
    Require(manager.OrvPCreateACL(&attributes, &descriptor), "the access list is made");
    HANDLE const same = manager.OrvPCreateEvent(8, &attributes, true, true, (name + L"e").c_str());
    Require(same != nullptr && GetLastError() == ERROR_ALREADY_EXISTS, "creating the event opens it");

    HANDLE const mutex = manager.OrvPOpenMutex((L"OrvP\\" + name + L"m").c_str(), SYNCHRONIZE);
    Require(mutex != nullptr, "the mutex opens");
    Require(WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0, "the mutex is free");

    HANDLE const mapping = manager.OrvPOpenFileMapping(9, FILE_MAP_WRITE, false, (name + L"f").c_str());
    Require(mapping != nullptr, "the file mapping opens");
    auto* const text = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 4096));
    Require(text != nullptr && std::strcmp(text, "from the parent") == 0, "the mapping holds the parent's text");
    strcpy_s(text, 4096, "from the child");

    SetEvent(same);
    joined.Signal();
    end.Wait();
    return 0; // the mutex is abandoned, and the namespace left without a word
}

TEST(CProxySecManager, SharesTheNamespaceWithAnotherProcess)
{
    const std::wstring name = FreshName(L"shared");
    const std::wstring joinedName = FreshName(L"joined");
    const std::wstring endName = FreshName(L"end");
    const Meeting joined(joinedName);
    const Meeting end(endName);
    const NamespaceWorld world;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    {
        const CProxySecManager manager;
        EXPECT_EQ(1U, manager.NamespaceCreatedHere());
        SECURITY_DESCRIPTOR descriptor{};
        SECURITY_ATTRIBUTES attributes{};
        ASSERT_TRUE(manager.OrvPCreateACL(&attributes, &descriptor));
        HANDLE const event = manager.OrvPCreateEvent(1, &attributes, true, false, (name + L"e").c_str());
        HANDLE const mutex = manager.OrvPCreateMutex(2, &attributes, (name + L"m").c_str());
        HANDLE const mapping = manager.OrvPCreateFileMapping(3, INVALID_HANDLE_VALUE, &attributes, PAGE_READWRITE, 0,
                                                             4096, (name + L"f").c_str());
        auto* const text = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 4096));
        ASSERT_TRUE(event != nullptr && mutex != nullptr && text != nullptr);
        strcpy_s(text, 4096, "from the parent");
        EXPECT_THAT(
            trace.Lines(),
            ElementsAre(L"CProxySecManager::OrvPCreateEvent CreateEvent OrvP\\" + name + L"e succeeded \n",
                        L"CProxySecManager::OrvPCreateMutex Create Mutex OrvP\\" + name + L"m\n",
                        L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: OrvP\\" + name + L"f\n"));

        const ChildProcess child = ChildProcess::StartRole(L"JoinNamespace", {joinedName, endName, name});
        HANDLE const waits[] = {child.Handle(), event};
        EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitForMultipleObjects(2, waits, FALSE, 30000)) << "the child ended early";
        joined.Wait();
        EXPECT_STREQ("from the child", text);
        EXPECT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(mutex, 0)) << "the child has it";
        UnmapViewOfFile(text);

        EXPECT_EQ(nullptr, OpenEventW(SYNCHRONIZE, FALSE, (L"Local\\" + name + L"e").c_str()))
            << "the object is in the namespace and nowhere else";
        end.Signal();
        EXPECT_EQ(0U, child.WaitForExit());
        EXPECT_EQ(DWORD{WAIT_ABANDONED}, WaitForSingleObject(mutex, 0));
        for (HANDLE const handle : {event, mutex, mapping})
            CloseHandle(handle);
    }
}

ORV_CHILD_ROLE(KeepNamespace)
{
    const NamespaceWorld world(NamespaceWorld::Entry::Parents);
    const CProxySecManager manager;
    Require(manager.NamespaceCreatedHere() == 0, "the namespace was there already");
    Meeting(arguments.at(0)).Signal();
    Meeting(arguments.at(1)).Wait();
    return 0;
}

TEST(CProxySecManager, LeavesTheNamespaceToTheProcessesThatStillHoldIt)
{
    const std::wstring joinedName = FreshName(L"joined");
    const std::wstring endName = FreshName(L"end");
    const Meeting joined(joinedName);
    const Meeting end(endName);
    const NamespaceWorld world;
    auto first = std::make_unique<CProxySecManager>();
    const ChildProcess child = ChildProcess::StartRole(L"KeepNamespace", {joinedName, endName});
    joined.Wait();
    first.reset();
    {
        const CProxySecManager manager;
        EXPECT_EQ(0U, manager.NamespaceCreatedHere()) << "the child keeps it alive";
    }
    end.Signal();
    EXPECT_EQ(0U, child.WaitForExit());
    EXPECT_EQ(1U, CProxySecManager().NamespaceCreatedHere());
}

TEST(CProxySecManager, LooksUpTheNamespaceFunctionsOneAfterTheOther)
{
    for (const SystemVersion& version : {c_windowsVista, c_windows10})
    {
        NamespaceWorld world(NamespaceWorld::Entry::Own, version);
        const CallRecorder<decltype(LoadLibraryW)> load("LoadLibraryW");
        const CProxySecManager manager;
        EXPECT_THAT(NamespaceLookUps(world.Exports().Asked()), ElementsAreArray(c_lookedUp));
        ASSERT_EQ(4U, load.Calls().size());
        EXPECT_STREQ(L"Kernel32", std::get<0>(load.Calls()[3]));
    }
}

TEST(CProxySecManager, HasNoNamespaceWhenAnEntryPointIsMissing)
{
    struct Case
    {
        const char* missing;
        size_t lookUps; // how many names are looked up, the missing one included
    };
    const Case cases[] = {
        {"IsWow64Process", 3},           {"QueryFullProcessImageNameW", 3}, {"CreatePrivateNamespaceW", 3},
        {"OpenPrivateNamespaceW", 4},    {"ClosePrivateNamespace", 5},      {"CreateBoundaryDescriptorW", 6},
        {"DeleteBoundaryDescriptor", 7},
    };
    for (const Case& item : cases)
    {
        NamespaceWorld world;
        world.Exports().Hide(item.missing);
        const unsigned before = OpenHandleCount();
        {
            const TraceCapture trace;
            CProxySecManager manager;
            EXPECT_EQ(item.lookUps, NamespaceLookUps(world.Exports().Asked()).size()) << item.missing;
            EXPECT_THAT(world.Calls(), IsEmpty()) << item.missing;
            EXPECT_THAT(trace.Lines(), ElementsAre(c_joinFailed)) << item.missing;
            EXPECT_EQ(0U, manager.NamespaceCreatedHere());
            EXPECT_TRUE(manager.UsePrivateNamespace());
            EXPECT_TRUE(manager.LoadVistaFunctions()) << "a repeated call";
            EXPECT_EQ(nullptr, manager.OrvPOpenNamespace(L"OrvP"));
            EXPECT_EQ(nullptr, manager.OrvPCreateNamespace(L"OrvP"));
            EXPECT_THAT(trace.Lines(), ElementsAre(c_joinFailed)) << "and nothing more: " << item.missing;
        }
        EXPECT_THAT(world.Calls(), IsEmpty()) << item.missing;
        EXPECT_EQ(before, OpenHandleCount()) << item.missing;
    }
}

TEST(CProxySecManager, HasNoNamespaceWithoutKernel32)
{
    NamespaceWorld world;
    const Redirect<decltype(LoadLibraryW)> load("LoadLibraryW", [](const wchar_t* name) -> HMODULE {
        return std::wcscmp(name, L"Kernel32") == 0 ? nullptr : LoadLibraryExW(name, nullptr, 0);
    });
    const TraceCapture trace;
    CProxySecManager manager;
    EXPECT_THAT(trace.Lines(), ElementsAre(c_joinFailed));
    EXPECT_FALSE(manager.LoadVistaFunctions()) << "nothing was loaded, so this is no repeated call";
    EXPECT_THAT(trace.Lines(), ElementsAre(c_joinFailed, c_joinFailed));
    EXPECT_TRUE(manager.UsePrivateNamespace());
    EXPECT_THAT(NamespaceLookUps(world.Exports().Asked()), IsEmpty());
    EXPECT_THAT(world.Calls(), IsEmpty());
}

TEST(CProxySecManager, JoinsItsNamespaceLater)
{
    const NamespaceWorld world;
    std::optional<FailingCall<decltype(LoadLibraryW)>> load(std::in_place, "LoadLibraryW", ERROR_MOD_NOT_FOUND);
    CProxySecManager manager;
    load.reset();
    EXPECT_TRUE(manager.LoadVistaFunctions());
}

TEST(CProxySecManager, ReportsABoundaryThatCannotBeCreated)
{
    NamespaceWorld world;
    world.Fail(L"CreateBoundaryDescriptorW", ERROR_NOT_ENOUGH_MEMORY);
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    {
        CProxySecManager manager;
        EXPECT_EQ(0U, manager.NamespaceCreatedHere());
        EXPECT_TRUE(manager.UsePrivateNamespace());
        EXPECT_EQ(nullptr, manager.OrvPOpenNamespace(L"OrvP"));
        EXPECT_EQ(nullptr, manager.OrvPCreateNamespace(L"OrvP"));
    }
    EXPECT_THAT(world.Calls(), ElementsAre(L"CreateBoundaryDescriptorW Zeph 0")) << "there is nothing to undo";
    EXPECT_THAT(
        trace.Lines(),
        ElementsAre(L"CProxySecManager::LoadVistaFunctions CreateBoundaryDescriptor\n<error 8>\n", c_joinFailed));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, CreatesTheNamespaceWhenItCannotBeOpened)
{
    NamespaceWorld world;
    world.Fail(L"OpenPrivateNamespaceW", ERROR_ACCESS_DENIED);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const CProxySecManager manager;
    EXPECT_EQ(1U, manager.NamespaceCreatedHere());
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPOpenNamespace OpenPrivateNamespace OrvP\n<error 5>\n"));
}

TEST(CProxySecManager, ReportsANamespaceThatCannotBeCreated)
{
    NamespaceWorld world;
    world.Fail(L"CreatePrivateNamespaceW", ERROR_ACCESS_DENIED);
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    {
        const CProxySecManager manager;
        EXPECT_EQ(0U, manager.NamespaceCreatedHere());
        EXPECT_TRUE(manager.UsePrivateNamespace());
        EXPECT_EQ(1U, world.OpenBoundaries());
    }
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateNamespace CreatePrivateNamespace OrvP\n<error 5>\n",
                            L"CProxySecManager::LoadVistaFunctions OrvPCreateNamespace\n<error 5>\n", c_joinFailed))
        << "both lines tell the same error";
    EXPECT_EQ(L"DeleteBoundaryDescriptor Zeph", world.Calls().back());
    EXPECT_EQ(0U, world.OpenBoundaries());
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, HasNoNamespaceWhenAnotherProcessCreatesItInBetween)
{
    NamespaceWorld world;
    const CProxySecManager faster;
    world.Fail(L"OpenPrivateNamespaceW", ERROR_PATH_NOT_FOUND);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const CProxySecManager manager;
    EXPECT_EQ(0U, manager.NamespaceCreatedHere());
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateNamespace CreatePrivateNamespace OrvP\n<error 183>\n",
                            L"CProxySecManager::LoadVistaFunctions OrvPCreateNamespace\n<error 183>\n",
                            c_joinFailed));
}

TEST(CProxySecManager, ReportsANamespaceWithoutItsAccessList)
{
    const NamespaceWorld world;
    const FailingCall<decltype(InitializeSecurityDescriptor)> initialize("InitializeSecurityDescriptor", 1305);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const CProxySecManager manager;
    EXPECT_THAT(world.Calls(), ElementsAre(L"CreateBoundaryDescriptorW Zeph 0", L"OpenPrivateNamespaceW Zeph OrvP"));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1305>\n",
                            L"CProxySecManager::LoadVistaFunctions OrvPCreateNamespace\n<error 1305>\n",
                            c_joinFailed));
}

TEST(CProxySecManager, KeepsItsNamesWhenItHasNoNamespace)
{
    NamespaceWorld world;
    world.Fail(L"CreatePrivateNamespaceW", ERROR_ACCESS_DENIED);
    const CProxySecManager manager;
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_STREQ(L"OrvP\\E", manager.BuildObjectName(1, L"E"));
    EXPECT_EQ(nullptr, manager.OrvPCreateEvent(1, nullptr, true, false, L"E"));
    EXPECT_EQ(nullptr, manager.OrvPOpenEvent(1, EVENT_ALL_ACCESS, L"E"));
    EXPECT_EQ(nullptr, manager.OrvPCreateMutex(1, nullptr, L"M"));
    EXPECT_EQ(nullptr, manager.OrvPOpenMutex(manager.BuildObjectName(1, L"M"), SYNCHRONIZE));
    EXPECT_EQ(nullptr,
              manager.OrvPCreateFileMapping(1, INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, L"F"));
    EXPECT_EQ(nullptr, manager.OrvPOpenFileMapping(1, FILE_MAP_READ, false, L"F"));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateEvent CreateEvent OrvP\\E Failed\n<error 3>\n",
                            L"CProxySecManager::OrvPCreateMutex Create Mutex OrvP\\M\n",
                            L"CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 3>\n",
                            L"CProxySecManager::OrvPOpenMutex Open Mutex OrvP\\M\n",
                            L"CProxySecManager::OrvPOpenMutex Open Mutex Failed <error 3>\n",
                            L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: OrvP\\F\n",
                            L"CProxySecManager::OrvPCreateFileMapping Failed with <error 3>\n",
                            L"CProxySecManager::OrvPOpenFileMapping Failed with <error 3>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, OpensNoNamespaceThatNobodyCreated)
{
    NamespaceWorld world;
    const CProxySecManager manager;
    const std::wstring name = FreshName(L"space");
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(nullptr, manager.OrvPOpenNamespace(name.c_str()));
    EXPECT_THAT(trace.Lines(), IsEmpty());
    world.Fail(L"OpenPrivateNamespaceW", ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(nullptr, manager.OrvPOpenNamespace(name.c_str()));
    EXPECT_THAT(trace.Lines(), IsEmpty());
    world.Fail(L"OpenPrivateNamespaceW", ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(nullptr, manager.OrvPOpenNamespace(name.c_str()));
    world.Fail(L"OpenPrivateNamespaceW", ERROR_INVALID_PARAMETER);
    EXPECT_EQ(nullptr, manager.OrvPOpenNamespace(nullptr));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPOpenNamespace OpenPrivateNamespace " + name + L"\n<error 2>\n",
                            L"CProxySecManager::OrvPOpenNamespace OpenPrivateNamespace (null)\n<error 87>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, CreatesOpensAndClosesNamespacesOfAnyName)
{
    NamespaceWorld world;
    const CProxySecManager manager;
    const std::wstring name = FreshName(L"space");
    const unsigned before = OpenHandleCount();
    world.ClearCalls();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    HANDLE created = manager.OrvPCreateNamespace(name.c_str());
    ASSERT_NE(nullptr, created);
    EXPECT_EQ(nullptr, manager.OrvPCreateNamespace(name.c_str()));
    HANDLE opened = manager.OrvPOpenNamespace(name.c_str());
    ASSERT_NE(nullptr, opened);
    EXPECT_EQ(before + 2, OpenHandleCount());

    EXPECT_TRUE(manager.OrvPCloseNamespace(created));
    EXPECT_EQ(nullptr, created);
    EXPECT_FALSE(manager.OrvPCloseNamespace(created));
    EXPECT_TRUE(manager.OrvPCloseNamespace(opened));
    EXPECT_EQ(nullptr, opened);
    EXPECT_EQ(before, OpenHandleCount());

    const std::wstring create = L"CreatePrivateNamespaceW (length 24, inherit 0, null access list) Zeph " + name;
    EXPECT_THAT(world.Calls(), ElementsAre(create, create, L"OpenPrivateNamespaceW Zeph " + name,
                                           L"ClosePrivateNamespace 0", L"ClosePrivateNamespace 0"));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPCreateNamespace CreatePrivateNamespace " + name +
                                           L"\n<error 183>\n"));
}

TEST(CProxySecManager, ClosesNothingWithoutTheEntryPointForIt)
{
    NamespaceWorld world;
    world.Exports().Hide("ClosePrivateNamespace");
    const CProxySecManager manager;
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const TraceCapture trace;
    HANDLE handle = event;
    EXPECT_FALSE(manager.OrvPCloseNamespace(handle));
    EXPECT_EQ(event, handle);
    EXPECT_NE(FALSE, CloseHandle(event)) << "it was not closed";
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CProxySecManager, ReportsANamespaceThatCannotBeClosed)
{
    NamespaceWorld world;
    const CProxySecManager manager;
    const std::wstring name = FreshName(L"space");
    HANDLE const created = manager.OrvPCreateNamespace(name.c_str());
    world.Fail(L"ClosePrivateNamespace", ERROR_INVALID_HANDLE);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    HANDLE handle = created;
    EXPECT_FALSE(manager.OrvPCloseNamespace(handle));
    EXPECT_EQ(created, handle);
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCloseNamespace ClosePrivateNamespace\n<error 6>\n"));
    EXPECT_EQ(2U, world.OpenNamespaces());
}

TEST(CProxySecManager, KnowsNoNamespacesOnOlderSystemsAndUnderWine)
{
    const auto refusesAll = [](const CProxySecManager& manager) {
        const TraceCapture trace;
        EXPECT_EQ(nullptr, manager.OrvPCreateNamespace(L"OrvP"));
        EXPECT_EQ(nullptr, manager.OrvPOpenNamespace(L"OrvP"));
        HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        HANDLE handle = event;
        EXPECT_FALSE(manager.OrvPCloseNamespace(handle));
        EXPECT_EQ(event, handle);
        EXPECT_NE(FALSE, CloseHandle(event)) << "it was not closed";
        EXPECT_THAT(trace.Lines(), IsEmpty());
    };
    {
        const NamespaceWorld world(NamespaceWorld::Entry::Own, c_windowsXp64);
        const CProxySecManager manager;
        refusesAll(manager);
        EXPECT_THAT(world.Calls(), IsEmpty());
    }
    NamespaceWorld world;
    world.Exports().Replace(
        "wine_get_version", +[] { return "8.0"; });
    const CProxySecManager manager;
    refusesAll(manager);
    EXPECT_THAT(world.Calls(), IsEmpty());
}

TEST(CProxySecManager, LeavesInAFixedOrder)
{
    static NamespaceWorld* current = nullptr;
    static std::map<HMODULE, std::wstring> libraries;
    NamespaceWorld world;
    current = &world;
    libraries.clear();
    const Redirect<decltype(LoadLibraryW)> load("LoadLibraryW", [](const wchar_t* name) -> HMODULE {
        HMODULE const module = LoadLibraryExW(name, nullptr, 0);
        libraries[module] = name;
        return module;
    });
    static BOOL (*freeLibrary)(HMODULE) = nullptr;
    const Redirect<decltype(FreeLibrary)> free("FreeLibrary", [](HMODULE module) -> BOOL {
        current->Record(L"FreeLibrary " + libraries[module]);
        return freeLibrary(module);
    });
    freeLibrary = free.Real();
    const std::vector<std::wstring> expected{
        L"ClosePrivateNamespace 0", L"DeleteBoundaryDescriptor Zeph", L"FreeLibrary Ntdll",
        L"FreeLibrary Kernel32",    L"FreeLibrary AdvAPI32",          L"FreeLibrary Version",
    };
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    {
        const CProxySecManager manager;
        world.ClearCalls();
    }
    EXPECT_EQ(expected, world.Calls());
    EXPECT_THAT(trace.Lines(), IsEmpty());
    {
        const CProxySecManager manager;
        world.Fail(L"ClosePrivateNamespace", ERROR_INVALID_HANDLE);
        world.ClearCalls();
    }
    EXPECT_EQ(expected, world.Calls()) << "a failed close does not stop the rest";
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCloseNamespace ClosePrivateNamespace\n<error 6>\n"));
}

TEST(CProxySecManager, DeletesTheCurrentProcessBeforeItLeaves)
{
    static NamespaceWorld* current = nullptr;
    static BOOL (*closeHandle)(HANDLE) = nullptr;
    NamespaceWorld world;
    current = &world;
    const Redirect<decltype(CloseHandle)> close("CloseHandle", [](HANDLE handle) -> BOOL {
        current->Record(L"CloseHandle");
        return closeHandle(handle);
    });
    closeHandle = close.Real();
    const unsigned before = OpenHandleCount();
    {
        CProxySecManager manager;
        ASSERT_NE(nullptr, manager.GetCurrentProcessObject());
        world.ClearCalls();
    }
    ASSERT_EQ(5U, world.Calls().size());
    EXPECT_EQ(L"CloseHandle", world.Calls()[0]) << "the token, then the process";
    EXPECT_EQ(L"CloseHandle", world.Calls()[1]);
    EXPECT_EQ(L"ClosePrivateNamespace 0", world.Calls()[2]);
    EXPECT_EQ(before, OpenHandleCount());
}
