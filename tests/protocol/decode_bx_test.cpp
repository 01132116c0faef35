#include "protocol/decode.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/Wire.h"

#include <cstring>
#include <gmock/gmock.h>

using testing::ElementsAre;
using wire::floats;
using wire::le32;

namespace {

const std::string kPose = floats({0.5f, -0.5f, 0.5f, 0.5f, 10.25f, -20.5f, -2000.0f, 0.35f});

void decode(DeviceRecord& record, const std::string& body, const char* command = "BX:180F0000\r") {
    const std::string data = wire::binaryData(body);
    // A copy on the heap, so that the sanitizer sees a read behind its end.
    const std::vector<char> exact(data.begin(), data.end());
    protocol::decodeBx(record, {command, {exact.data(), exact.size()}});
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
    const std::string seen = bytes({0x0A, 1}) + kPose + le32(0x31) + le32(0x80000001) +
                             information + bytes({1}) + floats({7, 8, 9}) + markers;
    const std::string missing =
        bytes({0x0B, 2}) + le32(0x00000181) + le32(77) + information + bytes({0}) + markers;
    std::string strays = bytes({9, 0x03, 0x01});
    for (int k = 0; k < 9; ++k) {
        strays += floats({static_cast<float>(k), 0.5f, -1.0f});
    }
    return bytes({3}) + seen + missing + bytes({0x0C, 4}) + strays + bytes({0x40, 0x80});
}

std::vector<float> transformOf(const DeviceRecord& record, int handle, int expected) {
    std::vector<float> values(8, -1.0f);
    EXPECT_EQ(deviceBxTransform(&record, handle, values.data()), expected) << handle;
    return values;
}

} // namespace

TEST(DecodeBx, EveryOptionOfEveryKindOfHandle) {
    const RecordPtr record = makeRecord();
    decode(*record, fullBody(), "BX:180FABCD\r");
    EXPECT_EQ(record->BxReplyLength, fullBody().size());
    EXPECT_EQ(record->BxHandleCount, 3);
    EXPECT_THAT(transformOf(*record, 0x0A, 0),
                ElementsAre(0.5f, -0.5f, 0.5f, 0.5f, 10.25f, -20.5f, -2000.0f, 0.35f));
    EXPECT_EQ(deviceBxPortStatus(record.get(), 0x0A), 0x31u);
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 0x0A), 0x80000001u);
    // A byte of 0x80 or more sets every bit above it.
    EXPECT_EQ(deviceBxPortStatus(record.get(), 0x0B), 0xFFFFFF81u);
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 0x0B), 77u);
    EXPECT_EQ(deviceBxSystemStatus(record.get()), 0xFFFF8040u);
    transformOf(*record, 0x0B, 2);
    transformOf(*record, 0x0C, 1);
    EXPECT_THAT(transformOf(*record, 0x0D, 1), testing::Each(-1.0f)); // unknown: untouched

    std::uint8_t information = 0;
    EXPECT_EQ(deviceBxToolInformation(record.get(), 0x0B, &information), 0);
    EXPECT_EQ(information, 0x42);
    EXPECT_EQ(deviceBxToolInformation(record.get(), 0x0D, &information), 1);
    float position[3] = {};
    EXPECT_EQ(deviceBxSingleStray(record.get(), 0x0A, position), 0);
    EXPECT_THAT(position, ElementsAre(7, 8, 9));
    EXPECT_EQ(record->BxActiveSingleStrayMarkerStatus[1], 0);
    EXPECT_EQ(record->Bx3DMarkerCount[1], 2);
    EXPECT_EQ(record->Bx3DMarkerOutOfVolume[1][0], 0x01);
    EXPECT_THAT(record->Bx3DMarkerPosition[1][1], ElementsAre(4, 5, 6));
    EXPECT_EQ(deviceBxPassiveStrayCount(record.get()), 9);
    EXPECT_EQ(record->BxPassiveStrayOutOfVolume[1], 0x01);

    const struct {
        int index;
        int result;
    } strays[] = {{-1, 1}, {0, 0}, {8, 0}, {9, 0}, {10, 1}, {INT32_MAX, 1}};
    for (const auto& [index, result] : strays) {
        EXPECT_EQ(deviceBxPassiveStray(record.get(), index, position), result) << index;
    }
    deviceBxPassiveStray(record.get(), 8, position);
    EXPECT_THAT(position, ElementsAre(8.0f, 0.5f, -1.0f));
}

