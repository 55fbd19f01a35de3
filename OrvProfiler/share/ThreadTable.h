#pragma once

#include "OrvProfiler/share/ShareLayout.h"

#include <cstdint>

// The thread table of a mapped share: the slots, each thread's block of records, and the list that gives the order in
// which the threads came. Works on the share's memory in place and keeps nothing of its own.
//
// It takes no lock and traces nothing: CProxyShare does both, and is what callers use. Nothing in the share is
// trusted: counts and indices out of range never lead outside a table, and each word is read once before it is
// checked and used. An unreadable page of the share may raise.
class ThreadTable
{
public:
    // The answer of FindFree when there is none.
    static constexpr int32_t c_noThread = -1;

    // The share must stay mapped as long as the object is used.
    explicit ThreadTable(ProxyShareData& share) noexcept : m_share(share) {}

    // The number of threads, brought into 0 to 128 whatever the share says.
    int32_t GetCount() const;
    // The first free slot, c_noThread when there is none.
    int32_t FindFree() const;
    // The slot, null when it is free or the index is out of range.
    ThreadSlot* Find(int32_t tindex) const;
    // An entry of a thread's block; null for an index outside 0 to 255 or not below the block's count.
    ThreadBlockEntry* FindEntry(int32_t tindex, int32_t entryIndex) const;

    // Give a slot to a thread: a copy of a complete slot, with 0x110 added to its state, or a new one with that id,
    // state 0x110 and the two texts, each cut after 260 units. The index must be in range.
    void Fill(int32_t tindex, const ThreadSlot& record) const;
    void Fill(int32_t tindex, uint32_t threadId, const wchar_t* detail, const wchar_t* name) const;
    // Zeroes the slot and the thread's block. The index must be in range.
    void Clear(int32_t tindex) const;
    // Sets the state of the first GetCount() slots; on purpose by position, not by the order list.
    void SetStates(uint32_t state) const;

    // Change the order list, whose first count entries are in use, and return the new thread count. count is what
    // GetCount answered. A full list takes no more.
    int32_t AddToOrder(int32_t tindex, int32_t count) const;
    int32_t RemoveFromOrder(int32_t tindex, int32_t count) const;

private:
    ProxyShareData& m_share;
};
