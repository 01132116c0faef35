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
    measurement.tools.resize(4);
    for (std::size_t i = 0; i < 4; ++i) {
        auto& tool = measurement.tools[i];
        tool.handle = 0x0A + static_cast<int>(i);
        tool.frame = measurement.frame;
    }
    auto& seen = measurement.tools[0];
    seen.portStatus = 0x31;
    seen.pose = {{1, 0, 0, 0}, {1, -2, 0.5}, 0.25};
    seen.markers = {{2, 0, 0}, {4, 0, 0}, {8, 0, 0}};
    seen.singleStray = Position{8, 16, 32};
    measurement.tools[1].status = ToolStatus::Missing;
    measurement.tools[1].portStatus = 0x71;
    measurement.tools[2].status = ToolStatus::Disabled;
    measurement.tools[2].portStatus = 0x11;
    measurement.tools[3].status = ToolStatus::Unoccupied;
    for (int k = 0; k < 6; ++k) {
        measurement.strays.push_back({1.0 * k, 1.0 * (-k), 64});
    }
    return measurement;
}

TEST(CrcTest, KnownValues) {
    const std::pair<const char*, unsigned> cases[] = {
        {"INIT:", 0xE3A5}, {"OKAY", 0xA896}, {"RESET", 0xBE6F},
        {"VER:0", 0x65EE}, {"", 0},          {"GETINFO:Features.Firmware.Version", 0x0492},
    };
    for (const auto& [text, crc] : cases) {
        EXPECT_EQ(crc16(text), crc) << text;
    }
    EXPECT_EQ(withCrc("OKAY"), "OKAYA896\r");
    EXPECT_EQ(withCrc("GETINFO:Features.Firmware.Version"),
              "GETINFO:Features.Firmware.Version0492\r");
}

struct BinaryCase {
    unsigned options;
    const char* bytes; // pairs of hexadecimal digits, blanks aside
};

TEST(EncodingTest, BinaryRepliesByteForByte) {
    const BinaryCase cases[] = {
        {0x0001, "C4A5 3B00 3E23 04"
                 "0A01 0000803F 00000000 00000000 00000000 0000803F 000000C0 0000003F 0000803E"
                 "31000000 04030201 0B02 71000000 04030201 0C04 0D04 0180 1F85"},
        {0x0002, "C4A5 2100 3543 04 0A01 00 33030000000000000000"
                 "0B02 00 00000000000000000000 0C04 0D04 0180 D653"},
        {0x0004, "C4A5 1900 2683 04 0A01 01 00000041 00008041 00000042"
                 "0B02 00 0C04 0D04 0180 705A"},
        {0x0008, "C4A5 3200 3873 04 0A01 03 00 00000040 00000000 00000000"
                 "00008040 00000000 00000000 00000041 00000000 00000000"
                 "0B02 00 0C04 0D04 0180 69FA"},
        {0x1000, "C4A5 5500 1243 04 0A01 0B02 0C04 0D04 06 10"
                 "00000000 00000000 00008042 0000803F 000080BF 00008042"
                 "00000040 000000C0 00008042 00004040 000040C0 00008042"
                 "00008040 000080C0 00008042 0000A040 0000A0C0 00008042 0180 64E1"},
    };
    for (const auto& c : cases) {
        std::string expected = c.bytes;
        std::erase(expected, ' ');
        EXPECT_EQ(hexBytes(encodeBx(sample(), c.options)), expected) << std::hex << c.options;
    }
    EXPECT_EQ(hexBytes(encodeBx(Measurement{}, 0)), "C4A503002DE30000000000");
}

