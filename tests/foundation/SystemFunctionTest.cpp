#include "OrvProfiler/foundation/SystemFunction.h"

#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <winnetwk.h>

#include <gtest/gtest.h>
#include <string>

namespace
{
using MulDivFunction = SystemFunction<int(int, int, int)>;

HMODULE Kernel32()
{
    return GetModuleHandleW(L"kernel32");
}
} // namespace

static_assert(sizeof(MulDivFunction) == 8, "stands in the place of a pointer");

TEST(SystemFunction, IsNullAtFirst)
{
    const MulDivFunction function;
    EXPECT_FALSE(function);
    EXPECT_TRUE(function == nullptr);
    EXPECT_TRUE(nullptr == function);
    EXPECT_FALSE(function != nullptr);
    EXPECT_FALSE(nullptr != function);
}

TEST(SystemFunction, IsNullForALibraryThatIsNotLoaded)
{
    const ExportTable exports;
    const MulDivFunction function(nullptr, "MulDiv");
    EXPECT_TRUE(function == nullptr);
    EXPECT_EQ(nullptr, FindExport(nullptr, "MulDiv"));
    EXPECT_TRUE(exports.Asked().empty()) << "a null module would mean the program itself to some systems";
}

TEST(SystemFunction, IsNullForAMissingExport)
{
    MulDivFunction function(Kernel32(), "NoSuchExport");
    EXPECT_TRUE(function == nullptr);
    EXPECT_FALSE(function.LookUp(Kernel32(), "NoSuchExport"));
    EXPECT_FALSE(function);
}

TEST(SystemFunction, IsCalledWithItsOwnType)
{
    const MulDivFunction function(Kernel32(), "MulDiv");
    ASSERT_TRUE(function);
    EXPECT_TRUE(function != nullptr);
    EXPECT_TRUE(nullptr != function);
    EXPECT_FALSE(function == nullptr);
    EXPECT_FALSE(nullptr == function);
    EXPECT_EQ(42, function(84, 3, 6));
}

TEST(SystemFunction, LooksUpTheNameThatItIsGiven)
{
    const ExportTable exports;
    MulDivFunction function;
    EXPECT_TRUE(function.LookUp(Kernel32(), "MulDiv"));
    EXPECT_TRUE(function);
    ASSERT_EQ(1U, exports.Asked().size());
    EXPECT_EQ("MulDiv", exports.Asked()[0]);
}

TEST(SystemFunction, ForgetsItsFunction)
{
    MulDivFunction function(Kernel32(), "MulDiv");
    function = nullptr;
    EXPECT_FALSE(function);
    EXPECT_TRUE(function.LookUp(Kernel32(), "MulDiv"));
    EXPECT_FALSE(function.LookUp(Kernel32(), "NoSuchExport")) << "the function before is forgotten, too";
    EXPECT_FALSE(function);
}

TEST(SystemFunction, LeavesTheLastErrorOfTheCall)
{
    const SystemFunction<void(DWORD)> function(Kernel32(), "SetLastError");
    ASSERT_TRUE(function);
    function(1234);
    EXPECT_EQ(1234U, GetLastError());
}

TEST(SystemFunction, FitsOnlyWhatIsCalledTheSameWay)
{
    EXPECT_TRUE(MulDivFunction::Fits<decltype(MulDiv)>());
    EXPECT_TRUE((SystemFunction<int(HANDLE, int*)>::Fits<decltype(IsWow64Process)>()));
    EXPECT_TRUE((SystemFunction<DWORD(const wchar_t*, wchar_t*, DWORD*)>::Fits<decltype(WNetGetConnectionW)>()));
    EXPECT_FALSE((SystemFunction<int(int, int)>::Fits<decltype(MulDiv)>())) << "an argument is missing";
    EXPECT_FALSE((SystemFunction<int(int, int, int, int)>::Fits<decltype(MulDiv)>())) << "one is too many";
    EXPECT_FALSE((SystemFunction<int(int, int, int64_t)>::Fits<decltype(MulDiv)>())) << "one is too large";
    EXPECT_FALSE((SystemFunction<int(int, int, unsigned)>::Fits<decltype(MulDiv)>()));
    EXPECT_FALSE((SystemFunction<int64_t(int, int, int)>::Fits<decltype(MulDiv)>())) << "the result is too large";
    EXPECT_FALSE((SystemFunction<int(HANDLE, int)>::Fits<decltype(IsWow64Process)>())) << "no pointer";
    EXPECT_FALSE((SystemFunction<DWORD(wchar_t*, wchar_t*, DWORD*)>::Fits<decltype(WNetGetConnectionW)>()));
}

TEST(SystemFunction, TakesAnEnumerationForAnIntegerOfItsSize)
{
    enum class Wide : int64_t
    {
    };
    using Known = int(WELL_KNOWN_SID_TYPE, SID_NAME_USE*, Wide);
    EXPECT_TRUE((SystemFunction<int(int, int*, int64_t)>::Fits<Known>()));
    EXPECT_FALSE((SystemFunction<int(int, int*, int)>::Fits<Known>()));
    EXPECT_FALSE((SystemFunction<int(int, int64_t*, int64_t)>::Fits<Known>()));
    EXPECT_FALSE((SystemFunction<int(float, int*, int64_t)>::Fits<Known>()));
}
