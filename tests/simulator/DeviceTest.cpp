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

TEST(DeviceTest, ErrorsOfHandles) {
    DeviceOptions options = optionsOf(Family::Vicra);
    options.maxHandles = 2;
    DeviceHarness vicra(options);
    vicra.run("INIT: OKAY; PINIT:0A ERROR2B; PINIT:0C ERROR08; PINIT:FFFFFFFF ERROR08;"
              "PHINF:FFFFFFFF0025 ERROR08; PVWR:FFFFFFFF0000 ERROR08; PINIT:xy ERROR08;"
              "PINIT: ERROR07; PHRQ:*********1**** 0A; PHRQ:*********1**** 0B;"
              "PHRQ:*********1**** ERROR2D; PHRQ:*********101** ERROR2D;"
              "PHRQ:*********0**** ERROR2E; PHRQ:*********1*** ERROR07;"
              "PINIT:0A ERROR0D; PINIT:0A0 ERROR07");
    const std::string zeros(64, '\0');
    EXPECT_EQ(vicra.ask(DeviceHarness::imageBlock(0x0A, 0x400, zeros)), "ERROR23");
    EXPECT_EQ(vicra.ask(DeviceHarness::imageBlock(0x0A, 0x20, zeros)), "ERROR23");
    EXPECT_EQ(vicra.ask(DeviceHarness::imageBlock(0x0A, 0, zeros.substr(1))), "ERROR07");
    EXPECT_EQ(vicra.ask("PVWR:0A0000" + std::string(128, 'G')), "ERROR23");
    EXPECT_EQ(vicra.upload(0x0A, "1"), "OKAY");
    vicra.run("PENA:0AD ERROR0E; PINIT:0A OKAY; PENA:0AX ERROR09; PENA:0A ERROR07;"
              "PDIS:0A ERROR0F; PHSR:05 ERROR23; PHF:0A OKAY; PHF:0A ERROR2B;"
              "PHRQ:*********1**** 0A");
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
