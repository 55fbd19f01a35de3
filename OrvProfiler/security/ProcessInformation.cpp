#include "OrvProfiler/security/ProcessInformation.h"

#include <windows.h>

#include <winternl.h>

namespace
{
static_assert(ProcessBasicInformation == 0 && ProcessImageFileName == 27);

bool Query(EntryPoint query, HANDLE process, PROCESSINFOCLASS informationClass, void* answer, ULONG size) noexcept
{
    if (query == nullptr)
        return false;
    return EntryPointAs<decltype(NtQueryInformationProcess)>(query)(process, informationClass, answer, size,
                                                                    nullptr) >= 0;
}
} // namespace

bool QueryProcess(EntryPoint query, HANDLE process, ProcessBasics& answer) noexcept
{
    return Query(query, process, ProcessBasicInformation, &answer, sizeof answer);
}

bool QueryProcess(EntryPoint query, HANDLE process, ProcessImageName& answer) noexcept
{
    return Query(query, process, ProcessImageFileName, &answer, c_processImageNameBytes);
}
