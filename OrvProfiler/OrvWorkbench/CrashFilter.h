#pragma once

#include <cstdint>

// Takes the Windows exceptions of the constructing thread that nobody handles, such as an access violation in a
// managed call. With some compilers catch (...) takes C++ exceptions only, and this takes the others; where it takes
// all, none gets here. Exceptions of other threads go to the filter that was there before. One object at a time.
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
