#pragma once

#include <cstddef>
#include <cstdint>

// What NtQueryInformationProcess answers, and what the system keeps in the memory of every 64-bit process about its
// start, as far as it is read here. Pointers are addresses in that process.

// A counted UTF-16 text. The lengths are in bytes; the first does not count a NUL.
struct CountedText
{
    uint16_t lengthBytes;
    uint16_t maximumBytes;
    uint32_t padding;
    const wchar_t* text;
};
static_assert(sizeof(CountedText) == 16);
static_assert(offsetof(CountedText, lengthBytes) == 0);
static_assert(offsetof(CountedText, maximumBytes) == 2);
static_assert(offsetof(CountedText, text) == 8);

struct ProcessBasics
{
    int32_t exitStatus;
    uint32_t padding1;
    const void* environmentBlock;
    uint64_t affinityMask;
    int32_t basePriority;
    uint32_t padding2;
    uint64_t processId;
    uint64_t parentProcessId;
};
static_assert(sizeof(ProcessBasics) == 48);
static_assert(offsetof(ProcessBasics, environmentBlock) == 8);
static_assert(offsetof(ProcessBasics, affinityMask) == 16);
static_assert(offsetof(ProcessBasics, basePriority) == 24);
static_assert(offsetof(ProcessBasics, processId) == 32);
static_assert(offsetof(ProcessBasics, parentProcessId) == 40);

// The text stands behind the counted text that points to it. The system may write c_processImageNameBytes.
struct ProcessImageName
{
    CountedText name;
    wchar_t text[261];
};
constexpr size_t c_processImageNameBytes = 538;
static_assert(offsetof(ProcessImageName, text) == 16);
static_assert(offsetof(ProcessImageName, text) + sizeof(ProcessImageName::text) == c_processImageNameBytes);

// The process environment block.
struct ProcessEnvironmentBlock
{
    unsigned char unread1[32];
    const void* parameters;
    unsigned char unread2[672];
};
static_assert(sizeof(ProcessEnvironmentBlock) == 712);
static_assert(offsetof(ProcessEnvironmentBlock, parameters) == 32);

// The block of parameters that a process is started with.
struct ProcessParameters
{
    unsigned char unread1[56];
    CountedText currentDirectory;
    uint64_t currentDirectoryHandle;
    CountedText libraryPath;
    CountedText imagePath;
    CountedText commandLine;
    const void* environment;
    unsigned char unread2[40];
    CountedText windowTitle;
    CountedText desktop;
    CountedText shell;
    CountedText runtimeData;
};
static_assert(sizeof(ProcessParameters) == 240);
static_assert(offsetof(ProcessParameters, currentDirectory) == 56);
static_assert(offsetof(ProcessParameters, currentDirectoryHandle) == 72);
static_assert(offsetof(ProcessParameters, libraryPath) == 80);
static_assert(offsetof(ProcessParameters, imagePath) == 96);
static_assert(offsetof(ProcessParameters, commandLine) == 112);
static_assert(offsetof(ProcessParameters, environment) == 128);
static_assert(offsetof(ProcessParameters, windowTitle) == 176);
static_assert(offsetof(ProcessParameters, desktop) == 192);
static_assert(offsetof(ProcessParameters, shell) == 208);
static_assert(offsetof(ProcessParameters, runtimeData) == 224);
