#include "OrvProfiler/security/ProcessTexts.h"

#include "OrvProfiler/security/ProcessInformation.h"
#include "OrvProfiler/security/ProcessLayout.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace
{
// Reads a structure of another process, whole or not at all.
template <class Structure>
bool ReadStructure(HANDLE process, const void* address, Structure& structure) noexcept
{
    SIZE_T read = 0;
    return ReadProcessMemory(process, address, &structure, sizeof structure, &read) != FALSE &&
           read == sizeof structure;
}

void CopyText(const CountedText& counted, TString& text) noexcept
{
    const size_t units = counted.lengthBytes / sizeof(wchar_t);
    text.Reserve(units);
    wchar_t* const buffer = text.GetBuffer();
    if (buffer == nullptr || counted.text == nullptr)
        return;
    std::copy_n(counted.text, units, buffer);
    buffer[units] = L'\0';
}

void ReadRemoteText(HANDLE process, const CountedText& counted, TString& text) noexcept
{
    // Twice as much as the text is long, on purpose: a text too near the end of its memory is not read.
    const size_t readBytes = size_t{2} * counted.lengthBytes;
    text.Reserve(std::max<size_t>(readBytes, counted.maximumBytes) + 1);
    wchar_t* const buffer = text.GetBuffer();
    if (buffer == nullptr)
        return;
    SIZE_T read = 0;
    if (ReadProcessMemory(process, counted.text, buffer, readBytes, &read) == FALSE)
        read = 0;
    // The text ends at its own NUL, or at the latest where the reading ended.
    buffer[std::min<size_t>(read, readBytes) / sizeof(wchar_t)] = L'\0';
}
} // namespace

void ReadProcessTexts(const SystemFunctionTable& functions, HANDLE process, ProcessTexts& texts) noexcept
{
    ProcessBasics basic{};
    ProcessEnvironmentBlock block{};
    ProcessParameters parameters{};
    if (!QueryProcess(functions.ntQueryInformationProcess, process, basic) ||
        !ReadStructure(process, basic.environmentBlock, block) ||
        !ReadStructure(process, block.parameters, parameters))
        return;
    const bool isCurrent = QueryProcessId(process) == GetCurrentProcessId();
    const std::pair<const CountedText&, TString&> pairs[] = {
        {parameters.imagePath, texts.imagePath},
        {parameters.currentDirectory, texts.currentDirectory},
        {parameters.commandLine, texts.commandLine},
        {parameters.windowTitle, texts.windowTitle},
    };
    for (const auto& [counted, text] : pairs)
    {
        if (counted.lengthBytes == 0)
            continue;
        if (isCurrent)
            CopyText(counted, text);
        else
            ReadRemoteText(process, counted, text);
    }
    if (texts.windowTitle == texts.imagePath)
        texts.windowTitle.Empty();
}
