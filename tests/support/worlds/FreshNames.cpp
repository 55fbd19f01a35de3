#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <atomic>
#include <stdexcept>

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

std::wstring FreshFolder()
{
    wchar_t temp[MAX_PATH]{};
    GetTempPathW(MAX_PATH, temp);
    std::wstring folder = temp + FreshName(L"orv");
    // A process id may come again, and an earlier run may have left its folder.
    while (CreateDirectoryW(folder.c_str(), nullptr) == FALSE)
    {
        if (GetLastError() != ERROR_ALREADY_EXISTS)
            throw std::runtime_error("no temporary folder");
        folder = temp + FreshName(L"orv");
    }
    return folder;
}
