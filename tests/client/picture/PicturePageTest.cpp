#include "client/picture/PicturePage.h"

#include "client/base/Text.h"
#include "tests/client/PageData.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>

using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

namespace
{
Step CommandStep(const wchar_t* word, const std::wstring& text)
{
    Step step;
    step.number = 1;
    step.word = word;
    step.text = text;
    step.event = 3;
    step.passesBreakpoint = true;
    step.atMs = 1010.5;
    step.endMs = 1012.8456;
    step.elapsedMs = 2.3456;
    step.verdict = Verdict::Succeeded;
    return step;
}

Picture PictureWith(Step step)
{
    Picture picture;
    picture.began = L"2026-11-22 13:31:49";
    picture.beganMs = 1000;
    picture.endMs = 1100;
    picture.steps.Add(std::move(step));
    return picture;
}

Json CommandIn(const std::string& page)
{
    return PageData(page)["steps"][0];
}

size_t CountOf(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// All that a text could do to a page.
const std::wstring c_hostile[] = {
    L"</script><script>alert(1)</script>",
    L"<!--<script>",
    L"]]> & \" ' ` \\ \\u003c/script",
    L"<img src=x onerror=alert(1)>",
    L"</noscript></table></title></style><b>",
    std::wstring(L"a\0b\x01\x1F\x7F\x85", 7),
    L"line\x2028separator\x2029paragraph\r\n\ttab",
    L"\x202Egnitroppus\x2066\xFEFF\xFFFE\xFFFF",
    L"\xD83C\xDF88 balloon",
};
} // namespace

TEST(PicturePage, IsOneWholeDocumentThatAsksForNothingElse)
{
    const std::string page = PageOf(PictureWith(CommandStep(L"get", L"t.Target")));
    EXPECT_THAT(page, StartsWith("<!DOCTYPE html>\n"));
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    EXPECT_EQ("</html>\n", page.substr(page.size() - 8));
    // The name of what is drawn, and a part of the page itself.
    EXPECT_EQ(CountOf(page, "http://www.w3.org/2000/svg"), CountOf(page, "http:"));
    EXPECT_EQ(CountOf(page, "url(#"), CountOf(page, "url("));
    for (const char* foreign : {"https:", "src=", "@import", "<link", "fetch(", "XMLHttpRequest"})
        EXPECT_EQ(0U, CountOf(page, foreign)) << foreign;
    EXPECT_EQ(2U, CountOf(page, "</script>"));
    EXPECT_EQ(1U, CountOf(page, "<style>"));
}

TEST(PicturePage, CommandHasTheMembersOfJson)
{
    Step step = CommandStep(L"invoke", L"t.Raise(2)");
    step.where = L"demo.txt:3";
    step.result = 10;
    step.resultName = L"ActionInvokedOk";
    step.told = R"({"value":{"type":"double","text":"24.5"}})";
    step.deviation = L"out of order";
    step.hint = L"look there";
    step.moments.Add({1011, Moment::Kind::Output, L"raising"});
    step.moments.Add({1011.25, Moment::Kind::PartialOutput, L"part"});
    step.moments.Add({1012, Moment::Kind::Response, L"success"});
    step.moments.Add({1012.1, Moment::Kind::Message, L"idle"});
    step.moments.Add({1012.2, Moment::Kind::Answer, L""});
    step.moments.Add({1013, Moment::Kind::Shown, L"t.Target = 24.5"});
    step.log.Add({1011, L"CHost::Run x"});
    const Json command = CommandIn(PageOf(PictureWith(step)));
    EXPECT_EQ(Json::parse(R"json({
        "number":1, "command":"invoke", "text":"t.Raise(2)", "where":"demo.txt:3", "atMs":10.5, "endMs":12.846,
        "event":"EV_INVOKE", "method":"Invoke", "breakpoint":true, "outcome":"succeeded",
        "result":{"number":10,"name":"ActionInvokedOk"}, "value":{"type":"double","text":"24.5"},
        "elapsedMs":2.346, "deviation":"out of order", "hint":"look there",
        "moments":[[11.0,"output","raising"],[11.25,"partial","part"],[12.0,"response","success"],
                   [12.1,"message","idle"],[12.2,"answer",""],[13.0,"shown","t.Target = 24.5"]],
        "log":[[11.0,"CHost::Run x"]] })json"),
              command);
}

TEST(PicturePage, CommandThatWasGivenUpHasNoOutcomeAndNoTime)
{
    Step step = CommandStep(L"stop", L"");
    step.event = 0;
    step.elapsedMs.reset();
    step.verdict.reset();
    const Json command = CommandIn(PageOf(PictureWith(step)));
    for (const char* none :
         {"outcome", "elapsedMs", "result", "where", "method", "deviation", "hint", "times", "log"})
        EXPECT_FALSE(command.contains(none)) << none;
}

TEST(PicturePage, SeveralRunsHaveTheirTimes)
{
    Step step = CommandStep(L"get", L"x");
    step.runs = Durations({3, 1.00049, 2});
    const Json command = CommandIn(PageOf(PictureWith(step)));
    EXPECT_EQ(Json::parse(R"json({"count":3,"minimumMs":1.0,"medianMs":2.0,"maximumMs":3.0})json"), command["times"]);
    EXPECT_FALSE(command.contains("elapsedMs"));
}

