#include "OrvProfiler/share/ProxyMap.h"
#include "tests/share/ViewWatch.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/ScriptTest.h"

#include <windows.h>

#include <memory>

// What a mapping asks of the system, in its order.

using contract::Join;

namespace
{
class ScriptedMap : public CProxyMap
{
public:
    ScriptedMap(CallScript& script, const std::wstring& baseName) : CProxyMap(baseName.c_str()), m_script(script) {}

    void OnMapped() override
    {
        m_script.Note(L"OnMapped");
        if (refuses)
            Close();
    }

    std::wstring State() const
    {
        const auto held = [](const void* handle) {
            return handle == nullptr ? L"0" : handle == INVALID_HANDLE_VALUE ? L"invalid" : L"1";
        };
        return std::wstring(m_created ? L"created" : L"not created") + L", view " + held(m_pView) + L", map " +
               held(m_hMap) + L", file " + held(m_hFile) + L", name " +
               (m_name.GetBuffer() != nullptr ? m_name.GetBuffer() : L"none");
    }

    uint32_t Id() const { return m_id; }

    bool refuses = false;

private:
    CallScript& m_script;
};

class CProxyMapScript : public ScriptTest
{
protected:
    CProxyMapScript()
    {
        m_script.Rename(m_base + contract::PaddedHex(m_id), L"{map}");
        m_script.NameProcess(m_id, L"{id}");
        Make();
        m_script.Clear();
    }

    void Make()
    {
        m_map = std::make_unique<ScriptedMap>(m_script, m_base);
        m_script.WatchState([this] { return m_map != nullptr ? m_map->State() : L"gone"; });
    }

    std::wstring KernelName() const { return contract::LocalName(m_base + contract::PaddedHex(m_id)); }

    const std::wstring m_base = FreshName(L"map");
    const uint32_t m_id = FreshId();
    std::unique_ptr<ScriptedMap> m_map;
};
} // namespace

TEST_F(CProxyMapScript, CreatesWhatNobodyHasMade)
{
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"= not created, view 0, map 0, file 0, name {map}"},
         c_askSession,
         {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
         c_nothingToOpen,
         {L"= created, view 0, map 0, file invalid, name {map}"},
         c_letEverybodyIn,
         c_askSession,
         {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
          L"CreateFileMappingW invalid everybody 4 0 5000 Local\\{map}",
          L"= created, view 0, map 1, file invalid, name {map}",
          L"trace CProxyMap::Create created share {map} successfully \n", L"MapViewOfFile Local\\{map} f001f 0 0 0",
          L"= created, view 1, map 1, file invalid, name {map}", L"OnMapped"}})));
    m_map->Close();
    EXPECT_TRUE(m_script.Is({L"= not created, view 1, map 1, file invalid, name {map}", L"UnmapViewOfFile view",
                             L"= not created, view 0, map 1, file invalid, name {map}", L"CloseHandle Local\\{map}",
                             L"= not created, view 0, map 0, file invalid, name {map}"}));
    m_map->Close();
    EXPECT_TRUE(m_script.Is({}));
}

TEST_F(CProxyMapScript, ZeroesWhatItHasCreatedBeforeItSaysSo)
{
    const ViewWatch watch(m_script);
    m_script.Clear();
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"= not created, view 0, map 0, file 0, name {map}"},
         c_askSession,
         {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
         c_nothingToOpen,
         {L"= created, view 0, map 0, file invalid, name {map}"},
         c_letEverybodyIn,
         c_askSession,
         {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
          L"CreateFileMappingW invalid everybody 4 0 5000 Local\\{map}",
          L"= created, view 0, map 1, file invalid, name {map}",
          L"trace CProxyMap::Create created share {map} successfully \n", L"MapViewOfFile Local\\{map} f001f 0 0 0",
          L"= created, view 1, map 1, file invalid, name {map}", L"writes {view}", L"OnMapped"}})));
}

TEST_F(CProxyMapScript, LeavesWhatItHasOpened)
{
    const ForeignMapping foreign(KernelName(), 5000, PAGE_READWRITE);
    const ViewWatch watch(m_script);
    m_script.Clear();
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    EXPECT_TRUE(m_script.Is(
        Join({{L"= not created, view 0, map 0, file 0, name {map}"},
              c_askSession,
              {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}",
               L"= not created, view 0, map 1, file 0, name {map}", L"MapViewOfFile Local\\{map} f001f 0 0 0",
               L"= not created, view 1, map 1, file 0, name {map}", L"OnMapped"}})));
    m_map.reset();
    EXPECT_TRUE(m_script.Is({L"= gone", L"UnmapViewOfFile view", L"CloseHandle Local\\{map}"}));
}

