#include "client/process/OutputPipe.h"

#include "tests/client/SessionFailure.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/faults/SystemCall.h"
#include "tests/support/worlds/SystemProbe.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <thread>

using testing::HasSubstr;
using testing::StartsWith;

namespace
{
void Put(HANDLE pipe, const std::string& bytes)
{
    DWORD written = 0;
    WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}
} // namespace

TEST(SessionOutputPipe, GivesAtOnceWhatWasWrittenBefore)
{
    OutputPipe pipe;
    EXPECT_EQ("", pipe.Take());
    for (int i = 0; i < 200; ++i)
    {
        const std::string line = "line " + std::to_string(i) + "\n";
        Put(pipe.WriteEnd(), line);
        ASSERT_EQ(line, pipe.Take());
    }
    EXPECT_TRUE(pipe.IsOpen());
}

TEST(SessionOutputPipe, SignalsArrivalAndEnd)
{
    OutputPipe pipe;
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(pipe.Arrival(), 0));
    Put(pipe.WriteEnd(), "x");
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(pipe.Arrival(), 10000));
    EXPECT_EQ("x", pipe.Take());
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(pipe.Arrival(), 0));
    pipe.CloseWriteEnd();
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(pipe.Arrival(), 10000));
    EXPECT_EQ("", pipe.Take());
    EXPECT_FALSE(pipe.IsOpen());
    EXPECT_EQ(nullptr, pipe.Arrival());
}

TEST(SessionOutputPipe, TakesMoreThanItsBufferHolds)
{
    OutputPipe pipe;
    const std::string sent(1000000, 'x');
    std::thread writer([&] {
        Put(pipe.WriteEnd(), sent);
        pipe.CloseWriteEnd();
    });
    std::string taken;
    while (pipe.IsOpen())
    {
        WaitForSingleObject(pipe.Arrival(), 10000);
        taken += pipe.Take();
    }
    writer.join();
    EXPECT_EQ(sent, taken);
}

TEST(SessionOutputPipe, LeavesNoHandles)
{
    OutputPipe().Take(); // whatever the system keeps from a first use
    const unsigned before = OpenHandleCount();
    OutputPipe().Take();
    EXPECT_EQ(before, OpenHandleCount());
}

TEST(SessionOutputPipe, PipeThatCannotBeMade)
{
    const Redirect<decltype(CreateNamedPipeW)> create(
        "CreateNamedPipeW", [](LPCWSTR, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, LPSECURITY_ATTRIBUTES) -> HANDLE {
            SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        });
    const auto failure = FailureOf([] { OutputPipe(); });
    EXPECT_THAT(failure.first, StartsWith(L"the output pipe cannot be made: "));
    EXPECT_THAT(failure.first, HasSubstr(L"(error 5)"));
    EXPECT_EQ(SessionFailure::NoWorkbench, failure.second);
    ExpectNothingLeaks([] { FailureOf([] { OutputPipe(); }); });
}

TEST(SessionOutputPipe, PipeWithoutAWriteEnd)
{
    const Redirect<decltype(CreateFileW)> open(
        "CreateFileW", [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
            SetLastError(ERROR_PIPE_BUSY);
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_THAT(FailureOf([] { OutputPipe(); }).first, HasSubstr(L"(error 231)"));
    ExpectNothingLeaks([] { FailureOf([] { OutputPipe(); }); });
}

TEST(SessionOutputPipe, PipeThatCannotBeReadHasEnded)
{
    OutputPipe pipe;
    Put(pipe.WriteEnd(), "x");
    const SystemCall<decltype(GetOverlappedResult)> result("GetOverlappedResult", ERROR_BROKEN_PIPE);
    EXPECT_EQ("", pipe.Take());
    EXPECT_FALSE(pipe.IsOpen());
}
