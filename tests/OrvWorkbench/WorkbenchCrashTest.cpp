#include "tests/OrvWorkbench/WorkbenchFixture.h"

#include <windows.h>

#include <ostream>

using contract::Join;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;

// An exception ends the workbench in the same order as a stop does, wherever it was raised, also under a debugger.

namespace
{
constexpr unsigned long c_accessViolation = 0xC0000005;
constexpr unsigned long c_divideByZero = 0xC0000094;
constexpr unsigned long c_stackOverflow = 0xC00000FD;
constexpr unsigned long c_ownCode = 0xE0001234;
#ifdef _MSC_VER
constexpr unsigned long c_languagesCode = 0xE06D7363;
#else
constexpr unsigned long c_languagesCode = 0x20474343;
#endif
// With which MinGW's compiler passes from frame to frame.
constexpr unsigned long c_languagesUnwinding = 0x21474343;
// What the system ends a process with when nobody takes what leaves a window procedure that it has called.
constexpr unsigned long c_fatalInCallback = 0xC000041D;

// What the scripted runtime is told to do, and the exception that comes of it.
struct Failure
{
    const char* name;
    const wchar_t* script;
    unsigned long code;

    friend void PrintTo(const Failure& failure, std::ostream* stream) { *stream << failure.name; }
};

constexpr Failure c_failures[] = {
    {"AccessViolation", L"crash=access", c_accessViolation},
    {"OwnCode", L"raise=0xE0001234", c_ownCode},
    {"DivideByZero", L"crash=divide", c_divideByZero},
    {"StackOverflow", L"crash=overflow", c_stackOverflow},
    {"Language", L"throw", c_languagesCode},
};

enum class Place
{
    Method,
    Breakpoint,
    WindowProcedure, // that the method calls
};

class WorkbenchThatCrashes : public OrvWorkBench64
{
protected:
    // Starts the workbench for a client that is ready, under a debugger or without one.
    void StartServing(bool debugged)
    {
        m_client.MakeShareAndWindow();
        Prepare(WorkbenchRuntime::Scripted);
        if (debugged)
            Process().StartDebugged(L"workbench " + m_client.HexId());
        else
            Start();
        m_client.WaitForMessages(1);
    }
    void Command(unsigned slot, const std::wstring& text)
    {
        m_client.WriteText(text);
        m_client.Signal(slot);
    }
    static Lines ExceptionLines()
    {
        return Join({{L"CHost::Run WorkBench Exception in main loop", L""}, ExitLines()});
    }
    // What the debugger was told, if there is one.
    void ExpectSeen(bool debugged, const std::vector<SeenException>& expected)
    {
        if (!debugged)
            return;
        std::vector<SeenException> seen;
        for (const SeenException& exception : Process().SeenExceptions())
        {
            if (exception.code != c_languagesUnwinding)
                seen.push_back(exception);
        }
        EXPECT_EQ(expected, seen);
    }
    // The message numbers alone.
    std::vector<unsigned> Received() const
    {
        std::vector<unsigned> numbers;
        for (const WindowMessage& message : m_client.Messages())
            numbers.push_back(message.message);
        return numbers;
    }
};

class WorkbenchCrash : public WorkbenchThatCrashes,
                       public testing::WithParamInterface<std::tuple<Failure, Place, bool>>
{
};

class WorkbenchEnding : public WorkbenchThatCrashes, public testing::WithParamInterface<std::tuple<Failure, bool>>
{
};

class WorkbenchCrashUnder : public WorkbenchThatCrashes, public testing::WithParamInterface<bool>
{
};

std::string DebuggerName(bool debugged)
{
    return debugged ? "Debugged" : "Alone";
}

std::string UnderName(const testing::TestParamInfo<bool>& info)
{
    return DebuggerName(info.param);
}

std::string CrashName(const testing::TestParamInfo<WorkbenchCrash::ParamType>& info)
{
    constexpr const char* places[] = {"InTheMethod", "InTheBreakpoint", "InAWindowProcedure"};
    const auto& [failure, place, debugged] = info.param;
    return std::string(failure.name) + places[static_cast<int>(place)] + DebuggerName(debugged);
}

std::string EndingName(const testing::TestParamInfo<WorkbenchEnding::ParamType>& info)
{
    return std::get<0>(info.param).name + DebuggerName(std::get<1>(info.param));
}
} // namespace

