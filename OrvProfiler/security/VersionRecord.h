#pragma once

#include "OrvProfiler/foundation/TString.h"

#include <cstdint>
#include <memory>

// Four texts of a file's version resource, in the first language that the resource lists. They are read once, at
// construction. Nothing here fails or raises: a text that is missing or cannot be read is empty. The record owns the
// texts. Any thread may read them.
//
// The path may come from another process. It is opened as DiskFile.h says, and only for a file on a disk is the
// system asked for the resource; it opens the path by itself, without that guard. Our own handle lets nobody rename,
// delete or change the file meanwhile. What remains is whoever can redirect a link or a drive on the way to the file
// between the two.
class CVersionRecord
{
public:
    explicit CVersionRecord(const wchar_t* path) noexcept;
    CVersionRecord(const CVersionRecord&) = delete;
    CVersionRecord& operator=(const CVersionRecord&) = delete;

    const TString& CompanyName() const noexcept { return m_companyName; }
    const TString& ProductName() const noexcept { return m_productName; }
    const TString& FileDescription() const noexcept { return m_fileDescription; }
    const TString& ProductVersion() const noexcept { return m_productVersion; }

private:
    bool ReadBlock(const wchar_t* path) noexcept;
    void ReadTexts() noexcept;
    // The value of the given name in the block, null when there is none. Stores how many elements it has: as many as
    // the resource says, but none beyond the end of the block.
    template <class Element>
    const Element* FindValue(const wchar_t* name, uint32_t& count) const noexcept;

    // The resource as the system hands it out, null when it could not be read, and its size in bytes.
    std::unique_ptr<unsigned char[]> m_block;
    uint32_t m_size = 0;
    TString m_fileDescription;
    TString m_productName;
    TString m_companyName;
    TString m_productVersion;
};