TEST_F(CProxyMapScript, AdoptsWhatHasComeBetweenOpenAndCreateBeforeItSaysSo)
{
    const ForeignMapping foreign(KernelName(), 5000, PAGE_READWRITE);
    const ViewWatch watch(m_script);
    m_script.Clear();
    m_script.Fail("OpenFileMappingW");
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"= not created, view 0, map 0, file 0, name {map}"},
         c_askSession,
         {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map} fails",
          L"FormatMessageW 5", L"trace CProxySecManager::OrvPOpenFileMapping Failed with <error 5>\n",
          L"FormatMessageW 5", L"trace CProxyMap::OpenMap Open returned: <error 5>\n",
          L"= created, view 0, map 0, file invalid, name {map}"},
         c_letEverybodyIn,
         c_askSession,
         {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
          L"CreateFileMappingW invalid everybody 4 0 5000 Local\\{map}",
          L"= not created, view 0, map 1, file invalid, name {map}",
          L"trace CProxyMap::Create created share {map} successfully \n", L"MapViewOfFile Local\\{map} f001f 0 0 0",
          L"= not created, view 1, map 1, file invalid, name {map}", L"OnMapped"}})));
}

TEST_F(CProxyMapScript, PutsAFileBehindTheMapping)
{
    const TemporaryFile file("");
    m_script.Rename(file.Path(), L"{file}");
    m_script.Clear();
    EXPECT_TRUE(m_map->Create(m_id, 5000, file.Path()));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"= not created, view 0, map 0, file 0, name {map}"},
         c_askSession,
         {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
         c_nothingToOpen,
         {L"= created, view 0, map 0, file invalid, name {map}", L"CreateFileW {file} c0000000 3 default 2 80",
          L"= created, view 0, map 0, file 1, name {map}"},
         c_letEverybodyIn,
         c_askSession,
         {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
          L"CreateFileMappingW {file} everybody 4 0 5000 Local\\{map}",
          L"= created, view 0, map 1, file 1, name {map}",
          L"trace CProxyMap::Create created share {map} successfully \n", L"MapViewOfFile Local\\{map} f001f 0 0 0",
          L"= created, view 1, map 1, file 1, name {map}", L"OnMapped"}})));
    m_map->Close();
    EXPECT_TRUE(m_script.Is({L"= not created, view 1, map 1, file 1, name {map}", L"UnmapViewOfFile view",
                             L"= not created, view 0, map 1, file 1, name {map}", L"CloseHandle Local\\{map}",
                             L"= not created, view 0, map 0, file 1, name {map}", L"CloseHandle {file}",
                             L"= not created, view 0, map 0, file 0, name {map}"}));
}

TEST_F(CProxyMapScript, GoesOnWithoutTheFile)
{
    m_script.Fail("CreateFileW");
    EXPECT_TRUE(m_map->Create(m_id, 5000, L"file"));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"= not created, view 0, map 0, file 0, name {map}"},
         c_askSession,
         {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
         c_nothingToOpen,
         {L"= created, view 0, map 0, file invalid, name {map}", L"CreateFileW file c0000000 3 default 2 80 fails"},
         c_letEverybodyIn,
         c_askSession,
         {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
          L"CreateFileMappingW invalid everybody 4 0 5000 Local\\{map}",
          L"= created, view 0, map 1, file invalid, name {map}",
          L"trace CProxyMap::Create created share {map} successfully \n", L"MapViewOfFile Local\\{map} f001f 0 0 0",
          L"= created, view 1, map 1, file invalid, name {map}", L"OnMapped"}})));
}

