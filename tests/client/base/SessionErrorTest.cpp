#include "client/base/SessionError.h"

#include <gtest/gtest.h>
#include <stdexcept>

TEST(SessionError, IsTheProgramsMessageAndAnyCatchersText)
{
    const SessionError error(SessionFailure::TimedOut, L"too late \x65E5");
    EXPECT_EQ(SessionFailure::TimedOut, error.Failure());
    EXPECT_EQ(L"too late \x65E5", error.Message());
    EXPECT_STREQ("too late \xE6\x97\xA5", static_cast<const std::exception&>(error).what());
}
