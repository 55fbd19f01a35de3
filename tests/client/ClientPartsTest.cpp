// The parts of the client, each by itself.

#include "client/base/ClientError.h"
#include "client/base/Text.h"
#include "client/input/LineSource.h"
#include "client/process/OutputPipe.h"
#include "client/reports/Hints.h"
#include "client/session/Command.h"
#include "client/session/NotifyWindow.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/client/ClientFailure.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{
void Put(HANDLE pipe, const std::string& bytes)
{
    DWORD written = 0;
    WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}
} // namespace

// Commands

TEST(ClientCommand, WordsStandForTheirEvents)
{
    const struct
    {
        const wchar_t* line;
        uint32_t event;
        bool passesBreakpoint;
    } cases[] = {
        {L"stop", 0, false},   {L"load", 1, false},  {L"create", 2, true}, {L"invoke", 3, true},
        {L"delete", 4, false}, {L"reset", 5, false}, {L"get", 6, true},    {L"set", 7, true},
    };
    for (const auto& expected : cases)
    {
        const Command command = ParseCommand(expected.line);
        EXPECT_STREQ(expected.line, command.word->word);
        EXPECT_EQ(expected.event, command.word->event) << expected.line;
        EXPECT_EQ(expected.passesBreakpoint, command.word->passesBreakpoint) << expected.line;
        EXPECT_EQ(L"", command.text);
    }
}

TEST(ClientCommand, TextBeginsAfterTheBlanksAndIsNotTouched)
{
    const struct
    {
        const wchar_t* line;
        const wchar_t* text;
    } cases[] = {
        {L"load a", L"a"},     {L"  LOAD \t a", L"a"},
        {L"load a ", L"a "},   {L"load a\tb  c", L"a\tb  c"},
        {L"load # x", L"# x"}, {L"load \"a b\"", L"\"a b\""},
        {L"load ", L""},       {L"load \x65E5 \x672C", L"\x65E5 \x672C"},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(expected.text, ParseCommand(expected.line).text) << testing::PrintToString(expected.line);
}

TEST(ClientCommand, LineWithoutAKnownWordIsBadUsage)
{
    for (const wchar_t* line : {L"", L"   ", L"loads x", L"x", L"load_x", L"stop;", L"#load"})
        EXPECT_EQ(2, FailureOf([&] { ParseCommand(line); }).second) << testing::PrintToString(line);
    EXPECT_EQ(L"unknown command \"loads\"; the commands are load, create, invoke, get, set, delete, reset, stop",
              FailureOf([] { ParseCommand(L"loads x"); }).first);
}

TEST(ClientCommand, TextEndsOneUnitBeforeTheControlBlock)
{
    EXPECT_EQ(35225U, CommandTextLimit());
    EXPECT_EQ(35225U, ParseCommand(L"get " + std::wstring(35225, L'x')).text.size());
    const auto failure = FailureOf([] { ParseCommand(L"get " + std::wstring(35226, L'x')); });
    EXPECT_EQ(L"the command text has 35226 characters, at most 35225 fit the control block", failure.first);
    EXPECT_EQ(2, failure.second);
}

TEST(ClientCommand, NulInTheTextIsRefused)
{
    const std::wstring line(L"get a\0b", 7);
    EXPECT_EQ(2, FailureOf([&] { ParseCommand(line); }).second);
}

TEST(ClientCommand, FirstWordIsInLowerCase)
{
    EXPECT_EQ(L"help", FirstWordOf(L"  HeLp me"));
    EXPECT_EQ(L"", FirstWordOf(L" \t"));
}

// Text

TEST(ClientTextConversion, IsUtf8Outside)
{
    EXPECT_EQ("a\xC3\xA4\xE6\x97\xA5\xF0\x9F\x8E\x88", ToUtf8(L"a\x00E4\x65E5\xD83C\xDF88"));
    EXPECT_EQ(L"a\x00E4\x65E5\xD83C\xDF88", FromUtf8("a\xC3\xA4\xE6\x97\xA5\xF0\x9F\x8E\x88").value());
    EXPECT_EQ("", ToUtf8(L""));
    EXPECT_EQ(L"", FromUtf8("").value());
}

TEST(ClientTextConversion, LoneSurrogateIsReplaced)
{
    EXPECT_EQ("\xEF\xBF\xBD", ToUtf8(L"\xD83C"));
}

TEST(ClientTextConversion, BytesThatAreNotUtf8AreNoText)
{
    for (const char* bytes : {"\xFF", "a\xC3", "\xC0\x80", "\xED\xA0\x80"})
        EXPECT_FALSE(FromUtf8(bytes).has_value()) << testing::PrintToString(bytes);
}

TEST(ClientTextConversion, ProgramOutputThatIsNotUtf8IsStillText)
{
    EXPECT_EQ(L"\x65E5", FromProgramOutput("\xE6\x97\xA5"));
    const std::wstring other = FromProgramOutput("a\xE4z");
    EXPECT_EQ(3U, other.size());
    EXPECT_EQ(L'a', other.front());
    EXPECT_EQ(L'z', other.back());
}

// Lines of output

TEST(ClientLines, EndWithLineFeed)
{
    LineCutter lines;
    EXPECT_THAT(lines.Feed("one\ntw"), ElementsAre(L"one"));
    EXPECT_THAT(lines.Feed("o\r\n\nthr"), ElementsAre(L"two", L""));
    EXPECT_THAT(lines.Feed(""), IsEmpty());
    EXPECT_EQ(L"thr", lines.TakeRest());
    EXPECT_EQ(L"", lines.TakeRest());
}

TEST(ClientLines, CharacterMayComeInPieces)
{
    LineCutter lines;
    EXPECT_THAT(lines.Feed("\xE6\x97"), IsEmpty());
    EXPECT_THAT(lines.Feed("\xA5\n"), ElementsAre(L"\x65E5"));
}

TEST(ClientLines, ByteOrderMarkAtTheStartIsNoText)
{
    LineCutter lines;
    EXPECT_THAT(lines.Feed("\xEF\xBB\xBF"
                           "a\n\xEF\xBB\xBF"
                           "b\n"),
                ElementsAre(L"a", L"\xFEFF"
                                  L"b"));
}

// The output pipe

TEST(ClientOutputPipe, GivesAtOnceWhatWasWrittenBefore)
{
    OutputPipe pipe;
    EXPECT_EQ("", pipe.Take());
    for (int i = 0; i < 200; ++i)
    {
        const std::string line = "line " + std::to_string(i) + "\n";
        Put(pipe.WriteEnd(), line);
        ASSERT_EQ(line, pipe.Take());
    }
    EXPECT_TRUE(pipe.IsOpen());
}

TEST(ClientOutputPipe, SignalsArrivalAndEnd)
{
    OutputPipe pipe;
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(pipe.Arrival(), 0));
    Put(pipe.WriteEnd(), "x");
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(pipe.Arrival(), 10000));
    EXPECT_EQ("x", pipe.Take());
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(pipe.Arrival(), 0));
    pipe.CloseWriteEnd();
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(pipe.Arrival(), 10000));
    EXPECT_EQ("", pipe.Take());
    EXPECT_FALSE(pipe.IsOpen());
    EXPECT_EQ(nullptr, pipe.Arrival());
}

