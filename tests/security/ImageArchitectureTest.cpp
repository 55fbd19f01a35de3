#include "OrvProfiler/security/ProxySecurity.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/processes/BuildFolder.h"
#include "tests/support/worlds/ErrorTextStandIn.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/OwnPipe.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

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
