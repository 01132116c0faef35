#include "simulator/Device.h"
#include "simulator/Texts.h"

#include <gtest/gtest.h>

namespace ndisim {
namespace {

/// The content of a text reply whose checksum is right; else a text that no test expects.
std::string replyTo(Device& device, std::string_view command) {
    const std::string reply = device.execute(command).bytes;
    const std::string text = reply.substr(0, reply.size() - std::min<std::size_t>(5, reply.size()));
    return withCrc(text) == reply ? text : "<bad reply: " + reply + ">";
}

TEST(DeviceTest, CommandsWithAndWithoutCrc) {
    Device vega(DeviceOptions{});
    const std::pair<std::string, const char*> cases[] = {
        {"INIT:E3A5", "OKAY"},   {"INIT:e3a5", "OKAY"},
        {"INIT", "OKAY"},        {"INIT ", "OKAY"},
        {"VSEL 1", "OKAY"},      {"INIT:E3A6", "ERROR04"},
        {"INIT:E3A", "ERROR03"}, {"INIT:", "ERROR03"},
        {"", "ERROR03"},         {"INIT:E3A5 ", "ERROR04"},
        {"NOSUCH", "ERROR01"},   {"init", "ERROR01"},
        {"IN\xFFIT", "ERROR01"}, {"GETLOG", "ERROR01"},
        {{"\0", 1}, "ERROR01"},  {std::string(1025, 'A'), "ERROR02"},
    };
    for (const auto& [command, reply] : cases) {
        EXPECT_EQ(replyTo(vega, command), reply) << command;
    }
}

// Every command in every state that does not allow it.
TEST(DeviceTest, CommandsAreRefusedInTheWrongState) {
    const char* const afterInit[] = {"SFLIST 03", "SSTAT 0007", "PHSR 00", "PSTAT 0001"};
    const char* const setUpOnly[] = {
        "VSEL 1",  "PHRQ *********1****", "PHF 0A", "PINIT 0A", "PENA 0AD",
        "PDIS 0A", "IRCHK 0001",          "TSTART"};
    const char* const trackingOnly[] = {"TSTOP", "BX 0001", "TX 0001", "GX 0001"};
    Device vega(DeviceOptions{});
    const auto expectAll = [&](const auto& commands, const std::string& reply) {
        for (const char* command : commands) {
            EXPECT_EQ(replyTo(vega, command).substr(0, reply.size()), reply) << command;
        }
    };
    expectAll(afterInit, "ERROR10");
    expectAll(setUpOnly, "ERROR10");
    expectAll(trackingOnly, "ERROR10");
    expectAll(std::array{"INIT"}, "OKAY");
    expectAll(trackingOnly, "ERROR0C");
    expectAll(std::array{"TSTART"}, "OKAY");
    expectAll(setUpOnly, "ERROR0C");
    for (const char* command : afterInit) {
        EXPECT_FALSE(replyTo(vega, command).starts_with("ERROR")) << command;
    }
    expectAll(std::array{"INIT"}, "OKAY");
    expectAll(std::array{"TSTOP"}, "ERROR0C");
}

} // namespace
} // namespace ndisim
