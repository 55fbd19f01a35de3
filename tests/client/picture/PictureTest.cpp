#include "client/picture/Picture.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
Ends<int> UpTo(int count)
{
    Ends<int> ends(2, 3);
    for (int i = 1; i <= count; ++i)
        ends.Add(i);
    return ends;
}

std::vector<int> ItemsOf(const Ends<int>& ends)
{
    std::vector<int> items;
    ends.ForEach([&](int item) { items.push_back(item); });
    return items;
}

Step CommandOf(size_t number, size_t units = 0)
{
    Step step;
    step.number = number;
    step.verdict = Verdict::Succeeded;
    step.text = std::wstring(units, L'x');
    return step;
}
} // namespace

TEST(PictureEnds, WhatFitsIsKeptWhole)
{
    EXPECT_TRUE(UpTo(0).IsEmpty());
    EXPECT_THAT(ItemsOf(UpTo(0)), IsEmpty());
    EXPECT_THAT(ItemsOf(UpTo(5)), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(0U, UpTo(5).LeftOut());
    EXPECT_EQ(5U, UpTo(5).FirstCount());
}

TEST(PictureEnds, OfManyTheMiddleIsLeftOut)
{
    EXPECT_THAT(ItemsOf(UpTo(6)), ElementsAre(1, 2, 4, 5, 6));
    EXPECT_EQ(1U, UpTo(6).LeftOut());
    EXPECT_EQ(2U, UpTo(6).FirstCount());
    EXPECT_THAT(ItemsOf(UpTo(9)), ElementsAre(1, 2, 7, 8, 9));
    EXPECT_THAT(ItemsOf(UpTo(1000)), ElementsAre(1, 2, 998, 999, 1000));
    EXPECT_EQ(995U, UpTo(1000).LeftOut());
}

TEST(PictureSteps, OfManyCommandsTheFirstAndTheLastAreKept)
{
    StepList steps;
    for (size_t number = 1; number <= 12003; ++number)
        steps.Add(CommandOf(number));
    EXPECT_EQ(12003U, steps.CommandCount());
    EXPECT_EQ(12000U, steps.Count());
    EXPECT_EQ(3U, steps.LeftOut());
    EXPECT_EQ(2000U, steps.FirstCount());
    EXPECT_EQ(1U, steps[0].number);
    EXPECT_EQ(2000U, steps[1999].number);
    EXPECT_EQ(2004U, steps[2000].number);
    EXPECT_EQ(12003U, steps[11999].number);
}

TEST(PictureSteps, LongTextsTakeTheRoomOfMany)
{
    constexpr size_t units = size_t{1} << 20;
    StepList steps;
    for (size_t number = 1; number <= 100; ++number)
        steps.Add(CommandOf(number, units));
    EXPECT_EQ(4U, steps.FirstCount());
    EXPECT_EQ(16U, steps.Count());
    EXPECT_EQ(84U, steps.LeftOut());
    EXPECT_EQ(100U, steps[15].number);
}

TEST(PictureSteps, OneThatIsTooLongAloneIsKeptAsTheLast)
{
    StepList steps;
    steps.Add(CommandOf(1, size_t{13} << 20));
    EXPECT_EQ(1U, steps.Count());
    steps.Add(CommandOf(2));
    EXPECT_EQ(1U, steps.Count());
    EXPECT_EQ(2U, steps[0].number);
}

TEST(PictureSteps, WhatIsNoCommandIsNotCounted)
{
    StepList steps;
    steps.Add(Step());
    steps.Add(CommandOf(1));
    EXPECT_EQ(1U, steps.CommandCount());
    EXPECT_EQ(2U, steps.Count());
    EXPECT_EQ(0U, steps.FailedCount());
}

TEST(PictureSteps, WhateverDidNotSucceedHasFailed)
{
    const auto failed = [](std::optional<Verdict> verdict, const wchar_t* deviation = L"") {
        Step step = CommandOf(1);
        step.verdict = verdict;
        step.deviation = deviation;
        StepList steps;
        steps.Add(step);
        return steps.FailedCount() == 1 && HasFailed(step);
    };
    EXPECT_FALSE(failed(Verdict::Succeeded));
    EXPECT_TRUE(failed(Verdict::Succeeded, L"out of order"));
    EXPECT_TRUE(failed(std::nullopt));
    for (const Verdict verdict : {Verdict::Failed, Verdict::NotFound, Verdict::Raised, Verdict::TimedOut,
                                  Verdict::Lost, Verdict::Interrupted})
        EXPECT_TRUE(failed(verdict));
}

TEST(PictureTexts, LongOnesAreCutWithAWord)
{
    EXPECT_EQ(L"", CutText(L"", 4));
    EXPECT_EQ(L"four", CutText(L"four", 4));
    EXPECT_EQ(L"fivi [... 2 more characters]", CutText(L"fivi##", 4));
    EXPECT_EQ(4000U, CutText(std::wstring(4000, L'x')).size());
    EXPECT_EQ(std::wstring(4000, L'x') + L" [... 1 more characters]", CutText(std::wstring(4001, L'x')));
}

TEST(PictureTexts, NoCharacterIsCutInTwo)
{
    EXPECT_EQ(L"ab [... 3 more characters]", CutText(L"ab\xD83C\xDF88z", 3));
    EXPECT_EQ(L"ab\xD83C\xDF88 [... 1 more characters]", CutText(L"ab\xD83C\xDF88z", 4));
}

TEST(PictureLog, LinesTakeTheRoomThatThereIs)
{
    Picture picture;
    Ends<LogLine> lines(2, 2);
    for (int i = 0; i < 5; ++i)
        lines.Add({0, std::wstring(Picture::c_logUnits / 10, L'x')});
    EXPECT_EQ(1U, WithinRoom(picture, lines).LeftOut());
    EXPECT_FALSE(WithinRoom(picture, lines).IsEmpty());
    EXPECT_EQ(0U, picture.logLinesWithoutRoom);
    EXPECT_TRUE(WithinRoom(picture, lines).IsEmpty());
    EXPECT_EQ(5U, picture.logLinesWithoutRoom);
}
