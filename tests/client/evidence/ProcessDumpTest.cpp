#include "client/evidence/ProcessDump.h"

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/processes/RestingProcess.h"
#include "tests/support/worlds/Files.h"

#include <windows.h>

#include <dbghelp.h>

#include <cstring>
#include <gmock/gmock.h>
#include <string>

using testing::HasSubstr;
using testing::StartsWith;

namespace
{
std::wstring Dump(HANDLE process, uint32_t processId, const std::wstring& path)
{
    const UniqueHandle file = UniqueHandle::FromFile(
        CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    return WriteDump(process, processId, file.Get());
}

template <class Record>
Record At(const std::string& bytes, size_t place)
{
    Record record{};
    if (place + sizeof record <= bytes.size())
        std::memcpy(&record, bytes.data() + place, sizeof record);
    return record;
}

// Where a stream of the dump begins; 0 when it has none.
size_t StreamOf(const std::string& dump, ULONG32 type)
{
    const auto header = At<MINIDUMP_HEADER>(dump, 0);
    for (ULONG32 i = 0; i < header.NumberOfStreams; ++i)
    {
        const auto entry = At<MINIDUMP_DIRECTORY>(dump, header.StreamDirectoryRva + i * sizeof(MINIDUMP_DIRECTORY));
        if (entry.StreamType == type)
            return entry.Location.Rva;
    }
    return 0;
}

std::string Narrow(const std::wstring& text)
{
    return std::string(text.begin(), text.end());
}
} // namespace

TEST(ClientProcessDump, HoldsThreadsAndModulesOfTheOtherProcess)
{
    const TemporaryFolder folder;
    const ChildProcess child = StartRestingProcess();
    ASSERT_EQ(L"", Dump(child.Handle(), child.Id(), folder.PathOf(L"x.dmp")));
    EXPECT_TRUE(child.IsRunning());
    const std::string dump = FileBytes(folder.PathOf(L"x.dmp"));
    EXPECT_THAT(dump, StartsWith("MDMP"));
    EXPECT_LE(1U, At<ULONG32>(dump, StreamOf(dump, ThreadListStream)));
    const size_t thread = StreamOf(dump, ThreadListStream) + sizeof(ULONG32);
    EXPECT_LT(0U, At<MINIDUMP_THREAD>(dump, thread).Stack.Memory.DataSize) << "a stack belongs to it";
    EXPECT_LE(3U, At<ULONG32>(dump, StreamOf(dump, ModuleListStream)));
    const std::wstring module = L"kernel32.dll";
    EXPECT_THAT(dump, HasSubstr(std::string(reinterpret_cast<const char*>(module.data()), module.size() * 2)));
    EXPECT_GT(16U << 20, dump.size()) << "no memory but the stacks";
}

TEST(ClientProcessDump, TellsWhyThereIsNone)
{
    const TemporaryFolder folder;
    const ChildProcess child = StartRestingProcess();
    {
        const FailingCall<decltype(LoadLibraryW)> load("LoadLibraryW", ERROR_MOD_NOT_FOUND);
        EXPECT_THAT(Narrow(Dump(child.Handle(), child.Id(), folder.PathOf(L"x.dmp"))),
                    StartsWith("dbghelp.dll cannot be loaded: "));
    }
    {
        const FailingCall<decltype(GetProcAddress)> find("GetProcAddress", ERROR_PROC_NOT_FOUND);
        EXPECT_EQ(L"dbghelp.dll has no MiniDumpWriteDump", Dump(child.Handle(), child.Id(), folder.PathOf(L"x.dmp")));
    }
    child.Kill();
    EXPECT_THAT(Narrow(Dump(child.Handle(), child.Id(), folder.PathOf(L"x.dmp"))),
                StartsWith("the dump cannot be written: "));
}

TEST(ClientProcessDump, ATooLargeOneIsNoneToKeep)
{
    const TemporaryFolder folder;
    const ChildProcess child = StartRestingProcess();
    const Redirect<decltype(GetFileSizeEx)> size("GetFileSizeEx", [](HANDLE, LARGE_INTEGER* bytes) -> BOOL {
        bytes->QuadPart = static_cast<LONGLONG>(c_greatestDump) + 1;
        return TRUE;
    });
    EXPECT_EQ(L"the dump is too large: 268435457 bytes", Dump(child.Handle(), child.Id(), folder.PathOf(L"x.dmp")));
}

TEST(ClientProcessDump, SaysWhichThreadsAreMissingHere)
{
    EXPECT_EQ(L"Wine's dump knows only the threads that Wine started: those that carry out managed code are missing.",
              DumpGap());
    const FailingCall<decltype(GetProcAddress)> find("GetProcAddress", ERROR_PROC_NOT_FOUND);
    EXPECT_EQ(L"", DumpGap()) << "on Windows";
}
