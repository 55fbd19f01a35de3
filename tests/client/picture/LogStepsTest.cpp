#include "client/picture/LogSteps.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
struct Told
{
    std::vector<Step> steps;
    std::vector<std::wstring> others;
    LogSteps::Life life;
};

Told Read(const std::string& log, bool protocolView = false)
{
    Told told;
    LogSteps steps({[&](Step step) { told.steps.push_back(std::move(step)); },
                    [&](const LogLine& line) { told.others.push_back(line.text); }},
                   protocolView);
    TraceLogReader reader([&](const TracedLine& line) { steps.Take(line); });
    reader.Feed(log);
    reader.End();
    steps.End();
    told.life = steps.LifeSoFar();
    return told;
}

Step OnlyStep(const std::string& log)
{
    const Told told = Read(log);
    EXPECT_THAT(told.steps, SizeIs(1)) << log;
    return told.steps.empty() ? Step() : told.steps[0];
}

std::vector<std::wstring> MomentsOf(const Step& step)
{
    constexpr const wchar_t* kinds[] = {L"output", L"partial", L"response", L"message", L"answer", L"shown"};
    std::vector<std::wstring> moments;
    step.moments.ForEach([&](const Moment& moment) {
        moments.push_back(std::to_wstring(static_cast<int>(moment.atMs)) + L" " +
                          kinds[static_cast<size_t>(moment.kind)] + (moment.text.empty() ? L"" : L" " + moment.text));
    });
    return moments;
}

size_t LogLinesOf(const Step& step)
{
    size_t count = 0;
    step.log.ForEach([&](const LogLine&) { ++count; });
    return count;
}

const std::string c_invoke = "100 CWBEvent::Wait Event is EV_INVOKE\n"
                             "101 CHost::Run Command is Invoke: t.Raise(2)\n"
                             "110 CHost::Breakpoint Workbench breakpoint\n\n"
                             "110 CHost::Breakpoint setting response ok\n\n"
                             "111 CHost::Breakpoint Sending IDLE state to HWND 0000000000010052\n"
                             "113 CHost::Breakpoint entering IDLE breakpoint\n\n"
                             "120 CHost::Breakpoint breakpointed workbench ok\n\n"
                             "121 CHost::Run command succeeded, result = ActionInvokedOk\n";
const std::string c_wait = "121 CHost::Run Sleeping\n\n122 CWBEvent::Wait Waiting\n\n";

std::string Without(const std::string& log, const std::string& part)
{
    std::string rest = log;
    const size_t at = rest.find(part);
    const size_t begin = rest.rfind('\n', at) + 1;
    return rest.erase(begin, rest.find('\n', at) + 1 - begin);
}
} // namespace

TEST(LogSteps, CommandHasItsTextItsTimesAndItsResult)
{
    const Step step = OnlyStep(c_invoke + c_wait);
    EXPECT_EQ(L"invoke", step.word);
    EXPECT_EQ(L"t.Raise(2)", step.text);
    EXPECT_EQ(L"t.Raise(2)", step.posted);
    EXPECT_EQ(3U, step.event);
    EXPECT_TRUE(step.passesBreakpoint);
    EXPECT_EQ(100, step.atMs);
    EXPECT_EQ(121, step.endMs);
    EXPECT_EQ(21, step.elapsedMs);
    EXPECT_EQ(Verdict::Succeeded, step.verdict);
    EXPECT_EQ(10, step.result);
    EXPECT_EQ(L"ActionInvokedOk", step.resultName);
    EXPECT_EQ(L"", step.deviation);
    EXPECT_THAT(MomentsOf(step),
                ElementsAre(L"110 response success", L"111 message idle", L"113 answer", L"121 response success"));
    EXPECT_EQ(10U, LogLinesOf(step));
}

