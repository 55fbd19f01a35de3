#include "tests/support/faults/HeldResources.h"

#include "OrvProfiler/foundation/SystemFunction.h"

#include <windows.h>

#include <malloc.h>

#include <cstdint>
#include <sstream>

namespace
{
// Handles are multiples of 4. A free value is used again before a greater one is made, so no handle lies behind that
// many free values.
constexpr unsigned c_handleStep = 4;
constexpr unsigned c_freeHandlesBehindTheLast = 1024;

// Tries each possible value. GetProcessHandleCount always answers 0 under Wine, and reading the system's handle table
// (NtQuerySystemInformation, class 16) while another process starts or ends can crash the Wine server.
template <typename Visitor>
void VisitOpenHandles(Visitor visit)
{
    uintptr_t value = c_handleStep;
    for (unsigned free = 0; free < c_freeHandlesBehindTheLast; value += c_handleStep, ++free)
    {
        auto* const handle = reinterpret_cast<HANDLE>(value);
        DWORD flags = 0;
        if (GetHandleInformation(handle, &flags) == FALSE)
            continue;
        visit(handle);
        free = 0;
    }
}

// The name or the type of an object: both classes answer with a counted text first.
std::string ObjectText(HANDLE handle, int informationClass)
{
    using Query = LONG(HANDLE, int, void*, ULONG, ULONG*);
    static const SystemFunction<Query> query(GetModuleHandleW(L"ntdll"), "NtQueryObject");
    struct
    {
        unsigned short bytes;
        unsigned short capacity;
        const wchar_t* text;
        wchar_t rest[1024];
    } answer{};
    if (query == nullptr || query(handle, informationClass, &answer, sizeof answer, nullptr) != 0)
        return "?";
    return std::string(answer.text, answer.text + answer.bytes / sizeof(wchar_t));
}
} // namespace

unsigned OpenHandleCount()
{
    unsigned count = 0;
    VisitOpenHandles([&count](HANDLE) { ++count; });
    return count;
}

std::string OpenHandleNames()
{
    constexpr int nameClass = 1;
    constexpr int typeClass = 2;
    std::ostringstream names;
    VisitOpenHandles([&names](HANDLE handle) {
        const std::string type = ObjectText(handle, typeClass);
        // The question for a pipe's name may wait for what the pipe is busy with.
        names << handle << ' ' << type << ' ' << (type == "File" ? "" : ObjectText(handle, nameClass)) << '\n';
    });
    return names.str();
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
