#include "tests/OrvWorkbench/WorkbenchFixture.h"

#include <windows.h>

using contract::Command;
using contract::Join;
using testing::ElementsAreArray;

// The workbench with a real managed runtime, without one, and with one that fails to start.

namespace
{
struct Step
{
    unsigned slot;
    const wchar_t* text;
    unsigned response;
    const wchar_t* outcome;
};

class ManagedWorkbench : public OrvWorkBench64
{
protected:
    void SetUp() override
    {
        if (!WorkbenchRun::Has(WorkbenchRuntime::Managed))
            GTEST_SKIP() << "the managed side or the bridge to a runtime is not built";
    }

    // Carries the steps out in a fresh workbench and compares the whole transcript.
    void Serve(const std::vector<Step>& steps)
    {
        StartServing(WorkbenchRuntime::Managed);
        Lines expected = StartLines();
        for (const Step& step : steps)
        {
            EXPECT_EQ(step.response, m_client.Carry(step.slot, step.text))
                << testing::PrintToString(std::wstring(step.text));
            expected = Join({expected, CommandLines(step.slot, step.text, step.outcome)});
        }
        Stop();
        EXPECT_TRUE(LogIs(Join({expected, StopLines()})));
    }
};

class WorkbenchWithoutRuntime : public OrvWorkBench64
{
protected:
    // The lines of a start whose bind or start failed.
    Lines FailedStartLines() const
    {
        Lines lines = StartLines();
        lines[12] = L"CHost::CHost Failed to Loaded Runtime";
        lines.insert(lines.begin() + 13, L"CHost::CHost #s");
        return lines;
    }
    // A command that no runtime carries out.
    Lines RefusedLines(unsigned slot) const
    {
        Lines lines = CommandLines(slot, L"x", L"failed, result = ActionFail");
        lines.insert(lines.begin() + 6, L"CHost::Execute ExecuteInDefaultAppDomain failed");
        if (contract::c_commands[slot - 1].breaks)
            lines[lines.size() - 3] = L"CHost::Breakpoint breakpointed workbench failed";
        return lines;
    }
    // Gives every command, each of which fails. Returns the lines that they leave in the log.
    Lines AskInVain()
    {
        Lines lines;
        for (const Command& command : contract::c_commands)
        {
            EXPECT_EQ(9U, m_client.Carry(command.slot, L"x"));
            lines = Join({lines, RefusedLines(command.slot)});
        }
        return lines;
    }
};

const char c_bind[] = "bind version=\"v2.0.50727\" flavour=\"svr\" flags=2 "
                      "class={90F1A06E-7712-4762-86B5-7A5EBA6BDB02} "
                      "interface={90F1A06C-7712-4762-86B5-7A5EBA6BDB02} status=";
} // namespace

TEST_F(ManagedWorkbench, ServesEveryCommandOnARealAssembly)
{
    Serve({
        {1, L"OrvSample.dll", 8, L"succeeded, result = ActionLoadedAssemblyOk"},
        {2, L"t = OrvSample.Thermostat(\"kitchen\", 21)", 8, L"succeeded, result = ActionCreatedType"},
        {6, L"t.Target", 8, L"succeeded, result = ActionSuccess"},
        {7, L"t.Target = 22.5", 8, L"succeeded, result = ActionSuccess"},
        {6, L"t.Target", 8, L"succeeded, result = ActionSuccess"},
        {3, L"t.Raise(2)", 8, L"succeeded, result = ActionInvokedOk"},
        {3, L"t.Overheat()", 8, L"succeeded, result = Exception"},
        {3, L"t.NoSuchMethod()", 9, L"failed, result = ActionInvokeFail"},
        {4, L"t", 8, L"succeeded, result = ActionSuccess"},
        {5, L"", 8, L"succeeded, result = ActionSuccess"},
    });
}

TEST_F(ManagedWorkbench, ReportsWhatTheDispatcherCannotDo)
{
    Serve({
        {1, L"NoSuch.dll", 8, L"succeeded, result = ActionAssemblyNotFound"},
        {1, L"OrvWorkBench64.exe", 9, L"failed, result = ActionLoadAssemblyFail"},
        {1, L"OrvSample.dll", 8, L"succeeded, result = ActionLoadedAssemblyOk"},
        {1, L"OrvSample.dll", 8, L"succeeded, result = ActionAssemblyExists"},
        {2, L"t = OrvSample.NoSuchType()", 8, L"succeeded, result = ActionTypeNotFound"},
        {2, L"t = OrvSample.Thermostat()", 9, L"failed, result = ActionCreateTypeFail"},
        {2, L"t = OrvSample.Thermostat(\"hall\")", 8, L"succeeded, result = ActionCreatedType"},
        {2, L"t = OrvSample.Thermostat(\"hall\")", 8, L"succeeded, result = ActionTypeExists"},
        {6, L"t.NoSuchProperty", 9, L"failed, result = ActionFail"},
        {7, L"t.Room = \"cellar\"", 9, L"failed, result = ActionFail"},
        {7, L"t.Target = 1000", 8, L"succeeded, result = Exception"},
        {3, L"t.", 9, L"failed, result = ActionInvokeFail"},
        {4, L"nobody", 9, L"failed, result = ActionFail"},
    });
}

