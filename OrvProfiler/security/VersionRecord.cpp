#include "OrvProfiler/security/VersionRecord.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/SystemFunctionTable.h"

#include <windows.h>

#include <winver.h>

#include <algorithm>
#include <cwchar>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

namespace
{
constexpr std::wstring_view c_fileDescription = L"FileDescription";
constexpr std::wstring_view c_productName = L"ProductName";
constexpr std::wstring_view c_companyName = L"CompanyName";
constexpr std::wstring_view c_productVersion = L"ProductVersion";

// One entry of the resource's table of languages.
struct Translation
{
    uint16_t language;
    uint16_t codePage;
};
static_assert(sizeof(Translation) == 4, "a language and a code page");
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
    try
    {
        uint32_t count = 0;
        const auto* const translation = FindValue<Translation>(L"\\VarFileInfo\\Translation", count);
        if (translation == nullptr || count == 0)
            return;
        for (const std::wstring_view key : {c_fileDescription, c_productName, c_companyName, c_productVersion})
        {
            const wchar_t* const name = FormatSlot(L"\\StringFileInfo\\%04x%04x\\%s", translation->language,
                                                   translation->codePage, key.data());
            const auto* const text = FindValue<wchar_t>(name, count);
            if (text != nullptr)
                m_texts[key] = std::wstring(text, wcsnlen(text, count)).c_str();
        }
    }
    catch (...) // NOLINT(bugprone-empty-catch): without memory the record keeps the texts that it has
    {
    }
}

const TString& CVersionRecord::GetText(std::wstring_view key) const noexcept
{
    static const TString none;
    const auto text = m_texts.find(key);
    return text != m_texts.end() ? text->second : none;
}

const TString& CVersionRecord::CompanyName() const noexcept
{
    return GetText(c_companyName);
}

const TString& CVersionRecord::ProductName() const noexcept
{
    return GetText(c_productName);
}

const TString& CVersionRecord::FileDescription() const noexcept
{
    return GetText(c_fileDescription);
}

const TString& CVersionRecord::ProductVersion() const noexcept
{
    return GetText(c_productVersion);
}
