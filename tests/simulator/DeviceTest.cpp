#include "tests/simulator/DeviceHarness.h"

#include <random>

namespace ndisim {
namespace {

TEST(DeviceTest, CommandsWithAndWithoutCrc) {
    DeviceHarness vega(Family::Vega);
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
        EXPECT_EQ(checkedText(vega.device.execute(command).bytes), reply) << command;
    }
}

// Every command in every state that does not allow it.
TEST(DeviceTest, CommandsAreRefusedInTheWrongState) {
    const char* const afterInit[] = {"SFLIST:03", "SSTAT:0007", "PHSR:00", "PSTAT:0001"};
    const char* const setUpOnly[] = {
        "VSEL:1",  "PHRQ:*********1****", "PHF:0A", "PINIT:0A", "PENA:0AD",
        "PDIS:0A", "IRCHK:0001",          "TSTART:"};
    const char* const trackingOnly[] = {"TSTOP:", "BX:0001", "TX:0001", "GX:0001"};
    DeviceHarness vicra(Family::Vicra);
    const auto expectAll = [&](const auto& commands, const char* reply) {
        for (const char* command : commands) {
            EXPECT_EQ(vicra.ask(command), reply) << command;
        }
    };
    expectAll(afterInit, "ERROR10");
    expectAll(setUpOnly, "ERROR10");
    expectAll(trackingOnly, "ERROR10");
    vicra.run("INIT: OKAY");
    expectAll(trackingOnly, "ERROR0C");
    vicra.run("TSTART: OKAY");
    expectAll(setUpOnly, "ERROR0C");
    for (const char* command : afterInit) {
        EXPECT_FALSE(vicra.ask(command).starts_with("ERROR")) << command;
    }
    vicra.run("INIT: OKAY; TSTOP: ERROR0C");
}

// Whatever a host sends, the answer is one well-formed reply.
TEST(DeviceTest, AnyCommandGetsAGoodReply) {
    std::vector<std::string> commands =
        split("INIT:;COMM:50001;PHRQ:*********1****;PHF:0A;PINIT:0A;PENA:0AD;PDIS:0A;PHSR:00;"
              "PHINF:0A007F;PSTAT:A01F;SFLIST:03;VSEL:1;TSTART:80;BX:180F;TX:1807;GX:B00F;"
              "TSTOP:;SSTAT:0007",
              ';');
    commands.push_back(DeviceHarness::imageBlock(0x0A, 0, std::string(64, '1')));
    DeviceOptions options = optionsOf(Family::Vega);
    options.strays = 255;
    DeviceHarness vega(options);
    std::minstd_rand random(7);
    for (int i = 0; i < 20000; ++i) {
        std::string command = commands[random() % commands.size()];
        if (random() % 2 == 0) {
            command[random() % command.size()] = static_cast<char>(random() % 256);
            command.resize(command.size() - random() % 2);
        }
        const std::string reply = vega.device.execute(command + crcText(crc16(command))).bytes;
        const bool isBinary = reply.starts_with("\xC4\xA5");
        ASSERT_TRUE(isBinary ? crc16(reply) == 0 : !checkedText(reply).starts_with("<bad"))
            << command;
    }
}

} // namespace
} // namespace ndisim