TEST(LogSteps, ResultsAreReadByTheirNames)
{
    const struct
    {
        const char* line;
        std::optional<int32_t> result;
        Verdict verdict;
        Verdict byProtocol;
    } cases[] = {
        {"failed, result = ActionEventUnknown", 0, Verdict::Failed, Verdict::Failed},
        {"failed, result = ActionInvokeFail", 1, Verdict::Failed, Verdict::Failed},
        {"failed, result = ActionFail", 4, Verdict::Failed, Verdict::Failed},
        {"succeeded, result = ActionSuccess", 5, Verdict::Succeeded, Verdict::Succeeded},
        {"succeeded, result = ActionLoadedAssemblyOk", 6, Verdict::Succeeded, Verdict::Succeeded},
        {"succeeded, result = ActionAssemblyNotFound", 11, Verdict::NotFound, Verdict::Succeeded},
        {"succeeded, result = ActionTypeNotFound", 12, Verdict::NotFound, Verdict::Succeeded},
        {"succeeded, result = Exception", 13, Verdict::Raised, Verdict::Succeeded},
        {"succeeded, result = unknown result 99", std::nullopt, Verdict::Succeeded, Verdict::Succeeded},
        {"failed, result = unknown result -1", std::nullopt, Verdict::Failed, Verdict::Failed},
        {"succeeded, result = Exception\nof the text", 13, Verdict::Raised, Verdict::Succeeded},
    };
    for (const auto& each : cases)
    {
        const std::string log = "1 CWBEvent::Wait Event is EV_LOAD\n1 CHost::Run Command is Load: x\n"
                                "5 CHost::Run command " +
                                std::string(each.line) + "\n";
        const Told told = Read(log);
        ASSERT_THAT(told.steps, SizeIs(1)) << each.line;
        EXPECT_EQ(each.result, told.steps[0].result) << each.line;
        EXPECT_EQ(each.verdict, told.steps[0].verdict) << each.line;
        EXPECT_EQ(L"", told.steps[0].deviation) << each.line;
        EXPECT_EQ(each.byProtocol, Read(log, true).steps[0].verdict) << each.line;
    }
}

TEST(LogSteps, EveryCommandIsKnownByItsEventAndItsName)
{
    const struct
    {
        const char* event;
        const char* name;
        const wchar_t* word;
        uint32_t slot;
        bool passesBreakpoint;
    } cases[] = {{"LOAD", "Load", L"load", 1, false},      {"CREATE", "Create", L"create", 2, true},
                 {"INVOKE", "Invoke", L"invoke", 3, true}, {"DELETE", "Delete", L"delete", 4, false},
                 {"RESET", "Reset", L"reset", 5, false},   {"SUCCESS", "Get", L"get", 6, true},
                 {"FAILED", "Set", L"set", 7, true}};
    for (const auto& each : cases)
    {
        const Step step = OnlyStep("1 CWBEvent::Wait Event is EV_" + std::string(each.event) +
                                   "\n1 CHost::Run Command is " + each.name + ": x: y\n");
        EXPECT_EQ(each.word, step.word);
        EXPECT_EQ(L"x: y", step.text);
        EXPECT_EQ(each.slot, step.event);
        EXPECT_EQ(each.passesBreakpoint, step.passesBreakpoint);
        EXPECT_EQ(L"", step.deviation);
    }
}

TEST(LogSteps, WaitIsTheEndOfACommandAndBelongsToIt)
{
    const Told told = Read(c_invoke + c_wait + "200 CWBEvent::Wait Timeout\n\n200 CHost::Run Timeout\n\n" + c_invoke);
    // The second one is earlier: the log of another run follows.
    ASSERT_THAT(told.steps, SizeIs(2));
    EXPECT_THAT(told.others, ElementsAre(L"CWBEvent::Wait Timeout", L"CHost::Run Timeout"));
}