TEST(ClientOutputPipe, TakesMoreThanItsBufferHolds)
{
    OutputPipe pipe;
    const std::string sent(1000000, 'x');
    std::thread writer([&] {
        Put(pipe.WriteEnd(), sent);
        pipe.CloseWriteEnd();
    });
    std::string taken;
    while (pipe.IsOpen())
    {
        WaitForSingleObject(pipe.Arrival(), 10000);
        taken += pipe.Take();
    }
    writer.join();
    EXPECT_EQ(sent, taken);
}

TEST(ClientOutputPipe, LeavesNoHandles)
{
    OutputPipe().Take(); // whatever the system keeps from a first use
    const unsigned before = OpenHandleCount();
    OutputPipe().Take();
    EXPECT_EQ(before, OpenHandleCount());
}

// The notification window

TEST(ClientNotifyWindow, AnswersTheWorkbenchsMessagesAndHandsThemOn)
{
    std::vector<uint32_t> messages;
    NotifyWindow window([&](uint32_t message) { messages.push_back(message); });
    ASSERT_NE(nullptr, window.Handle());
    EXPECT_EQ(1, SendMessageW(window.Handle(), 0x8407, 0, 0));
    EXPECT_EQ(1, SendMessageW(window.Handle(), 0x83EB, 0, 0));
    PostMessageW(window.Handle(), 0x83F0, 0, 0);
    EXPECT_THAT(messages, ElementsAre(0x8407U, 0x83EBU));
    window.Pump();
    EXPECT_THAT(messages, ElementsAre(0x8407U, 0x83EBU, 0x83F0U));
}

TEST(ClientNotifyWindow, LeavesOtherMessagesAlone)
{
    std::vector<uint32_t> messages;
    const NotifyWindow window([&](uint32_t message) { messages.push_back(message); });
    EXPECT_EQ(0, SendMessageW(window.Handle(), 0x8406, 0, 0));
    EXPECT_THAT(messages, IsEmpty());
}

// Scripts

TEST(ClientScriptFile, LinesCarryTheirPlace)
{
    const TemporaryFile file("one\r\n\ntwo", L"x.orv");
    const std::vector<ScriptLine> lines = ReadScript(file.Path());
    ASSERT_EQ(3U, lines.size());
    EXPECT_EQ(L"one", lines[0].text);
    EXPECT_EQ(L"", lines[1].text);
    EXPECT_EQ(L"two", lines[2].text);
    EXPECT_EQ(std::wstring(file.Path()) + L":3", lines[2].where);
}

