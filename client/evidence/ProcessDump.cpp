#include "client/evidence/ProcessDump.h"

#include "client/base/SystemFailure.h"
#include "OrvProfiler/foundation/SystemFunction.h"
#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <dbghelp.h>

namespace
{
constexpr int c_content = MiniDumpNormal | MiniDumpWithHandleData | MiniDumpWithUnloadedModules |
                          MiniDumpWithThreadInfo | MiniDumpIgnoreInaccessibleMemory;

using DumpWriter = SystemFunction<int(HANDLE, DWORD, HANDLE, int, PMINIDUMP_EXCEPTION_INFORMATION,
                                      PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION)>;
static_assert(DumpWriter::Fits<decltype(MiniDumpWriteDump)>());
} // namespace

std::wstring WriteDump(HANDLE process, uint32_t processId, HANDLE file)
{
    const UniqueLibrary library(LoadLibraryW(L"dbghelp.dll"));
    if (!library)
        return SystemFailure(L"dbghelp.dll cannot be loaded", GetLastError());
    const DumpWriter write(library.Get(), "MiniDumpWriteDump");
    if (write == nullptr)
        return L"dbghelp.dll has no MiniDumpWriteDump";
    if (write(process, processId, file, c_content, nullptr, nullptr, nullptr) == FALSE)
        return SystemFailure(L"the dump cannot be written", GetLastError());
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file, &size) != FALSE && static_cast<uint64_t>(size.QuadPart) > c_greatestDump)
        return L"the dump is too large: " + std::to_wstring(size.QuadPart) + L" bytes";
    return {};
}

std::wstring DumpGap()
{
    if (FindExport(GetModuleHandleW(L"ntdll"), "wine_get_version") == nullptr)
        return {};
    return L"Wine's dump knows only the threads that Wine started: those that carry out managed code are missing.";
}
