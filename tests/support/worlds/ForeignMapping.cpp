#include "tests/support/worlds/ForeignMapping.h"

#include "tests/support/contract/Contract.h"

#include <windows.h>

#include <cstring>
#include <stdexcept>

ForeignMapping::ForeignMapping(const std::wstring& kernelName, uint64_t sizeBytes, DWORD protection)
    : m_mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, protection, static_cast<DWORD>(sizeBytes >> 32),
                                   static_cast<DWORD>(sizeBytes), kernelName.c_str()))
{
    const bool taken = GetLastError() == ERROR_ALREADY_EXISTS;
    if (m_mapping != nullptr && !taken)
        m_bytes = static_cast<unsigned char*>(MapViewOfFile(m_mapping, FILE_MAP_WRITE, 0, 0, 0));
    if (m_bytes != nullptr)
        return;
    CloseHandle(m_mapping);
    throw std::runtime_error("a foreign mapping cannot be had");
}

ForeignMapping::~ForeignMapping()
{
    UnmapViewOfFile(m_bytes);
    CloseHandle(m_mapping);
}

ClientShare::ClientShare(uint32_t id)
    : ForeignMapping(contract::KernelName(contract::ShareName(id)), contract::c_shareBytes, PAGE_READWRITE)
{
}

void ClientShare::StoreWindow(uint64_t window) const noexcept
{
    At<uint64_t>(contract::c_windowOffset) = window;
}

void ClientShare::WriteText(const std::wstring& text) const noexcept
{
    std::memcpy(TextField(), text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

wchar_t* ClientShare::TextField() const noexcept
{
    return &At<wchar_t>(contract::c_textOffset);
}
