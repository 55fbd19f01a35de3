#include "client/results/ListEntries.h"

#include <gtest/gtest.h>

namespace
{
std::vector<ListEntry> EntriesIn(const char* json)
{
    CommandRecord record;
    record.json = json;
    return EntriesOf(record);
}
} // namespace

TEST(ListEntries, AreTextsByTheirNames)
{
    const std::vector<ListEntry> entries =
        EntriesIn("{\"result\":10,\"list\":[{\"name\":\"t\",\"text\":\"\xC3\xA9\"},{\"name\":\"u\",\"text\":null}]}");
    ASSERT_EQ(2U, entries.size());
    EXPECT_EQ(L"t", TextOf(entries[0], "name"));
    EXPECT_EQ(L"\xE9", TextOf(entries[0], "text"));
    EXPECT_EQ(L"u", TextOf(entries[1], "name"));
    EXPECT_EQ(L"", TextOf(entries[1], "text"));
}

TEST(ListEntries, WithoutAListThereAreNone)
{
    for (const char* json : {"", "x", "[]", "{}", "{\"list\":1}", "{\"list\":{}}"})
        EXPECT_TRUE(EntriesIn(json).empty()) << json;
}
