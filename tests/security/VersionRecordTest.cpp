#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/processes/BuildFolder.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/NamespaceWorld.h"
#include "tests/support/worlds/OwnPipe.h"
#include "tests/support/worlds/RebuiltManager.h"

#include <windows.h>

#include <winver.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <gmock/gmock.h>
#include <string>
#include <type_traits>
#include <vector>

using testing::IsEmpty;

namespace
{
// The block, its size, and four strings: no container, which in some standard libraries allocates when it is made.
static_assert(sizeof(CVersionRecord) == 16 + 4 * sizeof(TString));
static_assert(std::is_nothrow_constructible_v<CVersionRecord, const wchar_t*>);

void ExpectNoTexts(const CVersionRecord& record)
{
    EXPECT_STREQ(record.CompanyName(), L"");
    EXPECT_STREQ(record.ProductName(), L"");
    EXPECT_STREQ(record.FileDescription(), L"");
    EXPECT_STREQ(record.ProductVersion(), L"");
}
} // namespace

TEST(CVersionRecord, HasTheTextsOfTheFirstLanguageListed)
{
    const TraceCapture trace;
    const CVersionRecord record(OwnProgram().c_str());
    EXPECT_STREQ(record.CompanyName(), L"Soci\x00e9t\x00e9");
    EXPECT_STREQ(record.ProductName(), L"Produit");
    EXPECT_STREQ(record.FileDescription(), L"Description en fran\x00e7"
                                           L"ais");
    EXPECT_STREQ(record.ProductVersion(), L"5.6.7.8");
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CVersionRecord, IsEmptyForAFileWithoutVersion)
{
    const TemporaryFile file("no resource at all");
    const TraceCapture trace;
    ExpectNoTexts(CVersionRecord(file.Path()));
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CVersionRecord, IsEmptyForNoFile)
{
    ExpectNoTexts(CVersionRecord(L"C:\\no\\such\\file.exe"));
    ExpectNoTexts(CVersionRecord(L""));
    ExpectNoTexts(CVersionRecord(nullptr));
}

TEST(CVersionRecord, IsEmptyWithoutAnyOneOfTheThreeFunctions)
{
    for (const char* missing : {"GetFileVersionInfoSizeW", "GetFileVersionInfoW", "VerQueryValueW"})
    {
        RebuiltManager manager;
        ExportTable exports;
        exports.Hide(missing);
        manager.Rebuild();
        const CVersionRecord record(OwnProgram().c_str());
        ExpectNoTexts(record);
    }
}

TEST(CVersionRecord, LeavesNothingBehind)
{
    const std::wstring& path = OwnProgram();
    ExpectNothingLeaks([&] { EXPECT_FALSE(CVersionRecord(path.c_str()).ProductName().IsEmpty()); });
}

TEST(CVersionRecord, HasAWholeTextOrNoneWhenMemoryFails)
{
    const std::wstring& path = OwnProgram();
    ExpectNoTexts(CVersionRecord(nullptr)); // the empty text is made on first use and stays
    unsigned halfTexts = 0;
    const unsigned failures = ExpectNothingLeaksWithoutMemory([&] {
        const CVersionRecord record(path.c_str());
        halfTexts += record.ProductName() != L"Produit" && !record.ProductName().IsEmpty() ? 1U : 0U;
    });
    EXPECT_GT(failures, 4U);
    EXPECT_EQ(halfTexts, 0U);
}

