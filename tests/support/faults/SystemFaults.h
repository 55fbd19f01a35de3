#pragma once

#include <memory>
#include <string>
#include <vector>

// Makes any one call of any system function that the product calls fail: the n-th since FailCall, made by the thread
// that made this object. The functions, and how each fails, are listed at the head of SystemFaults.cpp. A function
// that gives something back (CloseHandle, ReleaseMutex, UnmapViewOfFile ...) does so and then says that it failed.
//
// One at a time. Make it last: it stands before the stand-ins that are already there, whose own calls do not count.
// Functions that are looked up at run time are reached when they were looked up while this object lived. What the
// functions themselves take is not counted by an AllocationProbe.
class SystemFaults
{
public:
    // Nothing is counted yet.
    SystemFaults();
    ~SystemFaults();
    SystemFaults(const SystemFaults&) = delete;
    SystemFaults& operator=(const SystemFaults&) = delete;

    // The names of the functions that can be made to fail, and whether one is among them.
    static std::vector<std::string> Functions();
    static bool CanFail(const std::string& function);

    // Counts from 0 again and makes the n-th call fail, once; 1 is the next one. Without a function none fails.
    void FailCall(const std::string& function, unsigned n);
    void FailNone();
    // Stops counting until the next FailCall or FailNone.
    void Stop() noexcept;
    bool HasFailed() const noexcept;
    unsigned Calls(const std::string& function) const;
    // How many of the calls did what they are for; a call that gives something back did so also when it then said
    // that it failed.
    unsigned Successes(const std::string& function) const;
    // How many calls that give something back failed by themselves, null handles not counted: something was given
    // back twice, or was never there.
    unsigned SurplusReleases() const noexcept;

    // What the thread calls while one of these lives is the test's own.
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
