#pragma once

#include "tests/support/faults/ImportRedirect.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <string>

// The data mutex has one name for all, so tests that run at once would wait for each other: while one of these lives
// the name gets an ending that only this test and its children have.
class OwnMutexName
{
public:
    static constexpr const wchar_t* c_shared = L"Local\\AgentDataMutex";

    explicit OwnMutexName(const std::wstring& ending = FreshName(L"test")) : m_redirect("CreateMutexW", Create)
    {
        s_ending = ending;
        s_name = c_shared + ending;
        s_real = m_redirect.Real();
    }

    const std::wstring& Ending() const noexcept { return s_ending; }
    const std::wstring& KernelName() const noexcept { return s_name; }

private:
    static HANDLE Create(SECURITY_ATTRIBUTES* attributes, int initialOwner, const wchar_t* name)
    {
        const bool isData = name != nullptr && std::wstring(name) == c_shared;
        return s_real(attributes, initialOwner, isData ? s_name.c_str() : name);
    }

    static inline std::wstring s_ending;
    static inline std::wstring s_name;
    static inline decltype(&CreateMutexW) s_real = nullptr;

    Redirect<HANDLE(SECURITY_ATTRIBUTES*, int, const wchar_t*)> m_redirect;
};
