#include "OrvProfiler/security/VersionRecord.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/security/DiskFile.h"
#include "OrvProfiler/security/SystemFunctionTable.h"

#include <windows.h>

#include <winver.h>

#include <algorithm>
#include <cwchar>
#include <new>
#include <type_traits>
#include <utility>

namespace
{
// One entry of the resource's table of languages.
struct Translation
{
    uint16_t language;
    uint16_t codePage;
};
static_assert(sizeof(Translation) == 4, "a language and a code page");

// Takes the text as far as its NUL, at most count units. On failure the text is empty.
void TakeText(const wchar_t* units, uint32_t count, TString& text) noexcept
{
    const size_t length = wcsnlen(units, count);
    text.Reserve(length);
    wchar_t* const buffer = text.GetBuffer();
    if (buffer == nullptr)
        return;
    std::wmemcpy(buffer, units, length);
    buffer[length] = L'\0';
}
} // namespace

CVersionRecord::CVersionRecord(const wchar_t* path) noexcept
{
    if (ReadBlock(path))
        ReadTexts();
}

bool CVersionRecord::ReadBlock(const wchar_t* path) noexcept
{
    const SystemFunctionTable& functions = GetSystemFunctions();
    if (path == nullptr || functions.getFileVersionInfoSizeW == nullptr || functions.getFileVersionInfoW == nullptr)
        return false;
    const UniqueHandle file = OpenDiskFile(path);
    if (!file)
        return false;
    DWORD ignored = 0;
    const DWORD size = functions.getFileVersionInfoSizeW(path, &ignored);
    if (size == 0)
        return false;
    std::unique_ptr<unsigned char[]> block(new (std::nothrow) unsigned char[size]);
    if (block == nullptr)
        return false;
    if (functions.getFileVersionInfoW(path, 0, size, block.get()) == FALSE)
        return false;
    m_block = std::move(block);
    m_size = size;
    return true;
}

template <class Element>
const Element* CVersionRecord::FindValue(const wchar_t* name, uint32_t& count) const noexcept
{
    const auto& query = GetSystemFunctions().verQueryValueW;
    void* value = nullptr;
    UINT size = 0;
    if (query == nullptr || query(m_block.get(), name, &value, &size) == FALSE)
        return nullptr;
    // The size is in units for a text, else in bytes. The system may keep an empty value outside the block.
    constexpr size_t unit = std::is_same_v<Element, wchar_t> ? sizeof(wchar_t) : 1;
    const auto offset = reinterpret_cast<uintptr_t>(value) - reinterpret_cast<uintptr_t>(m_block.get());
    const size_t available = offset < m_size ? m_size - offset : 0;
    count = static_cast<uint32_t>(std::min(size * unit, available) / sizeof(Element));
    return static_cast<const Element*>(value);
}

void CVersionRecord::ReadTexts() noexcept
{
    uint32_t count = 0;
    const auto* const translation = FindValue<Translation>(L"\\VarFileInfo\\Translation", count);
    if (translation == nullptr || count == 0)
        return;
    const std::pair<const wchar_t*, TString&> texts[] = {
        {L"FileDescription", m_fileDescription},
        {L"ProductName", m_productName},
        {L"CompanyName", m_companyName},
        {L"ProductVersion", m_productVersion},
    };
    for (const auto& [key, text] : texts)
    {
        const wchar_t* const name =
            FormatSlot(L"\\StringFileInfo\\%04x%04x\\%s", translation->language, translation->codePage, key);
        const auto* const units = FindValue<wchar_t>(name, count);
        if (units != nullptr)
            TakeText(units, count, text);
    }
}
