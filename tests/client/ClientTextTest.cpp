#include "tests/client/ScriptedClient.h"
#include "tests/support/worlds/Files.h"

#include <gmock/gmock.h>
#include <string>

using testing::ElementsAre;
using testing::HasSubstr;

TEST(ClientText, GreatestLengthIsServedAndOneMoreIsRefused)
{
    const ScriptRecord record;
    const std::string greatest(c_textLimit, 'x');
    ClientRun::Setup setup = Scripted({L"-k"}, "load " + greatest + "\nload " + greatest + "y\nload z\n");
    setup.environment = {record.Variable()};
    const ClientResult result = Finish(setup);
    EXPECT_THAT(record.Calls(), ElementsAre("LoadAssembly: " + greatest, "LoadAssembly: z"));
    EXPECT_EQ("OrvClient: input:2: the command text has 35226 characters, at most 35225 fit the control block\n",
              result.errors);
    EXPECT_EQ(2, result.status);
}

TEST(ClientText, TooLongTextOfAFileIsRefusedBeforeTheStart)
{
    const TemporaryFile script("load " + std::string(c_textLimit + 1, 'x'), L"long.orv");
    const ClientResult result = Finish(Scripted({L"-s", script.Path()}));
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.errors, HasSubstr("long.orv:1: the command text has 35226 characters, at most 35225 fit"));
    EXPECT_EQ(2, result.status);
}

TEST(ClientText, OtherScriptsPassBothWays)
{
    const ScriptRecord record;
    ClientRun::Setup setup = Scripted({}, "\xEF\xBB\xBFinvoke print=Grüße, 日本, 🎈\n");
    setup.environment = {record.Variable()};
    const ClientResult result = Finish(setup);
    EXPECT_THAT(record.Calls(), ElementsAre("Invoke: print=Grüße, 日本, 🎈"));
    EXPECT_THAT(result.output, HasSubstr("> invoke print=Grüße, 日本, 🎈\n"
                                         "    | Grüße, 日本, 🎈\n"));
    EXPECT_EQ(0, result.status);
}

TEST(ClientText, OtherScriptsPassOnTheCommandLine)
{
    const ScriptRecord record;
    ClientRun::Setup setup = Scripted({L"load print=\x65E5\x672C"});
    setup.environment = {record.Variable()};
    EXPECT_THAT(Finish(setup).output, HasSubstr("    | 日本\n"));
    EXPECT_THAT(record.Calls(), ElementsAre("LoadAssembly: print=日本"));
}

TEST(ClientText, InputThatIsNotUtf8IsRefused)
{
    const ClientResult result = Finish(Scripted({L"-k"}, "load \xFF\xFE\nload x\n"));
    EXPECT_EQ("OrvClient: input:1: this line is not UTF-8 text\n", result.errors);
    EXPECT_THAT(result.output, HasSubstr("> load x\n"));
    EXPECT_EQ(2, result.status);
}
