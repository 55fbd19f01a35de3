#pragma once

#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>

// The base of every block of named shared memory: one file mapping, its view and, optionally, a backing file. The
// kernel name is the base word followed by the id as eight lower-case hexadecimal digits ("OrvProfiler00001a2c"),
// placed by the security manager in the session of the process whose id it is.
//
// Every step is traced. Nothing throws. Used by one thread; the mapped contents are guarded by the named mutexes of
// the derived classes.
class CProxyMap
{
public:
    // Unmapped. The base word is copied.
    explicit CProxyMap(const wchar_t* baseName);
    CProxyMap(const CProxyMap&) = delete;
    CProxyMap& operator=(const CProxyMap&) = delete;

    // Called once a view exists, after a create or an open: the derived class binds its typed pointer and makes its
    // named mutexes. It may refuse the view by closing it. The base's does nothing and is not meant to be called.
    virtual void OnMapped();
    // Releases view, mapping and file.
    virtual ~CProxyMap();
    virtual void Close();
    // Where the caller's data begins; null while not mapped.
    virtual void* GetView();

    // Opens the mapping of that id as it is or, failing that, creates it with the given size in bytes, over the file
    // (created anew, or truncated) or over the paging file when fileName is null or the file cannot be had, and
    // zeroes it. An earlier view is released first. True when a view exists.
    bool Create(uint32_t id, uint64_t size, const wchar_t* fileName);
    // Opens an existing mapping only. True when a view exists.
    bool Open(uint32_t id);
    // Releases what is held, forms the name and opens the mapping, unmapped. Null, with the name formed, when there
    // is none. The handle is the caller's, or is kept by Create and Open.
    HANDLE OpenMap(uint32_t id);
    // Maps the whole mapping if it is not mapped yet. Returns the start of the view, null on failure.
    void* MapView();
    // Whether this object created its mapping; also true after a create that failed, until the next Close.
    bool IsCreated() const noexcept { return m_created; }

protected:
    // How many bytes of the view can be used: the mapping's size rounded up to whole pages. 0 while not mapped.
    uint64_t ViewSize() const noexcept;

    // Null until a create is attempted, then INVALID_HANDLE_VALUE unless a file was given.
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
