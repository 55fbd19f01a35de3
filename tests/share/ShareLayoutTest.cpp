#include "OrvProfiler/share/ShareLayout.h"

#include "OrvProfiler/share/ProxyPrivate.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/worlds/Files.h"

#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
struct Field
{
    std::string name;
    uint64_t offset;
    uint64_t size;

    bool operator==(const Field& other) const
    {
        return name == other.name && offset == other.offset && size == other.size;
    }
};

// Found by GoogleTest.
[[maybe_unused]] void PrintTo(const Field& field, std::ostream* stream)
{
    *stream << field.name << " at " << field.offset << ", " << field.size << " bytes";
}

using Fields = std::vector<Field>;

#define FIELD(type, field)                                                                                           \
    {                                                                                                                \
#field, offsetof(type, field), sizeof(type::field)                                                           \
    }

// The structs as the compiler lays them out.
const Fields& CompiledFields(const std::string& type)
{
    static const std::map<std::string, Fields> fields = {
        {"ProxyShareData",
         {FIELD(ProxyShareData, clientHeader), FIELD(ProxyShareData, runWord), FIELD(ProxyShareData, clientState),
          FIELD(ProxyShareData, control), FIELD(ProxyShareData, clientTables1), FIELD(ProxyShareData, clientWords),
          FIELD(ProxyShareData, recordCount), FIELD(ProxyShareData, recordGap), FIELD(ProxyShareData, records),
          FIELD(ProxyShareData, threadCount), FIELD(ProxyShareData, threadOrder), FIELD(ProxyShareData, threadGap),
          FIELD(ProxyShareData, threads), FIELD(ProxyShareData, threadBlocks), FIELD(ProxyShareData, clientTables2)}},
        {"ShareControl",
         {FIELD(ShareControl, clientWord), FIELD(ShareControl, count), FIELD(ShareControl, clientArea1),
          FIELD(ShareControl, clientWindow), FIELD(ShareControl, clientArea2), FIELD(ShareControl, commandText)}},
        {"ThreadSlot",
         {FIELD(ThreadSlot, threadId), FIELD(ThreadSlot, clientArea1), FIELD(ThreadSlot, recordMode),
          FIELD(ThreadSlot, state), FIELD(ThreadSlot, clientArea2), FIELD(ThreadSlot, name),
          FIELD(ThreadSlot, detail), FIELD(ThreadSlot, clientArea3)}},
        {"ThreadBlock",
         {FIELD(ThreadBlock, clientWord), FIELD(ThreadBlock, entryCount), FIELD(ThreadBlock, entries)}},
        {"PrivateHeader",
         {FIELD(PrivateHeader, dataSize), FIELD(PrivateHeader, value4), FIELD(PrivateHeader, text),
          FIELD(PrivateHeader, reserved1), FIELD(PrivateHeader, shortText), FIELD(PrivateHeader, reserved2),
          FIELD(PrivateHeader, value18360), FIELD(PrivateHeader, value18368), FIELD(PrivateHeader, reserved3)}},
    };
    return fields.at(type);
}

// A table of the page: its cells by column title, row by row.
using Row = std::map<std::string, std::string>;
using Table = std::vector<Row>;

std::string ReadPage()
{
    std::string page;
    for (const char c : FileBytes(ORV_SHARE_LAYOUT))
        if (c != '\r')
            page += c;
    return page;
}

