#include "bench/Ratios.h"
#include "OrvProfiler/foundation/Trace.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <string>

namespace
{
constexpr const wchar_t* c_format = L"%6.0f %s Command is Invoke: %s\n";
constexpr const wchar_t* c_function = L"CHost::Run";
constexpr const wchar_t* c_text = L"account.Deposit(100)";
constexpr size_t c_bufferUnits = 1025;

constexpr uint32_t c_ringSize = 32;

wchar_t g_buffer[c_bufferUnits];
wchar_t g_ring[c_ringSize][c_bufferUnits];
std::atomic<uint32_t> g_next{0};

// What any bounded formatting into a buffer costs: the runtime is asked for the length, then for the text.
size_t FormatInto(wchar_t* buffer, const wchar_t* format, va_list arguments)
{
    va_list again{};
    va_copy(again, arguments);
    const int count = _vscwprintf(format, arguments);
    _vsnwprintf_s(buffer, c_bufferUnits, static_cast<size_t>(count), format, again);
    va_end(again);
    return static_cast<size_t>(count);
}

size_t FormatBare(const wchar_t* format, ...)
{
    va_list arguments{};
    va_start(arguments, format);
    const size_t count = FormatInto(g_buffer, format, arguments);
    va_end(arguments);
    return count;
}

// The same into the next of as many buffers as there are slots, which threads share: the floor of a slot.
size_t FormatInRing(const wchar_t* format, ...)
{
    va_list arguments{};
    va_start(arguments, format);
    const size_t count = FormatInto(g_ring[g_next.fetch_add(1) % c_ringSize], format, arguments);
    va_end(arguments);
    return count;
}

// Formatting alone, without asking for the length first.
size_t FormatOnce(const wchar_t* format, ...)
{
    va_list arguments{};
    va_start(arguments, format);
    const int count = _vsnwprintf_s(g_buffer, c_bufferUnits, c_bufferUnits - 1, format, arguments);
    va_end(arguments);
    return static_cast<size_t>(count);
}

std::wstring TempFile(const wchar_t* name)
{
    wchar_t folder[MAX_PATH]{};
    GetTempPathW(MAX_PATH, folder);
    return std::wstring(folder) + name;
}
} // namespace

TEST_CASE("trace")
{
    std::FILE* bareFile = nullptr;
    const std::wstring file = TempFile(L"orv-bench.log");
    const std::wstring bareName = TempFile(L"orv-bench-bare.log");
    REQUIRE(_wfopen_s(&bareFile, bareName.c_str(), L"w,ccs=UNICODE") == 0);
    TraceOpen(file.c_str());
    CompareRatio(
        "Trace of a typical line, file open", 1.05,
        [] {
            Trace(c_format, TickMs(), c_function, c_text);
            return 0;
        },
        [bareFile] {
            FormatBare(c_format, TickMs(), c_function, c_text);
            OutputDebugStringW(g_buffer);
            static_cast<void>(std::fputws(g_buffer, bareFile));
            return std::fflush(bareFile);
        });
    TraceClose();
    static_cast<void>(std::fclose(bareFile));
    DeleteFileW(file.c_str());
    DeleteFileW(bareName.c_str());
}

TEST_CASE("slot")
{
    CompareRatio(
        "FormatSlot, against measuring and formatting", 1.25,
        [] { return FormatSlot(L"%s%8.8x", L"OrvProfiler", 0x1A2C); },
        [] { return FormatBare(L"%s%8.8x", L"OrvProfiler", 0x1A2C); });
    CompareRatio(
        "FormatSlot, against the same into a ring of buffers", c_stated,
        [] { return FormatSlot(L"%s%8.8x", L"OrvProfiler", 0x1A2C); },
        [] { return FormatInRing(L"%s%8.8x", L"OrvProfiler", 0x1A2C); });
    CompareRatio(
        "FormatSlot, against formatting once", c_stated,
        [] { return FormatSlot(L"%s%8.8x", L"OrvProfiler", 0x1A2C); },
        [] { return FormatOnce(L"%s%8.8x", L"OrvProfiler", 0x1A2C); });
}
