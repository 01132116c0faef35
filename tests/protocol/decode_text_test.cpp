#include "protocol/replies.h"
#include "tests/protocol/RecordPtr.h"

#include <cstring>
#include <gmock/gmock.h>

using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pointwise;
using Decoder = void (*)(DeviceRecord&, const protocol::Reply&);

namespace {

// From a copy on the heap, so that the sanitizer sees a read behind its end.
void decode(Decoder decoder, const RecordPtr& record, const char* command,
            const std::string& data) {
    const std::vector<char> exact(data.begin(), data.end());
    decoder(*record, {command, {exact.data(), exact.size()}});
}

const std::string kPoseText = "+10000-05000+00001-00000-012345+001000-200000+00123";
const std::vector<double> kPose = {1.0, -0.5, 0.0001, 0.0, -123.45, 10.0, -2000.0, 0.0123};
const std::string kState = "0000003100000ABC";

std::vector<double> txPose(const RecordPtr& record, int handle, int expected) {
    std::vector<double> values(8, 9.0);
    EXPECT_EQ(deviceTxTransform(record.get(), handle, values.data()), expected) << handle;
    return values;
}

template <std::size_t N>
std::string stored(const char (&store)[N]) {
    return {store, strnlen(store, N)};
}

} // namespace

TEST(DecodeTx, SeenMissingDisabledAndUnoccupied) {
    const RecordPtr record = makeRecord();
    // Unoccupied entries with and without a line feed of their own.
    decode(protocol::decodeTx, record, "TX:0001ABCD\r",
           "0601UNOCCUPIED\n0a" + kPoseText + kState + "\n0BMISSING" + kState +
               "\n02UNOCCUPIED0CDISABLED\n0D" + kPoseText + "0000000000000001\n1F2E");
    EXPECT_EQ(record->TxHandleCount, 4);
    EXPECT_THAT(txPose(record, 0x0A, 0), Pointwise(DoubleNear(1e-12), kPose));
    EXPECT_THAT(txPose(record, 0x0B, 2), testing::Each(9.0));
    txPose(record, 0x0C, 1);
    txPose(record, 0x02, 1);
    EXPECT_EQ(deviceTxPortStatus(record.get(), 0x0A), 0x31u);
    const std::pair<int, unsigned> frames[] = {{0x0A, 0xABC}, {0x0B, 0xABC}, {0x0C, 0}, {0x0D, 1}};
    for (const auto& [handle, frame] : frames) {
        EXPECT_EQ(deviceTxFrameNumber(record.get(), handle), frame) << handle;
    }
    EXPECT_EQ(deviceTxSystemStatus(record.get()), 0x1F2E);
    float values[8];
    EXPECT_EQ(deviceTxTransformF(record.get(), 0x0D, values), 0);
    EXPECT_EQ(values[4], -123.45f);
}

TEST(DecodeTx, InformationRunsOnIntoTheNextEntry) {
    const RecordPtr record = makeRecord();
    const std::string stray = "+000100-000200+000300";
    // The eight characters behind the field are eaten from the stray text of the same line.
    std::string reply = "18"; // 24 handles
    for (int i = 0; i < 24; ++i) {
        reply += "0" + std::string(1, "123456789ABCDEF0"[i % 16]) + "810203040506........" + stray +
                 "\n";
    }
    decode(protocol::decodeTx, record, "TX:0006ABCD\r", reply + "0000");
    EXPECT_EQ(deviceTxToolInformation(record.get(), 1), 0x81);
    double position[3];
    EXPECT_EQ(deviceTxSingleStray(record.get(), 1, position), 0);
    EXPECT_THAT(position, ElementsAre(1.0, -2.0, 3.0));
    EXPECT_EQ(deviceTxSingleStray(record.get(), 0x77, position), 1);
    // The last one ends at the array, not in the store behind it; a single one runs on.
    EXPECT_EQ(stored(record->TxInformation[23]), "810203040506");
    EXPECT_EQ(stored(record->TxSingleStray[0]), stray);
    const RecordPtr single = makeRecord();
    decode(protocol::decodeTx, single, "TX:0002ABCD\r", "010A810203040506789ABCDE\n0000");
    EXPECT_EQ(stored(single->TxInformation[1]), "789ABCDE");
}

