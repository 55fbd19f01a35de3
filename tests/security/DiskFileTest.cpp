#include "OrvProfiler/security/DiskFile.h"

#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/LeakCheck.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/OwnPipe.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <string>

TEST(DiskFile, IsOpenedToReadWithoutActingForItsReader)
{
    const TemporaryFile file("content");
    const CallRecorder<decltype(CreateFileW)> createFile("CreateFileW");
    const UniqueHandle opened = OpenDiskFile(file.Path());
    EXPECT_TRUE(opened);
    ASSERT_EQ(createFile.Calls().size(), 1U);
    const auto& [path, access, sharing, attributes, disposition, flags, templateFile] = createFile.Calls()[0];
    EXPECT_STREQ(path, file.Path());
    EXPECT_EQ(access, 0x80000000U);
    EXPECT_EQ(sharing, 1U);
    EXPECT_EQ(attributes, nullptr);
    EXPECT_EQ(disposition, 3U);
    // Whoever owns what is opened may learn who asks, but not act for them.
    EXPECT_EQ(flags, 0x00110080U);
    EXPECT_EQ(templateFile, nullptr);
}

TEST(DiskFile, IsNoneWhereNothingIs)
{
    const TemporaryFile file("content");
    const std::wstring missing = std::wstring(file.Path()) + L".missing";
    EXPECT_FALSE(OpenDiskFile(missing.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(DiskFile, IsNoPipe)
{
    ExpectNothingLeaks([] {
        const OwnPipe pipe;
        EXPECT_FALSE(OpenDiskFile(pipe.Path()));
    });
    const OwnPipe pipe;
    const UniqueHandle opened = OpenToRead(pipe.Path());
    EXPECT_TRUE(opened);
    EXPECT_FALSE(IsDiskFile(opened));
}

TEST(DiskFile, IsNoneWhenTheSystemCannotTell)
{
    const TemporaryFile file("content");
    const FailingCall<decltype(GetFileType)> fileType("GetFileType", ERROR_INVALID_HANDLE);
    EXPECT_FALSE(OpenDiskFile(file.Path()));
}
