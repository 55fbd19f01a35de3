#include "tests/support/worlds/CreateEventStandIn.h"

#include <windows.h>

namespace
{
CreateEventStandIn* g_self = nullptr;

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

CreateEventStandIn::CreateEventStandIn() : m_redirect("CreateEventW", Create)
{
    g_self = this;
}

CreateEventStandIn::~CreateEventStandIn()
{
    g_self = nullptr;
}

HANDLE CreateEventStandIn::Create(SECURITY_ATTRIBUTES* attributes, int manualReset, int initialState,
                                  const wchar_t* name)
{
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
