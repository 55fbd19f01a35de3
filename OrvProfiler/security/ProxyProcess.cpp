#include "OrvProfiler/security/ProxyProcess.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/Path.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/security/ProcessInformation.h"
#include "OrvProfiler/security/TokenQuery.h"

#include <windows.h>

#include <algorithm>
#include <new>
#include <utility>

namespace
{
constexpr const wchar_t* c_source = L"ProxySecurity";
constexpr size_t c_accountTextUnits = 260;

// Reads a structure of another process, whole or not at all.
template <class Structure>
bool ReadStructure(HANDLE process, const void* address, Structure& structure) noexcept
{
    SIZE_T read = 0;
    return ReadProcessMemory(process, address, &structure, sizeof structure, &read) != FALSE &&
           read == sizeof structure;
}

void CopyText(const CountedText& counted, TString& text) noexcept
{
    const size_t units = counted.lengthBytes / sizeof(wchar_t);
    text.Reserve(units);
    wchar_t* const buffer = text.GetBuffer();
    if (buffer == nullptr || counted.text == nullptr)
        return;
    std::copy_n(counted.text, units, buffer);
    buffer[units] = L'\0';
}

void ReadRemoteText(HANDLE process, const CountedText& counted, TString& text) noexcept
{
    // Deliberately twice as much as the text is long: a text that lies too near the end of its memory is not read.
    const size_t readBytes = size_t{2} * counted.lengthBytes;
    text.Reserve(std::max<size_t>(readBytes, counted.maximumBytes) + 1);
    wchar_t* const buffer = text.GetBuffer();
    if (buffer == nullptr)
        return;
    SIZE_T read = 0;
    if (ReadProcessMemory(process, counted.text, buffer, readBytes, &read) == FALSE)
        read = 0;
    // What was read ends where the text's own NUL is, and at the latest here.
    buffer[std::min<size_t>(read, readBytes) / sizeof(wchar_t)] = L'\0';
}

// Whether the list, now the account's owner, could take it. A list that cannot grow is emptied.
bool AddToList(CProxySecManager::CProcess::AccountList& list, CProxySecManager::CAccount* account) noexcept
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

CProxySecManager::CAccount::CAccount(uint32_t attributes, uint32_t use, const wchar_t* name,
                                     const wchar_t* domain) noexcept
    : m_attributes(attributes), m_use(use), m_name(name), m_domain(domain)
{
}

CProxySecManager::CAccount* CProxySecManager::CAccount::Create(const SID_AND_ATTRIBUTES* sid) noexcept
{
    if (sid == nullptr)
    {
        DebugAssert(false, c_source, __LINE__);
        return nullptr;
    }
    const EntryPoint lookUp = g_SecManager.m_lookupAccountSidW;
    if (lookUp == nullptr)
        return nullptr;
    wchar_t name[c_accountTextUnits]{};
    wchar_t domain[c_accountTextUnits]{};
    DWORD nameUnits = c_accountTextUnits;
    DWORD domainUnits = c_accountTextUnits;
    SID_NAME_USE use = SidTypeUnknown;
    if (EntryPointAs<decltype(LookupAccountSidW)>(lookUp)(nullptr, sid->Sid, name, &nameUnits, domain, &domainUnits,
                                                          &use) != FALSE)
        return new (std::nothrow) CAccount(sid->Attributes, static_cast<uint32_t>(use), name, domain);
    Trace(L"%6.0f %s %s\n", TickMs(), L"CProxySecManager::CAccount::Create", ErrorText(GetLastError()));
    return nullptr;
}

CProxySecManager::CProcess::CProcess(const CProxySecManager& manager, uint32_t processId,
                                     UniqueHandle process) noexcept
    : m_process(std::move(process)), m_processId(processId)
{
    ReadParameters(manager);
    if (m_imagePath.IsEmpty())
        m_imagePath = DeviceToDrivePath(manager.GetImageName(m_process.Get()));
    ReadToken();
}

CProxySecManager::CProcess::~CProcess() = default;

void CProxySecManager::CProcess::ReadParameters(const CProxySecManager& manager) noexcept
{
    HANDLE const process = m_process.Get();
    ProcessBasics basic{};
    ProcessEnvironmentBlock block{};
    ProcessParameters parameters{};
    if (!QueryProcess(manager.m_ntQueryInformationProcess, process, basic) ||
        !ReadStructure(process, basic.environmentBlock, block) ||
        !ReadStructure(process, block.parameters, parameters))
        return;
    const bool isCurrent = manager.GetProcessIdOfHandle(process) == GetCurrentProcessId();
    const std::pair<const CountedText&, TString&> texts[] = {
        {parameters.imagePath, m_imagePath},
        {parameters.currentDirectory, m_currentDirectory},
        {parameters.commandLine, m_commandLine},
        {parameters.windowTitle, m_windowTitle},
    };
    for (const auto& [counted, text] : texts)
    {
        if (counted.lengthBytes == 0)
            continue;
        if (isCurrent)
            CopyText(counted, text);
        else
            ReadRemoteText(process, counted, text);
    }
    if (m_windowTitle == m_imagePath)
        m_windowTitle.Empty();
}

void CProxySecManager::CProcess::ReadToken() noexcept
{
    if (OpenProcessToken(m_process.Get(), TOKEN_READ, m_token.Receive()) == FALSE)
    {
        Trace(L"%6.0f %s %s\n", TickMs(), L"CProxySecManager::CProcess::CProcess", ErrorText(GetLastError()));
        return;
    }
    uint32_t session = c_sessionFailed;
    DWORD size = 0;
    if (GetTokenInformation(m_token.Get(), TokenSessionId, &session, sizeof session, &size) != FALSE)
        m_session = session;
    else if (GetLastError() == ERROR_INVALID_FUNCTION)
        m_session = c_sessionNone;
    m_user.reset(GetUser(m_token.Get()));
    GetGroupMembership(m_token.Get(), m_groups);
    if (m_user != nullptr)
        m_flags |= c_processUserFound;
}

bool CProxySecManager::CProcess::IsValid() const noexcept
{
    return (m_flags & c_processUserFound) != 0 || s_allowNoUser;
}

CProxySecManager::CAccount* CProxySecManager::CProcess::GetUser(HANDLE token) noexcept
{
    const TokenUserQuery user(token, L"CProxySecManager::CProcess::GetUser");
    return user.Get() != nullptr ? CAccount::Create(user.Get()) : nullptr;
}

int32_t CProxySecManager::CProcess::GetGroupMembership(HANDLE token, AccountList& list) noexcept
{
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): what is released here is the list's
    for (const SID_AND_ATTRIBUTES& group : TokenGroupsQuery(token, L"CProxySecManager::CProcess::GetGroupMembership"))
    {
        std::unique_ptr<CAccount> account(CAccount::Create(&group));
        if (account != nullptr && AddToList(list, account.get()))
            static_cast<void>(account.release());
    }
    return list.GetCount();
}

const CVersionRecord* CProxySecManager::CProcess::GetVersion() const noexcept
{
    if (m_version == nullptr && !m_imagePath.IsEmpty())
        m_version.reset(new (std::nothrow) CVersionRecord(m_imagePath));
    return m_version.get();
}

uint32_t CProxySecManager::CProcess::GetArchitecture() const noexcept
{
    if (m_architecture == c_architectureNotAsked)
    {
        const uint32_t answer = g_SecManager.GetArchitecture(m_imagePath);
        m_architecture = answer == 32 || answer == 64 ? answer : 0;
    }
    return m_architecture;
}
