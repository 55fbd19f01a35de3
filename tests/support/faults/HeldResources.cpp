#include "tests/support/faults/HeldResources.h"

#include <windows.h>

#include <malloc.h>

#include <cstdint>

namespace
{
// Handles are multiples of 4. A free value is used again before a greater one is made, so no handle lies behind that
// many free values.
constexpr unsigned c_handleStep = 4;
constexpr unsigned c_freeHandlesBehindTheLast = 1024;
} // namespace

// Tries each possible value. GetProcessHandleCount always answers 0 under Wine, and reading the system's handle table
// (NtQuerySystemInformation, class 16) while another process starts or ends can crash the Wine server.
unsigned OpenHandleCount()
{
    unsigned count = 0;
    uintptr_t handle = c_handleStep;
    for (unsigned free = 0; free < c_freeHandlesBehindTheLast; handle += c_handleStep)
    {
        DWORD flags = 0;
        const bool isOpen = GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != FALSE;
        count += isOpen ? 1U : 0U;
        free = isOpen ? 0 : free + 1;
    }
    return count;
}

unsigned MappedViewCount()
{
    unsigned count = 0;
    MEMORY_BASIC_INFORMATION region{};
    const unsigned char* address = nullptr;
    const void* last = nullptr;
    while (VirtualQuery(address, &region, sizeof region) != 0)
    {
        if (region.Type == MEM_MAPPED && region.AllocationBase != last)
        {
            ++count;
            last = region.AllocationBase;
        }
        address = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize;
    }
    return count;
}

bool HeapIsConsistent()
{
    return _heapchk() == _HEAPOK && HeapValidate(GetProcessHeap(), 0, nullptr) != FALSE;
}
