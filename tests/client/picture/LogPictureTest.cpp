#include "client/picture/LogPicture.h"

#include "tests/client/ClientFailure.h"
#include "tests/support/worlds/Files.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{
const std::string c_begin = "1000 CHost::CHost Executing CorBindToRuntimeEx\n1010 CHost::CHost Loaded Runtime\n"
                            "1010 wmain  arg 2 = 1a2b\n1020 CHost::Run Sleeping\n\n1020 CWBEvent::Wait Waiting\n\n";
const std::string c_load = "1100 CWBEvent::Wait Event is EV_LOAD\n1100 CHost::Run Command is Load: x\n"
                           "1150 CHost::Run command succeeded, result = ActionAssemblyNotFound\n"
                           "1150 CHost::Run Sleeping\n\n1150 CWBEvent::Wait Waiting\n\n";
const std::string c_stop = "1200 CWBEvent::Wait Event is EV_STOP\n1200 CHost::Run Stopping\n\n"
                           "1201 CHost::Run WorkBench Exiting\n";

Picture PictureOf(const std::string& log, bool protocolView = false)
{
    const TemporaryFile file(log, L"a.log");
    return PictureOfLog(file.Path(), protocolView);
}

std::vector<std::wstring> ErrorsOf(const Picture& picture)
{
    std::vector<std::wstring> errors;
    picture.errors.ForEach([&](const PictureError& error) { errors.push_back(error.message); });
    return errors;
}
} // namespace

TEST(LogPicture, HasTheCommandsOfTheLog)
{
    const TemporaryFile file(c_begin + c_load + c_stop, L"a.log");
    const Picture picture = PictureOfLog(file.Path(), false);
    EXPECT_EQ(file.Path(), picture.log);
    EXPECT_EQ(19U, picture.began.size());
    EXPECT_EQ(1000, picture.beganMs);
    EXPECT_EQ(1201, picture.endMs);
    ASSERT_EQ(2U, picture.steps.Count());
    EXPECT_EQ(1U, picture.steps[0].number);
    EXPECT_EQ(Verdict::NotFound, picture.steps[0].verdict);
    EXPECT_EQ(50, picture.steps[0].elapsedMs);
    EXPECT_EQ(L"stop", picture.steps[1].word);
    EXPECT_EQ(2U, picture.steps[1].number);
    EXPECT_THAT(ErrorsOf(picture), IsEmpty());
    EXPECT_THAT(picture.notes, IsEmpty());
    picture.lives.ForEach([](const WorkbenchLife& life) {
        EXPECT_EQ(0x1a2bU, life.clientId);
        EXPECT_EQ(20, life.readyElapsedMs);
        EXPECT_EQ(1201, life.endMs);
    });
    EXPECT_EQ(Verdict::Succeeded, PictureOf(c_begin + c_load, true).steps[0].verdict);
}

TEST(LogPicture, EndThatIsMissingIsSaid)
{
    const Picture picture = PictureOf(c_begin + c_load);
    EXPECT_THAT(ErrorsOf(picture), IsEmpty());
    EXPECT_THAT(picture.notes, ElementsAre(HasSubstr(L"does not tell of the workbench's end")));
}

TEST(LogPicture, CommandWithoutAnEndIsSaid)
{
    const Picture picture = PictureOf(c_begin + c_load.substr(0, c_load.find("1150")));
    EXPECT_THAT(ErrorsOf(picture), ElementsAre(HasSubstr(L"the log ends in a command")));
    EXPECT_EQ(1U, picture.steps.FailedCount());
}

TEST(LogPicture, BeginningThatIsMissingIsSaid)
{
    const Picture picture = PictureOf(c_load + c_stop);
    EXPECT_THAT(picture.notes, ElementsAre(L"The log's beginning is missing."));
    EXPECT_EQ(1100, picture.beganMs);
}

TEST(LogPicture, SeveralRunsAreSaid)
{
    const Picture picture = PictureOf(c_begin + c_load + c_stop + c_begin + c_load + c_stop);
    EXPECT_THAT(picture.notes, ElementsAre(L"The log holds more than one run of a workbench."));
    EXPECT_EQ(4U, picture.steps.Count());
}

TEST(LogPicture, WhatWentWrongIsSaid)
{
    EXPECT_THAT(ErrorsOf(PictureOf("1 CHost::CHost Executing x\n1 CHost::CHost Failed to Loaded Runtime\n"
                                   "2 CHost::Run WorkBench Exiting\n")),
                ElementsAre(L"the managed runtime could not be loaded"));
    EXPECT_THAT(ErrorsOf(PictureOf(c_begin + c_load.substr(0, c_load.find("1150")) +
                                   "1160 CHost::Run WorkBench Exception in main loop\n"
                                   "1160 CHost::Run WorkBench Exiting\n")),
                ElementsAre(L"an exception reached the workbench's main loop and ended it"));
}

TEST(LogPicture, WhatIsNoLogIsRefused)
{
    for (const char* text : {"", "hello\n", "<html></html>", "1 2 3\n"})
    {
        const TemporaryFile file(text, L"no.log");
        const auto [message, status] = ClientFailureOf([&] { PictureOfLog(file.Path(), false); });
        EXPECT_EQ(std::wstring(file.Path()) + L" is no trace log of a workbench", message) << text;
        EXPECT_EQ(2, status);
    }
}

TEST(LogPicture, FileThatCannotBeReadIsTold)
{
    const TemporaryFolder folder;
    const auto [message, status] = ClientFailureOf([&] { PictureOfLog(folder.PathOf(L"none.log"), false); });
    EXPECT_THAT(message, HasSubstr(L"none.log cannot be read: "));
    EXPECT_EQ(2, status);
    EXPECT_EQ(2, ClientFailureOf([&] { PictureOfLog(folder.Path(), false); }).second);
}

TEST(LogPicture, GreatLogIsBounded)
{
    std::string log = c_begin;
    for (int i = 0; i < 13000; ++i)
        log += c_load;
    const Picture picture = PictureOf(log);
    EXPECT_EQ(13000U, picture.steps.CommandCount());
    EXPECT_EQ(12000U, picture.steps.Count());
    EXPECT_EQ(1000U, picture.steps.LeftOut());
    EXPECT_EQ(13000U, picture.steps[11999].number);
}
