#include "protocol/transport.h"
#include "tests/protocol/FakePlatform.h"
#include "tests/protocol/Wire.h"

#include <gtest/gtest.h>

using Fault = FakePlatform::Fault;
using Reads = std::deque<FakePlatform::Read>;

namespace {

std::string header(unsigned length) {
    return "\xC4\xA5" + wire::le16(length) + "hc";
}

std::string x(std::size_t n) {
    return std::string(n, 'x');
}

int readBy(bool serial, const Reads& reads, std::vector<char>& buffer, bool binary,
           std::int32_t* error = nullptr) {
    fake = {};
    fake.reads = reads;
    const int max = static_cast<int>(buffer.size());
    return serial ? serialRead(100, buffer.data(), max, binary, error)
                  : netRead(7, buffer.data(), max, binary, error);
}

} // namespace

TEST(ReadLoop, KnowsWhereAReplyEnds) {
    const struct {
        const char* what;
        bool binary;
        Reads reads;
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
        {"header in pieces", true, {{"\xC4"}, {"\xA5\2"}, {std::string(1, '\0')}, {x(6)}}, 10},
        {"body in pieces", true, {{header(100)}, {x(50)}, {x(52)}}, 108},
        {"length 0", true, {{header(0) + "bc"}}, 8},
        {"length beyond the limit", true, {{header(65535)}, {x(194)}}, 200},
        {"CR inside", true, {{header(100) + "\r"}, {x(101)}}, 108},
        {"error", true, {{"ERROR0D1234\r"}}, 12},
        {"error in pieces", true, {{"ERR"}, {"OR0D"}, {"1234\r"}}, 12},
        {"CR of something else", true, {{"OKAYA896\r"}}, 0},
        {"error text that is an older reply's", true, {{"ERR"}, {"\r"}}, 0},
        {"failure", true, {{"\xC4\xA5"}, {"", Fault::failed, 5}}, -1},
        {"cancelled", false, {{"OK", Fault::aborted}, {"", Fault::aborted}, {"AYA896\r"}}, 9},
        {"short of buffers", false, {{"", Fault::noBuffers, 105}, {"OKAYA896\r"}}, 9},
    };
    std::vector<char> noRoom;
    EXPECT_EQ(readBy(true, {{"OKAYA896\r"}}, noRoom, false), 0);
    for (const auto& each : cases) {
        std::string whole;
        for (const auto& read : each.reads) {
            whole += read.bytes;
        }
        for (const bool serial : {true, false}) {
            const std::string what = each.what;
            if (what == (serial ? "short of buffers" : "cancelled")) {
                continue;
            }
            std::vector<char> buffer(200, '?');
            std::string("???OR0D\r").copy(buffer.data(), 8);
            EXPECT_EQ(readBy(serial, each.reads, buffer, each.binary), each.length)
                << what << serial;
            EXPECT_EQ(fake.largestRead, 200) << what;
            const auto length = static_cast<std::size_t>(std::max(each.length, 0));
            EXPECT_EQ(std::string(buffer.data(), length), whole.substr(0, length)) << what;
            EXPECT_EQ(fake.log, what == "short of buffers" ? "sleep 1" : "");
        }
    }
}

TEST(ReadLoop, SystemsThatNeverRecoverEndIt) {
    for (const Fault fault : {Fault::aborted, Fault::noBuffers}) {
        std::vector<char> buffer(100);
        EXPECT_EQ(readBy(fault == Fault::aborted, Reads(100000, {"", fault}), buffer, false), -1);
        EXPECT_FALSE(fake.reads.empty());
    }
}