namespace
{
// A version block of 64 bytes whose values a test places: what VerQueryValueW answers about it.
constexpr DWORD c_blockBytes = 64;
constexpr size_t c_translationAt = 8;

struct Values
{
    DWORD size = c_blockBytes;
    bool readable = true;
    bool hasTranslation = true;
    UINT translationBytes = 4;
    std::wstring text = std::wstring(L"text\0", 5);
    // Where in the block the text of each key lies, and its length as the resource claims.
    size_t textAt = 16;
    UINT textUnits = 5;
    // Whether the values lie right behind the block instead.
    bool outside = false;
    // The key without a text.
    std::wstring missing;
    std::vector<std::wstring> asked;
    DWORD readHandle = 0;
    DWORD readSize = 0;
    unsigned sizesAsked = 0;
    // Whether somebody could change or rename the file while the system is asked about it.
    bool changeable = false;
};
Values g_values;

DWORD WINAPI AnswerSize(const wchar_t* path, DWORD* handle)
{
    ++g_values.sizesAsked;
    HANDLE const writer =
        CreateFileW(path, GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    g_values.changeable = writer != INVALID_HANDLE_VALUE;
    if (g_values.changeable)
        CloseHandle(writer);
    *handle = 0;
    return g_values.size;
}

BOOL WINAPI AnswerBlock(const wchar_t*, DWORD handle, DWORD size, void* block)
{
    g_values.readHandle = handle;
    g_values.readSize = size;
    auto* const bytes = static_cast<unsigned char*>(block);
    const WORD translation[] = {0x0C0A, 0x04B0};
    std::memset(bytes, 0xEE, size);
    std::memcpy(bytes + c_translationAt, translation, sizeof translation);
    const size_t textBytes = g_values.text.size() * sizeof(wchar_t);
    std::memcpy(bytes + g_values.textAt, g_values.text.data(), std::min<size_t>(textBytes, size - g_values.textAt));
    return g_values.readable ? TRUE : FALSE;
}

BOOL WINAPI AnswerValue(const void* block, const wchar_t* name, void** value, UINT* size)
{
    g_values.asked.emplace_back(name);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): as the system gives values in the block that it is given
    auto* const bytes = static_cast<unsigned char*>(const_cast<void*>(block));
    if (std::wcscmp(name, L"\\VarFileInfo\\Translation") == 0)
    {
        *value = bytes + c_translationAt;
        *size = g_values.translationBytes;
        return g_values.hasTranslation ? TRUE : FALSE;
    }
    *value = bytes + (g_values.outside ? size_t{c_blockBytes} : g_values.textAt);
    *size = g_values.textUnits;
    const std::wstring text = name;
    return g_values.missing.empty() || text.find(g_values.missing) == std::wstring::npos ? TRUE : FALSE;
}

// The system's functions, and a file to ask them about.
class VersionStandIn
{
public:
    VersionStandIn()
    {
        g_values = {};
        m_exports.Replace("GetFileVersionInfoSizeW", AnswerSize);
        m_exports.Replace("GetFileVersionInfoW", AnswerBlock);
        m_exports.Replace("VerQueryValueW", AnswerValue);
        m_manager.Rebuild();
    }

    const wchar_t* Path() const { return m_file.Path(); }

private:
    const TemporaryFile m_file{"any"};
    RebuiltManager m_manager;
    ExportTable m_exports;
};
} // namespace

TEST(CVersionRecord, AsksForEachTextByLanguageAndCodePage)
{
    const VersionStandIn standIn;
    const CVersionRecord record(standIn.Path());
    EXPECT_EQ(g_values.readHandle, 0U);
    EXPECT_EQ(g_values.readSize, 64U);
    EXPECT_THAT(g_values.asked,
                testing::ElementsAre(L"\\VarFileInfo\\Translation", L"\\StringFileInfo\\0c0a04b0\\FileDescription",
                                     L"\\StringFileInfo\\0c0a04b0\\ProductName",
                                     L"\\StringFileInfo\\0c0a04b0\\CompanyName",
                                     L"\\StringFileInfo\\0c0a04b0\\ProductVersion"));
}

TEST(CVersionRecord, AsksForNoTextWithoutABlock)
{
    const VersionStandIn standIn;
    g_values.readSize = 77;
    ExpectNoTexts(CVersionRecord(nullptr));
    g_values.size = 0;
    ExpectNoTexts(CVersionRecord(standIn.Path()));
    EXPECT_EQ(g_values.readSize, 77U) << "nothing is read when there is nothing";
    g_values.size = c_blockBytes;
    {
        AllocationProbe heap;
        heap.FailSize(c_blockBytes);
        const CVersionRecord record(standIn.Path());
        EXPECT_TRUE(heap.HasFailed());
    }
    EXPECT_EQ(g_values.readSize, 77U);
    EXPECT_THAT(g_values.asked, IsEmpty());
}

TEST(CVersionRecord, IsEmptyWhenTheBlockCannotBeRead)
{
    const VersionStandIn standIn;
    g_values.readable = false;
    const CVersionRecord record(standIn.Path());
    ExpectNoTexts(record);
    EXPECT_THAT(g_values.asked, IsEmpty());
}

TEST(CVersionRecord, IsEmptyWithoutALanguage)
{
    const VersionStandIn standIn;
    g_values.hasTranslation = false;
    ExpectNoTexts(CVersionRecord(standIn.Path()));
    g_values.hasTranslation = true;
    g_values.translationBytes = 3;
    ExpectNoTexts(CVersionRecord(standIn.Path()));
}

