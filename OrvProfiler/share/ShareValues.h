#pragma once

#include <cstdint>

// Names of values that stand in the share and small helpers that travel with it. Pure functions: any thread. Returned
// names are static texts.

// The kinds of variable trees of the debugger's views, 0 to 7; "Unknown" for any other value.
const wchar_t* VarTreeName(uint32_t value) noexcept;
// The symbol types of DbgHelp, 0 to 9; "Unknown" for any other value and, deliberately, for 6.
const wchar_t* SymTypeName(uint32_t value) noexcept;
// A set of c_record... bits, by its most telling one; "Null" for none.
const wchar_t* RecordModeName(uint32_t bits) noexcept;

// A tagged id: the value (0 to 255) in bits 23 to 30, a low byte, and bit 31 for kind 2. Kinds are 1 and 2. Bits of
// value or low byte that do not fit are dropped.
uint32_t PackTaggedId(uint32_t kind, uint32_t lowByte, uint32_t value) noexcept;
uint32_t TaggedIdValue(uint32_t id) noexcept;
uint32_t TaggedIdLow(uint32_t id) noexcept;
uint32_t TaggedIdKind(uint32_t id) noexcept;

// A pair of indices in one word: a below 0x100000 in the low 20 bits, b below 4096 above them.
uint32_t PackIndexPair(uint32_t a, uint32_t b) noexcept;
void UnpackIndexPair(uint32_t pair, uint32_t* a, uint32_t* b) noexcept;

uint64_t MakeQword(uint32_t high, uint32_t low) noexcept;
uint32_t LowDword(uint64_t value) noexcept;
uint32_t HighDword(uint64_t value) noexcept;

// Convert between text of a code page (a Windows code page number) and UTF-16. length counts the units of text to be
// converted, without a NUL. Store a new text, NUL-terminated, that the caller frees with delete[], and return its
// length without the NUL; 0 with a null result on failure and for an empty text (a null one, one that begins with a
// NUL, or a length of 0 or less).
int32_t ToWide(const char* text, int32_t length, wchar_t** result, uint32_t codePage);
int32_t ToNarrow(const wchar_t* text, int32_t length, char** result, uint32_t codePage);

// Copies a text into a buffer of capacity units, the NUL included; one that does not fit is cut after capacity - 1
// units. An empty, null or unreadable source gives an empty destination. Nothing for a null destination or a capacity
// of 0.
void CopyText(wchar_t* destination, const wchar_t* source, uint64_t capacity);
