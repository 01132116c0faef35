#include "protocol/replies.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/Wire.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using wire::floats;
using wire::le32;

namespace {

const std::string kPose = floats({0.5f, -0.5f, 0.5f, 0.5f, 10.25f, -20.5f, -2000.0f, 0.35f});

// From a copy on the heap, so that the sanitizer sees a read behind its end.
void decodeData(DeviceRecord& record, std::string_view data, const char* command) {
    const std::vector<char> exact(data.begin(), data.end());
    protocol::decodeBx(record, {command, {exact.data(), exact.size()}});
}

void decode(DeviceRecord& record, const std::string& body, const char* command = "BX:180F0000\r") {
    decodeData(record, wire::binaryData(body), command);
}

std::string bytes(std::initializer_list<int> values) {
    std::string text;
    for (const int value : values) {
        text += static_cast<char>(value);
    }
    return text;
}

// Three handles, all options: seen, missing, disabled; two markers each, nine stray markers.
std::string fullBody() {
    const std::string markers = bytes({2, 0x01}) + floats({1, 2, 3, 4, 5, 6});
    const std::string information(11, '\x42');
    std::string body = bytes({3}) + bytes({0x0A, 1}) + kPose + le32(0x31) + le32(0x80000001) +
                       information + bytes({2}) + floats({7, 8, 9}) + markers;
    body += bytes({0x0B, 2}) + le32(0x181) + le32(77) + information + bytes({0}) + markers;
    body += bytes({0x0C, 4}) + bytes({9, 0x03, 0x01});
    for (int k = 0; k < 9; ++k) {
        body += floats({static_cast<float>(k), 0.5f, -1.0f});
    }
    return body + bytes({0x40, 0x80});
}

std::vector<float> transformOf(const RecordPtr& record, int handle, int expected) {
    std::vector<float> values(8, -1.0f);
    EXPECT_EQ(deviceBxTransform(record.get(), handle, values.data()), expected) << handle;
    return values;
}

} // namespace

TEST(DecodeBx, EveryOptionOfEveryKindOfHandle) {
    const RecordPtr record = makeRecord();
    const DeviceRecord* device = record.get();
    decode(*record, fullBody());
    EXPECT_EQ(record->BxReplyLength, fullBody().size());
    EXPECT_THAT(transformOf(record, 0x0A, 0),
                ElementsAre(0.5f, -0.5f, 0.5f, 0.5f, 10.25f, -20.5f, -2000.0f, 0.35f));
    transformOf(record, 0x0B, 2);
    transformOf(record, 0x0C, 1);
    EXPECT_THAT(transformOf(record, 0x0D, 1), testing::Each(-1.0f)); // unknown: untouched
    EXPECT_EQ(deviceBxPortStatus(device, 0x0A), 0x31u);
    EXPECT_EQ(deviceBxFrameNumber(device, 0x0A), 0x80000001u);
    // A byte of 0x80 or more sets every bit above it.
    EXPECT_EQ(deviceBxPortStatus(device, 0x0B), 0xFFFFFF81u);
    EXPECT_EQ(deviceBxSystemStatus(device), 0xFFFF8040u);
    std::uint8_t information = 0;
    EXPECT_EQ(deviceBxToolInformation(device, 0x0B, &information), 0);
    EXPECT_EQ(information, 0x42);
    EXPECT_EQ(deviceBxToolInformation(device, 0x0D, &information), 1);
    float position[3] = {};
    EXPECT_EQ(deviceBxSingleStray(device, 0x0A, position), 0);
    EXPECT_EQ(deviceBxSingleStray(device, 0x0D, position), 1);
    EXPECT_THAT(position, ElementsAre(7, 8, 9));
    EXPECT_EQ(record->Bx3DMarkerCount[1], 2);
    EXPECT_THAT(record->Bx3DMarkerPosition[1][1], ElementsAre(4, 5, 6));
    EXPECT_EQ(deviceBxPassiveStrayCount(device), 9);
    EXPECT_EQ(record->BxPassiveStrayOutOfVolume[1], 0x01);
    for (const auto& [index, result] : {std::pair(-1, 1), {0, 0}, {9, 0}, {10, 1}, {8, 0}}) {
        EXPECT_EQ(deviceBxPassiveStray(device, index, position), result) << index;
    }
    EXPECT_THAT(position, ElementsAre(8.0f, 0.5f, -1.0f));
}

