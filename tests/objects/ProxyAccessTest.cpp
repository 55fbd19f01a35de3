#include "OrvProfiler/objects/ProxyAccess.h"

#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ManagerIn.h"
#include "tests/support/worlds/NamedObjects.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr uint32_t c_noSession = 0xFFFFFFFF;

MutexState StateOf(const std::wstring& name)
{
    return MutexStateOf(contract::LocalName(name));
}
} // namespace

TEST(CProxyAccess, CreatesAMutexThatIsNotHeldAndOpenToAll)
{
    const std::wstring name = FreshName(L"access");
    const CallRecorder<decltype(CreateMutexW)> create("CreateMutexW");
    const TraceCapture trace;
    const CProxyAccess access(c_noSession, name.c_str());
    EXPECT_THAT(trace.Lines(), ElementsAre(contract::MutexCreatedLine(contract::LocalName(name))));
    ASSERT_THAT(create.Calls(), testing::SizeIs(1));
    EXPECT_NE(nullptr, std::get<0>(create.Calls()[0]));
    EXPECT_EQ(FALSE, std::get<1>(create.Calls()[0]));
    EXPECT_NE(nullptr, access.GetHandle());
    EXPECT_TRUE(access.IsFirstInstance());
    EXPECT_TRUE(access.IsNotHeld());
    EXPECT_EQ(MutexState::Free, StateOf(name));
}

TEST(CProxyAccess, OnlyTheFirstInstanceIsTheFirst)
{
    const std::wstring name = FreshName(L"access");
    auto first = std::make_unique<CProxyAccess>(c_noSession, name.c_str());
    auto second = std::make_unique<CProxyAccess>(c_noSession, name.c_str());
    EXPECT_TRUE(first->IsFirstInstance());
    EXPECT_FALSE(second->IsFirstInstance());
    first.reset();
    EXPECT_FALSE(CProxyAccess(c_noSession, name.c_str()).IsFirstInstance()) << "the second one keeps the mutex alive";
    second.reset();
    EXPECT_EQ(MutexState::Missing, StateOf(name));
    EXPECT_TRUE(CProxyAccess(c_noSession, name.c_str()).IsFirstInstance());
}

TEST(CProxyAccess, AnEarlierErrorDoesNotMakeItASecondInstance)
{
    const std::wstring name = FreshName(L"access");
    SetLastError(ERROR_ALREADY_EXISTS);
    EXPECT_TRUE(CProxyAccess(c_noSession, name.c_str()).IsFirstInstance());
}

TEST(CProxyAccess, CopiesItsName)
{
    std::wstring name = FreshName(L"access");
    const std::wstring kept = name;
    const CProxyAccess access(c_noSession, name.c_str());
    name.assign(name.size(), L'x');
    EXPECT_EQ(MutexState::Free, StateOf(kept));
}

TEST(CProxyAccess, LockHoldsAndUnlockReleases)
{
    const std::wstring name = FreshName(L"access");
    CProxyAccess access(c_noSession, name.c_str());
    EXPECT_TRUE(access.Lock(0));
    EXPECT_FALSE(access.IsNotHeld());
    EXPECT_EQ(MutexState::Held, StateOf(name));
    EXPECT_TRUE(access.Unlock());
    EXPECT_TRUE(access.IsNotHeld());
    EXPECT_EQ(MutexState::Free, StateOf(name));
    EXPECT_TRUE(access.Unlock()) << "nobody holds it";
    EXPECT_TRUE(access.Lock(INFINITE));
    EXPECT_TRUE(access.Unlock());
}

TEST(CProxyAccess, OneUnlockReleasesWhatWasLockedTwice)
{
    const std::wstring name = FreshName(L"access");
    CProxyAccess access(c_noSession, name.c_str());
    EXPECT_TRUE(access.Lock(1000));
    {
        const CallRecorder<decltype(WaitForSingleObject)> wait("WaitForSingleObject");
        EXPECT_TRUE(access.Lock(1000));
        EXPECT_TRUE(access.Lock(0));
        EXPECT_THAT(wait.Calls(), IsEmpty()) << "answered at once";
    }
    EXPECT_TRUE(access.Unlock());
    EXPECT_TRUE(access.IsNotHeld());
    EXPECT_EQ(MutexState::Free, StateOf(name));
}

