#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

// What a share asks of the system, in its order, with the locks and the writes in between.

using contract::Join;

namespace
{
const Script c_open = {L"trace CProxyMap::OpenMap Open Map Name: {share}\n", L"OpenFileMappingW 6 0 Local\\{share}"};

// The seven mutexes go.
Script DropMutexes()
{
    Script script;
    for (unsigned i = 0; i < contract::c_shareMutexCount; ++i)
        script.insert(script.end(), {L"CloseHandle Local\\{share}_" + std::to_wstring(i), L"DeleteCriticalSection"});
    return script;
}

// What happens while a lock is held.
Script Locked(unsigned index, const Script& work)
{
    const std::wstring name = L"Local\\{share}_" + std::to_wstring(index);
    return Join({{L"WaitForSingleObject " + name + L" forever"}, work, {L"ReleaseMutex " + name}});
}

class CProxyShareScript : public ScriptTest
{
protected:
    CProxyShareScript()
    {
        m_script.Rename(contract::ShareName(m_id), L"{share}");
        m_script.NameProcess(m_id, L"{id}");
        m_script.WatchState([] { return g_pShare != nullptr ? L"there is a share" : L"there is no share"; });
        m_script.Clear();
    }

    // A share that a client has made.
    CProxyShare& Open()
    {
        if (m_client == nullptr)
            m_client = std::make_unique<ClientShare>(m_id);
        m_share = std::make_unique<CProxyShare>();
        EXPECT_TRUE(m_share->Create(m_id));
        m_script.Clear();
        return *m_share;
    }

    // Shows the writes to the parts of the share.
    void WatchParts()
    {
        constexpr struct
        {
            size_t offset;
            const wchar_t* name;
        } parts[] = {
            {0x1C4EC, L"{run word}"},      {0x1D000, L"{control}"},  {0x37000, L"{records}"},
            {0x254F70, L"{thread count}"}, {0x255178, L"{slot 0}"},  {0x256000, L"{slot 2}"},
            {0x28B578, L"{block 0}"},      {0x363000, L"{block 1}"},
        };
        for (const auto& part : parts)
            m_script.WatchWrites(ViewBytes() + part.offset, part.name);
        m_script.Clear();
    }

    unsigned char* ViewBytes() const { return static_cast<unsigned char*>(m_share->GetView()); }

    const uint32_t m_id = FreshId();
    std::unique_ptr<ClientShare> m_client;
    std::unique_ptr<CProxyShare> m_share;
};
} // namespace

TEST_F(CProxyShareScript, IsKnownFromItsConstructionToTheEndOfItsDestruction)
{
    m_share = std::make_unique<CProxyShare>();
    EXPECT_TRUE(m_script.Is({L"= there is a share"}));
    m_share.reset();
    EXPECT_TRUE(m_script.Is({L"= there is no share"}));
}

TEST_F(CProxyShareScript, OpensWhatItsClientHasMade)
{
    m_client = std::make_unique<ClientShare>(m_id);
    m_share = std::make_unique<CProxyShare>();
    m_script.Clear();
    EXPECT_TRUE(m_share->Create(m_id));
    EXPECT_TRUE(m_script.Is(Join({{L"trace CProxyShare::Create Size of Share is 116197744 bytes\n"},
                                  c_askSession,
                                  c_open,
                                  {L"MapViewOfFile Local\\{share} f001f 0 0 0"},
                                  c_askSession,
                                  MakeMutexes()})));
    m_share->Close();
    EXPECT_TRUE(m_script.Is(Join({{L"UnmapViewOfFile view", L"CloseHandle Local\\{share}"}, DropMutexes()})));
    m_share->Close();
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyShareScript, IsUnmappedBehindTheViewAndBeforeTheMutexes)
{
    CProxyShare& share = Open();
    m_script.WatchState([&share] { return share.GetControl() != nullptr ? L"mapped" : L"unmapped"; });
    share.Close();
    EXPECT_TRUE(
        m_script.Is(Join({{L"UnmapViewOfFile view", L"CloseHandle Local\\{share}", L"= unmapped"}, DropMutexes()})));
    m_script.WatchState(nullptr);
}