std::vector<std::string> SplitRow(const std::string& line)
{
    std::vector<std::string> cells;
    std::istringstream stream(line.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');)
        cells.push_back(std::regex_replace(cell, std::regex("^ +| +$|`"), ""));
    return cells;
}

// The table below the heading that names the struct.
Table ReadTable(const std::string& type)
{
    std::istringstream page(ReadPage());
    Table table;
    std::vector<std::string> titles;
    bool inSection = false;
    for (std::string line; std::getline(page, line);)
    {
        if (line.rfind("## ", 0) == 0)
            inSection = line.find("`" + type + "`") != std::string::npos;
        if (!inSection || line.rfind("| ", 0) != 0)
            continue;
        const std::vector<std::string> cells = SplitRow(line);
        if (titles.empty())
        {
            titles = cells;
            continue;
        }
        Row row;
        for (size_t i = 0; i < titles.size(); ++i)
            row[titles[i]] = cells.at(i);
        table.push_back(row);
    }
    return table;
}

// A number, decimal or hexadecimal, or a product of two, as "128 × 1736".
uint64_t Number(const std::string& text)
{
    const size_t times = text.find(" \xC3\x97 ");
    if (times != std::string::npos)
        return Number(text.substr(0, times)) * Number(text.substr(times + 4));
    size_t used = 0;
    const uint64_t number = std::stoull(text, &used, 0);
    if (used != text.size())
        throw std::runtime_error("not a number: " + text);
    return number;
}

Fields ReadFields(const std::string& type)
{
    Fields fields;
    for (const Row& row : ReadTable(type))
        fields.push_back({row.at("Field"), Number(row.at("Offset")), Number(row.at("Size"))});
    return fields;
}

uint64_t CompiledSize(const std::string& type)
{
    static const std::map<std::string, uint64_t> sizes = {
        {"ProxyShareData", sizeof(ProxyShareData)}, {"ShareControl", sizeof(ShareControl)},
        {"ThreadSlot", sizeof(ThreadSlot)},         {"ThreadBlock", sizeof(ThreadBlock)},
        {"PrivateHeader", sizeof(PrivateHeader)},
    };
    return sizes.at(type);
}

constexpr const char* c_types[] = {"ProxyShareData", "ShareControl", "ThreadSlot", "ThreadBlock", "PrivateHeader"};
} // namespace

TEST(ShareLayout, StructsLieAsTheFamilyAgreed)
{
    EXPECT_EQ((Fields{{"clientHeader", 0x0, 0x1C4EC},
                      {"runWord", 0x1C4EC, 4},
                      {"clientState", 0x1C4F0, 0x630},
                      {"control", 0x1CB20, 0x11760},
                      {"clientTables1", 0x2E280, 0x8CE0},
                      {"clientWords", 0x36F60, 8},
                      {"recordCount", 0x36F68, 4},
                      {"recordGap", 0x36F6C, 4},
                      {"records", 0x36F70, 2220032},
                      {"threadCount", 0x254F70, 4},
                      {"threadOrder", 0x254F74, 512},
                      {"threadGap", 0x255174, 4},
                      {"threads", 0x255178, 222208},
                      {"threadBlocks", 0x28B578, 112985088},
                      {"clientTables2", 0x6E4B978, 0x84FF8}}),
              CompiledFields("ProxyShareData"));
    EXPECT_EQ((Fields{{"clientWord", 0, 4},
                      {"count", 4, 4},
                      {"clientArea1", 8, 8},
                      {"clientWindow", 0x10, 8},
                      {"clientArea2", 0x18, 0x414},
                      {"commandText", 0x42C, 70452}}),
              CompiledFields("ShareControl"));
    EXPECT_EQ((Fields{{"threadId", 0, 4},
                      {"clientArea1", 4, 144},
                      {"recordMode", 148, 4},
                      {"state", 152, 4},
                      {"clientArea2", 156, 4},
                      {"name", 160, 522},
                      {"detail", 682, 522},
                      {"clientArea3", 1204, 532}}),
              CompiledFields("ThreadSlot"));
    EXPECT_EQ((Fields{{"clientWord", 0, 4}, {"entryCount", 4, 4}, {"entries", 8, 882688}}),
              CompiledFields("ThreadBlock"));
    EXPECT_EQ((Fields{{"dataSize", 0, 4},
                      {"value4", 4, 4},
                      {"text", 8, 17824},
                      {"reserved1", 17832, 2},
                      {"shortText", 17834, 522},
                      {"reserved2", 18356, 4},
                      {"value18360", 18360, 8},
                      {"value18368", 18368, 4},
                      {"reserved3", 18372, 4}}),
              CompiledFields("PrivateHeader"));
    EXPECT_EQ(116197744U, sizeof(ProxyShareData));
    EXPECT_EQ(71520U, sizeof(ShareControl));
    EXPECT_EQ(1736U, sizeof(ThreadSlot));
    EXPECT_EQ(882696U, sizeof(ThreadBlock));
    EXPECT_EQ(3448U, sizeof(ThreadBlockEntry));
    EXPECT_EQ(2168U, sizeof(ShareRecord));
    EXPECT_EQ(18376U, sizeof(PrivateHeader));
}

