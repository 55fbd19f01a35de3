// A stand-in for the managed runtime: an mscoree.dll to lie beside a program under test. It runs nothing. It records
// how the program uses it, and answers what the test tells it to.
//
// Environment variables, read at each call:
//   ORV_SCRIPT_LOG         file to record in (below); nothing is recorded when unset
//   ORV_SCRIPT_BIND        status of CorBindToRuntimeEx, e.g. 0x80131700; a failing one leaves the pointer null
//   ORV_SCRIPT_NULL        1: the bind succeeds, but with a null pointer
//   ORV_SCRIPT_START       status of Start
//   ORV_SCRIPT_BREAKPOINT  what the method "OrvBreakPoint" does: a status, or a text in the language below
//   ORV_SCRIPT_RESET       what the method "Reset" does, likewise
//   ORV_SCRIPT_RELEASE     what the last Release does, a text in the language below
//
// The argument of every other method is a text in this language: items separated by ';', blanks around them allowed.
// Anything else in it is ignored, so that any command text can carry an answer.
//   result=N       the return value (decimal, may be negative); 5 without it
//   status=N       the status instead of 0 (decimal or 0x...); with a failing one no return value is written
//   print=TEXT     writes that text and a line feed to the standard output, as UTF-8
//   write=TEXT     the same without the line feed, after print
//   told=TEXT      adds that text and a line feed to the file of the variable ORV_WORKBENCH_RESULTS, if there is one,
//   as
//                  the dispatcher does
//   delay=N        waits that many milliseconds
//   exit=N         ends the process with that exit code
//   throw          raises a C++ exception (std::runtime_error)
//   raise=N        raises a Windows exception with that code
//   crash=WHAT     does what a faulty program does: access (writes where there is no memory), divide (by zero),
//                  overflow (uses up the stack)
//   in=WHERE       where it throws, raises or crashes: window (in a window procedure that the method calls), message
//                  (in one that the system calls for another thread's message, for which the method waits), thread
//                  (on another thread, for which the method waits); in the method itself without it
// The items take effect in the order print, write, told, delay, exit, throw, raise, crash, status, result, whatever
// their order in the text.
//
// The record is UTF-8, one line for each call, written before a delay or an exception:
//   bind version="v2.0.50727" flavour="svr" flags=2 class={...} interface={...} status=0x00000000
//   start status=0x00000000
//   execute assembly="OrvWorkBench64.dll" type="OrvWorkBench.CInvoke" method="Invoke" argument="result=11"
//   addref count=2
//   release count=0
//   stop | query interface={...} | other method="GetCLRControl"
// A null text is written null without quotes; in a text, \ " CR LF and TAB are written \\ \" \r \n \t.

#include "tests/support/faults/Crashes.h"

#include <windows.h>

#include <mscoree.h>

#include <atomic>
#include <cwchar>
#include <stdexcept>
#include <string>

