#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <atomic>

namespace
{
std::atomic<unsigned> g_counter{0};
}

std::wstring FreshName(const wchar_t* prefix)
{
    return std::wstring(prefix) + L"_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(++g_counter);
}

uint32_t FreshId()
{
    // Process ids are multiples of 4 and small; an odd number with the top bit set is none.
    return 0x80000001U | (GetCurrentProcessId() & 0x7FFFU) << 16 | (++g_counter & 0x7FFFU) << 1;
}
