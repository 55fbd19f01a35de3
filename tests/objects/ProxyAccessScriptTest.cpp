#include "OrvProfiler/objects/ProxyAccess.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamedObjects.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <memory>

// What a named mutex asks of the system, in its order.

using contract::Join;

namespace
{
constexpr uint32_t c_noSession = 0xFFFFFFFF;

class CProxyAccessScript : public ScriptTest
{
protected:
    CProxyAccessScript()
    {
        m_script.Rename(contract::LocalName(m_name), L"{mutex}");
        m_script.WatchBlock(m_name, L"name");
        m_script.Clear();
    }

    CProxyAccess& Access()
    {
        m_access = std::make_unique<CProxyAccess>(c_noSession, m_name.c_str());
        m_script.WatchState([this] { return m_access == nullptr || m_access->IsNotHeld() ? L"not held" : L"held"; });
        m_script.Clear();
        return *m_access;
    }

    const std::wstring m_name = FreshName(L"access");
    std::unique_ptr<CProxyAccess> m_access;
};
} // namespace

TEST_F(CProxyAccessScript, IsMadeForEverybody)
{
    const CProxyAccess access(c_noSession, m_name.c_str());
    EXPECT_TRUE(m_script.Is(Join(
        {{L"InitializeCriticalSection"},
         c_letEverybodyIn,
         {L"trace CProxySecManager::OrvPCreateMutex Create Mutex {mutex}\n", L"CreateMutexW everybody 0 {mutex}"}})));
}

TEST_F(CProxyAccessScript, SaysThatItCannotBeMade)
{
    m_script.Fail("CreateMutexW");
    CProxyAccess& access = *(m_access = std::make_unique<CProxyAccess>(c_noSession, m_name.c_str()));
    EXPECT_TRUE(m_script.Is(Join({{L"InitializeCriticalSection"},
                                  c_letEverybodyIn,
                                  {L"trace CProxySecManager::OrvPCreateMutex Create Mutex {mutex}\n",
                                   L"CreateMutexW everybody 0 {mutex} fails", L"FormatMessageW 1450",
                                   L"trace CProxySecManager::OrvPCreateMutex CreateMutex Failed <error 1450>\n"}})));
    EXPECT_FALSE(access.Lock(INFINITE));
    EXPECT_TRUE(access.Unlock());
    EXPECT_TRUE(m_script.Is({}));
    m_access.reset();
    EXPECT_TRUE(m_script.Is({L"DeleteCriticalSection", L"free name"}));
}

TEST_F(CProxyAccessScript, IsHeldAfterTheWaitAndFreeBeforeTheRelease)
{
    CProxyAccess& access = Access();
    EXPECT_TRUE(access.Lock(5));
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject {mutex} 5", L"= held"}));
    EXPECT_TRUE(access.Lock(5));
    EXPECT_TRUE(m_script.Is({}));
    EXPECT_TRUE(access.Unlock());
    EXPECT_TRUE(m_script.Is({L"= not held", L"ReleaseMutex {mutex}"}));
    EXPECT_TRUE(access.Unlock());
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyAccessScript, StaysFreeWhenTheWaitFails)
{
    CProxyAccess& access = Access();
    m_script.Fail("WaitForSingleObject");
    EXPECT_FALSE(access.Lock(INFINITE));
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject {mutex} forever fails"}));
}

TEST_F(CProxyAccessScript, GoesInTheOrderHandleCompanionName)
{
    Access();
    m_access.reset();
    EXPECT_TRUE(m_script.Is({L"CloseHandle {mutex}", L"DeleteCriticalSection", L"free name"}));
}

TEST_F(CProxyAccessScript, IsReleasedBeforeItGoes)
{
    Access().Lock(INFINITE);
    m_script.WatchState(nullptr);
    m_script.Clear();
    m_access.reset();
    EXPECT_TRUE(
        m_script.Is({L"ReleaseMutex {mutex}", L"CloseHandle {mutex}", L"DeleteCriticalSection", L"free name"}));
}