TEST(DecodeTx, ControlCharactersEndAField) {
    for (const char last : {'\x1F', '\x20', '\x7F', '\x80'}) {
        const RecordPtr record = makeRecord();
        const bool isText = last == '\x20' || last == '\x7F';
        decode(protocol::decodeTx, record, "TX:0001ABCD\r",
               "010A" + kPoseText.substr(0, 12) + last + kPoseText.substr(13) + kState + "\n0000");
        EXPECT_EQ(stored(record->TxTransforms[0]).size(), isText ? 51U : 12U) << int{last};
    }
}

TEST(DecodeGx, WiredAndPassivePorts) {
    const RecordPtr record = makeRecord();
    decode(protocol::decodeGx, record, "GX:000DABCD\r",
           kPoseText + "\nMISSING\nDISABLED\n00000031\nS1\nS2\nS3\n00000001\n00000002\n00000003");
    std::vector<double> values(8);
    const auto stateOf = [&](char port) {
        return deviceGxTransform(record.get(), port, values.data());
    };
    EXPECT_EQ(stateOf('1'), 0);
    EXPECT_THAT(values, Pointwise(DoubleNear(1e-12), kPose));
    EXPECT_EQ(stateOf('2'), 2);
    for (const char port : {'3', '0', '4', 'A', 'J', '\0', '\xFF'}) {
        EXPECT_EQ(stateOf(port), 1) << port;
    }
    EXPECT_EQ(stored(record->GxStatus), "00000031");
    EXPECT_EQ(stored(record->GxSingleStray[1]), "S2");
    EXPECT_EQ(stored(record->GxFrame[2]), "00000003");
    // The passive option alone brings the transforms; without all ports there is one group.
    const std::string group = "MISSING\n" + kPoseText + "\nDISABLED\n0000003";
    decode(protocol::decodeGx, record, "GX:8000ABCD\r", group + "1");
    EXPECT_EQ(stateOf('A'), 2);
    EXPECT_EQ(stateOf('B'), 0);
    // A second group without a line feed behind it is the last, and frames follow for six ports.
    decode(protocol::decodeGx, record, "GX:A009ABCD\r",
           "\n\n\n\n\n\n\n" + group + "1\n" + group + "2F1\nF2\nF3\nF4\nF5\nF6\nF7");
    EXPECT_EQ(stored(record->GxPassiveStatus), "0000003100000032");
    EXPECT_EQ(stored(record->GxPassiveFrame[5]), "F6");
    EXPECT_EQ(stored(record->GxPassiveFrame[6]), "");
    std::string groups = "\n\n\n\n";
    for (const char digit : std::string("123456789")) {
        groups += kPoseText.substr(0, 30) + digit + kPoseText.substr(31) + "\n";
        groups += (digit - '0') % 3 == 0 ? "00000031\n" : "";
    }
    decode(protocol::decodeGx, record, "GX:A001ABCD\r", groups);
    for (const char port : std::string("ABCDEFGHI")) {
        EXPECT_EQ(stateOf(port), 0) << port;
        EXPECT_DOUBLE_EQ(values[4], -123.4 - 0.01 * (port - 'A' + 1)) << port;
    }
}

TEST(DecodePhinf, PartsFollowTheOption) {
    const RecordPtr record = makeRecord();
    DeviceRecord* device = record.get();
    const std::string basic = "01234567MAKER       1.2ABCDEFGH";
    decode(protocol::decodePhinf, record, "PHINF:0A007FABCD\r",
           basic + "8100000FEDPART-0123456789ABCDE3D040102030405060A0F");
    std::string out(31, '#');
    EXPECT_EQ(devicePhinfBasic(device, out.data()), 0);
    EXPECT_EQ(out, basic);
    EXPECT_EQ(devicePhinfPartNumber(device, out.data()), 0);
    EXPECT_EQ(out.substr(0, 20), "PART-0123456789ABCDE");
    EXPECT_EQ(devicePhinfPortLocation(device, out.data()), 0);
    EXPECT_EQ(out.substr(0, 14), "0102030405060A");
    EXPECT_EQ(devicePhinfBasicTail(device), 0x81);
    EXPECT_EQ(devicePhinfTesting(device), 0xFEDu);
    EXPECT_EQ(devicePhinfAccessories(device), 0x3D);
    EXPECT_EQ(devicePhinfMarkerType(device), 4);
    EXPECT_EQ(devicePhinfGpioStatus(device), 0x0F);
    // An unoccupied port: fixed patterns for what was asked, the rest stays.
    decode(protocol::decodePhinf, record, "PHINF:0A0025ABCD\r", "UNOCCUPIED");
    EXPECT_EQ(devicePhinfBasic(device, out.data()), 3);
    EXPECT_EQ(out, "00000000            00000000000");
    EXPECT_EQ(stored(record->PhinfBasic), "00000000            0000000000000");
    EXPECT_EQ(stored(record->PhinfPartNumber), std::string(20, ' '));
    EXPECT_EQ(stored(record->PhinfPortLocation), std::string(14, '0'));
    EXPECT_EQ(devicePhinfTesting(device), 0xFEDu);
    EXPECT_EQ(devicePhinfGpioStatus(device), 0x0F);

    const std::tuple<const char*, bool, bool> options[] = {
        {"PHINF:0A0008ABCD\r", false, true}, {"PHINF 0A0008\r", false, true},
        {"PHINF:0A0009\r", true, true}, // the CRC of a command without option is read as one
        {"PHINF \r", true, false},           {"PHINF:ABCD\r", true, false},
        {"PHINF 0A\r", false, false},
    };
    for (const auto& [command, hasBasic, hasAccessories] : options) {
        const RecordPtr fresh = makeRecord();
        decode(protocol::decodePhinf, fresh, command, std::string(60, '7'));
        EXPECT_EQ(fresh->PhinfBasic[0] != 0, hasBasic) << command;
        EXPECT_EQ(fresh->PhinfAccessories[0] != 0, hasAccessories) << command;
    }
}