TEST_F(CProxyShareScript, CreatesWhatNobodyHasMade)
{
    m_share = std::make_unique<CProxyShare>();
    m_script.Clear();
    EXPECT_TRUE(m_share->Create(m_id));
    EXPECT_TRUE(
        m_script.Is(Join({{L"trace CProxyShare::Create Size of Share is 116197744 bytes\n"},
                          c_askSession,
                          c_open,
                          c_nothingToOpen,
                          c_letEverybodyIn,
                          c_askSession,
                          {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{share}\n",
                           L"CreateFileMappingW invalid everybody 4 0 116197744 Local\\{share}",
                           L"trace CProxyMap::Create created share {share} successfully \n",
                           L"MapViewOfFile Local\\{share} f001f 0 0 0"},
                          c_askSession,
                          {L"InitializeCriticalSection"},
                          c_letEverybodyIn,
                          {L"trace CProxySecManager::OrvPCreateMutex Create Mutex Local\\{share}_0\n",
                           L"CreateMutexW everybody 0 Local\\{share}_0", L"InitializeCriticalSection"},
                          c_letEverybodyIn,
                          {L"trace CProxySecManager::OrvPCreateMutex Create Mutex Local\\{share}_1\n",
                           L"CreateMutexW everybody 0 Local\\{share}_1", L"InitializeCriticalSection"},
                          c_letEverybodyIn,
                          {L"trace CProxySecManager::OrvPCreateMutex Create Mutex Local\\{share}_2\n",
                           L"CreateMutexW everybody 0 Local\\{share}_2", L"InitializeCriticalSection"},
                          c_letEverybodyIn,
                          {L"trace CProxySecManager::OrvPCreateMutex Create Mutex Local\\{share}_3\n",
                           L"CreateMutexW everybody 0 Local\\{share}_3", L"InitializeCriticalSection"},
                          c_letEverybodyIn,
                          {L"trace CProxySecManager::OrvPCreateMutex Create Mutex Local\\{share}_4\n",
                           L"CreateMutexW everybody 0 Local\\{share}_4", L"InitializeCriticalSection"},
                          c_letEverybodyIn,
                          {L"trace CProxySecManager::OrvPCreateMutex Create Mutex Local\\{share}_5\n",
                           L"CreateMutexW everybody 0 Local\\{share}_5", L"InitializeCriticalSection"},
                          c_letEverybodyIn,
                          {L"trace CProxySecManager::OrvPCreateMutex Create Mutex Local\\{share}_6\n",
                           L"CreateMutexW everybody 0 Local\\{share}_6"}})));
}

TEST_F(CProxyShareScript, ClosesItsFileBetweenTheShareAndItsEnd)
{
    Open();
    const TemporaryFile file("");
    // The file's field is the first behind those of the mapping.
    FILE* const stream = _wfopen(file.Path(), L"w");
    std::memcpy(reinterpret_cast<unsigned char*>(m_share.get()) + sizeof(CProxyMap), &stream, sizeof(FILE*));
    m_script.Clear();
    m_share.reset();
    EXPECT_TRUE(m_script.Is(Join({{L"UnmapViewOfFile view", L"CloseHandle Local\\{share}"},
                                  DropMutexes(),
                                  {L"fclose", L"= there is no share"}})));
    // cppcheck-suppress resourceLeak ; the share has closed the stream
}

TEST_F(CProxyShareScript, HasNoMutexesWithoutItsMemory)
{
    m_share = std::make_unique<CProxyShare>();
    m_script.Clear();
    m_script.Fail("CreateFileMappingW");
    EXPECT_FALSE(m_share->Create(m_id));
    EXPECT_TRUE(m_script.Is(
        Join({{L"trace CProxyShare::Create Size of Share is 116197744 bytes\n"},
              c_askSession,
              c_open,
              c_nothingToOpen,
              c_letEverybodyIn,
              c_askSession,
              {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{share}\n",
               L"CreateFileMappingW invalid everybody 4 0 116197744 Local\\{share} fails", L"FormatMessageW 1455",
               L"trace CProxySecManager::OrvPCreateFileMapping Failed with <error 1455>\n", L"FormatMessageW 1455",
               L"trace CProxyMap::Create create share {share} failed\n<error 1455>\n"}})));
}

TEST_F(CProxyShareScript, RefusesWhatIsTooSmall)
{
    const ForeignMapping small(contract::LocalName(contract::ShareName(m_id)), 4096, PAGE_READWRITE);
    m_share = std::make_unique<CProxyShare>();
    m_script.WatchState([this] { return m_share->GetControl() != nullptr ? L"mapped" : L"unmapped"; });
    m_script.Clear();
    EXPECT_FALSE(m_share->Create(m_id));
    EXPECT_TRUE(m_script.Is(Join({{L"trace CProxyShare::Create Size of Share is 116197744 bytes\n"},
                                  c_askSession,
                                  c_open,
                                  {L"MapViewOfFile Local\\{share} f001f 0 0 0",
                                   L"trace CProxyShare::OnMapped share {share} is smaller than 116197744 bytes\n",
                                   L"UnmapViewOfFile view", L"CloseHandle Local\\{share}"}})));
    m_script.WatchState(nullptr);
}