TEST_F(ManagedWorkbench, FailsEveryCommandWithoutItsDispatcher)
{
    StartServing(WorkbenchRuntime::NoDispatcher);
    Lines expected = StartLines();
    for (const Command& command : contract::c_commands)
    {
        EXPECT_EQ(9U, m_client.Carry(command.slot, L"x"));
        Lines lines = CommandLines(command.slot, L"x", L"failed, result = ActionFail");
        lines.insert(lines.begin() + 6, L"CHost::Execute ExecuteInDefaultAppDomain failed");
        if (command.breaks)
            lines[lines.size() - 3] = L"CHost::Breakpoint breakpointed workbench failed";
        expected = Join({expected, lines});
    }
    Stop();
    EXPECT_TRUE(LogIs(Join({expected, StopLines()})));
}

TEST_F(WorkbenchWithoutRuntime, ServesWhenTheSystemHasNone)
{
    if (GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") == nullptr)
        GTEST_SKIP() << "this system has a managed runtime of its own";
    StartServing(WorkbenchRuntime::System);
    const Lines asked = AskInVain();
    Stop();
    EXPECT_TRUE(LogIs(Join({FailedStartLines(), asked, StopLines()})));
}

TEST_F(WorkbenchWithoutRuntime, ServesWhenItsVersionIsAbsent)
{
    const EnvironmentVariable bind(L"ORV_SCRIPT_BIND", L"0x80131700");
    StartServing(WorkbenchRuntime::Scripted);
    const Lines asked = AskInVain();
    Stop();
    EXPECT_TRUE(LogIs(Join({FailedStartLines(), asked, StopLines()})));
    EXPECT_THAT(Process().Record(), ElementsAreArray({c_bind + std::string("0x80131700")}));
}

TEST_F(WorkbenchWithoutRuntime, ServesWhenTheBindYieldsNothing)
{
    const EnvironmentVariable null(L"ORV_SCRIPT_NULL", L"1");
    StartServing(WorkbenchRuntime::Scripted);
    const Lines asked = AskInVain();
    Stop();
    EXPECT_TRUE(LogIs(Join({StartLines(), asked, StopLines()})));
    EXPECT_THAT(Process().Record(), ElementsAreArray({c_bind + std::string("0x00000000")}));
}

TEST_F(WorkbenchWithoutRuntime, StillAsksARuntimeThatDidNotStart)
{
    const EnvironmentVariable start(L"ORV_SCRIPT_START", L"0x80004001");
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(8U, m_client.Carry(3, L"result=10"));
    Stop();
    EXPECT_TRUE(LogIs(Join(
        {FailedStartLines(), CommandLines(3, L"result=10", L"succeeded, result = ActionInvokedOk"), StopLines()})));
    Record expected = RecordOf({CallWithBreakpoint("Invoke", "result=10")});
    expected[1] = "start status=0x80004001";
    EXPECT_THAT(Process().Record(), ElementsAreArray(expected));
}

TEST_F(WorkbenchWithoutRuntime, TakesAnyStatusThatIsNotNegativeForSuccess)
{
    const EnvironmentVariable bind(L"ORV_SCRIPT_BIND", L"1");
    const EnvironmentVariable start(L"ORV_SCRIPT_START", L"1");
    StartServing(WorkbenchRuntime::Scripted);
    Stop();
    EXPECT_TRUE(LogIs(Join({StartLines(), StopLines()})));
}

TEST_F(OrvWorkBench64, ReportsABreakpointThatTheRuntimeRefuses)
{
    const EnvironmentVariable breakpoint(L"ORV_SCRIPT_BREAKPOINT", L"0x80131513");
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(8U, m_client.Carry(2, L"result=8"));
    Stop();
    Lines lines = CommandLines(2, L"result=8", L"succeeded, result = ActionCreatedType");
    lines[lines.size() - 3] = L"CHost::Breakpoint breakpointed workbench failed";
    EXPECT_TRUE(LogIs(Join({StartLines(), lines, StopLines()})));
}
