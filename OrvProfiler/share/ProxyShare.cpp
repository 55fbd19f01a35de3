#include "OrvProfiler/share/ProxyShare.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/share/MappedMemory.h"
#include "OrvProfiler/share/ThreadTable.h"

#include <windows.h>

#include <new>

CProxyShare* g_pShare = nullptr;

namespace
{
constexpr const wchar_t* c_source = L"ProxyShare";
constexpr int32_t c_controlCountLimit = 256;
} // namespace

CProxyShare::CProxyShare() : CProxyMap(c_shareBaseName)
{
    static_assert(sizeof(CProxyShare) == 152 && offsetof(CProxyShare, m_pFile) == 72 &&
                      offsetof(CProxyShare, m_reserved) == 80 && offsetof(CProxyShare, m_pShare) == 88 &&
                      offsetof(CProxyShare, m_mutex) == 96,
                  "the order of the fields is the family's");
    DebugAssert(g_pShare == nullptr, c_source, 661);
    g_pShare = this;
}

CProxyShare::~CProxyShare()
{
    DebugAssert(g_pShare == this, c_source, 681);
    CProxyShare::Close();
    if (m_pFile != nullptr)
        static_cast<void>(std::fclose(m_pFile));
    g_pShare = nullptr;
}

void CProxyShare::OnMapped()
{
    if (ViewSize() < sizeof(ProxyShareData))
    {
        TraceLine(L"%6.0f %s share %s is smaller than %u bytes\n", L"CProxyShare::OnMapped", m_name.GetBuffer(),
                  c_shareSizeBytes);
        Close();
        return;
    }
    m_pShare = static_cast<ProxyShareData*>(GetView());
    DebugAssert(m_mutex[0] == nullptr, c_source, 670);
    const uint32_t session = g_SecManager.GetSessionForProcess(m_id);
    for (uint32_t i = 0; i < c_shareMutexCount; ++i)
        m_mutex[i].reset(new (std::nothrow) CProxyAccess(session, FormatSlot(L"%s_%d", m_name.GetBuffer(), i)));
}

void CProxyShare::Close()
{
    CProxyMap::Close();
    m_pShare = nullptr;
    for (std::unique_ptr<CProxyAccess>& mutex : m_mutex)
        mutex.reset();
}

bool CProxyShare::Create(uint32_t id)
{
    TraceLine(L"%6.0f %s Size of Share is %u bytes\n", L"CProxyShare::Create", c_shareSizeBytes);
    return CProxyMap::Create(id, c_shareSizeBytes, nullptr) && m_pShare != nullptr;
}

ShareControl* CProxyShare::GetControl() const noexcept
{
    return m_pShare != nullptr ? &m_pShare->control : nullptr;
}

HWND CProxyShare::GetClientWindow() const
{
    return m_pShare != nullptr ? reinterpret_cast<HWND>(ReadOnce(m_pShare->control.clientWindow)) : nullptr;
}

int32_t CProxyShare::GetControlCount() const
{
    const int32_t count = m_pShare != nullptr ? ReadOnce(m_pShare->control.count) : 0;
    return count >= 1 && count < c_controlCountLimit ? count : c_controlCountLimit;
}

bool CProxyShare::SetControl(const void* source)
{
    if (m_pShare == nullptr || source == nullptr)
        return false;
    const Guard guard(*this, c_shareLock);
    CopyBytes(&m_pShare->control, source, sizeof m_pShare->control);
    return true;
}

void CProxyShare::ClearAll()
{
    if (m_pShare == nullptr)
        return;
    const Guard guard(*this, c_shareLock);
    ZeroBytes(m_pShare, sizeof *m_pShare);
}

void CProxyShare::ResetRunData()
{
    constexpr size_t recordBytes = offsetof(ProxyShareData, threadCount) - offsetof(ProxyShareData, recordCount);
    constexpr size_t threadBytes = offsetof(ProxyShareData, threadBlocks) - offsetof(ProxyShareData, threadCount);
    static_assert(recordBytes == 2220040 && threadBytes == 222728);
    if (m_pShare == nullptr)
        return;
    const Guard guard(*this, c_shareLock);
    auto* const bytes = reinterpret_cast<uint8_t*>(m_pShare);
    ZeroBytes(m_pShare->threadBlocks, sizeof m_pShare->threadBlocks);
    ZeroBytes(bytes + offsetof(ProxyShareData, threadCount), threadBytes);
    ZeroBytes(bytes + offsetof(ProxyShareData, recordCount), recordBytes);
    m_pShare->runWord = 0;
}

void CProxyShare::Lock(uint32_t index)
{
    if (m_pShare == nullptr)
        return;
    DebugAssert(index < c_shareMutexCount, c_source, 623);
    if (index >= c_shareMutexCount)
        return;
    DebugAssert(m_mutex[index] != nullptr, c_source, 624);
    if (m_mutex[index] == nullptr)
        return;
    const bool locked = m_mutex[index]->Lock(INFINITE);
    DebugAssert(locked, c_source, 627);
}