TEST_F(CProxyMapScript, GoesOnWithoutTheAccessList)
{
    m_script.Fail("SetSecurityDescriptorDacl");
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"= not created, view 0, map 0, file 0, name {map}"},
         c_askSession,
         {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
         c_nothingToOpen,
         {L"= created, view 0, map 0, file invalid, name {map}", L"InitializeSecurityDescriptor 1",
          L"SetSecurityDescriptorDacl 1 null 0 fails", L"FormatMessageW 1338",
          L"trace CProxySecManager::OrvPCreateACL OrvPCreateACL\n<error 1338>\n"},
         c_askSession,
         {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
          L"CreateFileMappingW invalid somebody 4 0 5000 Local\\{map}",
          L"= created, view 0, map 1, file invalid, name {map}",
          L"trace CProxyMap::Create created share {map} successfully \n", L"MapViewOfFile Local\\{map} f001f 0 0 0",
          L"= created, view 1, map 1, file invalid, name {map}", L"OnMapped"}})));
}

TEST_F(CProxyMapScript, SaysThatItCannotCreate)
{
    m_script.Fail("CreateFileMappingW");
    EXPECT_FALSE(m_map->Create(m_id, 0x200000005, nullptr));
    EXPECT_TRUE(m_script.Is(
        Join({{L"= not created, view 0, map 0, file 0, name {map}"},
              c_askSession,
              {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
              c_nothingToOpen,
              {L"= created, view 0, map 0, file invalid, name {map}"},
              c_letEverybodyIn,
              c_askSession,
              {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
               L"CreateFileMappingW invalid everybody 4 2 5 Local\\{map} fails", L"FormatMessageW 1455",
               L"trace CProxySecManager::OrvPCreateFileMapping Failed with <error 1455>\n", L"FormatMessageW 1455",
               L"trace CProxyMap::Create create share {map} failed\n<error 1455>\n"}})));
    m_map.reset();
    EXPECT_TRUE(m_script.Is({L"= gone"}));
}

TEST_F(CProxyMapScript, HasNoViewWhenItCannotBeMapped)
{
    m_script.Fail("MapViewOfFile");
    EXPECT_FALSE(m_map->Create(m_id, 5000, nullptr));
    EXPECT_TRUE(
        m_script.Is(Join({{L"= not created, view 0, map 0, file 0, name {map}"},
                          c_askSession,
                          {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
                          c_nothingToOpen,
                          {L"= created, view 0, map 0, file invalid, name {map}"},
                          c_letEverybodyIn,
                          c_askSession,
                          {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
                           L"CreateFileMappingW invalid everybody 4 0 5000 Local\\{map}",
                           L"= created, view 0, map 1, file invalid, name {map}",
                           L"trace CProxyMap::Create created share {map} successfully \n",
                           L"MapViewOfFile Local\\{map} f001f 0 0 0 fails"}})));
    m_map.reset();
    EXPECT_TRUE(m_script.Is({L"= gone", L"CloseHandle Local\\{map}"}));
}

TEST_F(CProxyMapScript, CloseMayComeOutOfOnMapped)
{
    m_map->refuses = true;
    EXPECT_FALSE(m_map->Create(m_id, 5000, nullptr));
    EXPECT_TRUE(m_script.Is(
        Join({{L"= not created, view 0, map 0, file 0, name {map}"},
              c_askSession,
              {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
              c_nothingToOpen,
              {L"= created, view 0, map 0, file invalid, name {map}"},
              c_letEverybodyIn,
              c_askSession,
              {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
               L"CreateFileMappingW invalid everybody 4 0 5000 Local\\{map}",
               L"= created, view 0, map 1, file invalid, name {map}",
               L"trace CProxyMap::Create created share {map} successfully \n",
               L"MapViewOfFile Local\\{map} f001f 0 0 0", L"= created, view 1, map 1, file invalid, name {map}",
               L"OnMapped", L"= not created, view 1, map 1, file invalid, name {map}", L"UnmapViewOfFile view",
               L"= not created, view 0, map 1, file invalid, name {map}", L"CloseHandle Local\\{map}",
               L"= not created, view 0, map 0, file invalid, name {map}"}})));
}

TEST_F(CProxyMapScript, DropsTheFirstMappingBeforeTheSecond)
{
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    m_script.Clear();
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"= not created, view 1, map 1, file invalid, name {map}", L"UnmapViewOfFile view",
          L"= not created, view 0, map 1, file invalid, name {map}", L"CloseHandle Local\\{map}",
          L"= not created, view 0, map 0, file invalid, name {map}"},
         c_askSession,
         {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
         c_nothingToOpen,
         {L"= created, view 0, map 0, file invalid, name {map}"},
         c_letEverybodyIn,
         c_askSession,
         {L"trace CProxySecManager::OrvPCreateFileMapping Create Named File Map: Local\\{map}\n",
          L"CreateFileMappingW invalid everybody 4 0 5000 Local\\{map}",
          L"= created, view 0, map 1, file invalid, name {map}",
          L"trace CProxyMap::Create created share {map} successfully \n", L"MapViewOfFile Local\\{map} f001f 0 0 0",
          L"= created, view 1, map 1, file invalid, name {map}", L"OnMapped"}})));
}

