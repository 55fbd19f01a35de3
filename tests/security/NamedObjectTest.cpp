#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

// Events, mutexes and file mappings through the manager: what is asked of the system, what is traced, what comes
// back.

namespace
{
constexpr uint32_t c_noSession = 0xFFFFFFFF;

bool IsSet(HANDLE event)
{
    return WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

bool IsInherited(HANDLE handle)
{
    DWORD flags = 0;
    GetHandleInformation(handle, &flags);
    return (flags & HANDLE_FLAG_INHERIT) != 0;
}
} // namespace

TEST(CProxySecManager, CreatesAnEvent)
{
    const std::wstring name = FreshName(L"event");
    const TraceCapture trace;
    HANDLE const event = g_SecManager.OrvPCreateEvent(c_noSession, nullptr, true, false, name.c_str());
    ASSERT_NE(nullptr, event);
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateEvent CreateEvent Local\\" + name + L" succeeded \n"));
    HANDLE const same = OpenEventW(SYNCHRONIZE, FALSE, (L"Local\\" + name).c_str());
    EXPECT_NE(nullptr, same);
    EXPECT_FALSE(IsSet(same));
    SetEvent(event);
    EXPECT_TRUE(IsSet(same));
    EXPECT_FALSE(IsInherited(event));
    CloseHandle(same);
    CloseHandle(event);
}

TEST(CProxySecManager, CreatesEventsOfEachKindAndState)
{
    for (const bool manualReset : {false, true})
    {
        for (const bool initialState : {false, true})
        {
            HANDLE const event = g_SecManager.OrvPCreateEvent(c_noSession, nullptr, manualReset, initialState,
                                                              FreshName(L"event").c_str());
            ASSERT_NE(nullptr, event);
            EXPECT_EQ(initialState, IsSet(event));
            SetEvent(event);
            EXPECT_TRUE(IsSet(event));
            EXPECT_EQ(manualReset, IsSet(event)) << "a wait resets an event of the other kind";
            CloseHandle(event);
        }
    }
}

TEST(CProxySecManager, PassesTheCallersAttributesToEachCreation)
{
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, TRUE};
    const std::wstring name = FreshName(L"inherited");
    HANDLE const event = g_SecManager.OrvPCreateEvent(c_noSession, &attributes, true, false, (name + L"e").c_str());
    HANDLE const mutex = g_SecManager.OrvPCreateMutex(c_noSession, &attributes, (name + L"m").c_str());
    HANDLE const mapping = g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, &attributes,
                                                              PAGE_READWRITE, 0, 4096, (name + L"f").c_str());
    for (HANDLE const handle : {event, mutex, mapping})
    {
        EXPECT_TRUE(IsInherited(handle));
        CloseHandle(handle);
    }
}

