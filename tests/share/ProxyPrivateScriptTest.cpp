#include "OrvProfiler/share/ProxyPrivate.h"
#include "tests/share/OwnMutexName.h"
#include "tests/share/ViewWatch.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <memory>
#include <string>

// What a private block asks of the system, in its order.

using contract::Join;

namespace
{
const Script c_open = {L"trace CProxyMap::OpenMap Open Map Name: {block}\n", L"OpenFileMappingW 6 0 Local\\{block}"};
const Script c_makeMutex = {
    L"InitializeCriticalSection", L"InitializeSecurityDescriptor 1", L"SetSecurityDescriptorDacl 1 null 0",
    L"trace CProxySecManager::OrvPCreateMutex Create Mutex {mutex}\n", L"CreateMutexW everybody 0 {mutex}"};

class CProxyPrivateScript : public ScriptTest
{
protected:
    CProxyPrivateScript()
    {
        m_script.Rename(m_base + contract::PaddedHex(m_id), L"{block}");
        m_script.Rename(OwnMutexName::c_shared, L"{mutex}");
        m_script.Rename(m_mutexName.KernelName(), L"{mutex}");
        m_script.NameProcess(m_id, L"{id}");
        m_block = std::make_unique<CProxyPrivate>(m_base.c_str());
        m_script.Clear();
    }

    CProxyPrivate& Created()
    {
        EXPECT_TRUE(m_block->Create(m_id, 100));
        m_script.Clear();
        return *m_block;
    }

    std::wstring KernelName() const { return contract::LocalName(m_base + contract::PaddedHex(m_id)); }

    const OwnMutexName m_mutexName;
    const std::wstring m_base = FreshName(L"private");
    const uint32_t m_id = FreshId();
    std::unique_ptr<CProxyPrivate> m_block;
};
} // namespace

TEST_F(CProxyPrivateScript, CreatesWhatNobodyHasMade)
{
    EXPECT_TRUE(m_block->Create(m_id, 100));
    EXPECT_TRUE(
        m_script.Is(Join({{L"trace CProxyPrivate::Create Requested Size of Private Data is 100 bytes\n"},
                          c_askSession,
                          c_open,
                          c_nothingToOpen,
                          c_letEverybodyIn,
                          c_askSession,
                          {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{block}\n",
                           L"CreateFileMappingW invalid everybody 4 0 18476 Local\\{block}",
                           L"trace CProxyMap::Create created share {block} successfully \n",
                           L"MapViewOfFile Local\\{block} f001f 0 0 0"},
                          c_askSession,
                          c_makeMutex})));
    m_block.reset();
    EXPECT_TRUE(m_script.Is(
        {L"CloseHandle {mutex}", L"DeleteCriticalSection", L"UnmapViewOfFile view", L"CloseHandle Local\\{block}"}));
}

TEST_F(CProxyPrivateScript, TakesTheSizeBeforeItSaysSo)
{
    CProxyPrivate& block = Created();
    m_script.WatchState([&block] { return L"size " + std::to_wstring(block.GetDataSize()); });
    m_script.Clear();
    EXPECT_TRUE(block.Create(m_id, 200));
    const Script steps = m_script.Steps();
    ASSERT_GE(steps.size(), 2U);
    EXPECT_EQ(Script({L"= size 200", L"trace CProxyPrivate::Create Requested Size of Private Data is 200 bytes\n"}),
              Script(steps.begin(), steps.begin() + 2));
    m_script.WatchState(nullptr);
}

TEST_F(CProxyPrivateScript, WritesTheSizeWhenTheMutexIsMade)
{
    const ForeignMapping foreign(KernelName(), 20000, PAGE_READWRITE);
    const ViewWatch watch(m_script);
    m_script.Clear();
    EXPECT_TRUE(m_block->Open(m_id));
    EXPECT_TRUE(m_script.Is(Join(
        {c_askSession,
         c_open,
         {L"trace CProxyMap::Open opened share {block} successfully\n", L"MapViewOfFile Local\\{block} f001f 0 0 0"},
         c_askSession,
         c_makeMutex})));
    // One that is created instead of opened.
    CProxyPrivate created(FreshName(L"created").c_str());
    m_script.Clear();
    EXPECT_TRUE(created.Create(m_id, 100));
    const Script steps = m_script.Steps();
    ASSERT_GE(steps.size(), 2U);
    EXPECT_EQ(L"CreateMutexW everybody 0 {mutex}", steps[steps.size() - 2]);
    EXPECT_EQ(L"writes {view}", steps.back());
}

