#include "OrvProfiler/share/ValueNames.h"

#include <gmock/gmock.h>

TEST(ValueNames, VariableTreesHaveNames)
{
    EXPECT_STREQ(L"VarTreeNone", VarTreeName(0));
    EXPECT_STREQ(L"VarLocalTree", VarTreeName(1));
    EXPECT_STREQ(L"VarWatchTree", VarTreeName(2));
    EXPECT_STREQ(L"VarGlobalTree", VarTreeName(3));
    EXPECT_STREQ(L"VarInstanceTree", VarTreeName(4));
    EXPECT_STREQ(L"VarSpecial", VarTreeName(5));
    EXPECT_STREQ(L"VarExpressions", VarTreeName(6));
    EXPECT_STREQ(L"VarTestPoints", VarTreeName(7));
    for (const uint32_t value : {8U, 9U, 256U, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_STREQ(L"Unknown", VarTreeName(value)) << value;
}

TEST(ValueNames, SymbolTypesHaveNamesButForOne)
{
    EXPECT_STREQ(L"None", SymTypeName(0));
    EXPECT_STREQ(L"COFF", SymTypeName(1));
    EXPECT_STREQ(L"SymCv", SymTypeName(2));
    EXPECT_STREQ(L"PDB", SymTypeName(3));
    EXPECT_STREQ(L"Export", SymTypeName(4));
    EXPECT_STREQ(L"Deferred", SymTypeName(5));
    EXPECT_STREQ(L"Unknown", SymTypeName(6));
    EXPECT_STREQ(L"DIA", SymTypeName(7));
    EXPECT_STREQ(L"Virtual", SymTypeName(8));
    EXPECT_STREQ(L"NumSymTypes", SymTypeName(9));
    for (const uint32_t value : {10U, 11U, 256U, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_STREQ(L"Unknown", SymTypeName(value)) << value;
}

TEST(ValueNames, RecordModesAreNamedByTheirMostTellingBit)
{
    struct Row
    {
        uint32_t bits;
        const wchar_t* name;
    };
    constexpr Row rows[] = {
        {0, L"Null"},
        {1, L"Not Recording"},
        {2, L"Manual Recording"},
        {3, L"Not Recording"},
        {4, L"Auto Recording"},
        {5, L"Not Recording"},
        {6, L"Manual Recording"},
        {7, L"Not Recording"},
        {8, L"Null"},
        {9, L"Not Recording"},
        {10, L"Manual Recording"},
        {11, L"Not Recording"},
        {12, L"Silent Auto Recording"},
        {13, L"Not Recording"},
        {14, L"Silent Auto Recording"},
        {15, L"Not Recording"},
        {16, L"Null"},
        {0xFFFFFFF0, L"Null"},
        {0xFFFFFFFE, L"Silent Auto Recording"},
        {0xFFFFFFFF, L"Not Recording"},
    };
    for (const Row& row : rows)
        EXPECT_STREQ(row.name, RecordModeName(row.bits)) << row.bits;
}