namespace
{
constexpr DWORD c_defaultResult = 5;

std::wstring EnvironmentText(const wchar_t* name)
{
    std::wstring value(32768, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::wstring Quoted(const wchar_t* text)
{
    if (text == nullptr)
        return L"null";
    std::wstring quoted = L"\"";
    for (; *text != L'\0'; ++text)
    {
        constexpr const wchar_t* special = L"\\\"\r\n\t";
        const wchar_t* const found = std::wcschr(special, *text);
        if (found == nullptr)
            quoted += *text;
        else
            quoted.append(1, L'\\').append(1, L"\\\"rnt"[found - special]);
    }
    return quoted + L"\"";
}

std::wstring Hex(unsigned long value, int digits)
{
    std::wstring text;
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        text += L"0123456789ABCDEF"[value >> shift & 0xF];
    return text;
}

std::wstring StatusText(HRESULT status)
{
    return L"0x" + Hex(static_cast<unsigned long>(status), 8);
}

std::wstring GuidText(const GUID& id)
{
    std::wstring text = L"{" + Hex(id.Data1, 8) + L"-" + Hex(id.Data2, 4) + L"-" + Hex(id.Data3, 4) + L"-";
    for (int i = 0; i < 8; ++i)
        text += (i == 2 ? L"-" : L"") + Hex(id.Data4[i], 2);
    return text + L"}";
}

void Write(HANDLE file, const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), length, bytes.data(), size, nullptr, nullptr);
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void Append(const std::wstring& path, const std::wstring& text)
{
    if (path.empty())
        return;
    // Opened and closed for each text, so that a reader in another process sees every one so far.
    const HANDLE file =
        CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    Write(file, text);
    CloseHandle(file);
}

void Record(const std::wstring& line)
{
    Append(EnvironmentText(L"ORV_SCRIPT_LOG"), line + L"\n");
}

unsigned long Number(const std::wstring& text)
{
    return text.compare(0, 1, L"-") == 0 ? static_cast<unsigned long>(std::wcstol(text.c_str(), nullptr, 0))
                                         : std::wcstoul(text.c_str(), nullptr, 0);
}

struct Answer
{
    HRESULT status = S_OK;
    DWORD result = c_defaultResult;
    std::wstring print;
    std::wstring write;
    std::wstring told;
    DWORD delayMs = 0;
    bool exits = false;
    DWORD exitCode = 0;
    bool throws = false;
    DWORD raises = 0;
    std::wstring crash;
    std::wstring where;
};

void ReadItem(const std::wstring& item, Answer& answer)
{
    const size_t equals = item.find(L'=');
    const std::wstring name = item.substr(0, equals);
    const unsigned long value = equals == std::wstring::npos ? 0 : Number(item.substr(equals + 1));
    if (name == L"result")
        answer.result = value;
    else if (name == L"status")
        answer.status = static_cast<HRESULT>(value);
    else if (name == L"print")
        answer.print = item.substr(equals + 1) + L"\n";
    else if (name == L"write")
        answer.write = item.substr(equals + 1);
    else if (name == L"told")
        answer.told = item.substr(equals + 1) + L"\n";
    else if (name == L"delay")
        answer.delayMs = value;
    else if (name == L"exit")
    {
        answer.exits = true;
        answer.exitCode = value;
    }
    else if (name == L"throw")
        answer.throws = true;
    else if (name == L"raise")
        answer.raises = value;
    else if (name == L"crash")
        answer.crash = item.substr(equals + 1);
    else if (name == L"in")
        answer.where = item.substr(equals + 1);
}

Answer ReadAnswer(const std::wstring& script)
{
    Answer answer;
    size_t start = 0;
    while (start <= script.size())
    {
        const size_t end = script.find(L';', start) == std::wstring::npos ? script.size() : script.find(L';', start);
        const size_t first = script.find_first_not_of(L' ', start);
        if (first < end)
            ReadItem(script.substr(first, script.find_last_not_of(L' ', end - 1) + 1 - first), answer);
        start = end + 1;
    }
    return answer;
}

HRESULT StatusFrom(const wchar_t* variable)
{
    const std::wstring text = EnvironmentText(variable);
    return text.empty() ? S_OK : static_cast<HRESULT>(Number(text));
}

Answer AnswerFrom(const wchar_t* variable)
{
    const std::wstring text = EnvironmentText(variable);
    const bool isStatus = !text.empty() && (text[0] == L'-' || (text[0] >= L'0' && text[0] <= L'9'));
    return ReadAnswer(isStatus ? L"status=" + text : text);
}

// The breakpoint and the reset never have a text; the environment says what they do.
Answer AnswerOf(const std::wstring& method, const std::wstring& argument)
{
    if (method == L"OrvBreakPoint")
        return AnswerFrom(L"ORV_SCRIPT_BREAKPOINT");
    if (method == L"Reset")
        return AnswerFrom(L"ORV_SCRIPT_RESET");
    return ReadAnswer(argument);
}

void Crash(const std::wstring& what)
{
    if (what == L"access")
        WriteNowhere();
    if (what == L"divide")
        DivideByZero();
    if (what == L"overflow")
        UseUpTheStack();
}

void Fail(const Answer& answer)
{
    if (answer.throws)
        throw std::runtime_error("the script says so");
    if (answer.raises != 0)
        RaiseException(answer.raises, 0, 0, nullptr);
    Crash(answer.crash);
}

constexpr UINT c_failMessage = WM_APP;

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == c_failMessage)
        Fail(*reinterpret_cast<const Answer*>(lParam));
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeWindow()
{
    WNDCLASSEXW type{};
    type.cbSize = sizeof type;
    type.lpfnWndProc = OnMessage;
    type.hInstance = GetModuleHandleW(nullptr);
    type.lpszClassName = L"OrvScriptedRuntime";
    RegisterClassExW(&type); // an earlier call may have registered it
    return CreateWindowExW(0, type.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, type.hInstance, nullptr);
}

// What another thread does, and what it needs for it.
struct Errand
{
    const Answer& answer;
    HWND window;
};

DWORD WINAPI FailOnThread(void* errand)
{
    // As the system does where nobody wants to look at the crash; Wine would start its debugger.
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_EXECUTE_HANDLER; });
    Fail(static_cast<Errand*>(errand)->answer);
    return 0;
}

DWORD WINAPI SendFromThread(void* errand)
{
    const Errand* const own = static_cast<Errand*>(errand);
    SendMessageW(own->window, c_failMessage, 0, reinterpret_cast<LPARAM>(&own->answer));
    return 0;
}

// Runs a thread to its end; meanwhile messages that are sent to this one are answered.
void RunThread(LPTHREAD_START_ROUTINE function, Errand errand)
{
    HANDLE const thread = CreateThread(nullptr, 0, function, &errand, 0, nullptr);
    while (MsgWaitForMultipleObjects(1, &thread, FALSE, INFINITE, QS_SENDMESSAGE) == WAIT_OBJECT_0 + 1)
    {
        MSG message{};
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
    }
    CloseHandle(thread);
}

