#include "tests/OrvWorkbench/HostFixture.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/faults/AllocationProbe.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace
{
constexpr const wchar_t* c_eventNames[] = {
    L"EV_STOP",    L"EV_LOAD",   L"EV_CREATE",     L"EV_INVOKE",       L"EV_DELETE",       L"EV_RESET",
    L"EV_SUCCESS", L"EV_FAILED", L"EV_BREAKPOINT", L"EV_PROPERTY_GET", L"EV_PROPERTY_SET",
};
constexpr size_t c_shareBytes = 116197744;
constexpr size_t c_windowOffset = 117552;
constexpr size_t c_textOffset = 118604;

// The test whose host runs; the stand-ins are plain functions.
Host* g_test = nullptr;

std::wstring Hex(uint64_t value, unsigned digits)
{
    std::wstring text;
    for (; value != 0 || text.size() < digits; value >>= 4)
        text.insert(text.begin(), L"0123456789abcdef"[value & 15]);
    return text;
}

std::wstring Text(const wchar_t* text)
{
    return text != nullptr ? text : L"(null)";
}

std::wstring GuidText(const GUID& guid)
{
    std::wstring text = Hex(guid.Data1, 8) + L"-" + Hex(guid.Data2, 4) + L"-" + Hex(guid.Data3, 4) + L"-";
    for (const unsigned char byte : guid.Data4)
        text += Hex(byte, 2);
    return text;
}

void Note(const std::wstring& text)
{
    Trace(L"%6.0f %s\n", TickMs(), text.c_str());
}
} // namespace

