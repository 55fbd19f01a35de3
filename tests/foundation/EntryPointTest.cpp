#include "OrvProfiler/foundation/EntryPoint.h"

#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <gtest/gtest.h>

TEST(EntryPoint, IsNullForALibraryThatIsNotLoaded)
{
    const ExportTable exports;
    EXPECT_EQ(nullptr, LookUpEntryPoint(nullptr, "GetCurrentProcessId"));
    EXPECT_TRUE(exports.Asked().empty()) << "a null module would mean the program itself to some systems";
}

TEST(EntryPoint, IsNullForAMissingExport)
{
    EXPECT_EQ(nullptr, LookUpEntryPoint(GetModuleHandleW(L"kernel32"), "NoSuchExport"));
}

TEST(EntryPoint, CanBeCalledAsTheFunctionThatItIs)
{
    const EntryPoint entry = LookUpEntryPoint(GetModuleHandleW(L"kernel32"), "MulDiv");
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(42, EntryPointAs<decltype(MulDiv)>(entry)(84, 3, 6));
}
