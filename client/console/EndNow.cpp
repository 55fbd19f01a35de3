#include "client/console/EndNow.h"

#include <windows.h>

#include <mutex>
#include <utility>

namespace
{
struct LastWork
{
    std::mutex lock;
    std::function<void()> work;
};

LastWork& Last()
{
    static LastWork last;
    return last;
}
} // namespace

void EndNow(ExitStatus status) noexcept
{
    LastWork& last = Last();
    const std::lock_guard<std::mutex> guard(last.lock);
    if (const std::function<void()> work = std::exchange(last.work, nullptr))
        work();
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
}

void SetWorkBeforeEnd(std::function<void()> work)
{
    LastWork& last = Last();
    const std::lock_guard<std::mutex> guard(last.lock);
    last.work = std::move(work);
}
