#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/processes/BuildFolder.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/FreshNames.h"
#include "tests/support/worlds/NamespaceWorld.h"
#include "tests/support/worlds/OwnPipe.h"
#include "tests/support/worlds/TokenStandIn.h"

#include <windows.h>

#include <winsvc.h>

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
const SidBytes c_everyone = MakeSid(1, {0});
const SidBytes c_builtInAdministrators = MakeSid(5, {32, 544});
const SidBytes c_builtInUsers = MakeSid(5, {32, 545});
const SidBytes c_administrator = MakeSid(5, {21, 11, 12, 13, 500});
const SidBytes c_domainAdmins = MakeSid(5, {21, 11, 12, 13, 512});

PSID Sid(const SidBytes& sid)
{
    return const_cast<unsigned char*>(sid.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

// Knows the three types by their last number, as Windows does for the SIDs of any domain.
std::vector<int> g_typesAsked;
BOOL WINAPI KnowSid(PSID sid, WELL_KNOWN_SID_TYPE type)
{
    g_typesAsked.push_back(type);
    const DWORD last = *GetSidSubAuthority(sid, static_cast<DWORD>(*GetSidSubAuthorityCount(sid) - 1));
    return (type == 26 && last == 544) || (type == 38 && last == 500) || (type == 41 && last == 512) ? TRUE : FALSE;
}

// A manager that finds KnowSid as the system's own.
class ManagerWithKnownSids
{
public:
    ManagerWithKnownSids() { g_typesAsked.clear(); }

    const CProxySecManager* operator->() const noexcept { return &m_manager; }

private:
    struct Exports : ExportTable
    {
        Exports() { Replace("IsWellKnownSid", KnowSid); }
    };
    Exports m_exports;
    CProxySecManager m_manager;
};
} // namespace

TEST(IsRunAsAdmin, ReportsEachKindOfAdministratorAmongTheGroups)
{
    const ManagerWithKnownSids manager;
    const struct
    {
        std::vector<SidBytes> groups;
        uint32_t bits;
    } cases[] = {
        {{}, 0},
        {{c_everyone, c_builtInUsers}, 0},
        {{c_everyone, c_builtInAdministrators}, 1},
        {{c_administrator}, 2},
        {{c_domainAdmins, c_everyone}, 4},
        {{c_domainAdmins, c_builtInAdministrators, c_everyone, c_administrator, c_domainAdmins}, 7},
    };
    // Groups count whether they are enabled, disabled or for denying only.
    for (const DWORD attributes : {0x7U, 0x0U, 0x10U})
    {
        for (const auto& row : cases)
        {
            std::vector<TokenStandIn::Group> groups;
            for (const SidBytes& sid : row.groups)
                groups.push_back({sid, attributes});
            TokenStandIn token;
            token.AnswerGroups(groups);
            EXPECT_EQ(manager->IsRunAsAdmin(GetCurrentProcess()), row.bits) << attributes;
        }
    }
}

TEST(IsRunAsAdmin, AsksForTheTokenOfTheProcessToRead)
{
    TokenStandIn token;
    token.AnswerGroups({});
    CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    HANDLE const process = GetCurrentProcess();
    EXPECT_EQ(g_SecManager.IsRunAsAdmin(process), 0U);
    ASSERT_EQ(openToken.Calls().size(), 1U);
    EXPECT_EQ(std::get<0>(openToken.Calls()[0]), process);
    EXPECT_EQ(std::get<1>(openToken.Calls()[0]), 0x20008U);
}

TEST(IsRunAsAdmin, IsZeroWithoutIsWellKnownSid)
{
    ExportTable exports;
    exports.Hide("IsWellKnownSid");
    const CProxySecManager manager;
    TokenStandIn token;
    token.AnswerGroups({{c_builtInAdministrators, 7}});
    CallRecorder<decltype(OpenProcessToken)> openToken("OpenProcessToken");
    const TraceCapture trace;
    EXPECT_EQ(manager.IsRunAsAdmin(GetCurrentProcess()), 0U);
    EXPECT_THAT(openToken.Calls(), IsEmpty());
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(IsRunAsAdmin, IsZeroWithOneLineWhenTheTokenCannotBeOpened)
{
    const ErrorTextStandIn texts;
    FailingCall<decltype(OpenProcessToken)> openToken("OpenProcessToken", ERROR_ACCESS_DENIED);
    const TraceCapture trace;
    EXPECT_EQ(g_SecManager.IsRunAsAdmin(GetCurrentProcess()), 0U);
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::IsRunAsAdmin <error 5>\n"));
}

TEST(IsRunAsAdmin, IsZeroWithOneLineForNoProcess)
{
    const ErrorTextStandIn texts;
    const TraceCapture trace;
    EXPECT_EQ(g_SecManager.IsRunAsAdmin(nullptr), 0U);
    EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::IsRunAsAdmin <error 6>\n"));
}

TEST(IsRunAsAdmin, IsZeroWithOneLineWhenTheGroupsCannotBeRead)
{
    const ErrorTextStandIn texts;
    for (const bool atSize : {true, false})
    {
        TokenStandIn token;
        token.AnswerGroups({{c_builtInAdministrators, 7}});
        if (atSize)
            token.FailSizeQuery(TokenGroupsAndPrivileges, ERROR_ACCESS_DENIED);
        else
            token.FailAnswer(TokenGroupsAndPrivileges, ERROR_ACCESS_DENIED);
        const TraceCapture trace;
        EXPECT_EQ(g_SecManager.IsRunAsAdmin(GetCurrentProcess()), 0U);
        EXPECT_THAT(trace.Lines(), ElementsAre(L"CProxySecManager::IsRunAsAdmin <error 5>\n"));
    }
}

TEST(IsRunAsAdmin, GivesBackAllThatItTook)
{
    TokenStandIn token;
    token.AnswerGroups({{c_builtInAdministrators, 7}});
    ExpectNothingLeaks([] { EXPECT_EQ(g_SecManager.IsRunAsAdmin(GetCurrentProcess()), 1U); });
    token.FailAnswer(TokenGroupsAndPrivileges, ERROR_ACCESS_DENIED);
    ExpectNothingLeaks([] { EXPECT_EQ(g_SecManager.IsRunAsAdmin(GetCurrentProcess()), 0U); });
}

TEST(IsWellKnown, AsksTheSystem)
{
    EXPECT_TRUE(g_SecManager.IsWellKnown(Sid(c_builtInAdministrators), WinBuiltinAdministratorsSid));
    EXPECT_FALSE(g_SecManager.IsWellKnown(Sid(c_builtInUsers), 26));
    EXPECT_TRUE(g_SecManager.IsWellKnown(Sid(c_builtInUsers), 27));
    EXPECT_TRUE(g_SecManager.IsWellKnown(Sid(c_everyone), 1));
}

TEST(IsWellKnown, IsFalseWithoutIsWellKnownSid)
{
    ExportTable exports;
    exports.Hide("IsWellKnownSid");
    const CProxySecManager manager;
    EXPECT_FALSE(manager.IsWellKnown(Sid(c_builtInAdministrators), 26));
    EXPECT_FALSE(manager.IsAdminSid(Sid(c_builtInAdministrators)));
}

TEST(IsWellKnown, IsFalseWhenTheLibraryWasGivenUp)
{
    ExportTable exports;
    exports.Hide("LookupAccountSidW");
    const CProxySecManager manager;
    EXPECT_FALSE(manager.IsWellKnown(Sid(c_builtInAdministrators), 26));
    EXPECT_EQ(manager.IsRunAsAdmin(GetCurrentProcess()), 0U);
}

TEST(IsAdminSid, IsTrueForTheThreeTypesOfAdministrators)
{
    const ManagerWithKnownSids manager;
    EXPECT_TRUE(manager->IsAdminSid(Sid(c_builtInAdministrators)));
    EXPECT_TRUE(manager->IsAdminSid(Sid(c_administrator)));
    EXPECT_TRUE(manager->IsAdminSid(Sid(c_domainAdmins)));
    g_typesAsked.clear();
    EXPECT_FALSE(manager->IsAdminSid(Sid(c_builtInUsers)));
    EXPECT_THAT(g_typesAsked, testing::UnorderedElementsAre(26, 38, 41));
}

namespace
{
// The bytes of an image up to the optional header's first word: the header of the image at 64.
std::string ImageBytes(unsigned short magic, const std::string& firstWord = "MZ",
                       const std::string& signature = std::string("PE\0\0", 4), unsigned offset = 64)
{
    std::string bytes = firstWord + std::string(58, '\x11');
    for (unsigned shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<char>(offset >> shift));
    bytes += std::string(offset > 64 && offset < 4096 ? offset - 64 : 0, '\x22');
    bytes += signature + std::string(20, '\x33');
    bytes.push_back(static_cast<char>(magic & 0xFF));
    bytes.push_back(static_cast<char>(magic >> 8));
    return bytes;
}

uint32_t ArchitectureOf(const std::string& content)
{
    const TemporaryFile file(content);
    return g_SecManager.GetArchitecture(file.Path());
}
} // namespace

TEST(GetArchitecture, Is64ForThisProgram)
{
    EXPECT_EQ(g_SecManager.GetArchitecture(OwnProgram().c_str()), 64U);
}

TEST(GetArchitecture, IsWhatTheImageHeaderSays)
{
    const struct
    {
        std::string content;
        uint32_t expected;
    } cases[] = {
        {ImageBytes(0x10B), 32},
        {ImageBytes(0x20B), 64},
        {ImageBytes(0x10B, "MZ", std::string("PE\0\0", 4), 128), 32},
        {ImageBytes(0x20B) + "and more", 64},
        {ImageBytes(0x107), 0xFFFFFFFF},
        {ImageBytes(0x0B02), 0xFFFFFFFF},
        {ImageBytes(0x20B, "ZM"), 0xFFFFFFFF},
        {ImageBytes(0x20B, "MZ", std::string("PE\0\1", 4)), 0xFFFFFFFF},
        {ImageBytes(0x20B, "MZ", std::string("NE\0\0", 4)), 0xFFFFFFFF},
        {"a text of 64 characters or more, which begins with neither MZ nor anything like it", 0xFFFFFFFF},
    };
    for (size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(ArchitectureOf(cases[i].content), cases[i].expected) << "case " << i;
}

TEST(GetArchitecture, IsZeroForAnImageThatEndsBeforeAnyOfItsReads)
{
    const std::string image = ImageBytes(0x20B);
    ASSERT_EQ(image.size(), 90U);
    for (size_t length = 0; length < image.size(); ++length)
        EXPECT_EQ(ArchitectureOf(image.substr(0, length)), 0U) << length;
    EXPECT_EQ(ArchitectureOf("short text"), 0U);
}

TEST(GetArchitecture, IsZeroWhenTheHeaderLiesOutsideTheFile)
{
    const std::string signature("PE\0\0", 4);
    for (const unsigned offset : {0xFFFFFFFFU, 0x80000000U, 0x7FFFFFFFU, 5000U})
        EXPECT_EQ(ArchitectureOf(ImageBytes(0x20B, "MZ", signature, offset)), 0U) << offset;
    // The header may lie anywhere inside it, over the first one too.
    EXPECT_EQ(ArchitectureOf(ImageBytes(0x20B, "MZ", signature, 0)), 0xFFFFFFFFU);
}

TEST(GetArchitecture, IsZeroWithOneLineForAFileThatCannotBeOpened)
{
    const ErrorTextStandIn texts;
    const TemporaryFile file("x");
    const std::wstring missing = std::wstring(file.Path()) + L".missing";
    {
        const TraceCapture trace;
        EXPECT_EQ(g_SecManager.GetArchitecture(missing.c_str()), 0U);
        EXPECT_THAT(trace.Lines(),
                    ElementsAre(L"CProxySecManager::GetArchitecture CreateFile(OPEN_EXISTING) failed for file:" +
                                missing + L", <error 2>\n"));
    }
    const TraceCapture trace;
    EXPECT_EQ(g_SecManager.GetArchitecture(L""), 0U);
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"CProxySecManager::GetArchitecture CreateFile(OPEN_EXISTING) failed for file:, "
                            L"<error 3>\n"));
}

TEST(GetArchitecture, OpensTheFileToReadAndLetsOthersReadIt)
{
    const TemporaryFile file(ImageBytes(0x10B));
    CallRecorder<decltype(CreateFileW)> createFile("CreateFileW");
    EXPECT_EQ(g_SecManager.GetArchitecture(file.Path()), 32U);
    ASSERT_EQ(createFile.Calls().size(), 1U);
    EXPECT_STREQ(std::get<0>(createFile.Calls()[0]), file.Path());
    EXPECT_EQ(std::get<1>(createFile.Calls()[0]), 0x80000000U);
    EXPECT_EQ(std::get<2>(createFile.Calls()[0]), 1U);
    EXPECT_EQ(std::get<4>(createFile.Calls()[0]), 3U);
    // Whoever owns what is opened may learn who asks, but not act for them.
    EXPECT_EQ(std::get<5>(createFile.Calls()[0]), 0x00110080U);
}

TEST(GetArchitecture, IsZeroAtOnceForWhatIsNoFileOnADisk)
{
    const TraceCapture trace;
    const CallRecorder<decltype(ReadFile)> readFile("ReadFile");
    ExpectNothingLeaks([] {
        // Nobody writes to it: a read would wait as long as it lives.
        const OwnPipe pipe;
        EXPECT_EQ(g_SecManager.GetArchitecture(pipe.Path()), 0U);
    });
    EXPECT_THAT(readFile.Calls(), IsEmpty());
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(GetArchitecture, IsZeroWhenTheSystemCannotTellWhatItIs)
{
    const TemporaryFile file(ImageBytes(0x10B));
    const FailingCall<decltype(GetFileType)> fileType("GetFileType", ERROR_INVALID_HANDLE);
    const TraceCapture trace;
    EXPECT_EQ(g_SecManager.GetArchitecture(file.Path()), 0U);
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(GetArchitecture, IsZeroWhenTheSeekFails)
{
    const TemporaryFile file(ImageBytes(0x10B));
    FailingCall<decltype(SetFilePointerEx)> seek("SetFilePointerEx", ERROR_NEGATIVE_SEEK);
    const TraceCapture trace;
    EXPECT_EQ(g_SecManager.GetArchitecture(file.Path()), 0U);
    EXPECT_EQ(seek.Calls().size(), 1U);
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

namespace
{
unsigned g_readsBeforeFailure = 0;
Redirect<decltype(ReadFile)>* g_readFile = nullptr;
BOOL WINAPI ReadUntilFailure(HANDLE file, void* buffer, DWORD size, DWORD* read, OVERLAPPED* overlapped)
{
    if (g_readsBeforeFailure > 0)
    {
        --g_readsBeforeFailure;
        return g_readFile->Real()(file, buffer, size, read, overlapped);
    }
    *read = size; // a failed read has read nothing, whatever it says
    SetLastError(ERROR_READ_FAULT);
    return FALSE;
}
} // namespace

TEST(GetArchitecture, IsZeroWhenAnyOfItsFourReadsFails)
{
    const TemporaryFile file(ImageBytes(0x10B));
    Redirect<decltype(ReadFile)> redirect("ReadFile", ReadUntilFailure);
    g_readFile = &redirect;
    for (unsigned successes = 0; successes <= 4; ++successes)
    {
        ExpectNothingLeaks([&] {
            g_readsBeforeFailure = successes;
            EXPECT_EQ(g_SecManager.GetArchitecture(file.Path()), successes < 4 ? 0U : 32U) << successes;
        });
    }
}

namespace
{
// A process that the system runs as a Win32 service at the moment; 0 when there is none.
uint32_t SomeServiceProcess()
{
    SC_HANDLE const manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE);
    std::vector<unsigned char> buffer(65536);
    DWORD needed = 0;
    DWORD count = 0;
    const BOOL listed =
        EnumServicesStatusExW(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_ACTIVE, buffer.data(),
                              static_cast<DWORD>(buffer.size()), &needed, &count, nullptr, nullptr);
    CloseServiceHandle(manager);
    if (listed == FALSE)
        return 0;
    const auto* const services = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(buffer.data());
    for (DWORD i = 0; i < count; ++i)
    {
        if (services[i].ServiceStatusProcess.dwProcessId != 0)
            return services[i].ServiceStatusProcess.dwProcessId;
    }
    return 0;
}

// Stands in for the service control manager: two services, and failures as a test wants them.
struct ServiceWorld
{
    DWORD sizeError = ERROR_MORE_DATA;
    DWORD listError = ERROR_SUCCESS;
    DWORD sizeBytes = 4 * sizeof(ENUM_SERVICE_STATUS_PROCESSW);
    DWORD claimedCount = 2;
    std::vector<DWORD> processIds = {1000, 2000};
    unsigned lists = 0;
    unsigned closed = 0;
    DWORD access = 0;
};
ServiceWorld g_services;

SC_HANDLE ServiceHandle()
{
    return reinterpret_cast<SC_HANDLE>(&g_services);
}

SC_HANDLE WINAPI OpenServices(const wchar_t* machine, const wchar_t* database, DWORD access)
{
    EXPECT_EQ(machine, nullptr);
    EXPECT_EQ(database, nullptr);
    g_services.access = access;
    return ServiceHandle();
}

BOOL WINAPI ListServices(SC_HANDLE manager, SC_ENUM_TYPE level, DWORD type, DWORD state, BYTE* buffer, DWORD size,
                         DWORD* needed, DWORD* count, DWORD* resume, const wchar_t* group)
{
    EXPECT_EQ(manager, ServiceHandle());
    EXPECT_EQ(level, SC_ENUM_PROCESS_INFO);
    EXPECT_EQ(type, 0x30U);
    EXPECT_EQ(state, 1U);
    EXPECT_EQ(group, nullptr);
    EXPECT_TRUE(resume == nullptr || *resume == 0);
    const bool isFirst = g_services.lists++ == 0;
    EXPECT_EQ(size, isFirst ? 0U : g_services.sizeBytes);
    *needed = g_services.sizeBytes;
    *count = 0;
    SetLastError(isFirst ? g_services.sizeError : g_services.listError);
    if (GetLastError() != ERROR_SUCCESS)
        return FALSE;
    if (isFirst)
        return TRUE;
    const size_t fitting = std::min(g_services.processIds.size(), size / sizeof(ENUM_SERVICE_STATUS_PROCESSW));
    for (size_t i = 0; i < fitting; ++i)
    {
        ENUM_SERVICE_STATUS_PROCESSW service{};
        service.ServiceStatusProcess.dwProcessId = g_services.processIds[i];
        std::memcpy(buffer + i * sizeof service, &service, sizeof service);
    }
    *count = g_services.claimedCount;
    return TRUE;
}

BOOL WINAPI CloseServices(SC_HANDLE manager)
{
    EXPECT_EQ(manager, ServiceHandle());
    ++g_services.closed;
    return TRUE;
}

class ServiceStandIn
{
public:
    ServiceStandIn()
        : m_open("OpenSCManagerW", OpenServices), m_list("EnumServicesStatusExW", ListServices),
          m_close("CloseServiceHandle", CloseServices)
    {
        g_services = ServiceWorld();
    }

private:
    Redirect<decltype(OpenSCManagerW)> m_open;
    Redirect<decltype(EnumServicesStatusExW)> m_list;
    Redirect<decltype(CloseServiceHandle)> m_close;
};
} // namespace

TEST(IsProcessAService, IsTrueForAServiceThatRuns)
{
    const uint32_t service = SomeServiceProcess();
    ASSERT_NE(service, 0U) << "the system runs no service in a process";
    EXPECT_TRUE(g_SecManager.IsProcessAService(service));
}

TEST(IsProcessAService, IsFalseForThisProcessAndForNone)
{
    EXPECT_FALSE(g_SecManager.IsProcessAService(GetCurrentProcessId()));
    EXPECT_FALSE(g_SecManager.IsProcessAService(FreshId()));
}

TEST(IsProcessAService, LeavesNothingBehind)
{
    const uint32_t service = SomeServiceProcess();
    ExpectNothingLeaks([&] {
        EXPECT_TRUE(g_SecManager.IsProcessAService(service));
        EXPECT_FALSE(g_SecManager.IsProcessAService(GetCurrentProcessId()));
    });
}

TEST(IsProcessAService, LooksThroughTheActiveServices)
{
    const ServiceStandIn services;
    EXPECT_TRUE(g_SecManager.IsProcessAService(1000));
    EXPECT_EQ(g_services.access, 4U);
    EXPECT_EQ(g_services.lists, 2U);
    EXPECT_EQ(g_services.closed, 1U);
    g_services = ServiceWorld();
    EXPECT_TRUE(g_SecManager.IsProcessAService(2000));
    g_services = ServiceWorld();
    EXPECT_FALSE(g_SecManager.IsProcessAService(3000));
    EXPECT_EQ(g_services.closed, 1U);
}

TEST(IsProcessAService, IsFalseWhenTheServicesCannotBeOpened)
{
    FailingCall<decltype(OpenSCManagerW)> open("OpenSCManagerW", ERROR_ACCESS_DENIED);
    CallRecorder<decltype(CloseServiceHandle)> close("CloseServiceHandle");
    EXPECT_FALSE(g_SecManager.IsProcessAService(SomeServiceProcess()));
    const size_t closedByTheTest = 1;
    EXPECT_EQ(close.Calls().size(), closedByTheTest);
}

TEST(IsProcessAService, IsFalseWhenTheSizeIsNotToldAsMoreData)
{
    for (const DWORD error : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_INSUFFICIENT_BUFFER}, DWORD{ERROR_SUCCESS}})
    {
        const ServiceStandIn services;
        g_services.sizeError = error;
        EXPECT_FALSE(g_SecManager.IsProcessAService(1000)) << error;
        EXPECT_EQ(g_services.lists, 1U);
        EXPECT_EQ(g_services.closed, 1U);
    }
}

TEST(IsProcessAService, IsFalseWhenTheListFails)
{
    for (const DWORD error : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_MORE_DATA}})
    {
        const ServiceStandIn services;
        g_services.listError = error;
        EXPECT_FALSE(g_SecManager.IsProcessAService(1000));
        EXPECT_EQ(g_services.closed, 1U);
        ExpectNothingLeaks([&] {
            g_services.lists = 0;
            EXPECT_FALSE(g_SecManager.IsProcessAService(1000));
        });
    }
}

