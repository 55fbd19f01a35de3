#include "OrvProfiler/UniqueHandle.h"

#include "tests/support/ImportRedirect.h"
#include "tests/support/SystemProbe.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
HANDLE MakeEvent()
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

// A handle value that is never handed to the system while CloseHandle is replaced.
HANDLE Fake(uintptr_t value)
{
    return reinterpret_cast<HANDLE>(value);
}

std::vector<HANDLE> g_closed;

// Notes what is closed in place of closing it, and changes the last error as a failing call would.
class NotedClose
{
public:
    NotedClose() { g_closed.clear(); }
    const std::vector<HANDLE>& Closed() const { return g_closed; }

private:
    Redirect<decltype(CloseHandle)> m_redirect{"CloseHandle", [](HANDLE handle) -> BOOL {
                                                   g_closed.push_back(handle);
                                                   SetLastError(6);
                                                   return FALSE;
                                               }};
};
} // namespace

TEST(UniqueHandle, HoldsNothingAtFirst)
{
    const NotedClose close;
    {
        const UniqueHandle handle;
        EXPECT_EQ(nullptr, handle.Get());
        EXPECT_FALSE(handle);
    }
    EXPECT_THAT(close.Closed(), IsEmpty());
}

TEST(UniqueHandle, ClosesItsHandleWhenItGoes)
{
    const unsigned before = OpenHandleCount();
    {
        const UniqueHandle handle(MakeEvent());
        EXPECT_TRUE(handle);
        EXPECT_EQ(before + 1, OpenHandleCount());
    }
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(UniqueHandle, TakesNoFileForNothing)
{
    const NotedClose close;
    {
        const UniqueHandle none = UniqueHandle::FromFile(INVALID_HANDLE_VALUE);
        EXPECT_EQ(nullptr, none.Get());
        const UniqueHandle file = UniqueHandle::FromFile(Fake(16));
        EXPECT_EQ(Fake(16), file.Get());
    }
    EXPECT_THAT(close.Closed(), ElementsAre(Fake(16)));
}

TEST(UniqueHandle, MovesWithoutClosing)
{
    const NotedClose close;
    {
        UniqueHandle first(Fake(16));
        UniqueHandle second(std::move(first));
        EXPECT_EQ(nullptr, first.Get()); // NOLINT(bugprone-use-after-move): a moved handle holds nothing
        EXPECT_EQ(Fake(16), second.Get());
        EXPECT_THAT(close.Closed(), IsEmpty());
    }
    EXPECT_THAT(close.Closed(), ElementsAre(Fake(16)));
}

TEST(UniqueHandle, ClosesTheOldHandleWhenAnotherIsMovedIn)
{
    const NotedClose close;
    {
        UniqueHandle first(Fake(16));
        UniqueHandle second(Fake(32));
        EXPECT_EQ(&first, &(first = std::move(second)));
        EXPECT_EQ(Fake(32), first.Get());
        EXPECT_THAT(close.Closed(), ElementsAre(Fake(16)));
    }
    EXPECT_THAT(close.Closed(), ElementsAre(Fake(16), Fake(32)));
}

TEST(UniqueHandle, SurvivesAMoveToItself)
{
    const NotedClose close;
    UniqueHandle handle(Fake(16));
    UniqueHandle& same = handle;
    handle = std::move(same);
    EXPECT_EQ(Fake(16), handle.Get());
    EXPECT_THAT(close.Closed(), IsEmpty());
    handle.Detach();
}

TEST(UniqueHandle, ReceivesAHandleInPlaceOfTheOldOne)
{
    const NotedClose close;
    UniqueHandle handle(Fake(16));
    *handle.Receive() = Fake(32);
    EXPECT_EQ(Fake(32), handle.Get());
    EXPECT_THAT(close.Closed(), ElementsAre(Fake(16)));
}

TEST(UniqueHandle, GivesItsHandleUp)
{
    const NotedClose close;
    {
        UniqueHandle handle(Fake(16));
        EXPECT_EQ(Fake(16), handle.Detach());
        EXPECT_FALSE(handle);
    }
    EXPECT_THAT(close.Closed(), IsEmpty());
}

TEST(UniqueHandle, KeepsTheLastErrorWhenItCloses)
{
    const NotedClose close;
    UniqueHandle handle(Fake(16));
    SetLastError(1234);
    handle.Reset(Fake(32));
    EXPECT_EQ(1234U, GetLastError());
    handle.Reset();
    EXPECT_EQ(1234U, GetLastError());
    EXPECT_EQ(nullptr, handle.Get());
    EXPECT_THAT(close.Closed(), ElementsAre(Fake(16), Fake(32)));
}
