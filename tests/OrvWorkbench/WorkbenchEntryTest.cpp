#include "tests/OrvWorkbench/WorkbenchFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/contract/LogFile.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

using contract::Join;
using testing::Contains;
using testing::ElementsAreArray;
using testing::IsEmpty;

// The command line, the exit codes and the log file of the workbench.

namespace
{
// An argument, and the id that the workbench should read from it.
struct IdCase
{
    const wchar_t* argument;
    uint32_t id;
};

std::vector<std::wstring> LinesWith(const std::wstring& head)
{
    std::vector<std::wstring> found;
    for (const std::wstring& line : WorkbenchRun::Log())
    {
        if (line.compare(0, head.size(), head) == 0)
            found.push_back(line);
    }
    return found;
}
} // namespace

TEST_F(OrvWorkBench64, DoesNothingWhenArgumentsAreMissing)
{
    Prepare(WorkbenchRuntime::Scripted);
    for (const wchar_t* arguments : {L"", L"workbench", L"\"workbench 1a2b\""})
    {
        Process().Start(arguments);
        EXPECT_EQ(0U, Process().WaitForExit());
        EXPECT_FALSE(WorkbenchRun::HasLog());
    }
    EXPECT_THAT(Process().Record(), IsEmpty());
}

TEST_F(OrvWorkBench64, LeavesTheLogOfAnEarlierRunAloneWhenArgumentsAreMissing)
{
    Prepare(WorkbenchRuntime::Scripted);
    WriteFileBytes(WorkbenchRun::c_logPath, "an earlier run");
    Process().Start(L"workbench");
    EXPECT_EQ(0U, Process().WaitForExit());
    EXPECT_EQ("an earlier run", WorkbenchRun::LogBytes());
}

TEST_F(OrvWorkBench64, RunsWithThreeArgumentsWhateverTheModeWord)
{
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    for (const wchar_t* word : {L"workbench", L"WORKBENCH", L"WorkBench", L"profiler", L"\"\"", L"workbench2"})
    {
        const size_t before = m_client.Messages().size();
        Process().Start(word + (L" " + m_client.HexId()));
        EXPECT_EQ(before + 1, m_client.WaitForMessages(before + 1).size());
        EXPECT_EQ(8U, m_client.Carry(1, L"x"));
        Stop();
        Lines expected =
            Join({StartLines(), CommandLines(1, L"x", L"succeeded, result = ActionSuccess"), StopLines()});
        expected[14] = L"wmain  arg 1 = " + (word[0] == L'"' ? std::wstring() : std::wstring(word));
        EXPECT_TRUE(LogIs(expected));
    }
}

TEST_F(OrvWorkBench64, ReadsTheIdAsHexadecimal)
{
    const IdCase cases[] = {
        {L"1a2b", 0x1A2B},
        {L"1A2B", 0x1A2B},
        {L"0x1a2b", 0x1A2B},
        {L"0001a2b", 0x1A2B},
        {L"\" 1a2b\"", 0x1A2B},
        {L"1a2bxyz", 0x1A2B},
        {L"12.5", 0x12},
        {L"xyz", 0},
        {L"\"\"", 0},
        {L"-1", 0xFFFFFFFF},
        {L"7fffffff", 0x7FFFFFFF},
        // More than a long holds.
        {L"80000000", 0x7FFFFFFF},
        {L"ffffffffff", 0x7FFFFFFF},
    };
    Prepare(WorkbenchRuntime::Scripted);
    for (const IdCase& one : cases)
    {
        SCOPED_TRACE(testing::PrintToString(std::wstring(one.argument)));
        InProcessClient client(one.id);
        client.MakeShare();
        Process().Start(L"workbench " + std::wstring(one.argument));
        EXPECT_EQ(1U, Process().WaitForExit());
        const Lines events = EventLines(client.HexId());
        EXPECT_THAT(LinesWith(L"CProxySecManager::OrvPCreateEvent "), ElementsAreArray(events));
        EXPECT_THAT(WorkbenchRun::Log(), Contains(L"CProxyMap::OpenMap Open Map Name: " + client.ShareName()));
        EXPECT_THAT(WorkbenchRun::Log(), Contains(L"CHost::Init Opened share for pid = " + client.HexId()));
        EXPECT_EQ(9U, client.WaitForResponse());
    }
}

TEST_F(OrvWorkBench64, NamesItsEventsAndItsShareAfterTheId)
{
    InProcessClient client(0x1A2B);
    client.MakeShare();
    Prepare(WorkbenchRuntime::Scripted);
    Process().Start(L"workbench 1a2b");
    EXPECT_EQ(1U, Process().WaitForExit());
    EXPECT_THAT(LinesWith(L"CProxySecManager::OrvPCreateEvent "), ElementsAreArray(EventLines(L"1a2b")));
    EXPECT_THAT(WorkbenchRun::Log(), Contains(L"CProxyMap::OpenMap Open Map Name: OrvProfiler00001a2b"));
}

