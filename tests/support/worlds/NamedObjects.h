#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <string>

// Named kernel objects, found by their kernel names alone as another program would.

bool EventExists(const std::wstring& kernelName);
// False also when there is no such event.
bool IsSignalled(const std::wstring& kernelName);

enum class MutexState
{
    Missing,
    Free,
    Held,
    Abandoned, // the last holder has died
};

// What a thread finds that holds nothing itself: a new one, because a mutex lets its holder in again. It waits up to
// timeoutMs for the mutex and gives it back. An abandoned mutex is free afterwards.
MutexState MutexStateOf(const std::wstring& kernelName, DWORD timeoutMs = 0);

// A mutex without a name whose holder has died. The caller closes the handle. Throws std::runtime_error when none can
// be made.
HANDLE MakeAbandonedMutex();
