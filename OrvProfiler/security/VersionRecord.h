#pragma once

#include "OrvProfiler/foundation/TString.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>

// Four texts of a file's version resource, in the first language that the resource lists. They are read once, at
// construction. Nothing here fails or raises: a text that is missing or cannot be read is empty. The record owns the
// texts. Any thread may read them.
class CVersionRecord
{
public:
    explicit CVersionRecord(const wchar_t* path) noexcept;
    CVersionRecord(const CVersionRecord&) = delete;
    CVersionRecord& operator=(const CVersionRecord&) = delete;

    const TString& CompanyName() const noexcept;
    const TString& ProductName() const noexcept;
    const TString& FileDescription() const noexcept;
    const TString& ProductVersion() const noexcept;

private:
    bool ReadBlock(const wchar_t* path) noexcept;
    void ReadTexts() noexcept;
    // The value of the given name in the block, null when there is none. Stores how many elements it has: as many as
    // the resource says, but none beyond the end of the block.
    template <class Element>
    const Element* FindValue(const wchar_t* name, uint32_t& count) const noexcept;
    const TString& GetText(std::wstring_view key) const noexcept;

    // The resource as the system hands it out, null when it could not be read, and its size in bytes.
    std::unique_ptr<unsigned char[]> m_block;
    uint32_t m_size = 0;
    std::map<std::wstring_view, TString> m_texts;
};
