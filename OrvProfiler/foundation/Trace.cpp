#include "OrvProfiler/foundation/Trace.h"

#include "OrvProfiler/foundation/SystemFunction.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cwchar>

namespace
{
constexpr size_t c_slotSize = c_traceSlotLength + 1;
constexpr DWORD c_errorTextSize = 1024;

// Zeroed before any constructor runs, and never destroyed: static objects of other files trace, too.
wchar_t TraceSlots[c_traceSlotCount][c_slotSize];
std::atomic<int32_t> TraceSlotCounter{0};
FILE* TraceFile = nullptr;
wchar_t ErrorTextBuffer[c_errorTextSize];

bool DebuggerCheckDone = false;
// Not freed when the process ends: only DebuggerCheckRelease does it.
HMODULE DebuggerCheckModule = nullptr;
SystemFunction<int()> DebuggerCheckFunction;
static_assert(decltype(DebuggerCheckFunction)::Fits<decltype(IsDebuggerPresent)>(), "as the system declares it");
uint32_t DebuggerCheckFlag = 0;

// The slots are used in the order 0 to 31, again and again. The counter just runs on. It may wrap, because the number
// of slots divides its range.
wchar_t* TakeSlot() noexcept
{
    static_assert(UINT32_MAX % c_traceSlotCount == c_traceSlotCount - 1, "the order holds when the counter wraps");
    const uint32_t index = static_cast<uint32_t>(TraceSlotCounter.fetch_add(1)) % c_traceSlotCount;
    wchar_t* const slot = TraceSlots[index];
    slot[0] = L'\0';
    return slot;
}

// The number of units that the format gives, at most those of a slot; 0 for none and for an error.
size_t MeasureText(const wchar_t* format, va_list arguments) noexcept
{
    // The C runtime ends the process when the format is null.
    const int count = format != nullptr ? _vscwprintf(format, arguments) : -1;
    if (count <= 0)
        return 0;
    return count > c_traceSlotLength ? static_cast<size_t>(c_traceSlotLength) : static_cast<size_t>(count);
}

// Formats into the slot, which stays empty when the format gives nothing. Returns the number of units.
size_t FormatIntoSlot(wchar_t* slot, const wchar_t* format, va_list arguments) noexcept
{
    va_list measured{};
    va_copy(measured, arguments);
    const size_t count = MeasureText(format, measured);
    va_end(measured);
    if (count == 0)
        return 0;
    _vsnwprintf_s(slot, c_slotSize, count, format, arguments);
    slot[count] = L'\0';
    return count;
}

void WriteToFile(const wchar_t* line) noexcept
{
    if (TraceFile == nullptr)
        return;
    try
    {
        // One write, so that lines of several threads are not mixed. Not fputws: it stops behind a U+FFFF, which a
        // text of the client may hold.
        static_cast<void>(fwrite(line, sizeof *line, wcslen(line), TraceFile));
        static_cast<void>(fflush(TraceFile));
    }
    catch (...) // NOLINT(bugprone-empty-catch): a line that cannot be written is dropped, the next one is tried
    {
    }
}
} // namespace

void Trace(const wchar_t* format, ...) noexcept
{
    const DWORD lastError = GetLastError();
    wchar_t* const line = TakeSlot();
    va_list arguments{};
    va_start(arguments, format);
    const size_t count = FormatIntoSlot(line, format, arguments);
    va_end(arguments);
    if (count > 0)
    {
        OutputDebugStringW(line);
        WriteToFile(line);
    }
    SetLastError(lastError);
}

void TraceOpen(const wchar_t* path) noexcept
{
    if (TraceFile != nullptr || path == nullptr)
        return;
    try
    {
        if (_wfopen_s(&TraceFile, path, L"w,ccs=UNICODE") != 0)
            TraceFile = nullptr;
    }
    catch (...) // NOLINT(bugprone-empty-catch): without a file the log goes to the debugger output only
    {
    }
}

void TraceClose() noexcept
{
    if (TraceFile == nullptr)
        return;
    try
    {
        static_cast<void>(fclose(TraceFile)); // cppcheck-suppress doubleFree ; once: a null one returned above
        TraceFile = nullptr;
    }
    catch (...) // NOLINT(bugprone-empty-catch): the stream stays known, nothing can be reported
    {
    }
}

const wchar_t* FormatSlot(const wchar_t* format, ...) noexcept
{
    wchar_t* const text = TakeSlot();
    va_list arguments{};
    va_start(arguments, format);
    FormatIntoSlot(text, format, arguments);
    va_end(arguments);
    return text;
}

const wchar_t* ErrorText(uint32_t code) noexcept
{
    const DWORD lastError = GetLastError();
    const DWORD error = code != 0 ? code : lastError;
    constexpr DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    constexpr DWORD neutral = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);
    const DWORD length = FormatMessageW(flags, nullptr, error, neutral, ErrorTextBuffer, c_errorTextSize, nullptr);
    SetLastError(lastError);
    return length != 0 ? ErrorTextBuffer : L"";
}

const wchar_t* ResourceText(HMODULE module, uint32_t id) noexcept
{
    wchar_t* const slot = TakeSlot();
    return LoadStringW(module, id, slot, c_traceSlotLength) != 0 ? slot : nullptr;
}

void DebuggerCheck() noexcept
{
    if (DebuggerCheckDone)
        return;
    DebuggerCheckDone = true;
    DebuggerCheckModule = LoadLibraryW(L"kernel32");
    if (DebuggerCheckModule == nullptr)
        return;
    if (DebuggerCheckFunction.LookUp(DebuggerCheckModule, "IsDebuggerPresent"))
        DebuggerCheckFlag = DebuggerCheckFunction() != FALSE ? 1 : 0;
}

void DebuggerCheckRelease() noexcept
{
    if (DebuggerCheckModule == nullptr)
        return;
    FreeLibrary(DebuggerCheckModule);
    DebuggerCheckModule = nullptr;
}
