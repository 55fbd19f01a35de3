#include "client/process/ForeignEnvironment.h"

#include "tests/support/faults/CallRecorder.h"
#include "tests/support/processes/RestingProcess.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

TEST(ForeignEnvironment, GivesWhatTheProcessWasStartedWith)
{
    const std::wstring longValue(9000, L'v');
    SetEnvironmentVariableW(L"ORV_FOREIGN", L"a=b");
    SetEnvironmentVariableW(L"ORV_FOREIGN_LONG", longValue.c_str());
    const ChildProcess child = StartRestingProcess();
    SetEnvironmentVariableW(L"ORV_FOREIGN", nullptr);
    SetEnvironmentVariableW(L"ORV_FOREIGN_LONG", nullptr);
    EXPECT_EQ(L"a=b", EnvironmentValueOf(child.Id(), L"ORV_FOREIGN"));
    EXPECT_EQ(L"a=b", EnvironmentValueOf(child.Id(), L"orv_foreign"));
    EXPECT_EQ(longValue, EnvironmentValueOf(child.Id(), L"ORV_FOREIGN_LONG"));
    EXPECT_EQ(L"", EnvironmentValueOf(child.Id(), L"ORV_FOREIG"));
    EXPECT_EQ(L"", EnvironmentValueOf(child.Id(), L"ORV_FOREIGN_"));
    EXPECT_EQ(L"", EnvironmentValueOf(GetCurrentProcessId(), L"ORV_FOREIGN"));
}

TEST(ForeignEnvironment, OfAProcessThatCannotBeReadIsEmpty)
{
    const ChildProcess child = StartRestingProcess();
    EXPECT_EQ(L"", EnvironmentValueOf(0, L"PATH"));
    EXPECT_NE(L"", EnvironmentValueOf(child.Id(), L"PATH"));
    {
        const FailingCall<decltype(OpenProcess)> open("OpenProcess", ERROR_ACCESS_DENIED);
        EXPECT_EQ(L"", EnvironmentValueOf(child.Id(), L"PATH"));
    }
    {
        const FailingCall<decltype(GetProcAddress)> find("GetProcAddress", ERROR_PROC_NOT_FOUND);
        EXPECT_EQ(L"", EnvironmentValueOf(child.Id(), L"PATH"));
    }
    const FailingCall<decltype(ReadProcessMemory)> read("ReadProcessMemory", ERROR_PARTIAL_COPY);
    EXPECT_EQ(L"", EnvironmentValueOf(child.Id(), L"PATH"));
}
