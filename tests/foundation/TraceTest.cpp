#include "OrvProfiler/foundation/Trace.h"

#include "tests/support/contract/LogFile.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/HeldResources.h"
#include "tests/support/faults/ImportRedirect.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

using testing::ElementsAre;

namespace
{
// The path of a log file in a fresh folder. Closes the log and removes the folder when it goes.
class LogFile
{
public:
    LogFile() = default;
    ~LogFile() { TraceClose(); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    std::wstring Path() const { return m_folder.PathOf(L"test.log"); }
    const std::wstring& Folder() const { return m_folder.Path(); }
    bool Exists() const { return PathExists(Path()); }

    std::string Bytes() const { return FileBytes(Path()); }
    std::wstring Text() const { return LogText(Bytes()); }

private:
    TemporaryFolder m_folder;
};

// The addresses of the next count slots.
std::vector<const wchar_t*> TakeSlots(size_t count)
{
    std::vector<const wchar_t*> slots(count);
    for (const wchar_t*& slot : slots)
        slot = FormatSlot(L"x");
    return slots;
}

constexpr ptrdiff_t c_unitsBetweenSlots = 1025;

// Takes slots until the next one is the first of the ring, the one with the lowest address. Returns that.
const wchar_t* TurnToFirstSlot()
{
    const std::vector<const wchar_t*> slots = TakeSlots(32);
    const wchar_t* const first = *std::min_element(slots.begin(), slots.end());
    for (int i = 0; i < 32 && FormatSlot(L"x") != first + 31 * c_unitsBetweenSlots; ++i)
    {
    }
    return first;
}

// va_list as this system's compilers have it, and the types of _vscwprintf, _vsnwprintf_s and FormatMessageW with it:
// the real types have attributes that a template argument cannot have.
using ArgumentList = char*;
using MeasureFunction = int(const wchar_t*, ArgumentList);
using FormatFunction = int(wchar_t*, size_t, size_t, const wchar_t*, ArgumentList);
using MessageFunction = DWORD(DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, ArgumentList*);
} // namespace

// The ring of slots

ORV_CHILD_ROLE(TakeSlotsFromStart)
{
    const std::vector<const wchar_t*> slots = TakeSlots(65);
    for (size_t i = 0; i < 65; ++i)
    {
        if (slots[i] - slots[0] != c_unitsBetweenSlots * static_cast<ptrdiff_t>(i % 32))
            return static_cast<int>(i + 1);
    }
    return 0;
}

TEST(TraceSlots, AreUsedInOrderFromTheStartOfTheProcess)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"TakeSlotsFromStart").WaitForExit());
}

TEST(TraceSlots, The33rdCallOverwritesTheFirstText)
{
    const wchar_t* const first = FormatSlot(L"first %d", 1);
    for (int i = 0; i < 31; ++i)
        FormatSlot(L"later %d", i);
    EXPECT_STREQ(L"first 1", first);
    EXPECT_EQ(first, FormatSlot(L"33rd"));
    EXPECT_STREQ(L"33rd", first);
}

TEST(TraceSlots, AreSharedByTraceFormatSlotAndResourceText)
{
    const TraceCapture capture;
    const wchar_t* const first = TurnToFirstSlot();
    EXPECT_EQ(first, FormatSlot(L"a"));
    Trace(L"b");
    EXPECT_STREQ(L"b", first + c_unitsBetweenSlots);
    Trace(L""); // takes a slot although it writes nothing
    EXPECT_STREQ(L"", first + 2 * c_unitsBetweenSlots);
    EXPECT_EQ(first + 3 * c_unitsBetweenSlots, ResourceText(GetModuleHandleW(nullptr), 100));
    EXPECT_EQ(nullptr, ResourceText(GetModuleHandleW(nullptr), 99)); // likewise
    EXPECT_EQ(first + 5 * c_unitsBetweenSlots, FormatSlot(L""));
    EXPECT_EQ(first + 6 * c_unitsBetweenSlots, FormatSlot(L"c"));
}

