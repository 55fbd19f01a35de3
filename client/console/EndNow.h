#pragma once

#include "client/console/ExitStatus.h"

#include <functional>

// Ends this process at once, when nobody is left to work for or to wait for. The work that was set comes first: of
// several threads that come here one does it, and the others wait for it. Any thread.
void EndNow(ExitStatus status) noexcept;

// What EndNow does first, on any thread, at most once; it must not throw. None when empty. Whoever set it takes it
// back before it goes.
void SetWorkBeforeEnd(std::function<void()> work);