TEST(DecodePhsr, EntriesCountsAndOlderReplies) {
    const RecordPtr record = makeRecord();
    decode(protocol::decodePhsr, record, "PHSR:00ABCD\r", "040A0010b03F0C0030D004");
    EXPECT_EQ(devicePhsrCount(record.get()), 4);
    const std::tuple<int, int, int> entries[] = {
        {0, 0x0A, 1}, {1, 0x0B, 0x3F}, {3, 0x0D, 4}, {4, 0, 0}, {-1, 0, 0}};
    for (const auto& [index, handle, status] : entries) {
        EXPECT_EQ(devicePhsrHandle(record.get(), index), handle) << index;
        EXPECT_EQ(devicePhsrStatus(record.get(), index), status) << index;
    }
    // An entry at the count itself is answered, one behind it is not.
    decode(protocol::decodePhsr, record, "PHSR:00ABCD\r", "010A0010B0020C003");
    EXPECT_EQ(devicePhsrHandle(record.get(), 1), 0x0B);
    EXPECT_EQ(devicePhsrHandle(record.get(), 2), 0);
    // A count without entries meets zeros, not the entries of older replies.
    decode(protocol::decodePhsr, record, "PHSR:00ABCD\r", "FF");
    for (int i = 0; i <= 256; ++i) {
        ASSERT_EQ(devicePhsrHandle(record.get(), i) + devicePhsrStatus(record.get(), i), 0) << i;
    }
    decode(protocol::decodePhsr, record, "PHSR:00ABCD\r", "FF" + std::string(1400, '1'));
    EXPECT_EQ(stored(record->PhsrReply).size(), 1282u);
    EXPECT_EQ(devicePhsrHandle(record.get(), 255), 0x11);
    decode(protocol::decodePhrq, record, "PHRQ:*ABCD\r", "1F99");
    EXPECT_EQ(devicePhrqHandle(record.get()), 0x1F);
    decode(protocol::decodePhrq, record, "PHRQ:*ABCD\r", "");
    EXPECT_EQ(devicePhrqHandle(record.get()), 0);
}

TEST(DecodePstat, WiredThenPassivePorts) {
    const RecordPtr record = makeRecord();
    const auto line = [](const std::string& part) {
        return "0123456789MAKER.....1.2ABCDEFG" + part + "0000000A" + part + std::string(18, ' ') +
               "1F02rest\n";
    };
    std::string reply = line("P1") + "UNOCCUPIED\n" + line("P3");
    for (int i = 0; i < 9; ++i) {
        reply += line("Q" + std::to_string(i));
    }
    decode(protocol::decodePstat, record, "PSTAT:A01FABCD\r", reply);
    std::string part(20, '#');
    std::string basic(30, '#');
    const std::pair<char, std::string> ports[] = {{'1', "P1"}, {'2', ""}, {'3', "P3"}, {'A', "Q0"},
                                                  {'I', "Q8"}, {'4', ""}, {'J', ""},   {'\0', ""}};
    for (const auto& [port, text] : ports) {
        const bool known = !text.empty();
        EXPECT_EQ(devicePstatPartNumber(record.get(), port, part.data()), known ? 0 : 3) << port;
        EXPECT_EQ(devicePstatBasic(record.get(), port, basic.data()), known ? 0 : 3) << port;
        EXPECT_EQ(part.substr(0, 2), known ? text : part.substr(0, 2));
        EXPECT_EQ(devicePstatTesting(record.get(), port), known ? 0xAu : 0u);
        EXPECT_EQ(devicePstatAccessories(record.get(), port), known ? 0x1F : 0);
        EXPECT_EQ(devicePstatMarkerType(record.get(), port), known ? 2 : 0);
    }
    EXPECT_EQ(basic, line("").substr(0, 30));
    // A shorter text leaves nothing of the longer one, a text not asked for stays.
    decode(protocol::decodePstat, record, "PSTAT:0004ABCD\r", "X\nY\nZ\n");
    EXPECT_EQ(devicePstatPartNumber(record.get(), '1', part.data()), 0);
    EXPECT_EQ(part, "X" + std::string(19, '\0'));
    EXPECT_EQ(devicePstatTesting(record.get(), '1'), 0xAu);
}