void CProxyShare::Unlock(uint32_t index)
{
    if (m_pShare == nullptr)
        return;
    DebugAssert(index < c_shareMutexCount, c_source, 636);
    if (index >= c_shareMutexCount)
        return;
    DebugAssert(m_mutex[index] != nullptr, c_source, 637);
    if (m_mutex[index] == nullptr)
        return;
    const bool unlocked = m_mutex[index]->Unlock();
    DebugAssert(unlocked, c_source, 640);
}

void CProxyShare::TraceThread(const wchar_t* function, int32_t tindex) const
{
    const ThreadSlot& slot = m_pShare->threads[tindex];
    // Copied behind a NUL of its own: the client may have left the name without one, and tracing must not raise.
    wchar_t name[sizeof slot.name / sizeof *slot.name + 1]{};
    CopyBytes(name, slot.name, sizeof slot.name);
    TraceLine(L"%6.0f %s Thread name(%s) id(%#8.8x) tindex (%d)\n", function, name, ReadOnce(slot.threadId), tindex);
    TraceLine(L"%6.0f %s Thread count now %d\n", function, ReadOnce(m_pShare->threadCount));
}

// fill(threads, index) makes the free slot of that index the thread's.
template <class Fill>
bool CProxyShare::AddThreadWith(int32_t* tindex, const Fill& fill)
{
    if (m_pShare == nullptr)
        return false;
    const Guard guard(*this, c_threadLock);
    const ThreadTable threads(*m_pShare);
    const int32_t index = threads.FindFree();
    const int32_t count = threads.GetCount();
    // Without room in the order list nobody would find the thread.
    if (index == ThreadTable::c_noThread || count == c_threadCapacity)
        return false;
    *tindex = index;
    fill(threads, index);
    threads.AddToOrder(index, count);
    TraceThread(L"CProxyShare::AddThread", index);
    return true;
}

bool CProxyShare::AddThread(int32_t* tindex, const ThreadSlot& record)
{
    return AddThreadWith(tindex,
                         [&record](const ThreadTable& threads, int32_t index) { threads.Fill(index, record); });
}

bool CProxyShare::AddThread(int32_t* tindex, uint32_t threadId, const wchar_t* detail, const wchar_t* name)
{
    return AddThreadWith(
        tindex, [=](const ThreadTable& threads, int32_t index) { threads.Fill(index, threadId, detail, name); });
}

bool CProxyShare::RemoveThread(int32_t tindex, bool assertIfInvalid)
{
    if (m_pShare == nullptr)
        return false;
    const Guard guard(*this, c_threadLock);
    const ThreadTable threads(*m_pShare);
    if (threads.Find(tindex) == nullptr)
    {
        DebugAssert(!assertIfInvalid, c_source, 509);
        return false;
    }
    threads.Clear(tindex);
    threads.RemoveFromOrder(tindex, threads.GetCount());
    TraceThread(L"CProxyShare::RemoveThread", tindex);
    return true;
}

bool CProxyShare::SetAllThreadsState(uint32_t state)
{
    if (m_pShare == nullptr)
        return false;
    const Guard guard(*this, c_threadLock);
    ThreadTable(*m_pShare).SetStates(state);
    TraceText(L"CProxyShare::SetAllThreadsState", L"all threads running\n");
    return true;
}

bool CProxyShare::Record(int32_t tindex, uint32_t recordMode)
{
    if (m_pShare == nullptr)
        return false;
    const Guard guard(*this, c_shareLock);
    if (tindex >= 0 && tindex < ThreadTable(*m_pShare).GetCount())
    {
        TraceLine(L"%6.0f %s tindex(%d) RecordMode(%s)\n", L"CProxyShare::Record", tindex,
                  RecordModeName(recordMode));
        m_pShare->threads[tindex].recordMode = recordMode;
    }
    return true;
}

ThreadSlot* CProxyShare::GetThread(int32_t tindex) const
{
    return m_pShare != nullptr ? ThreadTable(*m_pShare).Find(tindex) : nullptr;
}

ThreadBlockEntry* CProxyShare::GetThreadEntry(int32_t tindex, int32_t entryIndex) const
{
    return m_pShare != nullptr ? ThreadTable(*m_pShare).FindEntry(tindex, entryIndex) : nullptr;
}

int32_t CProxyShare::AddToOrder(int32_t tindex)
{
    if (m_pShare == nullptr)
        return 0;
    const ThreadTable threads(*m_pShare);
    return threads.AddToOrder(tindex, threads.GetCount());
}

int32_t CProxyShare::RemoveFromOrder(int32_t tindex)
{
    if (m_pShare == nullptr)
        return 0;
    const ThreadTable threads(*m_pShare);
    return threads.RemoveFromOrder(tindex, threads.GetCount());
}
