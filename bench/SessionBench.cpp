#include "bench/Ratios.h"
#include "OrvProfiler/OrvWorkbench/Host.h"
#include "OrvProfiler/ProxyShare.h"
#include "OrvProfiler/WBEvent.h"

#include <windows.h>

#include <psapi.h>

#include <cstring>
#include <memory>
#include <string>

// A client and either a real workbench or the bare one, both over the scripted runtime: the same client code measures
// both, with bare system calls of its own.

namespace
{
constexpr DWORD c_limitMs = 20000;

std::wstring ProgramFolder()
{
    wchar_t path[MAX_PATH]{};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring text(path);
    return text.substr(0, text.find_last_of(L'\\'));
}

// A folder with both workbenches and the scripted runtime beside them.
std::wstring StageFolder()
{
    wchar_t temp[MAX_PATH]{};
    GetTempPathW(MAX_PATH, temp);
    const std::wstring folder = std::wstring(temp) + L"orv-bench-" + std::to_wstring(GetCurrentProcessId());
    CreateDirectoryW(folder.c_str(), nullptr);
    const std::wstring source = ProgramFolder();
    for (const wchar_t* file : {L"\\OrvWorkBench64.exe", L"\\OrvBareWorkbench.exe"})
        CopyFileW((source + file).c_str(), (folder + file).c_str(), FALSE);
    if (CopyFileW((source + L"\\..\\tests\\scripted\\mscoree.dll").c_str(), (folder + L"\\mscoree.dll").c_str(),
                  FALSE) == FALSE)
        throw std::runtime_error("the scripted runtime is not built");
    return folder;
}

const std::wstring& Stage()
{
    static const std::wstring folder = StageFolder();
    return folder;
}

// The message-only window of one session. Its thread answers while the measuring thread waits for events.
class Client
{
public:
    explicit Client(uint32_t id) : m_id(id), m_share(std::make_unique<CProxyShare>()), m_events(id)
    {
        m_share->Create(id);
        for (int32_t i = 0; i < 11; ++i)
            m_handles[i] =
                OpenEventW(EVENT_ALL_ACCESS, FALSE, (std::wstring(L"Local\\") + CWBEvent::EventName(i, id)).c_str());
        m_ready = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        m_idle = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        HANDLE const windowMade = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        m_windowMade = windowMade;
        m_thread = CreateThread(nullptr, 0, Pump, this, 0, nullptr);
        WaitForSingleObject(windowMade, INFINITE);
        CloseHandle(windowMade);
        ShareControl* const control = m_share->GetControl();
        control->clientWindow = reinterpret_cast<uintptr_t>(m_window);
        std::memcpy(control->commandText, L"result=5", 9 * sizeof(wchar_t));
    }
    ~Client()
    {
        PostMessageW(m_window, WM_QUIT, 0, 0);
        WaitForSingleObject(m_thread, c_limitMs);
        CloseHandle(m_thread);
        CloseHandle(m_ready);
        CloseHandle(m_idle);
        for (HANDLE handle : m_handles)
            CloseHandle(handle);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    uint32_t Id() const { return m_id; }
    void WaitReady() const { Wait(m_ready); }

    int Load() const
    {
        SetEvent(m_handles[EV_LOAD]);
        Wait(m_handles[c_responseSuccess]);
        return ResetEvent(m_handles[c_responseSuccess]);
    }

    // The success at the breakpoint is taken back while the idle message is answered, so that the event's next
    // signal is the final response.
    int Invoke() const
    {
        SetEvent(m_handles[EV_INVOKE]);
        Wait(m_idle);
        Wait(m_handles[c_responseSuccess]);
        return ResetEvent(m_handles[c_responseSuccess]);
    }

private:
    static void Wait(HANDLE event)
    {
        if (WaitForSingleObject(event, c_limitMs) != WAIT_OBJECT_0)
            throw std::runtime_error("a workbench does not answer");
    }

    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second)
    {
        const auto* const client = reinterpret_cast<const Client*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        switch (message)
        {
        case WM_WORKBENCH_READY:
            SetEvent(client->m_ready);
            return 1;
        case WM_WORKBENCH_IDLE:
            ResetEvent(client->m_handles[c_responseSuccess]);
            SetEvent(client->m_idle);
            return 1;
        default:
            return DefWindowProcW(window, message, first, second);
        }
    }

