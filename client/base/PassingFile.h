#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// An empty file among the temporary ones that goes with this object, also when the process is killed. Others may open
// it, and write to it. One thread.
class PassingFile
{
public:
    // The file's name begins and ends so. When it cannot be made, Path is empty and nothing is ever there.
    PassingFile(const wchar_t* start, const wchar_t* end);
    // The file that another process of this user has made so, to be read as long as that one keeps it. Nothing when
    // there is none, or more than one.
    static std::optional<PassingFile> OfOther(const wchar_t* start, const wchar_t* end, uint32_t processId);

    const std::wstring& Path() const noexcept { return m_path; }
    // In bytes.
    uint64_t Size() const noexcept;
    // Bytes from that place on, as many as there are.
    std::string Read(uint64_t start, size_t count) const;

private:
    PassingFile(std::wstring&& path, UniqueHandle&& file) noexcept;

    std::wstring m_path;
    UniqueHandle m_file;
};

// Makes a file of that path that goes with the handle; others may open it. Null when it cannot be made, or is there.
UniqueHandle CreatePassing(const std::wstring& path) noexcept;
