#include "client/evidence/ExitMeaning.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/protocol/WorkbenchCommandLine.h"

namespace
{
// What a command calls can end the process with any code, also with one that the workbench has for itself.
const wchar_t* OwnMeaningOf(uint32_t exitCode, bool wasInCommand) noexcept
{
    if (wasInCommand)
        return exitCode == c_exitCode ? L"it crashed in the call, or was ended there"
                                      : L"it was ended in the call, as by Environment.Exit";
    if (exitCode == c_exitArgumentsMissing)
        return L"it got too few arguments";
    return exitCode == c_exitCode ? L"it ended by itself, in order" : nullptr;
}

const wchar_t* MeaningOf(uint32_t exitCode, bool wasInCommand) noexcept
{
    if (exitCode <= 0xFFFF)
        return OwnMeaningOf(exitCode, wasInCommand);
    switch (exitCode)
    {
    case 0xC0000005:
        return L"access violation";
    case 0xC00000FD:
        return L"stack overflow";
    case 0xC0000135:
        return L"a DLL that it needs is missing";
    case 0xC0000139:
        return L"a DLL that it needs lacks a function";
    case 0xC000013A:
        return L"ended by Ctrl-C or its console's end";
    case 0xC0000409:
        return L"it gave up after a fatal error";
    case 0xE0434352:
    case 0xE0434F4D:
        return L"a managed exception that nobody caught";
    default:
        return nullptr;
    }
}
} // namespace

std::wstring ExitCodeText(uint32_t exitCode, bool wasInCommand)
{
    const wchar_t* const meaning = MeaningOf(exitCode, wasInCommand);
    std::wstring text = L"its exit code is " + std::to_wstring(exitCode);
    if (exitCode > 0xFFFF)
        text += FormatSlot(L" (0x%08X)", exitCode);
    return meaning == nullptr ? text : text + L": " + meaning;
}
