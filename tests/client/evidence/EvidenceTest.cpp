#include "client/evidence/Evidence.h"

#include "tests/support/processes/RestingProcess.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{
constexpr uint32_t c_clientId = 0x1A2C;

Evidence::End EndOf(uint32_t processId)
{
    Evidence::End end;
    end.message = L"it was lost";
    end.processId = processId;
    // After whatever another test has left of a log.
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    end.startTime = (static_cast<uint64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime) + 3600ULL * 10000000;
    return end;
}

void Tell(const Evidence& evidence, const std::string& text)
{
    AddFileBytes(evidence.Variable().second, text);
}
} // namespace

TEST(ClientEvidence, NamesItsFileToTheWorkbench)
{
    const TemporaryFolder place;
    const Evidence evidence(place.Path() + L"\\", L"", c_clientId);
    EXPECT_EQ(L"ORV_WORKBENCH_EVIDENCE", evidence.Variable().first);
    EXPECT_TRUE(PathExists(evidence.Variable().second));
}

TEST(ClientEvidence, LeavesNothingWithoutALoss)
{
    const TemporaryFolder place;
    {
        Evidence evidence(place.PathOf(L"none") + L"\\", L"", c_clientId);
        evidence.OnCommand(L"get x", L"");
        evidence.OnOutput(L"line");
        evidence.OnCommandEnd();
    }
    EXPECT_FALSE(PathExists(place.PathOf(L"none")));
}

TEST(ClientEvidence, OfAProcessThatIsThereHasAllParts)
{
    const TemporaryFolder place;
    const ChildProcess child = StartRestingProcess();
    Evidence evidence(place.Path() + L"\\", L"", c_clientId);
    evidence.OnCommand(L"get x", L"a.txt:2");
    evidence.OnOutput(L"Küche");
    Tell(evidence, "runtime: R\ncommand: get x\nmethod: int X.Y()\nend\n");
    evidence.LookAt(child.Handle(), child.Id(), 1000);
    child.Kill();
    Evidence::End end = EndOf(child.Id());
    end.debugOutput = L"1 one\r\n2 two\r\n";
    const Evidence::Left left = evidence.Leave(end);
    ASSERT_EQ(L"", left.failure);
    EXPECT_THAT(FileBytes(left.folder + L"workbench.dmp"), StartsWith("MDMP"));
    EXPECT_EQ("command: get x\nmethod: int X.Y()\nend\n", FileBytes(left.folder + L"stacks.txt"));
    EXPECT_EQ("Küche\r\n", FileBytes(left.folder + L"output.txt"));
    EXPECT_EQ(std::string("\xFF\xFE"
                          "1\0 \0o\0",
                          8),
              FileBytes(left.folder + L"trace.log").substr(0, 8));
    const std::string report = FileBytes(left.folder + L"report.txt");
    EXPECT_THAT(report, StartsWith("A call to the workbench was lost: it was lost\r\n"));
    EXPECT_THAT(report, HasSubstr("\r\nCommand    get x (a.txt:2)\r\n"));
    EXPECT_THAT(report, HasSubstr("\r\nMethod     int X.Y()\r\n"));
    EXPECT_THAT(report, HasSubstr(" of client 1a2c, was there, and was looked at\r\n"));
    EXPECT_THAT(report, HasSubstr("\r\nThe trace log ends with\r\n  1 one\r\n  2 two\r\n"));
    for (const char* file : {"stacks.txt", "workbench.dmp", "trace.log", "output.txt"})
        EXPECT_THAT(report, HasSubstr(file));
}

TEST(ClientEvidence, OfAProcessThatIsGoneHasWhatIsLeft)
{
    const TemporaryFolder place;
    Evidence evidence(place.Path() + L"\\", L"", c_clientId);
    evidence.OnCommand(L"get x", L"");
    Evidence::End end = EndOf(77);
    end.exitCode = 42;
    const Evidence::Left left = evidence.Leave(end);
    EXPECT_THAT(std::string(left.folder.begin(), left.folder.end()), EndsWith("_77\\"));
    for (const wchar_t* file : {L"workbench.dmp", L"stacks.txt", L"trace.log", L"output.txt"})
        EXPECT_FALSE(PathExists(left.folder + file));
    const std::string report = FileBytes(left.folder + L"report.txt");
    EXPECT_THAT(report, HasSubstr(", gone: its exit code is 42: "));
    EXPECT_THAT(report, HasSubstr("(no dump)      the process was gone before it could be looked at\r\n"));
    EXPECT_THAT(report, HasSubstr("\r\nThere is no trace log: "));
}

TEST(ClientEvidence, ACommandThatIsOverIsNotTheLostOne)
{
    const TemporaryFolder place;
    Evidence evidence(place.Path() + L"\\", L"", c_clientId);
    evidence.OnCommand(L"get x", L"");
    evidence.OnCommandEnd();
    EXPECT_THAT(FileBytes(evidence.Leave(EndOf(1)).folder + L"report.txt"), Not(HasSubstr("get x")));
}

TEST(ClientEvidence, LooksOnce)
{
    const TemporaryFolder place;
    const ChildProcess child = StartRestingProcess();
    Evidence evidence(place.Path() + L"\\", L"", c_clientId);
    evidence.LookAt(child.Handle(), child.Id(), 0);
    child.Kill();
    evidence.LookAt(child.Handle(), child.Id(), 0);
    EXPECT_TRUE(PathExists(evidence.Leave(EndOf(child.Id())).folder + L"workbench.dmp"));
}

TEST(ClientEvidence, ADumpThatFailsIsNotLeft)
{
    const TemporaryFolder place;
    const ChildProcess child = StartRestingProcess();
    child.Kill();
    Evidence evidence(place.Path() + L"\\", L"", c_clientId);
    evidence.LookAt(child.Handle(), child.Id(), 0);
    const Evidence::Left left = evidence.Leave(EndOf(child.Id()));
    EXPECT_FALSE(PathExists(left.folder + L"workbench.dmp"));
    EXPECT_THAT(FileBytes(left.folder + L"report.txt"), HasSubstr("(no dump)      the dump cannot be written: "));
}

TEST(ClientEvidence, KeepsTheEndOfALongOutput)
{
    const TemporaryFolder place;
    Evidence evidence(place.Path() + L"\\", L"", c_clientId);
    for (int i = 0; i < 30000; ++i)
        evidence.OnOutput(std::to_wstring(1000000 + i) + L" and forty-one characters more than that");
    evidence.OnOutput(std::wstring(3 << 20, L'x'));
    evidence.OnOutput(L"last");
    const std::string output = FileBytes(evidence.Leave(EndOf(1)).folder + L"output.txt");
    EXPECT_GE(Evidence::c_keptOutput + 8, output.size());
    EXPECT_LE(Evidence::c_keptOutput / 2, output.size());
    EXPECT_THAT(output, EndsWith("x\r\nlast\r\n"));
}

TEST(ClientEvidence, TellsWhyItCannotBeLeft)
{
    const TemporaryFolder place;
    const ChildProcess child = StartRestingProcess();
    Evidence evidence(place.MakeFile(L"file") + L"\\", L"", c_clientId);
    evidence.LookAt(child.Handle(), child.Id(), 0);
    const Evidence::Left left = evidence.Leave(EndOf(child.Id()));
    EXPECT_EQ(L"", left.folder);
    EXPECT_THAT(std::string(left.failure.begin(), left.failure.end()), HasSubstr(" cannot be made: "));
}
