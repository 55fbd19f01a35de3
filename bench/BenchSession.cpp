#include "bench/BenchSession.h"

#include "OrvProfiler/protocol/ClientId.h"
#include "OrvProfiler/protocol/WorkbenchFiles.h"
#include "OrvProfiler/protocol/WorkbenchMessages.h"

#include <psapi.h>

#include <cstring>
#include <stdexcept>

namespace
{
constexpr DWORD c_limitMs = 20000;

std::wstring ProgramFolder()
{
    wchar_t path[MAX_PATH]{};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring text(path);
    return text.substr(0, text.find_last_of(L'\\') + 1);
}

constexpr const wchar_t* c_programs[] = {c_workbenchProgramFile, c_bareProgramFile};
constexpr const wchar_t* c_runtime = L"mscoree.dll";
constexpr const wchar_t* c_bareLog = L"bare.log";

// Goes with the program; both workbenches have ended by then.
class Stage
{
public:
    Stage()
    {
        wchar_t temp[MAX_PATH]{};
        GetTempPathW(MAX_PATH, temp);
        m_folder = std::wstring(temp) + L"orv-bench-" + std::to_wstring(GetCurrentProcessId()) + L"\\";
        CreateDirectoryW(m_folder.c_str(), nullptr);
        const std::wstring source = ProgramFolder();
        for (const wchar_t* file : c_programs)
            CopyFileW((source + file).c_str(), (m_folder + file).c_str(), FALSE);
        if (CopyFileW((source + L"..\\tests\\scripted\\" + c_runtime).c_str(), (m_folder + c_runtime).c_str(),
                      FALSE) == FALSE)
            throw std::runtime_error("the scripted runtime is not built");
    }
    ~Stage()
    {
        for (const wchar_t* file : {c_programs[0], c_programs[1], c_runtime, c_bareLog})
            DeleteFileW((m_folder + file).c_str());
        RemoveDirectoryW(m_folder.c_str());
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    const std::wstring& Folder() const { return m_folder; }

private:
    std::wstring m_folder;
};
} // namespace

const std::wstring& BenchStage()
{
    static const Stage stage;
    return stage.Folder();
}

BenchClient::BenchClient(uint32_t id) : m_id(id), m_share(std::make_unique<CProxyShare>()), m_events(id)
{
    m_share->Create(id);
    for (uint32_t i = 0; i < c_workbenchEventCount; ++i)
    {
        const std::wstring name = std::wstring(L"Local\\") + CWBEvent::EventName(static_cast<int32_t>(i), id);
        m_handles[i].Reset(OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str()));
    }
    m_ready.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    m_idle.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    m_windowMade.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    m_thread.Reset(CreateThread(nullptr, 0, Pump, this, 0, nullptr));
    WaitForSingleObject(m_windowMade.Get(), INFINITE);
    ShareControl* const control = m_share->GetControl();
    control->clientWindow = reinterpret_cast<uintptr_t>(m_window);
    std::memcpy(control->commandText, L"result=5", 9 * sizeof(wchar_t));
}

BenchClient::~BenchClient()
{
    PostMessageW(m_window, WM_QUIT, 0, 0);
    WaitForSingleObject(m_thread.Get(), c_limitMs);
}

int BenchClient::Load() const
{
    SetEvent(m_handles[EV_LOAD].Get());
    Wait(m_handles[c_responseSuccess].Get());
    return ResetEvent(m_handles[c_responseSuccess].Get());
}

// The success at the breakpoint is taken back while the idle message is answered, so that the event's next signal is
// the final response.
int BenchClient::Invoke() const
{
    SetEvent(m_handles[EV_INVOKE].Get());
    Wait(m_idle.Get());
    Wait(m_handles[c_responseSuccess].Get());
    return ResetEvent(m_handles[c_responseSuccess].Get());
}

void BenchClient::Wait(HANDLE event)
{
    if (WaitForSingleObject(event, c_limitMs) != WAIT_OBJECT_0)
        throw std::runtime_error("a workbench does not answer");
}

LRESULT CALLBACK BenchClient::OnMessage(HWND window, UINT message, WPARAM first, LPARAM second)
{
    const auto* const client = reinterpret_cast<const BenchClient*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message)
    {
    case WM_WORKBENCH_READY:
        SetEvent(client->m_ready.Get());
        return 1;
    case WM_WORKBENCH_IDLE:
        ResetEvent(client->m_handles[c_responseSuccess].Get());
        SetEvent(client->m_idle.Get());
        return 1;
    default:
        return DefWindowProcW(window, message, first, second);
    }
}

DWORD WINAPI BenchClient::Pump(void* argument)
{
    auto* const client = static_cast<BenchClient*>(argument);
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = OnMessage;
    windowClass.lpszClassName = L"OrvBenchClient";
    RegisterClassW(&windowClass);
    client->m_window =
        CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(client->m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(client));
    SetEvent(client->m_windowMade.Get());
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    DestroyWindow(client->m_window);
    return 0;
}

BenchWorkbench::BenchWorkbench(const BenchClient& client, const std::wstring& program, const std::wstring& mode)
{
    std::wstring line = L"\"" + BenchStage() + program + L"\" " + mode + L" " + ClientIdText(client.Id()).Get() +
                        L" \"" + BenchStage() + c_bareLog + L"\"";
    STARTUPINFOW startup{};
    PROCESS_INFORMATION process{};
    startup.cb = sizeof startup;
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, BenchStage().c_str(), &startup,
                       &process) == FALSE)
        throw std::runtime_error("a workbench cannot be started");
    m_process.Reset(process.hProcess);
    const UniqueHandle thread(process.hThread);
    client.WaitReady();
}

BenchWorkbench::~BenchWorkbench()
{
    TerminateProcess(m_process.Get(), 0);
    WaitForSingleObject(m_process.Get(), c_limitMs);
}

void BenchWorkbench::WaitExit() const
{
    if (WaitForSingleObject(m_process.Get(), c_limitMs) != WAIT_OBJECT_0)
        throw std::runtime_error("a workbench does not end");
}

size_t BenchWorkbench::WorkingSetBytes() const
{
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(m_process.Get(), &counters, sizeof counters);
    return counters.WorkingSetSize;
}
