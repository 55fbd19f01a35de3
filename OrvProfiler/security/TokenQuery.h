#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <memory>

// What a token says of its session, its user and its groups. The token needs query access. Any thread.

// Stores the token's session, or c_sessionNone when the system has no sessions. On failure it stores c_sessionFailed
// and returns false; the last error has the reason. Nothing is traced.
bool QueryTokenSession(HANDLE token, uint32_t& session) noexcept;

// The token's user and, below, its groups are read at construction. A failure leaves the object empty and writes one
// trace line under the given function's name. The object owns the SIDs.
class TokenUserQuery
{
public:
    TokenUserQuery(HANDLE token, const wchar_t* function) noexcept;

    // Null on failure.
    const SID_AND_ATTRIBUTES* Get() const noexcept;

private:
    std::unique_ptr<unsigned char[]> m_block;
};

// For use in a range-based for. Groups that the token holds only to deny access are among them.
class TokenGroupsQuery
{
public:
    TokenGroupsQuery(HANDLE token, const wchar_t* function) noexcept;

    const SID_AND_ATTRIBUTES* begin() const noexcept { return m_begin; }
    const SID_AND_ATTRIBUTES* end() const noexcept { return m_end; }

private:
    std::unique_ptr<unsigned char[]> m_block;
    const SID_AND_ATTRIBUTES* m_begin = nullptr;
    const SID_AND_ATTRIBUTES* m_end = nullptr;
};
