#include "OrvProfiler/OrvWorkbench/GuardedCall.h"

#include "tests/support/faults/Crashes.h"
#include "tests/support/faults/ImportRedirect.h"
#include "tests/support/processes/ChildProcess.h"

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <thread>

// What a guarded call takes, and how a process is ended.

namespace
{
constexpr unsigned c_ended = 41;
constexpr unsigned c_leftToTheSystem = 42;
constexpr unsigned c_tripped = 43;
constexpr DWORD c_exception = 0xE0001234;

void Raise()
{
    RaiseException(c_exception, 0, 0, nullptr);
}

void RaiseForGood()
{
    RaiseException(c_exception, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

void OverflowTheStack()
{
    UseUpTheStack();
}

[[noreturn]] void Throw()
{
    throw std::runtime_error("on purpose");
}

void RaiseThroughNoexcept() noexcept
{
    Raise();
}

struct ExceptionCase
{
    const char* name;
    void (*body)();
};

constexpr ExceptionCase c_cases[] = {
    {"OwnCode", Raise},
    {"OwnCodeForGood", RaiseForGood},
    {"AccessViolation", WriteNowhere},
    {"DivideByZero", DivideByZero},
    {"StackOverflow", OverflowTheStack},
    {"Language", Throw},
    {"ThroughNoexcept", RaiseThroughNoexcept},
};

std::string ExceptionName(const testing::TestParamInfo<ExceptionCase>& info)
{
    return info.param.name;
}

class CallGuardedCase : public testing::TestWithParam<ExceptionCase>
{
};

// Ends the process with another code when a destructor or an exit handler runs.
struct Tripwire
{
    Tripwire()
    {
        if (std::atexit(Trip) != 0)
            throw std::runtime_error("no exit handler");
    }
    ~Tripwire() { Trip(); }
    static void Trip() { TerminateProcess(GetCurrentProcess(), c_tripped); }
};

// Takes what nobody else in the process has taken, as the system would.
void StandForTheSystem()
{
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS* exception) -> LONG {
        const bool isExpected = exception->ExceptionRecord->ExceptionCode == c_exception;
        TerminateProcess(GetCurrentProcess(), isExpected ? c_leftToTheSystem : 1);
        return EXCEPTION_EXECUTE_HANDLER;
    });
}

void RaiseOnAThread()
{
    const auto raise = [](void*) -> DWORD {
        Raise();
        return 0;
    };
    HANDLE const thread = CreateThread(nullptr, 0, raise, nullptr, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}
} // namespace

ORV_CHILD_ROLE(RaiseWhereItEndsTheProcess)
{
    const Tripwire tripwire;
    for (const ExceptionCase& one : c_cases)
    {
        if (arguments.at(0) == std::wstring(one.name, one.name + std::strlen(one.name)))
            CallOrEndProcess(one.body, c_ended);
    }
    return 0;
}

ORV_CHILD_ROLE(RaiseOnAThreadOfAGuardedCall)
{
    StandForTheSystem();
    return CallGuarded(RaiseOnAThread) ? 0 : 1;
}

ORV_CHILD_ROLE(RaiseAfterAGuardedCall)
{
    StandForTheSystem();
    CallGuarded(Raise);
    Raise();
    return 0;
}

ORV_CHILD_ROLE(EndInTheMiddle)
{
    const Tripwire tripwire;
    EndProcess(c_ended);
}

TEST(CallGuarded, ReturnsTrueWhenTheBodyReturns)
{
    int calls = 0;
    EXPECT_TRUE(CallGuarded([&calls] { ++calls; }));
    EXPECT_EQ(1, calls);
}

TEST_P(CallGuardedCase, EndsTheCallAgainAndAgain)
{
    int reached = 0;
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(CallGuarded([&] {
            ++reached;
            GetParam().body();
            reached += 100;
        }));
    }
    EXPECT_EQ(3, reached);
}

TEST_P(CallGuardedCase, GoesToTheInnermostCall)
{
    bool inner = true;
    EXPECT_TRUE(CallGuarded([&] { inner = CallGuarded(GetParam().body); }));
    EXPECT_FALSE(inner);
}