TEST(CProxySecManager, OpensAnEventThatExistsByTheSameCall)
{
    const unsigned before = OpenHandleCount();
    const std::wstring name = FreshName(L"event");
    HANDLE const first = g_SecManager.OrvPCreateEvent(c_noSession, nullptr, true, false, name.c_str());
    EXPECT_EQ(0U, GetLastError());
    const TraceCapture trace;
    HANDLE const second = g_SecManager.OrvPCreateEvent(c_noSession, nullptr, false, true, name.c_str());
    EXPECT_EQ(183U, GetLastError()) << "tracing leaves the last error to the caller";
    ASSERT_NE(nullptr, second);
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateEvent CreateEvent Local\\" + name + L" succeeded \n"));
    EXPECT_FALSE(IsSet(second));
    SetEvent(second);
    EXPECT_TRUE(IsSet(first));
    EXPECT_TRUE(IsSet(first)) << "the kind is the first creator's";
    CloseHandle(first);
    CloseHandle(second);
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, ReportsAnEventThatCannotBeCreated)
{
    const unsigned before = OpenHandleCount();
    const std::wstring name = FreshName(L"event");
    const FailingCall<decltype(CreateEventW)> createEvent("CreateEventW", ERROR_NOT_ENOUGH_MEMORY);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    SECURITY_ATTRIBUTES attributes{};
    EXPECT_EQ(nullptr, g_SecManager.OrvPCreateEvent(c_noSession, &attributes, true, false, name.c_str()));
    EXPECT_EQ(8U, GetLastError());
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPCreateEvent CreateEvent Local\\" + name +
                                           L" Failed\n<error 8>\n"));
    EXPECT_THAT(createEvent.Calls(), ElementsAre(FieldsAre(&attributes, TRUE, FALSE, _)));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, ReportsANameThatBelongsToAnotherKindOfObject)
{
    const std::wstring name = FreshName(L"kind");
    HANDLE const mutex = g_SecManager.OrvPCreateMutex(c_noSession, nullptr, name.c_str());
    ASSERT_NE(nullptr, mutex);
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(nullptr, g_SecManager.OrvPCreateEvent(c_noSession, nullptr, true, false, name.c_str()));
    EXPECT_EQ(nullptr, g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                                          0, 4096, name.c_str()));
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_READ, false, name.c_str()));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateEvent CreateEvent Local\\" + name + L" Failed\n<error 6>\n",
                            L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\" + name + L"\n",
                            L"CProxySecManager::OrvPCreateFileMapping Failed with <error 6>\n",
                            L"CProxySecManager::OrvPOpenFileMapping Failed with <error 6>\n"));
    EXPECT_EQ(before, OpenHandleCount());
    CloseHandle(mutex);
}

TEST(CProxySecManager, CreatesInTheSessionOnOlderSystems)
{
    const WindowsWithoutNamespaces world;
    const CProxySecManager manager;
    DWORD session = 0;
    ASSERT_NE(FALSE, ProcessIdToSessionId(GetCurrentProcessId(), &session));
    const std::wstring name = FreshName(L"event");
    const std::wstring kernelName = L"Session\\" + std::to_wstring(session) + L"\\" + name;
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    HANDLE const event = manager.OrvPCreateEvent(session, nullptr, true, false, name.c_str());
    ASSERT_NE(nullptr, event);
    HANDLE const same = OpenEventW(SYNCHRONIZE, FALSE, kernelName.c_str());
    EXPECT_NE(nullptr, same);
    CloseHandle(same);
    CloseHandle(event);

    EXPECT_EQ(nullptr, manager.OrvPCreateEvent(0xFFFFFFFE, nullptr, true, false, name.c_str()));
    EXPECT_THAT(
        trace.Lines(),
        ElementsAre(L"CProxySecManager::OrvPCreateEvent CreateEvent " + kernelName + L" succeeded \n",
                    L"CProxySecManager::OrvPCreateEvent CreateEvent Session\\-2\\" + name + L" Failed\n<error 3>\n"));
}

