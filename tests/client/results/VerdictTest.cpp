#include "client/results/Verdict.h"

#include <gmock/gmock.h>

namespace
{
Verdict Of(Outcome outcome, int result, bool protocolView = false)
{
    CommandRecord record;
    record.result = result;
    return VerdictOf(outcome, record, protocolView);
}
} // namespace

TEST(Verdict, IsByTheResultWhereTheProtocolSucceeds)
{
    for (int result = 0; result <= 10; ++result)
        EXPECT_EQ(Verdict::Succeeded, Of(Outcome::Succeeded, result)) << result;
    EXPECT_EQ(Verdict::NotFound, Of(Outcome::Succeeded, 11));
    EXPECT_EQ(Verdict::NotFound, Of(Outcome::Succeeded, 12));
    EXPECT_EQ(Verdict::Raised, Of(Outcome::Succeeded, 13));
    EXPECT_EQ(Verdict::Succeeded, Of(Outcome::Succeeded, 14));
    EXPECT_EQ(Verdict::Succeeded, VerdictOf(Outcome::Succeeded, CommandRecord(), false));
}

TEST(Verdict, OfTheProtocolsViewKnowsTheResponseAlone)
{
    for (int result = 0; result <= 14; ++result)
    {
        EXPECT_EQ(Verdict::Succeeded, Of(Outcome::Succeeded, result, true)) << result;
        EXPECT_EQ(Verdict::Failed, Of(Outcome::Failed, result, true)) << result;
    }
}

TEST(Verdict, OfWhatDidNotSucceedIsTheOutcome)
{
    for (const bool protocolView : {false, true})
    {
        EXPECT_EQ(Verdict::Failed, Of(Outcome::Failed, 13, protocolView));
        EXPECT_EQ(Verdict::TimedOut, Of(Outcome::TimedOut, 13, protocolView));
        EXPECT_EQ(Verdict::Lost, Of(Outcome::Lost, 13, protocolView));
        EXPECT_EQ(Verdict::Interrupted, Of(Outcome::Interrupted, 13, protocolView));
    }
}

TEST(Verdict, HasAnExitStatus)
{
    EXPECT_EQ(ExitStatus::Success, StatusOf(Verdict::Succeeded));
    EXPECT_EQ(ExitStatus::CommandFailed, StatusOf(Verdict::Failed));
    EXPECT_EQ(ExitStatus::CommandFailed, StatusOf(Verdict::NotFound));
    EXPECT_EQ(ExitStatus::ExceptionRaised, StatusOf(Verdict::Raised));
    EXPECT_EQ(ExitStatus::TimedOut, StatusOf(Verdict::TimedOut));
    EXPECT_EQ(ExitStatus::WorkbenchLost, StatusOf(Verdict::Lost));
    EXPECT_EQ(ExitStatus::Interrupted, StatusOf(Verdict::Interrupted));
}
