#include "OrvProfiler/share/ValueNames.h"

#include "OrvProfiler/share/ShareLayout.h"

#include <cstddef>

namespace
{
constexpr const wchar_t* c_unknown = L"Unknown";

constexpr const wchar_t* c_varTreeNames[] = {
    L"VarTreeNone",     L"VarLocalTree", L"VarWatchTree",   L"VarGlobalTree",
    L"VarInstanceTree", L"VarSpecial",   L"VarExpressions", L"VarTestPoints",
};

// Value 6 has no name of its own, on purpose.
constexpr const wchar_t* c_symTypeNames[] = {
    L"None", L"COFF", L"SymCv", L"PDB", L"Export", L"Deferred", c_unknown, L"DIA", L"Virtual", L"NumSymTypes",
};

template <size_t Count>
const wchar_t* NameOf(const wchar_t* const (&names)[Count], uint32_t value) noexcept
{
    return value < Count ? names[value] : c_unknown;
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
