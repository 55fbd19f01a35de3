#include "client/process/ForeignEnvironment.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/security/ProcessInformation.h"
#include "OrvProfiler/security/ProcessLayout.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <string_view>

namespace
{
constexpr uintptr_t c_pageBytes = 4096;
// What is longer is no environment: the system's own limit is a fraction of it.
constexpr size_t c_longestUnits = 1 << 20;

template <class Structure>
bool ReadStructure(HANDLE process, const void* address, Structure& structure) noexcept
{
    SIZE_T read = 0;
    return ReadProcessMemory(process, address, &structure, sizeof structure, &read) != FALSE &&
           read == sizeof structure;
}

// Nobody tells how long it is: it is read page by page, up to the empty entry at its end.
std::wstring ReadEnvironment(HANDLE process, const void* address)
{
    constexpr std::wstring_view end(L"\0\0", 2);
    std::wstring block;
    auto place = reinterpret_cast<uintptr_t>(address);
    while (place != 0 && block.size() < c_longestUnits && block.find(end) == std::wstring::npos)
    {
        std::wstring page((c_pageBytes - place % c_pageBytes) / sizeof(wchar_t), L'\0');
        SIZE_T read = 0;
        if (page.empty() || ReadProcessMemory(process, reinterpret_cast<const void*>(place), page.data(),
                                              page.size() * sizeof(wchar_t), &read) == FALSE)
            break;
        block.append(page, 0, read / sizeof(wchar_t));
        place += read;
    }
    return block;
}
} // namespace

std::wstring EnvironmentValueOf(uint32_t processId, const wchar_t* name)
{
    const UniqueHandle process(OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
    const NtQueryInformationProcessFunction query(GetModuleHandleW(L"ntdll"), "NtQueryInformationProcess");
    ProcessBasics basic{};
    ProcessEnvironmentBlock block{};
    ProcessParameters parameters{};
    if (!process || !QueryProcess(query, process.Get(), basic) ||
        !ReadStructure(process.Get(), basic.environmentBlock, block) ||
        !ReadStructure(process.Get(), block.parameters, parameters))
        return {};
    const std::wstring environment = ReadEnvironment(process.Get(), parameters.environment);
    const size_t length = std::wcslen(name);
    for (size_t start = 0; start < environment.size() && environment[start] != L'\0';)
    {
        const size_t end = std::min(environment.find(L'\0', start), environment.size());
        if (_wcsnicmp(environment.c_str() + start, name, length) == 0 && environment[start + length] == L'=')
            return environment.substr(start + length + 1, end - start - length - 1);
        start = end + 1;
    }
    return {};
}
