#include "OrvProfiler/security/OpenToAll.h"

#include "OrvProfiler/foundation/Trace.h"

#include <windows.h>

OpenToAll::OpenToAll() noexcept : m_built(Fill(Get(), m_descriptor))
{
    static_assert(sizeof m_descriptor == sizeof(SECURITY_DESCRIPTOR) &&
                  alignof(SECURITY_DESCRIPTOR) <= alignof(void*));
    static_assert(sizeof m_attributes == sizeof(SECURITY_ATTRIBUTES) &&
                  alignof(SECURITY_ATTRIBUTES) <= alignof(void*));
}

SECURITY_ATTRIBUTES* OpenToAll::Get() noexcept
{
    return reinterpret_cast<SECURITY_ATTRIBUTES*>(m_attributes);
}

bool OpenToAll::Fill(SECURITY_ATTRIBUTES* attributes, PSECURITY_DESCRIPTOR descriptor) noexcept
{
    if (InitializeSecurityDescriptor(descriptor, SECURITY_DESCRIPTOR_REVISION) == FALSE ||
        SetSecurityDescriptorDacl(descriptor, TRUE, nullptr, FALSE) == FALSE)
    {
        TraceLine(L"%6.0f %s OrvPCreateACL\n%s\n", L"CProxySecManager::OrvPCreateACL", ErrorText(GetLastError()));
        return false;
    }
    attributes->nLength = sizeof *attributes;
    attributes->lpSecurityDescriptor = descriptor;
    attributes->bInheritHandle = FALSE;
    return true;
}
