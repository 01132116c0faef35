#include "protocol/crc.h"
#include "protocol/device.h"
#include "tests/protocol/Wire.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <set>

TEST(Crc, KnownCommandsAndEveryByteValue) {
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

TEST(Hex, EncodesUpperCaseAndDecodesEitherCase) {
    char text[] = "......#";
    const unsigned char bytes[] = {0x00, 0xA9, 0xFF};
    EXPECT_EQ(hexEncode(text, bytes, 3), text);
    EXPECT_STREQ(text, "00A9FF#"); // nothing is terminated

    const struct {
        const char* text;
        unsigned char bytes[3];
    } cases[] = {
        {"00A9FF", {0x00, 0xA9, 0xFF}},
        {"00a9fF", {0x00, 0xA9, 0xFF}},
        {"G1 2:3", {0x01, 0x02, 0x03}},
        {"12", {0x12, 0x00, 0x00}}, // shorter than asked for
    };
    for (const auto& [digits, expected] : cases) {
        unsigned char decoded[4] = {9, 9, 9, 9};
        EXPECT_EQ(hexDecode(decoded, digits, 3), decoded);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(decoded[i], expected[i]) << digits;
        }
        EXPECT_EQ(decoded[3], 9);
    }
}

TEST(ErrorText, RangesAndTheirEdges) {
    const std::string unrecognized = "Unrecognized error code";
    const struct {
        std::int32_t code;
        std::string text;
    } cases[] = {
        {0x00, "No error"},
        {0x0D, "No tool assigned to the selected port handle"},
        {0x26, "Reserved - Unrecognized Error 0x26"},
        {0x27, "Reserved - Unrecognized Error 0x27"},
        {0x30, "Invalid input or output state"},
        {0x31, "Too much environmental infrared"},
        {0x32, unrecognized},
        {0xF0, unrecognized},
        {0xF1, "Too much environmental infrared"},
        {0xF2, unrecognized},
        {0xF3, unrecognized},
        {0xF4, "Unable to read Flash EPROM"},
        {0xF6, "Unable to erase Flash EPROM"},
        {0xF7, unrecognized},
        {0xFF, unrecognized},
        {0x100, "Bad CRC on reply from Measurement System"},
        {0x1FF, "Bad CRC on reply from Measurement System"},
        {0x200, "Error opening serial connection"},
        {0x300, "Host not capable of given communications parameters"},
        {0x4FF, "Device->host communication timeout"},
        {0x500, "Serial port write error"},
        {0x600, "Serial port read error"},
        {0x700, "Measurement System failed to reset on break"},
        {0x701, unrecognized},
        {0x800, unrecognized},
        {-1, unrecognized},
        {INT32_MIN, unrecognized},
        {INT32_MAX, unrecognized},
    };
    for (const auto& [code, text] : cases) {
        EXPECT_EQ(deviceErrorText(code), text) << code;
    }
    std::set<std::string> distinct;
    for (std::int32_t code = 0; code <= 0x31; ++code) {
        distinct.insert(deviceErrorText(code));
    }
    EXPECT_EQ(distinct.size(), 0x32u);
}

TEST(PortName, SwitchesFormAtTen) {
    const struct {
        int index;
        const char* name;
    } cases[] = {{0, "COM1"}, {8, "COM9"}, {9, "\\\\.\\COM10"}, {19, "\\\\.\\COM20"}};
    for (const auto& [index, name] : cases) {
        EXPECT_STREQ(devicePortName(index), name);
    }
    EXPECT_EQ(devicePortName(-1), nullptr);
    EXPECT_EQ(devicePortName(INT32_MIN), nullptr);
}

// Rotates a point by the textbook formula q p q*, in double.
TEST(TransformMatrix, RotatesAsTheQuaternionDoes) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> part(-1.0f, 1.0f);
    for (int round = 0; round < 1000; ++round) {
        const float t[7] = {part(random), part(random),          part(random), part(random),
                            part(random), 100.0f * part(random), -2000.0f};
        double matrix[16];
        transformToMatrix(t, matrix);

        const double n = std::sqrt(double{t[0]} * t[0] + double{t[1]} * t[1] + double{t[2]} * t[2] +
                                   double{t[3]} * t[3]);
        const double w = t[0] / n;
        const double u[3] = {t[1] / n, t[2] / n, t[3] / n};
        for (int column = 0; column < 3; ++column) {
            double e[3] = {};
            e[column] = 1.0;
            const double c[3] = {u[1] * e[2] - u[2] * e[1], u[2] * e[0] - u[0] * e[2],
                                 u[0] * e[1] - u[1] * e[0]};
            const double cc[3] = {u[1] * c[2] - u[2] * c[1], u[2] * c[0] - u[0] * c[2],
                                  u[0] * c[1] - u[1] * c[0]};
            for (int row = 0; row < 3; ++row) {
                ASSERT_NEAR(matrix[4 * column + row], e[row] + 2 * (w * c[row] + cc[row]), 1e-6);
            }
            ASSERT_EQ(matrix[4 * column + 3], 0.0);
        }
        for (int row = 0; row < 3; ++row) {
            ASSERT_EQ(matrix[12 + row], t[4 + row]);
        }
        ASSERT_EQ(matrix[15], 1.0);
    }
}
