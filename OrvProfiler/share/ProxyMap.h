#pragma once

#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>

// The base of every block of named shared memory: one file mapping, its view and, optionally, a file behind it. The
// kernel name is a base word and the id of a process, as "OrvProfiler00001a2c" with eight hexadecimal digits. The
// security manager places it in that process's session.
//
// Every step is traced. Nothing throws. One thread uses the object; named mutexes of the derived classes guard the
// mapped memory.
//
// The order of the fields and of the virtual operations is the family's, here and in every class whose source asserts
// the places of its fields. The slots of the virtual operations are counted as Microsoft's compiler lays them out,
// with one slot for a destructor; MinGW's has two, so what follows a destructor lies one slot further on.
class CProxyMap
{
public:
    CProxyMap(const CProxyMap&) = delete;
    CProxyMap& operator=(const CProxyMap&) = delete;

    // Called when a create or an open has made a view. The derived class takes its typed pointer and makes its named
    // mutexes. It may refuse the view by closing it. The one here does nothing and is not meant to be called.
    virtual void OnMapped();
    // Releases view, mapping and file.
    virtual ~CProxyMap();
    virtual void Close();
    // The start of the data for callers; null while not mapped.
    virtual void* GetView();

    // Opens the mapping of that id as it is. If there is none, creates it with the given size in bytes, and zeroes
    // it. Behind it is the file, which is created or truncated; the paging file when fileName is null or the file
    // cannot be opened. A mapping that another process makes between the open and the create is taken as it is.
    // Releases an earlier view first. True when a view exists.
    bool Create(uint32_t id, uint64_t size, const wchar_t* fileName);
    // Opens the mapping of that id, which must exist. True when a view exists.
    bool Open(uint32_t id);
    // Releases what is held, forms the name and opens the mapping, without a view. The caller owns the handle. Null
    // when there is no such mapping; the name is formed even then.
    HANDLE OpenMap(uint32_t id);
    // Makes a view of the whole mapping if there is none yet. Returns its start, null on failure.
    void* MapView();
    // Whether this object created its mapping; also true after a create that failed, until the next Close.
    bool IsCreated() const noexcept { return m_created; }

protected:
    // Unmapped. The base word is copied.
    explicit CProxyMap(const wchar_t* baseName);

    // How many bytes of the view can be used: the mapping's size rounded up to whole pages. 0 while not mapped.
    uint64_t ViewSize() const noexcept;

    // Owned, and released only by Close, in a fixed order: view, mapping, file. Plain handles, as derived classes
    // read and set them, and as the file's has two values for none: null until a create is attempted, then
    // INVALID_HANDLE_VALUE unless a file was given.
    HANDLE m_hFile = nullptr;
    HANDLE m_hMap = nullptr;
    void* m_pView = nullptr;
    TString m_name;
    TString m_baseName;
    bool m_created = false;
    uint32_t m_id = 0;

private:
    const wchar_t* KernelName() const noexcept;
    void CreateMapping(uint64_t size, const wchar_t* fileName);
};
