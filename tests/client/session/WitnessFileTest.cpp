#include "client/session/WitnessFile.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <atomic>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <thread>

namespace
{
UniqueHandle Process(bool hasEnded)
{
    return UniqueHandle(CreateEventW(nullptr, TRUE, hasEnded ? TRUE : FALSE, nullptr));
}
} // namespace

TEST(SessionWitnessFile, DoesNotWaitWhereNobodyWrites)
{
    WitnessFile witness;
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(witness.Ask(Process(false).Get(), 60000));
    EXPECT_GT(30000U, GetTickCount64() - start);
    EXPECT_EQ("", witness.Told());
}

TEST(SessionWitnessFile, AsksByAFileAndWaitsForTheAnswer)
{
    WitnessFile witness;
    const std::wstring question = witness.Path() + L".ask";
    AddFileBytes(witness.Path(), "runtime: x\n");
    std::thread dispatcher([&] {
        while (!PathExists(question))
            Sleep(1);
        AddFileBytes(witness.Path(), "command: get x\n");
        Sleep(50);
        AddFileBytes(witness.Path(), "end\n");
    });
    EXPECT_TRUE(witness.Ask(Process(false).Get(), 60000));
    dispatcher.join();
    EXPECT_EQ("runtime: x\ncommand: get x\nend\n", witness.Told());
    EXPECT_FALSE(PathExists(question)) << "it goes with the answer";
}

TEST(SessionWitnessFile, WhatWasToldUnaskedIsAnAnswer)
{
    WitnessFile witness;
    AddFileBytes(witness.Path(), "runtime: x\ncommand: get x\nend\n");
    EXPECT_TRUE(witness.Ask(Process(true).Get(), 0));
}

TEST(SessionWitnessFile, EndsItsWaitAfterTheTimeAndWithTheProcess)
{
    WitnessFile witness;
    AddFileBytes(witness.Path(), "runtime: x\ncommand: append end\n");
    EXPECT_FALSE(witness.Ask(Process(false).Get(), 50));
    EXPECT_FALSE(witness.Ask(Process(true).Get(), 600000));
    EXPECT_EQ("runtime: x\ncommand: append end\n", witness.Told());
}

TEST(SessionWitnessFile, WithoutAFolderForItTellsNothing)
{
    wchar_t folder[MAX_PATH];
    GetEnvironmentVariableW(L"TMP", folder, MAX_PATH);
    SetEnvironmentVariableW(L"TMP", L"C:\\no such folder");
    WitnessFile witness;
    SetEnvironmentVariableW(L"TMP", folder);
    EXPECT_EQ(L"", witness.Path());
    EXPECT_FALSE(witness.Ask(Process(false).Get(), 600000));
    EXPECT_EQ("", witness.Told());
}

TEST(SessionWitnessFile, OfAnotherClientIsTheSame)
{
    const uint32_t clientId = GetCurrentProcessId();
    EXPECT_FALSE(WitnessFile::OfOther(clientId));
    const WitnessFile own;
    AddFileBytes(own.Path(), "runtime: x\n");
    const std::optional<WitnessFile> other = WitnessFile::OfOther(clientId);
    ASSERT_TRUE(other);
    EXPECT_EQ(own.Path(), other->Path());
    EXPECT_EQ("runtime: x\n", other->Told());
    const WitnessFile second;
    EXPECT_FALSE(WitnessFile::OfOther(clientId)) << "neither is meant";
}

TEST(SessionHoldCheck, ACallThatIsTakenAwayIsAnAnswer)
{
    const WitnessFile witness;
    AddFileBytes(witness.Path(), "runtime: x\n");
    const std::wstring call = witness.Path() + L".call";
    HoldCheck check(witness.Path());
    EXPECT_FALSE(check.Ask()) << "the first time";
    EXPECT_TRUE(PathExists(call));
    EXPECT_TRUE(check.Ask());
    EXPECT_TRUE(check.Ask());
    EXPECT_NE(FALSE, DeleteFileW(call.c_str())) << "nobody holds it";
    EXPECT_FALSE(check.Ask());
    EXPECT_TRUE(PathExists(call)) << "called again";
}

TEST(SessionHoldCheck, LeavesNoCallBehind)
{
    const WitnessFile witness;
    AddFileBytes(witness.Path(), "runtime: x\n");
    {
        HoldCheck check(witness.Path());
        check.Ask();
    }
    EXPECT_FALSE(PathExists(witness.Path() + L".call"));
}

TEST(SessionHoldCheck, NobodyCanTellWhereNobodyWrites)
{
    const WitnessFile witness;
    HoldCheck check(witness.Path());
    HoldCheck none(L"");
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(check.Ask());
        EXPECT_FALSE(none.Ask());
    }
    EXPECT_FALSE(PathExists(witness.Path() + L".call"));
}

TEST(SessionWitnessFile, GoesAway)
{
    std::wstring path;
    {
        const WitnessFile witness;
        path = witness.Path();
        EXPECT_TRUE(PathExists(path));
    }
    EXPECT_FALSE(PathExists(path));
}
