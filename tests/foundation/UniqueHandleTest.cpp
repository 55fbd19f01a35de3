#include "OrvProfiler/foundation/UniqueHandle.h"

#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <type_traits>

static_assert(!std::is_copy_constructible_v<UniqueHandle> && !std::is_copy_assignable_v<UniqueHandle>,
              "one owner only");
static_assert(std::is_nothrow_move_constructible_v<UniqueHandle> && std::is_nothrow_move_assignable_v<UniqueHandle>,
              "moving cannot fail");
static_assert(!std::is_convertible_v<HANDLE, UniqueHandle> && !std::is_convertible_v<UniqueHandle, HANDLE>,
              "ownership is taken and given up in plain sight only");
static_assert(!std::is_convertible_v<UniqueHandle, bool>, "a handle is no number");

namespace
{
HANDLE NewEvent()
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

bool IsOpen(HANDLE handle)
{
    DWORD flags = 0;
    return GetHandleInformation(handle, &flags) != FALSE;
}

} // namespace

TEST(UniqueHandle, IsEmptyAtFirstAndClosesNothing)
{
    const CallRecorder<decltype(CloseHandle)> closeHandle("CloseHandle");
    {
        const UniqueHandle handle;
        EXPECT_EQ(nullptr, handle.Get());
        EXPECT_FALSE(handle);
        const UniqueHandle fromNull(nullptr);
        EXPECT_FALSE(fromNull);
    }
    EXPECT_TRUE(closeHandle.Calls().empty());
}

TEST(UniqueHandle, ClosesWhatItHoldsOnce)
{
    const unsigned before = OpenHandleCount();
    const CallRecorder<decltype(CloseHandle)> closeHandle("CloseHandle");
    HANDLE const event = NewEvent();
    {
        const UniqueHandle handle(event);
        EXPECT_EQ(event, handle.Get());
        EXPECT_TRUE(handle);
        EXPECT_EQ(before + 1, OpenHandleCount());
        EXPECT_TRUE(closeHandle.Calls().empty());
    }
    ASSERT_EQ(1U, closeHandle.Calls().size());
    EXPECT_EQ(event, std::get<0>(closeHandle.Calls()[0]));
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(UniqueHandle, MovesItsHandleOut)
{
    const CallRecorder<decltype(CloseHandle)> closeHandle("CloseHandle");
    HANDLE const event = NewEvent();
    {
        UniqueHandle first(event);
        const UniqueHandle second(std::move(first));
        EXPECT_EQ(nullptr, first.Get()); // NOLINT(bugprone-use-after-move): what is left behind is the question
        EXPECT_EQ(event, second.Get());
        EXPECT_TRUE(IsOpen(event));
    }
    EXPECT_EQ(1U, closeHandle.Calls().size());
}

TEST(UniqueHandle, ClosesItsOwnHandleWhenAnotherIsMovedIn)
{
    const CallRecorder<decltype(CloseHandle)> closeHandle("CloseHandle");
    HANDLE const kept = NewEvent();
    HANDLE const dropped = NewEvent();
    {
        UniqueHandle from(kept);
        UniqueHandle target(dropped);
        target = std::move(from);
        ASSERT_EQ(1U, closeHandle.Calls().size());
        EXPECT_EQ(dropped, std::get<0>(closeHandle.Calls()[0]));
        EXPECT_EQ(kept, target.Get());
        EXPECT_EQ(nullptr, from.Get()); // NOLINT(bugprone-use-after-move): what is left behind is the question
    }
    ASSERT_EQ(2U, closeHandle.Calls().size());
    EXPECT_EQ(kept, std::get<0>(closeHandle.Calls()[1]));
}

TEST(UniqueHandle, SurvivesBeingMovedIntoItself)
{
    HANDLE const event = NewEvent();
    UniqueHandle handle(event);
    UniqueHandle& itself = handle;
    handle = std::move(itself);
    EXPECT_EQ(event, handle.Get());
    EXPECT_TRUE(IsOpen(event));
}

TEST(UniqueHandle, TakesAFileHandlesOwnNoneAsNone)
{
    const CallRecorder<decltype(CloseHandle)> closeHandle("CloseHandle");
    {
        const UniqueHandle none = UniqueHandle::FromFile(INVALID_HANDLE_VALUE);
        EXPECT_EQ(nullptr, none.Get());
        EXPECT_FALSE(none);
    }
    EXPECT_TRUE(closeHandle.Calls().empty());

    HANDLE const event = NewEvent();
    {
        const UniqueHandle some = UniqueHandle::FromFile(event);
        EXPECT_EQ(event, some.Get());
    }
    EXPECT_EQ(1U, closeHandle.Calls().size());
}

TEST(UniqueHandle, ReceivesAHandleAndClosesTheOneBefore)
{
    const CallRecorder<decltype(CloseHandle)> closeHandle("CloseHandle");
    HANDLE const first = NewEvent();
    HANDLE const second = NewEvent();
    {
        UniqueHandle handle;
        *handle.Receive() = first;
        EXPECT_EQ(first, handle.Get());
        EXPECT_TRUE(closeHandle.Calls().empty());
        HANDLE* const place = handle.Receive();
        EXPECT_EQ(nullptr, *place);
        ASSERT_EQ(1U, closeHandle.Calls().size());
        EXPECT_EQ(first, std::get<0>(closeHandle.Calls()[0]));
        *place = second;
        EXPECT_EQ(second, handle.Get());
    }
    EXPECT_EQ(2U, closeHandle.Calls().size());
}

TEST(UniqueHandle, DetachesWithoutClosing)
{
    HANDLE const event = NewEvent();
    {
        UniqueHandle handle(event);
        EXPECT_EQ(event, handle.Detach());
        EXPECT_FALSE(handle);
    }
    EXPECT_TRUE(IsOpen(event));
    CloseHandle(event);
}

TEST(UniqueHandle, ResetsToNothingAndToAnother)
{
    HANDLE const first = NewEvent();
    HANDLE const second = NewEvent();
    UniqueHandle handle(first);
    handle.Reset(second);
    EXPECT_FALSE(IsOpen(first));
    EXPECT_EQ(second, handle.Get());
    handle.Reset();
    EXPECT_FALSE(IsOpen(second));
    EXPECT_FALSE(handle);
    handle.Reset();
    EXPECT_FALSE(handle);
}

TEST(UniqueHandle, LeavesTheLastErrorAsItWas)
{
    HANDLE const event = NewEvent();
    const FailingCall<decltype(CloseHandle)> closeHandle("CloseHandle", ERROR_INVALID_HANDLE);
    SetLastError(1234);
    {
        const UniqueHandle handle(event);
    }
    EXPECT_EQ(1234U, GetLastError());
    EXPECT_EQ(1U, closeHandle.Calls().size());
}