TEST(IsProcessAService, ReadsNoServiceBeyondItsBuffer)
{
    const ServiceStandIn services;
    g_services.sizeBytes = 2 * sizeof(ENUM_SERVICE_STATUS_PROCESSW) - 1;
    g_services.claimedCount = 1000000;
    EXPECT_FALSE(g_SecManager.IsProcessAService(2000));
    EXPECT_EQ(g_services.closed, 1U);
}

TEST(GetProcessIdOfHandle, IsTheIdOfTheProcess)
{
    const ChildProcess child = ChildProcess::StartRole(L"EndWithCode", {L"0"});
    EXPECT_EQ(g_SecManager.GetProcessIdOfHandle(child.Handle()), child.Id());
    EXPECT_EQ(g_SecManager.GetProcessIdOfHandle(GetCurrentProcess()), GetCurrentProcessId());
}

TEST(GetProcessIdOfHandle, IsZeroForNoProcess)
{
    EXPECT_EQ(g_SecManager.GetProcessIdOfHandle(nullptr), 0U);
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(g_SecManager.GetProcessIdOfHandle(event), 0U);
    CloseHandle(event);
}

ORV_CHILD_ROLE(EndWithCode)
{
    return std::stoi(arguments[0]);
}

// The product looks the functions up once in a process, so each case runs in a process of its own and answers with
// its exit code.
ORV_CHILD_ROLE(IdWithoutExports)
{
    ExportTable exports;
    for (const std::wstring& name : arguments)
        exports.Hide(std::string(name.begin(), name.end()));
    const uint32_t id = g_SecManager.GetProcessIdOfHandle(GetCurrentProcess());
    if (id == 0)
        return 10;
    return id == GetCurrentProcessId() ? 11 : 12;
}