TEST(DecodeBx, OptionComesFromTheCommandText) {
    const std::string body =
        bytes({1, 0x0A, 1}) + kPose + le32(1) + le32(5) + std::string(13, '\7');
    const std::pair<const char*, bool> cases[] = {
        {"BX:0003F00F\r", true}, {"BX:0003\r", false}, // four characters and CR: only a CRC
        {"BX 0003\r", true},     {"BX 3\r", true},     {"BX \r", false}, {"BX\r", false},
    };
    for (const auto& [command, hasInformation] : cases) {
        const RecordPtr record = makeRecord();
        decode(*record, body, command);
        EXPECT_EQ(record->BxToolMarkerInformation[0][0], hasInformation ? 7 : 0) << command;
    }
}

TEST(DecodeBx, KeepsWhatAReplyDoesNotTell) {
    const RecordPtr record = makeRecord();
    decode(*record, fullBody());
    // The tool is lost, then disabled; its last pose stays, its frame number only with the second.
    const std::string missing = bytes({1, 0x0A, 2}) + le32(0) + le32(500);
    decode(*record, missing + std::string(11 + 5, '\0'));
    EXPECT_EQ(transformOf(record, 0x0A, 2)[4], 10.25f);
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 0x0A), 500u);
    EXPECT_EQ(record->BxHandles[1], 0x0B);
    transformOf(record, 0x0B, 1); // stored, but no longer listed
    decode(*record, bytes({1, 0x0A, 4, 0, 0, 0}));
    EXPECT_EQ(transformOf(record, 0x0A, 1)[4], 10.25f);
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 0x0A), 500u);
    // Bits beside 2 and 4 leave all fields in the reply; the accessors look at the bits alone.
    const std::string both = bytes({1, 0x0A, 6}) + kPose + le32(0) + le32(501);
    decode(*record, both + std::string(11 + 5, '\0'));
    transformOf(record, 0x0A, 1);
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 0x0A), 501u);
    decodeData(*record, "\xC4\xA6 no tracking reply", "BX:180F0000\r");
    EXPECT_EQ(record->BxHandleCount, 1);
}

TEST(DecodeBx, CountsBeyondTheStores) {
    for (const int count : {24, 25, 255}) { // all handles are read over, 24 are kept
        std::string body = bytes({count});
        for (int i = 1; i <= count; ++i) {
            body += bytes({i, 1}) + kPose + le32(1) + le32(static_cast<std::uint32_t>(i));
            body += std::string(11, '\0') + bytes({1}) + floats({1, 2, 3}) + bytes({0});
        }
        const RecordPtr record = makeRecord();
        decode(*record, body + bytes({0, 0x34, 0x12}));
        EXPECT_EQ(record->BxHandleCount, 24);
        EXPECT_EQ(deviceBxFrameNumber(record.get(), 24), 24u);
        EXPECT_EQ(deviceBxFrameNumber(record.get(), 25), 0u);
        EXPECT_EQ(deviceBxSystemStatus(record.get()), 0x1234u) << count;
    }
    for (const int count : {20, 21, 127, 128, 255}) { // a signed byte, kept as sent
        const int sent = count < 128 ? count : 0;
        std::string positions =
            bytes({count}) + std::string((static_cast<unsigned>(sent) + 7) / 8, 1);
        for (int k = 0; k < sent; ++k) {
            positions += floats({static_cast<float>(k), 1, 2});
        }
        const RecordPtr record = makeRecord();
        decode(*record, bytes({1, 0x0A, 1}) + positions + positions + bytes({0x34, 0x12}),
               "BX 1008\r");
        EXPECT_EQ(record->Bx3DMarkerCount[0], static_cast<std::int8_t>(count));
        EXPECT_EQ(deviceBxPassiveStrayCount(record.get()), static_cast<std::int8_t>(count));
        EXPECT_EQ(deviceBxSystemStatus(record.get()), 0x1234u) << count;
        EXPECT_EQ(record->Bx3DMarkerPosition[0][19][0], sent >= 20 ? 19.0f : 0.0f);
        EXPECT_EQ(record->Bx3DMarkerPosition[1][0][1] + record->Bx3DMarkerOutOfVolume[1][0], 0);
    }
    const RecordPtr record = makeRecord(); // what no decoder would write
    record->BxHandleCount = 255;
    record->BxPassiveStrayCount = 100000;
    float position[3];
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 99) + deviceBxFrameNumber(record.get(), -1), 0u);
    EXPECT_EQ(deviceBxPassiveStray(record.get(), 239, position), 0);
    EXPECT_EQ(deviceBxPassiveStray(record.get(), 240, position), 1);
}
