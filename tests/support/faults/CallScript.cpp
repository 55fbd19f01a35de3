#include "tests/support/faults/CallScript.h"

#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/AllocationProbe.h"

#include <windows.h>

#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <sstream>
#include <stdexcept>

namespace
{
constexpr uintptr_t c_pageSize = 4096;

// What is shown of a function's arguments, one letter for each:
//     t text, n narrow text, d decimal number, x hexadecimal number, h handle, P process id, T time in milliseconds,
//     a security attributes, p whether there is a pointer, v the handles whose number is the first argument, -
//     nothing
// and what a handle that it gives is called: by one of its texts ("t"), or by a word. "*" is the last argument's.
struct FunctionText
{
    const char* function;
    const char* arguments;
    const wchar_t* gives;
};

constexpr FunctionText c_functions[] = {
    {"AdjustTokenPrivileges", "hd", nullptr},
    {"ClosePrivateNamespace", "hd", nullptr},
    {"CloseHandle", "h", nullptr},
    {"CloseServiceHandle", "h", nullptr},
    {"CorBindToRuntimeEx", "ttd", nullptr},
    {"CreateBoundaryDescriptorW", "td", L"t"},
    {"CreateDirectoryW", "ta", nullptr},
    {"CreateEventW", "addt", L"t"},
    {"CreateFileMappingW", "haxddt", L"t"},
    {"CreateFileW", "txxadx", L"t"},
    {"CreateMutexW", "adt", L"t"},
    {"CreatePrivateNamespaceW", "aht", L"t"},
    {"DeleteBoundaryDescriptor", "h", nullptr},
    {"DispatchMessageW", "", nullptr},
    {"EnumServicesStatusExW", "hdxdp", nullptr},
    {"FileTimeToSystemTime", "", nullptr},
    {"FormatMessageW", "--d", nullptr},
    {"FreeLibrary", "h", nullptr},
    {"GetCurrentDirectoryW", "d", nullptr},
    {"GetEnvironmentVariableW", "tpd", nullptr},
    {"GetExitCodeProcess", "h", nullptr},
    {"GetFileAttributesExW", "td", nullptr},
    {"GetFileType", "h", nullptr},
    {"GetFileVersionInfoSizeW", "t", nullptr},
    {"GetFileVersionInfoW", "t", nullptr},
    {"GetLogicalDriveStringsW", "d", nullptr},
    {"GetLongPathNameW", "t-d", nullptr},
    {"GetModuleHandleW", "t", L"t"},
    {"GetProcAddress", "hn", nullptr},
    {"GetProcessId", "h", nullptr},
    {"GetTokenInformation", "hdp", nullptr},
    {"InitializeSecurityDescriptor", "-d", nullptr},
    {"IsWellKnownSid", "-d", nullptr},
    {"IsWow64Process", "h", nullptr},
    {"LoadLibraryW", "t", L"t"},
    {"LoadStringW", "hd-d", nullptr},
    {"LookupPrivilegeValueW", "-t", nullptr},
    {"MapViewOfFile", "hxddd", L"view"},
    {"MsgWaitForMultipleObjectsEx", "dvTxd", nullptr},
    {"MultiByteToWideChar", "dx--pd", nullptr},
    {"NtQueryInformationProcess", "hd", nullptr},
    {"OpenEventW", "xdt", L"t"},
    {"OpenFileMappingW", "xdt", L"t"},
    {"OpenMutexW", "xdt", L"t"},
    {"OpenPrivateNamespaceW", "ht", L"t"},
    {"OpenProcess", "xdP", L"process"},
    {"OpenProcessToken", "hx", L"*token"},
    {"OpenSCManagerW", "--x", L"services"},
    {"PeekMessageW", "-h--d", nullptr},
    {"PostMessageW", "hxdd", nullptr},
    {"QueryDosDeviceW", "t-d", nullptr},
    {"QueryFullProcessImageNameW", "hd", nullptr},
    {"ReadFile", "h-d", nullptr},
    {"ReadProcessMemory", "h--d", nullptr},
    {"ReleaseMutex", "h", nullptr},
    {"ResetEvent", "h", nullptr},
    {"SendMessageW", "hxdd", nullptr},
    {"SetEvent", "h", nullptr},
    {"SetFilePointerEx", "h", nullptr},
    {"SetSecurityDescriptorDacl", "-dpd", nullptr},
    {"UnmapViewOfFile", "h", nullptr},
    {"VerQueryValueW", "-t", nullptr},
    {"WNetGetConnectionW", "t", nullptr},
    {"WaitForMultipleObjects", "dvdT", nullptr},
    {"WaitForSingleObject", "hT", nullptr},
    {"WideCharToMultiByte", "dx--pd", nullptr},
    {"_findclose", "h", nullptr},
    {"_waccess_s", "td", nullptr},
    {"_wchdir", "t", nullptr},
    {"_wfindfirst64", "t", L"search"},
    {"_wfindnext64", "h", nullptr},
    {"_wfopen_s", "-tt", nullptr},
    {"fclose", "", nullptr},
};

// Left out unless a test asks for them.
constexpr const char* c_hidden[] = {"EnterCriticalSection", "LeaveCriticalSection", "QueryPerformanceCounter",
                                    "QueryPerformanceFrequency", "VirtualQuery"};

const FunctionText* TextOf(const char* function)
{
    const auto* const found =
        std::find_if(std::begin(c_functions), std::end(c_functions),
                     [&](const FunctionText& entry) { return std::strcmp(entry.function, function) == 0; });
    return found != std::end(c_functions) ? found : nullptr;
}

std::wstring Widened(const char* text)
{
    return text != nullptr ? std::wstring(text, text + std::strlen(text)) : L"null";
}

std::wstring HexText(uint64_t number)
{
    std::wostringstream text;
    text << std::hex << number;
    return text.str();
}

std::wstring AttributesText(const CallValue& value)
{
    const auto* const attributes = reinterpret_cast<const SECURITY_ATTRIBUTES*>(value.number);
    if (attributes == nullptr)
        return L"default";
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL* list = nullptr;
    const bool isKnown =
        attributes->lpSecurityDescriptor != nullptr &&
        GetSecurityDescriptorDacl(attributes->lpSecurityDescriptor, &present, &list, &defaulted) != FALSE;
    const bool isOpen = isKnown && present != FALSE && list == nullptr && defaulted == FALSE;
    return isOpen && attributes->nLength == sizeof *attributes && attributes->bInheritHandle == FALSE ? L"everybody"
                                                                                                      : L"somebody";
}

std::string Shown(const std::wstring& step)
{
    return "    " + contract::AsLiteral(step) + "\n";
}

std::string Shown(const Script& script)
{
    std::string text;
    for (const std::wstring& step : script)
        text += Shown(step);
    return text;
}

CallScript* g_script = nullptr;
} // namespace

