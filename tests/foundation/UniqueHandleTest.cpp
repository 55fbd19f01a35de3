#include "OrvProfiler/foundation/UniqueHandle.h"

#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <io.h>

#include <gtest/gtest.h>
#include <type_traits>
#include <vector>

static_assert(!std::is_copy_constructible_v<UniqueHandle> && !std::is_copy_assignable_v<UniqueHandle>,
              "one owner only");
static_assert(std::is_nothrow_move_constructible_v<UniqueHandle> && std::is_nothrow_move_assignable_v<UniqueHandle>,
              "moving cannot fail");
static_assert(!std::is_convertible_v<HANDLE, UniqueHandle> && !std::is_convertible_v<UniqueHandle, HANDLE>,
              "ownership is taken and given up in plain sight only");
static_assert(!std::is_convertible_v<UniqueHandle, bool>, "a handle is no number");
static_assert(sizeof(UniqueHandle) == 8 && sizeof(UniqueLibrary) == 8 && sizeof(UniqueFindHandle) == 8 &&
                  sizeof(UniqueServiceHandle) == 8 && sizeof(UniqueView) == 8,
              "no bigger than the handle");

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
        // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is left behind is the question
        EXPECT_EQ(nullptr, first.Get());
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
        // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is left behind is the question
        EXPECT_EQ(nullptr, from.Get());
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

namespace
{
// A kind of handle whose "none" is 7.
struct NumberTraits
{
    using Handle = int;
    static constexpr Handle None() noexcept { return 7; }
    static void Close(Handle number) noexcept { s_closed.push_back(number); }

    static inline std::vector<int> s_closed;
};
using UniqueNumber = BasicUniqueHandle<NumberTraits>;
} // namespace

TEST(BasicUniqueHandle, KnowsNoHandleByItsTraits)
{
    NumberTraits::s_closed.clear();
    {
        UniqueNumber none;
        EXPECT_FALSE(none);
        EXPECT_EQ(7, none.Get());
        UniqueNumber zero(0);
        EXPECT_TRUE(zero);
        none = std::move(zero);
        EXPECT_TRUE(none);
        EXPECT_FALSE(zero); // NOLINT(bugprone-use-after-move): what is left behind is the question
        EXPECT_EQ(0, none.Detach());
        EXPECT_EQ(7, none.Get());
        *none.Receive() = 5;
        none.Reset(6);
        EXPECT_EQ(std::vector<int>{5}, NumberTraits::s_closed);
    }
    EXPECT_EQ((std::vector<int>{5, 6}), NumberTraits::s_closed);
}

TEST(UniqueLibrary, FreesTheLibraryOnceAndKeepsTheLastError)
{
    CallRecorder<decltype(FreeLibrary)> freeLibrary("FreeLibrary");
    HMODULE const module = LoadLibraryW(L"version");
    ASSERT_NE(nullptr, module);
    {
        const UniqueLibrary none;
        const UniqueLibrary library(module);
        EXPECT_EQ(module, library.Get());
    }
    ASSERT_EQ(1U, freeLibrary.Calls().size());
    EXPECT_EQ(module, std::get<0>(freeLibrary.Calls()[0]));
    freeLibrary.FailWith(ERROR_INVALID_HANDLE);
    SetLastError(1234);
    UniqueLibrary(module).Reset();
    EXPECT_EQ(1234U, GetLastError());
}

TEST(UniqueFindHandle, ClosesTheSearchOnceAndKeepsTheLastError)
{
    using CloseSearch = Redirect<int(intptr_t)>;
    static std::vector<intptr_t> closed;
    static CloseSearch* closeSearch = nullptr;
    closed.clear();
    CloseSearch close("_findclose", [](intptr_t search) {
        closed.push_back(search);
        const int result = closeSearch->Real()(search);
        SetLastError(ERROR_INVALID_HANDLE);
        return result;
    });
    closeSearch = &close;
    const TemporaryFolder folder;
    _wfinddata64_t entry{};
    const intptr_t search = _wfindfirst64((folder.Path() + L"\\*").c_str(), &entry);
    ASSERT_NE(-1, search);
    SetLastError(1234);
    {
        const UniqueFindHandle none;
        EXPECT_FALSE(none);
        EXPECT_EQ(-1, none.Get());
        const UniqueFindHandle failed(-1);
        EXPECT_FALSE(failed);
        const UniqueFindHandle handle(search);
        EXPECT_TRUE(handle);
        EXPECT_EQ(search, handle.Get());
    }
    EXPECT_EQ(1234U, GetLastError());
    EXPECT_EQ(std::vector<intptr_t>{search}, closed);
}

TEST(UniqueServiceHandle, ClosesTheManagerOnceAndKeepsTheLastError)
{
    CallRecorder<decltype(CloseServiceHandle)> closeService("CloseServiceHandle");
    SC_HANDLE const manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    ASSERT_NE(nullptr, manager);
    {
        const UniqueServiceHandle none;
        const UniqueServiceHandle handle(manager);
        EXPECT_EQ(manager, handle.Get());
    }
    ASSERT_EQ(1U, closeService.Calls().size());
    EXPECT_EQ(manager, std::get<0>(closeService.Calls()[0]));
    closeService.FailWith(ERROR_INVALID_HANDLE);
    SetLastError(1234);
    UniqueServiceHandle(manager).Reset();
    EXPECT_EQ(1234U, GetLastError());
}

TEST(UniqueView, UnmapsTheViewOnceAndKeepsTheLastError)
{
    CallRecorder<decltype(UnmapViewOfFile)> unmapView("UnmapViewOfFile");
    const UniqueHandle mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 0x1000, nullptr));
    ASSERT_TRUE(mapping);
    void* const address = MapViewOfFile(mapping.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0);
    ASSERT_NE(nullptr, address);
    {
        const UniqueView none;
        const UniqueView view(address);
        EXPECT_EQ(address, view.Get());
    }
    ASSERT_EQ(1U, unmapView.Calls().size());
    EXPECT_EQ(address, std::get<0>(unmapView.Calls()[0]));
    unmapView.FailWith(ERROR_INVALID_ADDRESS);
    SetLastError(1234);
    UniqueView(address).Reset();
    EXPECT_EQ(1234U, GetLastError());
}