TEST(CProxyAccess, AnotherThreadWaitsItsTime)
{
    const std::wstring name = FreshName(L"access");
    CProxyAccess access(c_noSession, name.c_str());
    ASSERT_TRUE(access.Lock(0));
    std::thread([&] {
        EXPECT_FALSE(access.Lock(0));
        EXPECT_FALSE(access.Lock(20));
        EXPECT_TRUE(access.IsNotHeld());
    }).join();
    EXPECT_FALSE(access.IsNotHeld());

    bool got = false;
    std::thread waiter([&] {
        got = access.Lock(30000);
        access.Unlock();
    });
    EXPECT_TRUE(access.Unlock() || !access.IsNotHeld()) << "released, whoever holds it by now";
    waiter.join();
    EXPECT_TRUE(got);
    EXPECT_EQ(MutexState::Free, StateOf(name));
}

TEST(CProxyAccess, AnotherThreadCannotUnlock)
{
    const std::wstring name = FreshName(L"access");
    CProxyAccess access(c_noSession, name.c_str());
    ASSERT_TRUE(access.Lock(0));
    const CallRecorder<decltype(ReleaseMutex)> release("ReleaseMutex");
    std::thread([&] { EXPECT_FALSE(access.Unlock()) << "its owner still holds it"; }).join();
    EXPECT_THAT(release.Calls(), IsEmpty());
    EXPECT_FALSE(access.IsNotHeld());
    EXPECT_TRUE(access.Unlock());
    std::thread([&] { EXPECT_TRUE(access.Unlock()) << "nobody holds it"; }).join();
}

TEST(CProxyAccess, TwoObjectsOfOneNameExcludeEachOther)
{
    const std::wstring name = FreshName(L"access");
    CProxyAccess first(c_noSession, name.c_str());
    CProxyAccess second(c_noSession, name.c_str());
    ASSERT_TRUE(first.Lock(0));
    std::thread([&] { EXPECT_FALSE(second.Lock(20)); }).join();
    EXPECT_TRUE(first.Unlock());
    std::thread([&] {
        EXPECT_TRUE(second.Lock(0));
        EXPECT_TRUE(second.Unlock());
    }).join();
}

TEST(CProxyAccess, IsTakenOverFromAThreadThatDied)
{
    const std::wstring name = FreshName(L"access");
    CProxyAccess access(c_noSession, name.c_str());
    CProxyAccess other(c_noSession, name.c_str());
    std::thread([&] { EXPECT_TRUE(other.Lock(0)); }).join();
    EXPECT_TRUE(access.Lock(0));
    EXPECT_FALSE(access.IsNotHeld());
    EXPECT_EQ(MutexState::Held, StateOf(name));
    EXPECT_TRUE(access.Unlock());
    EXPECT_EQ(MutexState::Free, StateOf(name));
}

ORV_CHILD_ROLE(HoldAccess)
{
    CProxyAccess access(c_noSession, arguments.at(0).c_str());
    if (access.IsFirstInstance())
        return 1;
    if (!access.Lock(30000))
        return 2;
    Meeting(arguments.at(1)).Signal();
    Sleep(INFINITE);
    return 3;
}

TEST(CProxyAccess, IsTakenOverFromAProcessThatWasKilled)
{
    const std::wstring name = FreshName(L"access");
    const std::wstring heldName = FreshName(L"held");
    const Meeting held(heldName);
    CProxyAccess access(c_noSession, name.c_str());
    EXPECT_TRUE(access.IsFirstInstance());
    const ChildProcess child = ChildProcess::StartRole(L"HoldAccess", {name, heldName});
    held.Wait();
    EXPECT_FALSE(access.Lock(0));
    EXPECT_TRUE(access.IsNotHeld());
    EXPECT_TRUE(access.Unlock()) << "no thread of this process holds it";
    child.Kill();
    EXPECT_TRUE(access.Lock(30000));
    EXPECT_FALSE(access.IsNotHeld());
    EXPECT_TRUE(access.Unlock());
    EXPECT_EQ(MutexState::Free, StateOf(name));
}

TEST(CProxyAccess, ADestroyedObjectReleasesWhatItsThreadHolds)
{
    const std::wstring name = FreshName(L"access");
    const CProxyAccess keeper(c_noSession, name.c_str());
    {
        CProxyAccess access(c_noSession, name.c_str());
        ASSERT_TRUE(access.Lock(0));
    }
    EXPECT_EQ(MutexState::Free, StateOf(name)) << "released, not abandoned";
}

