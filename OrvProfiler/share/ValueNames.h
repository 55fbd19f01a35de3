#pragma once

#include <cstdint>

// Names of values that stand in the share, for the log and for display. Static texts; any thread.

// The kinds of variable trees in the debugger's views, 0 to 7; "Unknown" for any other value.
const wchar_t* VarTreeName(uint32_t value) noexcept;
// The symbol types of DbgHelp, 0 to 9; "Unknown" for any other value and, on purpose, for 6.
const wchar_t* SymTypeName(uint32_t value) noexcept;
// A set of c_record... bits, named after the one that says most; "Null" for none.
const wchar_t* RecordModeName(uint32_t bits) noexcept;
