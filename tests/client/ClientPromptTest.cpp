#include "tests/client/ScriptedClient.h"

#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(ClientPrompt, AsksHelpsAndGoesOnAfterFailures)
{
    const ClientResult result =
        Finish(Scripted({L"-i"}, "load result=2; print=no\n\nnonsense\nhelp\nload x\nstop\nstart\nexit\nload y\n"));
    EXPECT_EQ("workbench # started, client id #\n"
              "    message ready\n"
              "  ready after # ms\n"
              "orv>     | no\n"
              "    response failed\n"
              "  failed after # ms\n"
              "orv> orv> orv>   load TEXT                    load an assembly\n"
              "  create TEXT                  create an instance of a type\n"
              "  invoke TEXT                  call a method\n"
              "  get TEXT                     read a property\n"
              "  set TEXT                     write a property\n"
              "  delete TEXT                  forget an instance\n"
              "  reset                        forget everything\n"
              "  stop                         end the workbench\n"
              "  types [PATTERN]              list the public types of the loaded assemblies\n"
              "  members WHAT [PATTERN]       list the public members of a type or an instance\n"
              "  instances                    list what was made\n"
              "  find PATTERN                 list members by name, or by what they take and give: string -> double\n"
              "  dump VALUE [DEPTH [FIRST]]   show an object with its fields and properties, and theirs\n"
              "  again                        repeat the last command\n"
              "  time N COMMAND               carry a command out N times: minimum, median and maximum\n"
              "  show [VALUE]                 show a value after each command; without one, what is shown\n"
              "  hide [VALUE]                 show it no more; without one, none\n"
              "  history [PART]               list the commands of this session and of earlier ones\n"
              "  start                        start a new workbench after the end of the last one\n"
              "  help [WORD]                  show this list, or what a word does, with an example\n"
              "  quit, exit                   end the client\n"
              "orv>     response success\n"
              "  succeeded after # ms\n"
              "orv>     message exiting\n"
              "  succeeded after # ms\n"
              "workbench ended with exit code 1\n"
              "orv> workbench # started, client id #\n"
              "    message ready\n"
              "  ready after # ms\n"
              "orv>     message exiting\n"
              "workbench ended with exit code 1\n",
              result.output);
    EXPECT_THAT(result.errors, StartsWith("OrvClient: input:3: unknown command \"nonsense\""));
    EXPECT_EQ(1, result.status);
}

TEST(ClientPrompt, NewWorkbenchCanBeStartedAfterTheLossOfOne)
{
    const ClientResult result = Finish(Scripted({L"-i"}, "load exit=3\nload x\nstart\nload y\n"));
    EXPECT_THAT(result.output, HasSubstr("workbench ended with exit code 3\n"));
    EXPECT_THAT(result.output, HasSubstr("  succeeded after # ms\n"));
    EXPECT_THAT(result.errors, HasSubstr("OrvClient: input:2: no workbench is running\n"));
    EXPECT_EQ(3, result.status);
}

TEST(ClientPrompt, HistoryHasTheCommandsOfTheRun)
{
    const ClientResult result = Finish(Scripted({L"-i"}, "load x\ntypes\n  load y \nload y\ntime 2 load z\nagain\n"
                                                         "help start\nhistory\nhistory Y\nhistory none\n"));
    EXPECT_THAT(result.output, HasSubstr("orv>   load x\n    load y \n  load y\n  time 2 load z\n"
                                         "orv>     load y \n  load y\n"
                                         "orv> orv>     message exiting\n"));
    const ClientResult json = Finish(Scripted({L"--json"}, "load x\nhistory\n"));
    EXPECT_THAT(json.output, HasSubstr("{\"type\":\"history\",\"commands\":[\"load x\"]}\n"));
    EXPECT_EQ("load x\n", Finish(Scripted({L"--eval"}, "load x\nhistory\n")).output);
}

TEST(ClientPrompt, HelpTellsOfOneWord)
{
    const ClientResult result = Finish(Scripted({L"-i"}, "help STOP\nhelp again\nhelp nothing\n"));
    EXPECT_THAT(result.output, HasSubstr("orv>   stop                         end the workbench\n"
                                         "orv>   again                        repeat the last command\n"
                                         "  for example: again\n"
                                         "orv> orv> "));
    EXPECT_EQ("OrvClient: input:3: there is no word \"nothing\"; help lists them\n", result.errors);
    EXPECT_EQ(2, result.status);
}

TEST(ClientPrompt, ShownValuesNeedAWorkbenchThatTellsThem)
{
    // The scripted dispatcher tells nothing.
    const ClientResult result = Finish(Scripted({L"-i"}, "show t.X\nload x\nhide t\nhide t.X\nhide\n"));
    EXPECT_THAT(result.output, HasSubstr("  succeeded after # ms\norv> orv> orv> orv>     message exiting\n"));
    EXPECT_EQ("OrvClient: input:3: \"t\" is not shown\n", result.errors);
}

TEST(ClientPrompt, ColourIsForConsolesUnlessItIsAskedFor)
{
    const std::string script = "load print=x\nload result=2\n";
    EXPECT_THAT(Finish(Scripted({}, script)).output, Not(HasSubstr("\x1b")));
    EXPECT_THAT(Finish(Scripted({L"--color", L"auto"}, script)).output, Not(HasSubstr("\x1b")));
    ClientRun::Setup setup = Scripted({L"--color=always", L"-k"}, script);
    setup.environment = {{L"NO_COLOR", L"1"}};
    const ClientResult coloured = Finish(setup);
    EXPECT_THAT(coloured.output, HasSubstr("\x1b[36m> load print=x\n\x1b[0m    | x\n"
                                           "\x1b[90m    response success\n\x1b[0m"
                                           "\x1b[32m  succeeded after # ms\n\x1b[0m"));
    EXPECT_THAT(coloured.output, HasSubstr("\x1b[31m  failed after # ms\n\x1b[0m"));
    EXPECT_THAT(coloured.errors, AllOf(StartsWith("\x1b[31mOrvClient: "), HasSubstr("\n\x1b[0m")));
    EXPECT_EQ(2, Finish(Scripted({L"--color", L"blue"}, script)).status);
    EXPECT_THAT(Finish(Scripted({L"--color", L"always", L"--json"}, script)).output, Not(HasSubstr("\x1b")));
}
