#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <utility>

// Owns one kernel handle whose "none" is null and closes it exactly once. Not for handles whose "none" is
// INVALID_HANDLE_VALUE without passing them through FromFile first.
class UniqueHandle
{
public:
    UniqueHandle() noexcept = default;
    explicit UniqueHandle(HANDLE handle) noexcept : m_handle(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.Detach()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept
    {
        Reset(other.Detach());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() { Reset(); }

    // Takes a handle of CreateFileW, whose "none" is INVALID_HANDLE_VALUE.
    static UniqueHandle FromFile(HANDLE handle) noexcept;

    // The handle, still owned here; null when there is none.
    HANDLE Get() const noexcept { return m_handle; }
    explicit operator bool() const noexcept { return m_handle != nullptr; }

    // Where a system call may store a handle; a handle held before is closed first.
    HANDLE* Receive() noexcept
    {
        Reset();
        return &m_handle;
    }

    // Gives the handle up to the caller without closing it.
    HANDLE Detach() noexcept { return std::exchange(m_handle, nullptr); }

    // Closes the handle held, if any, and takes the given one. The thread's last error stays as it was, so that a
    // failure can still be reported after the clean-up.
    void Reset(HANDLE handle = nullptr) noexcept;

private:
    HANDLE m_handle = nullptr;
};
