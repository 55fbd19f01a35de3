#include "tests/support/worlds/ErrorTextStandIn.h"

#include "tests/support/faults/AllocationProbe.h"

#include <windows.h>

#include <cwchar>
#include <string>

namespace
{
DWORD WriteText(DWORD, const void*, DWORD error, DWORD, wchar_t* buffer, DWORD size, char**)
{
    const AllocationProbe::Unwatched unwatched;
    const std::wstring text = L"<error " + std::to_wstring(error) + L">";
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    if (text.size() >= size)
        return 0;
    std::wmemcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}
} // namespace

ErrorTextStandIn::ErrorTextStandIn() : m_redirect("FormatMessageW", WriteText) {}