// What is done meanwhile is the recorder's own.
class CallScript::Own
{
    SystemFaults::Paused m_paused;
    AllocationProbe::Unwatched m_unwatched;
};

struct CallScript::Page
{
    void* start;
    std::wstring name;
    DWORD protection;
    bool isProtected;

    void Protect()
    {
        DWORD old = 0;
        isProtected = VirtualProtect(start, 1, PAGE_READONLY, &old) != FALSE;
    }
    void Open()
    {
        DWORD old = 0;
        VirtualProtect(start, 1, protection, &old);
        isProtected = false;
    }
};

CallScript::CallScript() : m_hidden(std::begin(c_hidden), std::end(c_hidden)), m_calls(this)
{
    g_script = this;
    m_calls.FailNone();
}

CallScript::~CallScript()
{
    m_calls.Stop();
    OpenPages();
    if (m_faultHandler != nullptr)
        RemoveVectoredExceptionHandler(m_faultHandler);
    g_script = nullptr;
}

void CallScript::Rename(std::wstring from, std::wstring to)
{
    const Own own;
    m_texts.emplace(m_texts.begin(), std::move(from), std::move(to));
}

void CallScript::WatchWrites(void* address, std::wstring name)
{
    const Own own;
    if (m_faultHandler == nullptr)
        m_faultHandler = AddVectoredExceptionHandler(1, OnFault);
    void* const start = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(address) / c_pageSize * c_pageSize);
    MEMORY_BASIC_INFORMATION region{};
    if (VirtualQuery(start, &region, sizeof region) == 0)
        throw std::runtime_error("there is no such page");
    m_pages.push_back({start, std::move(name), region.Protect, false});
    ProtectPages();
}

