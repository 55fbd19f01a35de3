#pragma once

#include <windows.h>

#include <cstring>
#include <string>

// A text whose NUL is the last unit of its page, with an inaccessible page behind it: reading one unit past the text
// ends the test with an access violation.
template <class Char>
class PageEdge
{
public:
    explicit PageEdge(const std::basic_string<Char>& text)
        : m_pages(static_cast<unsigned char*>(
              VirtualAlloc(nullptr, 2 * c_pageBytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)))
    {
        DWORD old = 0;
        VirtualProtect(m_pages + c_pageBytes, c_pageBytes, PAGE_NOACCESS, &old);
        const size_t sizeBytes = (text.size() + 1) * sizeof(Char);
        m_text = reinterpret_cast<Char*>(m_pages + c_pageBytes - sizeBytes);
        std::memcpy(m_text, text.c_str(), sizeBytes);
    }
    ~PageEdge() { VirtualFree(m_pages, 0, MEM_RELEASE); }
    PageEdge(const PageEdge&) = delete;
    PageEdge& operator=(const PageEdge&) = delete;

    Char* Text() const noexcept { return m_text; }
    // A pointer that cannot be read.
    Char* Unreadable() const noexcept { return reinterpret_cast<Char*>(m_pages + c_pageBytes); }

private:
    static constexpr size_t c_pageBytes = 4096;

    unsigned char* m_pages;
    Char* m_text;
};
