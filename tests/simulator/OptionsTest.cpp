#include "simulator/DeviceOptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace ndisim {
namespace {

TEST(OptionsTest, TextsThatAreNotUnderstood) {
    struct Case {
        std::function<void(std::string_view)> parse;
        std::vector<const char*> texts;
    };
    const Case cases[] = {
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
    for (const auto& c : cases) {
        for (const char* text : c.texts) {
            EXPECT_THROW(c.parse(text), std::invalid_argument) << "'" << text << "'";
        }
    }
}

TEST(OptionsTest, OptionsOutOfRange) {
    const std::function<void(DeviceOptions&)> spoilers[] = {
        [](auto& o) { o.rateHz = 250.5; },
        [](auto& o) { o.rateHz = -1; },
        [](auto& o) { o.strays = 256; },
        [](auto& o) { o.markersPerTool = 21; },
        [](auto& o) { o.maxHandles = 0; },
        [](auto& o) { o.maxHandles = 201; },
        [](auto& o) { o.volumes.resize(10); },
        [](auto& o) { o.tools.resize(1); },
        [](auto& o) { o.family = Family::Aurora, o.strays = 1; },
        [](auto& o) {
            o.family = Family::Aurora, o.tools = {{}, {}};
        },
    };
    DeviceOptions fine;
    EXPECT_NO_THROW(checkOptions(fine));
    int index = 0;
    for (const auto& spoil : spoilers) {
        DeviceOptions options;
        spoil(options);
        EXPECT_THROW(checkOptions(options), std::invalid_argument) << index;
        ++index;
    }
}

TEST(OptionsTest, LinkSettings) {
    const LinkSettings link = parseLinkSettings("A1211");
    EXPECT_EQ(hostBaud(link.rateCode), 230400);
    EXPECT_EQ(link.parity, '2');
    EXPECT_EQ(link.handshake, '1');
    EXPECT_EQ(parseLinkSettings("5"), (LinkSettings{.rateCode = '5'}));
    EXPECT_EQ(hostBaud('7'), 19200) << "hosts have no 1228739 baud";
}

} // namespace
} // namespace ndisim
