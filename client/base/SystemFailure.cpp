#include "client/base/SystemFailure.h"

#include "OrvProfiler/foundation/Trace.h"

std::wstring SystemFailure(const std::wstring& what, uint32_t error)
{
    std::wstring text = ErrorText(error);
    while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L' '))
        text.pop_back();
    if (text.empty())
        text = L"the system has no text for it";
    return what + L": " + text + L" (error " + std::to_wstring(error) + L")";
}
