#include "protocol/dump.h"
#include "tests/protocol/RecordPtr.h"

#include <cstring>
#include <gmock/gmock.h>
#include <sstream>

using testing::Contains;

namespace {

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// Every key in order, with how many entries it has.
constexpr char kKeys[] =
    "GxTransforms#3[52] GxStatus[8] GxInformation#3[12] GxSingleStray#3[24] GxFrame#3[8] "
    "GxPassiveTransforms#9[52] GxPassiveStatus[24] GxPassiveInformation#9[12] GxPassiveFrame#9[8] "
    "GxPassiveStray[424] PstatBasic#3[32] PstatTesting#3[8] PstatPartNumber#3[20] "
    "PstatAccessories#3[2] PstatMarkerType#3[2] PstatPassiveBasic#9[32] PstatPassiveTesting#9[8] "
    "PstatPassivePartNumber#9[20] PstatPassiveAccessories#9[2] PstatPassiveMarkerType#9[2] "
    "SstatControl[2] SstatSensor[2] SstatTiu[2] IrchkDetected IrchkSources[128] PhrqReply[2] "
    "PhsrReply[1284] PhinfUnoccupied PhinfBasic[34] PhinfTesting[8] PhinfPartNumber[20] "
    "PhinfAccessories[2] PhinfMarkerType[2] PhinfPortLocation[14] PhinfGpioStatus[2] TxHandleCount "
    "TxHandles[NDI_MAX_HANDLES] TxTransforms#2[52] TxStatus#2[8] TxFrame#2[8] TxInformation#2[12] "
    "TxSingleStray#2[24] TxSystemStatus[4] TxPassiveStrayCount TxPassiveStrayOov[14] "
    "TxPassiveStray[1052] BxHandleCount BxHandles[NDI_MAX_HANDLES] "
    "BxHandlesStatus[NDI_MAX_HANDLES] BxFrameNumber[NDI_MAX_HANDLES] BxTransforms#1[8] "
    "BxPortStatus[NDI_MAX_HANDLES] BxToolMarkerInformation#1[11] "
    "BxActiveSingleStrayMarkerStatus[NDI_MAX_HANDLES] BxActiveSingleStrayMarkerPosition#1[3] "
    "Bx3DMarkerCount[NDI_MAX_HANDLES] Bx3DMarkerOutOfVolume#1[3] Bx3DMarkerPosition[0]#2[3] "
    "BxPassiveStrayCount BxPassiveStrayOutOfVolume[30] BxPassiveStrayPosition#3[3]";

std::vector<std::string> expectedKeys() {
    std::vector<std::string> keys;
    std::istringstream in(kKeys);
    for (std::string key; in >> key;) {
        const std::size_t mark = key.find('#');
        if (mark == std::string::npos) {
            keys.push_back(key + ":");
            continue;
        }
        for (int i = 0; i < key[mark + 1] - '0'; ++i) {
            keys.push_back(key.substr(0, mark) + "[" + std::to_string(i) + "]" +
                           key.substr(mark + 2) + ":");
        }
    }
    return keys;
}

} // namespace

TEST(Dump, ValuesAsTheStoresHoldThem) {
    const RecordPtr record = makeRecord();
    record->TxHandleCount = 2;
    std::memcpy(record->TxStatus[0], "00000031", 8); // unterminated: runs on into the next
    std::memcpy(record->TxStatus[1], "0000", 4);
    record->BxHandleCount = 1;
    std::memcpy(record->BxHandles, "\x0C\x0B", 2);
    record->Bx3DMarkerCount[0] = 2;
    record->BxPassiveStrayCount = 3;
    record->IrchkDetected = '1';
    const std::string whole = protocol::describeState(*record);
    const std::vector<std::string> lines = linesOf(whole);
    std::vector<std::string> keys;
    for (const std::string& line : lines) {
        keys.push_back(line.substr(0, line.find(": ") + 1));
    }
    EXPECT_EQ(keys, expectedKeys());
    std::ostringstream address;
    address << "BxPassiveStrayPosition[2][3]: " << &record->BxPassiveStrayPosition[2];
    for (const std::string& line :
         {std::string("TxStatus[0][8]: 000000310000"), address.str(),
          std::string("TxHandleCount: 2"), std::string("BxHandleCount: \1"),
          std::string("BxHandles[NDI_MAX_HANDLES]: \x0C\x0B"), std::string("IrchkDetected: 49")}) {
        EXPECT_THAT(lines, Contains(line));
    }
    std::string out(whole.size() + 1, '#');
    deviceDumpState(record.get(), out.data());
    EXPECT_EQ(out, whole + "#"); // not terminated
    std::string bounded(21, '#');
    EXPECT_EQ(deviceDumpState(record.get(), bounded.data(), 20), whole.size());
    EXPECT_EQ(bounded, whole.substr(0, 19) + '\0' + "#");
}
