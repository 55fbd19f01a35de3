#pragma once

#include <cstdint>

// Calls body(context). Returns true when the body returned; false when an exception left it, of the language or of
// Windows (an access violation, a stack overflow, RaiseException), from whatever depth. It does not matter whether a
// debugger sees the exception first and passes it on. What some frame within takes is not seen here.
// A Windows exception runs the termination handlers of the frames that it leaves; their destructors run with
// Microsoft's compiler only.
// Any thread; an exception of another one is left to the system. Nothing of the process is changed, and of the thread
// only that a stack overflow leaves 64 KB for its handlers. Such an overflow uses up the stack's guard page, which
// the next guarded call sets anew. Not seen here either: what ends the process without an exception, such as a failed
// security check (fail fast), and what leaves a window procedure that the system calls for a message of another
// thread, which no frame outside of that procedure sees.
bool CallGuarded(void (*body)(void* context), void* context) noexcept;

// The same for anything that can be called without arguments.
template <class Body>
bool CallGuarded(Body body) noexcept
{
    return CallGuarded([](void* context) { (*static_cast<Body*>(context))(); }, &body);
}

// Ends the process with the exit code, at once: no destructor and no exit handler of the program runs.
[[noreturn]] void EndProcess(uint32_t exitCode) noexcept;

// Calls the body, for what is done last: an exception that leaves it ends the process with the exit code, as
// EndProcess does.
template <class Body>
void CallOrEndProcess(Body body, uint32_t exitCode) noexcept
{
    if (!CallGuarded(body))
        EndProcess(exitCode);
}