// All parts together: their order in a handle's section, and counts that need more than a byte of
// bits.
TEST(EncodingTest, BinaryPartsAreJoinedInOrder) {
    Measurement measurement = sample();
    measurement.strays.assign(255, {1, 2, 3});
    measurement.tools[0].markers.assign(20, {1, 2, 3});
    const std::string reply = encodeBx(measurement, 0x180F);
    const std::size_t seen = 2 + 40 + 11 + 13 + (1 + 3 + 20 * 12);
    const std::size_t missing = 2 + 8 + 11 + 1 + 1;
    const std::size_t body = 1 + seen + missing + 2 + 2 + (1 + 32 + 255 * 12) + 2;
    ASSERT_EQ(reply.size(), 6 + body + 2);
    EXPECT_EQ(hexBytes(reply.substr(6 + 1 + 2 + 40 + 11, 1)), "01");      // single stray
    EXPECT_EQ(hexBytes(reply.substr(6 + 1 + 2 + 40 + 11 + 13, 1)), "14"); // markers
    EXPECT_EQ(hexBytes(reply.substr(6 + 1 + seen, 2)), "0B02");
    EXPECT_EQ(hexBytes(reply.substr(6 + 1 + seen + missing + 4, 2)), "FF10"); // strays 4, 9, …
    EXPECT_EQ(crc16(reply.substr(0, 6)), 0);
    EXPECT_EQ(crc16(reply.substr(6)), 0);
}

struct TextCase {
    unsigned options;
    std::string text;
};

TEST(EncodingTest, TextRepliesCharacterForCharacter) {
    const std::string pose = "+10000+00000+00000+00000+000100-000200+000050+02500";
    const TextCase cases[] = {
        {0x0001, "040A" + pose +
                     "0000003101020304\n"
                     "0BMISSING0000007101020304\n0CDISABLED0000001101020304\n0DUNOCCUPIED\n8001"},
        {0x0002, "040A003330000000\n0B000000000000\n0C000000000000\n0DUNOCCUPIED\n8001"},
        {0x0004, "040A+000800+001600+003200\n0BMISSING\n0CDISABLED\n0DUNOCCUPIED\n8001"},
        {0x1000, "040A\n0B\n0C\n0DUNOCCUPIED\n0601+000000+000000+006400+000100-000100+006400"
                 "+000200-000200+006400+000300-000300+006400+000400-000400+006400"
                 "+000500-000500+0064008001"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(encodeTx(sample(), c.options), c.text) << std::hex << c.options;
    }
    EXPECT_EQ(encodeTx(Measurement{}, 0x1005), "00000000");
}

TEST(EncodingTest, TextNumbersKeepTheirWidth) {
    EXPECT_EQ(positionText({12345.678, -0.004, -99999}), "+999999+000000-999999");
    EXPECT_EQ(poseText({{0.99996, -0.00004, -1, 0.5}, {-0.126, 0, 1}, 12}),
              "+10000+00000-10000+05000-000013+000000+000100+99999");
}

TEST(EncodingTest, GroupRepliesListFixedPorts) {
    Measurement measurement = sample();
    measurement.strays.resize(2);
    const std::string pose = "+10000+00000+00000+00000+000100-000200+000050+02500";
    const std::string empty = "UNOCCUPIED\nUNOCCUPIED\nUNOCCUPIED\n00000000\n";
    const std::string frames = "01020304\n01020304\n01020304\n";
    const TextCase wired[] = {
        {0x0001, pose + "\nMISSING\nDISABLED\n00117131\n"},
        {0x0006, "003330000000\n000000000000\n000000000000\n"
                 "+000800+001600+003200\nMISSING\nDISABLED\n"},
        {0x8008, frames + "00000000\n00000000\n00000000\n"},
        {0x9000, "002+000000+000000+006400+000100-000100+006400"},
        {0x8000, empty},
    };
    for (const auto& c : wired) {
        EXPECT_EQ(encodeGx(measurement, c.options, true), c.text) << std::hex << c.options;
    }
    EXPECT_EQ(encodeGx(measurement, 0x8000, false), pose + "\nMISSING\nDISABLED\n00117131\n");
    EXPECT_EQ(encodeGx(measurement, 0xA001, false),
              empty + pose + "\nMISSING\nDISABLED\n00117131\n" + empty + empty);
}

} // namespace
} // namespace ndisim
