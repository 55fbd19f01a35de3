#pragma once

#include "OrvProfiler/foundation/WinTypes.h"
#include "tests/support/faults/ImportRedirect.h"

#include <map>
#include <set>
#include <string>
#include <vector>

// Another system for a test: another Windows version, other exports, a private namespace. The product asks for them
// when it makes a CProxySecManager, so one that is made while one of these lives takes that system for the real one.
// At most one of each at a time; not for tests with several threads.

struct SystemVersion
{
    unsigned major;
    unsigned minor;
    unsigned servicePack;
};

constexpr SystemVersion c_windowsXp64{5, 2, 2};
constexpr SystemVersion c_windowsVista{6, 0, 2};
constexpr SystemVersion c_windows7{6, 1, 1};
constexpr SystemVersion c_windows8{6, 2, 0};
constexpr SystemVersion c_windows10{10, 0, 0};

// Answers VerifyVersionInfoW as a system of the given version would, for greater-or-equal questions about major
// version, minor version and service pack.
class ReportedVersion
{
public:
    // One question as it was asked: the size of the structure, the three values, which fields were to be looked at
    // (VER_ flags) and how (as VerSetConditionMask puts it).
    struct Query
    {
        unsigned size;
        unsigned major;
        unsigned minor;
        unsigned servicePack;
        unsigned fields;
        unsigned long long conditions;
    };

    explicit ReportedVersion(const SystemVersion& version);
    ~ReportedVersion();
    ReportedVersion(const ReportedVersion&) = delete;
    ReportedVersion& operator=(const ReportedVersion&) = delete;

    const std::vector<Query>& Queries() const noexcept { return m_queries; }

private:
    friend struct VersionStandIn;

    SystemVersion m_version;
    std::vector<Query> m_queries;
    // The type of VerifyVersionInfoW, spelled out so that this header does not need <windows.h>.
    Redirect<int(struct _OSVERSIONINFOEXW*, DWORD, unsigned long long)> m_redirect;
};

// Changes what GetProcAddress finds, in every library. Other names are found as usual.
class ExportTable
{
public:
    ExportTable();
    ~ExportTable();
    ExportTable(const ExportTable&) = delete;
    ExportTable& operator=(const ExportTable&) = delete;

    // The system does not look like Wine.
    void HideWine();
    // The name is found nowhere.
    void Hide(const std::string& name) { m_changed[name] = nullptr; }
    // The name is found everywhere, as this function.
    template <class Function>
    void Replace(const std::string& name, Function* function)
    {
        m_changed[name] = reinterpret_cast<void*>(function);
    }
    // The name is found as usual.
    void Restore(const std::string& name) { m_changed.erase(name); }

    // The names looked up since the construction, in order.
    const std::vector<std::string>& Asked() const noexcept { return m_asked; }

    // What the system itself has under the name, not counted as asked for; null when it has nothing.
    void* Real(const wchar_t* library, const char* name) const;

private:
    friend struct ExportStandIn;

    std::map<std::string, void*> m_changed;
    std::vector<std::string> m_asked;
    // The type of GetProcAddress.
    Redirect<long long (*(HMODULE, const char*))()> m_redirect;
};

// A Windows that is older than private namespaces, under Wine too.
class WindowsWithoutNamespaces
{
public:
    WindowsWithoutNamespaces();

private:
    ReportedVersion m_version;
    ExportTable m_exports;
};

// A Windows 10 that is new enough for private namespaces but does not export them, under Wine too.
class ModernSystem
{
public:
    ModernSystem();

    ExportTable& Exports() noexcept { return m_exports; }

private:
    ReportedVersion m_version;
    ExportTable m_exports;
};

// A Windows with private namespaces, under Wine too: the given version, no exports that betray Wine, and replacements
// for the five namespace functions, which make and open a real directory object of the system. So "OrvP\E" names a
// real kernel object in a real directory, and the processes of a test can share it.
//
// The directory's name is the same for all test programs: Entry::Own waits until no other test has it, and throws
// std::runtime_error when that takes too long. Entry::Parents is for a child process and joins its parent's world.
class NamespaceWorld
{
public:
    enum class Entry
    {
        Own,
        Parents,
    };

    explicit NamespaceWorld(Entry entry = Entry::Own, const SystemVersion& version = c_windows10);
    ~NamespaceWorld();
    NamespaceWorld(const NamespaceWorld&) = delete;
    NamespaceWorld& operator=(const NamespaceWorld&) = delete;

    ReportedVersion& Version() noexcept { return m_version; }
    ExportTable& Exports() noexcept { return m_exports; }

    // From now on the namespace function of that name fails with the error, without doing anything.
    void Fail(const std::wstring& function, DWORD error) { m_failures[function] = error; }

    // The calls of the stand-ins with their arguments, in order, and what the test itself records between them, as
    //     CreateBoundaryDescriptorW Zeph 0
    //     OpenPrivateNamespaceW Zeph OrvP
    //     CreatePrivateNamespaceW (length 24, inherit 0, null access list) Zeph OrvP
    //     ClosePrivateNamespace 0
    //     DeleteBoundaryDescriptor Zeph
    const std::vector<std::wstring>& Calls() const noexcept { return m_calls; }
    void Record(std::wstring call) { m_calls.push_back(std::move(call)); }
    void ClearCalls() { m_calls.clear(); }

    // How many boundary descriptors were created and not deleted, how many namespace handles not closed (the world
    // closes these when it goes).
    unsigned OpenBoundaries() const noexcept { return m_openBoundaries; }
    size_t OpenNamespaces() const noexcept { return m_namespaces.size(); }

private:
    friend struct NamespaceStandIn;

    void* m_turn = nullptr;
    ReportedVersion m_version;
    ExportTable m_exports;
    std::map<std::wstring, DWORD> m_failures;
    std::vector<std::wstring> m_calls;
    std::set<void*> m_namespaces;
    unsigned m_openBoundaries = 0;
};
