#pragma once

#include "OrvProfiler/foundation/array.h"
#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/security/ProcessTexts.h"
#include "OrvProfiler/security/SessionId.h"
#include "OrvProfiler/security/SystemFunctionTable.h"
#include "OrvProfiler/security/VersionRecord.h"

#include <cstdint>
#include <memory>
#include <utility>

// The flag that says that the user is known, and the mask of the flags that GetFlags shows.
constexpr uint32_t c_processUserFound = 0x10000000;
constexpr uint32_t c_processFlagMask = 0x10000001;

// A user or a group: a SID of a token, looked up. Never changes. Its public name is CProxySecManager::CAccount.
class CAccount
{
public:
    // Looks the SID up on the local system. The caller deletes the account. Null for a null argument, on systems
    // without LookupAccountSid, and, with one trace line, when the look-up fails.
    static CAccount* Create(const SID_AND_ATTRIBUTES* sid) noexcept;
    CAccount(const CAccount&) = delete;
    CAccount& operator=(const CAccount&) = delete;

    // The SID's attributes in the token (SE_GROUP_ constants): all of them, or only the top two bits.
    uint32_t GetAttributes() const noexcept { return m_attributes; }
    uint32_t GetTopAttributes() const noexcept { return m_attributes & c_topAttributes; }
    // What the SID stands for: a SID_NAME_USE.
    uint32_t GetUse() const noexcept { return m_use; }
    const TString& GetName() const noexcept { return m_name; }
    const TString& GetDomain() const noexcept { return m_domain; }

private:
    static constexpr uint32_t c_topAttributes = 0xC0000000;

    CAccount(uint32_t attributes, uint32_t use, const wchar_t* name, const wchar_t* domain) noexcept;

    uint32_t m_attributes;
    uint32_t m_use;
    TString m_name;
    TString m_domain;
};

// An element of a PtrArray: an account, deleted with the element if that owns it.
class PtrArrayAccount
{
public:
    using Value = CAccount*;

    PtrArrayAccount(Value account, bool owned) noexcept : m_account(account), m_owned(owned) {}
    ~PtrArrayAccount() { Reset(); }
    PtrArrayAccount(const PtrArrayAccount&) = delete;
    PtrArrayAccount& operator=(const PtrArrayAccount&) = delete;
    // Deletes its own account and takes the other's.
    PtrArrayAccount& operator=(PtrArrayAccount&& other) noexcept
    {
        if (this == &other)
            return *this;
        Reset();
        m_account = std::exchange(other.m_account, nullptr);
        m_owned = std::exchange(other.m_owned, false);
        return *this;
    }

    Value GetValue() const noexcept { return m_account; }

private:
    void Reset() noexcept
    {
        if (m_owned)
            delete m_account;
    }

    Value m_account;
    bool m_owned;
};
static_assert(sizeof(PtrArrayAccount) == 16, "elements of every kind share one layout");

// A running process, as it was when the object was made. Belongs to one thread: the version record and the
// architecture are read when they are first asked for. Its public name is CProxySecManager::CProcess, and
// CProxySecManager::OpenProcessObject makes it. The order of the fields is the family's.
class CProcess
{
public:
    // The list owns its accounts.
    using AccountList = PtrArray<PtrArrayAccount>;

    // Reads what can be known of a process and keeps the handle. What cannot be read stays empty. Not for concurrent
    // use: the image path may have to be translated, see DeviceToDrivePath.
    CProcess(const SystemFunctionTable& functions, uint32_t processId, UniqueHandle process) noexcept;
    virtual ~CProcess();
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;

    // The account of a token's user. The caller deletes it. Null, with one trace line, on failure. The token needs
    // query access.
    static CAccount* GetUser(HANDLE token) noexcept;
    // Adds the token's groups to the list, except those that cannot be looked up. Returns how many accounts the list
    // has then. A failed query is traced.
    static int32_t GetGroupMembership(HANDLE token, AccountList& list) noexcept;

    // What the process was started with; a text that could not be read is empty. Instead of such an image path there
    // is the kernel's, turned into one with a drive letter where possible. A title that only repeats the image path
    // is empty.
    const TString& GetImagePath() const noexcept { return m_texts.imagePath; }
    const TString& GetCurrentDirectoryText() const noexcept { return m_texts.currentDirectory; }
    const TString& GetCommandLineText() const noexcept { return m_texts.commandLine; }
    const TString& GetWindowTitle() const noexcept { return m_texts.windowTitle; }

    // The flags within c_processFlagMask.
    uint32_t GetFlags() const noexcept { return m_flags & c_processFlagMask; }
    uint32_t GetProcessId() const noexcept { return m_processId; }
    // The process's session; c_sessionNone when the system has no sessions, c_sessionFailed when it is not known.
    uint32_t GetSession() const noexcept { return m_session; }
    // The process's user, null when not known. Owned here.
    const CAccount* GetUserAccount() const noexcept { return m_user.get(); }
    // The groups of the process's user. Owned here.
    const AccountList& GetGroups() const noexcept { return m_groups; }

    // The version record of the image file, null when the image is not known. Owned here.
    const CVersionRecord* GetVersion() const noexcept;
    // 32 or 64 by the image file, 0 when it is of another kind or cannot be read.
    uint32_t GetArchitecture() const noexcept;

private:
    static constexpr int32_t c_groupStep = 100;
    static constexpr uint32_t c_architectureNotAsked = 0xFFFFFFFF;

    void ReadToken() noexcept;

    AccountList m_groups{c_groupStep};
    std::unique_ptr<CAccount> m_user;
    uint32_t m_flags = 0;
    UniqueHandle m_token;
    UniqueHandle m_process;
    uint32_t m_session = c_sessionFailed;
    uint32_t m_processId;
    ProcessTexts m_texts;
    mutable uint32_t m_architecture = c_architectureNotAsked;
    mutable std::unique_ptr<CVersionRecord> m_version;
};
