#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/processes/BuildFolder.h"
#include "tests/support/processes/ChildProcess.h"
#include "tests/support/worlds/NamespaceWorld.h"

#include <windows.h>

#include <cstring>
#include <cwchar>
#include <gmock/gmock.h>
#include <string>

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
    const std::wstring& path = OwnProgram();
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
