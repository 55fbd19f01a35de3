#include "client/picture/TraceLogReader.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
std::string Utf16(const std::wstring& text)
{
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

struct Reading
{
    // "time|function|text" each.
    std::vector<std::wstring> lines;
    size_t count = 0;
};

Reading ReadIn(const std::string& bytes, size_t portion)
{
    Reading reading;
    TraceLogReader reader([&](const TracedLine& line) {
        reading.lines.push_back(std::to_wstring(static_cast<int64_t>(line.timeMs)) + L"|" + line.function + L"|" +
                                line.text);
    });
    for (size_t start = 0; start < bytes.size(); start += portion)
        reader.Feed(std::string_view(bytes).substr(start, portion));
    reader.End();
    reading.count = reader.LineCount();
    return reading;
}

std::vector<std::wstring> LinesOf(const std::string& bytes)
{
    return ReadIn(bytes, bytes.size() + 1).lines;
}

const std::wstring c_log = L"1830182 CHost::Run Sleeping\r\n\r\n1830183 CWBEvent::Wait Waiting\r\n\r\n"
                           L"1830190 CHost::Run Command is Load: \x65E5\x672C.dll\r\n";
const auto c_isLog = ElementsAre(L"1830182|CHost::Run|Sleeping", L"1830183|CWBEvent::Wait|Waiting",
                                 L"1830190|CHost::Run|Command is Load: \x65E5\x672C.dll");
} // namespace

TEST(TraceLogReader, ReadsTheFileAsItIsWritten)
{
    EXPECT_THAT(LinesOf("\xFF\xFE" + Utf16(c_log)), c_isLog);
    EXPECT_EQ(3U, ReadIn("\xFF\xFE" + Utf16(c_log), 100).count);
}

TEST(TraceLogReader, ReadsItInPortionsOfAnySize)
{
    const std::string bytes = "\xFF\xFE" + Utf16(c_log + c_log + c_log + c_log);
    const std::vector<std::wstring> whole = LinesOf(bytes);
    EXPECT_EQ(12U, whole.size());
    for (const size_t portion : {1U, 2U, 3U, 7U, 511U, 512U, 513U})
        EXPECT_EQ(whole, ReadIn(bytes, portion).lines) << portion;
}

TEST(TraceLogReader, ReadsWhatBecameOfItInTheMail)
{
    const std::string utf8 = "1830182 CHost::Run Sleeping\n\n1830183 CWBEvent::Wait Waiting\n\n"
                             "1830190 CHost::Run Command is Load: 日本.dll";
    EXPECT_THAT(LinesOf(utf8), c_isLog);
    EXPECT_THAT(LinesOf("\xEF\xBB\xBF" + utf8), c_isLog);
    EXPECT_THAT(LinesOf(Utf16(c_log)), c_isLog);
}

TEST(TraceLogReader, BytesThatAreNoUtf8AreTheSystemsCodePage)
{
    const std::vector<std::wstring> lines = LinesOf("      7 CHost::Run Command is Load: K\xFC"
                                                    "che\n");
    ASSERT_EQ(1U, lines.size());
    EXPECT_EQ(0U, lines[0].find(L"7|CHost::Run|Command is Load: K"));
}

TEST(TraceLogReader, ReadsWhatIsCutOffAtEitherEnd)
{
    const std::string bytes = Utf16(c_log);
    EXPECT_THAT(LinesOf("\xFF\xFE" + bytes.substr(0, bytes.size() - 13)),
                ElementsAre(L"1830182|CHost::Run|Sleeping", L"1830183|CWBEvent::Wait|Waiting",
                            L"1830190|CHost::Run|Command is Load: \x65E5"));
    for (const size_t cut : {8U, 9U})
        EXPECT_THAT(LinesOf(bytes.substr(cut * 2)),
                    ElementsAre(std::wstring(L"0||") + c_log.substr(cut, 19 + 8 - cut),
                                L"1830183|CWBEvent::Wait|Waiting",
                                L"1830190|CHost::Run|Command is Load: \x65E5\x672C.dll"));
}

// As a tool leaves it that cuts bytes, not characters.
TEST(TraceLogReader, ReadsWhatIsCutOffInTheMiddleOfACharacter)
{
    const std::vector<std::wstring> lines = LinesOf(Utf16(c_log).substr(15));
    ASSERT_EQ(3U, lines.size());
    EXPECT_EQ(L"1830183|CWBEvent::Wait|Waiting", lines[1]);
}