TEST_F(CProxyPrivateScript, ClosesTheMutexBeforeTheMapping)
{
    Created().Close();
    EXPECT_TRUE(m_script.Is(
        {L"CloseHandle {mutex}", L"DeleteCriticalSection", L"UnmapViewOfFile view", L"CloseHandle Local\\{block}"}));
    m_block->Close();
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyPrivateScript, AddsTheHeaderIn32Bits)
{
    m_script.Fail("CreateFileMappingW");
    EXPECT_FALSE(m_block->Create(m_id, 0xFFFFFFFF));
    EXPECT_TRUE(m_script.Is(
        Join({{L"trace CProxyPrivate::Create Requested Size of Private Data is -1 bytes\n"},
              c_askSession,
              c_open,
              c_nothingToOpen,
              c_letEverybodyIn,
              c_askSession,
              {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{block}\n",
               L"CreateFileMappingW invalid everybody 4 0 18375 Local\\{block} fails", L"FormatMessageW 1455",
               L"trace CProxySecManager::OrvPCreateFileMapping Failed with <error 1455>\n", L"FormatMessageW 1455",
               L"trace CProxyMap::Create create share {block} failed\n<error 1455>\n"}})));
}

TEST_F(CProxyPrivateScript, OpensWhatIsThere)
{
    const ForeignMapping foreign(KernelName(), 20000, PAGE_READWRITE);
    m_script.Clear();
    EXPECT_TRUE(m_block->Open(m_id));
    EXPECT_TRUE(m_script.Is(Join(
        {c_askSession,
         c_open,
         {L"trace CProxyMap::Open opened share {block} successfully\n", L"MapViewOfFile Local\\{block} f001f 0 0 0"},
         c_askSession,
         c_makeMutex})));
}

TEST_F(CProxyPrivateScript, RefusesWhatIsTooSmall)
{
    const ForeignMapping foreign(KernelName(), 4096, PAGE_READWRITE);
    m_script.Clear();
    EXPECT_FALSE(m_block->Create(m_id, 100));
    EXPECT_TRUE(m_script.Is(Join({{L"trace CProxyPrivate::Create Requested Size of Private Data is 100 bytes\n"},
                                  c_askSession,
                                  c_open,
                                  {L"MapViewOfFile Local\\{block} f001f 0 0 0",
                                   L"trace CProxyPrivate::OnMapped share {block} is smaller than 18376 bytes\n",
                                   L"UnmapViewOfFile view", L"CloseHandle Local\\{block}"}})));
}

TEST_F(CProxyPrivateScript, LocksTheData)
{
    CProxyPrivate& block = Created();
    EXPECT_NE(nullptr, block.LockData());
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject {mutex} forever"}));
    block.UnlockData();
    EXPECT_TRUE(m_script.Is({L"ReleaseMutex {mutex}"}));
    block.UnlockData();
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyPrivateScript, HasNoDataWhenTheWaitFails)
{
    CProxyPrivate& block = Created();
    m_script.Fail("WaitForSingleObject");
    EXPECT_EQ(nullptr, block.LockData());
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject {mutex} forever fails"}));
}

// The view is looked at when the wait is over.
TEST_F(CProxyPrivateScript, HasNoDataWhenTheViewGoesDuringTheWait)
{
    static CProxyPrivate* block = nullptr;
    block = &Created();
    const Redirect<DWORD(HANDLE, DWORD)> wait("WaitForSingleObject", [](HANDLE, DWORD) -> DWORD {
        block->CProxyMap::Close();
        return WAIT_OBJECT_0;
    });
    m_script.Clear();
    EXPECT_EQ(nullptr, block->LockData());
    EXPECT_TRUE(m_script.Is({L"UnmapViewOfFile view", L"CloseHandle Local\\{block}", L"ReleaseMutex {mutex}"}));
}

// The field is emptied before the text is looked at: also when the text is the field's own.
TEST_F(CProxyPrivateScript, EmptiesATextBeforeItIsRead)
{
    CProxyPrivate& block = Created();
    block.SetText(L"text");
    EXPECT_TRUE(block.SetText(block.GetText()));
    EXPECT_STREQ(L"", block.GetText());
    block.SetShortText(L"text");
    EXPECT_TRUE(block.SetShortText(block.GetShortText()));
    EXPECT_STREQ(L"", block.GetShortText());
}

TEST_F(CProxyPrivateScript, DoesNotWaitWithoutAMutex)
{
    EXPECT_EQ(nullptr, m_block->LockData());
    m_block->UnlockData();
    EXPECT_TRUE(m_script.Is({}));
    m_script.Fail("CreateMutexW");
    EXPECT_TRUE(m_block->Create(m_id, 100));
    m_script.Clear();
    EXPECT_EQ(nullptr, m_block->LockData());
    m_block->UnlockData();
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyPrivateScript, UsesTheHeaderWithoutALock)
{
    CProxyPrivate& block = Created();
    block.SetValue4(block.GetValue4());
    block.SetValue18360(block.GetValue18360());
    block.SetValue18368(block.GetValue18368());
    block.SetText(L"text");
    block.GetText();
    block.SetShortText(L"text");
    block.GetShortText();
    EXPECT_TRUE(m_script.Is({}));
}
