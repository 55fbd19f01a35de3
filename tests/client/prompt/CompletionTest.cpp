#include "client/prompt/Completion.h"

#include "tests/support/worlds/Files.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
std::vector<std::wstring> TextsOf(const std::vector<Proposal>& proposals)
{
    std::vector<std::wstring> texts;
    for (const Proposal& proposal : proposals)
        texts.push_back(std::to_wstring(proposal.at) + L" " + proposal.text);
    return texts;
}

// What is proposed where nobody is to be asked.
std::vector<std::wstring> Alone(const std::wstring& line, const std::wstring& folder = L"")
{
    const Completer completer(folder, [](const std::wstring& asked) {
        ADD_FAILURE() << "asked for " << testing::PrintToString(asked);
        return std::vector<Proposal>();
    });
    return TextsOf(completer.Propose(line));
}

struct Asked
{
    std::vector<std::wstring> lines;
    std::vector<std::wstring> texts;
};

// What is asked for a line, and what becomes of the answer "Target" at that place of what was asked.
Asked WithAnswer(const std::wstring& line, size_t at)
{
    Asked asked;
    const Completer completer(L"", [&](const std::wstring& question) {
        asked.lines.push_back(question);
        return std::vector<Proposal>{{at, L"Target", L"double Target"}};
    });
    asked.texts = TextsOf(completer.Propose(line));
    return asked;
}

std::vector<Proposal> Named(std::initializer_list<const wchar_t*> texts, size_t at = 4)
{
    std::vector<Proposal> proposals;
    for (const wchar_t* text : texts)
        proposals.push_back({at, text, text});
    return proposals;
}

std::vector<Proposal> Numbered(size_t count)
{
    std::vector<Proposal> proposals;
    for (size_t i = 0; i < count; ++i)
        proposals.push_back({0, L"n" + std::to_wstring(100 + i), L"the number " + std::to_wstring(100 + i)});
    return proposals;
}
} // namespace

TEST(Completion, WordsOfALineAreTheClients)
{
    EXPECT_THAT(Alone(L"l"), ElementsAre(L"0 load "));
    EXPECT_THAT(Alone(L"  S"), ElementsAre(L"2 set ", L"2 stop", L"2 show ", L"2 start"));
    EXPECT_THAT(Alone(L"h"), ElementsAre(L"0 hide ", L"0 history ", L"0 help "));
    EXPECT_THAT(Alone(L"q"), ElementsAre(L"0 quit"));
    EXPECT_THAT(Alone(L"nothing"), IsEmpty());
    EXPECT_EQ(21U, Alone(L"").size());
}

TEST(Completion, HelpTakesAWord)
{
    EXPECT_THAT(Alone(L"help i"), ElementsAre(L"5 invoke ", L"5 instances"));
    EXPECT_THAT(Alone(L"help t"), ElementsAre(L"5 types ", L"5 time "));
}

TEST(Completion, TimeTakesANumberAndACommand)
{
    EXPECT_THAT(Alone(L"time "), IsEmpty());
    EXPECT_THAT(Alone(L"time 1"), IsEmpty());
    EXPECT_THAT(Alone(L"time 10 l"), ElementsAre(L"8 load "));
    const Asked asked = WithAnswer(L"time 10 get t.T", 6);
    EXPECT_THAT(asked.lines, ElementsAre(L"get t.T"));
    EXPECT_THAT(asked.texts, ElementsAre(L"14 Target"));
}

TEST(Completion, WordsThatTakeNothingProposeNothing)
{
    for (const wchar_t* line : {L"again ", L"start x", L"quit ", L"exit ", L"history l", L"nothing x"})
        EXPECT_THAT(Alone(line), IsEmpty());
}

TEST(Completion, TheDispatcherIsAskedForTheRest)
{
    const Asked get = WithAnswer(L"get t.T", 6);
    EXPECT_THAT(get.lines, ElementsAre(L"get t.T"));
    EXPECT_THAT(get.texts, ElementsAre(L"6 Target"));
    EXPECT_THAT(WithAnswer(L"  MEMBERS t", 8).lines, ElementsAre(L"MEMBERS t"));
    EXPECT_THAT(WithAnswer(L"  MEMBERS t", 8).texts, ElementsAre(L"10 Target"));
    EXPECT_THAT(WithAnswer(L"dump ", 5).lines, ElementsAre(L"dump "));
    EXPECT_THAT(WithAnswer(L"stop ", 5).lines, ElementsAre(L"stop "));
}

TEST(Completion, ShowTakesWhatGetTakes)
{
    const Asked asked = WithAnswer(L"show t.T", 6);
    EXPECT_THAT(asked.lines, ElementsAre(L"get t.T"));
    EXPECT_THAT(asked.texts, ElementsAre(L"7 Target"));
}

TEST(Completion, AnAnswerBeyondTheLineStandsAtItsEnd)
{
    EXPECT_THAT(WithAnswer(L"get t.T", 100).texts, ElementsAre(L"7 Target"));
}