TEST(CProxySecManager, OpensAnEventWithoutTracing)
{
    const unsigned before = OpenHandleCount();
    const std::wstring name = FreshName(L"event");
    const TraceCapture trace;
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenEvent(c_noSession, EVENT_ALL_ACCESS, name.c_str()));
    EXPECT_EQ(2U, GetLastError());
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, (L"Local\\" + name).c_str());
    {
        const CallRecorder<decltype(OpenEventW)> openEvent("OpenEventW");
        HANDLE const opened = g_SecManager.OrvPOpenEvent(c_noSession, EVENT_MODIFY_STATE, name.c_str());
        ASSERT_NE(nullptr, opened);
        EXPECT_THAT(openEvent.Calls(), ElementsAre(FieldsAre(2U, FALSE, _)));
        EXPECT_NE(FALSE, SetEvent(opened));
        EXPECT_TRUE(IsSet(event));
        EXPECT_EQ(WAIT_FAILED, WaitForSingleObject(opened, 0)) << "no more access than was asked for";
        EXPECT_FALSE(IsInherited(opened));
        CloseHandle(opened);
    }
    {
        const FailingCall<decltype(OpenEventW)> openEvent("OpenEventW", ERROR_ACCESS_DENIED);
        EXPECT_EQ(nullptr, g_SecManager.OrvPOpenEvent(c_noSession, EVENT_ALL_ACCESS, name.c_str()));
        EXPECT_EQ(5U, GetLastError());
    }
    EXPECT_THAT(trace.Lines(), IsEmpty());
    CloseHandle(event);
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, CreatesAMutexThatNobodyOwnsYet)
{
    const std::wstring name = FreshName(L"mutex");
    const CallRecorder<decltype(CreateMutexW)> createMutex("CreateMutexW");
    const TraceCapture trace;
    HANDLE const mutex = g_SecManager.OrvPCreateMutex(c_noSession, nullptr, name.c_str());
    EXPECT_EQ(0U, GetLastError());
    ASSERT_NE(nullptr, mutex);
    EXPECT_THAT(createMutex.Calls(), ElementsAre(FieldsAre(nullptr, FALSE, _)));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPCreateMutex Create Mutex Local\\" + name + L"\n"));
    EXPECT_EQ(FALSE, ReleaseMutex(mutex));
    EXPECT_EQ(288U, GetLastError()) << "not the owner";

    HANDLE const second = g_SecManager.OrvPCreateMutex(c_noSession, nullptr, name.c_str());
    EXPECT_EQ(183U, GetLastError()) << "tells the second creator from the first";
    EXPECT_NE(nullptr, second);
    CloseHandle(second);
    CloseHandle(mutex);
}

TEST(CProxySecManager, TracesAMutexBeforeItIsCreatedOrOpened)
{
    const Redirect<decltype(CreateMutexW)> createMutex("CreateMutexW",
                                                       [](SECURITY_ATTRIBUTES*, BOOL, const wchar_t*) -> HANDLE {
                                                           Trace(L"%6.0f called\n", 1.0);
                                                           SetLastError(ERROR_ACCESS_DENIED);
                                                           return nullptr;
                                                       });
    const Redirect<decltype(OpenMutexW)> openMutex("OpenMutexW", [](DWORD, BOOL, const wchar_t*) -> HANDLE {
        Trace(L"%6.0f called\n", 1.0);
        SetLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    });
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(nullptr, g_SecManager.OrvPCreateMutex(c_noSession, nullptr, L"M"));
    EXPECT_EQ(5U, GetLastError());
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenMutex(L"Local\\M", MUTEX_ALL_ACCESS));
    EXPECT_EQ(2U, GetLastError());
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPCreateMutex Create Mutex Local\\M\n", L"called\n",
                                           L"CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 5>\n",
                                           L"CProxySecManager::OrvPOpenMutex Open Mutex Local\\M\n", L"called\n",
                                           L"CProxySecManager::OrvPOpenMutex Open Mutex Failed <error 2>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, OpensAMutexByItsFinishedName)
{
    const unsigned before = OpenHandleCount();
    const std::wstring name = FreshName(L"mutex");
    const std::wstring kernelName = L"Local\\" + name;
    HANDLE const mutex = g_SecManager.OrvPCreateMutex(c_noSession, nullptr, name.c_str());
    const CallRecorder<decltype(OpenMutexW)> openMutex("OpenMutexW");
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    HANDLE const opened = g_SecManager.OrvPOpenMutex(kernelName.c_str(), SYNCHRONIZE);
    ASSERT_NE(nullptr, opened);
    EXPECT_THAT(openMutex.Calls(), ElementsAre(FieldsAre(0x100000U, FALSE, kernelName.c_str())))
        << "the name is passed on as it is";
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(opened, 0));
    EXPECT_NE(FALSE, ReleaseMutex(mutex)) << "it is the same mutex";
    CloseHandle(opened);
    CloseHandle(mutex);
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenMutex(kernelName.c_str(), SYNCHRONIZE));
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPOpenMutex Open Mutex Local\\" + name + L"\n",
                                           L"CProxySecManager::OrvPOpenMutex Open Mutex Local\\" + name + L"\n",
                                           L"CProxySecManager::OrvPOpenMutex Open Mutex Failed <error 2>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, CreatesAFileMapping)
{
    const std::wstring name = FreshName(L"map");
    const TraceCapture trace;
    HANDLE const mapping = g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, nullptr,
                                                              PAGE_READWRITE, 0, 8192, name.c_str());
    EXPECT_EQ(0U, GetLastError());
    ASSERT_NE(nullptr, mapping);
    HANDLE const opened =
        g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_READ | FILE_MAP_WRITE, false, name.c_str());
    ASSERT_NE(nullptr, opened);
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\" +
                                           name + L"\n"));

    auto* const written = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 8192));
    const auto* const read = static_cast<const char*>(MapViewOfFile(opened, FILE_MAP_READ, 0, 0, 8192));
    ASSERT_TRUE(written != nullptr && read != nullptr);
    written[8191] = 'z';
    EXPECT_EQ('z', read[8191]);
    UnmapViewOfFile(written);
    UnmapViewOfFile(read);

    HANDLE const second = g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, nullptr,
                                                             PAGE_READWRITE, 0, 4096, name.c_str());
    EXPECT_EQ(183U, GetLastError());
    EXPECT_NE(nullptr, second);
    for (HANDLE const handle : {mapping, opened, second})
        CloseHandle(handle);
}

