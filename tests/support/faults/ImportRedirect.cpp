#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <cstring>

namespace
{
std::vector<void**> FindEntries(const char* function)
{
    auto* const base = reinterpret_cast<unsigned char*>(GetModuleHandleW(nullptr));
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<void**> found;
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
