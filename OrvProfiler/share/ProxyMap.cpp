#include "OrvProfiler/share/ProxyMap.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/OpenToAll.h"
#include "OrvProfiler/security/ProxySecurity.h"

#include <windows.h>

#include <cstddef>
#include <cstring>

namespace
{
// The sources that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxyShare";
constexpr const wchar_t* c_header = L"ProxyShare.h";
} // namespace

CProxyMap::CProxyMap(const wchar_t* baseName) : m_baseName(baseName)
{
    static_assert(sizeof(CProxyMap) == 72 && offsetof(CProxyMap, m_hFile) == 8 && offsetof(CProxyMap, m_hMap) == 16 &&
                      offsetof(CProxyMap, m_pView) == 24 && offsetof(CProxyMap, m_name) == 32 &&
                      offsetof(CProxyMap, m_baseName) == 48 && offsetof(CProxyMap, m_created) == 64 &&
                      offsetof(CProxyMap, m_id) == 68,
                  "the order of the fields is the family's");
}

CProxyMap::~CProxyMap()
{
    // By name: derived classes are gone by now.
    CProxyMap::Close();
}

void CProxyMap::OnMapped()
{
    DebugAssert(false, c_header, 552);
}

void CProxyMap::Close()
{
    m_created = false;
    if (m_pView != nullptr)
        UnmapViewOfFile(m_pView);
    m_pView = nullptr;
    if (m_hMap != nullptr)
        CloseHandle(m_hMap);
    m_hMap = nullptr;
    // INVALID_HANDLE_VALUE is no handle to close, and stays on purpose.
    if (m_hFile != nullptr && m_hFile != INVALID_HANDLE_VALUE)
    {
        CloseHandle(m_hFile);
        m_hFile = nullptr;
    }
}

void* CProxyMap::GetView()
{
    return m_pView;
}

// The name for the system. Null, with the last error set, when there was no memory for the name or for the base word
// in it: what is there instead could be another mapping's name.
const wchar_t* CProxyMap::KernelName() const noexcept
{
    if (m_baseName.GetBuffer() != nullptr && m_name.GetBuffer() != nullptr)
        return m_name;
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

HANDLE CProxyMap::OpenMap(uint32_t id)
{
    constexpr const wchar_t* function = L"CProxyMap::OpenMap";
    Close();
    m_id = id;
    m_name = FormatSlot(L"%s%8.8x", m_baseName.GetBuffer(), m_id);
    const uint32_t session = g_SecManager.GetSessionForProcess(m_id);
    TraceLine(L"%6.0f %s Open Map Name: %s\n", function, m_name.GetBuffer());
    HANDLE const map = g_SecManager.OrvPOpenFileMapping(session, FILE_MAP_READ | FILE_MAP_WRITE, false, KernelName());
    if (map == nullptr)
        TraceLine(L"%6.0f %s Open returned: %s\n", function, ErrorText(GetLastError()));
    return map;
}

bool CProxyMap::Create(uint32_t id, uint64_t size, const wchar_t* fileName)
{
    m_hMap = OpenMap(id);
    if (m_hMap == nullptr)
        CreateMapping(size, fileName);
    if (m_hMap == nullptr || MapView() == nullptr)
        return false;
    if (m_created)
        std::memset(m_pView, 0, size);
    OnMapped();
    return m_pView != nullptr;
}

void CProxyMap::CreateMapping(uint64_t size, const wchar_t* fileName)
{
    constexpr const wchar_t* function = L"CProxyMap::Create";
    m_created = true;
    m_hFile = INVALID_HANDLE_VALUE;
    // That the file cannot be opened is no error: the paging file is behind the mapping then.
    if (fileName != nullptr)
        m_hFile = CreateFileW(fileName, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    OpenToAll openToAll;
    const uint32_t session = g_SecManager.GetSessionForProcess(m_id);
    m_hMap = g_SecManager.OrvPCreateFileMapping(session, m_hFile, openToAll.Get(), PAGE_READWRITE,
                                                static_cast<uint32_t>(size >> 32), static_cast<uint32_t>(size),
                                                KernelName());
    // Another process made it after our open. What it has stored there by now is not ours to zero.
    if (GetLastError() == ERROR_ALREADY_EXISTS)
        m_created = false;
    if (m_hMap != nullptr)
        TraceLine(L"%6.0f %s created share %s successfully \n", function, m_name.GetBuffer());
    else
        TraceLine(L"%6.0f %s create share %s failed\n%s\n", function, m_name.GetBuffer(), ErrorText(GetLastError()));
}

bool CProxyMap::Open(uint32_t id)
{
    constexpr const wchar_t* function = L"CProxyMap::Open";
    m_hMap = OpenMap(id);
    if (m_hMap != nullptr)
    {
        TraceLine(L"%6.0f %s opened share %s successfully\n", function, m_name.GetBuffer());
        if (MapView() != nullptr)
            OnMapped();
        if (m_pView != nullptr)
            return true;
    }
    TraceLine(L"%6.0f %s failed to open share %s\n%s\n", function, m_name.GetBuffer(), ErrorText(GetLastError()));
    return false;
}

void* CProxyMap::MapView()
{
    if (m_pView == nullptr)
        m_pView = MapViewOfFile(m_hMap, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    DebugAssert(m_pView != nullptr, c_source, 316);
    return m_pView;
}

uint64_t CProxyMap::ViewSize() const noexcept
{
    MEMORY_BASIC_INFORMATION region{};
    if (m_pView == nullptr || VirtualQuery(m_pView, &region, sizeof region) == 0)
        return 0;
    // The process that made the mapping may have only reserved its memory.
    return region.State == MEM_COMMIT ? region.RegionSize : 0;
}
