#include "client/console/InterruptEvent.h"

#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace
{
PHANDLER_ROUTINE g_handler = nullptr;
UINT g_endedWith = 0;

bool IsSet(HANDLE event)
{
    return WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

// The system's part: it calls the handler, which may end the process.
class InterruptEvents : public testing::Test
{
protected:
    InterruptEvents() { g_endedWith = 0; }

    static void Send(DWORD control) { EXPECT_NE(FALSE, g_handler(control)) << "or the system ends the process"; }

private:
    Redirect<decltype(SetConsoleCtrlHandler)> m_set{"SetConsoleCtrlHandler",
                                                    [](PHANDLER_ROUTINE handler, BOOL adds) -> BOOL {
                                                        g_handler = adds != FALSE ? handler : nullptr;
                                                        return TRUE;
                                                    }};
    Redirect<decltype(TerminateProcess)> m_terminate{"TerminateProcess", [](HANDLE, UINT status) -> BOOL {
                                                         g_endedWith = status;
                                                         return TRUE;
                                                     }};
};
} // namespace

TEST_F(InterruptEvents, CtrlCInterruptsAndASecondOneEndsTheProcess)
{
    const InterruptEvent interrupt(false);
    Send(CTRL_C_EVENT);
    EXPECT_TRUE(IsSet(interrupt.Handle()));
    EXPECT_FALSE(IsSet(interrupt.Pressed()));
    EXPECT_FALSE(InterruptEvent::IsFinal());
    EXPECT_EQ(0U, g_endedWith);
    Send(CTRL_C_EVENT);
    EXPECT_EQ(5U, g_endedWith);
}

TEST_F(InterruptEvents, AUserWhoCanBeAskedIsAskedFirst)
{
    const InterruptEvent interrupt(true);
    Send(CTRL_C_EVENT);
    EXPECT_TRUE(IsSet(interrupt.Pressed()));
    EXPECT_FALSE(IsSet(interrupt.Handle()));
    Send(CTRL_C_EVENT);
    EXPECT_TRUE(IsSet(interrupt.Handle())) << "nobody has taken the first";
    EXPECT_FALSE(InterruptEvent::IsFinal());
    Send(CTRL_C_EVENT);
    EXPECT_EQ(5U, g_endedWith);
}

TEST_F(InterruptEvents, CtrlBreakAsksNobody)
{
    const InterruptEvent interrupt(true);
    Send(CTRL_BREAK_EVENT);
    EXPECT_TRUE(IsSet(interrupt.Handle()));
    EXPECT_FALSE(IsSet(interrupt.Pressed()));
    EXPECT_TRUE(InterruptEvent::IsFinal());
    EXPECT_EQ(0U, g_endedWith);
    Send(CTRL_BREAK_EVENT);
    EXPECT_EQ(5U, g_endedWith);
}

// The system ends the process once the handler returns.
TEST_F(InterruptEvents, TheEndOfTheConsoleWaitsForTheEndOfTheSession)
{
    for (const DWORD control : {DWORD{CTRL_CLOSE_EVENT}, DWORD{CTRL_LOGOFF_EVENT}, DWORD{CTRL_SHUTDOWN_EVENT}})
    {
        std::optional<InterruptEvent> interrupt(std::in_place, true);
        std::atomic<bool> hasReturned{false};
        std::thread system([&] {
            Send(control);
            hasReturned = true;
        });
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(interrupt->Handle(), 10000));
        EXPECT_TRUE(InterruptEvent::IsFinal());
        Sleep(200);
        EXPECT_FALSE(hasReturned);
        interrupt.reset();
        system.join();
        EXPECT_EQ(0U, g_endedWith);
    }
}
