// Managed calls that do not come back, and what the client leaves of them: which method it was.

#include "tests/client/ClientEvidence.h"
#include "tests/client/ManagedFolder.h"
#include "tests/support/processes/BuildFolder.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{
// Only what hangs is to meet the limit.
ClientRun::Setup SetupFor(const std::wstring& call, const TemporaryFolder& place, const wchar_t* seconds = L"60")
{
    ClientRun::Setup setup;
    setup.workbenchFolder = ManagedFolder().Path();
    setup.arguments = {L"--evidence",
                       place.Path(),
                       L"--timeout",
                       seconds,
                       L"load " + BuildFile(L"tests\\managed\\Traps.dll"),
                       L"create trap = Traps.Trap()",
                       L"invoke trap." + call};
    return setup;
}

struct LostRun
{
    int status;
    std::string output;
    LeftEvidence evidence;
};

LostRun Lose(const std::wstring& call, const TemporaryFolder& place, const wchar_t* seconds = L"60")
{
    const ClientRun run(SetupFor(call, place, seconds));
    const int status = run.Wait();
    return {status, run.Output(), LeftEvidence(place, run.Errors())};
}

constexpr int c_lost = 3;
constexpr int c_timedOut = 4;
} // namespace

TEST(ClientLostCalls, AHangIsFoundWhereItHangs)
{
    const struct
    {
        const wchar_t* call;
        const char* method;
        const char* called;
    } cases[] = {{L"Loops()", "int Traps.Trap.Spin(int start) in ", nullptr},
                 {L"Locks()", "void Traps.Trap.AwaitLock() in ", "monitor_enter"},
                 {L"Sleeps()", "void Traps.Trap.Sleeps() in ", "System.Threading.Thread.Sleep"}};
    for (const auto& expected : cases)
    {
        const TemporaryFolder place;
        const LostRun run = Lose(expected.call, place, L"1");
        EXPECT_EQ(c_timedOut, run.status);
        const std::string report = run.evidence.Report();
        EXPECT_THAT(report, HasSubstr("no final response in time; the workbench was ended\r\n"));
        EXPECT_THAT(report, HasSubstr(std::string("\nMethod     ") + expected.method));
        EXPECT_THAT(report, ContainsRegex("Traps.cs:\\d+"));
        const std::string stacks = run.evidence.Read(L"stacks.txt");
        EXPECT_THAT(stacks, HasSubstr(std::string("\nmethod: ") + expected.method));
        EXPECT_THAT(stacks, HasSubstr("thread 1, which carries out the command\n"));
        EXPECT_THAT(stacks, HasSubstr(expected.called == nullptr ? "\nend\n" : expected.called));
        EXPECT_EQ(expected.called != nullptr, stacks.find("\nwhich called: ") != std::string::npos);
        EXPECT_THAT(run.evidence.Read(L"workbench.dmp"), StartsWith("MDMP"));
    }
}

TEST(ClientLostCalls, TheOwnerOfALockIsAmongTheThreads)
{
    const TemporaryFolder place;
    const std::string stacks = Lose(L"Locks()", place, L"1").evidence.Read(L"stacks.txt");
    const size_t holder = stacks.find(" \"holder\"\n");
    ASSERT_NE(std::string::npos, holder);
    EXPECT_THAT(stacks.substr(holder), HasSubstr("  void Traps.Trap.Hold() in "));
}

TEST(ClientLostCalls, ACallThatEndsTheProcessIsFound)
{
    const TemporaryFolder place;
    const LostRun run = Lose(L"Exits(3)", place);
    EXPECT_EQ(c_lost, run.status);
    const std::string report = run.evidence.Report();
    EXPECT_THAT(report, HasSubstr("\nMethod     void Traps.Trap.Leave(int code) in "));
    EXPECT_THAT(report, ContainsRegex("Traps.cs:\\d+, which called void System.Environment.Exit"));
    EXPECT_THAT(report, HasSubstr("\nCommand    invoke trap.Exits(3)\r\n"));
    EXPECT_THAT(report, HasSubstr(", gone: its exit code is "));
    EXPECT_FALSE(run.evidence.Has(L"workbench.dmp"));
}

// Of these nothing but the command can be told here: the runtime has no chance, or its words are lost with it.
TEST(ClientLostCalls, OfACallThatKillsTheProcessTheCommandIsLeft)
{
    for (const wchar_t* call : {L"FailsFast()", L"KillsItself()", L"CrashesInNativeCode()"})
    {
        const TemporaryFolder place;
        const LostRun run = Lose(call, place);
        const std::wstring command = L"\nCommand    invoke trap." + std::wstring(call) + L"\r\n";
        EXPECT_EQ(c_lost, run.status);
        EXPECT_THAT(run.evidence.Report(), HasSubstr(std::string(command.begin(), command.end())));
        EXPECT_THAT(run.evidence.Report(), HasSubstr("\nMethod     the one that the command names"));
        EXPECT_THAT(run.evidence.Read(L"output.txt"), HasSubstr("trap = Traps.Trap\r\n"));
        EXPECT_THAT(run.evidence.Report(), HasSubstr("\r\n  Traps, Version=0.0.0.0"));
        EXPECT_FALSE(run.evidence.Has(L"stacks.txt"));
    }
}

// Mono makes an exception of it, which names the method. On Windows the process ends.
TEST(ClientLostCalls, AStackOverflowIsAnExceptionHere)
{
    const TemporaryFolder place;
    const LostRun run = Lose(L"Overflows()", place);
    EXPECT_EQ(7, run.status);
    EXPECT_THAT(run.output, HasSubstr("exception System.StackOverflowException"));
    EXPECT_THAT(run.output, HasSubstr("at Traps.Trap.Deepen "));
    EXPECT_FALSE(run.evidence.Has(L"report.txt"));
}

TEST(ClientLostCalls, ExhaustedMemoryIsAnExceptionThatNamesTheMethod)
{
    const TemporaryFolder place;
    const LostRun run = Lose(L"Exhausts()", place);
    EXPECT_EQ(7, run.status);
    EXPECT_THAT(run.output, HasSubstr("exception System.OutOfMemoryException"));
    EXPECT_THAT(run.output, HasSubstr("at Traps.Trap.Hoard "));
}

TEST(ClientLostCalls, AnInterruptedCallIsFoundToo)
{
    const TemporaryFolder place;
    ClientRun::Setup setup = SetupFor(L"Loops()", place, L"0");
    setup.arguments.insert(setup.arguments.begin(), {L"--stop-timeout", L"1"});
    setup.hasConsole = true;
    const ClientRun run(setup);
    run.AwaitOutput("> invoke trap.Loops()\n");
    run.PressCtrlC();
    EXPECT_EQ(5, run.Wait());
    const LeftEvidence evidence(place, run.Errors());
    EXPECT_THAT(evidence.Report(), HasSubstr("A call to the workbench was lost: interrupted\r\n"));
    EXPECT_THAT(evidence.Report(), HasSubstr("\nMethod     int Traps.Trap.Spin(int start) in "));
}

TEST(ClientLostCalls, WithoutEvidenceTheDispatcherIsNotAsked)
{
    const TemporaryFolder place;
    ClientRun::Setup setup = SetupFor(L"Loops()", place, L"1");
    setup.arguments.erase(setup.arguments.begin(), setup.arguments.begin() + 2);
    setup.arguments.insert(setup.arguments.begin(), L"--no-evidence");
    const ClientRun run(setup);
    EXPECT_EQ(c_timedOut, run.Wait());
    EXPECT_THAT(run.Errors(), Not(HasSubstr("evidence")));
}