TEST(LogSteps, StopIsACommandThatEndsWithTheWorkbench)
{
    const Told told =
        Read("9 CWBEvent::Wait Event is EV_STOP\n9 CHost::Run Stopping\n\n12 CHost::Run WorkBench Exiting\n");
    ASSERT_THAT(told.steps, SizeIs(1));
    EXPECT_EQ(L"stop", told.steps[0].word);
    EXPECT_EQ(0U, told.steps[0].event);
    EXPECT_EQ(Verdict::Succeeded, told.steps[0].verdict);
    EXPECT_EQ(3, told.steps[0].elapsedMs);
    EXPECT_TRUE(told.life.hasExited);
}

TEST(LogSteps, CommandWithoutAnEndHasNoResult)
{
    const Step step = OnlyStep("1 CWBEvent::Wait Event is EV_INVOKE\n1 CHost::Run Command is Invoke: x\n");
    EXPECT_EQ(std::nullopt, step.verdict);
    EXPECT_EQ(std::nullopt, step.elapsedMs);
    EXPECT_EQ(L"", step.deviation);
}

TEST(LogSteps, ExceptionInTheMainLoopIsALoss)
{
    const Told told = Read("1 CWBEvent::Wait Event is EV_INVOKE\n1 CHost::Run Command is Invoke: x\n"
                           "7 CHost::Run WorkBench Exception in main loop\n8 CHost::Run WorkBench Exiting\n");
    ASSERT_THAT(told.steps, SizeIs(1));
    EXPECT_EQ(Verdict::Lost, told.steps[0].verdict);
    EXPECT_EQ(7, told.steps[0].endMs);
    EXPECT_TRUE(told.life.hasRaised);
}

TEST(LogSteps, LogWhoseBeginningIsMissingBeginsWithTheCall)
{
    const Step step =
        OnlyStep("0 CHost::Run Command is Load: x\n4 CHost::Run command succeeded, result = ActionSuccess\n");
    EXPECT_EQ(L"load", step.word);
    EXPECT_EQ(4, step.elapsedMs);
    EXPECT_EQ(L"", step.deviation);
}

TEST(LogSteps, LinesOfACallThatAreNotUnderstoodAreKept)
{
    EXPECT_THAT(Read("CHost::Run half a line\n").others, ElementsAre(L"CHost::Run half a line"));
    EXPECT_THAT(
        Read("5 CHost::Breakpoint setting response ok\n5 CHost::Run command failed, result = ActionFail\n").steps,
        IsEmpty());
}

