#pragma once

#include "OrvProfiler/objects/ProxyAccess.h"
#include "OrvProfiler/share/CodePageText.h"
#include "OrvProfiler/share/PackedIds.h"
#include "OrvProfiler/share/ProxyMap.h"
#include "OrvProfiler/share/ProxyPrivate.h"
#include "OrvProfiler/share/ShareLayout.h"
#include "OrvProfiler/share/TextField.h"
#include "OrvProfiler/share/ValueNames.h"

#include <cstdint>
#include <cstdio>
#include <memory>

// The word before the id in the share's kernel name.
constexpr const wchar_t* c_shareBaseName = L"OrvProfiler";

constexpr uint32_t c_shareMutexCount = 7;
// Guards the whole share, the control block and the record mode of threads.
constexpr uint32_t c_shareLock = 2;
// Guards the thread table.
constexpr uint32_t c_threadLock = 3;

// The share: memory in which a client and its helper processes keep the control block, the debugger's thread table
// and the client's own tables (see ShareLayout.h). Its name contains the client's process id. Seven named mutexes
// guard its regions, "OrvProfiler00001a2c_0" to "_6"; they are the locks 0 to 6.
//
// A process has at most one at a time. The constructor sets g_pShare and the destructor clears it. On a share that is
// not mapped an operation does nothing and returns null, 0 or false, unless it says otherwise.
//
// Guarded operations wait for their lock without time limit, and release it on every path. Nothing here throws, but a
// program's fault handler may turn an unreadable page of the view into an exception; the lock is released then too.
// The locks are not recursive: an operation whose lock the calling thread already holds releases it.
// Nothing in the share is trusted: counts and indices out of range never lead outside a table, and each word is read
// once before it is checked and used. The order of the fields is the family's.
class CProxyShare : public CProxyMap
{
public:
    CProxyShare();
    CProxyShare(const CProxyShare&) = delete;
    CProxyShare& operator=(const CProxyShare&) = delete;
    ~CProxyShare() override;

    void OnMapped() override;
    void Close() override;

    // Opens the share of that client process id. If there is none, creates it, all zero. True when it is mapped.
    bool Create(uint32_t id);

    // The control block, in place. Read it without a lock once the client has signalled a command.
    ShareControl* GetControl() const noexcept;
    // The client's notification window; null when the client has not stored one.
    HWND GetClientWindow() const;
    // The control block's count when it lies in 1 to 255; 256 otherwise and when the share is not mapped.
    int32_t GetControlCount() const;
    // Copies a whole control block (71520 bytes) into the share, under lock 2. False for null.
    bool SetControl(const void* source);
    // Zeroes the whole share, under lock 2.
    void ClearAll();
    // Zeroes the thread table, the threads' blocks, the record table and the run word, under lock 2.
    void ResetRunData();

    // Take, without time limit, or release the lock of that index (0 to 6).
    void Lock(uint32_t index);
    void Unlock(uint32_t index);

    // Operations on threads, under lock 3. A thread index (tindex) lies in 0 to 127.

    // Put a thread into the first free slot, and at the end of the order list: a copy of a complete slot, with 0x110
    // added to its state, or a new one with that id, state 0x110 and the two texts, each cut after 260 units. Store
    // the index. False, with nothing changed, when no slot is free.
    bool AddThread(int32_t* tindex, const ThreadSlot& record);
    bool AddThread(int32_t* tindex, uint32_t threadId, const wchar_t* detail, const wchar_t* name);
    // Zeroes the slot, which frees it, and the thread's block, and takes the thread out of the order list. False when
    // the slot is free already or the index is out of range; assertIfInvalid says that the caller does not expect
    // that. On purpose the trace line shows the slot as it is afterwards.
    bool RemoveThread(int32_t tindex, bool assertIfInvalid);
    // Sets the state of the first slots, as many as there are threads; on purpose by position, not by the order list.
    bool SetAllThreadsState(uint32_t state);
    // Sets the record mode (c_record... bits) of a slot whose index is below the thread count; on purpose under
    // lock 2. Always true while mapped, also for an index beyond the count, which changes nothing.
    bool Record(int32_t tindex, uint32_t recordMode);
    // The slot, in place; null when it is free or the index is out of range. Takes no lock: hold lock 3 while using
    // it.
    ThreadSlot* GetThread(int32_t tindex) const;
    // An entry of a thread's block, in place; null when its index is outside 0 to 255 or not below the block's count.
    // Takes no lock.
    ThreadBlockEntry* GetThreadEntry(int32_t tindex, int32_t entryIndex) const;
    // Change the order list, without a lock, and return the new thread count. A full list takes no more.
    int32_t AddToOrder(int32_t tindex);
    int32_t RemoveFromOrder(int32_t tindex);

private:
    class Guard;

    template <class Fill>
    bool AddThreadWith(int32_t* tindex, const Fill& fill);
    void TraceThread(const wchar_t* function, int32_t tindex) const;

    // An output file that is closed with the share; nothing here opens one.
    std::FILE* m_pFile = nullptr;
    [[maybe_unused]] uint32_t m_reserved = 0;
    // The typed view; null while not mapped.
    ProxyShareData* m_pShare = nullptr;
    std::unique_ptr<CProxyAccess> m_mutex[c_shareMutexCount];
};

// Holds one of the share's mutexes for a scope.
class CProxyShare::Guard
{
public:
    Guard(CProxyShare& share, uint32_t index) : m_share(share), m_index(index) { m_share.Lock(m_index); }
    ~Guard() { m_share.Unlock(m_index); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    CProxyShare& m_share;
    uint32_t m_index;
};

// The one share of the process, null while there is none.
extern CProxyShare* g_pShare;