TEST(TraceSlots, AreNeverTakenOutsideTheRingAndAllEquallyOftenByManyThreads)
{
    constexpr size_t threadCount = 16;
    constexpr size_t callsPerThread = 8000;
    const wchar_t* const first = TurnToFirstSlot();
    std::array<std::map<ptrdiff_t, size_t>, threadCount> offsets;
    std::vector<std::thread> threads;
    for (auto& taken : offsets)
    {
        threads.emplace_back([&taken, first] {
            for (size_t i = 0; i < callsPerThread; ++i)
                ++taken[FormatSlot(L"%d", 1) - first];
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::map<ptrdiff_t, size_t> total;
    for (const auto& taken : offsets)
    {
        for (const auto& [offset, count] : taken)
            total[offset] += count;
    }
    std::map<ptrdiff_t, size_t> expected;
    for (ptrdiff_t i = 0; i < 32; ++i)
        expected[i * c_unitsBetweenSlots] = threadCount * callsPerThread / 32;
    EXPECT_EQ(expected, total);
    EXPECT_EQ(first, FormatSlot(L"x")); // and the order goes on
}

// FormatSlot

TEST(FormatSlot, FollowsTheCRuntimesWideFormats)
{
    EXPECT_STREQ(L"wide narrow 7 1f 0000beef", FormatSlot(L"%s %S %d %x %8.8x", L"wide", "narrow", 7, 31, 0xBEEF));
    EXPECT_STREQ(L"    12 name text", FormatSlot(L"%6.0f %s %s", 12.4, L"name", L"text"));
}

TEST(FormatSlot, TakesPercentSignsOfArgumentsAsText)
{
    EXPECT_STREQ(L"100% %s %n %d", FormatSlot(L"%s", L"100% %s %n %d"));
    EXPECT_STREQ(L"50%", FormatSlot(L"%d%%", 50));
}

TEST(FormatSlot, CutsALongText)
{
    const struct
    {
        size_t length;
        size_t kept;
    } cases[] = {{1, 1}, {1023, 1023}, {1024, 1024}, {1025, 1024}, {2048, 1024}, {100000, 1024}};
    for (const auto& expected : cases)
    {
        const std::wstring text(expected.length, L'y');
        EXPECT_EQ(std::wstring(expected.kept, L'y'), FormatSlot(L"%s", text.c_str())) << expected.length;
    }
}

TEST(FormatSlot, LeavesTheNeighbouringSlotsAlone)
{
    TurnToFirstSlot();
    const wchar_t* const before = FormatSlot(L"before");
    TakeSlots(1);
    const wchar_t* const after = FormatSlot(L"after");
    TakeSlots(29);
    EXPECT_EQ(before, FormatSlot(L"before"));
    const std::wstring text(5000, L'y');
    EXPECT_EQ(before + c_unitsBetweenSlots, FormatSlot(L"%s", text.c_str()));
    EXPECT_STREQ(L"before", before);
    EXPECT_STREQ(L"after", after);
}

TEST(FormatSlot, GivesEachOfManyThreadsItsOwnText)
{
    // In each round every thread takes one slot and looks at it when all have theirs: fewer than the ring has.
    constexpr int threadCount = 16;
    constexpr int rounds = 200;
    std::atomic<int> taken{0};
    std::atomic<int> seen{0};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t)
    {
        threads.emplace_back([&, t] {
            const std::wstring tail(static_cast<size_t>(40 + 50 * t), static_cast<wchar_t>(L'a' + t));
            for (int round = 1; round <= rounds; ++round)
            {
                const wchar_t* const text = FormatSlot(L"%d %s", round, tail.c_str());
                for (++taken; taken < threadCount * round;)
                    SwitchToThread();
                wrong += text == std::to_wstring(round) + L" " + tail ? 0 : 1;
                for (++seen; seen < threadCount * round;)
                    SwitchToThread();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
}

TEST(FormatSlot, ReturnsAnEmptySlotForAFormatThatProducesNothing)
{
    TakeSlots(32);
    EXPECT_STREQ(L"", FormatSlot(L""));
    EXPECT_STREQ(L"", FormatSlot(L"%s", L""));
    EXPECT_STREQ(L"", FormatSlot(nullptr));
}

TEST(FormatSlot, ReturnsAnEmptySlotWhenMeasuringFails)
{
    TakeSlots(32);
    const Redirect<MeasureFunction> measure("_vscwprintf", [](const wchar_t*, ArgumentList) { return -1; });
    EXPECT_STREQ(L"", FormatSlot(L"%s", L"text"));
}

TEST(FormatSlot, ReturnsAnEmptySlotWhenFormattingFails)
{
    TakeSlots(32);
    const Redirect<FormatFunction> format("_vsnwprintf_s",
                                          [](wchar_t*, size_t, size_t, const wchar_t*, ArgumentList) { return -1; });
    EXPECT_STREQ(L"", FormatSlot(L"%s", L"text"));
}

TEST(FormatSlot, EndsTheTextAfterTheUnitsCounted)
{
    const Redirect<FormatFunction> format("_vsnwprintf_s",
                                          [](wchar_t* slot, size_t size, size_t, const wchar_t*, ArgumentList) {
                                              std::fill(slot, slot + size, L'z');
                                              return -1;
                                          });
    EXPECT_STREQ(L"zzz", FormatSlot(L"abc"));
}

TEST(FormatSlot, TellsTheFormatterTheSlotsSizeAndTheCount)
{
    static std::vector<std::pair<size_t, size_t>> sizes;
    sizes.clear();
    const Redirect<FormatFunction> format("_vsnwprintf_s",
                                          [](wchar_t*, size_t size, size_t count, const wchar_t*, ArgumentList) {
                                              sizes.emplace_back(size, count);
                                              return -1;
                                          });
    FormatSlot(L"abc");
    FormatSlot(L"%s", std::wstring(3000, L'z').c_str());
    EXPECT_THAT(sizes, ElementsAre(std::make_pair(1025U, 3U), std::make_pair(1025U, 1024U)));
}

// Trace, to the debugger output

TEST(Trace, WritesOneLineToTheDebuggerOutput)
{
    const TraceCapture capture;
    Trace(L"%6.0f %s  arg %d = %s\n", 1234567.8901, L"wmain", 2, L"x");
    EXPECT_THAT(capture.Raw(), ElementsAre(L"1234568 wmain  arg 2 = x\n"));
}

TEST(Trace, WritesASingleUnit)
{
    const TraceCapture capture;
    Trace(L"x");
    EXPECT_THAT(capture.Raw(), ElementsAre(L"x"));
}

TEST(Trace, WritesALineOf1024UnitsWhole)
{
    const TraceCapture capture;
    Trace(L"%s\n", std::wstring(1023, L'x').c_str());
    EXPECT_THAT(capture.Raw(), ElementsAre(std::wstring(1023, L'x') + L"\n"));
}

TEST(Trace, CutsALongerLineAfter1024UnitsWithItsLineEnd)
{
    const TraceCapture capture;
    Trace(L"%s\n", std::wstring(1024, L'x').c_str());
    Trace(L"%s\n", std::wstring(70000, L'y').c_str());
    EXPECT_THAT(capture.Raw(), ElementsAre(std::wstring(1024, L'x'), std::wstring(1024, L'y')));
}

TEST(Trace, TakesPercentSignsOfArgumentsAsText)
{
    const TraceCapture capture;
    Trace(L"%6.0f %s %s\n", 1.0, L"%n%n", L"100% %s");
    EXPECT_THAT(capture.Lines(), ElementsAre(L"%n%n 100% %s\n"));
}

TEST(Trace, KeepsLoneSurrogatesAndControlCharacters)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    Trace(L"%s\n", L"\xD800\x0001\t\x001A");
    EXPECT_THAT(capture.Raw(), ElementsAre(L"\xD800\x0001\t\x001A\n"));
    EXPECT_EQ(L"\xD800\x0001\t\x001A\r\n", log.Text());
}

TEST(Trace, WritesNothingForAFormatThatProducesNothing)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    Trace(L"first\n");
    Trace(L"");
    Trace(L"%s", L"");
    Trace(nullptr);
    {
        const Redirect<MeasureFunction> measure("_vscwprintf", [](const wchar_t*, ArgumentList) { return -1; });
        Trace(L"lost\n");
    }
    EXPECT_THAT(capture.Raw(), ElementsAre(L"first\n"));
    EXPECT_EQ(L"first\r\n", log.Text());
}

// A text may begin with its terminator.
TEST(Trace, WritesATextThatBeginsWithItsTerminator)
{
    const TraceCapture capture;
    Trace(L"%c%s", L'\0', L"x");
    EXPECT_THAT(capture.Raw(), ElementsAre(L""));
}

TEST(Trace, LeavesTheLastErrorAsItWas)
{
    const Redirect<decltype(OutputDebugStringW)> output("OutputDebugStringW",
                                                        [](const wchar_t*) { SetLastError(6); });
    SetLastError(1234);
    Trace(L"line\n");
    EXPECT_EQ(1234U, GetLastError());
    Trace(L"");
    EXPECT_EQ(1234U, GetLastError());
}

namespace
{
// A system whose performance counter stands at 4,711 ms, and which changes the last error when it is asked.
struct StoppedClock
{
    Redirect<decltype(QueryPerformanceCounter)> counter{"QueryPerformanceCounter", [](LARGE_INTEGER* result) {
                                                            SetLastError(ERROR_NOT_SUPPORTED);
                                                            result->QuadPart = 4711;
                                                            return TRUE;
                                                        }};
    Redirect<decltype(QueryPerformanceFrequency)> frequency{"QueryPerformanceFrequency", [](LARGE_INTEGER* result) {
                                                                result->QuadPart = 1000;
                                                                return TRUE;
                                                            }};
};
} // namespace

TEST(TraceLine, BeginsWithTheTimeAndTheFunction)
{
    const StoppedClock clock;
    const TraceCapture trace;
    TraceLine(L"%6.0f %s event %s of %d, %S\n", L"CTest::Run", L"EV", -7, "narrow");
    TraceLine(L"%6.0f %s nothing more\n", L"CTest::Run");
    EXPECT_THAT(trace.Raw(),
                ElementsAre(L"  4711 CTest::Run event EV of -7, narrow\n", L"  4711 CTest::Run nothing more\n"));
}

TEST(TraceLine, LeavesTheLastErrorAsItWas)
{
    const StoppedClock clock;
    SetLastError(1234);
    TraceLine(L"%6.0f %s %d\n", L"CTest::Run", 1);
    EXPECT_EQ(1234U, GetLastError());
    TraceText(L"CTest::Run", L"text");
    EXPECT_EQ(1234U, GetLastError());
}

TEST(TraceText, WritesTheTextBehindTheTimeAndTheFunction)
{
    const StoppedClock clock;
    const TraceCapture trace;
    TraceText(L"CTest::Run", L"100% done\n");
    TraceText(L"CTest::Run", L"");
    EXPECT_THAT(trace.Raw(), ElementsAre(L"  4711 CTest::Run 100% done\n\n", L"  4711 CTest::Run \n"));
}

TEST(Trace, WorksBeforeTheLogIsOpenedAndAfterItIsClosed)
{
    const LogFile log;
    const TraceCapture capture;
    Trace(L"before\n");
    EXPECT_FALSE(log.Exists());
    TraceOpen(log.Path().c_str());
    Trace(L"during\n");
    TraceClose();
    Trace(L"after\n");
    EXPECT_EQ(L"during\r\n", log.Text());
    EXPECT_THAT(capture.Raw(), ElementsAre(L"before\n", L"during\n", L"after\n"));
}

TEST(Trace, ReachesTheSystemsDebuggerOutput)
{
    static std::wstring seen;
    seen.clear();
    // The first handler sees the exception that carries the text to a debugger.
    void* const handler = AddVectoredExceptionHandler(1, [](EXCEPTION_POINTERS* raised) -> LONG {
        const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
        if (record.ExceptionCode == 0x4001000A || record.ExceptionCode == 0x40010006)
        {
            if (record.ExceptionCode == 0x4001000A)
                seen.assign(reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]));
            else
                for (const auto* c = reinterpret_cast<const char*>(record.ExceptionInformation[1]); *c != '\0'; ++c)
                    seen += static_cast<wchar_t>(*c);
            return EXCEPTION_CONTINUE_EXECUTION;
        }
        return EXCEPTION_CONTINUE_SEARCH;
    });
    Trace(L"to a debugger\n");
    RemoveVectoredExceptionHandler(handler);
    EXPECT_EQ(L"to a debugger\n", seen.substr(0, 14));
}

// The log file

TEST(TraceFile, HoldsUtf16WithAByteOrderMarkAndCrLf)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    Trace(L"a\x20AC\nb\n");
    TraceClose();
    EXPECT_EQ(std::string("\xFF\xFE"
                          "a\0\xAC\x20\r\0\n\0b\0\r\0\n\0",
                          16),
              log.Bytes());
}

TEST(TraceFile, IsTruncatedWhenItIsOpened)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    Trace(L"of the first run\n");
    TraceClose();
    TraceOpen(log.Path().c_str());
    TraceClose();
    EXPECT_LE(log.Bytes().size(), 2U); // the byte-order mark at most
    TraceOpen(log.Path().c_str());
    Trace(L"2\n");
    TraceClose();
    EXPECT_EQ(L"2\r\n", log.Text());
}