TEST(CProxyAccess, ADestroyedObjectLeavesWhatAnotherThreadHolds)
{
    const std::wstring name = FreshName(L"access");
    CProxyAccess keeper(c_noSession, name.c_str());
    {
        CProxyAccess access(c_noSession, name.c_str());
        std::thread([&] { EXPECT_TRUE(access.Lock(0)); }).join();
    }
    EXPECT_EQ(MutexState::Abandoned, StateOf(name));
}

TEST(CProxyAccess, WithoutAMutexLockFails)
{
    const std::wstring name = FreshName(L"access");
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    const FailingCall<decltype(CreateMutexW)> create("CreateMutexW", ERROR_ACCESS_DENIED);
    CProxyAccess access(c_noSession, name.c_str());
    EXPECT_THAT(trace.Lines(), ElementsAre(contract::MutexCreatedLine(contract::LocalName(name)),
                                           L"CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 5>\n"));
    EXPECT_EQ(nullptr, access.GetHandle());
    EXPECT_TRUE(access.IsFirstInstance());
    EXPECT_FALSE(access.Lock(INFINITE)) << "at once";
    EXPECT_TRUE(access.IsNotHeld());
    EXPECT_TRUE(access.Unlock());
}

TEST(CProxyAccess, ANameThatIsTakenByAnotherObjectGivesNoMutex)
{
    const std::wstring name = FreshName(L"access");
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, contract::LocalName(name).c_str());
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    CProxyAccess access(c_noSession, name.c_str());
    EXPECT_THAT(trace.Lines(), ElementsAre(contract::MutexCreatedLine(contract::LocalName(name)),
                                           L"CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 6>\n"));
    EXPECT_EQ(nullptr, access.GetHandle());
    EXPECT_FALSE(access.Lock(0));
    CloseHandle(event);
}

TEST(CProxyAccess, WithoutAnAccessListTheMutexIsMadeAllTheSame)
{
    const ErrorTextStandIn texts;
    const FailingCall<decltype(SetSecurityDescriptorDacl)> setDacl("SetSecurityDescriptorDacl", ERROR_INVALID_ACL);
    const TraceCapture trace;
    CProxyAccess access(c_noSession, FreshName(L"access").c_str());
    ASSERT_THAT(trace.Lines(), testing::SizeIs(2));
    EXPECT_EQ(L"CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1336>\n", trace.Lines()[0]);
    EXPECT_TRUE(access.Lock(0));
}

TEST(CProxyAccess, AFailingWaitIsNoLock)
{
    CProxyAccess access(c_noSession, FreshName(L"access").c_str());
    {
        const Redirect<decltype(WaitForSingleObject)> wait("WaitForSingleObject",
                                                           [](HANDLE, DWORD) -> DWORD { return WAIT_FAILED; });
        EXPECT_FALSE(access.Lock(1000));
    }
    EXPECT_TRUE(access.IsNotHeld());
    EXPECT_TRUE(access.Lock(0));
}

TEST(CProxyAccess, AFailingReleaseLeavesNoOwner)
{
    const std::wstring name = FreshName(L"access");
    CProxyAccess access(c_noSession, name.c_str());
    ASSERT_TRUE(access.Lock(0));
    {
        const FailingCall<decltype(ReleaseMutex)> release("ReleaseMutex", ERROR_NOT_OWNER);
        EXPECT_TRUE(access.Unlock());
    }
    EXPECT_TRUE(access.IsNotHeld());
    ReleaseMutex(access.GetHandle());
    EXPECT_EQ(MutexState::Free, StateOf(name));
}

TEST(CProxyAccess, LeavesNoHandleOpen)
{
    const std::wstring name = FreshName(L"access");
    const TraceCapture trace;
    const unsigned before = OpenHandleCount();
    {
        CProxyAccess access(c_noSession, name.c_str());
        EXPECT_EQ(before + 1, OpenHandleCount());
        access.Lock(0);
    }
    EXPECT_EQ(before, OpenHandleCount());
    EXPECT_EQ(MutexState::Missing, StateOf(name));
}