TEST(CProxySecManager, PassesAFileMappingsArgumentsInTheirOrder)
{
    const unsigned before = OpenHandleCount();
    const FailingCall<decltype(CreateFileMappingW)> createMapping("CreateFileMappingW", ERROR_DISK_FULL);
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    auto* const file = reinterpret_cast<HANDLE>(intptr_t{0x1234});
    SECURITY_ATTRIBUTES attributes{};
    EXPECT_EQ(nullptr,
              g_SecManager.OrvPCreateFileMapping(c_noSession, file, &attributes, PAGE_READONLY, 0x11, 0x22, L"F"));
    EXPECT_EQ(112U, GetLastError());
    EXPECT_THAT(createMapping.Calls(), ElementsAre(FieldsAre(file, &attributes, 2U, 0x11U, 0x22U, _)));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\F\n",
                            L"CProxySecManager::OrvPCreateFileMapping Failed with <error 112>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, TracesAFileMappingBeforeItIsCreated)
{
    const Redirect<decltype(CreateFileMappingW)> createMapping(
        "CreateFileMappingW", [](HANDLE, SECURITY_ATTRIBUTES*, DWORD, DWORD, DWORD, const wchar_t*) -> HANDLE {
            Trace(L"%6.0f called\n", 1.0);
            SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        });
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(nullptr, g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                                          0, 4096, L"F"));
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\F\n", L"called\n",
                            L"CProxySecManager::OrvPCreateFileMapping Failed with <error 5>\n"));
}

TEST(CProxySecManager, MapsAFile)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"file");
    HANDLE const file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file);
    HANDLE const mapping = g_SecManager.OrvPCreateFileMapping(c_noSession, file, nullptr, PAGE_READWRITE, 0, 5000,
                                                              FreshName(L"map").c_str());
    EXPECT_NE(nullptr, mapping);
    EXPECT_EQ(5000U, GetFileSize(file, nullptr));
    CloseHandle(mapping);
    CloseHandle(file);
}

