#include "tests/support/faults/CallScript.h"

#include "OrvProfiler/foundation/Trace.h"
#include "tests/support/contract/TraceCapture.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

TEST(CallScript, RecordsCallsLinesWritesAndStatesInTheirOrder)
{
    const TraceCapture trace;
    auto* const page =
        static_cast<unsigned char*>(VirtualAlloc(nullptr, 1, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    const std::wstring name = L"orv-script-" + std::to_wstring(GetCurrentProcessId());
    int state = 0;
    CallScript script;
    script.Rename(name, L"{event}");
    script.WatchWrites(page, L"{page}");
    script.WatchState([&state] { return L"state " + std::to_wstring(state); });
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, name.c_str());
    page[0] = 1;
    page[1] = 2;
    state = 1;
    SetEvent(event);
    page[2] = 3;
    Trace(L"%6.0f %s\n", 0.0, L"Line");
    CloseHandle(event);
    EXPECT_TRUE(script.Is({L"CreateEventW default 1 0 {event}", L"writes {page}", L"= state 1", L"SetEvent {event}",
                           L"writes {page}", L"trace Line\n", L"CloseHandle {event}"}));
    EXPECT_TRUE(script.Is({}));
    script.WatchState(nullptr);
    script.Hide("SetEvent");
    script.Fail("ResetEvent");
    SetEvent(nullptr);   // cppcheck-suppress nullPointer ; the system refuses it
    ResetEvent(nullptr); // cppcheck-suppress nullPointer ; likewise
    EXPECT_FALSE(script.Is({L"ResetEvent null"})) << "another script";
    script.Clear();
    EXPECT_EQ(6, page[0] + page[1] + page[2]);
    VirtualFree(page, 0, MEM_RELEASE);
}
