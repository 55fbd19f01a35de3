#include "OrvProfiler/share/PackedIds.h"

#include "OrvProfiler/foundation/DebugAssert.h"

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxyShare";
constexpr uint32_t c_taggedValueShift = 23;
constexpr uint32_t c_taggedValueMask = 0x7FFFFF00;
constexpr uint32_t c_taggedKindBit = 0x80000000;
constexpr uint32_t c_pairLimitA = 0x100000;
constexpr uint32_t c_pairLimitB = 4096;
constexpr uint32_t c_pairShift = 20;
} // namespace

uint32_t PackTaggedId(uint32_t kind, uint32_t lowByte, uint32_t value) noexcept
{
    DebugAssert(lowByte <= 0xFF, c_source, 200);
    DebugAssert(value <= 0xFF, c_source, 201);
    const uint32_t id = value << c_taggedValueShift | lowByte;
    DebugAssert((id & c_taggedKindBit) == 0, c_source, 205);
    return kind == 2 ? id | c_taggedKindBit : id;
}

uint32_t TaggedIdValue(uint32_t id) noexcept
{
    return (id & c_taggedValueMask) >> c_taggedValueShift;
}

uint32_t TaggedIdLow(uint32_t id) noexcept
{
    return id & 0xFF;
}

uint32_t TaggedIdKind(uint32_t id) noexcept
{
    return (id & c_taggedKindBit) != 0 ? 2 : 1;
}

uint32_t PackIndexPair(uint32_t a, uint32_t b) noexcept
{
    DebugAssert(a < c_pairLimitA, c_source, 3006);
    DebugAssert(b < c_pairLimitB, c_source, 3007);
    return b << c_pairShift | a;
}

void UnpackIndexPair(uint32_t pair, uint32_t* a, uint32_t* b) noexcept
{
    *a = pair & (c_pairLimitA - 1);
    *b = pair >> c_pairShift;
}

uint64_t MakeQword(uint32_t high, uint32_t low) noexcept
{
    return uint64_t{high} << 32 | low;
}

uint32_t LowDword(uint64_t value) noexcept
{
    return static_cast<uint32_t>(value);
}

uint32_t HighDword(uint64_t value) noexcept
{
    return static_cast<uint32_t>(value >> 32);
}
