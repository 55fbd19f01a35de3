#include "client/picture/LogJoin.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
Step CommandStep(size_t number, uint32_t event, const wchar_t* text, double atMs, double endMs)
{
    Step step;
    step.number = number;
    step.event = event;
    step.posted = text;
    step.atMs = atMs;
    step.endMs = endMs;
    step.verdict = Verdict::Succeeded;
    return step;
}

// A command as a log tells of it, with one line.
Step Told(uint32_t event, const wchar_t* text, double atMs, const wchar_t* line)
{
    Step step = CommandStep(0, event, text, atMs, atMs);
    step.log.Add({atMs, line});
    return step;
}

std::vector<std::wstring> LogOf(const Ends<LogLine>& log)
{
    std::vector<std::wstring> lines;
    log.ForEach([&](const LogLine& line) { lines.push_back(line.text); });
    return lines;
}
} // namespace

TEST(LogJoin, LinesComeToTheCommandThatTheyTellOf)
{
    Picture picture;
    picture.steps.Add(CommandStep(1, 1, L"a", 100.4, 110.2));
    picture.steps.Add(Step());
    picture.steps.Add(CommandStep(2, 3, L"b", 110.6, 120));
    LogJoin join(picture, 0);
    join.Take(LogLine{90, L"start"});
    join.Take(Told(1, L"c:\\full\\a", 100, L"first"));
    join.Take(Told(3, L"b", 111, L"second"));
    EXPECT_THAT(LogOf(picture.steps[0].log), ElementsAre(L"first"));
    EXPECT_THAT(LogOf(picture.steps[2].log), ElementsAre(L"second"));
    EXPECT_THAT(LogOf(picture.logLines), ElementsAre(L"start"));
}

// Within the same milliseconds.
TEST(LogJoin, EqualCommandsAreTakenInTheirOrder)
{
    Picture picture;
    for (size_t i = 0; i < 5; ++i)
        picture.steps.Add(CommandStep(i + 1, 6, L"t.Target", 100 + 0.1 * static_cast<double>(i),
                                      100.05 + 0.1 * static_cast<double>(i)));
    LogJoin join(picture, 0);
    for (const wchar_t* line : {L"1", L"2", L"3", L"4", L"5"})
        join.Take(Told(6, L"t.Target", 100, line));
    for (size_t i = 0; i < 5; ++i)
        EXPECT_THAT(LogOf(picture.steps[i].log), ElementsAre(std::to_wstring(i + 1)));
}

TEST(LogJoin, QuestionsThatWereNotShownBelongToNoCommand)
{
    Picture picture;
    picture.steps.Add(CommandStep(1, 3, L"a", 100, 110));
    LogJoin join(picture, 0);
    join.Take(Told(3, L"OrvWorkBench.Look.Value(\"a\")", 111, L"question"));
    join.Take(Told(3, L"a", 200, L"late"));
    join.Take(Told(6, L"a", 100, L"another event"));
    EXPECT_THAT(LogOf(picture.steps[0].log), IsEmpty());
    EXPECT_THAT(LogOf(picture.logLines), ElementsAre(L"question", L"late", L"another event"));
}

TEST(LogJoin, AllRunsOfACommandAreIts)
{
    Picture picture;
    Step step = CommandStep(1, 3, L"a", 100, 200);
    step.runs = Durations({1, 2, 3});
    picture.steps.Add(step);
    LogJoin join(picture, 0);
    for (const double at : {101, 130, 170})
        join.Take(Told(3, L"a", at, L"run"));
    EXPECT_THAT(LogOf(picture.steps[0].log), ElementsAre(L"run", L"run", L"run"));
}

TEST(LogJoin, WhatWasBeforeIsAnothersAndLeftOut)
{
    Picture picture;
    picture.steps.Add(CommandStep(1, 3, L"a", 100, 110));
    LogJoin join(picture, 95);
    join.Take(LogLine{50, L"old"});
    join.Take(Told(3, L"a", 60, L"old"));
    join.Take(Told(3, L"a", 100, L"mine"));
    EXPECT_THAT(LogOf(picture.steps[0].log), ElementsAre(L"mine"));
    EXPECT_TRUE(picture.logLines.IsEmpty());
}

TEST(LogJoin, TextThatTheLogHasCutIsTheSame)
{
    Picture picture;
    const std::wstring text(5000, L'x');
    picture.steps.Add(CommandStep(1, 3, text.c_str(), 100, 110));
    LogJoin join(picture, 0);
    join.Take(Told(3, text.substr(0, 980).c_str(), 100, L"cut"));
    EXPECT_THAT(LogOf(picture.steps[0].log), ElementsAre(L"cut"));
}
