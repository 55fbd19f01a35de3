#include "OrvProfiler/protocol/WorkbenchFiles.h"

#include <gtest/gtest.h>
#include <string>

TEST(WorkbenchFiles, BaseNameHasNeitherFolderNorExtension)
{
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"C:\\any\\dir\\OrvWorkBench64.exe", L"OrvWorkBench64"},
        {L"a.b.c.exe", L"a.b.c"},
        {L"C:\\v1.0\\Bench", L"Bench"},
        {L"C:\\any\\.exe", L""},
        {L"C:\\any\\", L""},
        {L"", L""},
    };
    for (const auto& [path, name] : cases)
        EXPECT_EQ(name, ProgramBaseName(path)) << testing::PrintToString(path);
}

TEST(WorkbenchFiles, BaseNameIsAPartOfThePath)
{
    const std::wstring path = L"C:\\dir\\Bench.exe";
    EXPECT_EQ(path.data() + 7, ProgramBaseName(path).data());
}