TEST(CVersionRecord, TakesATextAsFarAsItIsLongAndTheBlockReaches)
{
    const VersionStandIn standIn;
    const struct
    {
        std::wstring text;
        size_t at;
        UINT units;
        const wchar_t* expected;
    } cases[] = {
        {std::wstring(L"text\0", 5), 16, 5, L"text"},
        {std::wstring(L"text\0", 5), 16, 20, L"text"},
        {L"text", 16, 4, L"text"},
        {L"text", 16, 2, L"te"},
        {L"text", 16, 0, L""},
        {L"endless", 56, 1000, L"endl"},
        {L"x", 62, 1000, L"x"},
    };
    for (const auto& row : cases)
    {
        g_values.text = row.text;
        g_values.textAt = row.at;
        g_values.textUnits = row.units;
        EXPECT_STREQ(CVersionRecord(standIn.Path()).ProductName(), row.expected);
    }
}

TEST(CVersionRecord, HasTheOtherTextsWhenOneIsMissing)
{
    const VersionStandIn standIn;
    g_values.missing = L"\\CompanyName";
    const CVersionRecord record(standIn.Path());
    EXPECT_STREQ(record.CompanyName(), L"");
    EXPECT_STREQ(record.ProductName(), L"text");
    EXPECT_STREQ(record.FileDescription(), L"text");
    EXPECT_STREQ(record.ProductVersion(), L"text");
}

TEST(CVersionRecord, HasTheOtherTextsWhenThereIsNoMemoryForALongOne)
{
    const VersionStandIn standIn;
    constexpr UINT units = 300; // a string has room for 260 from the start
    g_values.size = 2048;
    g_values.text = std::wstring(units, L'x');
    g_values.textUnits = units;
    AllocationProbe heap;
    heap.FailSize((units + 1) * sizeof(wchar_t));
    const CVersionRecord record(standIn.Path());
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_TRUE(record.FileDescription().IsEmpty());
    EXPECT_EQ(g_values.text, record.ProductName().GetBuffer());
    EXPECT_EQ(g_values.text, record.CompanyName().GetBuffer());
    EXPECT_EQ(g_values.text, record.ProductVersion().GetBuffer());
}

TEST(CVersionRecord, TakesNothingFromOutsideItsBlock)
{
    const VersionStandIn standIn;
    g_values.outside = true;
    ExpectNoTexts(CVersionRecord(standIn.Path()));
}

TEST(CVersionRecord, AsksOnlyForAFileOnADiskThatItHasOpened)
{
    const VersionStandIn standIn;
    {
        const CallRecorder<decltype(CreateFileW)> createFile("CreateFileW");
        EXPECT_STREQ(CVersionRecord(standIn.Path()).ProductName(), L"text");
        const auto& [path, access, sharing, attributes, disposition, flags, templateFile] = createFile.Calls().at(0);
        EXPECT_STREQ(path, standIn.Path());
        EXPECT_EQ(access, 0x80000000U);
        EXPECT_EQ(sharing, 1U);
        EXPECT_EQ(disposition, 3U);
        EXPECT_EQ(flags, 0x00110080U);
    }
    EXPECT_EQ(g_values.sizesAsked, 1U);
    EXPECT_FALSE(g_values.changeable);
    {
        const FailingCall<decltype(CreateFileW)> createFile("CreateFileW", ERROR_ACCESS_DENIED);
        ExpectNoTexts(CVersionRecord(standIn.Path()));
    }
    {
        const FailingCall<decltype(GetFileType)> fileType("GetFileType", ERROR_INVALID_HANDLE);
        ExpectNoTexts(CVersionRecord(standIn.Path()));
    }
    const OwnPipe pipe;
    const TraceCapture trace;
    ExpectNoTexts(CVersionRecord(pipe.Path()));
    EXPECT_EQ(g_values.sizesAsked, 1U);
    EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST(CVersionRecord, TakesNoMemoryThatCouldRaise)
{
    const std::wstring& path = OwnProgram();
    {
        const AllocationProbe heap;
        const CVersionRecord record(path.c_str());
        // Its four texts and the block; nothing that a standard library would take by itself.
        EXPECT_THAT(heap.Requests(), testing::ElementsAre(522, 522, 522, 522, testing::Gt(1000U)));
    }
    AllocationProbe heap;
    heap.FailFrom(1);
    const CVersionRecord record(path.c_str());
    heap.StopFailing();
    EXPECT_TRUE(record.ProductName().IsEmpty());
    EXPECT_TRUE(record.CompanyName().IsEmpty());
}
