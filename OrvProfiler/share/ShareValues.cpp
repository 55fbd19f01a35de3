#include "OrvProfiler/share/ShareValues.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/share/ShareLayout.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <memory>
#include <new>

namespace
{
constexpr const wchar_t* c_source = L"ProxyShare";
constexpr const wchar_t* c_unknown = L"Unknown";

constexpr const wchar_t* c_varTreeNames[] = {
    L"VarTreeNone",     L"VarLocalTree", L"VarWatchTree",   L"VarGlobalTree",
    L"VarInstanceTree", L"VarSpecial",   L"VarExpressions", L"VarTestPoints",
};

// Value 6 deliberately has no name of its own.
constexpr const wchar_t* c_symTypeNames[] = {
    L"None", L"COFF", L"SymCv", L"PDB", L"Export", L"Deferred", c_unknown, L"DIA", L"Virtual", L"NumSymTypes",
};

template <size_t Count>
const wchar_t* NameOf(const wchar_t* const (&names)[Count], uint32_t value) noexcept
{
    return value < Count ? names[value] : c_unknown;
}

constexpr uint32_t c_taggedValueShift = 23;
constexpr uint32_t c_taggedValueMask = 0x7FFFFF00;
constexpr uint32_t c_taggedKindBit = 0x80000000;
constexpr uint32_t c_pairLimitA = 0x100000;
constexpr uint32_t c_pairLimitB = 4096;
constexpr uint32_t c_pairShift = 20;

template <class Char>
bool IsEmptyText(const Char* text, int32_t length) noexcept
{
    return text == nullptr || length <= 0 || *text == 0;
}

// convert(buffer, capacity) answers the units needed when capacity is 0, else the units written.
template <class Char, class Convert>
int32_t ConvertText(Char** result, const Convert& convert)
{
    const int needed = convert(nullptr, 0);
    DebugAssert(needed > 0, c_source, 171);
    if (needed <= 0)
        return 0;
    std::unique_ptr<Char[]> buffer(new (std::nothrow) Char[static_cast<size_t>(needed) + 1]);
    if (buffer == nullptr)
        return 0;
    const int written = convert(buffer.get(), needed);
    DebugAssert(written > 0, c_source, 171);
    if (written <= 0)
        return 0;
    buffer[static_cast<size_t>(written)] = 0;
    *result = buffer.release();
    return written;
}
} // namespace

const wchar_t* VarTreeName(uint32_t value) noexcept
{
    return NameOf(c_varTreeNames, value);
}

const wchar_t* SymTypeName(uint32_t value) noexcept
{
    return NameOf(c_symTypeNames, value);
}

const wchar_t* RecordModeName(uint32_t bits) noexcept
{
    constexpr uint32_t silentAuto = c_recordAuto | c_recordSilent;
    if ((bits & c_recordNone) != 0)
        return L"Not Recording";
    if ((bits & silentAuto) == silentAuto)
        return L"Silent Auto Recording";
    if ((bits & c_recordManual) != 0)
        return L"Manual Recording";
    return (bits & c_recordAuto) != 0 ? L"Auto Recording" : L"Null";
}

uint32_t PackTaggedId(uint32_t kind, uint32_t lowByte, uint32_t value) noexcept
{
    DebugAssert(lowByte <= 0xFF, c_source, 200);
    DebugAssert(value <= 0xFF, c_source, 201);
    // Whatever does not fit must not turn into the kind's bit or into the low byte's neighbours.
    const uint32_t id = ((value << c_taggedValueShift) & ~c_taggedKindBit) | (lowByte & 0xFF);
    DebugAssert((value << c_taggedValueShift & c_taggedKindBit) == 0, c_source, 205);
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

int32_t ToWide(const char* text, int32_t length, wchar_t** result, uint32_t codePage)
{
    *result = nullptr;
    if (IsEmptyText(text, length))
        return 0;
    return ConvertText(result, [=](wchar_t* buffer, int capacity) {
        return MultiByteToWideChar(codePage, 0, text, length, buffer, capacity);
    });
}

int32_t ToNarrow(const wchar_t* text, int32_t length, char** result, uint32_t codePage)
{
    *result = nullptr;
    if (IsEmptyText(text, length))
        return 0;
    return ConvertText(result, [=](char* buffer, int capacity) {
        return WideCharToMultiByte(codePage, 0, text, length, buffer, capacity, nullptr, nullptr);
    });
}

void CopyText(wchar_t* destination, const wchar_t* source, uint64_t capacity)
{
    if (destination == nullptr || capacity == 0)
        return;
    const bool readable = source != nullptr && IsBadStringPtrW(source, capacity - 1) == FALSE;
    const uint64_t length = readable ? wcsnlen(source, capacity - 1) : 0;
    std::wmemmove(destination, source, length);
    destination[length] = L'\0';
}
