#include "OrvProfiler/foundation/BitMask.h"

#include "OrvProfiler/foundation/DebugAssert.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace
{
constexpr uint32_t c_defaultBits = 64;
// How far beyond the touched bit a mask grows by itself.
constexpr uint32_t c_growthBits = 256;

// The size to grow to for bit n; at most the greatest number, so that it does not wrap to a small one.
constexpr uint32_t GrownBits(uint32_t n) noexcept
{
    constexpr uint32_t last = std::numeric_limits<uint32_t>::max();
    return n > last - c_growthBits ? last : n + c_growthBits;
}
} // namespace

BitMask::BitMask()
{
    Resize(c_defaultBits, false);
}

BitMask::BitMask(uint32_t value)
{
    Resize(c_bitsPerWord, false);
    m_words[0] = value;
}

BitMask::BitMask(const BitMask& other)
{
    *this = other;
}

BitMask& BitMask::operator=(const BitMask& other)
{
    if (this == &other)
        return *this;
    Resize(other.m_bits, false);
    std::memcpy(m_words, other.m_words, m_byteSize);
    return *this;
}

BitMask::~BitMask()
{
    delete[] m_words;
}

void BitMask::Resize(uint32_t bits, bool fill)
{
    const uint32_t wordCount = bits / c_bitsPerWord + 1;
    const uint64_t byteSize = uint64_t{wordCount} * c_bytesPerWord;
    auto* const words = new uint32_t[wordCount];
    std::memset(words, fill ? 0xFF : 0, byteSize);
    if (m_byteSize > 0 && m_byteSize < byteSize)
        std::memcpy(words, m_words, m_byteSize);
    delete[] m_words;
    m_words = words;
    m_bits = bits;
    m_bytesPerWord = c_bytesPerWord;
    m_bitsPerWord = c_bitsPerWord;
    m_wordCount = wordCount;
    m_byteSize = byteSize;
}

uint32_t& BitMask::LocateWord(uint32_t n)
{
    const uint32_t index = n / c_bitsPerWord;
    if (index >= m_wordCount)
        Resize(GrownBits(n), false);
    return m_words[index];
}

bool BitMask::Test(uint32_t n)
{
    return (LocateWord(n) >> n % c_bitsPerWord & 1U) != 0;
}

bool BitMask::Set(uint32_t n, bool value)
{
    uint32_t& word = LocateWord(n);
    const uint32_t bit = 1U << n % c_bitsPerWord;
    if (value)
    {
        word |= bit;
        DebugAssert(Test(n), L"BitMask", 189);
    }
    else
    {
        word &= ~bit;
        DebugAssert(IsClear(n), L"BitMask", 194);
    }
    return true;
}

void BitMask::ClearAll() noexcept
{
    std::memset(m_words, 0, m_byteSize);
}

bool BitMask::IsEmpty() const noexcept
{
    return std::all_of(m_words, m_words + m_wordCount, [](uint32_t word) { return word == 0; });
}

void BitMask::Invert() noexcept
{
    for (uint32_t i = 0; i < m_wordCount; ++i)
        m_words[i] = ~m_words[i];
}

bool BitMask::OverlapsInEveryWord(const BitMask& other) const noexcept
{
    const uint32_t examined = m_bits > other.m_wordCount ? other.m_wordCount : m_wordCount;
    for (uint32_t i = 0; i < examined; ++i)
    {
        if ((GetWord(i) & other.GetWord(i)) == 0)
            return false;
    }
    return true;
}
