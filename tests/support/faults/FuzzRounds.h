#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

// Tests that try random bytes: the same ones in each run, and as many more as a longer run asks for (tools/fuzz).
//   ORV_FUZZ_ROUNDS  rounds of each such test
//   ORV_FUZZ_SEED    seed of the first round; each further round has the next one

// The rounds to run: the given number unless the environment says otherwise.
unsigned FuzzRounds(unsigned usual);
// The seed of a round, to be told when it fails: that round alone is repeated with it and ORV_FUZZ_ROUNDS=1.
uint64_t FuzzSeed(unsigned round);

// A source of bytes that look like nothing in particular, with more of the values that break things than chance
// would give.
class FuzzSource
{
public:
    explicit FuzzSource(uint64_t seed) : m_engine(seed) {}

    // 0 to limit - 1.
    uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(m_engine() % limit); }
    bool OneIn(uint32_t count) { return Below(count) == 0; }
    // Often a limit of something, else anything.
    int32_t Number();
    void Fill(void* destination, size_t sizeBytes);
    // UTF-16 units, none of them NUL: percent signs, halves of surrogate pairs, line ends and anything else.
    std::wstring Text(size_t lengthUnits);

private:
    std::mt19937_64 m_engine;
};
