#pragma once

#include "OrvProfiler/OrvWorkbench/Host.h"
#include "OrvProfiler/OrvWorkbench/RuntimeHost.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/contract/TraceLines.h"
#include "tests/support/faults/ImportRedirect.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/ForeignMapping.h"

#include <windows.h>

#include <deque>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <vector>

// One call of a managed method as the runtime was asked for it.
struct ManagedCall
{
    std::wstring assembly;
    std::wstring type;
    std::wstring method;
    std::wstring argument;
};

// A CHost in the test's process. The runtime, the client's window and the waits for events are replaced; what the
// host does with them becomes a line of the trace ("runtime ...", "window ..."), so the trace shows the order of
// everything.
class CHostWithStandIns : public testing::Test
{
protected:
    // The name of the assembly that every host here is given.
    static constexpr const wchar_t* c_assembly = L"Some.dll";
    static constexpr const wchar_t* c_type = L"OrvWorkBench.CInvoke";
    static constexpr uint64_t c_window = 0x12345678;

    using Lines = contract::Lines;
    using Method = std::function<HRESULT(const ManagedCall& call, DWORD* returnValue)>;

    CHostWithStandIns();
    ~CHostWithStandIns() override;

    // A client that has made the share and stored its window.
    void ClientIsThere();
    // What the next wait for a command ends with; calls add up, and after them the stop event comes. The second form
    // does something just before.
    void NextWait(DWORD result) { m_waits.push_back({result, nullptr}); }
    void NextWait(DWORD result, std::function<void()> meanwhile)
    {
        m_waits.push_back({result, std::move(meanwhile)});
    }

    void ForgetWaits() { m_waits.clear(); }

    // Whether the event of a slot is signalled; clears it.
    bool TakeSignal(unsigned slot) const;
    std::wstring EventKernelName(unsigned slot) const;

    // The lines of the constructor, up to the binding of the runtime.
    Lines ConstructionLines() const;
    // The lines of Init when the client has made the share, and when it has not.
    Lines OpenedShareLines() const;
    Lines CreatedShareLines() const;
    static Lines StopLines();

    const uint32_t m_id = GetCurrentProcessId();
    const std::wstring m_hexId;
    const std::wstring m_shareName;
    TraceCapture m_trace;
    ErrorTextStandIn m_errorTexts;

    HRESULT m_bindStatus = S_OK;
    bool m_bindGivesHost = true;
    HRESULT m_startStatus = S_OK;
    // Answers 5, ActionSuccess, unless the test says otherwise.
    Method m_method;
    std::function<void()> m_release;
    LRESULT m_sendAnswer = 1;
    DWORD m_sendError = 0;
    std::vector<ManagedCall> m_calls;
    int m_releases = 0;

private:
    friend class RuntimeStandIn;
    struct ScriptedWait
    {
        DWORD result;
        std::function<void()> meanwhile;
    };

    static HRESULT WINAPI Bind(LPCWSTR version, LPCWSTR flavour, DWORD flags, REFCLSID classId, REFIID interfaceId,
                               LPVOID* host);
    static BOOL WINAPI Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static LRESULT WINAPI Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static DWORD WINAPI WaitForEvents(DWORD count, const HANDLE* handles, BOOL all, DWORD timeoutMs);

    std::deque<ScriptedWait> m_waits;
    std::unique_ptr<ClientShare> m_client;
    Redirect<decltype(CorBindToRuntimeEx)> m_bind;
    Redirect<decltype(PostMessageW)> m_post;
    Redirect<decltype(SendMessageW)> m_send;
    Redirect<decltype(WaitForMultipleObjects)> m_wait;

protected:
    ClientShare& Client() { return *m_client; }
};
