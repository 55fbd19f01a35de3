#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

// Thrown in place of the access violation at the page of an UnreadablePage.
struct PageFault
{
};

// Makes the page around an address inaccessible while it lives, and turns an access to it into a C++ exception that
// passes through the code that touched it, as a program's own fault handler may do. A system function that touches
// the page on the code's behalf seems to throw from its call. One at a time; x86-64 only.
class UnreadablePage
{
public:
    // Throws std::runtime_error when the page cannot be protected.
    explicit UnreadablePage(void* address);
    ~UnreadablePage();
    UnreadablePage(const UnreadablePage&) = delete;
    UnreadablePage& operator=(const UnreadablePage&) = delete;

private:
    void* m_page;
    DWORD m_protection = 0;
    void* m_handler;
};
