#include "OrvProfiler/security/ProxyProcess.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Path.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/ImageArchitecture.h"
#include "OrvProfiler/security/ProcessInformation.h"
#include "OrvProfiler/security/TokenQuery.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxySecurity";
constexpr size_t c_accountTextUnits = 260;

// Adds the account, which is the list's then. False when there is no memory; the list is empty then.
bool AddToList(CProcess::AccountList& list, CAccount* account) noexcept
{
    const int32_t count = list.GetCount();
    try
    {
        list.Add(account, true);
    }
    catch (...) // NOLINT(bugprone-empty-catch): the count tells
    {
    }
    return list.GetCount() > count;
}
} // namespace

CAccount::CAccount(uint32_t attributes, uint32_t use, const wchar_t* name, const wchar_t* domain) noexcept
    : m_attributes(attributes), m_use(use), m_name(name), m_domain(domain)
{
}

CAccount* CAccount::Create(const SID_AND_ATTRIBUTES* sid) noexcept
{
    if (sid == nullptr)
    {
        DebugAssert(false, c_source);
        return nullptr;
    }
    const auto& lookUp = GetSystemFunctions().lookupAccountSidW;
    if (lookUp == nullptr)
        return nullptr;
    wchar_t name[c_accountTextUnits]{};
    wchar_t domain[c_accountTextUnits]{};
    DWORD nameUnits = c_accountTextUnits;
    DWORD domainUnits = c_accountTextUnits;
    int use = SidTypeUnknown;
    if (lookUp(nullptr, sid->Sid, name, &nameUnits, domain, &domainUnits, &use) != FALSE)
        return new (std::nothrow) CAccount(sid->Attributes, static_cast<uint32_t>(use), name, domain);
    TraceText(L"CProxySecManager::CAccount::Create", ErrorText(GetLastError()));
    return nullptr;
}

CProcess::CProcess(const SystemFunctionTable& functions, uint32_t processId, UniqueHandle process) noexcept
    : m_process(std::move(process)), m_processId(processId)
{
    static_assert(sizeof(CProcess) == 152 && offsetof(CProcess, m_groups) == 8 && offsetof(CProcess, m_user) == 32 &&
                      offsetof(CProcess, m_flags) == 40 && offsetof(CProcess, m_token) == 48 &&
                      offsetof(CProcess, m_process) == 56 && offsetof(CProcess, m_session) == 64 &&
                      offsetof(CProcess, m_processId) == 68 && offsetof(CProcess, m_texts) == 72 &&
                      offsetof(CProcess, m_architecture) == 136 && offsetof(CProcess, m_version) == 144,
                  "the order of the fields is the family's");
    ReadProcessTexts(functions, m_process.Get(), m_texts);
    if (m_texts.imagePath.IsEmpty())
        m_texts.imagePath = DeviceToDrivePath(QueryImageName(functions, m_process.Get()));
    ReadToken();
}

CProcess::~CProcess()
{
    m_token.Reset();
    m_process.Reset();
}

void CProcess::ReadToken() noexcept
{
    if (OpenProcessToken(m_process.Get(), TOKEN_READ, m_token.Receive()) == FALSE)
    {
        TraceText(L"CProxySecManager::CProcess::CProcess", ErrorText(GetLastError()));
        return;
    }
    static_cast<void>(QueryTokenSession(m_token.Get(), m_session));
    m_user.reset(GetUser(m_token.Get()));
    GetGroupMembership(m_token.Get(), m_groups);
    if (m_user != nullptr)
        m_flags |= c_processUserFound;
}

CAccount* CProcess::GetUser(HANDLE token) noexcept
{
    const TokenUserQuery user(token, L"CProxySecManager::CProcess::GetUser");
    return user.Get() != nullptr ? CAccount::Create(user.Get()) : nullptr;
}

int32_t CProcess::GetGroupMembership(HANDLE token, AccountList& list) noexcept
{
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the list owns what is released here
    for (const SID_AND_ATTRIBUTES& group : TokenGroupsQuery(token, L"CProxySecManager::CProcess::GetGroupMembership"))
    {
        std::unique_ptr<CAccount> account(CAccount::Create(&group));
        if (account != nullptr && AddToList(list, account.get()))
            static_cast<void>(account.release());
    }
    return list.GetCount();
}

const CVersionRecord* CProcess::GetVersion() const noexcept
{
    if (m_version == nullptr && !m_texts.imagePath.IsEmpty())
        m_version.reset(new (std::nothrow) CVersionRecord(m_texts.imagePath));
    return m_version.get();
}

uint32_t CProcess::GetArchitecture() const noexcept
{
    if (m_architecture == c_architectureNotAsked)
    {
        const uint32_t answer = ReadImageArchitecture(m_texts.imagePath);
        m_architecture = answer == 32 || answer == 64 ? answer : 0;
    }
    return m_architecture;
}