TEST(GetProcessIdOfHandle, UsesWhicheverFunctionTheSystemHas)
{
    const std::wstring query = L"NtQueryInformationProcess";
    const std::wstring direct = L"GetProcessId";
    EXPECT_EQ(ChildProcess::StartRole(L"IdWithoutExports").WaitForExit(), 11U);
    EXPECT_EQ(ChildProcess::StartRole(L"IdWithoutExports", {query}).WaitForExit(), 11U);
    EXPECT_EQ(ChildProcess::StartRole(L"IdWithoutExports", {direct}).WaitForExit(), 11U);
    EXPECT_EQ(ChildProcess::StartRole(L"IdWithoutExports", {direct, query}).WaitForExit(), 10U);
}

namespace
{
DWORD WINAPI AnswerId4711(HANDLE)
{
    return 4711;
}
LONG WINAPI AnswerId4712(HANDLE, int informationClass, void* buffer, ULONG size, ULONG*)
{
    if (informationClass != 0 || size != 48)
        return static_cast<LONG>(0xC0000004); // length mismatch
    constexpr uint64_t id = 4712;
    std::memcpy(static_cast<unsigned char*>(buffer) + 32, &id, sizeof id);
    return 0;
}
LONG WINAPI FailToQuery(HANDLE, int, void*, ULONG, ULONG*)
{
    return static_cast<LONG>(0xC0000022); // access denied
}
} // namespace

