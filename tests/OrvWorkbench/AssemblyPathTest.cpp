#include "OrvProfiler/OrvWorkbench/AssemblyPath.h"

#include <gtest/gtest.h>
#include <string>

TEST(AssemblyPath, IsTheProgramsBaseNameWithDll)
{
    const std::wstring longName(400, L'n');
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"C:\\any\\dir\\OrvWorkBench64.exe", L"OrvWorkBench64.dll"},
        {L"OrvWorkBench64.exe", L"OrvWorkBench64.dll"},
        {L"\\\\server\\share\\Work Bench.exe", L"Work Bench.dll"},
        {L"..\\OrvWorkBench64.EXE", L"OrvWorkBench64.dll"},
        {L"a.b.c.exe", L"a.b.c.dll"},
        {L"C:\\d.ir\\a.b.exe", L"a.b.dll"},
        // No extension: the whole name is taken.
        {L"C:\\any\\OrvWorkBench64", L"OrvWorkBench64.dll"},
        {L"OrvWorkBench64", L"OrvWorkBench64.dll"},
        // A dot of the folder is no extension.
        {L"C:\\v1.0\\OrvWorkBench64", L"OrvWorkBench64.dll"},
        {L".\\OrvWorkBench64", L"OrvWorkBench64.dll"},
        // A slash is part of the name.
        {L"C:/any/OrvWorkBench64.exe", L"C:/any/OrvWorkBench64.dll"},
        {L"C:\\any\\.exe", L".dll"},
        {L"C:\\any\\name.", L"name.dll"},
        {L"C:\\any\\", L".dll"},
        {L"C:\\a.ny\\", L".dll"},
        {L".", L".dll"},
        {L"\\", L".dll"},
        {L"", L".dll"},
        {L"C:\\\x00FC\x4E2D\\\x20AC.exe", L"\x20AC.dll"},
        {L"C:\\" + longName + L".x\\" + longName + L".exe", longName + L".dll"},
    };
    for (const auto& [program, assembly] : cases)
        EXPECT_STREQ(assembly.c_str(), AssemblyPathOf(program.c_str())) << testing::PrintToString(program);
}