TEST_F(OrvWorkBench64, LogsFurtherArgumentsAndDoesNothingElseWithThem)
{
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    Process().Start(L"workbench " + m_client.HexId() +
                    L" third \"two words\" \"\" c:\\windows\\*.exe ? %s%d \\\"quoted\\\" \x20AC\x4E2D /?");
    m_client.WaitForMessages(1);
    Stop();
    const Lines arguments{
        L"wmain  arg 3 = third",      L"wmain  arg 4 = two words",
        L"wmain  arg 5 = ",           L"wmain  arg 6 = c:\\windows\\*.exe",
        L"wmain  arg 7 = ?",          L"wmain  arg 8 = %s%d",
        L"wmain  arg 9 = \"quoted\"", L"wmain  arg 10 = \x20AC\x4E2D",
        L"wmain  arg 11 = /?",
    };
    Lines expected = Join({StartLines(), StopLines()});
    expected.insert(expected.begin() + 16, arguments.begin(), arguments.end());
    EXPECT_TRUE(LogIs(expected));
}

TEST_F(OrvWorkBench64, NamesTheAssemblyAfterItsOwnNameOnTheCommandLine)
{
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"OrvWorkBench64.exe", "OrvWorkBench64.dll"},
        {L"OrvWorkBench64", "OrvWorkBench64.dll"},
        {L".\\OrvWorkBench64", "OrvWorkBench64.dll"},
        {L"c:\\dotted.folder\\OrvWorkBench64", "OrvWorkBench64.dll"},
        {L"\"c:\\other folder\\My Bench.2.EXE\"", "My Bench.2.dll"},
    };
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    for (const auto& [program, assembly] : cases)
    {
        const size_t before = m_client.Messages().size();
        Process().StartWithCommandLine(program + (L" workbench " + m_client.HexId()));
        m_client.WaitForMessages(before + 1);
        EXPECT_EQ(8U, m_client.Carry(1, L"x"));
        Stop();
        EXPECT_EQ("execute assembly=\"" + std::string(assembly) +
                      "\" type=\"OrvWorkBench.CInvoke\" method=\"LoadAssembly\" argument=\"x\"",
                  Process().Record().at(Process().Record().size() - 2));
    }
}

TEST_F(OrvWorkBench64, WritesItsLogAsUtf16WithByteOrderMarkAndDosLineEnds)
{
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(8U, m_client.Carry(1, L"\x20AC"));
    Stop();
    const std::string log = WorkbenchRun::LogBytes();
    EXPECT_EQ("\xFF\xFE", log.substr(0, 2));
    EXPECT_EQ(std::string("\r\0\n\0\r\0\n\0", 8), log.substr(log.size() - 8)) << "the last line and an empty one";
    EXPECT_NE(std::string::npos, log.find(std::string(":\0 \0\xAC\x20\r\0\n\0", 10)));
    EXPECT_EQ(std::string::npos, log.find("\xFF\xFE", 2)) << "one mark, at the start";
    // Each line feed has its carriage return, and each time is right-aligned in six columns.
    std::wstring line;
    for (const wchar_t unit : LogText(log))
    {
        line += unit;
        if (unit != L'\n')
            continue;
        ASSERT_LE(2U, line.size());
        EXPECT_EQ(L'\r', line[line.size() - 2]);
        EXPECT_TRUE(line.size() == 2 || !WithoutTime(line).empty());
        line.clear();
    }
    EXPECT_EQ(L"", line);
}

TEST_F(OrvWorkBench64, TruncatesTheLogOfAnEarlierRun)
{
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    WriteFileBytes(WorkbenchRun::c_logPath, std::string(1000000, 'x'));
    Start();
    m_client.WaitForMessages(1);
    Stop();
    EXPECT_TRUE(LogIs(Join({StartLines(), StopLines()})));
}

TEST_F(OrvWorkBench64, HasEachLineInTheLogAtOnce)
{
    // The workbench waits for the window's answer: what it has logged so far must be in the file, without any delay.
    std::vector<Lines> seen;
    m_client.WhenIdle([&] {
        seen.push_back(WorkbenchRun::Log());
        m_client.Clear(8);
    });
    StartServing(WorkbenchRuntime::Scripted);
    EXPECT_EQ(8U, m_client.Carry(3, L"first"));
    EXPECT_EQ(8U, m_client.Carry(7, L"second"));
    Stop();
    const Lines first = Join({StartLines(), CommandLines(3, L"first", L"succeeded, result = ActionSuccess")});
    const Lines second = Join({first, CommandLines(7, L"second", L"succeeded, result = ActionSuccess")});
    constexpr size_t afterIdle = 5; // lines of a command after the one that announces the message
    ASSERT_EQ(2U, seen.size());
    EXPECT_THAT(seen[0], ElementsAreArray(first.begin(), first.end() - afterIdle));
    EXPECT_THAT(seen[1], ElementsAreArray(second.begin(), second.end() - afterIdle));
}

TEST_F(OrvWorkBench64, ServesAlsoWhenItsLogCannotBeOpened)
{
    m_client.MakeShareAndWindow();
    Prepare(WorkbenchRuntime::Scripted);
    WriteFileBytes(WorkbenchRun::c_logPath, "locked");
    {
        const UniqueHandle locked =
            UniqueHandle::FromFile(CreateFileW(WorkbenchRun::c_logPath, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        Start();
        m_client.WaitForMessages(1);
        EXPECT_EQ(8U, m_client.Carry(3, L"x"));
        Stop();
    }
    EXPECT_EQ("locked", WorkbenchRun::LogBytes());
    EXPECT_THAT(Process().Record(), ElementsAreArray(RecordOf({CallWithBreakpoint("Invoke", "x")})));
}
