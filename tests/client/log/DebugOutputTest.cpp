#include "client/log/DebugOutput.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/faults/SystemCall.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <mutex>
#include <string>
#include <vector>

using testing::ElementsAre;

TEST(ClientDebugOutput, HearsThisProcessAndIsTheOnlyListener)
{
    std::mutex lock;
    std::vector<std::string> heard;
    {
        const DebugOutput output([&](uint32_t processId, const std::string& text) {
            const std::lock_guard<std::mutex> guard(lock);
            if (processId == GetCurrentProcessId())
                heard.push_back(text);
        });
        ASSERT_TRUE(output.IsListening());
        EXPECT_FALSE(DebugOutput([](uint32_t, const std::string&) {}).IsListening());
        OutputDebugStringW(L"one\n");
        OutputDebugStringW(L"two\n");
    }
    EXPECT_THAT(heard, ElementsAre("one\n", "two\n"));
}

TEST(ClientDebugOutput, ListenerWithoutItsObjectsDoesNotListen)
{
    {
        const SystemCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_ACCESS_DENIED);
        EXPECT_FALSE(DebugOutput([](uint32_t, const std::string&) {}).IsListening());
    }
    const SystemCall<decltype(CreateEventW)> create("CreateEventW", ERROR_ACCESS_DENIED);
    const DebugOutput output([](uint32_t, const std::string&) {});
    EXPECT_FALSE(output.IsListening());
    // Whoever prints finds no half of a listener. Another test's process may just have opened what was there.
    const auto isThere = [] {
        return static_cast<bool>(UniqueHandle(OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER")));
    };
    for (int i = 0; i < 100 && isThere(); ++i)
        Sleep(50);
    EXPECT_FALSE(isThere());
}
