#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

// One argument or result of a system function, as far as it can be told without knowing the function.
struct CallValue
{
    enum class Kind
    {
        Nothing, // a structure
        Number,
        Text,
        NarrowText,
        Pointer, // a handle too
    };

    Kind kind = Kind::Nothing;
    uint64_t number = 0; // of a pointer, its address
    const wchar_t* text = nullptr;
    const char* narrowText = nullptr;

    bool IsNull() const noexcept { return kind != Kind::Nothing && number == 0; }
};

template <class Value>
CallValue ToCallValue(const Value& value)
{
    CallValue told;
    if constexpr (std::is_same_v<Value, const wchar_t*>)
    {
        told.kind = CallValue::Kind::Text;
        told.number = reinterpret_cast<uintptr_t>(value);
        told.text = value;
    }
    else if constexpr (std::is_same_v<Value, const char*>)
    {
        told.kind = CallValue::Kind::NarrowText;
        told.number = reinterpret_cast<uintptr_t>(value);
        told.narrowText = value;
    }
    else if constexpr (std::is_pointer_v<Value>)
    {
        told.kind = CallValue::Kind::Pointer;
        told.number = reinterpret_cast<uintptr_t>(value);
    }
    else if constexpr (std::is_integral_v<Value>)
    {
        told.kind = CallValue::Kind::Number;
        told.number = static_cast<uint64_t>(static_cast<std::make_unsigned_t<Value>>(value));
    }
    else if constexpr (std::is_enum_v<Value>)
    {
        told.kind = CallValue::Kind::Number;
        told.number = static_cast<uint64_t>(value);
    }
    return told;
}

// A call of a system function that the product makes. Texts and pointers are the caller's.
struct SystemCall
{
    const char* function;
    std::vector<CallValue> arguments;
    bool fails; // it was made to fail
};
