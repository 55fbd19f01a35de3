#include "client/evidence/EvidenceFolder.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace
{
std::wstring NameOf(const EvidenceFolder& folder)
{
    const std::wstring path = folder.Path().substr(0, folder.Path().size() - 1);
    return path.substr(path.find_last_of(L'\\') + 1);
}

std::string Narrow(const std::wstring& text)
{
    return std::string(text.begin(), text.end());
}
} // namespace

TEST(ClientEvidenceFolder, IsMadeWithAllThatItLiesIn)
{
    const TemporaryFolder place;
    const EvidenceFolder folder(place.PathOf(L"a\\b\\"), 5120);
    EXPECT_TRUE(folder.Failure().empty());
    EXPECT_TRUE(PathExists(folder.Path()));
    EXPECT_THAT(Narrow(folder.Path()), StartsWith(Narrow(place.PathOf(L"a\\b\\"))));
    EXPECT_THAT(Narrow(NameOf(folder)), MatchesRegex("\\d\\d\\d\\d-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\d_5120"));
}

TEST(ClientEvidenceFolder, ItsNameIsTheTimeInUtc)
{
    const TemporaryFolder place;
    SYSTEMTIME before{};
    GetSystemTime(&before);
    const EvidenceFolder folder(place.Path() + L"\\", 1);
    wchar_t hour[32];
    swprintf(hour, 32, L"%04u-%02u-%02u_", before.wYear, before.wMonth, before.wDay);
    EXPECT_THAT(Narrow(NameOf(folder)), StartsWith(Narrow(hour)));
}

TEST(ClientEvidenceFolder, KeepsTheNewest)
{
    const TemporaryFolder place;
    for (int year = 2001; year <= 2010; ++year)
    {
        const std::wstring old = place.MakeFolder(std::to_wstring(year) + L"-01-01_00-00-00_1");
        WriteFileBytes(old + L"\\report.txt", "old");
        WriteFileBytes(old + L"\\workbench.dmp", "old");
    }
    const EvidenceFolder folder(place.Path() + L"\\", 1);
    EXPECT_FALSE(PathExists(place.PathOf(L"2001-01-01_00-00-00_1")));
    for (int year = 2002; year <= 2010; ++year)
        EXPECT_TRUE(PathExists(place.PathOf(std::to_wstring(year) + L"-01-01_00-00-00_1\\report.txt"))) << year;
    EXPECT_TRUE(PathExists(folder.Path()));
}

TEST(ClientEvidenceFolder, RemovesNothingElse)
{
    const TemporaryFolder place;
    for (const wchar_t* name : {L"notes", L"0000-00-00_00-00-00_", L"0000-00-00_00-00-00_1x",
                                L"0000-00-00 00-00-00_1", L"000x-00-00_00-00-00_1"})
        place.MakeFolder(name);
    // A file of the name of a folder; and a folder in which somebody keeps something.
    place.MakeFile(L"0000-00-00_00-00-00_7");
    WriteFileBytes(place.MakeFolder(L"0001-01-01_00-00-00_1") + L"\\my notes.txt", "mine");
    for (int year = 2001; year <= 2012; ++year)
        place.MakeFolder(std::to_wstring(year) + L"-01-01_00-00-00_1");
    const EvidenceFolder folder(place.Path() + L"\\", 1);
    for (const wchar_t* name : {L"notes", L"0000-00-00_00-00-00_", L"0000-00-00_00-00-00_1x",
                                L"0000-00-00 00-00-00_1", L"000x-00-00_00-00-00_1", L"0000-00-00_00-00-00_7"})
        EXPECT_TRUE(PathExists(place.PathOf(name))) << Narrow(name);
    EXPECT_TRUE(PathExists(place.PathOf(L"0001-01-01_00-00-00_1\\my notes.txt")));
    EXPECT_FALSE(PathExists(place.PathOf(L"2003-01-01_00-00-00_1")));
    EXPECT_TRUE(PathExists(place.PathOf(L"2004-01-01_00-00-00_1")));
}

// The clock was set back: by their names the others are newer.
TEST(ClientEvidenceFolder, IsNotItsOwnVictim)
{
    const TemporaryFolder place;
    for (int year = 9001; year <= 9010; ++year)
        place.MakeFolder(std::to_wstring(year) + L"-01-01_00-00-00_1");
    const EvidenceFolder folder(place.Path() + L"\\", 1);
    EXPECT_TRUE(PathExists(folder.Path()));
}

TEST(ClientEvidenceFolder, TellsWhyItCannotBeMade)
{
    const TemporaryFolder place;
    const std::wstring file = place.MakeFile(L"file");
    const EvidenceFolder folder(file + L"\\", 1);
    EXPECT_EQ(L"", folder.Path());
    EXPECT_THAT(Narrow(folder.Failure()), HasSubstr("_1 cannot be made: "));
}

TEST(ClientEvidenceFolder, WritesAndRemovesFiles)
{
    const TemporaryFolder place;
    const EvidenceFolder folder(place.Path() + L"\\", 1);
    EXPECT_TRUE(folder.Write(c_evidenceOutputFile, "first, longer"));
    EXPECT_TRUE(folder.Write(c_evidenceOutputFile, "second"));
    EXPECT_EQ("second", FileBytes(folder.Path() + L"output.txt"));
    folder.Remove(c_evidenceOutputFile);
    EXPECT_FALSE(PathExists(folder.Path() + L"output.txt"));
    CreateDirectoryW((folder.Path() + L"output.txt").c_str(), nullptr);
    EXPECT_FALSE(folder.Write(c_evidenceOutputFile, "third"));
}
