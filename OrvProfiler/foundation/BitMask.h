#pragma once

#include <cstdint>

// A set of bit flags numbered from 0 that grows by itself when a bit beyond its end is touched. Bit n lives in word
// n / 32 at position n % 32. Belongs to one thread or to the lock of the object that holds it. Allocation failure
// raises std::bad_alloc.
class BitMask
{
public:
    // 64 bits, all clear.
    BitMask();
    // 32 bits: the bits of value. Not explicit: a 32-bit set may be given where a mask is wanted.
    BitMask(uint32_t value); // NOLINT(google-explicit-constructor)
    BitMask(const BitMask& other);
    BitMask& operator=(const BitMask& other);
    ~BitMask();

    // Makes room for the given number of bits and one spare word. The old bits are kept only when the mask grows in
    // words; new words are all ones when fill is set, else zero. Shrinking, or resizing to the same number of words,
    // deliberately loses the old bits.
    void Resize(uint32_t bits, bool fill);

    // Whether bit n is set. A bit beyond the mask grows it first.
    bool Test(uint32_t n);
    bool IsClear(uint32_t n) { return !Test(n); }
    // Sets or clears bit n, growing the mask when needed. Always true.
    bool Set(uint32_t n, bool value);

    void ClearAll() noexcept;
    bool IsEmpty() const noexcept;
    // Turns every word into its complement, the spare bits included.
    void Invert() noexcept;

    // True when each examined pair of words shares at least one set bit. How many words are examined is decided by
    // comparing this mask's bits with the other's words; that odd comparison is deliberate. Words that one of the
    // masks does not have count as zero.
    bool OverlapsInEveryWord(const BitMask& other) const noexcept;

    // The number of bits asked for at the last Resize.
    uint32_t GetBits() const noexcept { return m_bits; }
    uint32_t GetWordCount() const noexcept { return m_wordCount; }
    // Word i, 0 beyond the last.
    uint32_t GetWord(uint32_t i) const noexcept { return i < m_wordCount ? m_words[i] : 0; }

private:
    static constexpr uint32_t c_bytesPerWord = 4;
    static constexpr uint32_t c_bitsPerWord = 32;

    uint32_t& LocateWord(uint32_t n);

    uint32_t* m_words = nullptr;
    uint32_t m_bits = 0;
    // The same in every mask.
    uint32_t m_bytesPerWord = 0;
    uint32_t m_bitsPerWord = 0;
    uint32_t m_wordCount = 0;
    uint64_t m_byteSize = 0;
};

static_assert(sizeof(BitMask) == 32, "words, four 32-bit counts, byte size");
