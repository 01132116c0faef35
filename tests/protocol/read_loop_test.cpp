#include "protocol/read_loop.h"
#include "protocol/transport.h"
#include "tests/protocol/FakePlatform.h"
#include "tests/protocol/Wire.h"

#include <gtest/gtest.h>

using Fault = FakePlatform::Fault;

namespace {

std::string header(unsigned length) {
    return "\xC4\xA5" + wire::le16(length) + "hc";
}

std::string x(std::size_t n) {
    return std::string(n, 'x');
}

// Both transports read by the same rules.
struct Result {
    int length;
    std::string buffer;
};

Result readBy(bool serial, const std::vector<FakePlatform::Step>& steps, int max, bool binary,
              std::int32_t* error = nullptr) {
    fake = {};
    fake.reads.assign(steps.begin(), steps.end());
    std::string buffer(static_cast<std::size_t>(max) + 1, '#');
    const int length = serial ? serialRead(100, buffer.data(), max, binary, error)
                              : netRead(7, buffer.data(), max, binary, error);
    EXPECT_EQ(buffer[static_cast<std::size_t>(max)], '#');
    EXPECT_LE(fake.largestRequest, max);
    return {length, buffer.substr(0, static_cast<std::size_t>(length > 0 ? length : 0))};
}

} // namespace

TEST(ReadLoop, KnowsWhereAReplyEnds) {
    const struct {
        const char* what;
        bool binary;
        std::vector<FakePlatform::Step> steps;
        int length; // of the reply; 0 a time-out, -1 a failure
    } cases[] = {
        {"text", false, {{"OKAYA896\r"}}, 9},
        {"text in pieces", false, {{"OK"}, {"AYA896"}, {"\r"}, {"not read"}}, 9},
        {"two texts in one chunk", false, {{"OKAYA896\rOKAYA896\r"}}, 18},
        {"CR inside a chunk", false, {{"OK\rAY"}, {"\r"}}, 6},
        {"text that stalls", false, {{"OKAY"}}, 0},
        {"text up to the limit", false, {{x(100)}, {x(100)}}, 200},
        {"text beyond the limit", false, {{x(150)}, {x(150)}}, 200},
        {"header in text mode", false, {{header(4) + x(6)}}, 0},
        {"binary", true, {{header(100) + x(102)}}, 108},
        {"bytes behind it", true, {{header(100) + x(140)}}, 108},
        {"bytes behind it in a later chunk", true, {{header(100) + x(2)}, {x(150)}}, 108},
        {"header byte by byte",
         true,
         {{"\xC4"}, {"\xA5"}, {std::string(1, '\2')}, {std::string(1, '\0')}, {x(6)}},
         10},
        {"body in pieces", true, {{header(100)}, {x(50)}, {x(52)}}, 108},
        {"length 0", true, {{header(0) + "bc"}}, 8},
        {"length beyond the limit", true, {{header(65535)}, {x(194)}}, 200},
        {"CR inside", true, {{header(100) + "\r"}, {x(101)}}, 108},
        {"error", true, {{"ERROR0D1234\r"}}, 12},
        {"error in pieces", true, {{"ERR"}, {"OR0D"}, {"1234\r"}}, 12},
        {"CR of something else", true, {{"OKAYA896\r"}}, 0},
        {"no reply", true, {}, 0},
        {"failure", true, {{"\xC4\xA5"}, {"", Fault::failed, 5}}, -1},
    };
    for (const auto& each : cases) {
        std::string whole;
        for (const auto& step : each.steps) {
            whole += step.bytes;
        }
        for (const bool serial : {true, false}) {
            const Result result = readBy(serial, each.steps, 200, each.binary);
            EXPECT_EQ(result.length, each.length) << each.what << (serial ? " serial" : " net");
            EXPECT_EQ(result.buffer, whole.substr(0, result.buffer.size())) << each.what;
        }
    }
}

TEST(ReadLoop, BytesOfAnEarlierReplyDecideNothing) {
    for (const bool serial : {true, false}) {
        fake = {};
        fake.answer({"ERR", "\r"});
        char buffer[16] = "ERROR0D\r";
        std::int32_t error = 99;
        const int length =
            serial ? serialRead(100, buffer, 8, true, &error) : netRead(7, buffer, 8, true, &error);
        EXPECT_EQ(length, 0);
        EXPECT_EQ(error, 99);
    }
}

TEST(ReadLoop, ErrorSlotHoldsTheDevicesOrTheSystemsNumber) {
    const std::vector<FakePlatform::Step> noBuffers = {{"", Fault::noBuffers, 105}, {"OKAYA896\r"}};
    const std::vector<FakePlatform::Step> broken = {{"", Fault::failed, 104}};
    const struct {
        bool serial;
        std::vector<FakePlatform::Step> steps;
        int length;
        std::int32_t error;
    } cases[] = {
        {true, {{"ERROR0d\r"}}, 8, 0x0D}, {true, {{"ERRORX\r"}}, 7, 0},
        {true, {{"OKAY\r"}}, 5, -5},      {true, broken, -1, -5},
        {false, {{"ERROR0D\r"}}, 8, -5},  {false, noBuffers, 9, 105},
        {false, broken, -1, 104},
    };
    for (const auto& each : cases) {
        std::int32_t error = -5;
        EXPECT_EQ(readBy(each.serial, each.steps, 100, false, &error).length, each.length);
        EXPECT_EQ(error, each.error) << each.steps[0].bytes;
    }
    readBy(false, noBuffers, 100, false);
    EXPECT_EQ(fake.joinedLog(), "sleep 1");
}

TEST(ReadLoop, CancelledReadsGoOnButNotForEver) {
    std::vector<FakePlatform::Step> steps = {
        {"OK", Fault::aborted}, {"", Fault::aborted}, {"AYA896\r", Fault::aborted}};
    EXPECT_EQ(readBy(true, steps, 100, false).buffer, "OKAYA896\r");
    for (const Fault fault : {Fault::aborted, Fault::noBuffers}) {
        steps.assign(100000, {"", fault});
        EXPECT_EQ(readBy(fault == Fault::aborted, steps, 100, false).length, -1);
        EXPECT_FALSE(fake.reads.empty());
    }
}