TEST(DecodeBx, OptionComesFromTheCommandText) {
    const std::string body =
        bytes({1, 0x0A, 1}) + kPose + le32(1) + le32(5) + std::string(11, '\x07') + bytes({0, 0});
    const struct {
        const char* command;
        bool hasInformation;
    } cases[] = {
        {"BX:0003F00F\r", true}, {"BX:0003\r", false}, // four characters and CR: only a CRC
        {"BX 0003\r", true},     {"BX 3\r", true},         {"BX \r", false},
        {"BX\r", false},         {"BX:000gF00F\r", false},
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
    const std::string strays = bytes({0, 0, 0});
    decode(*record, bytes({1, 0x0A, 2}) + le32(0) + le32(500) + std::string(11, '\0') +
                        bytes({0, 0}) + strays);
    EXPECT_EQ(transformOf(*record, 0x0A, 2)[4], 10.25f);
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 0x0A), 500u);
    EXPECT_EQ(record->BxHandles[1], 0x0B);
    transformOf(*record, 0x0B, 1);
    decode(*record, bytes({1, 0x0A, 4}) + strays);
    EXPECT_EQ(transformOf(*record, 0x0A, 1)[4], 10.25f);
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 0x0A), 500u);

    // Not a tracking reply at all: nothing changes.
    protocol::decodeBx(*record, {"BX:180FABCD\r", "\xC4\xA6 not a header"});
    EXPECT_EQ(record->BxHandleCount, 1);
}

TEST(DecodeBx, EndsAtTheLastByteOfEveryTruncation) {
    const std::string whole = wire::binaryData(fullBody());
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const RecordPtr record = makeRecord();
        const std::vector<char> cut(whole.begin(),
                                    whole.begin() + static_cast<std::ptrdiff_t>(length));
        protocol::decodeBx(*record, {"BX:180F0000\r", {cut.data(), cut.size()}});
        EXPECT_EQ(record->BxSystemStatus, 0u) << length;
        EXPECT_LE(record->BxHandleCount, 3);
        for (int k = 9; k < 240; ++k) {
            ASSERT_EQ(record->BxPassiveStrayPosition[k][1], 0.0f);
        }
    }
}

TEST(DecodeBx, CountsBeyondTheStores) {
    const std::string tail = bytes({0x34, 0x12});

    // More handles than there is room for: all are read over, 24 are kept.
    for (const int count : {24, 25, 255}) {
        std::string body = bytes({count});
        for (int i = 0; i < count; ++i) {
            body += bytes({i + 1, 1}) + kPose + le32(1) + le32(static_cast<std::uint32_t>(i));
        }
        const RecordPtr record = makeRecord();
        decode(*record, body + tail, "BX:00010000\r");
        EXPECT_EQ(record->BxHandleCount, 24);
        EXPECT_EQ(deviceBxFrameNumber(record.get(), 24), 23u);
        EXPECT_EQ(deviceBxFrameNumber(record.get(), 25), 0u);
        EXPECT_EQ(deviceBxSystemStatus(record.get()), 0x1234u) << count;
    }

    // Markers and strays: a signed byte, kept as sent, read over as far as it goes.
    for (const int count : {20, 21, 127, 128, 255}) {
        const int sent = count < 128 ? count : 0;
        std::string positions(static_cast<std::size_t>((sent + 7) / 8), '\x0F');
        for (int k = 0; k < sent; ++k) {
            positions += floats({static_cast<float>(k), 1, 2});
        }
        const RecordPtr record = makeRecord();
        decode(*record, bytes({1, 0x0A, 1, count}) + positions + bytes({count}) + positions + tail,
               "BX:10080000\r");
        EXPECT_EQ(record->Bx3DMarkerCount[0], static_cast<std::int8_t>(count));
        EXPECT_EQ(deviceBxPassiveStrayCount(record.get()), static_cast<std::int8_t>(count));
        EXPECT_EQ(deviceBxSystemStatus(record.get()), 0x1234u) << count;
        EXPECT_EQ(record->Bx3DMarkerPosition[0][19][0], sent >= 20 ? 19.0f : 0.0f);
        EXPECT_EQ(record->Bx3DMarkerPosition[1][0][1], 0.0f);
        EXPECT_EQ(record->Bx3DMarkerOutOfVolume[1][0], 0);
    }
}

TEST(DecodeBx, LookupsStayInsideTheStores) {
    const RecordPtr record = makeRecord();
    record->BxHandleCount = 255;
    record->BxPassiveStrayCount = 100000;
    float position[3];
    EXPECT_EQ(deviceBxFrameNumber(record.get(), 99), 0u);
    EXPECT_EQ(deviceBxFrameNumber(record.get(), -1), 0u);
    EXPECT_EQ(deviceBxPassiveStray(record.get(), 239, position), 0);
    EXPECT_EQ(deviceBxPassiveStray(record.get(), 240, position), 1);
}