TEST(TraceFile, CarriesTheCutLineWithoutALineEnd)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    Trace(L"%s\n", std::wstring(1023, L'x').c_str());
    Trace(L"%s\n", std::wstring(1024, L'y').c_str());
    Trace(L"z\n");
    EXPECT_EQ(std::wstring(1023, L'x') + L"\r\n" + std::wstring(1024, L'y') + L"z\r\n", log.Text());
}

TEST(TraceFile, ShowsEachLineToAnotherReaderAtOnce)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    std::wstring expected;
    for (int i = 0; i < 5; ++i)
    {
        Trace(L"line %d\n", i);
        expected += L"line " + std::to_wstring(i) + L"\r\n";
        std::wstring text;
        try
        {
            text = log.Text();
        }
        catch (const std::runtime_error&)
        {
            if (GetLastError() == ERROR_SHARING_VIOLATION)
                GTEST_SKIP() << "this system's C runtime keeps other readers out while the log is open";
            throw;
        }
        EXPECT_EQ(expected, text);
    }
}

ORV_CHILD_ROLE(TraceAndHang)
{
    TraceOpen(arguments.at(0).c_str());
    Trace(L"one\n");
    Trace(L"two\n");
    Meeting(arguments.at(1)).Signal();
    Sleep(INFINITE);
    return 0;
}

