#pragma once

#include <cstddef>
#include <cstdint>

// The byte layout of the shared memory, the same for the client and all its helper processes. All integers are
// little-endian, all text is UTF-16 and ends with a NUL. What belongs to the client alone has only its place here:
// the library never looks into it.

static_assert(sizeof(wchar_t) == 2, "text in the share is UTF-16");

constexpr int32_t c_threadCapacity = 128;
constexpr int32_t c_threadEntryCapacity = 256;
constexpr int32_t c_recordCapacity = 1024;

// The block through which the client tells the workbench what to do.
struct ShareControl
{
    uint32_t clientWord;
    int32_t count;
    uint8_t clientArea1[8];
    // The client's notification window, a 64-bit HWND value.
    uint64_t clientWindow;
    uint8_t clientArea2[0x42C - 0x018];
    // What the command is about; a text without a NUL ends with the block.
    wchar_t commandText[(71520 - 0x42C) / 2];
};
static_assert(offsetof(ShareControl, clientWord) == 0x000);
static_assert(offsetof(ShareControl, count) == 0x004);
static_assert(offsetof(ShareControl, clientWindow) == 0x010);
static_assert(offsetof(ShareControl, commandText) == 0x42C);
static_assert(sizeof(ShareControl) == 71520);

constexpr size_t c_commandTextCapacity = sizeof(ShareControl::commandText) / sizeof(wchar_t);

// One record of the table of 1024, which is the client's.
struct ShareRecord
{
    uint8_t clientArea[2168];
};
static_assert(sizeof(ShareRecord) == 2168);

// One thread of the process being debugged.
struct ThreadSlot
{
    // 0: the slot is free.
    uint32_t threadId;
    uint8_t clientArea1[144];
    // A set of the c_record... bits.
    uint32_t recordMode;
    // State bits; their meaning is the client's. A thread starts with c_threadStateAdded.
    uint32_t state;
    uint8_t clientArea2[4];
    wchar_t name[261];
    wchar_t detail[261];
    uint8_t clientArea3[532];
};
static_assert(offsetof(ThreadSlot, threadId) == 0);
static_assert(offsetof(ThreadSlot, recordMode) == 148);
static_assert(offsetof(ThreadSlot, state) == 152);
static_assert(offsetof(ThreadSlot, name) == 160);
static_assert(offsetof(ThreadSlot, detail) == 682);
static_assert(offsetof(ThreadSlot, clientArea3) == 1204);
static_assert(sizeof(ThreadSlot) == 1736);

constexpr uint32_t c_threadStateAdded = 0x110;

constexpr uint32_t c_recordNone = 1;
constexpr uint32_t c_recordManual = 2;
constexpr uint32_t c_recordAuto = 4;
// Together with c_recordAuto.
constexpr uint32_t c_recordSilent = 8;

struct ThreadBlockEntry
{
    uint8_t clientArea[3448];
};
static_assert(sizeof(ThreadBlockEntry) == 3448);

// The records of one thread.
struct ThreadBlock
{
    uint32_t clientWord;
    // Entries in use.
    int32_t entryCount;
    ThreadBlockEntry entries[c_threadEntryCapacity];
};
static_assert(offsetof(ThreadBlock, clientWord) == 0);
static_assert(offsetof(ThreadBlock, entryCount) == 4);
static_assert(offsetof(ThreadBlock, entries) == 8);
static_assert(sizeof(ThreadBlock) == 882696);

// The whole share.
struct ProxyShareData
{
    uint8_t clientHeader[0x1C4EC];
    // Zeroed by ResetRunData.
    uint32_t runWord;
    uint8_t clientState[0x1CB20 - 0x1C4F0];
    ShareControl control;
    uint8_t clientTables1[0x36F60 - 0x2E280];
    uint8_t clientWords[8];
    // Entries in use.
    int32_t recordCount;
    uint8_t recordGap[4];
    ShareRecord records[c_recordCapacity];
    // Threads in the table, and valid entries in the order list.
    int32_t threadCount;
    // Thread indices in the order of their addition.
    int32_t threadOrder[c_threadCapacity];
    uint8_t threadGap[4];
    ThreadSlot threads[c_threadCapacity];
    ThreadBlock threadBlocks[c_threadCapacity];
    uint8_t clientTables2[0x84FF8];
};
static_assert(offsetof(ProxyShareData, runWord) == 0x1C4EC);
static_assert(offsetof(ProxyShareData, clientState) == 0x1C4F0);
static_assert(offsetof(ProxyShareData, control) == 0x1CB20);
static_assert(offsetof(ProxyShareData, clientTables1) == 0x2E280);
static_assert(offsetof(ProxyShareData, clientWords) == 0x36F60);
static_assert(offsetof(ProxyShareData, recordCount) == 0x36F68);
static_assert(offsetof(ProxyShareData, records) == 0x36F70);
static_assert(offsetof(ProxyShareData, threadCount) == 0x254F70);
static_assert(offsetof(ProxyShareData, threadOrder) == 0x254F74);
static_assert(offsetof(ProxyShareData, threadGap) == 0x255174);
static_assert(offsetof(ProxyShareData, threads) == 0x255178);
static_assert(offsetof(ProxyShareData, threadBlocks) == 0x28B578);
static_assert(offsetof(ProxyShareData, clientTables2) == 0x6E4B978);
static_assert(sizeof(ProxyShareData) == 116197744);

constexpr uint32_t c_shareSizeBytes = sizeof(ProxyShareData);

// What stands before the data area of a private block.
struct PrivateHeader
{
    // The size of the data area in bytes, written by the creator.
    uint32_t dataSize;
    uint32_t value4;
    wchar_t text[8912];
    uint8_t reserved1[2];
    wchar_t shortText[261];
    uint8_t reserved2[4];
    uint64_t value18360;
    uint32_t value18368;
    uint8_t reserved3[4];
};
static_assert(offsetof(PrivateHeader, dataSize) == 0);
static_assert(offsetof(PrivateHeader, value4) == 4);
static_assert(offsetof(PrivateHeader, text) == 8);
static_assert(offsetof(PrivateHeader, reserved1) == 17832);
static_assert(offsetof(PrivateHeader, shortText) == 17834);
static_assert(offsetof(PrivateHeader, reserved2) == 18356);
static_assert(offsetof(PrivateHeader, value18360) == 18360);
static_assert(offsetof(PrivateHeader, value18368) == 18368);
static_assert(offsetof(PrivateHeader, reserved3) == 18372);
static_assert(sizeof(PrivateHeader) == 18376);
