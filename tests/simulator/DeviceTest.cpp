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

// A tool is there when every block has arrived, in whatever order, since the last first block.
TEST(DeviceTest, ImagesAreCompleteOrNotThere) {
    DeviceHarness vega(Family::Vega);
    vega.run("INIT: OKAY; PHRQ:*********1**** 0A");
    const std::string block(64, '7');
    for (const std::size_t offset : {0U, 0x3C0U, 0x40U}) {
        EXPECT_EQ(vega.ask(DeviceHarness::imageBlock(0x0A, offset, block)), "OKAY");
    }
    vega.run("PINIT:0A ERROR0D");
    EXPECT_EQ(vega.upload(0x0A, "first"), "OKAY");
    vega.run("PINIT:0A OKAY");
    EXPECT_EQ(vega.ask(DeviceHarness::imageBlock(0x0A, 0, block)), "OKAY");
    vega.run("PHINF:0A0004 UNOCCUPIED");
    EXPECT_EQ(vega.upload(0x0A, "a\rpart number longer than twenty"), "OKAY");
    vega.run("PHINF:0A0004 a part number longer");
    // INIT ends the handles; they must be freed before their numbers come again.
    vega.run("PHRQ:*********1**** 0B; INIT: OKAY; PHSR:01 020A0000B000; PINIT:0A ERROR2C;"
             "PHINF:0A0001 UNOCCUPIED; PHF:0A OKAY; PHSR:01 010B000;"
             "PHRQ:*********1**** 0A; PHRQ:*********1**** 0C");
}

TEST(DeviceTest, AuroraToolsReportThemselves) {
    DeviceOptions options = optionsOf(Family::Aurora);
    for (const char* tool :
         {"1", "2:stylus", "4:wire:36C3-7", "5:blank", "6:empty", "12:0A21BEEF:N"}) {
        options.tools.push_back(parseWiredTool(tool));
    }
    DeviceHarness aurora(options);
    aurora.run(
        "INIT: OKAY; PHSR:00 060A0010B0010D0010E0010F00015001;"
        "PHSR:02 050A0010B0010D0010E00115001; PHINF:0A0020 00000000000100;"
        "PHINF:150020 00000000001200;"
        "PHINF:0A0025 02000000MORVALIN SIM0013A00000A01SIM-PROBE-01        00000000000100;"
        "PHINF:0B0005 02100000MORVALIN SIM0013A00000B01SIM-3AAA-02         ;"
        "PHINF:0D0004 36C3-7              ;"
        "PHINF:0E0005 00000000            0000000000001                    ;"
        "PHINF:0F0025 UNOCCUPIED; PHINF:150005 0A21BEEFMORVALIN SIM0013A00001501N                  "
        " ;"
        "PHINF:0A005A 00000000000000; PHRQ:*********1**** ERROR2E; PHRQ:*********003** ERROR2E;"
        "PHRQ:*********001** ERROR2F; PHF:0A OKAY; PHRQ:*********001** 0A; PINIT:0B OKAY;"
        "PENA:0BD OKAY; IRCHK:0001 ERROR01;"
        "PSTAT:0004 SIM-PROBE-01        \nSIM-3AAA-02         \nUNOCCUPIED\n; PHSR:04 010B031");
    // Tools are plugged in and pulled out while it runs.
    aurora.device.plugTool(parseWiredTool("3:reference"));
    aurora.run("PINIT:0C OKAY; PENA:0CD OKAY");
    aurora.device.unplugTool(3);
    aurora.run("PHF:0B OKAY; PENA:0CD ERROR2C; TSTART: OKAY; TX:0001 010CUNOCCUPIED\n0000");
    DeviceHarness vega(Family::Vega);
    EXPECT_THROW(vega.device.plugTool(parseWiredTool("1")), std::invalid_argument);
}

TEST(DeviceTest, SystemQueriesAndLinkSettings) {
    DeviceOptions options = optionsOf(Family::Vicra);
    options.hasInfrared = true;
    options.volumes = {parseVolume("cube:-1.5,2,3,4,5,9999.99"), parseVolume("dome:0,0,0,0,0,-12")};
    DeviceHarness vicra(options);
    const std::string zeros = "+000000+000000+000000+000000011";
    vicra.run("INIT: OKAY; SFLIST:03 29-000150+000200+000300+000400+000500+999999" + zeros +
              "5+000000+000000+000000+000000+000000-001200" + zeros +
              "; SFLIST:05 ERROR23; VSEL:0 ERROR23; VSEL:3 ERROR23; VSEL: ERROR23;"
              "SSTAT:0007 000000; SSTAT:0002 00; IRCHK:0001 1; IRCHK:0003 1+01+12-05+01+12-05;"
              "IRCHK:00 ERROR07; PSTAT:8001 UNOCCUPIED\nUNOCCUPIED\nUNOCCUPIED\nUNOCCUPIED\n"
              "UNOCCUPIED\nUNOCCUPIED\n; GETINFO:Nothing ERROR23; BEEP:0 ERROR23;"
              "GETINFO:Features.Firmware.Version Features.Firmware.Version=005.001;"
              "COMM:80001 ERROR23; COMM:50301 ERROR23; COMM:5000 ERROR07; COMM:A0000 OKAY");
    EXPECT_EQ(hostBaud(vicra.device.link().rateCode), 230400);
    const Outcome reset = vicra.device.resetLink();
    EXPECT_EQ(reset.bytes, "RESETBE6F\r");
    EXPECT_EQ(*reset.link, LinkSettings{});
    vicra.run("PHSR:00 ERROR10; RESET: RESET");
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