void FailWhereTold(const Answer& answer)
{
    if (answer.where == L"window")
        SendMessageW(MakeWindow(), c_failMessage, 0, reinterpret_cast<LPARAM>(&answer));
    else if (answer.where == L"message")
        RunThread(SendFromThread, {answer, MakeWindow()});
    else if (answer.where == L"thread")
        RunThread(FailOnThread, {answer, nullptr});
    else
        Fail(answer);
}

HRESULT Carry(const Answer& answer, DWORD* result)
{
    const std::wstring printed = answer.print + answer.write;
    if (!printed.empty())
        Write(GetStdHandle(STD_OUTPUT_HANDLE), printed);
    if (!answer.told.empty())
        Append(EnvironmentText(L"ORV_WORKBENCH_RESULTS"), answer.told);
    if (answer.delayMs != 0)
        Sleep(answer.delayMs);
    if (answer.exits)
        ExitProcess(answer.exitCode);
    FailWhereTold(answer);
    if (SUCCEEDED(answer.status) && result != nullptr)
        *result = answer.result;
    return answer.status;
}

class ScriptedHost final : public ICLRRuntimeHost
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override
    {
        Record(L"query interface=" + GuidText(id));
        *object = this;
        ++m_references;
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override
    {
        const ULONG count = ++m_references;
        Record(L"addref count=" + std::to_wstring(count));
        return count;
    }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG count = --m_references;
        Record(L"release count=" + std::to_wstring(count));
        if (count != 0)
            return count;
        delete this;
        Carry(AnswerFrom(L"ORV_SCRIPT_RELEASE"), nullptr);
        return 0;
    }

    HRESULT STDMETHODCALLTYPE Start() override
    {
        const HRESULT status = StatusFrom(L"ORV_SCRIPT_START");
        Record(L"start status=" + StatusText(status));
        return status;
    }

    HRESULT STDMETHODCALLTYPE Stop() override
    {
        Record(L"stop");
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE SetHostControl(IHostControl*) override { return Other(L"SetHostControl"); }
    HRESULT STDMETHODCALLTYPE GetCLRControl(ICLRControl**) override { return Other(L"GetCLRControl"); }
    HRESULT STDMETHODCALLTYPE UnloadAppDomain(DWORD, BOOL) override { return Other(L"UnloadAppDomain"); }
    HRESULT STDMETHODCALLTYPE ExecuteInAppDomain(DWORD, FExecuteInAppDomainCallback, void*) override
    {
        return Other(L"ExecuteInAppDomain");
    }
    HRESULT STDMETHODCALLTYPE GetCurrentAppDomainId(DWORD*) override { return Other(L"GetCurrentAppDomainId"); }
    HRESULT STDMETHODCALLTYPE ExecuteApplication(LPCWSTR, DWORD, LPCWSTR*, DWORD, LPCWSTR*, int*) override
    {
        return Other(L"ExecuteApplication");
    }

    HRESULT STDMETHODCALLTYPE ExecuteInDefaultAppDomain(LPCWSTR assembly, LPCWSTR type, LPCWSTR method,
                                                        LPCWSTR argument, DWORD* result) override
    {
        Record(L"execute assembly=" + Quoted(assembly) + L" type=" + Quoted(type) + L" method=" + Quoted(method) +
               L" argument=" + Quoted(argument));
        return Carry(AnswerOf(method == nullptr ? L"" : method, argument == nullptr ? L"" : argument), result);
    }

private:
    static HRESULT Other(const wchar_t* method)
    {
        Record(L"other method=" + Quoted(method));
        return E_NOTIMPL;
    }

    std::atomic<ULONG> m_references{1};
};
} // namespace

extern "C" HRESULT WINAPI CorBindToRuntimeEx(LPCWSTR version, LPCWSTR flavour, DWORD flags, REFCLSID classId,
                                             REFIID interfaceId, void** object);

extern "C" HRESULT WINAPI CorBindToRuntimeEx(LPCWSTR version, LPCWSTR flavour, DWORD flags, REFCLSID classId,
                                             REFIID interfaceId, void** object)
{
    const HRESULT status = StatusFrom(L"ORV_SCRIPT_BIND");
    Record(L"bind version=" + Quoted(version) + L" flavour=" + Quoted(flavour) + L" flags=" + std::to_wstring(flags) +
           L" class=" + GuidText(classId) + L" interface=" + GuidText(interfaceId) + L" status=" +
           StatusText(status));
    *object = nullptr;
    if (SUCCEEDED(status) && EnvironmentText(L"ORV_SCRIPT_NULL") != L"1")
        *object = new ScriptedHost;
    return status;
}
