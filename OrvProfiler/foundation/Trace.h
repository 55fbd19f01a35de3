#pragma once

#include "OrvProfiler/foundation/PerfTimer.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <type_traits>

// The trace log. Each step of the system is one line of text, written to the debugger output and, when it is open, to
// the log file. There are no levels, and it cannot be switched off. Nothing here reports failure or raises.
//
// The formats are the C runtime's own wide ones: %s is a wide string, %S a narrow one.
//
// All state is constant-initialised: static objects of any source file may trace in their constructors and
// destructors, whatever the link order.

// How many texts stay valid at once, and the greatest length of one in UTF-16 units without the NUL.
constexpr int c_traceSlotCount = 32;
constexpr int c_traceSlotLength = 1024;

// Formats one line and writes it to the debugger output and to the log file, if open, which is flushed at once.
// A line of more than 1024 units is cut after 1024, and so loses its line end. A format that gives nothing, that
// fails or that is null writes nothing.
// The thread's last error is the same afterwards, so that a failure can be traced in more than one line.
// Any thread. Lines of several threads are not put in order, but one line is never mixed with another.
void Trace(const wchar_t* format, ...) noexcept;

// Traces one line in the system's usual form: the time in milliseconds, which is taken here, the reporting function,
// and the text. So every format begins with "%6.0f %s " and ends with "\n"; here the function comes next:
//     TraceLine(L"%6.0f %s event %s signalled\n", L"CProxyEvent::Wait", name);
// All else as for Trace.
template <class... Arguments>
inline void TraceLine(const wchar_t* format, const wchar_t* function, Arguments... arguments) noexcept
{
    static_assert((std::is_scalar_v<Arguments> && ...), "a format takes numbers and pointers, as GetBuffer()");
    Trace(format, TickMs(), function, arguments...);
}

// Traces a line that is a text and nothing else.
inline void TraceText(const wchar_t* function, const wchar_t* text) noexcept
{
    TraceLine(L"%6.0f %s %s\n", function, text);
}

// Opens the log file and empties it: UTF-16LE with a byte-order mark, and CR LF line ends. The folder is not created.
// Does nothing when a log file is open already or path is null. When it cannot be opened, lines go to the debugger
// output only. Not to be called while other threads trace.
void TraceOpen(const wchar_t* path) noexcept;

// Closes the log file, if open; lines go to the debugger output only from then on. Not to be called while other
// threads trace.
void TraceClose() noexcept;

// Formats like Trace into the next slot and returns its text, the empty string when the format gives nothing. The
// text stays valid while 31 more slots are taken; the 32nd overwrites it. Trace and ResourceText take slots too, and
// so do all threads. Any thread.
const wchar_t* FormatSlot(const wchar_t* format, ...) noexcept;

// The system's message text for an error code, line break included; the empty string when the system has none. Code 0
// means the calling thread's last error. All threads share one buffer: the text is valid until the next call from any
// thread. The thread's last error is the same afterwards.
const wchar_t* ErrorText(uint32_t code) noexcept;

// Loads a string resource, up to 1023 units of it, into the next slot. Null when it does not exist or is empty. The
// text stays valid as for FormatSlot. Any thread.
const wchar_t* ResourceText(HMODULE module, uint32_t id) noexcept;

// Asks the system, on the first call only, whether a debugger is attached, and keeps the answer. Nothing depends on
// it. Not for concurrent use.
void DebuggerCheck() noexcept;
// Frees the library that DebuggerCheck loaded; the answer stays and is not asked for again. Not for concurrent use.
void DebuggerCheckRelease() noexcept;
