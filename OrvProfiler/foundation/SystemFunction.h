#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstddef>
#include <type_traits>

// The export of the given name, of a type not known here; null when module is null or has no such export.
using UntypedFunction = void (*)();
UntypedFunction FindExport(HMODULE module, const char* name) noexcept;

// Whether an argument or a result of one type is passed as one of the other. An enumeration, which only its own
// header can name, is passed as an integer of its size.
template <class Declared, class Actual>
constexpr bool IsPassedAs() noexcept
{
    if constexpr (std::is_same_v<Declared, Actual>)
        return true;
    else if constexpr (std::is_pointer_v<Declared> && std::is_pointer_v<Actual>)
        return IsPassedAs<std::remove_pointer_t<Declared>, std::remove_pointer_t<Actual>>();
    else if constexpr (std::is_integral_v<Declared> && std::is_enum_v<Actual>)
        return sizeof(Declared) == sizeof(Actual);
    else
        return false;
}

// A system function that older systems lack, and that is therefore looked up at run time. Null when it is missing:
// whoever calls it tests it first. It knows its type from the look-up on, and is called like any function:
//
//     const SystemFunction<int(HANDLE, int*)> isWow64Process(kernel32, "IsWow64Process");
//     static_assert(isWow64Process.Fits<decltype(IsWow64Process)>());
//     if (isWow64Process != nullptr)
//         isWow64Process(process, &isWow64);
//
// The library must stay loaded as long as the function is called. No bigger than a pointer. Reading and calling it is
// for any thread, looking it up for one.
template <class Signature>
class SystemFunction;

template <class Result, class... Arguments>
class SystemFunction<Result(Arguments...)>
{
public:
    // Null. Not explicit: a function is forgotten by assigning nullptr.
    constexpr SystemFunction(std::nullptr_t = nullptr) noexcept {} // NOLINT(google-explicit-constructor)
    SystemFunction(HMODULE module, const char* name) noexcept { LookUp(module, name); }

    // Takes the export of the given name; null when module is null or has none. Returns whether it is there.
    bool LookUp(HMODULE module, const char* name) noexcept
    {
        m_function = reinterpret_cast<Result (*)(Arguments...)>(FindExport(module, name));
        return m_function != nullptr;
    }

    explicit operator bool() const noexcept { return m_function != nullptr; }
    friend bool operator==(SystemFunction left, std::nullptr_t) noexcept { return left.m_function == nullptr; }
    friend bool operator==(std::nullptr_t, SystemFunction right) noexcept { return right.m_function == nullptr; }
    friend bool operator!=(SystemFunction left, std::nullptr_t) noexcept { return left.m_function != nullptr; }
    friend bool operator!=(std::nullptr_t, SystemFunction right) noexcept { return right.m_function != nullptr; }

    // Calls the function, which must not be null.
    Result operator()(Arguments... arguments) const { return m_function(arguments...); }

    // Whether this type passes arguments and result as the system declares the function. For a static_assert where
    // <windows.h> is included.
    template <class Function>
    static constexpr bool Fits() noexcept
    {
        return FitsPointer(static_cast<Function*>(nullptr));
    }

private:
    template <class ActualResult, class... ActualArguments>
    static constexpr bool FitsPointer(ActualResult (*)(ActualArguments...)) noexcept
    {
        if constexpr (sizeof...(Arguments) != sizeof...(ActualArguments))
            return false;
        else
            return (IsPassedAs<Result, ActualResult>() && ... && IsPassedAs<Arguments, ActualArguments>());
    }

    Result (*m_function)(Arguments...) = nullptr;
};

static_assert(sizeof(SystemFunction<void()>) == sizeof(void*), "lies in a record in the place of a pointer");
