// The client, the workbench, the dispatcher and a real managed runtime together.

#include "tests/support/processes/ClientRun.h"
#include "tests/support/worlds/Files.h"

#include <gmock/gmock.h>
#include <regex>
#include <string>

using testing::HasSubstr;

namespace
{
const WorkbenchFolder& ManagedFolder()
{
    static const WorkbenchFolder folder({{L"bin\\OrvWorkBench64.exe", L"OrvWorkBench64.exe"},
                                         {L"bin\\OrvWorkBench64.dll", L"OrvWorkBench64.dll"},
                                         {L"bin\\OrvSample.dll", L"OrvSample.dll"},
                                         {L"bridge\\mscoree.dll", L"mscoree.dll"}});
    return folder;
}

// What the client prints for a script, run to its end.
std::string OutputOf(const std::string& script, int expectedStatus)
{
    ClientRun::Setup setup;
    setup.workbenchFolder = ManagedFolder().Path();
    setup.arguments = {L"--keep-going"};
    setup.input = script;
    const ClientRun run(setup);
    EXPECT_EQ(expectedStatus, run.Wait());
    EXPECT_EQ("", run.Errors());
    return Masked(run.Output());
}
} // namespace

TEST(ClientManaged, AllCommandsOnARealAssembly)
{
    const std::string output = OutputOf("load OrvSample.dll\n"
                                        "create t = OrvSample.Thermostat(\"Küche 日本\")\n"
                                        "get t.Target\n"
                                        "set t.Target = 22\n"
                                        "get t.Target\n"
                                        "get t.Room\n"
                                        "invoke t.Describe(3)\n"
                                        "delete t\n"
                                        "reset\n"
                                        "stop\n",
                                        1);
    EXPECT_THAT(output, HasSubstr("> load OrvSample.dll\n"
                                  "    | loaded OrvSample, "));
    EXPECT_THAT(output, HasSubstr("> create t = OrvSample.Thermostat(\"Küche 日本\")\n"
                                  "    | t = OrvSample.Thermostat \"Küche 日本 at 20\"\n"
                                  "    response success\n"
                                  "    message idle\n"
                                  "    response success\n"
                                  "  succeeded after # ms\n"
                                  "> get t.Target\n"
                                  "    | => double 20\n"
                                  "    response success\n"
                                  "    message idle\n"
                                  "    response success\n"
                                  "  succeeded after # ms\n"
                                  "> set t.Target = 22\n"
                                  "    | t.Target = double 22\n"));
    EXPECT_THAT(output, HasSubstr("> get t.Target\n"
                                  "    | => double 22\n"));
    EXPECT_THAT(output, HasSubstr("    | => string \"Küche 日本\"\n"));
    EXPECT_THAT(output, HasSubstr("has no public instance method 'Describe'\n"));
    EXPECT_THAT(output, HasSubstr("    response success\n"
                                  "    message idle\n"
                                  "    response failed\n"
                                  "  failed after # ms\n"
                                  "> delete t\n"));
    EXPECT_THAT(output, HasSubstr("> stop\n"
                                  "    message exiting\n"
                                  "  succeeded after # ms\n"
                                  "workbench ended with exit code 1\n"));
}

// An exception of the user's code counts as a success; what it was stands in the output.
TEST(ClientManaged, ExceptionIsShownUnderItsCommand)
{
    const std::string output = OutputOf("load OrvSample.dll\n"
                                        "create t = OrvSample.Thermostat(\"x\")\n"
                                        "set t.Target = 99\n",
                                        0);
    EXPECT_THAT(output, HasSubstr("> set t.Target = 99\n"
                                  "    | exception System.ArgumentOutOfRangeException: "));
}

TEST(ClientManaged, OutputOfManyCommandsStaysUnderEach)
{
    std::string script = "load OrvSample.dll\ncreate t = OrvSample.Thermostat(\"x\")\n";
    std::string expected;
    for (int i = 0; i < 100; ++i)
    {
        const std::string value = std::to_string(5 + i % 25);
        script += "set t.Target = " + value + "\n";
        expected += "> set t.Target = " + value +
                    "\n"
                    "    | t.Target = double " +
                    value +
                    "\n"
                    "    response success\n"
                    "    message idle\n"
                    "    response success\n"
                    "  succeeded after # ms\n";
    }
    EXPECT_THAT(OutputOf(script, 0), HasSubstr(expected));
}
