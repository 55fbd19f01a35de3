#include "tests/client/ScriptedClient.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
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
