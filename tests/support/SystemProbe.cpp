#include "tests/support/SystemProbe.h"

#include <windows.h>

#include <malloc.h>
#include <winternl.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace
{
std::atomic<unsigned> g_counter{0};

// One handle of the system's table, as NtQuerySystemInformation class 16 lists it.
struct SystemHandle
{
    ULONG processId;
    UCHAR type;
    UCHAR flags;
    USHORT handle;
    void* object;
    ACCESS_MASK access;
};

struct SystemHandles
{
    ULONG count;
    SystemHandle handles[1];
};
} // namespace

// GetProcessHandleCount always answers 0 under Wine; the system's handle table is right on both.
unsigned OpenHandleCount()
{
    using Query = NTSTATUS(NTAPI*)(ULONG, void*, ULONG, ULONG*);
    static const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleW(L"ntdll"), "NtQuerySystemInformation")));
    std::vector<unsigned char> buffer(1U << 20);
    ULONG needed = 0;
    NTSTATUS status = 0;
    while ((status = query(16, buffer.data(), static_cast<ULONG>(buffer.size()), &needed)) < 0)
    {
        if (buffer.size() > 64U << 20)
            throw std::runtime_error("the system's handle table cannot be read");
        buffer.resize(buffer.size() * 2);
    }
    const auto* const table = reinterpret_cast<const SystemHandles*>(buffer.data());
    unsigned count = 0;
    for (ULONG i = 0; i < table->count; ++i)
        count += table->handles[i].processId == GetCurrentProcessId() ? 1U : 0U;
    return count;
}

bool HeapIsConsistent()
{
    return _heapchk() == _HEAPOK && HeapValidate(GetProcessHeap(), 0, nullptr) != FALSE;
}

std::wstring FreshName(const wchar_t* prefix)
{
    return std::wstring(prefix) + L"_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(++g_counter);
}

unsigned FreshId()
{
    // Process ids are multiples of 4 and small; an odd number with the top bit set is none.
    return 0x80000001U | (GetCurrentProcessId() & 0x7FFFU) << 16 | (++g_counter & 0x7FFFU) << 1;
}

std::wstring HexId(unsigned id)
{
    std::wstring text;
    for (int shift = 28; shift >= 0; shift -= 4)
        text += L"0123456789abcdef"[id >> shift & 0xF];
    return text;
}

std::wstring FreshFolder()
{
    wchar_t temp[MAX_PATH]{};
    GetTempPathW(MAX_PATH, temp);
    std::wstring folder = temp + FreshName(L"orv");
    // A process id may come again: a folder left by an earlier run gets out of the way.
    while (CreateDirectoryW(folder.c_str(), nullptr) == FALSE)
    {
        if (GetLastError() != ERROR_ALREADY_EXISTS)
            throw std::runtime_error("no temporary folder");
        folder = temp + FreshName(L"orv");
    }
    return folder;
}
