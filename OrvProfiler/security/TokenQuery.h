#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <memory>

// What a token says of its user and its groups, read at construction. The token needs query access. A failure leaves
// the object empty and writes one trace line that names the reporting function. The SIDs are the object's.

class TokenUserQuery
{
public:
    TokenUserQuery(HANDLE token, const wchar_t* function) noexcept;

    // Null on failure.
    const SID_AND_ATTRIBUTES* Get() const noexcept;

private:
    std::unique_ptr<unsigned char[]> m_block;
};

// For use in a range-based for. Groups that the token holds for denying only are among them.
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
