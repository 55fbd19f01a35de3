#include "client/session/Command.h"

#include "tests/client/SessionFailure.h"

#include <gtest/gtest.h>
#include <string>

TEST(SessionCommand, WordsStandForTheirEvents)
{
    const struct
    {
        const wchar_t* line;
        uint32_t event;
        bool passesBreakpoint;
    } cases[] = {
        {L"stop", 0, false},   {L"load", 1, false},  {L"create", 2, true}, {L"invoke", 3, true},
        {L"delete", 4, false}, {L"reset", 5, false}, {L"get", 6, true},    {L"set", 7, true},
    };
    for (const auto& expected : cases)
    {
        const Command command = ParseCommand(expected.line);
        EXPECT_STREQ(expected.line, command.word->word);
        EXPECT_EQ(expected.event, command.word->event) << expected.line;
        EXPECT_EQ(expected.passesBreakpoint, command.word->PassesBreakpoint()) << expected.line;
        EXPECT_EQ(L"", command.text);
    }
}

TEST(SessionCommand, TextBeginsAfterTheBlanksAndIsNotTouched)
{
    const struct
    {
        const wchar_t* line;
        const wchar_t* text;
    } cases[] = {
        {L"load a", L"a"},     {L"  LOAD \t a", L"a"},
        {L"load a ", L"a "},   {L"load a\tb  c", L"a\tb  c"},
        {L"load # x", L"# x"}, {L"load \"a b\"", L"\"a b\""},
        {L"load ", L""},       {L"load \x65E5 \x672C", L"\x65E5 \x672C"},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(expected.text, ParseCommand(expected.line).text) << testing::PrintToString(expected.line);
}

TEST(SessionCommand, LineWithoutAKnownWordIsBadUsage)
{
    for (const wchar_t* line : {L"", L"   ", L"loads x", L"x", L"load_x", L"stop;", L"#load"})
        EXPECT_EQ(SessionFailure::BadRequest, FailureOf([&] { ParseCommand(line); }).second)
            << testing::PrintToString(line);
    EXPECT_EQ(L"unknown command \"loads\"; the commands are load, create, invoke, get, set, delete, reset, stop",
              FailureOf([] { ParseCommand(L"loads x"); }).first);
}

TEST(SessionCommand, TextEndsOneUnitBeforeTheControlBlock)
{
    EXPECT_EQ(35225U, CommandTextLimit());
    EXPECT_EQ(35225U, ParseCommand(L"get " + std::wstring(35225, L'x')).text.size());
    const auto failure = FailureOf([] { ParseCommand(L"get " + std::wstring(35226, L'x')); });
    EXPECT_EQ(L"the command text has 35226 characters, at most 35225 fit the control block", failure.first);
    EXPECT_EQ(SessionFailure::BadRequest, failure.second);
}

TEST(SessionCommand, NulInTheTextIsRefused)
{
    const std::wstring line(L"get a\0b", 7);
    EXPECT_EQ(SessionFailure::BadRequest, FailureOf([&] { ParseCommand(line); }).second);
}

TEST(SessionCommand, FirstWordIsInLowerCase)
{
    EXPECT_EQ(L"help", FirstWordOf(L"  HeLp me"));
    EXPECT_EQ(L"", FirstWordOf(L" \t"));
}
