#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "OrvProfiler/share/ShareBytes.h"

#include <algorithm>

// The thread table of the share.

namespace
{
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

int32_t CProxyShare::ThreadCount() const
{
    return std::clamp(m_pShare->threadCount, 0, c_threadCapacity);
}

int32_t CProxyShare::FindFreeThread() const
{
    int32_t tindex = 0;
    while (tindex < c_threadCapacity && m_pShare->threads[tindex].threadId != 0)
        ++tindex;
    return tindex;
}

void CProxyShare::TraceThread(const wchar_t* function, int32_t tindex) const
{
    const ThreadSlot& slot = m_pShare->threads[tindex];
    // A copy with a NUL of its own: the client may have left a name without one, and tracing must not raise.
    wchar_t name[sizeof slot.name / sizeof *slot.name + 1]{};
    CopyBytes(name, slot.name, sizeof slot.name);
    Trace(L"%6.0f %s Thread name(%s) id(%#8.8x) tindex (%d)\n", TickMs(), function, name, slot.threadId, tindex);
    Trace(L"%6.0f %s Thread count now %d\n", TickMs(), function, m_pShare->threadCount);
}

// fill makes the free slot the thread's.
template <class Fill>
bool CProxyShare::AddThreadWith(int32_t* tindex, const Fill& fill)
{
    if (m_pShare == nullptr)
        return false;
    const Guard guard(*this, c_threadLock);
    const int32_t index = FindFreeThread();
    if (index == c_threadCapacity || ThreadCount() == c_threadCapacity)
        return false;
    *tindex = index;
    fill(m_pShare->threads[index]);
    AddToOrder(index);
    TraceThread(L"CProxyShare::AddThread", index);
    return true;
}

bool CProxyShare::AddThread(int32_t* tindex, const ThreadSlot& record)
{
    return AddThreadWith(tindex, [&record](ThreadSlot& slot) {
        CopyBytes(&slot, &record, sizeof slot);
        slot.state |= c_threadStateAdded;
    });
}

bool CProxyShare::AddThread(int32_t* tindex, uint32_t threadId, const wchar_t* detail, const wchar_t* name)
{
    return AddThreadWith(tindex, [=](ThreadSlot& slot) {
        ZeroBytes(&slot, sizeof slot);
        slot.threadId = threadId;
        CopyInto(slot.detail, detail);
        CopyInto(slot.name, name);
        slot.state = c_threadStateAdded;
    });
}

bool CProxyShare::RemoveThread(int32_t tindex, bool assertIfInvalid)
{
    if (m_pShare == nullptr)
        return false;
    const Guard guard(*this, c_threadLock);
    ThreadSlot* const slot = GetThread(tindex);
    if (slot == nullptr)
    {
        DebugAssert(!assertIfInvalid, c_source, 509);
        return false;
    }
    ZeroBytes(slot, sizeof *slot);
    ZeroBytes(&m_pShare->threadBlocks[tindex], sizeof(ThreadBlock));
    RemoveFromOrder(tindex);
    TraceThread(L"CProxyShare::RemoveThread", tindex);
    return true;
}

bool CProxyShare::SetAllThreadsState(uint32_t state)
{
    if (m_pShare == nullptr)
        return false;
    const Guard guard(*this, c_threadLock);
    const int32_t count = ThreadCount();
    for (int32_t i = 0; i < count; ++i)
        m_pShare->threads[i].state = state;
    Trace(L"%6.0f %s %s\n", TickMs(), L"CProxyShare::SetAllThreadsState", L"all threads running\n");
    return true;
}

bool CProxyShare::Record(int32_t tindex, uint32_t recordMode)
{
    if (m_pShare == nullptr)
        return false;
    const Guard guard(*this, c_shareLock);
    if (tindex >= 0 && tindex < ThreadCount())
    {
        Trace(L"%6.0f %s tindex(%d) RecordMode(%s)\n", TickMs(), L"CProxyShare::Record", tindex,
              RecordModeName(recordMode));
        m_pShare->threads[tindex].recordMode = recordMode;
    }
    return true;
}

ThreadSlot* CProxyShare::GetThread(int32_t tindex) const
{
    if (m_pShare == nullptr || !IsThreadIndex(tindex) || m_pShare->threads[tindex].threadId == 0)
        return nullptr;
    return &m_pShare->threads[tindex];
}

ThreadBlockEntry* CProxyShare::GetThreadEntry(int32_t tindex, int32_t entryIndex) const
{
    if (m_pShare == nullptr || !IsThreadIndex(tindex))
        return nullptr;
    ThreadBlock& block = m_pShare->threadBlocks[tindex];
    const bool inRange = entryIndex >= 0 && entryIndex < c_threadEntryCapacity;
    DebugAssert(inRange, c_source, 531);
    const bool inUse = entryIndex < block.entryCount;
    DebugAssert(inUse, c_source, 550);
    return inRange && inUse ? &block.entries[entryIndex] : nullptr;
}

int32_t CProxyShare::AddToOrder(int32_t tindex)
{
    if (m_pShare == nullptr)
        return 0;
    int32_t count = ThreadCount();
    if (count < c_threadCapacity)
        m_pShare->threadOrder[count++] = tindex;
    m_pShare->threadCount = count;
    return count;
}

int32_t CProxyShare::RemoveFromOrder(int32_t tindex)
{
    if (m_pShare == nullptr)
        return 0;
    int32_t* const begin = m_pShare->threadOrder;
    int32_t* const end = begin + ThreadCount();
    int32_t* const found = std::find(begin, end, tindex);
    if (found != end)
    {
        CopyBytes(found, found + 1, static_cast<size_t>(end - found - 1) * sizeof *found);
        m_pShare->threadCount = static_cast<int32_t>(end - begin) - 1;
    }
    return ThreadCount();
}
