#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

// For tests that try random bytes: the same in each run, and more of them in a longer one (tools/fuzz).
//   ORV_FUZZ_ROUNDS  rounds of each such test
//   ORV_FUZZ_SEED    seed of the first round; each further round has the next one

// The rounds to run: the given number unless the environment says otherwise.
unsigned FuzzRounds(unsigned usual);
// The seed of a round. A test that fails prints it: with it and ORV_FUZZ_ROUNDS=1 that round runs again.
uint64_t FuzzSeed(unsigned round);

// Random values, among them more of those that tend to break things than chance would give.
class FuzzSource
{
public:
    explicit FuzzSource(uint64_t seed) : m_engine(seed) {}

    // 0 to limit - 1.
    uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(m_engine() % limit); }
    bool OneIn(uint32_t count) { return Below(count) == 0; }
    // Any number; often the limit of a type or a table.
    int32_t Number();
    void Fill(void* destination, size_t sizeBytes);
    // UTF-16 units, none of them NUL: percent signs, halves of surrogate pairs, line ends and anything else.
    std::wstring Text(size_t lengthUnits);

private:
    std::mt19937_64 m_engine;
};
