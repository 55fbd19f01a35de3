#include "client/results/RecordLines.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
std::vector<std::wstring> Told(const char* json)
{
    CommandRecord record;
    record.json = json;
    return LinesOf(record);
}
} // namespace

TEST(RecordLines, AreThoseThatADispatcherPrints)
{
    EXPECT_THAT(Told(R"({"result":5,"value":{"type":"string","text":"\"\u00e9\"","string":"\u00e9"}})"),
                ElementsAre(L"=> string \"\x00E9\""));
    EXPECT_THAT(Told(R"({"result":8,"made":"t","value":{"type":"A.B","text":null}})"), ElementsAre(L"t = A.B"));
    EXPECT_THAT(Told(R"({"result":5,"value":{"type":null,"text":"null"}})"), ElementsAre(L"=> null"));
    EXPECT_THAT(
        Told(
            R"({"result":10,"references":[{"name":"d","type":"int","text":"1"}],"value":{"type":"int","text":"2"}})"),
        ElementsAre(L"d = int 1", L"=> int 2"));
    EXPECT_THAT(Told(R"({"result":6,"assembly":{"name":"A","file":"C:\\a.dll"}})"), ElementsAre(L"A from C:\\a.dll"));
    EXPECT_THAT(Told(R"({"result":10})"), IsEmpty());
}

TEST(RecordLines, TellWhyThereIsNoValue)
{
    EXPECT_THAT(Told(R"({"result":4,"error":{"message":"why","column":3}})"), ElementsAre(L"error at column 3: why"));
    EXPECT_THAT(Told(R"({"result":4,"error":{"message":"why"}})"), ElementsAre(L"error: why"));
    EXPECT_THAT(
        Told(
            R"({"result":13,"exception":{"type":"E","message":"m","frames":["at f"],"causes":[{"type":"C","message":null,"frames":[],"causes":[{"type":"D","message":"d","frames":[]}]},{"type":"F","message":"f","frames":[]}]}})"),
        ElementsAre(L"exception E: m", L"    at f", L"  caused by C", L"  caused by D: d", L"  caused by F: f"));
}

TEST(RecordLines, ListWhatWasAskedFor)
{
    EXPECT_THAT(Told(R"({"result":10,"list":[{"kind":"enum","name":"A.M","assembly":"A"},)"
                     R"j({"kind":"method","name":"F","signature":"void F()","from":"A.B"},)j"
                     R"({"name":"t","type":"int","text":"5"},{"path":"t.X","name":"X","type":"A.B","text":null},)"
                     R"({"path":"t.Y","name":"Y","raised":"why"},{"text":"get t"}]})"),
                ElementsAre(L"  enum A.M", L"  void F()  // A.B", L"  t = int 5", L"  t.X = A.B", L"  t.Y (why)",
                            L"  get t"));
}

TEST(RecordLines, AreNoneOfWhatIsNoRecord)
{
    for (const char* text : {"", "{", "[]", "5", R"({"exception":"x"})", R"({"list":5,"references":5})",
                             R"({"exception":{"frames":5,"causes":[5]}})"})
        EXPECT_NO_THROW(Told(text)) << text;
    EXPECT_THAT(Told(R"({"exception":"x"})"), IsEmpty());
}