TEST(TraceLogReader, TextOfSeveralLinesIsOne)
{
    EXPECT_THAT(LinesOf("1 CHost::Run Command is Invoke: a\nb\n\n12 monkeys\n2 CHost::Run Sleeping\n"),
                ElementsAre(L"1|CHost::Run|Command is Invoke: a\nb\n12 monkeys", L"2|CHost::Run|Sleeping"));
}

// A line of 1024 units was cut when it was traced, with its end.
TEST(TraceLogReader, LineBehindOneThatWasCutIsFound)
{
    const std::string head = "    10 CHost::Run Command is Invoke: ";
    const std::string text(1024 - head.size(), 'x');
    EXPECT_THAT(LinesOf(head + text + "    11 CHost::Breakpoint setting response ok\n"),
                ElementsAre(L"10|CHost::Run|Command is Invoke: " + std::wstring(text.begin(), text.end()),
                            L"11|CHost::Breakpoint|setting response ok"));
    const std::string inLines = std::string(500, 'x') + "\n" + std::string(text.size() - 501, 'y');
    EXPECT_EQ(2U, LinesOf(head + inLines + "    11 CHost::Breakpoint setting response ok\n").size());
}

TEST(TraceLogReader, LongLineThatWasNotCutStaysWhole)
{
    const std::string text = "     1 CHost::Run Command is Load: " + std::string(3000, 'x');
    const std::vector<std::wstring> lines = LinesOf(text + "\n");
    ASSERT_EQ(1U, lines.size());
    EXPECT_EQ(3000U + 2 + 10 + 1 + 17, lines[0].size());
}

TEST(TraceLogReader, MarksBetweenConcatenatedLogsAreNoText)
{
    EXPECT_THAT(LinesOf(Utf16(L"\xFEFF"
                              L"1 CHost::Run Sleeping\n\xFEFF"
                              L"2 CHost::Run Sleeping\n")),
                ElementsAre(L"1|CHost::Run|Sleeping", L"2|CHost::Run|Sleeping"));
}

TEST(TraceLogReader, OtherTextsHaveNoLines)
{
    for (const std::string bytes :
         {"", "\n\n", "hello", "12 monkeys\n1830182\n", "x CHost::Run Sleeping", "1830182CHost::Run Sleeping",
          "12345678901234567 CHost::Run Sleeping", "1 Host::Run x", "1 CHost:Run x", "\xFF\xFE", "\xFF"})
        EXPECT_EQ(0U, ReadIn(bytes, 100).count) << bytes;
    EXPECT_EQ(0U, ReadIn(std::string(100000, '\0'), 4096).count);
    EXPECT_THAT(LinesOf("\n\r\n"), IsEmpty());
}

TEST(TraceLogReader, GreatLineIsTakenInPieces)
{
    const std::string bytes(size_t{5} << 20, 'x');
    const std::vector<std::wstring> lines = ReadIn(bytes, 65536).lines;
    ASSERT_EQ(1U, lines.size());
    EXPECT_LT(lines[0].size(), size_t{3} << 20);
}

TEST(TraceLogReader, FileIsReadToItsEnd)
{
    const std::string bytes = "\xFF\xFE" + Utf16(c_log);
    const TemporaryFile file(bytes, L"some.log");
    const UniqueHandle handle = UniqueHandle::FromFile(
        CreateFileW(file.Path(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    TraceLogReader reader([](const TracedLine&) {});
    reader.FeedFile(handle.Get());
    reader.End();
    EXPECT_EQ(3U, reader.LineCount());
}

TEST(TraceLogReader, FileWithoutALineIsNotReadFurther)
{
    static int calls;
    calls = 0;
    const Redirect<decltype(ReadFile)> read(
        "ReadFile", [](HANDLE, LPVOID buffer, DWORD size, LPDWORD taken, LPOVERLAPPED) -> BOOL {
            ++calls;
            memset(buffer, 'x', size);
            *taken = size;
            return calls < 1000 ? TRUE : FALSE;
        });
    TraceLogReader reader([](const TracedLine&) {});
    reader.FeedFile(nullptr);
    EXPECT_GT(calls, 10);
    EXPECT_LT(calls, 50);
}
