#include "client/results/CommandRecord.h"

#include <gmock/gmock.h>
#include <string>

namespace
{
CommandRecord Told(const std::string& record)
{
    CommandResult result;
    result.record = record;
    return ReadRecord(result);
}
} // namespace

TEST(CommandRecord, GivesResultAndValue)
{
    const CommandRecord record = Told(R"({"result":5,"value":{"type":"double","text":"21.5"}})");
    EXPECT_EQ(5, record.result);
    EXPECT_EQ(L"ActionSuccess", record.resultName);
    EXPECT_EQ(L"21.5", record.value);
    EXPECT_FALSE(record.hasMade);
    EXPECT_EQ(L"", record.reason);
    EXPECT_EQ(R"({"result":5,"value":{"type":"double","text":"21.5"}})", record.json);
}

TEST(CommandRecord, AStringIsGivenAsItIs)
{
    EXPECT_EQ(
        L"a\n\x00E9",
        Told("{\"result\":5,\"value\":{\"type\":\"string\",\"text\":\"\\\"a\",\"string\":\"a\\u000a\xC3\xA9\"}}")
            .value);
}

TEST(CommandRecord, AnObjectWithoutTextIsCalledByItsType)
{
    EXPECT_EQ(L"A.B", Told(R"({"result":8,"made":"b","value":{"type":"A.B","text":null}})").value);
    EXPECT_TRUE(Told(R"({"result":8,"made":"b","value":{"type":"A.B","text":null}})").hasMade);
    EXPECT_EQ(L"null", Told(R"({"result":5,"value":{"type":null,"text":"null"}})").value);
}

TEST(CommandRecord, GivesWhyItFailed)
{
    EXPECT_EQ(L"no such type", Told(R"({"result":12,"error":{"message":"no such type","column":3}})").reason);
    EXPECT_EQ(L"A.Error: why",
              Told(R"({"result":13,"exception":{"type":"A.Error","message":"why","frames":[]}})").reason);
    EXPECT_EQ(L"A.Error", Told(R"({"result":13,"exception":{"type":"A.Error","message":null,"frames":[]}})").reason);
}

TEST(CommandRecord, NamesEveryResult)
{
    EXPECT_EQ(L"ActionEventUnknown", Told(R"({"result":0})").resultName);
    EXPECT_EQ(L"Exception", Told(R"({"result":13})").resultName);
    EXPECT_EQ(L"unknown result 14", Told(R"({"result":14})").resultName);
    EXPECT_EQ(L"unknown result -1", Told(R"({"result":-1})").resultName);
}

TEST(CommandRecord, WhatIsNoRecordTellsNothing)
{
    for (const char* text :
         {"", "{", "[]", "5", "{}", R"({"result":"5"})", R"({"result":5.5})", R"({"value":{"text":"x"}})"})
    {
        const CommandRecord record = Told(text);
        EXPECT_FALSE(record.result) << text;
        EXPECT_FALSE(record.value) << text;
        EXPECT_EQ("", record.json) << text;
    }
    const CommandRecord record = Told(R"({"result":5,"value":7,"error":[],"exception":"x"})");
    EXPECT_EQ(5, record.result);
    EXPECT_FALSE(record.value);
    EXPECT_EQ(L"", record.reason);
}

TEST(CommandRecord, WithoutOneTheTraceTellsTheResult)
{
    CommandResult result;
    result.tracedResult = 12;
    EXPECT_EQ(12, ReadRecord(result).result);
    EXPECT_EQ(L"ActionTypeNotFound", ReadRecord(result).resultName);
    result.record = R"({"result":5})";
    EXPECT_EQ(5, ReadRecord(result).result);
}
