#include "client/evidence/EvidenceReport.h"

#include <gmock/gmock.h>
#include <string>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{
LostCall ATimedOutCall()
{
    LostCall lost;
    lost.message = L"no final response in time; the workbench was ended";
    lost.command = L"invoke shop.Total(\"Küche\")";
    lost.where = L"demo.txt:3";
    lost.commandSeconds = 60.25;
    lost.workbenchId = 5120;
    lost.clientId = 0x1A2C;
    lost.wasInCommand = true;
    lost.told = "runtime: 2.0.50727.1\n"
                "assembly: Shop, Version=1.2.3.4\tC:\\Shop\\Shop.dll\n"
                "assembly: made in memory\t\n"
                "assembly: Shop, Version=1.2.3.4\tC:\\Shop\\Shop.dll\n"
                "command: invoke shop.Total(\"Küche\")\n"
                "method: double Shop.Cart.Sum() in C:\\Shop\\Cart.cs:12\n"
                "which called: void System.Threading.Monitor.Enter(object obj)\n"
                "thread 1, which carries out the command\n"
                "  void System.Threading.Monitor.Enter(object obj)\n"
                "end\n";
    return lost;
}
} // namespace

TEST(ClientEvidenceReport, TellsWhatHappenedAndWhere)
{
    const std::string report = EvidenceReportText(ATimedOutCall());
    EXPECT_THAT(report, StartsWith("A call to the workbench was lost: no final response in time; the workbench was "
                                   "ended\r\n\r\nWhen       "));
    EXPECT_THAT(report, HasSubstr(" UTC\r\n"
                                  "Command    invoke shop.Total(\"Küche\") (demo.txt:3)\r\n"
                                  "Ran for    60.250 s\r\n"
                                  "Method     double Shop.Cart.Sum() in C:\\Shop\\Cart.cs:12, which called void "
                                  "System.Threading.Monitor.Enter(object obj)\r\n"
                                  "Process    5120 of client 1a2c, was there, and was looked at\r\n"
                                  "Program    started by somebody else\r\n"
                                  "Client     OrvClient "));
    EXPECT_THAT(report, HasSubstr("\r\nRuntime    2.0.50727.1\r\n"));
}

TEST(ClientEvidenceReport, NamesEachAssemblyOnce)
{
    EXPECT_THAT(EvidenceReportText(ATimedOutCall()), HasSubstr("\r\nLoaded assemblies\r\n"
                                                               "  Shop, Version=1.2.3.4\r\n"
                                                               "    C:\\Shop\\Shop.dll\r\n"
                                                               "  made in memory\r\n"
                                                               "\r\n"));
}

TEST(ClientEvidenceReport, AMethodThatNobodyToldIsThatOfTheCommand)
{
    LostCall lost = ATimedOutCall();
    lost.told = "runtime: 2.0.50727.1\n";
    lost.exitCode = 42;
    const std::string report = EvidenceReportText(lost);
    EXPECT_THAT(report, HasSubstr("Method     the one that the command names; what that had called, nobody could say "
                                  "any more\r\n"));
    EXPECT_THAT(report,
                HasSubstr(", gone: its exit code is 42: it was ended in the call, as by Environment.Exit\r\n"));
}

TEST(ClientEvidenceReport, AProcessCanBeLostOutsideOfCommands)
{
    LostCall lost;
    lost.exitCode = 1;
    const std::string report = EvidenceReportText(lost);
    EXPECT_THAT(report, Not(HasSubstr("Command")));
    EXPECT_THAT(report, Not(HasSubstr("Ran for")));
    EXPECT_THAT(report, HasSubstr("Method     none: no command was under way\r\n"));
    EXPECT_THAT(report, HasSubstr("Runtime    not known: no command had reached the dispatcher\r\n"));
}

TEST(ClientEvidenceReport, SaysWhatIsThereAndWhatNot)
{
    LostCall lost = ATimedOutCall();
    lost.hasStacks = true;
    lost.hasOutput = true;
    lost.logEnd = {L"1 CHost::Run Sleeping", L"2 CHost::Run Command is Invoke: x"};
    std::string report = EvidenceReportText(lost);
    EXPECT_THAT(report, HasSubstr("\r\nThe trace log ends with\r\n"
                                  "  1 CHost::Run Sleeping\r\n"
                                  "  2 CHost::Run Command is Invoke: x\r\n"
                                  "\r\nThis folder holds\r\n"
                                  "  stacks.txt     what each managed thread was doing\r\n"
                                  "  workbench.dmp  a minidump: "));
    EXPECT_THAT(report, HasSubstr("\r\n  trace.log      the workbench's trace log of this run\r\n"
                                  "  output.txt     what was printed in this run"));
    lost.hasStacks = false;
    lost.hasOutput = false;
    lost.noDump = L"why";
    lost.noLog = L"reason";
    lost.logEnd.clear();
    report = EvidenceReportText(lost);
    EXPECT_THAT(report, HasSubstr("\r\nThere is no trace log: reason\r\n"
                                  "\r\nThis folder holds\r\n"
                                  "  (no dump)      why\r\n"
                                  "\r\nBefore you pass it on: it holds the texts of commands"));
}

TEST(ClientEvidenceReport, StacksBeginWithTheCommand)
{
    EXPECT_EQ("", StacksOf(""));
    EXPECT_EQ("", StacksOf("runtime: x\nassembly: command: y\n"));
    EXPECT_EQ("command: get x\nend\n", StacksOf("command: get x\nend\n"));
    EXPECT_EQ("command: get x\nmethod: y\nend\n", StacksOf("runtime: x\ncommand: get x\nmethod: y\nend\n"));
}
