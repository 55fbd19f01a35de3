#include "bench/BenchSession.h"
#include "bench/Ratios.h"
#include "OrvProfiler/protocol/WorkbenchCommandLine.h"
#include "OrvProfiler/protocol/WorkbenchFiles.h"

#include <cstdint>
#include <string>

namespace
{
std::string Kilobytes(uint64_t bytes)
{
    return std::to_string((bytes + 1023) / 1024) + " KiB";
}
} // namespace

TEST_CASE("session")
{
    const BenchClient client(0x4C000001);
    const BenchClient bareClient(0x4C000003);
    const BenchWorkbench workbench(client, c_workbenchProgramFile, c_workbenchModeWord);
    const BenchWorkbench bare(bareClient, c_bareProgramFile, L"session");
    CompareRatio(
        "load command, set to final response", 1.10, [&] { return client.Load(); },
        [&] { return bareClient.Load(); });
    CompareRatio(
        "invoke command, set to final response", 1.10, [&] { return client.Invoke(); },
        [&] { return bareClient.Invoke(); });
    ratios::State("working set of a workbench with an open share", Kilobytes(workbench.WorkingSetBytes()));
    ratios::State("working set of the bare program", Kilobytes(bare.WorkingSetBytes()));
}

TEST_CASE("start")
{
    constexpr int rounds = 5;
    const BenchClient client(0x4C000005);
    CompareRatio(
        "start of the process to the ready message", 1.15,
        [&] { return BenchWorkbench(client, c_workbenchProgramFile, c_workbenchModeWord).WorkingSetBytes(); },
        [&] { return BenchWorkbench(client, c_bareProgramFile, L"start").WorkingSetBytes(); }, rounds);
    WIN32_FILE_ATTRIBUTE_DATA file{};
    GetFileAttributesExW((BenchStage() + c_workbenchProgramFile).c_str(), GetFileExInfoStandard, &file);
    ratios::State("size of OrvWorkBench64.exe", Kilobytes(file.nFileSizeLow));
}