TEST(CProxySecManager, PassesTheInheritFlagWhenItOpensAFileMapping)
{
    const std::wstring name = FreshName(L"map");
    HANDLE const mapping = g_SecManager.OrvPCreateFileMapping(c_noSession, INVALID_HANDLE_VALUE, nullptr,
                                                              PAGE_READWRITE, 0, 4096, name.c_str());
    const CallRecorder<decltype(OpenFileMappingW)> openMapping("OpenFileMappingW");
    HANDLE const kept = g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_READ, false, name.c_str());
    HANDLE const inherited = g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_WRITE, true, name.c_str());
    EXPECT_THAT(openMapping.Calls(), ElementsAre(FieldsAre(4U, FALSE, _), FieldsAre(2U, TRUE, _)));
    EXPECT_FALSE(IsInherited(kept));
    EXPECT_TRUE(IsInherited(inherited));
    for (HANDLE const handle : {mapping, kept, inherited})
        CloseHandle(handle);
}

TEST(CProxySecManager, ReportsAFileMappingThatCannotBeOpened)
{
    const unsigned before = OpenHandleCount();
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_READ, false, FreshName(L"m").c_str()));
    EXPECT_EQ(2U, GetLastError());
    const FailingCall<decltype(OpenFileMappingW)> openMapping("OpenFileMappingW", ERROR_ACCESS_DENIED);
    EXPECT_EQ(nullptr, g_SecManager.OrvPOpenFileMapping(c_noSession, FILE_MAP_READ, false, L"m"));
    EXPECT_EQ(5U, GetLastError());
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
                                           L"CProxySecManager::OrvPOpenFileMapping Failed with <error 5>\n"));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(CProxySecManager, DoesNothingWithoutAName)
{
    const CallRecorder<decltype(CreateEventW)> createEvent("CreateEventW");
    const CallRecorder<decltype(CreateMutexW)> createMutex("CreateMutexW");
    const CallRecorder<decltype(CreateFileMappingW)> createMapping("CreateFileMappingW");
    const auto useAll = [] {
        const TraceCapture trace;
        EXPECT_EQ(nullptr, g_SecManager.OrvPCreateEvent(1, nullptr, true, false, nullptr));
        EXPECT_EQ(nullptr, g_SecManager.OrvPOpenEvent(1, EVENT_ALL_ACCESS, nullptr));
        EXPECT_EQ(nullptr, g_SecManager.OrvPCreateMutex(1, nullptr, nullptr));
        EXPECT_EQ(nullptr, g_SecManager.OrvPOpenMutex(nullptr, MUTEX_ALL_ACCESS));
        EXPECT_EQ(nullptr, g_SecManager.OrvPCreateFileMapping(1, INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                              4096, nullptr));
        EXPECT_EQ(nullptr, g_SecManager.OrvPOpenFileMapping(1, FILE_MAP_READ, true, nullptr));
        EXPECT_THAT(trace.Lines(), IsEmpty());
    };
    for (const char* const function : {"OpenEventW", "OpenMutexW", "OpenFileMappingW"})
    {
        const CallRecorder<decltype(OpenEventW)> open(function);
        useAll();
        EXPECT_THAT(open.Calls(), IsEmpty()) << function;
    }
    EXPECT_THAT(createEvent.Calls(), IsEmpty());
    EXPECT_THAT(createMutex.Calls(), IsEmpty());
    EXPECT_THAT(createMapping.Calls(), IsEmpty());
}

TEST(CProxySecManager, CutsALineWhoseNameFillsTheSlot)
{
    const FailingCall<decltype(CreateEventW)> createEvent("CreateEventW", ERROR_FILENAME_EXCED_RANGE);
    const TraceCapture trace;
    EXPECT_EQ(nullptr,
              g_SecManager.OrvPCreateEvent(c_noSession, nullptr, true, false, std::wstring(3000, L'n').c_str()));
    ASSERT_EQ(1U, createEvent.Calls().size());
    EXPECT_EQ(L"Local\\" + std::wstring(1018, L'n'), std::get<3>(createEvent.Calls()[0]));
    ASSERT_EQ(1U, trace.Raw().size());
    EXPECT_EQ(1024U, trace.Raw()[0].size());
    EXPECT_EQ(0U, trace.Lines()[0].find(L"CProxySecManager::OrvPCreateEvent CreateEvent Local\\nnn"));
}
