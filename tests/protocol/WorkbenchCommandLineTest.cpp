#include "OrvProfiler/protocol/WorkbenchCommandLine.h"

#include <gtest/gtest.h>
#include <string>

TEST(WorkbenchCommandLine, IsTheQuotedProgramTheModeWordAndTheClientId)
{
    EXPECT_EQ(L"\"C:\\a folder\\OrvWorkBench64.exe\" workbench 1a2b",
              WorkbenchCommandLine(L"C:\\a folder\\OrvWorkBench64.exe", 0x1A2B));
}
