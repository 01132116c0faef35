#include "protocol/decode.h"
#include "tests/protocol/RecordPtr.h"

#include <cstring>
#include <gmock/gmock.h>

using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pointwise;
using Decoder = void (*)(DeviceRecord&, const protocol::Reply&);

namespace {

// A copy on the heap, so that the sanitizer sees a read behind its end.
void decode(Decoder decoder, DeviceRecord& record, const std::string& command,
            const std::string& data) {
    const std::vector<char> exact(data.begin(), data.end());
    decoder(record, {command, {exact.data(), exact.size()}});
}

const std::string kPoseText = "+10000-05000+00001-00000-012345+001000-200000+00123";
const std::vector<double> kPose = {1.0, -0.5, 0.0001, 0.0, -123.45, 10.0, -2000.0, 0.0123};
const std::string kState = "0000003100000ABC";

std::vector<double> txPose(const DeviceRecord& record, int handle, int expected) {
    std::vector<double> values(8, 9.0);
    EXPECT_EQ(deviceTxTransform(&record, handle, values.data()), expected) << handle;
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
    decode(protocol::decodeTx, *record, "TX:0001ABCD\r",
           "06"
           "01UNOCCUPIED\n"
           "0a" +
               kPoseText + kState +
               "\n"
               "0BMISSING" +
               kState +
               "\n"
               "02UNOCCUPIED"
               "0CDISABLED\n"
               "0D" +
               kPoseText +
               "0000000000000001\n"
               "1F2E");
    EXPECT_EQ(record->TxHandleCount, 4);
    EXPECT_THAT(txPose(*record, 0x0A, 0), Pointwise(DoubleNear(1e-12), kPose));
    EXPECT_EQ(deviceTxPortStatus(record.get(), 0x0A), 0x31u);
    EXPECT_EQ(deviceTxFrameNumber(record.get(), 0x0A), 0xABCu);
    EXPECT_THAT(txPose(*record, 0x0B, 2), testing::Each(9.0));
    EXPECT_EQ(deviceTxFrameNumber(record.get(), 0x0B), 0xABCu);
    txPose(*record, 0x0C, 1);
    EXPECT_EQ(deviceTxFrameNumber(record.get(), 0x0C), 0u);
    EXPECT_EQ(deviceTxFrameNumber(record.get(), 0x0D), 1u);
    txPose(*record, 0x02, 1);
    EXPECT_EQ(deviceTxSystemStatus(record.get()), 0x1F2E);

    float values[8];
    EXPECT_EQ(deviceTxTransformF(record.get(), 0x0D, values), 0);
    EXPECT_EQ(values[4], -123.45f);
}

TEST(DecodeTx, InformationRunsOnIntoTheNextEntry) {
    const RecordPtr record = makeRecord();
    const std::string twenty = "8102030405060708090A";
    const std::string stray = "+000100-000200+000300";
    // The eight characters behind the field are eaten from the stray text of the same line.
    std::string reply = "18"; // 24 handles
    for (int i = 0; i < 24; ++i) {
        reply += "0" + std::string(1, "123456789ABCDEF0"[i % 16]) + twenty.substr(0, 12) +
                 "........" + stray + "\n";
    }
    decode(protocol::decodeTx, *record, "TX:0006ABCD\r", reply + "0000");
    EXPECT_EQ(record->TxHandleCount, 24);
    EXPECT_EQ(deviceTxToolInformation(record.get(), 1), 0x81);
    double position[3];
    EXPECT_EQ(deviceTxSingleStray(record.get(), 1, position), 0);
    EXPECT_THAT(position, ElementsAre(1.0, -2.0, 3.0));
    // The last one ends at the array, not in the store behind it.
    EXPECT_EQ(std::string(record->TxSingleStray[0]), stray);
    EXPECT_EQ(std::string(record->TxInformation[23], 12), twenty.substr(0, 12));
    EXPECT_EQ(deviceTxSingleStray(record.get(), 0x77, position), 1);
}

TEST(DecodeTx, StrayMarkersUpToFifty) {
    const struct {
        const char* count;
        int sent, stored;
    } cases[] = {{"00", 0, 0}, {"01", 1, 1}, {"32", 50, 50}, {"3C", 60, 50}, {"FF", 255, 50}};
    for (const auto& [count, sent, stored] : cases) {
        std::string reply = std::string("00") + count;
        reply += std::string(static_cast<std::size_t>(std::min((sent + 3) / 4, 13)), '0');
        for (int k = 0; k < sent; ++k) {
            reply += "+000100-000200+0003" + std::to_string(10 + k % 90);
        }
        const RecordPtr record = makeRecord();
        decode(protocol::decodeTx, *record, "TX:1000ABCD\r", reply + "0080");
        EXPECT_EQ(deviceTxPassiveStrayCount(record.get()), stored) << count;
        double position[3] = {9, 9, 9};
        EXPECT_EQ(deviceTxPassiveStray(record.get(), 0, position), sent == 0 ? 1 : 0);
        if (stored > 0) {
            EXPECT_EQ(deviceTxPassiveStray(record.get(), stored - 1, position), 0);
            EXPECT_DOUBLE_EQ(position[2], (310 + (stored - 1) % 90) * 0.01);
            EXPECT_EQ(deviceTxPassiveStray(record.get(), stored, position), 2);
            EXPECT_EQ(deviceTxPassiveStray(record.get(), -1, position), 2);
        }
        // A device that sends more than 50 is read as 50: the status comes from the 51st.
        EXPECT_EQ(deviceTxSystemStatus(record.get()), sent > 50 ? 0 : 0x80) << count;
    }
}

TEST(DecodeText, EveryTruncationStaysInside) {
    const std::string tx = "030A" + kPoseText + kState +
                           "8102030405060708090A+000100-000200+000300\n"
                           "0BMISSING" +
                           kState +
                           "\n0CDISABLED\n02F+000100-000200+000300"
                           "+000100-000200+0003000080";
    const std::string gx = kPoseText + "\nMISSING\n\x81\n" + kState + "\n" + kPoseText + kPoseText;
    const struct {
        Decoder decoder;
        const char* command;
        std::string reply;
    } cases[] = {
        {protocol::decodeTx, "TX:1007ABCD\r", tx},
        {protocol::decodeGx, "GX:B00FABCD\r", gx},
        {protocol::decodePhinf, "PHINF:0A007FABCD\r", std::string(90, '7')},
        {protocol::decodePhsr, "PHSR:00ABCD\r", "030A0010B0020C003"},
        {protocol::decodePhrq, "PHRQ:*\r", "0A"},
        {protocol::decodePstat, "PSTAT:801FABCD\r", std::string(70, 'A') + "\nUNOCCUPIED\n"},
        {protocol::decodeSstat, "SSTAT:0007ABCD\r", "010203"},
        {protocol::decodeIrchk, "IRCHK:0003ABCD\r", "1+02+10-20+30-40+01+50+60"},
    };
    for (const auto& each : cases) {
        for (std::size_t length = 0; length <= each.reply.size(); ++length) {
            const RecordPtr record = makeRecord();
            decode(each.decoder, *record, each.command, each.reply.substr(0, length));
        }
        // Without an end to the text and with counts of 255.
        for (const char filler : {'F', 'M', 'U', '+', '\n', '\x80', '\0'}) {
            const RecordPtr record = makeRecord();
            decode(each.decoder, *record, each.command, "FF" + std::string(2040, filler));
            EXPECT_LE(record->TxHandleCount, 24);
        }
    }
}

TEST(DecodeGx, WiredAndPassivePorts) {
    const RecordPtr record = makeRecord();
    decode(protocol::decodeGx, *record, "GX:0009ABCD\r",
           kPoseText + "\nMISSING\nDISABLED\n00000031\n00000001\n00000002\n00000003");
    double values[8];
    EXPECT_EQ(deviceGxTransform(record.get(), '1', values), 0);
    EXPECT_THAT(values, Pointwise(DoubleNear(1e-12), kPose));
    EXPECT_EQ(deviceGxTransform(record.get(), '2', values), 2);
    EXPECT_EQ(deviceGxTransform(record.get(), '3', values), 1);
    EXPECT_EQ(stored(record->GxStatus), "00000031");
    EXPECT_EQ(stored(record->GxFrame[2]), "00000003");
    for (const char port : {'0', '4', 'A', 'J', '\0', '\xFF'}) {
        EXPECT_EQ(deviceGxTransform(record.get(), port, values), 1) << port;
    }

    // The passive option alone brings the transforms; without all ports there is one group.
    const std::string group = "MISSING\n" + kPoseText + "\nDISABLED\n0000003";
    decode(protocol::decodeGx, *record, "GX:8000ABCD\r", group + "1");
    EXPECT_EQ(deviceGxTransform(record.get(), 'B', values), 0);
    EXPECT_EQ(deviceGxTransform(record.get(), 'A', values), 2);

    // A second group without a line feed behind it is the last, and frames follow for six ports.
    decode(protocol::decodeGx, *record, "GX:A009ABCD\r",
           "\n\n\n\n\n\n\n" + group + "1\n" + group + "2" + "F1\nF2\nF3\nF4\nF5\nF6\nF7");
    EXPECT_EQ(std::string(record->GxPassiveStatus, 16), "0000003100000032");
    EXPECT_EQ(stored(record->GxPassiveFrame[5]), "F6");
    EXPECT_EQ(stored(record->GxPassiveFrame[6]), "");
}

TEST(DecodePhinf, PartsFollowTheOption) {
    const std::string reply = "01234567MAKER       1.2ABCDEFGH81"
                              "00000FED"
                              "PART-0123456789ABCDE"
                              "3D"
                              "04"
                              "0102030405060A"
                              "0F";
    const RecordPtr record = makeRecord();
    decode(protocol::decodePhinf, *record, "PHINF:0A007FABCD\r", reply);
    char basic[31];
    char partNumber[20];
    char location[14];
    EXPECT_EQ(devicePhinfBasic(record.get(), basic), 0);
    EXPECT_EQ(std::string(basic, 31), reply.substr(0, 31));
    EXPECT_EQ(devicePhinfBasicTail(record.get()), 0x81);
    EXPECT_EQ(devicePhinfTesting(record.get()), 0xFEDu);
    EXPECT_EQ(devicePhinfPartNumber(record.get(), partNumber), 0);
    EXPECT_EQ(std::string(partNumber, 20), "PART-0123456789ABCDE");
    EXPECT_EQ(devicePhinfAccessories(record.get()), 0x3D);
    EXPECT_EQ(devicePhinfMarkerType(record.get()), 4);
    EXPECT_EQ(devicePhinfPortLocation(record.get(), location), 0);
    EXPECT_EQ(std::string(location, 14), "0102030405060A");
    EXPECT_EQ(devicePhinfGpioStatus(record.get()), 0x0F);

    // An unoccupied port: fixed patterns for what was asked, the rest stays.
    decode(protocol::decodePhinf, *record, "PHINF:0A0025ABCD\r", "UNOCCUPIED");
    EXPECT_EQ(devicePhinfBasic(record.get(), basic), 3);
    EXPECT_EQ(std::string(basic, 31), "00000000            00000000000");
    EXPECT_EQ(stored(record->PhinfBasic), "00000000            0000000000000");
    devicePhinfPartNumber(record.get(), partNumber);
    EXPECT_EQ(std::string(partNumber, 20), std::string(20, ' '));
    devicePhinfPortLocation(record.get(), location);
    EXPECT_EQ(std::string(location, 14), std::string(14, '0'));
    EXPECT_EQ(devicePhinfTesting(record.get()), 0xFEDu);
}

TEST(DecodePhinf, OptionOrWhatStandsInItsPlace) {
    const struct {
        const char* command;
        bool basic, accessories;
    } cases[] = {
        {"PHINF:0A0008ABCD\r", false, true}, {"PHINF 0A0008\r", false, true},
        {"PHINF:0A0009\r", true, true}, // the CRC of a command without option is read as one
        {"PHINF \r", true, false},           {"PHINF\r", true, false},
        {"PHINF:ABCD\r", true, false},       {"PHINF 0A\r", false, false},
    };
    for (const auto& [command, basic, accessories] : cases) {
        const RecordPtr record = makeRecord();
        decode(protocol::decodePhinf, *record, command, std::string(60, '7'));
        EXPECT_EQ(record->PhinfBasic[0] != 0, basic) << command;
        EXPECT_EQ(record->PhinfAccessories[0] != 0, accessories) << command;
    }
}

TEST(DecodePhsr, EntriesCountsAndOlderReplies) {
    const RecordPtr record = makeRecord();
    decode(protocol::decodePhsr, *record, "PHSR:00ABCD\r", "040A0010b03F0C0030D004");
    const struct {
        int index, handle, status;
    } cases[] = {{0, 0x0A, 0x001}, {1, 0x0B, 0x03F}, {3, 0x0D, 0x004},
                 {4, 0, 0},        {5, 0, 0},        {-1, 0, 0}};
    EXPECT_EQ(devicePhsrCount(record.get()), 4);
    for (const auto& [index, handle, status] : cases) {
        EXPECT_EQ(devicePhsrHandle(record.get(), index), handle) << index;
        EXPECT_EQ(devicePhsrStatus(record.get(), index), status) << index;
    }
    // An entry at the count itself is answered, one behind it is not.
    decode(protocol::decodePhsr, *record, "PHSR:00ABCD\r", "010A0010B002");
    EXPECT_EQ(devicePhsrHandle(record.get(), 1), 0x0B);
    EXPECT_EQ(devicePhsrHandle(record.get(), 2), 0);
    // A count without entries meets zeros, not the entries of older replies.
    decode(protocol::decodePhsr, *record, "PHSR:00ABCD\r", "FF");
    for (int i = 0; i <= 256; ++i) {
        ASSERT_EQ(devicePhsrHandle(record.get(), i) + devicePhsrStatus(record.get(), i), 0) << i;
    }
    decode(protocol::decodePhsr, *record, "PHSR:00ABCD\r", "FF" + std::string(1400, '1'));
    EXPECT_EQ(stored(record->PhsrReply).size(), 1282u);
    EXPECT_EQ(devicePhsrHandle(record.get(), 255), 0x11);

    decode(protocol::decodePhrq, *record, "PHRQ:*ABCD\r", "1F99");
    EXPECT_EQ(devicePhrqHandle(record.get()), 0x1F);
    decode(protocol::decodePhrq, *record, "PHRQ:*ABCD\r", "");
    EXPECT_EQ(devicePhrqHandle(record.get()), 0);
}

TEST(DecodePstat, WiredThenPassivePorts) {
    const RecordPtr record = makeRecord();
    const auto port = [](const std::string& part) {
        return "0123456789MAKER.....1.2ABCDEFGH" + part.substr(0, 1) + "0000000A" + part +
               std::string(20 - part.size(), ' ') +
               "1F"
               "02"
               "rest\n";
    };
    std::string reply = port("P1") + "UNOCCUPIED\n" + port("P3");
    for (int i = 0; i < 9; ++i) {
        reply += port("Q" + std::to_string(i));
    }
    decode(protocol::decodePstat, *record, "PSTAT:A01FABCD\r", reply);
    char part[20];
    char basic[30];
    const struct {
        char port;
        int part, basic;
        const char* text;
    } cases[] = {{'1', 0, 0, "P1"}, {'2', 3, 3, ""}, {'3', 0, 0, "P3"}, {'A', 0, 0, "Q0"},
                 {'I', 0, 0, "Q8"}, {'4', 3, 3, ""}, {'J', 3, 3, ""},   {'\0', 3, 3, ""}};
    for (const auto& each : cases) {
        EXPECT_EQ(devicePstatPartNumber(record.get(), each.port, part), each.part) << each.port;
        EXPECT_EQ(devicePstatBasic(record.get(), each.port, basic), each.basic) << each.port;
        const bool known = each.part == 0;
        if (known) {
            EXPECT_EQ(std::string(part, 2), each.text);
            EXPECT_EQ(std::string(basic, 30), port(each.text).substr(0, 30));
        }
        EXPECT_EQ(devicePstatTesting(record.get(), each.port), known ? 0xAu : 0u);
        EXPECT_EQ(devicePstatAccessories(record.get(), each.port), known ? 0x1F : 0);
        EXPECT_EQ(devicePstatMarkerType(record.get(), each.port), known ? 2 : 0);
    }
    // A shorter text leaves nothing of the longer one, a text not asked for stays.
    decode(protocol::decodePstat, *record, "PSTAT:0004ABCD\r", "X\nY\nZ\n");
    EXPECT_EQ(devicePstatPartNumber(record.get(), '1', part), 0);
    EXPECT_EQ(std::string(part, 20), "X" + std::string(19, '\0'));
    EXPECT_EQ(devicePstatTesting(record.get(), '1'), 0xAu);
}

TEST(DecodeSystem, StatusAndInfraredSources) {
    const RecordPtr record = makeRecord();
    EXPECT_EQ(deviceSstatControl(record.get()), 0);
    decode(protocol::decodeSstat, *record, "SSTAT:ABCD\r", "112233"); // no option: nothing
    EXPECT_EQ(deviceSstatControl(record.get()), 0);
    decode(protocol::decodeSstat, *record, "SSTAT:0005ABCD\r", "1122");
    EXPECT_EQ(deviceSstatControl(record.get()), 0x11);
    EXPECT_EQ(deviceSstatSensor(record.get()), 0);
    EXPECT_EQ(deviceSstatTiu(record.get()), 0x22);

    decode(protocol::decodeIrchk, *record, "IRCHK:ABCD\r", "1");
    EXPECT_TRUE(deviceIrchkDetected(record.get()));
    EXPECT_EQ(deviceIrchkSourceCount(record.get(), 0), 0);
    decode(protocol::decodeIrchk, *record, "IRCHK 0003\r", "0+02+10-20+30-40+01+50+60");
    EXPECT_FALSE(deviceIrchkDetected(record.get()));
    double angles[2];
    const struct {
        int side, index, result;
        double x, y;
    } cases[] = {{0, 0, 0, 0.1, -0.2}, {0, 1, 0, 0.3, -0.4}, {0, 2, 2, 0, 0}, {0, -1, 2, 0, 0},
                 {1, 0, 0, 0.5, 0.6},  {1, 1, 2, 0, 0},      {2, 0, 2, 0, 0}};
    for (const auto& each : cases) {
        EXPECT_EQ(deviceIrchkSource(record.get(), each.side, each.index, angles), each.result);
        if (each.result == 0) {
            EXPECT_THAT(angles, Pointwise(DoubleNear(1e-12), {each.x, each.y}));
        }
    }
    EXPECT_EQ(deviceIrchkSourceCount(record.get(), 1), 1);
    EXPECT_EQ(deviceIrchkSourceCount(record.get(), -1), 0);

    // A shorter list leaves the tail of the longer one behind.
    decode(protocol::decodeIrchk, *record, "IRCHK:0002ABCD\r", "+01");
    EXPECT_EQ(stored(record->IrchkSources), "+01+10-20+30-40+01+50+60");
}

TEST(DecodeSystem, SourceCountsThatCannotBe) {
    const std::string twenty = "+20" + std::string(120, '+');
    const struct {
        std::string sources;
        int first, second;
    } cases[] = {{"+21", 0, 0},    {"-01", 0, 0},     {"999", 0, 0},          {"+00+21", 0, 0},
                 {"+00-05", 0, 0}, {"+00+20", 0, 20}, {twenty + "+05", 20, 5}};
    for (const auto& [sources, first, second] : cases) {
        const RecordPtr record = makeRecord();
        decode(protocol::decodeIrchk, *record, "IRCHK:0002ABCD\r", sources);
        EXPECT_EQ(deviceIrchkSourceCount(record.get(), 0), first) << sources;
        EXPECT_EQ(deviceIrchkSourceCount(record.get(), 1), second) << sources;
        double angles[2];
        for (int i = 0; i < 21; ++i) {
            deviceIrchkSource(record.get(), 0, i, angles);
            deviceIrchkSource(record.get(), 1, i, angles);
        }
    }
    // Entries that would lie behind the store.
    const RecordPtr record = makeRecord();
    decode(protocol::decodeIrchk, *record, "IRCHK:0002ABCD\r", twenty + "+05");
    double angles[2];
    EXPECT_EQ(deviceIrchkSource(record.get(), 0, 19, angles), 0);
    EXPECT_EQ(deviceIrchkSource(record.get(), 1, 0, angles), 2);
}
