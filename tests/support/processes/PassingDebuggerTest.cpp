#include "tests/support/processes/PassingDebugger.h"

#include "tests/support/processes/BuildFolder.h"
#include "tests/support/processes/ChildProcess.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <stdexcept>

ORV_CHILD_ROLE(TakeOneExceptionOfTwo)
{
    AddVectoredExceptionHandler(1, [](EXCEPTION_POINTERS* exception) -> LONG {
        return exception->ExceptionRecord->ExceptionCode == 0xE0000001 ? EXCEPTION_CONTINUE_EXECUTION
                                                                       : EXCEPTION_CONTINUE_SEARCH;
    });
    RaiseException(0xE0000001, 0, 0, nullptr);
    RaiseException(0xE0000002, 0, 0, nullptr);
    return 0;
}

TEST(PassingDebugger, PassesOnWhatItSees)
{
    PassingDebugger debugger;
    const ChildProcess child =
        debugger.Start(OwnProgram(), L"\"" + OwnProgram() + L"\" --child-role TakeOneExceptionOfTwo", nullptr);
    EXPECT_EQ(0xE0000002U, child.WaitForExit());
    EXPECT_THAT(debugger.Exceptions(),
                testing::ElementsAre(SeenException{0xE0000001, true}, SeenException{0xE0000002, true},
                                     SeenException{0xE0000002, false}));
}

TEST(PassingDebugger, SaysThatThereIsNoProgram)
{
    PassingDebugger debugger;
    EXPECT_THROW(debugger.Start(L"c:\\no such program.exe", L"x", nullptr), std::runtime_error);
}
