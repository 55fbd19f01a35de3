#pragma once

#include "OrvProfiler/foundation/DebugAssert.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <utility>

// A text in a PtrArray: a copy that the element owns, or a borrowed pointer, which has to outlive the element.
class PtrArrayText
{
public:
    using Value = const wchar_t*;

    // Owned: copies the text (null as an empty text); raises std::bad_alloc. Not owned: keeps the pointer.
    PtrArrayText(const wchar_t* text, bool owned) : m_text(owned ? Copy(text) : text), m_owned(owned)
    {
        static_assert(sizeof(PtrArrayText) == 16 && offsetof(PtrArrayText, m_owned) == 8,
                      "elements of every kind share one layout");
    }
    ~PtrArrayText() { Reset(); }
    PtrArrayText(const PtrArrayText&) = delete;
    PtrArrayText(PtrArrayText&&) = delete;
    PtrArrayText& operator=(const PtrArrayText&) = delete;
    // Frees its own text and takes over the other's.
    PtrArrayText& operator=(PtrArrayText&& other) noexcept
    {
        if (this == &other)
            return *this;
        Reset();
        m_text = std::exchange(other.m_text, nullptr);
        m_owned = std::exchange(other.m_owned, false);
        return *this;
    }

    // Frees an owned text; the element then holds a null pointer.
    void Reset() noexcept
    {
        if (m_owned)
            delete[] m_text;
        m_text = nullptr;
        m_owned = false;
    }

    // The text, valid as long as the element keeps it.
    const wchar_t* GetValue() const noexcept { return m_text; }
    bool IsOwned() const noexcept { return m_owned; }

private:
    static const wchar_t* Copy(const wchar_t* text)
    {
        const size_t length = text != nullptr ? std::wcslen(text) : 0;
        auto* const copy = new wchar_t[length + 1];
        if (length > 0)
            std::wmemcpy(copy, text, length);
        copy[length] = L'\0';
        return copy;
    }

    const wchar_t* m_text;
    bool m_owned;
};

// A number in a PtrArray. The owned flag is kept, but means nothing for a number.
class PtrArrayNumber
{
public:
    using Value = int64_t;

    PtrArrayNumber(int64_t number, bool owned) noexcept : m_number(number), m_owned(owned)
    {
        static_assert(sizeof(PtrArrayNumber) == 16 && offsetof(PtrArrayNumber, m_owned) == 8,
                      "elements of every kind share one layout");
    }

    int64_t GetValue() const noexcept { return m_number; }
    bool IsOwned() const noexcept { return m_owned; }

private:
    int64_t m_number;
    bool m_owned;
};

// A growable array of pointers to elements that are allocated one by one. It grows by a fixed step, and already when
// one slot is left, so that the last slot stays unused (except with a step of 1). When the count is lowered, the
// elements beyond it stay in their slots and are used again. Element is PtrArrayText or PtrArrayNumber; what goes in
// and comes out is Element::Value, a text pointer or a number. Belongs to one thread or to the lock of its owner.
template <class Element>
class PtrArray
{
public:
    using Value = typename Element::Value;

    static constexpr int32_t c_defaultStep = 100;

    // step is the number of slots to grow by; below 1 means 100. Nothing is allocated yet.
    explicit PtrArray(int32_t step = c_defaultStep) noexcept : m_step(step < 1 ? c_defaultStep : step)
    {
        static_assert(sizeof(PtrArray) == 24 && offsetof(PtrArray, m_items) == 0 &&
                          offsetof(PtrArray, m_capacity) == 8 && offsetof(PtrArray, m_step) == 12 &&
                          offsetof(PtrArray, m_untouched) == 16 && offsetof(PtrArray, m_count) == 20,
                      "arrays lie inside records of a fixed layout");
    }
    ~PtrArray() { DeleteAll(); }
    PtrArray(const PtrArray&) = delete;
    PtrArray& operator=(const PtrArray&) = delete;

    // Appends an element. For a text, owned decides between a copy and the borrowed pointer. Returns the element's
    // index. When the slots cannot be allocated, returns 0 and the array is empty: GetCount tells that from a first
    // element. When the element cannot be allocated, raises std::bad_alloc; the array has the same elements as
    // before.
    int32_t Add(Value value, bool owned)
    {
        if (m_count + 1 >= m_capacity && !Grow())
            return 0;
        Element*& slot = m_items[m_count];
        if (slot != nullptr)
            *slot = Element(value, owned);
        else
            slot = std::make_unique<Element>(value, owned).release();
        m_untouched = false;
        return m_count++;
    }

    // The text or number of element i; null or 0 when there is no such element.
    Value operator[](int32_t i) const noexcept { return i >= 0 && i < m_count ? m_items[i]->GetValue() : Value{}; }

    // Lowers the count. The elements beyond it keep their texts until Add uses them again or DeleteAll frees them. A
    // negative count, or one above the present count, changes nothing.
    void SetCount(int32_t count) noexcept
    {
        if (count >= 0 && count < m_count)
            m_count = count;
    }

    // Frees all elements, those beyond the count too, and the slots.
    void DeleteAll() noexcept
    {
        for (int32_t i = 0; i < m_capacity; ++i)
            delete m_items[i];
        m_count = 0;
        m_capacity = 0;
        std::free(m_items);
        m_items = nullptr;
    }

    int32_t GetCount() const noexcept { return m_count; }
    // The number of slots.
    int32_t GetCapacity() const noexcept { return m_capacity; }

private:
    // On failure the array is emptied.
    bool Grow() noexcept
    {
        Element** grown = nullptr;
        if (m_capacity <= INT32_MAX - m_step)
        {
            const size_t sizeBytes = static_cast<size_t>(m_capacity + m_step) * sizeof(Element*);
            grown = static_cast<Element**>(m_items != nullptr ? std::realloc(m_items, sizeBytes)
                                                              : std::malloc(sizeBytes));
        }
        DebugAssert(grown != nullptr, L"array", 663);
        if (grown == nullptr)
        {
            DeleteAll();
            return false;
        }
        m_items = grown;
        m_capacity += m_step;
        for (int32_t i = m_capacity - m_step; i < m_capacity; ++i)
            m_items[i] = nullptr;
        return true;
    }

    Element** m_items = nullptr;
    int32_t m_capacity = 0;
    int32_t m_step;
    // True until the first Add, and never again.
    bool m_untouched = true;
    int32_t m_count = 0;
};
