#include "tests/support/worlds/NamedObjects.h"

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <stdexcept>

namespace
{
struct MutexQuestion
{
    const std::wstring& kernelName;
    DWORD timeoutMs;
    MutexState state;
};

DWORD WINAPI AskForMutex(void* argument)
{
    auto& question = *static_cast<MutexQuestion*>(argument);
    const UniqueHandle mutex(OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, question.kernelName.c_str()));
    if (!mutex)
        return 0;
    const DWORD result = WaitForSingleObject(mutex.Get(), question.timeoutMs);
    question.state = MutexState::Held;
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED)
        return 0;
    question.state = result == WAIT_OBJECT_0 ? MutexState::Free : MutexState::Abandoned;
    ReleaseMutex(mutex.Get());
    return 0;
}

DWORD WINAPI TakeMutexAndEnd(void* mutex)
{
    return WaitForSingleObject(mutex, 0);
}

// Runs a function on a plain system thread, because std::thread keeps handles that would look like a leak. Returns
// the thread's exit code.
DWORD RunOnAThread(DWORD(WINAPI* function)(void*), void* argument)
{
    const UniqueHandle thread(CreateThread(nullptr, 0, function, argument, 0, nullptr));
    if (!thread)
        throw std::runtime_error("no thread can be started");
    WaitForSingleObject(thread.Get(), INFINITE);
    DWORD exitCode = 0;
    GetExitCodeThread(thread.Get(), &exitCode);
    return exitCode;
}
} // namespace

bool EventExists(const std::wstring& kernelName)
{
    return static_cast<bool>(UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, kernelName.c_str())));
}

bool IsSignalled(const std::wstring& kernelName)
{
    const UniqueHandle event(OpenEventW(SYNCHRONIZE, FALSE, kernelName.c_str()));
    return event && WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
}

MutexState MutexStateOf(const std::wstring& kernelName, DWORD timeoutMs)
{
    MutexQuestion question{kernelName, timeoutMs, MutexState::Missing};
    RunOnAThread(AskForMutex, &question);
    return question.state;
}

HANDLE MakeAbandonedMutex()
{
    UniqueHandle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    if (!mutex || RunOnAThread(TakeMutexAndEnd, mutex.Get()) != WAIT_OBJECT_0)
        throw std::runtime_error("no abandoned mutex can be had");
    return mutex.Detach();
}
