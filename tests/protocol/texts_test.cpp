#include "protocol/crc.h"
#include "protocol/device.h"
#include "tests/protocol/Wire.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

TEST(Texts, CrcOfKnownCommandsAndOfEveryByteValue) {
    EXPECT_EQ(protocol::crc16("INIT:"), 0xE3A5);
    EXPECT_EQ(protocol::crc16("OKAY"), 0xA896);
    EXPECT_EQ(protocol::crc16("RESET"), 0xBE6F);
    EXPECT_EQ(protocol::crc16("VER:0"), 0x65EE);
    EXPECT_EQ(protocol::crc16("GETINFO:Features.Firmware.Version"), 0x0492);
    std::string bytes;
    for (int i = 0; i < 1024; ++i) {
        bytes += static_cast<char>(i * 37 + i / 256);
        ASSERT_EQ(protocol::crc16(bytes), wire::crc(bytes)) << i;
    }
}

TEST(Texts, HexBothWays) {
    char text[] = "......#";
    EXPECT_EQ(hexEncode(text, "\x00\xA9\xFF", 3), text);
    EXPECT_STREQ(text, "00A9FF#"); // nothing is terminated
    const std::pair<const char*, std::string> cases[] = {
        {"00A9FF", {"\x00\xA9\xFF#", 4}},
        {"00a9fF", {"\x00\xA9\xFF#", 4}},
        {"G1 2:3", {"\x01\x02\x03#", 4}},
        {"12", {"\x12\x00\x00#", 4}}, // shorter than asked for
    };
    for (const auto& [digits, expected] : cases) {
        char decoded[] = "...#";
        EXPECT_EQ(hexDecode(decoded, digits, 3), decoded);
        EXPECT_EQ(std::string(decoded, 4), expected) << digits;
    }
}

TEST(Texts, ErrorTextsAtTheEdgesOfTheirRanges) {
    const std::string unrecognized = "Unrecognized error code";
    for (const int code :
         {-1, INT32_MIN, INT32_MAX, 0x32, 0xF0, 0xF2, 0xF3, 0xF7, 0xFF, 0x701, 0x800}) {
        EXPECT_EQ(deviceErrorText(code), unrecognized) << code;
    }
    const std::pair<int, std::string> cases[] = {
        {0x00, "No error"},
        {0x0D, "No tool assigned to the selected port handle"},
        {0x26, "Reserved - Unrecognized Error 0x26"},
        {0x31, "Too much environmental infrared"},
        {0xF1, "Too much environmental infrared"},
        {0xF4, "Unable to read Flash EPROM"},
        {0xF6, "Unable to erase Flash EPROM"},
        {0x1FF, "Bad CRC on reply from Measurement System"},
        {0x4FF, "Device->host communication timeout"},
        {0x700, "Measurement System failed to reset on break"},
    };
    for (const auto& [code, text] : cases) {
        EXPECT_EQ(deviceErrorText(code), text) << code;
    }
}

TEST(Texts, PortNamesSwitchFormAtTen) {
    EXPECT_STREQ(devicePortName(0), "COM1");
    EXPECT_STREQ(devicePortName(8), "COM9");
    EXPECT_STREQ(devicePortName(9), "\\\\.\\COM10");
    EXPECT_EQ(devicePortName(-1), nullptr);
}

// Against the textbook formula, v + 2 (w u x v + u x (u x v)), in double.
TEST(Texts, MatrixRotatesAsTheQuaternionDoes) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> part(-1.0f, 1.0f);
    const auto cross = [](const double* a, const double* b, int row) {
        return a[(row + 1) % 3] * b[(row + 2) % 3] - a[(row + 2) % 3] * b[(row + 1) % 3];
    };
    for (int round = 0; round < 1000; ++round) {
        const float t[7] = {part(random), part(random), part(random), part(random), 1, -2000.5f, 3};
        double matrix[16];
        transformToMatrix(t, matrix);
        const double n = std::sqrt(double{t[0]} * t[0] + double{t[1]} * t[1] + double{t[2]} * t[2] +
                                   double{t[3]} * t[3]);
        const double u[3] = {t[1] / n, t[2] / n, t[3] / n};
        for (int column = 0; column < 3; ++column) {
            double v[3] = {};
            v[column] = 1.0;
            const double c[3] = {cross(u, v, 0), cross(u, v, 1), cross(u, v, 2)};
            for (int row = 0; row < 3; ++row) {
                const double rotated = v[row] + 2 * (t[0] / n * c[row] + cross(u, c, row));
                ASSERT_NEAR(matrix[4 * column + row], rotated, 1e-6);
            }
            ASSERT_EQ(matrix[4 * column + 3], 0.0);
            ASSERT_EQ(matrix[12 + column], t[4 + column]);
        }
        ASSERT_EQ(matrix[15], 1.0);
    }
}
