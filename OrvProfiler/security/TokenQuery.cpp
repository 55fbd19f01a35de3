#include "OrvProfiler/security/TokenQuery.h"

#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/SessionId.h"

#include <windows.h>

#include <algorithm>
#include <new>

namespace
{
using Block = std::unique_ptr<unsigned char[]>;

// Returns the system's error, 0 on success. The block then has at least leastBytes, zero where the token gave less.
DWORD ReadToken(HANDLE token, TOKEN_INFORMATION_CLASS informationClass, DWORD leastBytes, Block& block) noexcept
{
    DWORD size = 0;
    if (GetTokenInformation(token, informationClass, nullptr, 0, &size) != FALSE)
        return ERROR_INVALID_DATA;
    const DWORD error = GetLastError();
    if (error != ERROR_INSUFFICIENT_BUFFER || size == 0)
        return error;
    block.reset(new (std::nothrow) unsigned char[std::max(size, leastBytes)]());
    if (block == nullptr)
        return ERROR_NOT_ENOUGH_MEMORY;
    return GetTokenInformation(token, informationClass, block.get(), size, &size) != FALSE ? 0 : GetLastError();
}

// Null on failure, which is traced.
template <class Information>
Block QueryToken(HANDLE token, TOKEN_INFORMATION_CLASS informationClass, const wchar_t* function) noexcept
{
    Block block;
    const DWORD error = ReadToken(token, informationClass, sizeof(Information), block);
    if (error == ERROR_SUCCESS)
        return block;
    TraceText(function, ErrorText(error));
    return nullptr;
}
} // namespace

bool QueryTokenSession(HANDLE token, uint32_t& session) noexcept
{
    DWORD size = 0;
    if (GetTokenInformation(token, TokenSessionId, &session, sizeof session, &size) != FALSE)
        return true;
    const bool hasNone = GetLastError() == ERROR_INVALID_FUNCTION;
    session = hasNone ? c_sessionNone : c_sessionFailed;
    return hasNone;
}

TokenUserQuery::TokenUserQuery(HANDLE token, const wchar_t* function) noexcept
    : m_block(QueryToken<TOKEN_USER>(token, TokenUser, function))
{
}

const SID_AND_ATTRIBUTES* TokenUserQuery::Get() const noexcept
{
    return m_block != nullptr ? &reinterpret_cast<const TOKEN_USER*>(m_block.get())->User : nullptr;
}

TokenGroupsQuery::TokenGroupsQuery(HANDLE token, const wchar_t* function) noexcept
    : m_block(QueryToken<TOKEN_GROUPS_AND_PRIVILEGES>(token, TokenGroupsAndPrivileges, function))
{
    if (m_block == nullptr)
        return;
    const auto* const groups = reinterpret_cast<const TOKEN_GROUPS_AND_PRIVILEGES*>(m_block.get());
    if (groups->Sids == nullptr)
        return;
    m_begin = groups->Sids;
    m_end = groups->Sids + groups->SidCount;
}
