#include "tests/OrvWorkbench/HostFixture.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/faults/AllocationProbe.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

using contract::Hex;
using contract::KernelName;

namespace
{
// The running test, for the replacements, which are plain functions.
CHostWithStandIns* g_test = nullptr;

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

CHostWithStandIns::CHostWithStandIns()
    : m_hexId(Hex(GetCurrentProcessId())), m_shareName(contract::ShareName(GetCurrentProcessId())),
      m_method([](const ManagedCall&, DWORD* returnValue) {
          *returnValue = 5;
          return S_OK;
      }),
      m_bind("CorBindToRuntimeEx", Bind), m_post("PostMessageW", Post), m_send("SendMessageW", Send),
      m_wait("WaitForMultipleObjects", WaitForEvents)
{
    g_test = this;
}

CHostWithStandIns::~CHostWithStandIns()
{
    delete g_pShare;
    g_sharePid = 0;
    g_hZephWnd = nullptr;
    g_test = nullptr;
}

HRESULT WINAPI CHostWithStandIns::Bind(LPCWSTR version, LPCWSTR flavour, DWORD flags, REFCLSID classId,
                                       REFIID interfaceId, LPVOID* host)
{
    const AllocationProbe::Unwatched unwatched;
    Note(L"runtime bind " + Text(version) + L" " + Text(flavour) + L" " + Hex(flags) + L" " + GuidText(classId) +
         L" " + GuidText(interfaceId));
    *host = g_test->m_bindGivesHost ? static_cast<ICLRRuntimeHost*>(&g_runtime) : nullptr;
    SetLastError(ERROR_FILE_NOT_FOUND);
    return g_test->m_bindStatus;
}

BOOL WINAPI CHostWithStandIns::Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const AllocationProbe::Unwatched unwatched;
    Note(L"window posted " + Hex(reinterpret_cast<uintptr_t>(window)) + L" " + Hex(message) + L" " + Hex(wParam) +
         L" " + Hex(static_cast<uint64_t>(lParam)));
    return g_test->m_sendAnswer != 0 ? TRUE : FALSE;
}

LRESULT WINAPI CHostWithStandIns::Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const AllocationProbe::Unwatched unwatched;
    Note(L"window sent " + Hex(reinterpret_cast<uintptr_t>(window)) + L" " + Hex(message) + L" " + Hex(wParam) +
         L" " + Hex(static_cast<uint64_t>(lParam)));
    SetLastError(g_test->m_sendError);
    return g_test->m_sendAnswer;
}

DWORD WINAPI CHostWithStandIns::WaitForEvents(DWORD count, const HANDLE* handles, BOOL all, DWORD timeoutMs)
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

void CHostWithStandIns::ClientIsThere()
{
    m_client = std::make_unique<ClientShare>(m_id);
    m_client->StoreWindow(c_window);
}

bool CHostWithStandIns::TakeSignal(unsigned slot) const
{
    const UniqueHandle event(OpenEventW(EVENT_ALL_ACCESS, FALSE, EventKernelName(slot).c_str()));
    if (!event)
        throw std::runtime_error("there is no such event");
    const bool signalled = WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
    ResetEvent(event.Get());
    return signalled;
}

std::wstring CHostWithStandIns::EventKernelName(unsigned slot) const
{
    return KernelName(contract::EventName(slot, m_id));
}

CHostWithStandIns::Lines CHostWithStandIns::ConstructionLines() const
{
    Lines lines = contract::EventLines(KernelName(L""), m_hexId);
    lines.push_back(L"CHost::CHost Executing CorBindToRuntimeEx\n");
    lines.push_back(L"runtime bind v2.0.50727 svr 2 90f1a06e-7712-4762-86b57a5eba6bdb02 "
                    L"90f1a06c-7712-4762-86b57a5eba6bdb02\n");
    return lines;
}

CHostWithStandIns::Lines CHostWithStandIns::OpenedShareLines() const
{
    return contract::OpenedShareLines(m_shareName, KernelName(m_shareName), m_hexId);
}

CHostWithStandIns::Lines CHostWithStandIns::CreatedShareLines() const
{
    const Lines created{contract::c_openMappingFailedLine, contract::c_openMapFailedLine,
                        contract::MappingCreatedLine(KernelName(m_shareName)), contract::MapCreatedLine(m_shareName)};
    Lines lines = OpenedShareLines();
    lines.insert(lines.begin() + 2, created.begin(), created.end());
    return lines;
}

CHostWithStandIns::Lines CHostWithStandIns::StopLines()
{
    return contract::Join(
        {contract::WaitLines(L"EV_STOP"),
         {L"CHost::Run Stopping\n\n", L"CHost::Run WorkBench Exiting\n\n", L"window sent 12345678 83eb 0 0\n"}});
}
