#pragma once

#include <cstddef>

// An object's table of virtual operations, called by the slots that the family counts: as Microsoft's compiler lays
// them out, where a destructor has one slot. MinGW gives it two (one that destroys, one that also frees), so that
// everything behind the destructor lies one slot further on.
class VirtualTable
{
public:
    // destructorSlot is the family's number of the slot of the destructor.
    VirtualTable(void* object, size_t destructorSlot) noexcept : m_object(object), m_destructorSlot(destructorSlot) {}

    // Calls the operation of that slot, which is not the destructor. The types are those of the operation.
    template <class Result, class... Arguments>
    Result Call(size_t slot, Arguments... arguments) const
    {
        const size_t place = slot > m_destructorSlot ? slot + c_destructorPlaces - 1 : slot;
        return reinterpret_cast<Result (*)(void*, Arguments...)>(Place(place))(m_object, arguments...);
    }

    // Destroys the object and frees it, as delete does.
    void Delete() const
    {
#ifdef _MSC_VER
        constexpr unsigned freeIt = 1;
        reinterpret_cast<void* (*)(void*, unsigned)>(Place(m_destructorSlot))(m_object, freeIt);
#else
        reinterpret_cast<void (*)(void*)>(Place(m_destructorSlot + 1))(m_object);
#endif
    }

private:
#ifdef _MSC_VER
    static constexpr size_t c_destructorPlaces = 1;
#else
    static constexpr size_t c_destructorPlaces = 2;
#endif

    void* Place(size_t place) const
    {
        return (*static_cast<void***>(m_object))[place];
    }

    void* m_object;
    size_t m_destructorSlot;
};
