#include "tests/client/ScriptedClient.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

TEST(ClientHints, FailureWithoutAWordPointsToTheTraceLog)
{
    ClientRun::Setup setup = Scripted({L"load x"});
    setup.environment = {{L"ORV_SCRIPT_BIND", L"0x80131700"}};
    const ClientResult result = Finish(setup);
    EXPECT_THAT(result.output, HasSubstr("  failed after # ms\n"
                                         "  hint: the dispatcher printed nothing; the trace log "
                                         "c:\\zeph\\logs\\OrvWorkBench.log tells whether it could be called\n"));
    EXPECT_EQ(1, result.status);
}

TEST(ClientHints, LossShowsTheEndOfTheTraceLog)
{
    const ClientResult result = Finish(Scripted({L"load exit=3"}));
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: the workbench ended before its final response\n"
                                         "  its exit code is 3: it was ended in the call, as by Environment.Exit\n"));
    EXPECT_THAT(result.errors, HasSubstr("  the trace log c:\\zeph\\logs\\OrvWorkBench.log ends with:\n"));
    EXPECT_THAT(result.errors, HasSubstr(" CHost::Run Command is Load: exit=3\n"));
    EXPECT_EQ(3, result.status);
}
