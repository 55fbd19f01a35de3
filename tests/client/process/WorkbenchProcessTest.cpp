#include "client/process/WorkbenchProcess.h"

#include "client/process/OutputPipe.h"
#include "tests/client/FakeProgram.h"
#include "tests/client/SessionFailure.h"
#include "tests/support/faults/SystemCall.h"
#include "tests/support/processes/ClientRun.h"
#include "tests/support/worlds/SystemProbe.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::HasSubstr;
using testing::StartsWith;

namespace
{
// Starts the fake workbench as the client would, and expects that it fails and leaves no handle open.
std::wstring FailureOfStart()
{
    SetEnvironmentVariableW(L"ORV_FAKE", L"sleep=50000");
    const OutputPipe output;
    const auto start = [&] { WorkbenchProcess::Start(FakeProgram(), 1, output.WriteEnd()); };
    FailureOf(start); // what the system keeps from a first use is no leak
    const unsigned handles = OpenHandleCount();
    const auto failure = FailureOf(start);
    EXPECT_EQ(handles, OpenHandleCount());
    EXPECT_EQ(SessionFailure::NoWorkbench, failure.second);
    return failure.first;
}
} // namespace

TEST(SessionWorkbenchProcess, WorkbenchIsNotStartedWithoutItsJob)
{
    {
        const SystemCall<decltype(CreateJobObjectW)> create("CreateJobObjectW", ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_THAT(FailureOfStart(), StartsWith(L"the job that ties the workbench to this client cannot be made: "));
    }
    const SystemCall<decltype(SetInformationJobObject)> set("SetInformationJobObject", ERROR_INVALID_PARAMETER);
    EXPECT_THAT(FailureOfStart(), HasSubstr(L"(error 87)"));
}

TEST(SessionWorkbenchProcess, WorkbenchIsNotStartedWithoutChoiceOfItsHandles)
{
    const SystemCall<decltype(UpdateProcThreadAttribute)> update("UpdateProcThreadAttribute", ERROR_NOT_SUPPORTED);
    EXPECT_THAT(FailureOfStart(), StartsWith(L"the handles of the workbench cannot be chosen: "));
}

TEST(SessionWorkbenchProcess, WorkbenchThatCannotBeStarted)
{
    const SystemCall<decltype(CreateProcessW)> create("CreateProcessW", ERROR_BAD_EXE_FORMAT);
    const std::wstring failure = FailureOfStart();
    EXPECT_THAT(failure, StartsWith(FakeProgram() + L" cannot be started: "));
    EXPECT_THAT(failure, HasSubstr(L"(error 193)"));
}

TEST(SessionWorkbenchProcess, WorkbenchThatCannotBeTiedIsEndedAgain)
{
    static DWORD processId;
    processId = 0;
    const Redirect<decltype(AssignProcessToJobObject)> assign("AssignProcessToJobObject",
                                                              [](HANDLE, HANDLE process) -> BOOL {
                                                                  processId = GetProcessId(process);
                                                                  SetLastError(ERROR_ACCESS_DENIED);
                                                                  return FALSE;
                                                              });
    EXPECT_THAT(FailureOfStart(), StartsWith(L"the workbench cannot be tied to this client: "));
    ASSERT_NE(0U, processId);
    AwaitProcessEnd(processId);
    EXPECT_FALSE(IsProcessRunning(processId));
}

TEST(SessionWorkbenchProcess, ProcessThatCannotBeOpened)
{
    const SystemCall<decltype(OpenProcess)> open("OpenProcess", ERROR_ACCESS_DENIED);
    const auto failure = FailureOf([] { WorkbenchProcess::Attach(GetCurrentProcessId()); });
    EXPECT_THAT(failure.first, HasSubstr(L" cannot be opened: "));
    EXPECT_EQ(SessionFailure::NoWorkbench, failure.second);
}
