#pragma once

#include <cstdint>

// Takes the Windows exceptions of the constructing thread that nothing handles, such as an access violation in a
// managed call: the catch-all of some compilers takes the language's own exceptions only. Where it takes all, nothing
// gets here. Exceptions of other threads go where they went before. One at a time.
class CCrashFilter
{
public:
    // ending runs on the crashed thread, on top of what crashed; then the process ends with exitCode, at once and
    // without running any destructor. A crash within ending ends the process in the same way.
    CCrashFilter(void (*ending)(), uint32_t exitCode) noexcept;
    ~CCrashFilter();
    CCrashFilter(const CCrashFilter&) = delete;
    CCrashFilter& operator=(const CCrashFilter&) = delete;
};