    static DWORD WINAPI Pump(void* argument)
    {
        auto* const client = static_cast<Client*>(argument);
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = OnMessage;
        windowClass.lpszClassName = L"OrvBenchClient";
        RegisterClassW(&windowClass);
        client->m_window = CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                           nullptr, nullptr);
        SetWindowLongPtrW(client->m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(client));
        SetEvent(client->m_windowMade);
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0)
            DispatchMessageW(&message);
        DestroyWindow(client->m_window);
        return 0;
    }

    uint32_t m_id;
    std::unique_ptr<CProxyShare> m_share;
    CWBEvent m_events;
    HANDLE m_handles[11]{};
    HANDLE m_ready = nullptr;
    HANDLE m_idle = nullptr;
    HANDLE m_windowMade = nullptr;
    HANDLE m_thread = nullptr;
    HWND m_window = nullptr;
};

class Workbench
{
public:
    Workbench(const Client& client, const std::wstring& program, const std::wstring& mode)
    {
        std::wstring line = L"\"" + Stage() + L"\\" + program + L"\" " + mode + L" ";
        wchar_t id[16];
        _snwprintf_s(id, 16, 15, L"%x", client.Id());
        line += id;
        line += L" \"" + Stage() + L"\\bare.log\"";
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, Stage().c_str(), &startup,
                           &m_process) == FALSE)
            throw std::runtime_error("a workbench cannot be started");
        client.WaitReady();
    }
    ~Workbench()
    {
        TerminateProcess(m_process.hProcess, 0);
        WaitForSingleObject(m_process.hProcess, c_limitMs);
        CloseHandle(m_process.hProcess);
        CloseHandle(m_process.hThread);
    }
    Workbench(const Workbench&) = delete;
    Workbench& operator=(const Workbench&) = delete;

    size_t WorkingSetBytes() const
    {
        PROCESS_MEMORY_COUNTERS counters{};
        GetProcessMemoryInfo(m_process.hProcess, &counters, sizeof counters);
        return counters.WorkingSetSize;
    }

private:
    PROCESS_INFORMATION m_process{};
};

std::string Kilobytes(unsigned long long bytes)
{
    return std::to_string((bytes + 1023) / 1024) + " KiB";
}
} // namespace

TEST_CASE("session")
{
    const Client client(0x8C000001);
    const Client bareClient(0x8C000003);
    const Workbench workbench(client, L"OrvWorkBench64.exe", L"workbench");
    const Workbench bare(bareClient, L"OrvBareWorkbench.exe", L"session");
    CompareRatio(
        "load command, set to final response", 1.10, [&] { return client.Load(); },
        [&] { return bareClient.Load(); });
    CompareRatio(
        "invoke command, set to final response", 1.10, [&] { return client.Invoke(); },
        [&] { return bareClient.Invoke(); });
    ratios::State("working set of a workbench with an open share", Kilobytes(workbench.WorkingSetBytes()));
    ratios::State("working set of the bare program", Kilobytes(bare.WorkingSetBytes()));
}

TEST_CASE("start")
{
    constexpr int rounds = 5;
    const Client client(0x8C000005);
    CompareRatio(
        "start of the process to the ready message", 1.15,
        [&] { return Workbench(client, L"OrvWorkBench64.exe", L"workbench").WorkingSetBytes(); },
        [&] { return Workbench(client, L"OrvBareWorkbench.exe", L"start").WorkingSetBytes(); }, rounds);
    WIN32_FILE_ATTRIBUTE_DATA file{};
    GetFileAttributesExW((Stage() + L"\\OrvWorkBench64.exe").c_str(), GetFileExInfoStandard, &file);
    ratios::State("size of OrvWorkBench64.exe", Kilobytes(file.nFileSizeLow));
}
