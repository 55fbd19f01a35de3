#pragma once

#include <cstdint>

// A set of bit flags, numbered from 0. It grows by itself when a bit beyond its end is read or written. Bit n is bit
// n % 32 of word n / 32. Belongs to one thread or to the lock of its owner. Raises std::bad_alloc when memory is
// short.
class BitMask
{
public:
    // 64 bits, all clear.
    BitMask();
    // 32 bits, those of value. Not explicit: a 32-bit value may stand where a mask is wanted.
    BitMask(uint32_t value); // NOLINT(google-explicit-constructor)
    BitMask(const BitMask& other);
    BitMask& operator=(const BitMask& other);
    ~BitMask();

    // Makes room for the given number of bits and a spare word. New words are all ones when fill is set, else zero.
    // The old bits are kept only when the number of words grows. Otherwise they are lost, on purpose: every word is
    // new.
    void Resize(uint32_t bits, bool fill);

    // Whether bit n is set. A bit beyond the mask grows it first.
    bool Test(uint32_t n);
    bool IsClear(uint32_t n) { return !Test(n); }
    // Sets or clears bit n, growing the mask when needed. Always true.
    bool Set(uint32_t n, bool value);

    void ClearAll() noexcept;
    bool IsEmpty() const noexcept;
    // Inverts every word, the spare bits included.
    void Invert() noexcept;

    // True when each compared pair of words shares at least one set bit. A word that one of the masks lacks counts as
    // zero. All words of the other mask are compared if there are fewer of them than this mask has bits (bits, not
    // words: the odd comparison is on purpose), else all words of this mask.
    bool OverlapsInEveryWord(const BitMask& other) const noexcept;

    // The number of bits that the last Resize was given.
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