TEST_F(CProxyMapScript, KeepsItsIdUntilTheFirstMappingIsGone)
{
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    const uint32_t other = FreshId();
    m_script.Rename(m_base + contract::PaddedHex(other), L"{other}");
    m_script.NameProcess(other, L"{id}");
    m_script.WatchState([this] { return m_map->Id() == m_id ? L"first id" : L"second id"; });
    m_script.Clear();
    EXPECT_EQ(nullptr, m_map->OpenMap(other));
    EXPECT_TRUE(m_script.Is(
        Join({{L"UnmapViewOfFile view", L"CloseHandle Local\\{map}", L"= second id"},
              c_askSession,
              {L"trace CProxyMap::OpenMap Open Map Name: {other}\n", L"OpenFileMappingW 6 0 Local\\{other}"},
              c_nothingToOpen})));
}

TEST_F(CProxyMapScript, OpensWhatIsThere)
{
    const ForeignMapping foreign(KernelName(), 5000, PAGE_READWRITE);
    m_script.Clear();
    EXPECT_TRUE(m_map->Open(m_id));
    EXPECT_TRUE(m_script.Is(
        Join({{L"= not created, view 0, map 0, file 0, name {map}"},
              c_askSession,
              {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}",
               L"= not created, view 0, map 1, file 0, name {map}",
               L"trace CProxyMap::Open opened share {map} successfully\n", L"MapViewOfFile Local\\{map} f001f 0 0 0",
               L"= not created, view 1, map 1, file 0, name {map}", L"OnMapped"}})));
}

TEST_F(CProxyMapScript, SaysThatItCannotOpen)
{
    EXPECT_FALSE(m_map->Open(m_id));
    EXPECT_TRUE(
        m_script.Is(Join({{L"= not created, view 0, map 0, file 0, name {map}"},
                          c_askSession,
                          {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}"},
                          c_nothingToOpen,
                          {L"FormatMessageW 2", L"trace CProxyMap::Open failed to open share {map}\n<error 2>\n"}})));
}

TEST_F(CProxyMapScript, SaysBothWhenWhatItHasOpenedCannotBeMapped)
{
    const ForeignMapping foreign(KernelName(), 5000, PAGE_READWRITE);
    m_script.Clear();
    m_script.Fail("MapViewOfFile");
    EXPECT_FALSE(m_map->Open(m_id));
    EXPECT_TRUE(m_script.Is(Join(
        {{L"= not created, view 0, map 0, file 0, name {map}"},
         c_askSession,
         {L"trace CProxyMap::OpenMap Open Map Name: {map}\n", L"OpenFileMappingW 6 0 Local\\{map}",
          L"= not created, view 0, map 1, file 0, name {map}",
          L"trace CProxyMap::Open opened share {map} successfully\n", L"MapViewOfFile Local\\{map} f001f 0 0 0 fails",
          L"FormatMessageW 8", L"trace CProxyMap::Open failed to open share {map}\n<error 8>\n"}})));
}

TEST_F(CProxyMapScript, OpenMapGivesTheHandleAlone)
{
    const ForeignMapping foreign(KernelName(), 5000, PAGE_READWRITE);
    m_script.Clear();
    CloseHandle(m_map->OpenMap(m_id));
    EXPECT_TRUE(m_script.Is(Join({{L"= not created, view 0, map 0, file 0, name {map}"},
                                  c_askSession,
                                  {L"trace CProxyMap::OpenMap Open Map Name: {map}\n",
                                   L"OpenFileMappingW 6 0 Local\\{map}", L"CloseHandle Local\\{map}"}})));
}

TEST_F(CProxyMapScript, MapsOnce)
{
    EXPECT_TRUE(m_map->Create(m_id, 5000, nullptr));
    m_script.Clear();
    m_map->MapView();
    m_map->GetView();
    EXPECT_TRUE(m_script.Is({}));
}
