#pragma once

#include "tests/support/faults/SystemCall.h"

#include <memory>
#include <string>
#include <vector>

// Makes one call of a system function fail: the n-th that the thread which made this object makes from FailCall on.
// It knows every function that the product calls; SystemFaults.cpp lists them, and how each fails. A function that
// releases something (CloseHandle, ReleaseMutex, UnmapViewOfFile ...) does release it, and then reports a failure.
//
// One at a time. When a test replaces system functions too (ImportRedirect.h), it does so before it makes this
// object: then the product's calls are counted here first, and what the replacements call is not. A function that the
// product looks up with GetProcAddress counts if it was looked up while this object lived. What the functions
// themselves allocate is hidden from an AllocationProbe.
class SystemFaults
{
public:
    // Hears of the calls that count, and of some that cannot fail: before a call is made, and after it with the
    // result. What it allocates is hidden from an AllocationProbe, what it calls does not count, and the last error
    // stays.
    class Listener
    {
    public:
        virtual void BeforeCall(const SystemCall& call) = 0;
        virtual void AfterCall(const SystemCall& call, const CallValue& result) = 0;

    protected:
        ~Listener() = default;
    };

    // Nothing is counted yet. The listener must outlive this object.
    explicit SystemFaults(Listener* listener = nullptr);
    ~SystemFaults();
    SystemFaults(const SystemFaults&) = delete;
    SystemFaults& operator=(const SystemFaults&) = delete;

    // The names of the functions that can be made to fail, and whether one is among them.
    static std::vector<std::string> Functions();
    static bool CanFail(const std::string& function);

    // Starts counting at 0 and makes the n-th call from now on fail, once; 1 is the next one.
    void FailCall(const std::string& function, unsigned n);
    // Starts counting at 0; nothing fails.
    void FailNone();
    // Stops counting until the next FailCall or FailNone.
    void Stop() noexcept;
    bool HasFailed() const noexcept;
    unsigned Calls(const std::string& function) const;
    // How many of the calls did their work. That includes the call that was made to fail when it is one that
    // releases.
    unsigned Successes(const std::string& function) const;
    // How many releases the system itself refused, null handles aside: something was released twice, or never held.
    unsigned SurplusReleases() const noexcept;

    // While one of these lives, the thread's calls are the test's own: they do not count and do not fail.
    class Paused
    {
    public:
        Paused() noexcept;
        ~Paused();
        Paused(const Paused&) = delete;
        Paused& operator=(const Paused&) = delete;

    private:
        bool m_wasCounting;
    };

private:
    struct Installed;
    std::unique_ptr<Installed> m_installed;
};