TEST(TraceFile, IsCompleteWhenTheProcessIsKilled)
{
    const LogFile log;
    const std::wstring name = FreshName(L"traced");
    const Meeting traced(name);
    const ChildProcess child = ChildProcess::StartRole(L"TraceAndHang", {log.Path(), name});
    traced.Wait();
    child.Kill();
    EXPECT_EQ(L"one\r\ntwo\r\n", log.Text());
}

TEST(TraceFile, StaysTheFirstWhenASecondIsOpened)
{
    const LogFile first;
    const LogFile second;
    const TraceCapture capture;
    TraceOpen(first.Path().c_str());
    TraceOpen(second.Path().c_str());
    Trace(L"line\n");
    TraceClose();
    EXPECT_EQ(L"line\r\n", first.Text());
    EXPECT_FALSE(second.Exists());
}

TEST(TraceFile, IsLeftOutWhenItsFolderIsMissing)
{
    const LogFile log;
    const TraceCapture capture;
    const std::wstring folder = log.Folder() + L"\\none";
    TraceOpen((folder + L"\\test.log").c_str());
    Trace(L"line\n");
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(folder.c_str())); // and is not made
    EXPECT_THAT(capture.Raw(), ElementsAre(L"line\n"));
    TraceOpen(log.Path().c_str()); // none is open, so this one is
    Trace(L"more\n");
    EXPECT_EQ(L"more\r\n", log.Text());
}

