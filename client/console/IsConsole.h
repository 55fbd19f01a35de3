#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

// Whether a standard stream is a console, and no file or pipe.
bool IsConsole(HANDLE handle) noexcept;
