#include "simulator/Encoding.h"
#include "simulator/Crc.h"
#include "simulator/Texts.h"

#include <gtest/gtest.h>

namespace ndisim {
namespace {

// One handle of every status, numbers that are easy to recognise in the bytes.
Measurement sample() {
    Measurement measurement;
    measurement.frame = 0x01020304;
    measurement.systemStatus = 0x8001;
    const ToolStatus statuses[] = {ToolStatus::Valid, ToolStatus::Missing, ToolStatus::Disabled,
                                   ToolStatus::Unoccupied};
    const unsigned portStatuses[] = {0x31, 0x71, 0x11, 0};
    measurement.tools.resize(4);
    for (std::size_t i = 0; i < 4; ++i) {
        auto& tool = measurement.tools[i];
        tool.handle = 0x0A + static_cast<int>(i);
        tool.frame = measurement.frame;
        tool.status = statuses[i];
        tool.portStatus = portStatuses[i];
    }
    auto& seen = measurement.tools[0];
    seen.pose = {{1, 0, 0, 0}, {1, -2, 0.5}, 0.25};
    seen.markers = {{2, 0, 0}, {4, 0, 0}, {8, 0, 0}};
    seen.singleStray = Position{8, 16, 32};
    measurement.strays.assign(9, {1, -1, 64});
    return measurement;
}

// All parts of a reply, in their order; nine stray markers need two bytes of bits.
TEST(EncodingTest, BinaryReplyByteForByte) {
    std::string expected =
        "C4A5 F500 6A43 04 0A01 0000803F 00000000 00000000 00000000 0000803F 000000C0 0000003F"
        "0000803E 31000000 04030201 00 33030000000000000000 01 00000041 00008041 00000042"
        "03 00 00000040 00000000 00000000 00008040 00000000 00000000 00000041 00000000 00000000"
        "0B02 71000000 04030201 00 00000000000000000000 00 00 0C04 0D04 09 1000";
    for (int i = 0; i < 9; ++i) {
        expected += "0000803F 000080BF 00008042";
    }
    std::erase(expected, ' ');
    const std::string reply = encodeBx(sample(), 0x180F);
    EXPECT_EQ(hexBytes(reply.substr(0, reply.size() - 2)), expected + "0180");
    EXPECT_EQ(crc16(reply.substr(0, 6)) + crc16(reply.substr(6)), 0);
    EXPECT_EQ(hexBytes(encodeBx(Measurement{}, 0)), "C4A503002DE30000000000");
}

TEST(EncodingTest, TextRepliesCharacterForCharacter) {
    Measurement measurement = sample();
    measurement.strays.resize(2);
    const std::string pose = "+10000+00000+00000+00000+000100-000200+000050+02500";
    const std::string strays = "+000100-000100+006400+000100-000100+006400";
    EXPECT_EQ(encodeTx(measurement, 0x1007),
              "040A" + pose +
                  "0000003101020304003330000000+000800+001600+003200\n"
                  "0BMISSING0000007101020304000000000000MISSING\n"
                  "0CDISABLED0000001101020304000000000000DISABLED\n0DUNOCCUPIED\n020" +
                  strays + "8001");
    EXPECT_EQ(encodeTx(Measurement{}, 0x1005), "00000000");
    EXPECT_EQ(poseText({{0.99996, -0.00004, -1, 0.5}, {-0.126, 0, 12345.678}, 12}),
              "+10000+00000-10000+05000-000013+000000+999999+99999");

    const std::string group = pose + "\nMISSING\nDISABLED\n00117131\n";
    const std::string empty = "UNOCCUPIED\nUNOCCUPIED\nUNOCCUPIED\n00000000\n";
    const std::tuple<unsigned, bool, std::string> groups[] = {
        {0x0001, true, group},
        {0x0006, true,
         "003330000000\n000000000000\n000000000000\n"
         "+000800+001600+003200\nMISSING\nDISABLED\n"},
        {0x8008, true, "01020304\n01020304\n01020304\n00000000\n00000000\n00000000\n"},
        {0x9000, true, "002" + strays},
        {0x8000, true, empty},
        {0x8000, false, group},
        {0xA001, false, empty + group + empty + empty},
    };
    for (const auto& [options, wired, text] : groups) {
        EXPECT_EQ(encodeGx(measurement, options, wired), text) << std::hex << options;
    }
}

} // namespace
} // namespace ndisim
