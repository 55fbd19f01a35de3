#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/objects/WBEvent.h"
#include "OrvProfiler/protocol/WorkbenchEvents.h"
#include "OrvProfiler/share/ProxyShare.h"

#include <windows.h>

#include <memory>
#include <string>

// A client and either a real workbench or the bare one, both over the scripted runtime: the same client code measures
// both, with bare system calls of its own. Failures are raised as std::runtime_error.

// The file of the bare workbench.
constexpr const wchar_t* c_bareProgramFile = L"OrvBareWorkbench.exe";

// A folder with both workbenches and the scripted runtime beside them, with a backslash at its end.
const std::wstring& BenchStage();

// The client of one session: the share, the events and a message-only window, whose thread answers while the
// measuring thread waits for events.
class BenchClient
{
public:
    // id: below 0x80000000, which is as far as the workbench reads it.
    explicit BenchClient(uint32_t id);
    ~BenchClient();
    BenchClient(const BenchClient&) = delete;
    BenchClient& operator=(const BenchClient&) = delete;

    uint32_t Id() const { return m_id; }
    void WaitReady() const { Wait(m_ready.Get()); }
    void Stop() const { SetEvent(m_handles[EV_STOP].Get()); }
    // Both end with the final response. They return what the last system call did, for the benchmark to use.
    int Load() const;
    int Invoke() const;

private:
    static void Wait(HANDLE event);
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second);
    static DWORD WINAPI Pump(void* argument);

    uint32_t m_id;
    std::unique_ptr<CProxyShare> m_share;
    CWBEvent m_events;
    UniqueHandle m_handles[c_workbenchEventCount];
    UniqueHandle m_ready;
    UniqueHandle m_idle;
    UniqueHandle m_windowMade;
    UniqueHandle m_thread;
    HWND m_window = nullptr;
};

// A started workbench that has said that it is ready; ended with the object.
class BenchWorkbench
{
public:
    // program: a file name in the stage. mode: its first argument.
    BenchWorkbench(const BenchClient& client, const std::wstring& program, const std::wstring& mode);
    ~BenchWorkbench();
    BenchWorkbench(const BenchWorkbench&) = delete;
    BenchWorkbench& operator=(const BenchWorkbench&) = delete;

    // After BenchClient::Stop.
    void WaitExit() const;
    size_t WorkingSetBytes() const;

private:
    UniqueHandle m_process;
};
