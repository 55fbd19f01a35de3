#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "tests/support/faults/ImportRedirect.h"

// Answers "<error N>" for every error, in place of the system's texts, whose wording differs between systems. It
// leaves another last error behind, as the system's function may.
class ErrorTextStandIn
{
public:
    ErrorTextStandIn();

private:
    // The type of FormatMessageW, whose last argument is a va_list*.
    Redirect<DWORD(DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, char**)> m_redirect;
};