TEST(LogSteps, EachDepartureFromTheOrderIsTold)
{
    const std::string event = "100 CWBEvent::Wait Event is EV_INVOKE\n";
    const struct
    {
        std::string log;
        const wchar_t* deviation;
    } cases[] = {
        {Without(c_invoke, "setting response"), L"the idle message is out of order"},
        {Without(c_invoke, "Sending IDLE"), L"the breakpoint step is out of order"},
        {Without(c_invoke, "entering IDLE"), L"the breakpoint step is out of order"},
        {Without(c_invoke, "breakpointed"), L"the final response came before the breakpoint step was over"},
        {Without(c_invoke, "Command is"), L"the first response is out of order"},
        {Without(c_invoke, "command succeeded") + c_wait,
         L"the workbench waits again without a final response to this command"},
        {c_invoke + "121 CHost::Run command succeeded, result = ActionInvokedOk\n",
         L"a final response is out of order"},
        {event + "101 CHost::Run Command is Load: x\n", L"the command that was called is not that of the event"},
        {event + "101 CHost::Run Command is Invoke: x\n102 CHost::Run Command is Invoke: x\n",
         L"two commands came at once"},
        {"1 CWBEvent::Wait Event is EV_BREAKPOINT\n", L"an event woke the workbench that is no command"},
        {"1 CWBEvent::Wait Event is EV_LOAD\n1 CHost::Run unknown event, command is: x\n",
         L"an event woke the workbench that is no command"},
        {event + "101 CHost::Run Command is Invoke: x\n99 CHost::Breakpoint Workbench breakpoint\n",
         L"the log's time runs backwards"},
        {event + "101 CHost::Run Command is Invoke: x\n102 CHost::Breakpoint setting response ok\n"
                 "102 CHost::Breakpoint Sending IDLE state to HWND 0\n103 CHost::Breakpoint Error is PostMessage:\n",
         L"the idle message was not delivered, or was answered with 0"},
        {"1 CWBEvent::Wait Event is EV_LOAD\n1 CHost::Run Command is Load: x\n"
         "2 CHost::Run command failed, result = ActionSuccess\n",
         L"the final response and the result do not agree"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(each.deviation, OnlyStep(each.log).deviation) << each.log;
}

TEST(LogSteps, NextCommandBeforeTheEndOfOneIsTold)
{
    const Told told = Read(Without(c_invoke, "command succeeded") +
                           "130 CWBEvent::Wait Event is EV_LOAD\n130 CHost::Run Command is Load: x\n");
    ASSERT_THAT(told.steps, SizeIs(2));
    EXPECT_EQ(L"the next command came before this one had its final response", told.steps[0].deviation);
    EXPECT_EQ(std::nullopt, told.steps[0].verdict);
    EXPECT_EQ(L"", told.steps[1].deviation);
}

TEST(LogSteps, WhatCouldNotBeCalledIsHinted)
{
    EXPECT_EQ(L"the dispatcher could not be called",
              OnlyStep("1 CWBEvent::Wait Event is EV_LOAD\n1 CHost::Run Command is Load: x\n"
                       "2 CHost::Execute ExecuteInDefaultAppDomain failed\n")
                  .hint);
    EXPECT_EQ(L"the dispatcher's breakpoint method could not be called",
              OnlyStep("1 CWBEvent::Wait Event is EV_INVOKE\n1 CHost::Run Command is Invoke: x\n"
                       "2 CHost::Breakpoint breakpointed workbench failed\n")
                  .hint);
}

TEST(LogSteps, LifeIsTold)
{
    const LogSteps::Life life = Read("50 CHost::CHost Executing CorBindToRuntimeEx\n"
                                     "60 CHost::CHost Loaded Runtime\n"
                                     "60 wmain  arg 0 = c:\\tools\\OrvWorkBench64.exe\n60 wmain  arg 1 = workbench\n"
                                     "60 wmain  arg 2 = 1a2b\n"
                                     "70 CHost::Run Sleeping\n\n80 CHost::Run WorkBench Exiting\n")
                                    .life;
    EXPECT_EQ(50, life.firstMs);
    EXPECT_EQ(70, life.readyMs);
    EXPECT_EQ(80, life.lastMs);
    EXPECT_EQ(0x1a2bU, life.clientId);
    EXPECT_EQ(L"c:\\tools\\OrvWorkBench64.exe", life.program);
    EXPECT_TRUE(life.hasBegun);
    EXPECT_TRUE(life.hasExited);
    EXPECT_FALSE(life.hasRaised);
    EXPECT_FALSE(life.hasNoRuntime);
    EXPECT_FALSE(life.wasAnotherRun);
    EXPECT_TRUE(Read("1 CHost::CHost Executing x\n2 CHost::CHost Executing x\n").life.wasAnotherRun);
    EXPECT_TRUE(Read("1 CHost::CHost Failed to Loaded Runtime\n").life.hasNoRuntime);
}

TEST(LogSteps, LongTextsAndManyLinesAreCut)
{
    std::string log =
        "1 CWBEvent::Wait Event is EV_LOAD\n1 CHost::Run Command is Load: " + std::string(900, 'x') + "\n";
    for (int i = 0; i < 200; ++i)
        log += "2 CProxyMap::Open " + std::string(600, 'y') + "\n";
    const Step step = OnlyStep(log);
    EXPECT_EQ(80U, LogLinesOf(step));
    EXPECT_EQ(122U, step.log.LeftOut());
    step.log.ForEach([](const LogLine& line) { EXPECT_LT(line.text.size(), 450U); });
    EXPECT_EQ(900U, step.text.size());
}
