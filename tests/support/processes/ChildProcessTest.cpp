#include "tests/support/processes/ChildProcess.h"

#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <stdexcept>
#include <string>

ORV_CHILD_ROLE(ReturnSeven)
{
    return arguments.size() == 2 && arguments[1] == L"b c" ? 7 : 1;
}

ORV_CHILD_ROLE(Throw)
{
    throw std::runtime_error("on purpose");
}

ORV_CHILD_ROLE(Crash)
{
    const volatile int* const nowhere = reinterpret_cast<int*>(static_cast<uintptr_t>(arguments.size()) * 16);
    return *nowhere;
}

ORV_CHILD_ROLE(Hang)
{
    Meeting(arguments.at(0)).Signal();
    Sleep(INFINITE);
    return 0;
}

TEST(ChildProcess, ACrashIsNoSuccess)
{
    EXPECT_EQ(87U, ChildProcess::StartRole(L"Crash").WaitForExit());
}

TEST(ChildProcess, ReturnsTheRolesExitCode)
{
    EXPECT_EQ(7U, ChildProcess::StartRole(L"ReturnSeven", {L"a", L"b c"}).WaitForExit());
}

TEST(ChildProcess, TellsAnUnknownRoleAndAThrowingRoleApart)
{
    EXPECT_EQ(90U, ChildProcess::StartRole(L"NoSuchRole").WaitForExit());
    EXPECT_EQ(91U, ChildProcess::StartRole(L"Throw").WaitForExit());
}

TEST(ChildProcess, TimesOutAndIsKilled)
{
    const std::wstring name = FreshName(L"hang");
    const Meeting started(name);
    const ChildProcess child = ChildProcess::StartRole(L"Hang", {name});
    started.Wait();
    EXPECT_THROW(child.WaitForExit(50), std::runtime_error);
    EXPECT_TRUE(child.IsRunning());
    child.Kill(42);
    EXPECT_EQ(42U, child.WaitForExit());
}