TEST(ShareLayout, ConstantsAreFixed)
{
    EXPECT_EQ(116197744U, c_shareSizeBytes);
    EXPECT_EQ(35226U, c_commandTextCapacity);
    EXPECT_EQ(128, c_threadCapacity);
    EXPECT_EQ(256, c_threadEntryCapacity);
    EXPECT_EQ(1024, c_recordCapacity);
    EXPECT_EQ(0x110U, c_threadStateAdded);
    EXPECT_EQ(1U, c_recordNone);
    EXPECT_EQ(2U, c_recordManual);
    EXPECT_EQ(4U, c_recordAuto);
    EXPECT_EQ(8U, c_recordSilent);
    EXPECT_EQ(7U, c_shareMutexCount);
    EXPECT_EQ(2U, c_shareLock);
    EXPECT_EQ(3U, c_threadLock);
    EXPECT_STREQ(L"OrvProfiler", c_shareBaseName);
    EXPECT_STREQ(L"AgentDataMutex", c_privateMutexName);
}

TEST(ShareLayout, ThePagesTablesAreTheStructs)
{
    for (const char* const type : c_types)
        EXPECT_EQ(CompiledFields(type), ReadFields(type)) << type;
}

TEST(ShareLayout, ThePagesTablesHaveNoHoles)
{
    for (const char* const type : c_types)
    {
        uint64_t end = 0;
        for (const Field& field : ReadFields(type))
        {
            EXPECT_EQ(end, field.offset) << type << ", " << field.name;
            end = field.offset + field.size;
        }
        EXPECT_EQ(CompiledSize(type), end) << type;
    }
}

TEST(ShareLayout, ThePageGivesTheControlBlocksPlaceInTheShare)
{
    const Table table = ReadTable("ShareControl");
    ASSERT_EQ(6U, table.size());
    for (const Row& row : table)
        EXPECT_EQ(offsetof(ProxyShareData, control) + Number(row.at("Offset")), Number(row.at("In the share")))
            << row.at("Field");
}

TEST(ShareLayout, TheRegionsThatThePageMentionsLieInTheirField)
{
    const std::regex number("0x[0-9A-F]+");
    int mentioned = 0;
    for (const Row& row : ReadTable("ProxyShareData"))
    {
        const uint64_t begin = Number(row.at("Offset"));
        const uint64_t end = begin + Number(row.at("Size"));
        const std::string content = row.at("Content");
        for (std::sregex_iterator found(content.begin(), content.end(), number), none; found != none; ++found)
        {
            const uint64_t region = Number(found->str());
            EXPECT_TRUE(region >= begin && region < end) << row.at("Field") << ": " << found->str();
            ++mentioned;
        }
    }
    EXPECT_EQ(6 + 3 + 13, mentioned);
}

TEST(ShareLayout, ThePageNamesSizesAndKernelObjects)
{
    const std::string page = ReadPage();
    for (const char* const text :
         {"\n116197744 bytes (0x6ED0970).\n", "\n71520 bytes, at 0x1CB20 in the share.\n", "\n1736 bytes.",
          "\n882696 bytes.", "\n18376 bytes of header;", "`OrvProfiler00001a2c`",
          "`OrvProfiler00001a2c_0` to `OrvProfiler00001a2c_6`", "`AgentDataMutex`"})
        EXPECT_NE(std::string::npos, page.find(text)) << text;
}
