#include "OrvProfiler/foundation/Trace.h"
#include "tests/OrvWorkbench/HostFixture.h"
#include "tests/support/contract/LogFile.h"
#include "tests/support/worlds/Files.h"

#include <cstdio>
#include <stdexcept>

// The log file's disk fills up during a session, and later has room again.

namespace
{
enum class FullDisk
{
    WriteFails,
    WriteRaises,
    FlushFails,
    FlushRaises,
};

bool g_full = false;
FullDisk g_way = FullDisk::WriteFails;
std::vector<std::wstring> g_lost;
// As declared, fwrite has an attribute that no template argument may have.
using WriteFunction = size_t(const void*, size_t, size_t, FILE*);
WriteFunction* g_realWrite = nullptr;
decltype(&fflush) g_realFlush = nullptr;

size_t Write(const void* line, size_t sizeBytes, size_t count, FILE* file)
{
    const bool isLog = file != stdout && file != stderr;
    if (!isLog || !g_full || g_way == FullDisk::FlushFails || g_way == FullDisk::FlushRaises)
        return g_realWrite(line, sizeBytes, count, file); // cppcheck-suppress CastAddressToIntegerAtReturn ; a count
    g_lost.emplace_back(static_cast<const wchar_t*>(line), count);
    if (g_way == FullDisk::WriteRaises)
        throw std::runtime_error("the disk is full");
    return 0;
}

// What a failed flush leaves in the stream's buffer is written by the next one.
int Flush(FILE* file)
{
    if (!g_full || g_way == FullDisk::WriteFails || g_way == FullDisk::WriteRaises)
        return g_realFlush(file);
    if (g_way == FullDisk::FlushRaises)
        throw std::runtime_error("the disk is full");
    return EOF;
}

class CHostOnAFullDisk : public CHostWithStandIns, public testing::WithParamInterface<FullDisk>
{
protected:
    CHostOnAFullDisk() : m_path(m_folder.PathOf(L"full.log")), m_write("fwrite", Write), m_flush("fflush", Flush)
    {
        g_realWrite = m_write.Real();
        g_realFlush = m_flush.Real();
        g_full = false;
        g_way = GetParam();
        g_lost.clear();
    }

    // What the file should hold: every line that went to the debugger, without the lost ones.
    std::wstring WrittenText() const
    {
        std::wstring text;
        size_t lost = 0;
        for (const std::wstring& line : m_trace.Raw())
        {
            if (lost < g_lost.size() && g_lost[lost] == line)
            {
                ++lost;
                continue;
            }
            for (const wchar_t unit : line)
                text += unit == L'\n' ? std::wstring(L"\r\n") : std::wstring(1, unit);
        }
        EXPECT_EQ(g_lost.size(), lost);
        return text;
    }
    std::wstring FileText() const { return LogText(FileBytes(m_path)); }

    const TemporaryFolder m_folder;
    const std::wstring m_path;

private:
    Redirect<WriteFunction> m_write;
    Redirect<decltype(fflush)> m_flush;
};
} // namespace

TEST_P(CHostOnAFullDisk, LosesOnlyWhatTheFullDiskDidNotTakeAndEveryCommandIsServed)
{
    ClientIsThere();
    Client().WriteText(L"text");
    TraceOpen(m_path.c_str());
    size_t linesBefore = 0;
    std::wstring released;
    m_release = [&] { released = FileText(); };
    NextWait(1);
    NextWait(3, [&] {
        g_full = true;
        linesBefore = m_trace.Raw().size();
    });
    NextWait(4);
    NextWait(1, [&] {
        g_full = false;
        // The debugger's copy has every line of the two commands.
        EXPECT_LE(linesBefore + 15, m_trace.Raw().size());
    });
    {
        CHost host(m_id, c_assembly, c_type);
        EXPECT_EQ(1, host.Run());
        EXPECT_TRUE(TakeSignal(8));
        EXPECT_FALSE(TakeSignal(9));
    }
    EXPECT_EQ(5U, m_calls.size());
    const bool losesLines = GetParam() == FullDisk::WriteFails || GetParam() == FullDisk::WriteRaises;
    EXPECT_EQ(losesLines, g_lost.size() >= 15) << g_lost.size();
    // The runtime's replacement traces its release after the log is closed.
    std::wstring expected = WrittenText();
    expected.erase(expected.rfind(L"\r\n", expected.size() - 3) + 2);
    EXPECT_TRUE(expected == FileText());
    EXPECT_TRUE(expected == released) << "complete when the log is closed";
}

INSTANTIATE_TEST_SUITE_P(When, CHostOnAFullDisk,
                         testing::Values(FullDisk::WriteFails, FullDisk::WriteRaises, FullDisk::FlushFails,
                                         FullDisk::FlushRaises));
