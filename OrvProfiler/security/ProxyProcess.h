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

// The flags of a process object that its reader shows; the user's is set when the user is known.
constexpr uint32_t c_processUserFound = 0x10000000;
constexpr uint32_t c_processFlagMask = 0x10000001;

// A user or a group: a SID of a token, looked up. Never changed after its creation. Users of the security manager
// know it as CProxySecManager::CAccount.
class CAccount
{
public:
    // Looks the SID up on the local system. The new account is the caller's, who deletes it. Null for a null
    // argument, without look-up functions, and, with one trace line, when the look-up fails.
    static CAccount* Create(const SID_AND_ATTRIBUTES* sid) noexcept;
    CAccount(const CAccount&) = delete;
    CAccount& operator=(const CAccount&) = delete;

    // The SID's attributes in the token (SE_GROUP_ constants), all of them or the top two bits alone.
    uint32_t GetAttributes() const noexcept { return m_attributes; }
    uint32_t GetTopAttributes() const noexcept { return m_attributes & c_topAttributes; }
    // What the SID stands for, a SID_NAME_USE.
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

// An account in a PtrArray, which the element deletes when it owns it.
class PtrArrayAccount
{
public:
    using Value = CAccount*;

    PtrArrayAccount(Value account, bool owned) noexcept : m_account(account), m_owned(owned) {}
    ~PtrArrayAccount() { Reset(); }
    PtrArrayAccount(const PtrArrayAccount&) = delete;
    PtrArrayAccount& operator=(const PtrArrayAccount&) = delete;
    // Takes the other's account over, after deleting its own.
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

// A running process, as it was when CProxySecManager::OpenProcessObject made the object. Belongs to one thread: two
// answers, the version record and the architecture, are looked up when they are first asked for. Users of the
// security manager know it as CProxySecManager::CProcess.
class CProcess
{
public:
    // The accounts in it are the list's.
    using AccountList = PtrArray<PtrArrayAccount>;

    // Reads what there is to know of the process behind the handle, which becomes the object's. What cannot be read
    // is left out. Not for concurrent use: the image path may have to be translated, see DeviceToDrivePath.
    CProcess(const SystemFunctionTable& functions, uint32_t processId, UniqueHandle process) noexcept;
    virtual ~CProcess();
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;

    // The account of a token's user. The new account is the caller's, who deletes it; null, with one trace line, on
    // failure. The token needs query access.
    static CAccount* GetUser(HANDLE token) noexcept;
    // Adds the token's groups to the list, those that cannot be looked up excepted. Returns the number of accounts
    // that the list then holds. A failed query is traced.
    static int32_t GetGroupMembership(HANDLE token, AccountList& list) noexcept;

    // What the process was started with, empty where it could not be read. The image path is then the kernel's,
    // turned into a drive path where a drive has it; the title is empty too when it only repeats the image path.
    const TString& GetImagePath() const noexcept { return m_texts.imagePath; }
    const TString& GetCurrentDirectoryText() const noexcept { return m_texts.currentDirectory; }
    const TString& GetCommandLineText() const noexcept { return m_texts.commandLine; }
    const TString& GetWindowTitle() const noexcept { return m_texts.windowTitle; }

    // The flags within c_processFlagMask.
    uint32_t GetFlags() const noexcept { return m_flags & c_processFlagMask; }
    uint32_t GetProcessId() const noexcept { return m_processId; }
    // The process's session, c_sessionNone when the system knows no sessions, c_sessionFailed when it is not known.
    uint32_t GetSession() const noexcept { return m_session; }
    // The process's user, null when not known. This object's.
    const CAccount* GetUserAccount() const noexcept { return m_user.get(); }
    // The groups of the process's user. This object's.
    const AccountList& GetGroups() const noexcept { return m_groups; }

    // The version record of the image file, null when the image is not known. This object's.
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
