#include "client/console/ClientError.h"

#include <gtest/gtest.h>

TEST(ClientError, SessionsFailureDecidesTheExitStatus)
{
    const struct
    {
        SessionFailure failure;
        int status;
    } cases[] = {
        {SessionFailure::BadRequest, 2},
        {SessionFailure::NoWorkbench, 3},
        {SessionFailure::TimedOut, 4},
        {SessionFailure::Interrupted, 5},
    };
    for (const auto& expected : cases)
    {
        const ClientError error(SessionError(expected.failure, L"why"));
        EXPECT_EQ(expected.status, static_cast<int>(error.Status()));
        EXPECT_EQ(L"why", error.Message());
    }
}
