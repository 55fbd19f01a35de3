#include "OrvProfiler/security/ProcessInformation.h"

#include <windows.h>

#include <winternl.h>

#include <algorithm>
#include <iterator>

namespace
{
static_assert(ProcessBasicInformation == 0 && ProcessImageFileName == 27);

constexpr size_t c_imageNameUnits = 260;

bool Query(NtQueryInformationProcessFunction query, HANDLE process, PROCESSINFOCLASS informationClass, void* answer,
           ULONG size) noexcept
{
    return query != nullptr && query(process, informationClass, answer, size, nullptr) >= 0;
}

// The image name by NtQueryInformationProcess; empty on failure.
TString AskImageName(NtQueryInformationProcessFunction query, HANDLE process) noexcept
{
    ProcessImageName answer{};
    answer.name.maximumBytes = c_imageNameUnits;
    if (!Query(query, process, ProcessImageFileName, &answer, c_processImageNameBytes))
        return TString();
    // The text lies in the answer, wherever the system put it.
    const auto offset = reinterpret_cast<uintptr_t>(answer.name.text) - reinterpret_cast<uintptr_t>(answer.text);
    if (offset >= sizeof answer.text)
        return TString();
    const size_t first = offset / sizeof(wchar_t);
    const size_t last = first + answer.name.lengthBytes / sizeof(wchar_t);
    answer.text[std::min(last, std::size(answer.text) - 1)] = L'\0';
    return TString(answer.text + first);
}

// The two ways from a process handle to its id, of which older systems lack one.
struct IdFunctions
{
    NtQueryInformationProcessFunction queryInformation{GetModuleHandleW(L"NTDLL.DLL"), "NtQueryInformationProcess"};
    SystemFunction<DWORD(HANDLE)> getProcessId{GetModuleHandleW(L"KERNEL32.DLL"), "GetProcessId"};
    static_assert(decltype(getProcessId)::Fits<decltype(GetProcessId)>());
};
} // namespace

bool QueryProcess(NtQueryInformationProcessFunction query, HANDLE process, ProcessBasics& answer) noexcept
{
    return Query(query, process, ProcessBasicInformation, &answer, sizeof answer);
}

uint32_t QueryProcessId(HANDLE process) noexcept
{
    static const IdFunctions functions;
    if (functions.getProcessId != nullptr)
        return functions.getProcessId(process);
    ProcessBasics basics{};
    return QueryProcess(functions.queryInformation, process, basics) ? static_cast<uint32_t>(basics.processId) : 0;
}

TString QueryImageName(const SystemFunctionTable& functions, HANDLE process) noexcept
{
    if (process == nullptr)
        return TString();
    if (functions.queryFullProcessImageNameW == nullptr)
        return AskImageName(functions.ntQueryInformationProcess, process);
    wchar_t name[c_imageNameUnits]{};
    auto units = static_cast<DWORD>(std::size(name));
    const BOOL known = functions.queryFullProcessImageNameW(process, PROCESS_NAME_NATIVE, name, &units);
    return known != FALSE ? TString(name) : TString();
}

bool IsNative64BitProcess(const SystemFunctionTable& functions, HANDLE process) noexcept
{
    SYSTEM_INFO system{};
    GetNativeSystemInfo(&system);
    if (system.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_AMD64 &&
        system.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_IA64)
        return false;
    if (functions.isWow64Process == nullptr)
        return false;
    BOOL isWow64 = TRUE;
    const BOOL known = functions.isWow64Process(process, &isWow64);
    return known != FALSE && isWow64 == FALSE;
}