TEST(DecodeSystem, StatusAndInfraredSources) {
    const RecordPtr record = makeRecord();
    decode(protocol::decodeSstat, record, "SSTAT:ABCD\r", "112233"); // no option: nothing
    EXPECT_EQ(deviceSstatControl(record.get()), 0);
    decode(protocol::decodeSstat, record, "SSTAT:0005ABCD\r", "1122");
    EXPECT_EQ(deviceSstatControl(record.get()), 0x11);
    EXPECT_EQ(deviceSstatSensor(record.get()), 0);
    EXPECT_EQ(deviceSstatTiu(record.get()), 0x22);

    decode(protocol::decodeIrchk, record, "IRCHK:ABCD\r", "1");
    EXPECT_TRUE(deviceIrchkDetected(record.get()));
    EXPECT_EQ(deviceIrchkSourceCount(record.get(), 0), 0);
    decode(protocol::decodeIrchk, record, "IRCHK 0003\r", "0+02+10-20+30-40+01+50+60");
    EXPECT_FALSE(deviceIrchkDetected(record.get()));
    double angles[2];
    const std::tuple<int, int, int, double, double> sources[] = {
        {0, 0, 0, 0.1, -0.2}, {0, 1, 0, 0.3, -0.4}, {0, 2, 2, 0.3, -0.4}, {0, -1, 2, 0.3, -0.4},
        {1, 0, 0, 0.5, 0.6},  {1, 1, 2, 0.5, 0.6},  {2, 0, 2, 0.5, 0.6}};
    for (const auto& [side, index, result, x, y] : sources) {
        EXPECT_EQ(deviceIrchkSource(record.get(), side, index, angles), result) << side << index;
        EXPECT_THAT(angles, Pointwise(DoubleNear(1e-12), {x, y}));
    }
    // A shorter list leaves the tail of the longer one behind.
    decode(protocol::decodeIrchk, record, "IRCHK:0002ABCD\r", "+01");
    EXPECT_EQ(stored(record->IrchkSources), "+01+10-20+30-40+01+50+60");
    const std::string longest = '\x7F' + std::string(125, '+');
    decode(protocol::decodeIrchk, record, "IRCHK:0002ABCD\r", longest + "++");
    EXPECT_EQ(stored(record->IrchkSources), longest);
}

TEST(DecodeSystem, SourceCountsThatCannotBe) {
    const std::string twenty = "+20" + std::string(120, '+');
    const std::tuple<std::string, int, int> cases[] = {
        {"+21", 0, 0},    {"-01", 0, 0},     {"999", 0, 0},          {"+00+21", 0, 0},
        {"+00-05", 0, 0}, {"+00+20", 0, 20}, {twenty + "+05", 20, 5}};
    for (const auto& [sources, first, second] : cases) {
        const RecordPtr record = makeRecord();
        decode(protocol::decodeIrchk, record, "IRCHK:0002ABCD\r", sources);
        EXPECT_EQ(deviceIrchkSourceCount(record.get(), 0), first) << sources;
        EXPECT_EQ(deviceIrchkSourceCount(record.get(), 1), second) << sources;
        double angles[2];
        for (int i = 0; i < 21; ++i) { // those of the second side would lie behind the store
            EXPECT_EQ(deviceIrchkSource(record.get(), 0, i, angles), i < first ? 0 : 2);
            EXPECT_EQ(deviceIrchkSource(record.get(), 1, i, angles),
                      i < second && first == 0 ? 0 : 2);
        }
    }
}
