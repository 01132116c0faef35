#include "simulator/DeviceOptions.h"
#include "simulator/Faults.h"

#include <gtest/gtest.h>

#include <functional>

namespace ndisim {
namespace {

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