// Arguments: which of the stand-ins are found; the exit code is the id less 4700.
ORV_CHILD_ROLE(IdFromStandIns)
{
    ExportTable exports;
    exports.Hide("GetProcessId");
    for (const std::wstring& name : arguments)
    {
        if (name == L"direct")
            exports.Replace("GetProcessId", AnswerId4711);
        if (name == L"query")
            exports.Replace("NtQueryInformationProcess", AnswerId4712);
        if (name == L"failing")
            exports.Replace("NtQueryInformationProcess", FailToQuery);
    }
    const uint32_t id = g_SecManager.GetProcessIdOfHandle(GetCurrentProcess());
    exports.Hide("GetProcessId"); // a later look-up would find none
    const bool same = g_SecManager.GetProcessIdOfHandle(GetCurrentProcess()) == id;
    if (!same)
        return 50;
    return id == 0 ? 0 : static_cast<int>(id - 4700);
}

TEST(GetProcessIdOfHandle, PrefersGetProcessIdAndLooksUpOnce)
{
    EXPECT_EQ(ChildProcess::StartRole(L"IdFromStandIns", {L"direct", L"query"}).WaitForExit(), 11U);
    EXPECT_EQ(ChildProcess::StartRole(L"IdFromStandIns", {L"query"}).WaitForExit(), 12U);
    EXPECT_EQ(ChildProcess::StartRole(L"IdFromStandIns", {L"failing"}).WaitForExit(), 0U);
}

