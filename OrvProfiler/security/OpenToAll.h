#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

// Security attributes for an object that every user may open with full access: a present, null access list. A handle
// created with them is not inherited. Shared objects are open to all on purpose, since the client's helper processes
// may run under other accounts. The attributes point into the object, so it is neither copied nor moved.
class OpenToAll
{
public:
    // A failure writes one trace line of CProxySecManager::OrvPCreateACL and leaves zeroed attributes.
    OpenToAll() noexcept;
    OpenToAll(const OpenToAll&) = delete;
    OpenToAll& operator=(const OpenToAll&) = delete;

    bool IsBuilt() const noexcept { return m_built; }
    // For the create operations, as long as the object lives.
    SECURITY_ATTRIBUTES* Get() noexcept;

    // Fills the caller's attributes and descriptor in the same way, both zeroed before. False on failure.
    static bool Fill(SECURITY_ATTRIBUTES* attributes, PSECURITY_DESCRIPTOR descriptor) noexcept;

private:
    // Room for a SECURITY_DESCRIPTOR and for the SECURITY_ATTRIBUTES that point to it, which only <windows.h>
    // declares.
    alignas(void*) unsigned char m_descriptor[40]{};
    alignas(void*) unsigned char m_attributes[24]{};
    bool m_built;
};