TEST_F(CProxyShareScript, GoesOnWithoutAMutex)
{
    m_client = std::make_unique<ClientShare>(m_id);
    m_share = std::make_unique<CProxyShare>();
    m_script.Clear();
    m_script.Fail("CreateMutexW", 3);
    EXPECT_TRUE(m_share->Create(m_id));
    m_script.Clear();
    m_share->ClearAll();
    EXPECT_TRUE(m_script.Is({}));
    m_share->Close();
    EXPECT_TRUE(
        m_script.Is({L"UnmapViewOfFile view", L"CloseHandle Local\\{share}", L"CloseHandle Local\\{share}_0",
                     L"DeleteCriticalSection", L"CloseHandle Local\\{share}_1", L"DeleteCriticalSection",
                     L"DeleteCriticalSection", L"CloseHandle Local\\{share}_3", L"DeleteCriticalSection",
                     L"CloseHandle Local\\{share}_4", L"DeleteCriticalSection", L"CloseHandle Local\\{share}_5",
                     L"DeleteCriticalSection", L"CloseHandle Local\\{share}_6", L"DeleteCriticalSection"}));
}

TEST_F(CProxyShareScript, LocksAndUnlocks)
{
    CProxyShare& share = Open();
    for (unsigned index = 0; index < contract::c_shareMutexCount; ++index)
    {
        share.Lock(index);
        share.Unlock(index);
        EXPECT_TRUE(m_script.Is(Locked(index, {})));
    }
    share.Lock(7);
    share.Unlock(7);
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyShareScript, ReadsWithoutALock)
{
    CProxyShare& share = Open();
    share.GetControl();
    share.GetClientWindow();
    share.GetControlCount();
    share.GetThread(0);
    share.GetThreadEntry(0, 0);
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyShareScript, WritesTheControlBlockUnderLock2)
{
    CProxyShare& share = Open();
    WatchParts();
    const std::vector<unsigned char> control(contract::c_controlBytes);
    EXPECT_TRUE(share.SetControl(control.data()));
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject Local\\{share}_2 forever", L"writes {run word}",
                             L"writes {control}", L"ReleaseMutex Local\\{share}_2"}));
    EXPECT_FALSE(share.SetControl(nullptr));
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyShareScript, ClearsAllUnderLock2)
{
    CProxyShare& share = Open();
    WatchParts();
    share.ClearAll();
    EXPECT_TRUE(
        m_script.Is({L"WaitForSingleObject Local\\{share}_2 forever", L"writes {run word}", L"writes {control}",
                     L"writes {records}", L"writes {thread count}", L"writes {slot 0}", L"writes {slot 2}",
                     L"writes {block 0}", L"writes {block 1}", L"ReleaseMutex Local\\{share}_2"}));
}

TEST_F(CProxyShareScript, ResetsTheRunDataUnderLock2TheRunWordLast)
{
    CProxyShare& share = Open();
    WatchParts();
    share.ResetRunData();
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject Local\\{share}_2 forever", L"writes {block 0}",
                             L"writes {block 1}", L"writes {thread count}", L"writes {slot 0}", L"writes {slot 2}",
                             L"writes {records}", L"writes {run word}", L"ReleaseMutex Local\\{share}_2"}));
}

TEST_F(CProxyShareScript, AddsAThreadUnderLock3)
{
    CProxyShare& share = Open();
    WatchParts();
    int32_t index = -1;
    EXPECT_TRUE(share.AddThread(&index, 7, L"detail", L"name"));
    EXPECT_TRUE(
        m_script.Is({L"WaitForSingleObject Local\\{share}_3 forever", L"writes {slot 0}", L"writes {thread count}",
                     L"trace CProxyShare::AddThread Thread name(name) id(0x00000007) tindex (0)\n",
                     L"trace CProxyShare::AddThread Thread count now 1\n", L"ReleaseMutex Local\\{share}_3"}));
    ThreadSlot record{};
    record.threadId = 8;
    EXPECT_TRUE(share.AddThread(&index, record));
    EXPECT_TRUE(
        m_script.Is({L"WaitForSingleObject Local\\{share}_3 forever", L"writes {slot 0}", L"writes {thread count}",
                     L"trace CProxyShare::AddThread Thread name() id(0x00000008) tindex (1)\n",
                     L"trace CProxyShare::AddThread Thread count now 2\n", L"ReleaseMutex Local\\{share}_3"}));
}

