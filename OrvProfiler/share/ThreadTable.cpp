#include "OrvProfiler/share/ThreadTable.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/share/MappedMemory.h"
#include "OrvProfiler/share/TextField.h"

#include <algorithm>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxyShare";

bool IsThreadIndex(int32_t tindex) noexcept
{
    return tindex >= 0 && tindex < c_threadCapacity;
}

template <size_t Capacity>
void CopyInto(wchar_t (&destination)[Capacity], const wchar_t* source)
{
    CopyText(destination, source, Capacity);
}
} // namespace

int32_t ThreadTable::GetCount() const
{
    return std::clamp(ReadOnce(m_share.threadCount), 0, c_threadCapacity);
}

int32_t ThreadTable::FindFree() const
{
    int32_t tindex = 0;
    while (tindex < c_threadCapacity && ReadOnce(m_share.threads[tindex].threadId) != 0)
        ++tindex;
    return tindex == c_threadCapacity ? c_noThread : tindex;
}

ThreadSlot* ThreadTable::Find(int32_t tindex) const
{
    if (!IsThreadIndex(tindex) || ReadOnce(m_share.threads[tindex].threadId) == 0)
        return nullptr;
    return &m_share.threads[tindex];
}

ThreadBlockEntry* ThreadTable::FindEntry(int32_t tindex, int32_t entryIndex) const
{
    if (!IsThreadIndex(tindex))
        return nullptr;
    ThreadBlock& block = m_share.threadBlocks[tindex];
    const bool inRange = entryIndex >= 0 && entryIndex < c_threadEntryCapacity;
    DebugAssert(inRange, c_source, 531);
    const bool inUse = entryIndex < ReadOnce(block.entryCount);
    DebugAssert(inUse, c_source, 550);
    return inRange && inUse ? &block.entries[entryIndex] : nullptr;
}

void ThreadTable::Fill(int32_t tindex, const ThreadSlot& record) const
{
    ThreadSlot& slot = m_share.threads[tindex];
    CopyBytes(&slot, &record, sizeof slot);
    slot.state |= c_threadStateAdded;
}

void ThreadTable::Fill(int32_t tindex, uint32_t threadId, const wchar_t* detail, const wchar_t* name) const
{
    ThreadSlot& slot = m_share.threads[tindex];
    ZeroBytes(&slot, sizeof slot);
    slot.threadId = threadId;
    CopyInto(slot.detail, detail);
    CopyInto(slot.name, name);
    slot.state = c_threadStateAdded;
}

void ThreadTable::Clear(int32_t tindex) const
{
    ZeroBytes(&m_share.threads[tindex], sizeof(ThreadSlot));
    ZeroBytes(&m_share.threadBlocks[tindex], sizeof(ThreadBlock));
}

void ThreadTable::SetStates(uint32_t state) const
{
    const int32_t count = GetCount();
    for (int32_t i = 0; i < count; ++i)
        m_share.threads[i].state = state;
}

int32_t ThreadTable::AddToOrder(int32_t tindex, int32_t count) const
{
    if (count < c_threadCapacity)
        m_share.threadOrder[count++] = tindex;
    m_share.threadCount = count;
    return count;
}

int32_t ThreadTable::RemoveFromOrder(int32_t tindex, int32_t count) const
{
    int32_t* const begin = m_share.threadOrder;
    int32_t* const end = begin + count;
    int32_t* const found = std::find(begin, end, tindex);
    if (found == end)
        return count;
    CopyBytes(found, found + 1, static_cast<size_t>(end - found - 1) * sizeof *found);
    m_share.threadCount = count - 1;
    return count - 1;
}