TEST(GetImageName, IsEmptyForNoProcess)
{
    EXPECT_STREQ(g_SecManager.GetImageName(nullptr), L"");
    ModernSystem modern;
    const CProxySecManager manager;
    EXPECT_STREQ(manager.GetImageName(nullptr), L"");
}

TEST(GetImageName, IsEmptyForAHandleThatIsNoProcess)
{
    HANDLE const event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_STREQ(g_SecManager.GetImageName(event), L"");
    ModernSystem modern;
    const CProxySecManager manager;
    EXPECT_STREQ(manager.GetImageName(event), L"");
    CloseHandle(event);
}

TEST(GetImageName, IsTheKernelsNameOfTheFile)
{
    const std::wstring path = OwnProgram();
    const std::wstring native = std::wstring(g_SecManager.GetImageName(GetCurrentProcess()));
    EXPECT_THAT(native, testing::AnyOf(testing::StartsWith(L"\\Device\\"), testing::StartsWith(L"\\??\\")));
    EXPECT_THAT(native, testing::EndsWith(path.substr(2)));

    ModernSystem modern;
    const CProxySecManager manager;
    const std::wstring modernName = std::wstring(manager.GetImageName(GetCurrentProcess()));
    EXPECT_THAT(modernName, testing::StartsWith(L"\\Device\\"));
    EXPECT_THAT(modernName, testing::EndsWith(path.substr(2)));
}

