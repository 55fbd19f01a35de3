#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <cstdint>

// Opens a file that another process writes, for reading; it keeps nobody out. Null when it cannot be opened, with the
// system's reason as the last error.
UniqueHandle OpenShared(const wchar_t* path) noexcept;

// Opens the workbench's trace log for reading. Null when it cannot be opened, or was last written before writtenSince
// (a file time): it is then the log of an earlier workbench. Do not hold it open while a workbench starts: that one
// could then not write its log.
UniqueHandle OpenTraceLog(uint64_t writtenSince) noexcept;
