#pragma once

#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/security/SystemFunctionTable.h"

#include <cstddef>

// What a process was started with; a text that could not be read is empty.
struct ProcessTexts
{
    TString imagePath;
    TString currentDirectory;
    TString commandLine;
    TString windowTitle;
};
static_assert(offsetof(ProcessTexts, imagePath) == 0 && offsetof(ProcessTexts, currentDirectory) == 16 &&
                  offsetof(ProcessTexts, commandLine) == 32 && offsetof(ProcessTexts, windowTitle) == 48 &&
                  sizeof(ProcessTexts) == 64,
              "the order of the texts in a process's object is the family's");

// Reads the texts from the memory of a 64-bit process into empty ones. The title stays empty too when it only repeats
// the image path. Nothing is traced. The handle needs query access and the right to read the process's memory. Needs
// NtQueryInformationProcess.
void ReadProcessTexts(const SystemFunctionTable& functions, HANDLE process, ProcessTexts& texts) noexcept;
