#include "OrvProfiler/foundation/Path.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/faults/FaultScenario.h"
#include "tests/support/processes/ChildProcess.h"

#include <windows.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <set>

// What a process asks the system only once, with each call failing in turn: each run is a process of its own.

namespace
{
// The exit code of a run: what worked.
constexpr int c_ownId = 1;
constexpr int c_drivePath = 2;
constexpr int c_drivePathAgain = 4;
constexpr int c_libraryGivenBack = 8;
constexpr int c_noCallFailed = 16;

// A system with two drives.
DWORD WINAPI TwoDrives(DWORD, wchar_t* buffer)
{
    constexpr wchar_t drives[] = L"C:\\\0Z:\\\0";
    std::copy(std::begin(drives), std::end(drives), buffer);
    return static_cast<DWORD>(std::size(drives)) - 2;
}

DWORD WINAPI DeviceOf(const wchar_t* drive, wchar_t* buffer, DWORD)
{
    const std::wstring device = L"\\Device\\Drive" + std::wstring(drive, 1);
    std::copy_n(device.c_str(), device.size() + 1, buffer);
    return static_cast<DWORD>(device.size()) + 2;
}

bool BecomesDrivePath(const wchar_t* devicePath)
{
    return DeviceToDrivePath(devicePath) == std::wstring(L"C:\\folder\\file");
}

// Arguments: the function and the number of the call that fails.
ORV_CHILD_ROLE(AskOnce)
{
    const std::string function(arguments.at(0).begin(), arguments.at(0).end());
    const auto call = static_cast<unsigned>(std::stoul(arguments.at(1)));
    constexpr const wchar_t* path = L"\\Device\\DriveC\\folder\\file";
    const Redirect<decltype(GetLogicalDriveStringsW)> drives("GetLogicalDriveStringsW", TwoDrives);
    const Redirect<decltype(QueryDosDeviceW)> devices("QueryDosDeviceW", DeviceOf);
    SystemFaults faults;
    faults.FailCall(function, call);
    int worked = g_SecManager.GetProcessIdOfHandle(GetCurrentProcess()) == GetCurrentProcessId() ? c_ownId : 0;
    worked |= BecomesDrivePath(path) ? c_drivePath : 0;
    worked |= BecomesDrivePath(path) ? c_drivePathAgain : 0;
    DebuggerCheck();
    DebuggerCheckRelease();
    faults.Stop();
    worked |= faults.Successes("LoadLibraryW") == faults.Successes("FreeLibrary") ? c_libraryGivenBack : 0;
    return worked | (faults.HasFailed() ? 0 : c_noCallFailed);
}

struct OnceRow
{
    const wchar_t* function;
    unsigned call;
    int worked;
};

constexpr int c_all = c_ownId | c_drivePath | c_drivePathAgain | c_libraryGivenBack;

constexpr OnceRow c_rows[] = {
    // There are two ways to get the id; each works without the other.
    {L"GetModuleHandleW", 1, c_all},
    {L"GetModuleHandleW", 2, c_all},
    {L"GetModuleHandleW", 3, c_all | c_noCallFailed},
    {L"GetProcAddress", 1, c_all},
    {L"GetProcAddress", 2, c_all},
    {L"GetProcAddress", 3, c_all}, // whether there is a debugger, which changes nothing
    {L"GetProcAddress", 4, c_all | c_noCallFailed},
    {L"GetProcessId", 1, c_all & ~c_ownId},
    {L"GetProcessId", 2, c_all | c_noCallFailed},
    // After a failed list of drives there is none for good, and a single drive that failed stays missing.
    {L"GetLogicalDriveStringsW", 1, c_all & ~(c_drivePath | c_drivePathAgain)},
    {L"GetLogicalDriveStringsW", 2, c_all | c_noCallFailed},
    {L"QueryDosDeviceW", 1, c_all & ~(c_drivePath | c_drivePathAgain)},
    {L"QueryDosDeviceW", 2, c_all},
    {L"QueryDosDeviceW", 3, c_all | c_noCallFailed},
    {L"LoadLibraryW", 1, c_all},
    {L"LoadLibraryW", 2, c_all | c_noCallFailed},
    {L"FreeLibrary", 1, c_all},
    {L"FreeLibrary", 2, c_all | c_noCallFailed},
};
} // namespace

std::set<std::string> FunctionsAskedOnce()
{
    std::set<std::string> functions;
    for (const OnceRow& row : c_rows)
        functions.emplace(row.function, row.function + wcslen(row.function));
    return functions;
}

TEST(SystemFaultsInWhatIsAskedOnce, AnyCallMayFail)
{
    for (const OnceRow& row : c_rows)
    {
        const unsigned worked =
            ChildProcess::StartRole(L"AskOnce", {row.function, std::to_wstring(row.call)}).WaitForExit();
        EXPECT_EQ(static_cast<int>(worked), row.worked)
            << std::string(row.function, row.function + wcslen(row.function)) << ", call " << row.call;
    }
}