TEST(CProxyAccess, LosesNoMemory)
{
    const std::wstring name = FreshName(L"access");
    ExpectNothingLeaks([&name] {
        CProxyAccess access(c_noSession, name.c_str());
        access.Lock(0);
    });
}

TEST(CProxyAccess, ManyThreadsTakeTurns)
{
    constexpr int threadCount = 8;
    constexpr int rounds = 500;
    CProxyAccess access(c_noSession, FreshName(L"access").c_str());
    // Protected by nothing but the lock.
    volatile int counter = 0;
    volatile bool inside = false;
    std::atomic<int> disturbed{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
    {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round)
            {
                if (!access.Lock(30000) || inside)
                    ++disturbed;
                inside = true;
                counter = counter + 1;
                inside = false;
                access.Unlock();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, disturbed);
    EXPECT_EQ(threadCount * rounds, counter);
    EXPECT_TRUE(access.IsNotHeld());
    EXPECT_TRUE(access.Unlock());
}

namespace
{
constexpr int c_turns = 2000;

// The counter that the processes share; its mapping lives as long as the process.
volatile int* MapCounter(const std::wstring& name)
{
    HANDLE const mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name.c_str());
    return static_cast<volatile int*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
}

bool CountUnderLock(CProxyAccess& access, volatile int* counter)
{
    for (int turn = 0; turn < c_turns; ++turn)
    {
        if (!access.Lock(30000))
            return false;
        *counter = *counter + 1;
        access.Unlock();
    }
    return true;
}
} // namespace

ORV_CHILD_ROLE(CountUnderAccess)
{
    CProxyAccess access(c_noSession, arguments.at(0).c_str());
    volatile int* const counter = MapCounter(arguments.at(1));
    Meeting(arguments.at(2)).Signal();
    return CountUnderLock(access, counter) ? 0 : 1;
}

TEST(CProxyAccess, TwoProcessesTakeTurns)
{
    const std::wstring name = FreshName(L"access");
    const std::wstring counterName = FreshName(L"counter");
    const std::wstring readyName = FreshName(L"ready");
    const Meeting ready(readyName);
    CProxyAccess access(c_noSession, name.c_str());
    volatile int* const counter = MapCounter(counterName);
    ASSERT_NE(nullptr, counter);
    const ChildProcess child = ChildProcess::StartRole(L"CountUnderAccess", {name, counterName, readyName});
    ready.Wait();
    EXPECT_TRUE(CountUnderLock(access, counter));
    EXPECT_EQ(0U, child.WaitForExit());
    EXPECT_EQ(2 * c_turns, *counter);
}

ORV_CHILD_ROLE(HoldAccessInNamespace)
{
    const ManagerIn<NamespaceWorld> world(NamespaceWorld::Entry::Parents);
    return ChildRoleHoldAccess(arguments);
}

TEST(CProxyAccess, WorksAcrossProcessesInThePrivateNamespace)
{
    const std::wstring name = FreshName(L"access");
    const std::wstring heldName = FreshName(L"held");
    const Meeting held(heldName);
    const ManagerIn<NamespaceWorld> world;
    const TraceCapture trace;
    CProxyAccess access(7, name.c_str());
    EXPECT_THAT(trace.Lines(), ElementsAre(contract::MutexCreatedLine(contract::NamespaceName(name))));
    EXPECT_EQ(MutexState::Missing, StateOf(name));
    const ChildProcess child = ChildProcess::StartRole(L"HoldAccessInNamespace", {name, heldName});
    held.Wait();
    EXPECT_FALSE(access.Lock(0));
    child.Kill();
    EXPECT_TRUE(access.Lock(30000));
}

TEST(CProxyAccess, ItsNameCarriesTheSessionWithoutPrivateNamespaces)
{
    const ManagerIn<WindowsWithoutNamespaces> world;
    const ErrorTextStandIn texts;
    const FailingCall<decltype(CreateMutexW)> create("CreateMutexW", ERROR_PATH_NOT_FOUND);
    const TraceCapture trace;
    const CProxyAccess inSession(7, L"access");
    const CProxyAccess failed(0xFFFFFFFE, L"access");
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::OrvPCreateMutex Create Mutex Session\\7\\access\n",
                                           L"CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 3>\n",
                                           L"CProxySecManager::OrvPCreateMutex Create Mutex Session\\-2\\access\n",
                                           L"CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 3>\n"));
}