TEST_P(WorkbenchCrash, EndsTheLoopAsTheWorkbenchEnds)
{
    const auto& [failure, place, debugged] = GetParam();
    const bool inBreakpoint = place == Place::Breakpoint;
    const std::wstring script = failure.script + std::wstring(place == Place::WindowProcedure ? L";in=window" : L"");
    const EnvironmentVariable breakpoint(L"ORV_SCRIPT_BREAKPOINT", inBreakpoint ? script.c_str() : L"");
    const std::wstring text = inBreakpoint ? L"x" : script;
    StartServing(debugged);
    Command(3, text);
    EXPECT_EQ(1U, Process().WaitForExit());

    Lines untilBreakpoint = BreakpointLines();
    untilBreakpoint.resize(7);
    EXPECT_TRUE(LogIs(Join({StartLines(),
                            WaitLines(L"EV_INVOKE"),
                            {L"CHost::Run Command is Invoke: " + text},
                            inBreakpoint ? untilBreakpoint : Lines{},
                            ExceptionLines()})));
    const std::string argument(text.begin(), text.end());
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({inBreakpoint ? CallWithBreakpoint("Invoke", argument)
                                                                            : Call("Invoke", argument)})))
        << "the runtime is released";
    std::vector<unsigned> messages{contract::c_readyMessage, contract::c_exitingMessage};
    if (inBreakpoint)
        messages.insert(messages.begin() + 1, contract::c_idleMessage);
    EXPECT_EQ(messages, Received());
    EXPECT_FALSE(m_client.IsSignalled(8)) << "the breakpoint's was taken, and nothing else is answered";
    EXPECT_FALSE(m_client.IsSignalled(9));
    ExpectSeen(debugged, {{failure.code, true}});
}

INSTANTIATE_TEST_SUITE_P(Of, WorkbenchCrash,
                         testing::Combine(testing::ValuesIn(c_failures),
                                          testing::Values(Place::Method, Place::Breakpoint, Place::WindowProcedure),
                                          testing::Bool()),
                         CrashName);

// The runtime's release comes after the log was closed and before the events are.
TEST_P(WorkbenchEnding, IsOverAtOnceWhenItCrashesToo)
{
    const auto& [failure, debugged] = GetParam();
    const EnvironmentVariable release(L"ORV_SCRIPT_RELEASE", failure.script);
    StartServing(debugged);
    m_client.Stop();
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(LogIs(Join({StartLines(), StopLines()})));
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({})));
    EXPECT_THAT(Received(), ElementsAre(contract::c_readyMessage, contract::c_exitingMessage));
    ExpectSeen(debugged, {{failure.code, true}});
}

TEST_P(WorkbenchEnding, IsOverAtOnceWhenItCrashesAfterTheLoop)
{
    const auto& [failure, debugged] = GetParam();
    const std::wstring text = failure.script;
    const EnvironmentVariable release(L"ORV_SCRIPT_RELEASE", failure.script);
    StartServing(debugged);
    Command(1, text);
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_TRUE(LogIs(
        Join({StartLines(), WaitLines(L"EV_LOAD"), {L"CHost::Run Command is Load: " + text}, ExceptionLines()})));
    EXPECT_THAT(Process().Record(),
                ElementsAreArray(RecordOf({Call("LoadAssembly", std::string(text.begin(), text.end()))})));
    EXPECT_THAT(Received(), ElementsAre(contract::c_readyMessage, contract::c_exitingMessage));
    ExpectSeen(debugged, {{failure.code, true}, {failure.code, true}});
}

INSTANTIATE_TEST_SUITE_P(Of, WorkbenchEnding, testing::Combine(testing::ValuesIn(c_failures), testing::Bool()),
                         EndingName);

TEST_P(WorkbenchCrashUnder, OnAnotherThreadIsLeftToTheSystem)
{
    StartServing(GetParam());
    const std::wstring text = L"crash=access;in=thread";
    Command(1, text);
    EXPECT_EQ(c_accessViolation, Process().WaitForExit());
    EXPECT_TRUE(LogIs(Join({StartLines(), WaitLines(L"EV_LOAD"), {L"CHost::Run Command is Load: " + text}})));
    EXPECT_THAT(Process().Record(), Not(Contains("release count=0")));
    EXPECT_THAT(Received(), ElementsAre(contract::c_readyMessage));
    ExpectSeen(GetParam(), {{c_accessViolation, true}, {c_accessViolation, false}});
}

// The system calls a window procedure for another thread's message, and lets nothing out of it: Wine and some
// versions of Windows go on as if it had answered 0, others end the process.
TEST_P(WorkbenchCrashUnder, InAMessageOfAnotherThreadDoesNotReachTheLoop)
{
    StartServing(GetParam());
    const std::wstring text = L"crash=access;in=message;result=10";
    Command(1, text);
    while (Process().IsRunning() && !m_client.IsSignalled(8))
        Sleep(5);
    if (m_client.IsSignalled(8))
    {
        EXPECT_EQ(8U, m_client.WaitForResponse());
        Stop();
        EXPECT_TRUE(
            LogIs(Join({StartLines(), CommandLines(1, text, L"succeeded, result = ActionInvokedOk"), StopLines()})));
    }
    else
        EXPECT_EQ(c_fatalInCallback, Process().WaitForExit());
    EXPECT_THAT(WorkbenchRun::Log(), Not(Contains(L"CHost::Run WorkBench Exception in main loop")));
}

INSTANTIATE_TEST_SUITE_P(A, WorkbenchCrashUnder, testing::Bool(), UnderName);