TEST_P(CallGuardedCase, EndsTheProcessAtOnceWhenNothingCanFollow)
{
    const std::string name = GetParam().name;
    const std::wstring wide(name.begin(), name.end());
    EXPECT_EQ(41U, ChildProcess::StartRole(L"RaiseWhereItEndsTheProcess", {wide}).WaitForExit());
}

INSTANTIATE_TEST_SUITE_P(With, CallGuardedCase, testing::ValuesIn(c_cases), ExceptionName);

TEST(CallGuarded, LeavesToTheBodyWhatItTakesItself)
{
    bool taken = false;
    EXPECT_TRUE(CallGuarded([&taken] {
        try
        {
            Throw();
        }
        catch (const std::runtime_error&)
        {
            taken = true;
        }
    }));
    EXPECT_TRUE(taken);
}

TEST(CallGuarded, LeavesToAVectoredHandlerWhatItContinues)
{
    void* const handler = AddVectoredExceptionHandler(1, [](EXCEPTION_POINTERS* exception) -> LONG {
        return exception->ExceptionRecord->ExceptionCode == c_exception ? EXCEPTION_CONTINUE_EXECUTION
                                                                        : EXCEPTION_CONTINUE_SEARCH;
    });
    EXPECT_TRUE(CallGuarded(Raise));
    RemoveVectoredExceptionHandler(handler);
}

TEST(CallGuarded, RunsTheDestructorsThatAnExceptionOfTheLanguagePasses)
{
    struct Counter
    {
        int& count;
        ~Counter() { ++count; }
    };
    int count = 0;
    EXPECT_FALSE(CallGuarded([&count] {
        const Counter counter{count};
        Throw();
    }));
    EXPECT_EQ(1, count);
}

#ifndef _MSC_VER
// Microsoft's compiler leaves it in memory.
TEST(CallGuarded, DestroysAnExceptionOfTheLanguage)
{
    static int alive = 0;
    struct Thrown
    {
        Thrown() { ++alive; }
        Thrown(const Thrown&) { ++alive; }
        ~Thrown() { --alive; }
    };
    EXPECT_FALSE(CallGuarded([] { throw Thrown(); }));
    EXPECT_EQ(0, alive);
    EXPECT_EQ(0, std::uncaught_exceptions());
}
#endif

TEST(CallGuarded, LetsOtherThreadsReadTheCallersStack)
{
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::thread reader([&] {
        while (!stop)
            ++reads;
    });
    for (int i = 0; i < 3000 || reads == 0; ++i)
        EXPECT_TRUE(CallGuarded([] {}));
    stop = true;
    reader.join();
}

TEST(CallGuarded, LeavesOtherThreadsToTheSystem)
{
    EXPECT_EQ(42U, ChildProcess::StartRole(L"RaiseOnAThreadOfAGuardedCall").WaitForExit());
}

TEST(CallGuarded, LeavesLaterExceptionsToTheSystem)
{
    EXPECT_EQ(42U, ChildProcess::StartRole(L"RaiseAfterAGuardedCall").WaitForExit());
}

TEST(CallGuarded, InstallsNoFilterForTheProcess)
{
    static int installed = 0;
    const Redirect<decltype(SetUnhandledExceptionFilter)> install(
        "SetUnhandledExceptionFilter", [](LPTOP_LEVEL_EXCEPTION_FILTER) -> LPTOP_LEVEL_EXCEPTION_FILTER {
            ++installed;
            return nullptr;
        });
    EXPECT_TRUE(CallGuarded([] {}));
    EXPECT_FALSE(CallGuarded(Raise));
    EXPECT_EQ(0, installed);
}

TEST(CallGuarded, AsksForRoomForTheHandlersOfAStackOverflow)
{
    static ULONG asked = 0;
    // cppcheck-suppress constParameter ; the system declares it
    const Redirect<decltype(SetThreadStackGuarantee)> guarantee("SetThreadStackGuarantee", [](ULONG* bytes) -> BOOL {
        asked = *bytes;
        return FALSE;
    });
    EXPECT_TRUE(CallGuarded([] {})) << "also when there is none";
    EXPECT_EQ(65536U, asked);
}

TEST(EndProcess, RunsNoDestructorAndNoExitHandler)
{
    EXPECT_EQ(41U, ChildProcess::StartRole(L"EndInTheMiddle").WaitForExit());
}