namespace
{
struct NameQuery
{
    HANDLE process;
    DWORD flags;
    DWORD units;
};
NameQuery g_nameQuery{};
std::wstring g_name;

BOOL WINAPI AnswerName(HANDLE process, DWORD flags, wchar_t* name, DWORD* units)
{
    g_nameQuery = {process, flags, *units};
    if (*units <= g_name.size())
    {
        name[0] = L'#';
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    std::wmemcpy(name, g_name.c_str(), g_name.size() + 1);
    *units = static_cast<DWORD>(g_name.size());
    return TRUE;
}
} // namespace

TEST(GetImageName, AsksAModernSystemForUpTo259Units)
{
    ModernSystem modern;
    modern.Exports().Replace("QueryFullProcessImageNameW", AnswerName);
    modern.Exports().Replace("NtQueryInformationProcess", FailToQuery);
    const CProxySecManager manager;
    HANDLE const process = GetCurrentProcess();
    g_name = L"\\Device\\HarddiskVolume7\\x.exe";
    EXPECT_STREQ(manager.GetImageName(process), L"\\Device\\HarddiskVolume7\\x.exe");
    EXPECT_EQ(g_nameQuery.process, process);
    EXPECT_EQ(g_nameQuery.flags, 1U);
    EXPECT_EQ(g_nameQuery.units, 260U);
    g_name = std::wstring(259, L'n');
    EXPECT_STREQ(manager.GetImageName(process), g_name.c_str());
    g_name = std::wstring(260, L'n');
    EXPECT_STREQ(manager.GetImageName(process), L"");
}

namespace
{
// What a query for class 27 (the image name) answers: a counted text and what follows it.
struct NameAnswer
{
    LONG status;
    USHORT lengthBytes;
    // Where the text is said to begin, in bytes from the start of the block.
    long long offset;
    wchar_t unit;
};
NameAnswer g_nameAnswer{};
ULONG g_nameBytes = 0;
USHORT g_nameMaximum = 0;

LONG WINAPI AnswerClass27(HANDLE, int informationClass, void* buffer, ULONG size, ULONG*)
{
    if (informationClass != 27)
        return static_cast<LONG>(0xC0000003); // invalid class
    auto* const bytes = static_cast<unsigned char*>(buffer);
    g_nameBytes = size;
    std::memcpy(&g_nameMaximum, bytes + 2, sizeof g_nameMaximum);
    for (ULONG at = 16; at + 1 < size; at += 2)
        std::memcpy(bytes + at, &g_nameAnswer.unit, sizeof g_nameAnswer.unit);
    const unsigned char* const text = bytes + g_nameAnswer.offset;
    std::memcpy(bytes, &g_nameAnswer.lengthBytes, sizeof g_nameAnswer.lengthBytes);
    std::memcpy(bytes + 8, &text, sizeof text);
    return g_nameAnswer.status;
}
} // namespace

TEST(GetImageName, OfAnOlderSystemIsTheCountedTextWithinItsBlock)
{
    ExportTable exports;
    exports.Replace("NtQueryInformationProcess", AnswerClass27);
    const CProxySecManager manager;
    const struct
    {
        NameAnswer answer;
        size_t units;
    } cases[] = {
        {{0, 20, 16, L'a'}, 10},   {{0, 0, 16, L'a'}, 0},
        {{0, 21, 16, L'a'}, 10},   {{0, 520, 16, L'a'}, 260},
        {{0, 522, 16, L'a'}, 260}, {{0, 0xFFFF, 16, L'a'}, 260},
        {{0, 20, 20, L'a'}, 10},   {{0, 20, 534, L'a'}, 1},
        {{0, 20, 538, L'a'}, 0},   {{0, 20, 8, L'a'}, 0},
        {{0, 20, -100, L'a'}, 0},  {{0, 20, 1 << 30, L'a'}, 0},
        {{1, 20, 16, L'a'}, 10},   {{static_cast<LONG>(0xC0000004), 20, 16, L'a'}, 0},
    };
    for (size_t i = 0; i < std::size(cases); ++i)
    {
        g_nameAnswer = cases[i].answer;
        EXPECT_STREQ(manager.GetImageName(GetCurrentProcess()), std::wstring(cases[i].units, L'a').c_str())
            << "case " << i;
        EXPECT_EQ(g_nameBytes, 538U);
        EXPECT_EQ(g_nameMaximum, 260U);
    }
}

TEST(GetImageName, IsEmptyWithoutEitherFunction)
{
    {
        ExportTable exports;
        exports.Hide("NtQueryInformationProcess");
        const CProxySecManager manager;
        EXPECT_STREQ(manager.GetImageName(GetCurrentProcess()), L"");
    }
    ModernSystem modern;
    modern.Exports().Hide("NtQueryInformationProcess");
    modern.Exports().Hide("QueryFullProcessImageNameW");
    const CProxySecManager manager;
    EXPECT_STREQ(manager.GetImageName(GetCurrentProcess()), L"");
}

TEST(GetImageName, OfAModernSystemWithoutItsFunctionComesFromTheOlderOne)
{
    ModernSystem modern;
    modern.Exports().Hide("QueryFullProcessImageNameW");
    modern.Exports().Replace("NtQueryInformationProcess", AnswerClass27);
    const CProxySecManager manager;
    g_nameAnswer = {0, 6, 16, L'k'};
    EXPECT_STREQ(manager.GetImageName(GetCurrentProcess()), L"kkk");
}

namespace
{
struct Wow64Answer
{
    BOOL result;
    BOOL isWow64;
};
Wow64Answer g_wow64{};

BOOL WINAPI AnswerWow64(HANDLE, BOOL* isWow64)
{
    EXPECT_EQ(*isWow64, TRUE);
    *isWow64 = g_wow64.isWow64;
    return g_wow64.result;
}

WORD g_processor = 0;
void WINAPI AnswerSystemInfo(SYSTEM_INFO* info)
{
    *info = SYSTEM_INFO();
    info->wProcessorArchitecture = g_processor;
}
} // namespace

TEST(Is64BitProcess, IsTrueForThisProcessOnAModernSystem)
{
    ModernSystem modern;
    const CProxySecManager manager;
    EXPECT_TRUE(manager.Is64BitProcess(GetCurrentProcess()));
    EXPECT_FALSE(manager.Is64BitProcess(nullptr));
}

TEST(Is64BitProcess, IsFalseWithoutIsWow64Process)
{
    ExportTable exports;
    exports.HideWine();
    const ReportedVersion old(c_windowsXp64);
    const CProxySecManager manager;
    EXPECT_FALSE(manager.Is64BitProcess(GetCurrentProcess()));
}

TEST(Is64BitProcess, DependsOnProcessorAndAnswer)
{
    ModernSystem modern;
    modern.Exports().Replace("IsWow64Process", AnswerWow64);
    const CProxySecManager manager;
    const Redirect<decltype(GetNativeSystemInfo)> redirect("GetNativeSystemInfo", AnswerSystemInfo);
    const struct
    {
        WORD processor;
        Wow64Answer answer;
        bool expected;
    } cases[] = {
        {9, {TRUE, FALSE}, true},  {6, {TRUE, FALSE}, true},  {9, {TRUE, TRUE}, false},
        {6, {TRUE, TRUE}, false},  {9, {FALSE, TRUE}, false}, {9, {FALSE, FALSE}, false},
        {0, {TRUE, FALSE}, false}, {5, {TRUE, FALSE}, false}, {12, {TRUE, FALSE}, false},
    };
    for (const auto& row : cases)
    {
        g_processor = row.processor;
        g_wow64 = row.answer;
        EXPECT_EQ(manager.Is64BitProcess(GetCurrentProcess()), row.expected)
            << row.processor << " " << row.answer.result << " " << row.answer.isWow64;
    }
}
