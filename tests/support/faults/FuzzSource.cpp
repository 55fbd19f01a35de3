#include "tests/support/faults/FuzzSource.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace
{
uint64_t FromEnvironment(const char* name, uint64_t usual)
{
    const char* const text = std::getenv(name);
    return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 10) : usual;
}
} // namespace

unsigned FuzzRounds(unsigned usual)
{
    return static_cast<unsigned>(FromEnvironment("ORV_FUZZ_ROUNDS", usual));
}

uint64_t FuzzSeed(unsigned round)
{
    return FromEnvironment("ORV_FUZZ_SEED", 1) + round;
}

int32_t FuzzSource::Number()
{
    constexpr int32_t special[] = {0,   1,   -1,   2,    127,  128,        129,       255,
                                   256, 257, -128, 1023, 1024, 0x7FFFFFFF, INT32_MIN, 0x10000};
    if (OneIn(4))
        return static_cast<int32_t>(m_engine());
    return OneIn(2) ? static_cast<int32_t>(Below(130)) : special[Below(std::size(special))];
}

void FuzzSource::Fill(void* destination, size_t sizeBytes)
{
    auto* bytes = static_cast<unsigned char*>(destination);
    while (sizeBytes > 0)
    {
        const uint64_t value = m_engine();
        const size_t part = std::min(sizeBytes, sizeof value);
        std::memcpy(bytes, &value, part);
        bytes += part;
        sizeBytes -= part;
    }
}

std::wstring FuzzSource::Text(size_t lengthUnits)
{
    constexpr wchar_t special[] = {L'%', L's',   L'n',   L'd',   L'*',   L'\\', L'"',
                                   L';', 0xD800, 0xDC00, 0xDFFF, 0xFFFE, 1};
    std::wstring text(lengthUnits, L'\0');
    Fill(text.data(), lengthUnits * sizeof(wchar_t));
    for (wchar_t& unit : text)
    {
        if (unit % 2 == 0)
            unit = special[unit / 2 % std::size(special)];
    }
    return text;
}