TEST(Completion, HideTakesWhatIsShown)
{
    Completer completer(L"", [](const std::wstring&) { return std::vector<Proposal>(); });
    completer.SetShown({L"t.Target", L"t.Name", L"u"});
    EXPECT_THAT(TextsOf(completer.Propose(L"hide t.")), ElementsAre(L"5 t.Target", L"5 t.Name"));
}

TEST(Completion, LoadTakesFoldersAndAssemblies)
{
    const TemporaryFolder folder;
    folder.MakeFolder(L"Sub");
    folder.MakeFile(L"some.dll");
    folder.MakeFile(L"Some.EXE");
    folder.MakeFile(L"some.txt");
    folder.MakeFile(L"Sub\\deep lib.dll");
    const std::wstring start = L"load " + folder.Path() + L"\\";
    const std::wstring at = std::to_wstring(start.size()) + L" ";
    EXPECT_THAT(Alone(start), ElementsAre(at + L"some.dll", at + L"Some.EXE", at + L"Sub\\"));
    EXPECT_THAT(Alone(start + L"SU"), ElementsAre(at + L"Sub\\"));
    const std::wstring quoted = L"load \"" + folder.Path() + L"\\Sub\\";
    EXPECT_THAT(Alone(quoted + L"d"), ElementsAre(std::to_wstring(quoted.size()) + L" deep lib.dll"));
    EXPECT_THAT(Alone(start + L"none"), IsEmpty());
    EXPECT_THAT(Alone(L"load so", folder.Path() + L"\\"), ElementsAre(L"5 some.dll", L"5 Some.EXE"))
        << "where the workbench looks";
}

TEST(Completion, OneWayIsTaken)
{
    const Completed completed = Complete(L"get T", Named({L"Target"}));
    EXPECT_EQ(L"get Target", completed.line);
    EXPECT_FALSE(completed.isUndecided);
}

TEST(Completion, SeveralWaysAreTakenAsFarAsTheyAgree)
{
    EXPECT_EQ(L"get Targ", Complete(L"get T", Named({L"Target", L"Targets", L"Targeo", L"Targ"})).line);
    EXPECT_EQ(L"get Target", Complete(L"get t", Named({L"Target", L"Target"})).line)
        << "with the case that they have";
}

TEST(Completion, WithoutAStepTheUserHasToChoose)
{
    EXPECT_TRUE(Complete(L"get T", Named({L"Target", L"Text"})).isUndecided);
    EXPECT_EQ(L"get T", Complete(L"get T", Named({L"Target", L"Text"})).line);
    EXPECT_TRUE(Complete(L"get ta", Named({L"Table", L"tAB"})).isUndecided)
        << "what agrees is less than what is typed";
    EXPECT_TRUE(Complete(L"get Target", Named({L"Target"})).isUndecided);
    EXPECT_TRUE(Complete(L"get t(", {{6, L"", L"int Count(int)"}}).isUndecided);
    EXPECT_FALSE(Complete(L"get t(", {}).isUndecided);
}

TEST(Completion, AHintDoesNotHideTheOnlyWay)
{
    EXPECT_EQ(L"get Target", Complete(L"get Ta", {{6, L"", L"hint"}, {4, L"Target", L"Target"}}).line);
}

TEST(CompletionChoices, FewAreShownWithAllThatIsKnown)
{
    EXPECT_EQ(L"  the number 100\n  the number 101\n", ChoiceText(Numbered(2), 80, 25));
    const std::wstring dozen = ChoiceText(Numbered(12), 80, 25);
    EXPECT_EQ(12, std::count(dozen.begin(), dozen.end(), L'\n')) << "a dozen too";
    EXPECT_EQ(L"  the number 101...\n", ChoiceText({{0, L"x", L"the number 1012345"}}, 20, 25));
}

TEST(CompletionChoices, ManyAreShownInColumns)
{
    EXPECT_EQ(L"  n100  n103  n106  n109  n112\n"
              L"  n101  n104  n107  n110\n"
              L"  n102  n105  n108  n111\n",
              ChoiceText(Numbered(13), 31, 25));
}

TEST(CompletionChoices, WhatHasNoRoomIsCounted)
{
    EXPECT_EQ(L"  n100  n103  n106\n"
              L"  n101  n104  n107\n"
              L"  n102  n105  n108\n"
              L"  and 11 more\n",
              ChoiceText(Numbered(20), 20, 4));
    EXPECT_EQ(L"  the number 100\n  the number 101\n  the number 102\n  and 2 more\n",
              ChoiceText(Numbered(5), 80, 4));
    EXPECT_EQ(L"", ChoiceText({}, 80, 25));
}

TEST(CompletionChoices, OverloadsCountOnceInColumns)
{
    std::vector<Proposal> proposals = Numbered(12);
    proposals.push_back(proposals.back());
    EXPECT_EQ(L"  n100  n102  n104  n106  n108  n110\n"
              L"  n101  n103  n105  n107  n109  n111\n",
              ChoiceText(proposals, 40, 25));
}
