#include "protocol/device.h"

#include <gtest/gtest.h>
#include <vector>

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
    const std::pair<std::vector<int>, std::string> cases[] = {
        {{-1, INT32_MIN, INT32_MAX, 0x32, 0xF0, 0xF2, 0xF3, 0xF7, 0xFF, 0x701, 0x800},
         "Unrecognized error code"},
        {{0x00}, "No error"},
        {{0x0D}, "No tool assigned to the selected port handle"},
        {{0x26}, "Reserved - Unrecognized Error 0x26"},
        {{0x31, 0xF1}, "Too much environmental infrared"},
        {{0xF4}, "Unable to read Flash EPROM"},
        {{0xF6}, "Unable to erase Flash EPROM"},
        {{0x1FF}, "Bad CRC on reply from Measurement System"},
        {{0x4FF}, "Device->host communication timeout"},
        {{0x700}, "Measurement System failed to reset on break"},
    };
    for (const auto& [codes, text] : cases) {
        for (const int code : codes) {
            EXPECT_EQ(deviceErrorText(code), text) << code;
        }
    }
}

TEST(Texts, MatrixRotatesAsTheQuaternionDoes) {
    const float transform[7] = {1, 2, 3, 4, 1, -2000.5f, 3}; // not of unit length, but 30 squared
    const double columns[16] = {-20, 20, 10, 0, 4, -10, 28, 0, 22, 20, 4, 0, 30, -60015, 90, 30};
    double matrix[16];
    transformToMatrix(transform, matrix);
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(matrix[i], columns[i] / 30, 1e-6) << i;
    }
}
