#pragma once

#include <cstdint>

// Ids and indices that the client and its helper processes pack into one word. Pure computation: any thread.

// A tagged id: a value (0 to 255) in bits 23 to 30, a low byte, and a kind, 1 or 2; bit 31 says that it is 2. Nothing
// is cut: a value or a low byte that does not fit sets bits that are not its own.
uint32_t PackTaggedId(uint32_t kind, uint32_t lowByte, uint32_t value) noexcept;
uint32_t TaggedIdValue(uint32_t id) noexcept;
uint32_t TaggedIdLow(uint32_t id) noexcept;
uint32_t TaggedIdKind(uint32_t id) noexcept;

// A pair of indices in one word: a below 0x100000 in the low 20 bits, b below 4096 above them.
uint32_t PackIndexPair(uint32_t a, uint32_t b) noexcept;
void UnpackIndexPair(uint32_t pair, uint32_t* a, uint32_t* b) noexcept;

// The two halves of a 64-bit value.
uint64_t MakeQword(uint32_t high, uint32_t low) noexcept;
uint32_t LowDword(uint64_t value) noexcept;
uint32_t HighDword(uint64_t value) noexcept;
