#include "tests/support/worlds/TokenStandIn.h"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace
{
TokenStandIn* g_standIn = nullptr;
}

SidBytes MakeSid(unsigned char authority, std::initializer_list<DWORD> subAuthorities)
{
    SidBytes sid = {1, static_cast<unsigned char>(subAuthorities.size()), 0, 0, 0, 0, 0, authority};
    for (const DWORD value : subAuthorities)
    {
        for (unsigned shift = 0; shift < 32; shift += 8)
            sid.push_back(static_cast<unsigned char>(value >> shift));
    }
    return sid;
}

TokenStandIn::TokenStandIn() : m_redirect("GetTokenInformation", Answer)
{
    g_standIn = this;
}

TokenStandIn::~TokenStandIn()
{
    g_standIn = nullptr;
}

void TokenStandIn::FailSizeQuery(TOKEN_INFORMATION_CLASS informationClass, DWORD error, DWORD sizeBytes)
{
    m_size[informationClass] = {true, error, sizeBytes, 0};
}

void TokenStandIn::FailAnswer(TOKEN_INFORMATION_CLASS informationClass, DWORD error)
{
    m_answer[informationClass] = {true, error, 0, 0};
}

void TokenStandIn::AnswerNumber(TOKEN_INFORMATION_CLASS informationClass, DWORD number)
{
    FailSizeQuery(informationClass, ERROR_INSUFFICIENT_BUFFER, sizeof number);
    m_answer[informationClass] = {true, ERROR_SUCCESS, sizeof number, number};
}

void TokenStandIn::AnswerGroups(std::vector<Group> groups)
{
    m_groups = std::move(groups);
    m_hasGroups = true;
}

void TokenStandIn::AnswerGroupsOf(HANDLE token)
{
    DWORD size = 0;
    m_redirect.Real()(token, TokenGroups, nullptr, 0, &size);
    std::vector<unsigned char> block(size);
    if (m_redirect.Real()(token, TokenGroups, block.data(), size, &size) == FALSE)
        throw std::runtime_error("the groups of a token cannot be read");
    const auto* const groups = reinterpret_cast<const TOKEN_GROUPS*>(block.data());
    std::vector<Group> list;
    for (DWORD i = 0; i < groups->GroupCount; ++i)
    {
        const SID_AND_ATTRIBUTES& group = groups->Groups[i];
        const auto* const bytes = static_cast<const unsigned char*>(group.Sid);
        list.push_back({SidBytes(bytes, bytes + GetLengthSid(group.Sid)), group.Attributes});
    }
    AnswerGroups(std::move(list));
}

BOOL WINAPI TokenStandIn::Answer(HANDLE token, TOKEN_INFORMATION_CLASS informationClass, void* buffer, DWORD size,
                                 DWORD* needed)
{
    const Failure& failure = (buffer == nullptr ? g_standIn->m_size : g_standIn->m_answer)[informationClass];
    if (failure.active)
    {
        *needed = failure.sizeBytes;
        SetLastError(failure.error);
        if (failure.error != ERROR_SUCCESS)
            return FALSE;
        if (buffer != nullptr)
            std::memcpy(buffer, &failure.number, sizeof failure.number);
        return TRUE;
    }
    if (informationClass == TokenGroupsAndPrivileges && g_standIn->m_hasGroups)
        return g_standIn->WriteGroups(buffer, size, needed);
    return g_standIn->m_redirect.Real()(token, informationClass, buffer, size, needed);
}

BOOL TokenStandIn::WriteGroups(void* buffer, DWORD size, DWORD* needed) const
{
    size_t total = sizeof(TOKEN_GROUPS_AND_PRIVILEGES) + m_groups.size() * sizeof(SID_AND_ATTRIBUTES);
    for (const Group& group : m_groups)
        total += group.sid.size();
    *needed = static_cast<DWORD>(total);
    if (buffer == nullptr || size < total)
    {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    auto* const bytes = static_cast<unsigned char*>(buffer);
    auto* const list = reinterpret_cast<SID_AND_ATTRIBUTES*>(bytes + sizeof(TOKEN_GROUPS_AND_PRIVILEGES));
    auto* sid = reinterpret_cast<unsigned char*>(list + m_groups.size());
    for (size_t i = 0; i < m_groups.size(); ++i)
    {
        std::memcpy(sid, m_groups[i].sid.data(), m_groups[i].sid.size());
        list[i].Sid = sid;
        list[i].Attributes = m_groups[i].attributes;
        sid += m_groups[i].sid.size();
    }
    TOKEN_GROUPS_AND_PRIVILEGES header{};
    header.SidCount = static_cast<DWORD>(m_groups.size());
    header.Sids = list;
    std::memcpy(bytes, &header, sizeof header);
    return TRUE;
}
