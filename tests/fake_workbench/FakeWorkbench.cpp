// A workbench that does what it is told instead of what it should: for tests of how a client takes that. Its command
// line is the real one's; the environment variable ORV_FAKE holds its steps, separated by ';':
//   ready          posts the ready message
//   wait           waits for a command
//   set=SLOT       sets the event of that slot
//   idle           sends the idle message and prints "idle answered A, success response S", both 0 or 1
//   exiting        sends the exiting message
//   print=TEXT     prints that text and a line feed
//   write=TEXT     prints that text alone
//   trace=TEXT     prints that text as a line to the debugger output
//   sleep=MS       waits
//   exit=CODE      ends at once
// Ends with exit code 1 after the last step, and with 2 when a command does not come within half a minute.

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/objects/WBEvent.h"
#include "OrvProfiler/protocol/WorkbenchMessages.h"
#include "OrvProfiler/security/ProxySecurity.h"
#include "OrvProfiler/share/ProxyShare.h"

#include <windows.h>

#include <cwchar>
#include <string>

namespace
{
constexpr uint32_t c_waitMs = 30000;
constexpr int c_exitNoCommand = 2;

class FakeWorkbench
{
public:
    explicit FakeWorkbench(uint32_t clientId)
        : m_events(clientId), m_success(g_SecManager.OrvPOpenEvent(c_sessionNone, SYNCHRONIZE,
                                                                   CWBEvent::EventName(c_responseSuccess, clientId)))
    {
        m_share.Open(clientId);
    }

    void Do(const std::wstring& step)
    {
        const size_t equals = step.find(L'=');
        const std::wstring name = step.substr(0, equals);
        const std::wstring text = equals == std::wstring::npos ? std::wstring() : step.substr(equals + 1);
        const auto number = static_cast<uint32_t>(std::wcstoul(text.c_str(), nullptr, 10));
        if (name == L"ready")
            PostMessageW(m_share.GetClientWindow(), WM_WORKBENCH_READY, 0, 0);
        else if (name == L"wait")
            Wait();
        else if (name == L"set")
            m_events.Set(number);
        else if (name == L"idle")
            SendIdle();
        else if (name == L"exiting")
            SendMessageW(m_share.GetClientWindow(), WM_WORKBENCH_EXITING, 0, 0);
        else if (name == L"print")
            Print(text + L"\n");
        else if (name == L"write")
            Print(text);
        else if (name == L"trace")
            OutputDebugStringW((text + L"\n").c_str());
        else if (name == L"sleep")
            Sleep(number);
        else if (name == L"exit")
            ExitProcess(number);
    }

private:
    void Wait()
    {
        uint32_t index = 0;
        if (m_events.Wait(&index, c_workbenchCommandCount, c_waitMs) != CWBEvent::c_waitEvent)
            ExitProcess(c_exitNoCommand);
    }

    void SendIdle()
    {
        const bool answered = SendMessageW(m_share.GetClientWindow(), WM_WORKBENCH_IDLE, 0, 0) != 0;
        const bool isSet = WaitForSingleObject(m_success.Get(), 0) == WAIT_OBJECT_0;
        Print(std::wstring(L"idle answered ") + (answered ? L"1" : L"0") + L", success response " +
              (isSet ? L"1" : L"0") + L"\n");
    }

    static void Print(const std::wstring& text)
    {
        char bytes[1024];
        const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()), bytes,
                                             sizeof bytes, nullptr, nullptr);
        DWORD written = 0;
        WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes, static_cast<DWORD>(size), &written, nullptr);
    }

    CProxyShare m_share;
    CWBEvent m_events;
    UniqueHandle m_success;
};
} // namespace

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

extern "C" int wmain(int argc, wchar_t** argv)
{
    if (argc < 3)
        return 0;
    std::wstring steps(32768, L'\0');
    steps.resize(GetEnvironmentVariableW(L"ORV_FAKE", steps.data(), static_cast<DWORD>(steps.size())));
    FakeWorkbench workbench(static_cast<uint32_t>(std::wcstoul(argv[2], nullptr, 16)));
    size_t start = 0;
    while (start < steps.size())
    {
        const size_t end = steps.find(L';', start);
        workbench.Do(steps.substr(start, end - start));
        start = end == std::wstring::npos ? steps.size() : end + 1;
    }
    return 1;
}
