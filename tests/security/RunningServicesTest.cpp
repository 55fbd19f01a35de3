#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <winsvc.h>

#include <cstring>
#include <gmock/gmock.h>
#include <vector>

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
