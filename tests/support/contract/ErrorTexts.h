#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "tests/support/faults/ImportRedirect.h"

// Replaces the system's message texts, whose wording differs between systems, by "<error N>". As the system's own
// may, the stand-in leaves another last error behind.
class ErrorTexts
{
public:
    ErrorTexts();

private:
    // The type of FormatMessageW, whose last argument is a va_list*.
    Redirect<DWORD(DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, char**)> m_redirect;
};