void CallScript::WatchState(std::function<std::wstring()> state)
{
    const Own own;
    m_state = std::move(state);
    m_lastState = m_state ? m_state() : L"";
}

void CallScript::Note(std::wstring step)
{
    const Own own;
    Add(std::move(step));
}

void CallScript::Clear()
{
    const Own own;
    NoteState();
    m_steps.clear();
    ProtectPages();
}

Script CallScript::Steps()
{
    const Own own;
    NoteState();
    return m_steps;
}

testing::AssertionResult CallScript::Is(const Script& expected)
{
    const Own own;
    NoteState();
    const Script steps = std::exchange(m_steps, Script());
    ProtectPages();
    if (steps == expected)
        return testing::AssertionSuccess();
    const auto differs = std::mismatch(steps.begin(), steps.end(), expected.begin(), expected.end());
    return testing::AssertionFailure() << "the script is\n"
                                       << Shown(steps) << "and should be\n"
                                       << Shown(expected) << "they differ from step " << differs.first - steps.begin()
                                       << " on: "
                                       << (differs.first != steps.end() ? Shown(*differs.first) : "it ends\n");
}

void CallScript::NoteState()
{
    const std::wstring state = m_state ? m_state() : L"";
    if (state == m_lastState)
        return;
    m_lastState = state;
    m_steps.push_back(L"= " + Renamed(state));
}

void CallScript::Add(std::wstring step)
{
    NoteState();
    m_steps.push_back(Renamed(std::move(step)));
    ProtectPages();
}

void CallScript::ProtectPages()
{
    for (Page& page : m_pages)
    {
        if (!page.isProtected)
            page.Protect();
    }
}

std::wstring CallScript::Renamed(std::wstring text) const
{
    for (const auto& [from, to] : m_texts)
        text = contract::Replaced(std::move(text), from, to);
    return text;
}

std::wstring CallScript::HandleText(uint64_t handle) const
{
    if (handle == 0)
        return L"null";
    const auto known = m_handles.find(handle);
    if (known != m_handles.end())
        return known->second;
    if (handle == Address(INVALID_HANDLE_VALUE))
        return L"invalid";
    return L"unknown";
}

std::wstring CallScript::HandlesText(const CallValue& handles, uint64_t count) const
{
    const auto* const first = reinterpret_cast<const HANDLE*>(handles.number);
    std::wstring text;
    for (uint64_t i = 0; first != nullptr && i < count; ++i)
        text += (i > 0 ? L"," : L"") + HandleText(Address(first[i]));
    return text;
}

std::wstring CallScript::ArgumentText(const SystemCall& call, size_t index, wchar_t kind) const
{
    const CallValue& value = call.arguments.at(index);
    switch (kind)
    {
    case L't':
        return value.text != nullptr ? value.text : L"null";
    case L'n':
        return Widened(value.narrowText);
    case L'd':
        return std::to_wstring(value.number);
    case L'x':
        return HexText(value.number);
    case L'h':
        return HandleText(value.number);
    case L'T':
        return value.number == INFINITE ? L"forever" : std::to_wstring(value.number);
    case L'a':
        return AttributesText(value);
    case L'p':
        return value.IsNull() ? L"null" : L"something";
    case L'v':
        return HandlesText(value, call.arguments.at(0).number);
    case L'P': {
        const auto known = m_processes.find(value.number);
        if (known != m_processes.end())
            return known->second;
        return value.number == GetCurrentProcessId() ? L"own" : L"other";
    }
    default:
        return L"";
    }
}

