#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <io.h>

#include <cstring>

#ifdef __MINGW32__
// MinGW's library calls this function through a pointer of its own instead of an import.
extern "C" errno_t (*g_accessPointer)(const wchar_t* path, int mode) asm("__imp__waccess_s");
#endif

namespace
{
// Where the program keeps the address of a function that it does not import but finds when it first calls it.
std::vector<void**> FindPointer(const char* function)
{
#ifdef __MINGW32__
    if (std::strcmp(function, "_waccess_s") == 0)
    {
        static_cast<void>(_waccess_s(L"", 0));
        return {reinterpret_cast<void**>(&g_accessPointer)};
    }
#endif
    static_cast<void>(function);
    return {};
}

std::vector<void**> FindEntries(const char* function)
{
    auto* const base = reinterpret_cast<unsigned char*>(GetModuleHandleW(nullptr));
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<void**> found = FindPointer(function);
    if (directory.VirtualAddress == 0)
        return found;
    const auto* module = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; module->Name != 0; ++module)
    {
        const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + module->OriginalFirstThunk);
        auto* address = reinterpret_cast<void**>(base + module->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address)
        {
            if (IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal))
                continue;
            const auto* const import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            if (std::strcmp(import->Name, function) == 0)
                found.push_back(address);
        }
    }
    return found;
}
} // namespace

ImportTableEntry::ImportTableEntry(const char* function, void* replacement) : m_entries(FindEntries(function))
{
    if (m_entries.empty())
        throw std::runtime_error(std::string("the test program does not import ") + function);
    m_original = *m_entries.front();
    Write(replacement);
}

ImportTableEntry::~ImportTableEntry()
{
    Write(m_original);
}

void ImportTableEntry::Write(void* target) noexcept
{
    for (void** entry : m_entries)
    {
        DWORD protection = 0;
        VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &protection);
        *entry = target;
        VirtualProtect(entry, sizeof *entry, protection, &protection);
    }
}
