#include "client/session/Session.h"

#include "OrvProfiler/foundation/PerfTimer.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/client/FakeProgram.h"
#include "tests/client/SessionFailure.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <algorithm>
#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::StartsWith;

namespace
{
class Recorder final : public SessionObserver
{
public:
    void OnHappening(const Happening& happening) override { m_texts.push_back(happening.text); }

    const std::vector<std::wstring>& Texts() const noexcept { return m_texts; }

private:
    std::vector<std::wstring> m_texts;
};

class NoObserver final : public SessionObserver
{
public:
    void OnHappening(const Happening&) override {}
};

class SessionErrors : public testing::Test
{
protected:
    const UniqueHandle m_interrupt{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    NoObserver m_observer;
    const TimeLimits m_limits{};
};
} // namespace

namespace
{
class TimeRecorder final : public SessionObserver
{
public:
    void OnHappening(const Happening& happening) override { Add(happening.text, happening.tickMs); }
    void OnAnswered(double tickMs) override { Add(L"answered", tickMs); }

    std::vector<std::wstring> texts;
    std::vector<double> times;

private:
    void Add(const std::wstring& text, double tickMs)
    {
        texts.push_back(text);
        times.push_back(tickMs);
    }
};
} // namespace

TEST(Session, EachHappeningHasItsTime)
{
    SetEnvironmentVariableW(L"ORV_FAKE", L"ready;wait;sleep=30;set=8;idle;sleep=30;set=8;wait;exiting");
    const UniqueHandle interrupt(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    TimeRecorder recorder;
    Session session(FreshId() & 0x7FFFFFFF, TimeLimits(), recorder, interrupt.Get());
    const double before = TickMs();
    session.Start(FakeProgram());
    session.AwaitReady();
    const CommandResult result = session.Execute(ParseCommand(L"invoke x"));
    const double after = TickMs();
    session.Stop();
    EXPECT_THAT(recorder.texts, ElementsAre(L"ready", L"answered", L"success", L"idle", L"answered",
                                            StartsWith(L"idle answered "), L"success", L"exiting", L"answered"));
    EXPECT_TRUE(std::is_sorted(recorder.times.begin(), recorder.times.end()));
    EXPECT_LE(before, recorder.times[0]);
    EXPECT_LE(recorder.times[1], result.postedMs);
    EXPECT_LE(result.postedMs + 29, recorder.times[2]);
    EXPECT_LE(recorder.times[4] + 29, recorder.times[6]);
    EXPECT_LE(58, result.elapsedMs);
    EXPECT_LE(recorder.times[6], after);
}

// All that this program has of the client is the session library.
TEST(Session, DrivesAWorkbenchToItsEnd)
{
    SetEnvironmentVariableW(L"ORV_FAKE", L"print=hello;ready;wait;set=8;idle;set=9;wait;exiting");
    const UniqueHandle interrupt(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    Recorder recorder;
    Session session(FreshId() & 0x7FFFFFFF, TimeLimits(), recorder, interrupt.Get());
    session.Start(FakeProgram());
    EXPECT_LE(0, session.AwaitReady());
    const CommandResult result = session.Execute(ParseCommand(L"invoke x"));
    EXPECT_EQ(Outcome::Failed, result.outcome);
    EXPECT_EQ(L"", result.deviation);
    EXPECT_EQ(Outcome::Succeeded, session.Stop().outcome);
    EXPECT_FALSE(session.IsRunning());
    EXPECT_EQ(1U, session.WorkbenchExitCode().value());
    EXPECT_THAT(recorder.Texts(), ElementsAre(L"hello", L"ready", L"success", L"idle",
                                              L"idle answered 1, success response 0", L"failed", L"exiting"));
}

TEST_F(SessionErrors, EventsThatCannotBeOpened)
{
    const FailingCall<decltype(OpenEventW)> open("OpenEventW", ERROR_ACCESS_DENIED);
    const auto failure = FailureOf([&] { Session(FreshId(), m_limits, m_observer, m_interrupt.Get()); });
    EXPECT_THAT(failure.first, StartsWith(L"the workbench's events cannot be opened: "));
    EXPECT_EQ(SessionFailure::NoWorkbench, failure.second);
}

TEST_F(SessionErrors, ShareThatCannotBeMade)
{
    Session session(FreshId(), m_limits, m_observer, m_interrupt.Get());
    const FailingCall<decltype(CreateFileMappingW)> create("CreateFileMappingW", ERROR_NOT_ENOUGH_MEMORY);
    const auto failure = FailureOf([&] { session.Start(FakeProgram()); });
    EXPECT_EQ(L"the share cannot be made; the debugger output tells why", failure.first);
    EXPECT_EQ(SessionFailure::NoWorkbench, failure.second);
    EXPECT_FALSE(session.IsRunning());
}

TEST_F(SessionErrors, ShareThatSomebodyElseUsesIsLeftAlone)
{
    const uint32_t clientId = FreshId();
    const UniqueHandle others(
        g_SecManager.OrvPCreateFileMapping(g_SecManager.GetSessionForProcess(clientId), INVALID_HANDLE_VALUE, nullptr,
                                           PAGE_READWRITE, 0, 116197744, FormatSlot(L"OrvProfiler%8.8x", clientId)));
    ASSERT_TRUE(others);
    Session session(clientId, m_limits, m_observer, m_interrupt.Get());
    // Not at the second try either.
    for (int i = 0; i < 2; ++i)
    {
        const auto failure = FailureOf([&] { session.Start(FakeProgram()); });
        EXPECT_THAT(failure.first, StartsWith(L"another program uses the share of this client's process id"));
        EXPECT_EQ(SessionFailure::NoWorkbench, failure.second);
    }
}

TEST_F(SessionErrors, CommandsNeedAWorkbench)
{
    Session session(FreshId(), m_limits, m_observer, m_interrupt.Get());
    EXPECT_EQ(L"no workbench is running", FailureOf([&] { session.Execute(ParseCommand(L"load x")); }).first);
    EXPECT_EQ(Outcome::Succeeded, session.Stop().outcome);
    EXPECT_FALSE(session.WorkbenchExitCode().has_value());
}

TEST_F(SessionErrors, InterruptBeforeTheWorkbenchIsReady)
{
    SetEnvironmentVariableW(L"ORV_FAKE", L"sleep=50000");
    Session session(FreshId() & 0x7FFFFFFF, m_limits, m_observer, m_interrupt.Get());
    session.Start(FakeProgram());
    EXPECT_EQ(L"the workbench is running already", FailureOf([&] { session.Start(FakeProgram()); }).first);
    SetEvent(m_interrupt.Get());
    const auto failure = FailureOf([&] { session.AwaitReady(); });
    EXPECT_EQ(L"interrupted before the workbench was ready", failure.first);
    EXPECT_EQ(SessionFailure::Interrupted, failure.second);
}
