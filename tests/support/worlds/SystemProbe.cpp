#include "tests/support/worlds/SystemProbe.h"

#include <windows.h>

#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>

namespace
{
std::atomic<unsigned> g_counter{0};

// Handles are multiples of 4, and free ones are used again before greater ones are made: none lies behind so many
// free ones.
constexpr unsigned c_handleStep = 4;
constexpr unsigned c_freeHandlesBehindTheLast = 1024;
} // namespace

// By asking for each possible handle. GetProcessHandleCount always answers 0 under Wine, and the system's handle
// table (NtQuerySystemInformation, class 16) now and then makes the Wine server crash when it is read while another
// process starts or ends.
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
