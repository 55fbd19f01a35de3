#include "client/input/LookWords.h"

#include "client/base/SessionError.h"

#include <gmock/gmock.h>
#include <string>

namespace
{
// The call that a line becomes, without the type's name.
std::wstring CallOf(const std::wstring& line)
{
    const std::optional<Command> command = ParseLook(line);
    if (!command)
        return L"none";
    EXPECT_STREQ(L"invoke", command->word->word);
    const std::wstring type = L"OrvWorkBench.Look.";
    EXPECT_EQ(type, command->text.substr(0, type.size()));
    return command->text.substr(type.size());
}

std::wstring RefusalOf(const std::wstring& line)
{
    try
    {
        return CallOf(line);
    }
    catch (const SessionError& error)
    {
        EXPECT_EQ(SessionFailure::BadRequest, error.Failure());
        return error.Message();
    }
}
} // namespace

TEST(LookWords, BecomeCalls)
{
    const struct
    {
        const wchar_t* line;
        const wchar_t* call;
    } rows[] = {
        {L"types", L"Types()"},
        {L" TYPES \t ", L"Types()"},
        {L"types a b", L"Types(\"a b\")"},
        {L"types \"a\\", L"Types(\"\\\"a\\\\\")"},
        {L"members t", L"Members(\"t\")"},
        {L"members t  Fail* ", L"Members(\"t\", \"Fail*\")"},
        {L"members System.Collections.Generic.Dictionary<int, string> Add",
         L"Members(\"System.Collections.Generic.Dictionary<int, string>\", \"Add\")"},
        {L"members t.Find(\"a b\", ' ') x", L"Members(\"t.Find(\\\"a b\\\", ' ')\", \"x\")"},
        {L"members f(\"\\\" (\") x", L"Members(\"f(\\\"\\\\\\\" (\\\")\", \"x\")"},
        {L"instances", L"Instances()"},
        {L"find string -> double", L"Find(\"string -> double\")"},
        {L"dump t", L"Dump(\"t\")"},
        {L"dump t.Get(1, 2) 3", L"Dump(\"t.Get(1, 2)\", 3)"},
        {L"dump t 3 20", L"Dump(\"t\", 3, 20)"},
        {L"type", L"none"},
        {L"load types", L"none"},
        {L"", L"none"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.call, CallOf(row.line)) << testing::PrintToString(row.line);
}

TEST(LookWords, WantTheirArguments)
{
    EXPECT_EQ(L"expected members WHAT [PATTERN]", RefusalOf(L"members"));
    EXPECT_EQ(L"expected find PATTERN", RefusalOf(L"find "));
    EXPECT_EQ(L"expected instances", RefusalOf(L"instances x"));
    for (const wchar_t* line : {L"dump", L"dump t x", L"dump t -1", L"dump t 1 2 3", L"dump t 1234567890"})
        EXPECT_EQ(L"expected dump VALUE [DEPTH [FIRST]]", RefusalOf(line)) << testing::PrintToString(line);
}

TEST(LookWords, AreShownAsTheUserWroteThem)
{
    const std::optional<Command> command = ParseLook(L"  Members  t Fail ");
    EXPECT_EQ(L"Members  t Fail", command->asked);
    EXPECT_EQ(L"members", command->ShownWord());
    EXPECT_EQ(L"t Fail", command->ShownText());
    const std::optional<Command> bare = ParseLook(L"types");
    EXPECT_EQ(L"types", bare->ShownWord());
    EXPECT_EQ(L"", bare->ShownText());
    const Command plain = ParseCommand(L"GET t.X");
    EXPECT_EQ(L"get", plain.ShownWord());
    EXPECT_EQ(L"t.X", plain.ShownText());
}