// The runtime that the host is bound to.
class RuntimeStandIn final : public ICLRRuntimeHost
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const AllocationProbe::Unwatched unwatched;
        ++g_test->m_releases;
        Note(L"runtime release");
        if (g_test->m_release)
            g_test->m_release();
        return 0;
    }
    HRESULT STDMETHODCALLTYPE Start() override
    {
        const AllocationProbe::Unwatched unwatched;
        Note(L"runtime start");
        return g_test->m_startStatus;
    }
    HRESULT STDMETHODCALLTYPE Stop() override
    {
        Note(L"runtime stop");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetHostControl(IHostControl*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCLRControl(ICLRControl**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnloadAppDomain(DWORD, BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ExecuteInAppDomain(DWORD, FExecuteInAppDomainCallback, void*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetCurrentAppDomainId(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ExecuteApplication(LPCWSTR, DWORD, LPCWSTR*, DWORD, LPCWSTR*, int*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecuteInDefaultAppDomain(LPCWSTR assembly, LPCWSTR type, LPCWSTR method,
                                                        LPCWSTR argument, DWORD* returnValue) override
    {
        const AllocationProbe::Unwatched unwatched;
        Note(L"runtime " + Text(method) + L" \"" + Text(argument) + L"\"");
        g_test->m_calls.push_back({Text(assembly), Text(type), Text(method), Text(argument)});
        return g_test->m_method(g_test->m_calls.back(), returnValue);
    }
};

namespace
{
RuntimeStandIn g_runtime;
} // namespace

ClientView::ClientView(uint32_t id)
    : m_mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, static_cast<DWORD>(c_shareBytes),
                                   g_SecManager.BuildObjectName(0xFFFFFFFF, (L"OrvProfiler" + Hex(id, 8)).c_str())))
{
    m_bytes = static_cast<uint8_t*>(MapViewOfFile(m_mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (m_bytes == nullptr)
        throw std::runtime_error("the client's share cannot be made");
}

ClientView::~ClientView()
{
    UnmapViewOfFile(m_bytes);
    CloseHandle(m_mapping);
}

void ClientView::SetWindow(uint64_t window)
{
    std::memcpy(m_bytes + c_windowOffset, &window, sizeof window);
}

void ClientView::SetText(const std::wstring& text)
{
    std::memcpy(Text(), text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

wchar_t* ClientView::Text() const noexcept
{
    return reinterpret_cast<wchar_t*>(m_bytes + c_textOffset);
}

Host::Host()
    : m_hexId(Hex(GetCurrentProcessId(), 1)), m_shareName(L"OrvProfiler" + Hex(GetCurrentProcessId(), 8)),
      m_method([](const ManagedCall&, DWORD* returnValue) {
          *returnValue = 5;
          return S_OK;
      }),
      m_bind("CorBindToRuntimeEx", Bind), m_post("PostMessageW", Post), m_send("SendMessageW", Send),
      m_wait("WaitForMultipleObjects", WaitForEvents)
{
    g_test = this;
}

Host::~Host()
{
    delete g_pShare;
    g_sharePid = 0;
    g_hZephWnd = nullptr;
    g_test = nullptr;
}

HRESULT WINAPI Host::Bind(LPCWSTR version, LPCWSTR flavour, DWORD flags, REFCLSID classId, REFIID interfaceId,
                          LPVOID* host)
{
    const AllocationProbe::Unwatched unwatched;
    Note(L"runtime bind " + Text(version) + L" " + Text(flavour) + L" " + Hex(flags, 1) + L" " + GuidText(classId) +
         L" " + GuidText(interfaceId));
    *host = g_test->m_bindGivesHost ? static_cast<ICLRRuntimeHost*>(&g_runtime) : nullptr;
    SetLastError(ERROR_FILE_NOT_FOUND);
    return g_test->m_bindStatus;
}

BOOL WINAPI Host::Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const AllocationProbe::Unwatched unwatched;
    Note(L"window posted " + Hex(reinterpret_cast<uintptr_t>(window), 1) + L" " + Hex(message, 1) + L" " +
         Hex(wParam, 1) + L" " + Hex(static_cast<uint64_t>(lParam), 1));
    return g_test->m_sendAnswer != 0 ? TRUE : FALSE;
}

LRESULT WINAPI Host::Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const AllocationProbe::Unwatched unwatched;
    Note(L"window sent " + Hex(reinterpret_cast<uintptr_t>(window), 1) + L" " + Hex(message, 1) + L" " +
         Hex(wParam, 1) + L" " + Hex(static_cast<uint64_t>(lParam), 1));
    SetLastError(g_test->m_sendError);
    return g_test->m_sendAnswer;
}

DWORD WINAPI Host::WaitForEvents(DWORD count, const HANDLE* handles, BOOL all, DWORD timeoutMs)
{
    const AllocationProbe::Unwatched unwatched;
    const bool complete = std::none_of(handles, handles + count, [](HANDLE handle) { return handle == nullptr; });
    if (count != 8 || all != FALSE || timeoutMs != 10000 || !complete)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    if (g_test->m_waits.empty())
        return WAIT_OBJECT_0;
    const ScriptedWait wait = g_test->m_waits.front();
    g_test->m_waits.pop_front();
    if (wait.meanwhile)
        wait.meanwhile();
    return wait.result;
}

void Host::ClientIsThere()
{
    m_client = std::make_unique<ClientView>(m_id);
    m_client->SetWindow(c_window);
}

bool Host::TakeSignal(unsigned slot) const
{
    HANDLE const event = OpenEventW(EVENT_ALL_ACCESS, FALSE, KernelName(c_eventNames[slot] + m_hexId).c_str());
    if (event == nullptr)
        throw std::runtime_error("there is no such event");
    const bool signalled = WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
    ResetEvent(event);
    CloseHandle(event);
    return signalled;
}

bool Host::EventExists(unsigned slot) const
{
    HANDLE const event = OpenEventW(SYNCHRONIZE, FALSE, KernelName(c_eventNames[slot] + m_hexId).c_str());
    if (event != nullptr)
        CloseHandle(event);
    return event != nullptr;
}

std::wstring Host::KernelName(const std::wstring& name)
{
    return (g_SecManager.UsePrivateNamespace() ? L"OrvP\\" : L"Local\\") + name;
}

Host::Lines Host::ConstructionLines() const
{
    Lines lines;
    for (const wchar_t* name : c_eventNames)
        lines.push_back(L"CProxySecManager::OrvPCreateEvent CreateEvent " + KernelName(name + m_hexId) +
                        L" succeeded \n");
    lines.push_back(L"CHost::CHost Executing CorBindToRuntimeEx\n");
    lines.push_back(L"runtime bind v2.0.50727 svr 2 90f1a06e-7712-4762-86b57a5eba6bdb02 "
                    L"90f1a06c-7712-4762-86b57a5eba6bdb02\n");
    return lines;
}

Host::Lines Host::OpenedShareLines() const
{
    Lines lines{
        L"CProxyShare::Create Size of Share is 116197744 bytes\n",
        L"CProxyMap::OpenMap Open Map Name: " + m_shareName + L"\n",
    };
    for (unsigned i = 0; i < 7; ++i)
        lines.push_back(L"CProxySecManager::OrvPCreateMutex Create Mutex " +
                        KernelName(m_shareName + L"_" + std::to_wstring(i)) + L"\n");
    lines.push_back(L"CHost::Init Opened share for pid = " + m_hexId + L"\n");
    return lines;
}

Host::Lines Host::CreatedShareLines() const
{
    const Lines created{
        L"CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
        L"CProxyMap::OpenMap Open returned: <error 2>\n",
        L"CProxySecManager::OrvPCreateFileMapping Create Named File Map: " + KernelName(m_shareName) + L"\n",
        L"CProxyMap::Create created share " + m_shareName + L" successfully \n",
    };
    Lines lines = OpenedShareLines();
    lines.insert(lines.begin() + 2, created.begin(), created.end());
    return lines;
}

Host::Lines Host::WaitLines(const wchar_t* eventName)
{
    return {L"CHost::Run Sleeping\n\n", L"CWBEvent::Wait Waiting\n\n",
            L"CWBEvent::Wait Event is " + std::wstring(eventName) + L"\n"};
}

Host::Lines Host::StopLines()
{
    return Join(
        {WaitLines(L"EV_STOP"),
         {L"CHost::Run Stopping\n\n", L"CHost::Run WorkBench Exiting\n\n", L"window sent 12345678 83eb 0 0\n"}});
}

Host::Lines Host::Join(std::initializer_list<Lines> parts)
{
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}