TEST(TraceFile, IsLeftOutForANullPath)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(nullptr);
    Trace(L"line\n");
    EXPECT_THAT(capture.Raw(), ElementsAre(L"line\n"));
    TraceOpen(log.Path().c_str());
    EXPECT_TRUE(log.Exists());
}

TEST(TraceFile, IsOpenedAsTruncatedUtf16Text)
{
    static std::wstring path;
    static std::wstring mode;
    const LogFile log;
    {
        const Redirect<decltype(_wfopen_s)> open("_wfopen_s", [](FILE** file, const wchar_t* p, const wchar_t* m) {
            *file = nullptr;
            path = p;
            mode = m;
            return 13;
        });
        TraceOpen(L"c:\\some\\file.log");
    }
    EXPECT_EQ(L"c:\\some\\file.log", path);
    EXPECT_EQ(L"w,ccs=UNICODE", mode);
}

TEST(TraceFile, IsNoneAfterAFailedOpen)
{
    const LogFile log;
    const TraceCapture capture;
    static unsigned char stray[sizeof(FILE)];
    {
        // The open fails and yet stores a stream.
        const Redirect<decltype(_wfopen_s)> open("_wfopen_s", [](FILE** file, const wchar_t*, const wchar_t*) {
            *file = reinterpret_cast<FILE*>(&stray);
            return 13;
        });
        TraceOpen(log.Path().c_str());
    }
    Trace(L"line\n");
    TraceOpen(log.Path().c_str());
    Trace(L"more\n");
    EXPECT_THAT(capture.Raw(), ElementsAre(L"line\n", L"more\n"));
    EXPECT_EQ(L"more\r\n", log.Text());
}

TEST(TraceFile, IsNoneAfterAnOpenThatRaises)
{
    const LogFile log;
    const TraceCapture capture;
    {
        const Redirect<decltype(_wfopen_s)> open("_wfopen_s", [](FILE**, const wchar_t*, const wchar_t*) -> errno_t {
            throw std::runtime_error("on purpose");
        });
        EXPECT_NO_THROW(TraceOpen(log.Path().c_str()));
    }
    Trace(L"line\n");
    EXPECT_THAT(capture.Raw(), ElementsAre(L"line\n"));
    EXPECT_FALSE(log.Exists());
}

namespace
{
// The type of fwrite: as declared, it has an attribute that no template argument may have.
using WriteFunction = size_t(const void*, size_t, size_t, FILE*);
} // namespace

TEST(TraceFile, LosesOnlyTheLineWhoseWriteFails)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    Trace(L"1\n");
    {
        const Redirect<WriteFunction> write("fwrite", [](const void*, size_t, size_t, FILE*) -> size_t { return 0; });
        Trace(L"2\n");
    }
    {
        const Redirect<WriteFunction> write(
            "fwrite", [](const void*, size_t, size_t, FILE*) -> size_t { throw std::runtime_error("on purpose"); });
        EXPECT_NO_THROW(Trace(L"3\n"));
    }
    Trace(L"4\n");
    EXPECT_THAT(capture.Raw(), ElementsAre(L"1\n", L"2\n", L"3\n", L"4\n"));
    EXPECT_EQ(L"1\r\n4\r\n", log.Text());
}

TEST(TraceFile, HoldsTheMarkThatTheCRuntimeTakesForAFailure)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    Trace(L"%s\n", L"x\xFFFF\xFFFFy");
    Trace(L"%s\n", L"\xFFFF");
    Trace(L"\xFFFF");
    Trace(L"z\n");
    EXPECT_EQ(L"x\xFFFF\xFFFFy\r\n\xFFFF\r\n\xFFFFz\r\n", log.Text());
}

TEST(TraceFile, TakesEachLineInOneWrite)
{
    static std::vector<std::wstring> texts;
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    const auto written = [](const std::wstring& line) {
        texts.clear();
        const Redirect<WriteFunction> write(
            "fwrite", [](const void* text, size_t sizeBytes, size_t count, FILE*) -> size_t {
                texts.emplace_back(static_cast<const wchar_t*>(text), sizeBytes * count / sizeof(wchar_t));
                return count;
            });
        Trace(L"%s", line.c_str());
        return texts;
    };
    for (const std::wstring& line :
         {std::wstring(L"plain\n"), std::wstring(L"x\xFFFFy\n"), std::wstring(L"\xFFFF"),
          std::wstring(L"\xFFFF\xFFFF\n\xFFFF\n"), std::wstring(1024, L'l'), std::wstring(1024, L'\n')})
        EXPECT_THAT(written(line), ElementsAre(line));
}

