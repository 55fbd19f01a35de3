#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <utility>

// Owns one handle and closes it exactly once. The traits name the handle's type (Handle), the value that stands for
// no handle (None) and the way to close it (Close, which leaves the thread's last error as it was, so that a failure
// can still be reported after the clean-up). No bigger than the handle. Belongs to one thread.
template <class Traits>
class BasicUniqueHandle
{
public:
    using Handle = typename Traits::Handle;

    BasicUniqueHandle() noexcept = default;
    explicit BasicUniqueHandle(Handle handle) noexcept : m_handle(handle) {}
    BasicUniqueHandle(BasicUniqueHandle&& other) noexcept : m_handle(other.Detach()) {}
    BasicUniqueHandle& operator=(BasicUniqueHandle&& other) noexcept
    {
        Reset(other.Detach());
        return *this;
    }
    BasicUniqueHandle(const BasicUniqueHandle&) = delete;
    BasicUniqueHandle& operator=(const BasicUniqueHandle&) = delete;
    ~BasicUniqueHandle() { Reset(); }

    // For kernel handles only: takes a handle of CreateFileW, whose "none" is INVALID_HANDLE_VALUE.
    static BasicUniqueHandle FromFile(Handle handle) noexcept { return BasicUniqueHandle(Traits::FromFile(handle)); }

    // The handle, still owned here; the traits' "none" when there is none.
    Handle Get() const noexcept { return m_handle; }
    explicit operator bool() const noexcept { return m_handle != Traits::None(); }

    // Where a system call may store a handle; a handle held before is closed first.
    Handle* Receive() noexcept
    {
        Reset();
        return &m_handle;
    }

    // Gives the handle up to the caller without closing it.
    Handle Detach() noexcept { return std::exchange(m_handle, Traits::None()); }

    // Closes the handle held, if any, and takes the given one. The thread's last error stays as it was.
    void Reset(Handle handle = Traits::None()) noexcept
    {
        const Handle old = std::exchange(m_handle, handle);
        if (old != Traits::None())
            Traits::Close(old);
    }

private:
    Handle m_handle = Traits::None();
};

// A kernel object's handle, whose "none" is null. Not for handles whose "none" is INVALID_HANDLE_VALUE without
// passing them through FromFile first.
struct KernelHandleTraits
{
    using Handle = HANDLE;
    static constexpr Handle None() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept;
    static Handle FromFile(Handle handle) noexcept;
};
using UniqueHandle = BasicUniqueHandle<KernelHandleTraits>;

// A library from LoadLibraryW: stays loaded as long as it is owned.
struct LibraryTraits
{
    using Handle = HMODULE;
    static constexpr Handle None() noexcept { return nullptr; }
    static void Close(Handle library) noexcept;
};
using UniqueLibrary = BasicUniqueHandle<LibraryTraits>;

// A search of the C runtime, from _wfindfirst64, whose "none" is -1.
struct FindHandleTraits
{
    using Handle = intptr_t;
    static constexpr Handle None() noexcept { return -1; }
    static void Close(Handle search) noexcept;
};
using UniqueFindHandle = BasicUniqueHandle<FindHandleTraits>;

// The service manager or a service.
struct ServiceHandleTraits
{
    using Handle = SC_HANDLE;
    static constexpr Handle None() noexcept { return nullptr; }
    static void Close(Handle service) noexcept;
};
using UniqueServiceHandle = BasicUniqueHandle<ServiceHandleTraits>;

// The view of a file mapping, by its first byte.
struct ViewTraits
{
    using Handle = void*;
    static constexpr Handle None() noexcept { return nullptr; }
    static void Close(Handle view) noexcept;
};
using UniqueView = BasicUniqueHandle<ViewTraits>;

static_assert(sizeof(UniqueHandle) == sizeof(void*) && sizeof(UniqueLibrary) == sizeof(void*) &&
                  sizeof(UniqueFindHandle) == sizeof(intptr_t) && sizeof(UniqueServiceHandle) == sizeof(void*) &&
                  sizeof(UniqueView) == sizeof(void*),
              "an owner lies in a record in the place of its handle");
