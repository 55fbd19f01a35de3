#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <string>

// A named block of shared memory that the product has not made, and a view of it. Its memory costs nothing until it
// is touched.
class ForeignMapping
{
public:
    // Throws std::runtime_error when it cannot be had, or when the name is taken. protection is a PAGE_ constant,
    // with SEC_ flags if wanted.
    ForeignMapping(const std::wstring& kernelName, uint64_t sizeBytes, DWORD protection);
    ~ForeignMapping();
    ForeignMapping(const ForeignMapping&) = delete;
    ForeignMapping& operator=(const ForeignMapping&) = delete;

    unsigned char* Bytes() const noexcept { return m_bytes; }
    // A value at an offset from the start.
    template <class Value>
    Value& At(uint64_t offset) const noexcept
    {
        return *reinterpret_cast<Value*>(m_bytes + offset);
    }

private:
    HANDLE m_mapping = nullptr;
    unsigned char* m_bytes = nullptr;
};

// The share of an id, all zero, as a client makes it and sees it: the bytes alone, at the agreed offsets.
class ClientShare : public ForeignMapping
{
public:
    // Throws as ForeignMapping does.
    explicit ClientShare(uint32_t id);

    void StoreWindow(uint64_t window) const noexcept;
    // With its NUL.
    void WriteText(const std::wstring& text) const noexcept;
    // The whole field of the command text.
    wchar_t* TextField() const noexcept;
};