TEST(TraceFile, TriesALineThatCannotBeWrittenOnce)
{
    static int count;
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    for (const size_t taken : {size_t{0}, size_t{3}})
    {
        static size_t result;
        result = taken;
        count = 0;
        const Redirect<WriteFunction> write("fwrite", [](const void*, size_t, size_t, FILE*) -> size_t {
            ++count;
            return result;
        });
        Trace(L"li\xFFFFne\n");
        EXPECT_EQ(1, count);
    }
}

TEST(TraceFile, GoesOnAfterAFlushThatFailsOrRaises)
{
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    {
        const Redirect<decltype(fflush)> flush("fflush", [](FILE*) { return EOF; });
        Trace(L"1\n");
    }
    {
        const Redirect<decltype(fflush)> flush("fflush",
                                               [](FILE*) -> int { throw std::runtime_error("on purpose"); });
        EXPECT_NO_THROW(Trace(L"2\n"));
    }
    Trace(L"3\n");
    EXPECT_EQ(L"1\r\n2\r\n3\r\n", log.Text());
}

TEST(TraceFile, IsFlushedOncePerLineAndItselfOnly)
{
    static FILE* flushed;
    static int count;
    static FILE* opened;
    const LogFile log;
    const TraceCapture capture;
    count = 0;
    TraceOpen(log.Path().c_str());
    {
        const Redirect<WriteFunction> write("fwrite", [](const void*, size_t, size_t units, FILE* file) -> size_t {
            opened = file;
            return units;
        });
        const Redirect<decltype(fflush)> flush("fflush", [](FILE* file) {
            flushed = file;
            ++count;
            return 0;
        });
        Trace(L"line\n");
    }
    EXPECT_EQ(1, count);
    EXPECT_NE(nullptr, flushed);
    EXPECT_EQ(opened, flushed);
}

TEST(TraceFile, IsClosedOnce)
{
    static int closed;
    closed = 0;
    const LogFile log;
    TraceOpen(log.Path().c_str());
    const unsigned open = OpenHandleCount();
    TraceClose();
    EXPECT_EQ(open - 1, OpenHandleCount());
    const Redirect<decltype(fclose)> close("fclose", [](FILE*) { return ++closed; });
    TraceClose();
    EXPECT_EQ(0, closed);
}

TEST(TraceFile, StaysKnownWhenClosingRaises)
{
    const LogFile first;
    const LogFile second;
    const TraceCapture capture;
    TraceOpen(first.Path().c_str());
    {
        const Redirect<decltype(fclose)> close("fclose",
                                               [](FILE*) -> int { throw std::runtime_error("on purpose"); });
        EXPECT_NO_THROW(TraceClose());
    }
    TraceOpen(second.Path().c_str());
    Trace(L"line\n");
    EXPECT_FALSE(second.Exists());
    EXPECT_EQ(L"line\r\n", first.Text());
}

TEST(TraceFile, IsGivenUpWhenClosingOnlyFails)
{
    const LogFile first;
    const LogFile second;
    const TraceCapture capture;
    static decltype(&fclose) realClose;
    TraceOpen(first.Path().c_str());
    {
        const Redirect<decltype(fclose)> close("fclose", [](FILE* file) {
            realClose(file);
            return EOF;
        });
        realClose = close.Real();
        TraceClose();
    }
    TraceOpen(second.Path().c_str());
    EXPECT_TRUE(second.Exists());
}

