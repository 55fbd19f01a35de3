#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/client/ScriptedClient.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/FreshNames.h"

#include <gmock/gmock.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using testing::HasSubstr;
using Json = nlohmann::json;

TEST(ClientSessions, SideBySideTheyDoNotMeet)
{
    constexpr int count = 3;
    const ScriptRecord records[count];
    std::vector<std::unique_ptr<ClientRun>> runs;
    for (int i = 0; i < count; ++i)
    {
        std::string script;
        for (int k = 0; k < 40; ++k)
            script += "invoke print=" + std::to_string(i) + "/" + std::to_string(k) +
                      "; result=" + (k % 2 == 0 ? "10" : "1") + "\n";
        ClientRun::Setup setup = Scripted({L"-k"}, script);
        setup.environment = {records[i].Variable()};
        runs.push_back(std::make_unique<ClientRun>(setup));
    }
    for (int i = 0; i < count; ++i)
    {
        EXPECT_EQ(1, runs[static_cast<size_t>(i)]->Wait());
        std::string expected;
        std::vector<std::string> expectedCalls;
        for (int k = 0; k < 40; ++k)
        {
            const std::string name = std::to_string(i) + "/" + std::to_string(k);
            const std::string text = "print=" + name + "; result=" + (k % 2 == 0 ? "10" : "1");
            expectedCalls.push_back("Invoke: " + text);
            expected += "> invoke " + text +
                        "\n"
                        "    | " +
                        name +
                        "\n"
                        "    response success\n"
                        "    message idle\n"
                        "    response " +
                        (k % 2 == 0 ? "success" : "failed") + "\n  " + (k % 2 == 0 ? "succeeded" : "failed") +
                        " after # ms\n";
        }
        EXPECT_THAT(Masked(runs[static_cast<size_t>(i)]->Output()), HasSubstr(expected));
        EXPECT_EQ(expectedCalls, records[i].Calls());
    }
}

TEST(ClientAttached, DrivesTheWorkbenchOfAnotherClientAndLeavesIt)
{
    ClientRun::Setup setup = Scripted({});
    setup.keepsInputOpen = true;
    ClientRun owner(setup);
    owner.AwaitOutput("ready after");
    ClientRun::Setup attached;
    attached.arguments = {L"--attach", std::to_wstring(owner.WorkbenchId()), L"-k", L"invoke print=shared; result=1",
                          L"load x"};
    const ClientResult result = Finish(attached);
    EXPECT_EQ("workbench # attached, client id #\n"
              "> invoke print=shared; result=1\n"
              "    response success\n"
              "    response failed\n"
              "  failed after # ms, result 1 ActionInvokeFail\n"
              "> load x\n"
              "    response success\n"
              "  succeeded after # ms, result 5 ActionSuccess\n"
              "workbench left running\n",
              result.output);
    EXPECT_EQ(1, result.status);
    // What it prints, and its messages, are the owner's.
    owner.AwaitOutput("    | shared\n");
    owner.AwaitOutput("    message idle\n");
    owner.Type("load again\n");
    owner.EndInput();
    EXPECT_EQ(0, owner.Wait());
    EXPECT_THAT(Masked(owner.Output()), HasSubstr("> load again\n"
                                                  "    response success\n"
                                                  "  succeeded after # ms\n"));
}

// Its window is gone, so nothing holds the workbench between its two responses.
TEST(ClientAttached, ResponsesOfManyCommandsAreToldApart)
{
    const unsigned clientId = FreshId() & 0x7FFFFFFF;
    CProxyShare share;
    ASSERT_TRUE(share.Create(clientId));
    share.GetControl()->clientWindow = 0x00FFFFF0;
    const std::wstring program = ScriptedFolder().Path() + L"\\OrvWorkBench64.exe";
    const ChildProcess workbench =
        ChildProcess::Start(program, L"\"" + program + L"\" workbench " + FormatSlot(L"%x", clientId));
    std::string script;
    for (int i = 0; i < 100; ++i)
        script += i % 2 == 0 ? "invoke result=5\n" : "get result=1\n";
    ClientRun::Setup setup;
    setup.arguments = {L"--attach", std::to_wstring(workbench.Id()), L"-k", L"--json", L"--timeout", L"30"};
    setup.input = script;
    const ClientResult result = Finish(setup);
    std::string outcomes;
    for (const std::string& line : LinesOf(result.rawOutput))
        if (const Json object = Json::parse(line); object["type"] == "command")
            outcomes += object["outcome"] == "succeeded" ? '+' : '-';
    std::string expected;
    for (int i = 0; i < 50; ++i)
        expected += "+-";
    EXPECT_EQ(expected, outcomes);
    EXPECT_EQ(1, result.status);
    EXPECT_TRUE(workbench.IsRunning());
}