TEST(PicturePage, SessionIsToldWithWhatIsLeftOut)
{
    Picture picture = PictureWith(CommandStep(L"get", L"x"));
    WorkbenchLife life;
    life.workbenchId = 336;
    life.clientId = 0x1a2b;
    life.atMs = 1001;
    life.readyMs = 1009;
    life.readyElapsedMs = 8;
    life.debuggerPort = uint16_t{5555};
    life.endMs = 1099;
    life.exitCode = 1;
    picture.lives.Add(life);
    picture.errors.Add({1050, L"it was lost", 3, {L"look"}});
    picture.evidence = {L"C:\\a b\\c"};
    picture.notes = {L"note"};
    for (int i = 0; i < 2001; ++i)
        picture.logLines.Add({1000, L"line"});
    const Json data = PageData(PageOf(picture));
    EXPECT_EQ(
        Json::parse(R"json({"source":"session","began":"2026-11-22 13:31:49","durationMs":100.0,"resolutionMs":0.001,
        "commands":1,"failed":0,"commandsLeftOut":0,"stepsBeforeGap":1,"errorsLeftOut":0,"errorsBeforeGap":1,
        "livesLeftOut":0,"logLeftOut":1,"logBeforeGap":1000,"logWithoutRoom":0,"notes":["note"],
        "evidence":[{"folder":"C:\\a b\\c"}]})json"),
        data["session"]);
    EXPECT_EQ(Json::parse(R"json([{"workbench":336,"client":"1a2b","attached":false,"atMs":1.0,"readyMs":9.0,
        "readyElapsedMs":8.0,"debuggerPort":5555,"endMs":99.0,"exitCode":1}])json"),
              data["lives"]);
    EXPECT_EQ(Json::parse(R"json([{"atMs":50.0,"message":"it was lost","exitStatus":3,"hints":["look"]}])json"),
              data["errors"]);
    EXPECT_EQ(2000U, data["log"].size());
}

TEST(PicturePage, LogIsNamedAsTheSource)
{
    Picture picture = PictureWith(CommandStep(L"get", L"x"));
    picture.log = L"C:\\x.log";
    const Json session = PageData(PageOf(picture))["session"];
    EXPECT_EQ("log", session["source"]);
    EXPECT_EQ("C:\\x.log", session["file"]);
    EXPECT_EQ(1, session["resolutionMs"]);
}

TEST(PicturePage, GapsOfACommandAreTold)
{
    Step step = CommandStep(L"get", L"x");
    for (int i = 0; i < 500; ++i)
        step.moments.Add({1011, Moment::Kind::Output, L"line"});
    const Json command = CommandIn(PageOf(PictureWith(step)));
    EXPECT_EQ(400U, command["moments"].size());
    EXPECT_EQ(100, command["momentsLeftOut"]);
    EXPECT_EQ(200, command["momentsBeforeGap"]);
}

// Whatever a text is, the page's data holds just that text, and the page nothing that a browser would take for more.
TEST(PicturePage, HostileTextsAreDataWhereverTheyStand)
{
    const std::string plain = PageOf(PictureWith(CommandStep(L"get", L"x")));
    for (const std::wstring& text : c_hostile)
    {
        Step step = CommandStep(L"invoke", text);
        step.where = text;
        step.resultName = text;
        step.deviation = text;
        step.hint = text;
        step.told = Json{{"value", {{"type", "string"}, {"text", ToUtf8(text)}}}}.dump();
        step.moments.Add({1011, Moment::Kind::Output, text});
        step.log.Add({1011, text});
        Picture picture = PictureWith(step);
        picture.errors.Add({1012, text, 3, {text}});
        picture.notes = {text};
        picture.evidence = {text};
        picture.log = text;
        picture.began = text;
        picture.logLines.Add({1000, text});
        const std::string page = PageOf(picture);
        const Json data = PageData(page);
        const std::string expected = ToUtf8(text);
        for (const char* member : {"text", "where", "deviation", "hint"})
            EXPECT_EQ(expected, data["steps"][0][member]);
        EXPECT_EQ(expected, data["steps"][0]["value"]["text"]);
        EXPECT_EQ(expected, data["steps"][0]["moments"][0][2]);
        EXPECT_EQ(expected, data["steps"][0]["log"][0][1]);
        EXPECT_EQ(expected, data["errors"][0]["hints"][0]);
        EXPECT_EQ(expected, data["session"]["evidence"][0]["folder"]);
        EXPECT_EQ(CountOf(plain, "<"), CountOf(page, "<")) << expected;
        EXPECT_EQ(CountOf(plain, "</script>"), CountOf(page, "</script>"));
        for (const char c : page)
            ASSERT_TRUE(c == '\n' || (c >= ' ' && c < '\x7F')) << static_cast<int>(c);
    }
}

TEST(PicturePage, LoneSurrogatesAreReplaced)
{
    const std::string page = PageOf(PictureWith(CommandStep(L"get", L"\xD83C x \xDF88")));
    EXPECT_EQ("\xEF\xBF\xBD x \xEF\xBF\xBD", CommandIn(page)["text"]);
    EXPECT_THAT(page, HasSubstr("get &#65533; x &#65533;<td>"));
}

TEST(PicturePage, WithoutScriptsTheCommandsStandThere)
{
    const std::string page = PageOf(PictureWith(CommandStep(L"invoke", L"<b>\xD83C\xDF88\" & \x01")));
    EXPECT_THAT(page,
                HasSubstr("<tr><td>invoke &#60;b&#62;&#127880;&#34; &#38; &#65533;<td>succeeded<td>2.346</tr>\n"));
    Picture many;
    for (size_t i = 0; i < 300; ++i)
        many.steps.Add(CommandStep(L"get", L"x"));
    EXPECT_EQ(201U, CountOf(PageOf(many), "<tr><t"));
}

TEST(PicturePage, EmptySessionIsAPageToo)
{
    const Json data = PageData(PageOf(Picture()));
    EXPECT_EQ(0, data["session"]["commands"]);
    EXPECT_TRUE(data["steps"].empty());
}
