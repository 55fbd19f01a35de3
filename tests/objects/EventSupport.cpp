#include "tests/objects/EventSupport.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/worlds/SystemProbe.h"

#include <windows.h>

#include <stdexcept>
#include <thread>

namespace
{
CreatedEvents* g_self = nullptr;

bool OpensToAll(const SECURITY_ATTRIBUTES* attributes)
{
    if (attributes == nullptr || attributes->nLength != 24 || attributes->bInheritHandle != FALSE)
        return false;
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    PACL list = nullptr;
    return GetSecurityDescriptorDacl(attributes->lpSecurityDescriptor, &present, &list, &defaulted) != FALSE &&
           present != FALSE && list == nullptr;
}
} // namespace

CreatedEvents::CreatedEvents() : m_redirect("CreateEventW", Create)
{
    g_self = this;
}

CreatedEvents::~CreatedEvents()
{
    g_self = nullptr;
}

HANDLE CreatedEvents::Create(SECURITY_ATTRIBUTES* attributes, int manualReset, int initialState, const wchar_t* name)
{
    // Events without a name are the test's own.
    if (name == nullptr)
        return g_self->m_redirect.Real()(attributes, manualReset, initialState, name);
    g_self->m_calls.push_back(
        {name, manualReset != FALSE, initialState != FALSE, attributes != nullptr, OpensToAll(attributes)});
    const auto answer = g_self->m_answers.find(name);
    if (answer == g_self->m_answers.end())
        return g_self->m_redirect.Real()(attributes, manualReset, initialState, name);
    SetLastError(answer->second.second);
    return std::exchange(answer->second.first, nullptr);
}

HANDLE MakeAbandonedMutex()
{
    HANDLE const mutex = CreateMutexW(nullptr, FALSE, nullptr);
    DWORD taken = WAIT_FAILED;
    std::thread([&] { taken = WaitForSingleObject(mutex, 0); }).join();
    if (mutex == nullptr || taken != WAIT_OBJECT_0)
        throw std::runtime_error("no abandoned mutex can be had");
    return mutex;
}

bool IsSignalled(const std::wstring& kernelName)
{
    const UniqueHandle event(OpenEventW(SYNCHRONIZE, FALSE, kernelName.c_str()));
    return event && WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
}

bool Exists(const std::wstring& eventName)
{
    return static_cast<bool>(UniqueHandle(OpenEventW(SYNCHRONIZE, FALSE, eventName.c_str())));
}

std::wstring ShortHexId(unsigned id)
{
    const std::wstring text = HexId(id);
    const size_t first = text.find_first_not_of(L'0');
    return first == std::wstring::npos ? L"0" : text.substr(first);
}