TEST(TraceFile, NeverMixesTheLinesOfSeveralThreads)
{
    // In each round every thread traces one line, so that no slot comes round again while its line is written.
    constexpr int threadCount = 16;
    constexpr int rounds = 60;
    // With a unit in it that the C runtime takes for a failure.
    const auto tailOf = [](int t) {
        std::wstring tail(static_cast<size_t>(50 + 13 * t), static_cast<wchar_t>(L'a' + t));
        tail[25] = L'\xFFFF';
        return tail;
    };
    const LogFile log;
    const TraceCapture capture;
    TraceOpen(log.Path().c_str());
    std::atomic<int> arrived{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t)
    {
        threads.emplace_back([&arrived, tail = tailOf(t)] {
            for (int round = 0; round < rounds; ++round)
            {
                ++arrived;
                while (arrived < threadCount * (round + 1))
                    SwitchToThread();
                Trace(L"%d %s\n", round, tail.c_str());
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    TraceClose();
    std::multiset<std::wstring> expected;
    for (int t = 0; t < threadCount; ++t)
    {
        for (int round = 0; round < rounds; ++round)
            expected.insert(std::to_wstring(round) + L" " + tailOf(t) + L"\n");
    }
    const std::vector<std::wstring> raw = capture.Raw();
    EXPECT_TRUE(expected == std::multiset<std::wstring>(raw.begin(), raw.end()));
    std::multiset<std::wstring> written;
    const std::wstring text = log.Text();
    for (size_t begin = 0, end = 0; (end = text.find(L"\r\n", begin)) != std::wstring::npos; begin = end + 2)
        written.insert(text.substr(begin, end - begin) + L"\n");
    EXPECT_TRUE(expected == written);
}

// ErrorText

namespace
{
struct MessageRequest
{
    DWORD flags;
    const void* source;
    DWORD code;
    DWORD language;
    DWORD size;
    ArgumentList* arguments;
};

std::vector<MessageRequest> g_messageRequests;

// Answers with the text "<code>" and a line break, as the system's messages end.
DWORD WINAPI AnswerMessage(DWORD flags, const void* source, DWORD code, DWORD language, wchar_t* buffer, DWORD size,
                           ArgumentList* arguments)
{
    g_messageRequests.push_back({flags, source, code, language, size, arguments});
    const std::wstring text = L"<" + std::to_wstring(code) + L">\r\n";
    std::wmemcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

// The system's own text for a code.
std::wstring SystemText(DWORD code)
{
    wchar_t text[1024]{};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text, 1024, nullptr);
    return text;
}
} // namespace

TEST(ErrorText, AsksTheSystemsTableInTheNeutralLanguage)
{
    g_messageRequests.clear();
    const Redirect<MessageFunction> message("FormatMessageW", AnswerMessage);
    EXPECT_STREQ(L"<5>\r\n", ErrorText(5));
    ASSERT_EQ(1U, g_messageRequests.size());
    EXPECT_EQ(0x1200U, g_messageRequests[0].flags);
    EXPECT_EQ(nullptr, g_messageRequests[0].source);
    EXPECT_EQ(0x400U, g_messageRequests[0].language);
    EXPECT_EQ(1024U, g_messageRequests[0].size);
    EXPECT_EQ(nullptr, g_messageRequests[0].arguments);
}

TEST(ErrorText, GivesTheSystemsTextForACode)
{
    const std::wstring text = ErrorText(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(SystemText(ERROR_FILE_NOT_FOUND), text);
    EXPECT_GT(text.size(), 5U);
    EXPECT_EQ(L"\r\n", text.substr(text.size() - 2));
}

TEST(ErrorText, GivesTheLastErrorOfAFailedCallForZero)
{
    ASSERT_EQ(INVALID_HANDLE_VALUE,
              CreateFileW(L"c:\\no such file", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(SystemText(2), ErrorText(0));
    SetLastError(5);
    EXPECT_EQ(SystemText(5), ErrorText(0));
}

TEST(ErrorText, PrefersTheCodeGivenToTheLastError)
{
    SetLastError(5);
    EXPECT_EQ(SystemText(2), ErrorText(2));
}

TEST(ErrorText, TakesZeroAsNoErrorWhenThereIsNone)
{
    g_messageRequests.clear();
    const Redirect<MessageFunction> message("FormatMessageW", AnswerMessage);
    SetLastError(0);
    EXPECT_STREQ(L"<0>\r\n", ErrorText(0));
}

TEST(ErrorText, LeavesTheLastErrorAsItWas)
{
    const Redirect<MessageFunction> message(
        "FormatMessageW", [](DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, ArgumentList*) -> DWORD {
            SetLastError(317);
            return 0;
        });
    SetLastError(1234);
    EXPECT_STREQ(L"", ErrorText(5));
    EXPECT_EQ(1234U, GetLastError());
    EXPECT_STREQ(L"", ErrorText(0));
    EXPECT_EQ(1234U, GetLastError());
}

TEST(ErrorText, IsEmptyForACodeUnknownToTheSystem)
{
    EXPECT_STRNE(L"", ErrorText(2));
    EXPECT_STREQ(L"", ErrorText(0x2ABCDEF1));
}

TEST(ErrorText, UsesOneBufferForAllCalls)
{
    const wchar_t* const first = ErrorText(2);
    EXPECT_EQ(first, ErrorText(5));
    EXPECT_EQ(SystemText(5), first);
}

TEST(ErrorText, LeavesInsertsAsTheyAre)
{
    // The message of ERROR_BAD_EXE_FORMAT names the file by an insert.
    EXPECT_EQ(SystemText(193), ErrorText(193));
    EXPECT_NE(std::wstring::npos, std::wstring(ErrorText(193)).find(L"%1"));
}

// ResourceText

TEST(ResourceText, LoadsAStringOfTheModule)
{
    EXPECT_STREQ(L"a text with \x20AC in it", ResourceText(GetModuleHandleW(nullptr), 100));
    EXPECT_STREQ(L"100% of %s and %d", ResourceText(GetModuleHandleW(nullptr), 103));
    EXPECT_STREQ(L"x", ResourceText(GetModuleHandleW(nullptr), 116));
}

TEST(ResourceText, IsNullForAnEmptyAndForAMissingString)
{
    EXPECT_EQ(nullptr, ResourceText(GetModuleHandleW(nullptr), 101));
    EXPECT_EQ(nullptr, ResourceText(GetModuleHandleW(nullptr), 102));
    EXPECT_EQ(nullptr, ResourceText(GetModuleHandleW(nullptr), 50000));
    EXPECT_EQ(nullptr, ResourceText(GetModuleHandleW(nullptr), 0xFFFFFFFFU));
}

TEST(ResourceText, TellsTheModuleTheIdAndASizeOf1024)
{
    static HMODULE module;
    static UINT id;
    static int size;
    const Redirect<decltype(LoadStringW)> load("LoadStringW", [](HINSTANCE m, UINT i, wchar_t* buffer, int s) {
        module = m;
        id = i;
        size = s;
        buffer[0] = L'q';
        buffer[1] = L'\0';
        return 1;
    });
    HMODULE const asked = GetModuleHandleW(L"kernel32");
    EXPECT_STREQ(L"q", ResourceText(asked, 0x12345678));
    EXPECT_EQ(asked, module);
    EXPECT_EQ(0x12345678U, id);
    EXPECT_EQ(1024, size);
}

// DebuggerCheck tells nobody what it finds, so the tests watch what it asks the system. It asks once in a process,
// so each test runs in a process of its own.

namespace
{
std::vector<std::string> g_asked;
HMODULE g_loaded = nullptr;
FARPROC g_function = nullptr;
HMODULE g_lookedIn = nullptr;
HMODULE g_freed = nullptr;

// The system calls of DebuggerCheck, noted and answered by the test.
struct DebuggerSystem
{
    Redirect<decltype(LoadLibraryW)> load{"LoadLibraryW", [](const wchar_t* name) -> HMODULE {
                                              std::string text = "load ";
                                              for (; *name != L'\0'; ++name)
                                                  text += static_cast<char>(*name);
                                              g_asked.push_back(text);
                                              return g_loaded;
                                          }};
    Redirect<decltype(GetProcAddress)> lookup{"GetProcAddress", [](HMODULE module, const char* name) -> FARPROC {
                                                  g_asked.push_back(std::string("look up ") + name);
                                                  g_lookedIn = module;
                                                  return g_function;
                                              }};
    Redirect<decltype(FreeLibrary)> free{"FreeLibrary", [](HMODULE module) -> BOOL {
                                             g_asked.emplace_back("free");
                                             g_freed = module;
                                             return TRUE;
                                         }};
};

BOOL WINAPI AnswerDebugger()
{
    g_asked.emplace_back("call");
    return TRUE;
}

// Runs in a child process: compares what the steps asked the system with what is expected.
int ExpectAsked(const std::vector<std::string>& expected)
{
    if (g_asked == expected)
        return 0;
    for (const std::string& step : g_asked)
        std::fprintf(stderr, "asked: %s\n", step.c_str());
    return 1;
}
} // namespace

ORV_CHILD_ROLE(DebuggerAskedOnce)
{
    int module = 0;
    g_loaded = reinterpret_cast<HMODULE>(&module);
    g_function = reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(AnswerDebugger));
    const DebuggerSystem system;
    DebuggerCheckRelease(); // nothing is loaded yet
    DebuggerCheck();
    DebuggerCheck();
    DebuggerCheckRelease();
    DebuggerCheckRelease();
    DebuggerCheck();
    DebuggerCheckRelease();
    if (g_lookedIn != g_loaded || g_freed != g_loaded)
        return 2;
    return ExpectAsked({"load kernel32", "look up IsDebuggerPresent", "call", "free"});
}

ORV_CHILD_ROLE(DebuggerWithoutLibrary)
{
    const DebuggerSystem system;
    DebuggerCheck();
    DebuggerCheck();
    DebuggerCheckRelease();
    return ExpectAsked({"load kernel32"});
}

ORV_CHILD_ROLE(DebuggerWithoutFunction)
{
    int module = 0;
    g_loaded = reinterpret_cast<HMODULE>(&module);
    const DebuggerSystem system;
    DebuggerCheck();
    DebuggerCheck();
    DebuggerCheckRelease();
    return ExpectAsked({"load kernel32", "look up IsDebuggerPresent", "free"});
}

ORV_CHILD_ROLE(DebuggerForReal)
{
    DebuggerCheck();
    DebuggerCheckRelease();
    return 0;
}

TEST(DebuggerCheck, AsksTheSystemOnceInAProcess)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"DebuggerAskedOnce").WaitForExit());
}

TEST(DebuggerCheck, GivesUpWithoutTheLibrary)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"DebuggerWithoutLibrary").WaitForExit());
}

TEST(DebuggerCheck, GivesUpWithoutTheFunctionAndStillFreesTheLibrary)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"DebuggerWithoutFunction").WaitForExit());
}

TEST(DebuggerCheck, WorksOnTheRealSystem)
{
    EXPECT_EQ(0U, ChildProcess::StartRole(L"DebuggerForReal").WaitForExit());
}

TEST(DebuggerCheck, GatesNothing)
{
    const TraceCapture capture;
    DebuggerCheck();
    Trace(L"line\n");
    DebuggerCheckRelease();
    EXPECT_THAT(capture.Raw(), ElementsAre(L"line\n"));
}