// The calls that are told in words of their own.
bool CallScript::OnSpecialCall(const SystemCall& call)
{
    const std::string function = call.function;
    if (function == "OutputDebugStringW")
        Add(L"trace " + WithoutTime(call.arguments[0].text));
    else if (function == "fwrite")
    {
        const auto* const text = reinterpret_cast<const wchar_t*>(call.arguments[0].number);
        const std::wstring line(text, text + call.arguments[2].number);
        Add((call.fails ? L"file fails " : L"file ") + WithoutTime(line));
    }
    else if (function == "fflush")
        Add(call.fails ? L"flush fails" : L"flush");
    else if (function == "free")
    {
        void* const block = reinterpret_cast<void*>(call.arguments[0].number);
        for (const auto& [text, name] : m_blocks)
        {
            const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
            if (block != nullptr && _msize(block) >= bytes && std::memcmp(block, text.c_str(), bytes) == 0)
                Add(L"free " + name);
        }
    }
    else
        return false;
    return true;
}

void CallScript::OpenPages()
{
    for (Page& page : m_pages)
        page.Open();
}

// The pages of a view that goes.
void CallScript::ForgetPages(uint64_t view)
{
    const auto isInView = [view](const Page& page) {
        MEMORY_BASIC_INFORMATION region{};
        return VirtualQuery(page.start, &region, sizeof region) == 0 || Address(region.AllocationBase) == view;
    };
    m_pages.erase(std::remove_if(m_pages.begin(), m_pages.end(), isInView), m_pages.end());
}

void CallScript::BeforeCall(const SystemCall& call)
{
    if (std::strcmp(call.function, "UnmapViewOfFile") == 0)
        ForgetPages(call.arguments[0].number);
    // The watched pages must not look like regions of their own.
    if (std::strcmp(call.function, "VirtualQuery") == 0)
        OpenPages();
    if (m_hidden.count(call.function) != 0 || OnSpecialCall(call))
        return;
    std::wstring step = Widened(call.function);
    const FunctionText* const shown = TextOf(call.function);
    const std::string kinds = shown != nullptr ? shown->arguments : "";
    for (size_t i = 0; i < kinds.size(); ++i)
    {
        if (kinds[i] != '-')
            step += L" " + ArgumentText(call, i, static_cast<wchar_t>(kinds[i]));
    }
    Add(step + (call.fails ? L" fails" : L""));
}

// Learns the names of the handles.
void CallScript::AfterCall(const SystemCall& call, const CallValue& result)
{
    if (std::strcmp(call.function, "VirtualQuery") == 0)
        ProtectPages();
    const FunctionText* const shown = TextOf(call.function);
    if (shown == nullptr || shown->gives == nullptr || result.number == 0 ||
        result.number == Address(INVALID_HANDLE_VALUE))
        return;
    std::wstring name = shown->gives;
    uint64_t handle = result.number;
    if (name.front() == L'*')
    {
        name.erase(0, 1);
        handle = Address(*reinterpret_cast<HANDLE*>(call.arguments.back().number));
    }
    else if (name == L"t")
    {
        const auto text = std::find_if(call.arguments.begin(), call.arguments.end(),
                                       [](const CallValue& argument) { return argument.text != nullptr; });
        name = text != call.arguments.end() ? text->text : L"nameless";
    }
    m_handles[handle] = name;
}

void CallScript::OnWrite(Page& page)
{
    const Own own;
    page.Open();
    NoteState();
    m_steps.push_back(L"writes " + page.name);
}

long CallScript::OnFault(EXCEPTION_POINTERS* fault)
{
    const EXCEPTION_RECORD& record = *fault->ExceptionRecord;
    if (g_script == nullptr || record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || record.NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    const uintptr_t page = record.ExceptionInformation[1] / c_pageSize * c_pageSize;
    for (Page& watched : g_script->m_pages)
    {
        if (reinterpret_cast<uintptr_t>(watched.start) != page || !watched.isProtected)
            continue;
        g_script->OnWrite(watched);
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}