TEST_F(CProxyShareScript, StoresTheIndexBeforeTheSlot)
{
    CProxyShare& share = Open();
    WatchParts();
    int32_t index = -1;
    m_script.WatchState([&index] { return L"index " + std::to_wstring(index); });
    m_script.Hide("OutputDebugStringW");
    m_script.Clear();
    EXPECT_TRUE(share.AddThread(&index, 7, L"detail", L"name"));
    EXPECT_TRUE(m_script.Is(Locked(3, {L"= index 0", L"writes {slot 0}", L"writes {thread count}"})));
    m_script.WatchState(nullptr);
}

TEST_F(CProxyShareScript, SaysNothingWhenNoSlotIsFree)
{
    CProxyShare& share = Open();
    int32_t index = -1;
    for (uint32_t id = 1; id <= 128; ++id)
        share.AddThread(&index, id, L"", L"");
    m_script.Clear();
    EXPECT_FALSE(share.AddThread(&index, 129, L"", L""));
    EXPECT_TRUE(m_script.Is(Locked(3, {})));
}

TEST_F(CProxyShareScript, RemovesAThreadUnderLock3)
{
    CProxyShare& share = Open();
    int32_t index = -1;
    share.AddThread(&index, 7, L"detail", L"name");
    WatchParts();
    EXPECT_TRUE(share.RemoveThread(0, false));
    EXPECT_TRUE(m_script.Is(
        {L"WaitForSingleObject Local\\{share}_3 forever", L"writes {slot 0}", L"writes {block 0}",
         L"writes {thread count}", L"trace CProxyShare::RemoveThread Thread name() id(00000000) tindex (0)\n",
         L"trace CProxyShare::RemoveThread Thread count now 0\n", L"ReleaseMutex Local\\{share}_3"}));
    EXPECT_FALSE(share.RemoveThread(0, true));
    EXPECT_FALSE(share.RemoveThread(-1, false));
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject Local\\{share}_3 forever", L"ReleaseMutex Local\\{share}_3",
                             L"WaitForSingleObject Local\\{share}_3 forever", L"ReleaseMutex Local\\{share}_3"}));
}

TEST_F(CProxyShareScript, SetsTheStatesAndThenSaysSo)
{
    CProxyShare& share = Open();
    int32_t index = -1;
    share.AddThread(&index, 7, L"detail", L"name");
    WatchParts();
    EXPECT_TRUE(share.SetAllThreadsState(5));
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject Local\\{share}_3 forever", L"writes {slot 0}",
                             L"trace CProxyShare::SetAllThreadsState all threads running\n\n",
                             L"ReleaseMutex Local\\{share}_3"}));
}

TEST_F(CProxyShareScript, SaysTheRecordModeAndThenSetsItUnderLock2)
{
    CProxyShare& share = Open();
    int32_t index = -1;
    share.AddThread(&index, 7, L"detail", L"name");
    WatchParts();
    EXPECT_TRUE(share.Record(0, 4));
    EXPECT_TRUE(m_script.Is({L"WaitForSingleObject Local\\{share}_2 forever",
                             L"trace CProxyShare::Record tindex(0) RecordMode(Auto Recording)\n", L"writes {slot 0}",
                             L"ReleaseMutex Local\\{share}_2"}));
    EXPECT_TRUE(share.Record(1, 4));
    EXPECT_TRUE(m_script.Is(Locked(2, {})));
}

TEST_F(CProxyShareScript, KeepsTheOrderListWithoutALock)
{
    CProxyShare& share = Open();
    WatchParts();
    EXPECT_EQ(1, share.AddToOrder(3));
    EXPECT_TRUE(m_script.Is({L"writes {thread count}"}));
    EXPECT_EQ(0, share.RemoveFromOrder(3));
    EXPECT_TRUE(m_script.Is({L"writes {thread count}"}));
    // The end of the list lies in the page of the first slot.
    for (int32_t i = 0; i < 40; ++i)
        share.AddToOrder(i);
    m_script.Clear();
    EXPECT_EQ(39, share.RemoveFromOrder(37));
    EXPECT_TRUE(m_script.Is({L"writes {slot 0}", L"writes {thread count}"}));
}

TEST_F(CProxyShareScript, DoesNothingWhileNotMapped)
{
    CProxyShare share;
    m_script.Clear();
    int32_t index = -1;
    const ThreadSlot record{};
    share.Lock(2);
    share.Unlock(2);
    share.ClearAll();
    share.ResetRunData();
    share.SetControl(&record);
    share.AddThread(&index, record);
    share.AddThread(&index, 1, L"", L"");
    share.RemoveThread(0, false);
    share.SetAllThreadsState(0);
    share.Record(0, 0);
    share.AddToOrder(0);
    share.RemoveFromOrder(0);
    EXPECT_TRUE(m_script.Is({}));
}
