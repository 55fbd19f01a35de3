#pragma once

#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

#include <initializer_list>
#include <vector>

// A SID, as the bytes that it has in memory.
using SidBytes = std::vector<unsigned char>;
SidBytes MakeSid(unsigned char authority, std::initializer_list<DWORD> subAuthorities);

// Changes what GetTokenInformation answers: failures, and the groups and privileges of class 13, which Wine does not
// give. Everything else comes from the system. One at a time, for one thread.
class TokenStandIn
{
public:
    struct Group
    {
        SidBytes sid;
        DWORD attributes;
    };

    TokenStandIn();
    ~TokenStandIn();
    TokenStandIn(const TokenStandIn&) = delete;
    TokenStandIn& operator=(const TokenStandIn&) = delete;

    // From now on queries for the class fail with the error: those that ask for the size, which then say sizeBytes,
    // or those that ask for the answer. With error 0 they succeed.
    void FailSizeQuery(TOKEN_INFORMATION_CLASS informationClass, DWORD error, DWORD sizeBytes = 0);
    void FailAnswer(TOKEN_INFORMATION_CLASS informationClass, DWORD error);
    // From now on the answer of the class is this number alone, 4 bytes.
    void AnswerNumber(TOKEN_INFORMATION_CLASS informationClass, DWORD number);
    // Class 13 has these groups.
    void AnswerGroups(std::vector<Group> groups);
    // Class 13 has the groups that class 2 has.
    void AnswerGroupsOf(HANDLE token);

private:
    struct Failure
    {
        bool active;
        DWORD error;
        DWORD sizeBytes;
        DWORD number;
    };
    static constexpr size_t c_classCount = 64;

    static BOOL WINAPI Answer(HANDLE token, TOKEN_INFORMATION_CLASS informationClass, void* buffer, DWORD size,
                              DWORD* needed);
    BOOL WriteGroups(void* buffer, DWORD size, DWORD* needed) const;

    Failure m_size[c_classCount]{};
    Failure m_answer[c_classCount]{};
    bool m_hasGroups = false;
    std::vector<Group> m_groups;
    Redirect<decltype(GetTokenInformation)> m_redirect;
};
