#include "simulator/Faults.h"
#include "simulator/DeviceOptions.h"

#include <gtest/gtest.h>

#include <functional>

namespace ndisim {
namespace {

// Which of the commands go wrong, and how.
std::string faultsOf(FaultPlan& plan, const std::vector<std::string>& commands) {
    std::string found;
    for (const auto& command : commands) {
        const auto planned = plan.next(command);
        found += (planned ? faultText(planned->fault) : "-") + " ";
    }
    return found;
}

TEST(FaultsTest, RulesAreReadAndMatched) {
    const std::vector<std::string> commands{"INIT:",   "BX:180F", "BX 0801", "PVWR:0A0040FF",
                                            "BX:180F", "CONNECT", "BREAK"};
    const std::pair<std::vector<const char*>, const char*> cases[] = {
        {{"drop@INIT"}, "drop - - - - - - "},
        {{"no-answer@BX"}, "- no-answer no-answer - no-answer - - "},
        {{"late=300@BX#2"}, "- - late=300 - - - - "},
        {{"cut=0@BX#2-3"}, "- - cut=0 - cut=0 - - "},
        {{"flip=7.3@BX#2-"}, "- - flip=7.3 - flip=7.3 - - "},
        {{"flip@PVWR:0A0040"}, "- - - flip - - - "},
        {{"crc@PVWR:0A0080"}, "- - - - - - - "},
        {{"error=0D"}, "error=0D error=0D error=0D error=0D error=0D - error=0D "},
        {{"garbage-after=x0D0A@*#6"}, "- - - - - - garbage-after=x0D0A "},
        {{"reply=a=b:c@BX:"}, "- reply=a=b:c - - reply=a=b:c - - "},
        {{"raw=c4A5@BX "}, "- - raw=C4A5 - - - - "},
        {{"close@CONNECT"}, "- - - - - close - "},
        {{"half-open=50@B"}, "- - - - - - - "},
        {{"unplug@BREAK~1"}, "- - - - - - unplug "},
        {{"unplug~0"}, "- - - - - - - "},
        // The first rule that applies wins, and all of them count.
        {{"drop@BX#1", "crc@BX#1-2"}, "- drop crc - - - - "},
    };
    for (const auto& [rules, expected] : cases) {
        FaultPlan plan;
        for (const char* rule : rules) {
            plan.add(parseFaultRule(rule));
        }
        EXPECT_EQ(faultsOf(plan, commands), expected) << rules[0];
        plan.clear();
        EXPECT_EQ(faultsOf(plan, {"INIT:"}), "- ");
    }
}

TEST(OptionTexts, ThoseThatAreNotUnderstoodAreRefusedInOneLine) {
    const struct {
        std::function<void(std::string_view)> parse;
        std::vector<const char*> texts;
    } cases[] = {
        {parseFaultRule,
         {"",         "nothing",  "late=",  "late=x",   "late=-5",   "cut=99999999999",
          "flip=1.8", "flip=1.",  "drop=1", "error=GG", "error=123", "garbage-before=x0",
          "raw=0",    "raw",      "reply",  "close=2",  "drop@",     "garbage-after=5000",
          "drop#0",   "drop#5-4", "drop#",  "drop~2",   "drop~x",    "drop~"}},
        {parseWiredTool,
         {"", "x", "0", "25", "-1", "1:", "1:nothing", "1:0123456", "1:probe:", "1:probe:a:b",
          "1:probe:aaaaaaaaaaaaaaaaaaaaa"}},
        {parseVolume,
         {"", "cube", "cube:", "cube:1,2,3,4,5", "cube:1,2,3,4,5,6,7", "ball:1,2,3,4,5,6",
          "dome:1,2,3,4,5,x", "dome:1,2,3,4,5,10000", "dome:1,2,3,4,5,nan", "dome:1,2,3,4,5,"}},
        {parseToolState,
         {"", "1", "0:missing", "x:missing", "1:gone", "1:missing:", "1:missing:5", "1:missing:9-5",
          "1:missing:1-2/x", "1:missing:1-2:3"}},
        {parseLinkSettings, {"", "8", "9", "52", "503", "5000x", "500010"}},
    };
    for (const auto& [parse, texts] : cases) {
        for (const char* text : texts) {
            try {
                parse(text);
                ADD_FAILURE() << "accepted: " << text;
            } catch (const std::invalid_argument& error) {
                EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << text;
            }
        }
    }
    EXPECT_EQ(parseLinkSettings("A1211"), (LinkSettings{'A', '1', '2', '1', '1'}));
    EXPECT_EQ(parseLinkSettings("5"), (LinkSettings{'5', '0', '0', '0', '0'}));
}

} // namespace
} // namespace ndisim
