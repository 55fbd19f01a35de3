#pragma once

#include <cstring>
#include <type_traits>

// An object's fields as they lie in memory. Fields lists all of them in their order, padding left to the compiler.
template <class Fields, class Object>
Fields FieldsOf(const Object& object)
{
    static_assert(sizeof(Fields) == sizeof(Object), "the whole object");
    static_assert(std::is_trivially_copyable_v<Fields>, "plain fields");
    Fields fields{};
    std::memcpy(&fields, static_cast<const void*>(&object), sizeof fields);
    return fields;
}
