#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <cstddef>
#include <cstdint>
#include <string>

// Opens a file that another process writes, for reading; it keeps nobody out. Null when it cannot be opened, with the
// system's reason as the last error.
UniqueHandle OpenShared(const wchar_t* path) noexcept;

// Opens the workbench's trace log for reading. Null when it cannot be opened, or was last written before writtenSince
// (a file time): it is then the log of an earlier workbench. Do not hold it open while a workbench starts: that one
// could then not write its log.
UniqueHandle OpenTraceLog(uint64_t writtenSince) noexcept;

// Whether somebody holds the log so that nobody else can read it: on Windows each workbench that has it.
bool IsTraceLogHeld() noexcept;

// A part of an open trace log, from that byte on, as it stands there: enough for the first lines, or the last. Empty
// when it cannot be read.
constexpr size_t c_tracePartUnits = 16384;
std::wstring TracePart(HANDLE file, int64_t start);

// Whether the log that is open is of the workbench of that client: its first lines tell whose events it made.
bool IsTraceLogOf(HANDLE file, uint32_t clientId);
