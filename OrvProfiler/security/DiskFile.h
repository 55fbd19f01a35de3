#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

// Files by a path that another process may have written, and may have chosen to harm whoever opens it. Any thread.

// Opens an existing file for reading; others may read it meanwhile, but not write, rename or delete it. Behind the
// path may be a pipe or a device: its owner learns who asks, but cannot act in the caller's name. Null on failure,
// with the system's reason in the last error.
UniqueHandle OpenToRead(const wchar_t* path) noexcept;

// Whether it is a file on a disk. Reading from anything else may take as long as its owner likes. Does not block.
bool IsDiskFile(const UniqueHandle& file) noexcept;

// Both at once: null also for what is no file on a disk.
UniqueHandle OpenDiskFile(const wchar_t* path) noexcept;
