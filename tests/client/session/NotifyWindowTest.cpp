#include "client/session/NotifyWindow.h"

#include "tests/client/SessionFailure.h"
#include "tests/support/faults/SystemCall.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(SessionNotifyWindow, AnswersTheWorkbenchsMessagesAndHandsThemOn)
{
    std::vector<uint32_t> messages;
    NotifyWindow window([&](uint32_t message) { messages.push_back(message); });
    ASSERT_NE(nullptr, window.Handle());
    EXPECT_EQ(1, SendMessageW(window.Handle(), 0x8407, 0, 0));
    EXPECT_EQ(1, SendMessageW(window.Handle(), 0x83EB, 0, 0));
    PostMessageW(window.Handle(), 0x83F0, 0, 0);
    EXPECT_THAT(messages, ElementsAre(0x8407U, 0x83EBU));
    window.Pump();
    EXPECT_THAT(messages, ElementsAre(0x8407U, 0x83EBU, 0x83F0U));
}

TEST(SessionNotifyWindow, LeavesOtherMessagesAlone)
{
    std::vector<uint32_t> messages;
    const NotifyWindow window([&](uint32_t message) { messages.push_back(message); });
    EXPECT_EQ(0, SendMessageW(window.Handle(), 0x8406, 0, 0));
    EXPECT_THAT(messages, IsEmpty());
}

TEST(SessionNotifyWindow, WindowThatCannotBeMade)
{
    const SystemCall<decltype(CreateWindowExW)> create("CreateWindowExW", ERROR_NOT_ENOUGH_MEMORY);
    const auto failure = FailureOf([] { NotifyWindow([](uint32_t) {}); });
    EXPECT_THAT(failure.first, StartsWith(L"the notification window cannot be made: "));
    EXPECT_THAT(failure.first, HasSubstr(L"(error 8)"));
    EXPECT_EQ(SessionFailure::NoWorkbench, failure.second);
}