TEST(ClientScriptFile, EncodingIsToldByTheMark)
{
    const TemporaryFile plain("\xE6\x97\xA5\n");
    EXPECT_EQ(L"\x65E5", ReadScript(plain.Path()).at(0).text);
    const TemporaryFile marked("\xEF\xBB\xBF\xE6\x97\xA5\n");
    EXPECT_EQ(L"\x65E5", ReadScript(marked.Path()).at(0).text);
    const TemporaryFile wide(std::string("\xFF\xFE\xE5\x65\r\0\n\0x\0", 10));
    const std::vector<ScriptLine> lines = ReadScript(wide.Path());
    ASSERT_EQ(2U, lines.size());
    EXPECT_EQ(L"\x65E5", lines[0].text);
    EXPECT_EQ(L"x", lines[1].text);
}

TEST(ClientScriptFile, EmptyFileHasNoLines)
{
    const TemporaryFile file("");
    EXPECT_THAT(ReadScript(file.Path()), IsEmpty());
}

TEST(ClientScriptFile, OtherBytesAreRefused)
{
    for (const std::string& bytes : {std::string("load \xFF"), std::string("\xFF\xFE"
                                                                           "a",
                                                                           3)})
    {
        const TemporaryFile file(bytes, L"x.orv");
        const auto failure = FailureOf([&] { ReadScript(file.Path()); });
        EXPECT_THAT(failure.first, HasSubstr(L"x.orv is neither UTF-8 nor UTF-16 text"));
        EXPECT_EQ(2, failure.second);
    }
}

TEST(ClientScriptFile, MissingFileIsToldWithTheReason)
{
    const auto failure = FailureOf([] { ReadScript(L"c:\\no such folder\\x.orv"); });
    EXPECT_THAT(failure.first, HasSubstr(L"c:\\no such folder\\x.orv cannot be read: "));
    EXPECT_THAT(failure.first, HasSubstr(L"(error 3)"));
    EXPECT_EQ(2, failure.second);
}

// Hints

TEST(ClientHintTexts, ExitCodesAreExplained)
{
    const struct
    {
        uint32_t exitCode;
        const wchar_t* hint;
    } cases[] = {
        {0, L"its exit code is 0: it got too few arguments"},
        {1, L"its exit code is 1: it ended by itself, in order"},
        {42, L"its exit code is 42"},
        {0xC0000005, L"its exit code is 3221225477 (0xC0000005): access violation"},
        {0xC0000135, L"its exit code is 3221225781 (0xC0000135): a DLL that it needs is missing"},
        {0xE0434352, L"its exit code is 3762504530 (0xE0434352): a managed exception that nobody caught"},
        {0xDEADBEEF, L"its exit code is 3735928559 (0xDEADBEEF)"},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(expected.hint, HintsAfterLoss(L"", expected.exitCode, 0).at(0));
}

TEST(ClientHintTexts, MissingDispatcherIsNamedAndAPresentOneIsNot)
{
    const TemporaryFile dispatcher("", L"Program.dll");
    const std::wstring path = dispatcher.Path();
    const std::wstring folder = path.substr(0, path.find_last_of(L'\\') + 1);
    for (const std::wstring& hint : HintsAfterLoss(folder + L"Program.exe", std::nullopt, 0))
        EXPECT_EQ(std::wstring::npos, hint.find(L"dispatcher")) << testing::PrintToString(hint);
    EXPECT_EQ(L"the managed dispatcher is missing: " + folder + L"Other.dll",
              HintsAfterLoss(folder + L"Other.exe", std::nullopt, 0).at(0));
}

TEST(ClientHintTexts, LogOfAnEarlierRunIsNotShown)
{
    const uint64_t inTheFuture = 0x7000000000000000;
    for (const std::wstring& hint : HintsAfterLoss(L"", std::nullopt, inTheFuture))
        EXPECT_EQ(std::wstring::npos, hint.find(L"ends with")) << testing::PrintToString(hint);
}

TEST(ClientHintTexts, LastLinesLeaveOutTheEmptyOnes)
{
    EXPECT_THAT(LastLines(L"\xFEFF"
                          L"one\r\n\r\ntwo\r\n\r\nthree\r\n",
                          2),
                ElementsAre(L"two", L"three"));
    EXPECT_THAT(LastLines(L"\xFEFF"
                          L"one\r\ntwo",
                          5),
                ElementsAre(L"one", L"two"));
    EXPECT_THAT(LastLines(L"\xFEFF\r\n", 5), IsEmpty());
    EXPECT_THAT(LastLines(L"", 5), IsEmpty());
}
