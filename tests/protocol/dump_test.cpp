#include "protocol/dump.h"
#include "tests/protocol/RecordPtr.h"

#include <cstring>
#include <gmock/gmock.h>
#include <sstream>

using testing::Contains;
using testing::ElementsAreArray;

namespace {

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The keys of a dump without the values, for a record with that many handles, markers and strays.
std::vector<std::string> expectedKeys(int tx, int bx, int markers, int strays) {
    std::vector<std::string> keys;
    const auto add = [&keys](const std::string& key) { keys.push_back(key + ":"); };
    const auto addEach = [&keys](const std::string& name, int n, const std::string& size) {
        for (int i = 0; i < n; ++i) {
            keys.push_back(name + "[" + std::to_string(i) + "]" + size + ":");
        }
    };
    addEach("GxTransforms", 3, "[52]");
    add("GxStatus[8]");
    addEach("GxInformation", 3, "[12]");
    addEach("GxSingleStray", 3, "[24]");
    addEach("GxFrame", 3, "[8]");
    addEach("GxPassiveTransforms", 9, "[52]");
    add("GxPassiveStatus[24]");
    addEach("GxPassiveInformation", 9, "[12]");
    addEach("GxPassiveFrame", 9, "[8]");
    add("GxPassiveStray[424]");
    for (const auto& [prefix, n] : {std::pair("Pstat", 3), std::pair("PstatPassive", 9)}) {
        const std::string name = prefix;
        addEach(name + "Basic", n, "[32]");
        addEach(name + "Testing", n, "[8]");
        addEach(name + "PartNumber", n, "[20]");
        addEach(name + "Accessories", n, "[2]");
        addEach(name + "MarkerType", n, "[2]");
    }
    for (const char* key :
         {"SstatControl[2]", "SstatSensor[2]", "SstatTiu[2]", "IrchkDetected", "IrchkSources[128]",
          "PhrqReply[2]", "PhsrReply[1284]", "PhinfUnoccupied", "PhinfBasic[34]", "PhinfTesting[8]",
          "PhinfPartNumber[20]", "PhinfAccessories[2]", "PhinfMarkerType[2]",
          "PhinfPortLocation[14]", "PhinfGpioStatus[2]", "TxHandleCount",
          "TxHandles[NDI_MAX_HANDLES]"}) {
        add(key);
    }
    addEach("TxTransforms", tx, "[52]");
    addEach("TxStatus", tx, "[8]");
    addEach("TxFrame", tx, "[8]");
    addEach("TxInformation", tx, "[12]");
    addEach("TxSingleStray", tx, "[24]");
    for (const char* key : {"TxSystemStatus[4]", "TxPassiveStrayCount", "TxPassiveStrayOov[14]",
                            "TxPassiveStray[1052]", "BxHandleCount", "BxHandles[NDI_MAX_HANDLES]",
                            "BxHandlesStatus[NDI_MAX_HANDLES]", "BxFrameNumber[NDI_MAX_HANDLES]"}) {
        add(key);
    }
    addEach("BxTransforms", bx, "[8]");
    add("BxPortStatus[NDI_MAX_HANDLES]");
    addEach("BxToolMarkerInformation", bx, "[11]");
    add("BxActiveSingleStrayMarkerStatus[NDI_MAX_HANDLES]");
    addEach("BxActiveSingleStrayMarkerPosition", bx, "[3]");
    add("Bx3DMarkerCount[NDI_MAX_HANDLES]");
    addEach("Bx3DMarkerOutOfVolume", bx, "[3]");
    for (int i = 0; i < bx; ++i) {
        addEach("Bx3DMarkerPosition[" + std::to_string(i) + "]", markers, "[3]");
    }
    add("BxPassiveStrayCount");
    add("BxPassiveStrayOutOfVolume[30]");
    addEach("BxPassiveStrayPosition", strays, "[3]");
    return keys;
}

std::vector<std::string> keysOf(const std::string& dump) {
    std::vector<std::string> keys = linesOf(dump);
    for (std::string& line : keys) {
        line.resize(line.find(": ") + 1);
    }
    return keys;
}

} // namespace

TEST(Dump, FreshRecordHasEveryFixedLine) {
    const RecordPtr record = makeRecord();
    const std::string dump = protocol::describeState(*record);
    EXPECT_THAT(keysOf(dump), ElementsAreArray(expectedKeys(0, 0, 0, 0)));
    const auto lines = linesOf(dump);
    EXPECT_THAT(lines, Contains("TxHandleCount: 0"));
    EXPECT_THAT(lines, Contains(std::string("BxHandleCount: \0", 16)));
    EXPECT_THAT(lines, Contains("BxHandles[NDI_MAX_HANDLES]: "));
}

TEST(Dump, ValuesAsTheStoresHoldThem) {
    const RecordPtr record = makeRecord();
    record->TxHandleCount = 2;
    std::strcpy(record->TxTransforms[1], "MISSING");
    std::memcpy(record->TxStatus[0], "00000031", 8); // unterminated: runs on into the next
    std::memcpy(record->TxStatus[1], "0000", 4);
    record->BxHandleCount = 1;
    record->BxHandles[0] = 0x0A;
    record->BxHandles[1] = 0x0B;
    record->Bx3DMarkerCount[0] = 2;
    record->BxPassiveStrayCount = 3;
    record->IrchkDetected = '1';
    const std::string dump = protocol::describeState(*record);
    // A handle number of 0x0A is a line feed in the text.
    EXPECT_NE(dump.find("\nBxHandles[NDI_MAX_HANDLES]: \x0A\x0B\nBxHandlesStatus"),
              std::string::npos);
    record->BxHandles[0] = 0x0C;
    EXPECT_THAT(keysOf(protocol::describeState(*record)),
                ElementsAreArray(expectedKeys(2, 1, 2, 3)));
    std::ostringstream address;
    address << "BxPassiveStrayPosition[2][3]: "
            << static_cast<const void*>(&record->BxPassiveStrayPosition[2]);
    for (const std::string& line :
         {std::string("TxTransforms[1][52]: MISSING"), std::string("TxStatus[0][8]: 000000310000"),
          std::string("IrchkDetected: 49"), address.str()}) {
        EXPECT_THAT(linesOf(dump), Contains(line));
    }
}

TEST(Dump, CountsThatCannotBeAndStoresWithoutEnd) {
    const RecordPtr record = makeRecord();
    // Not one zero from the first reply store to the end of the record.
    std::memset(record->GxTransforms, 0x7E,
                sizeof(DeviceRecord) - offsetof(DeviceRecord, GxTransforms));
    for (const int count : {INT32_MIN, -1, INT32_MAX}) {
        record->TxHandleCount = count;
        record->BxPassiveStrayCount = count;
        record->BxHandleCount = 255;
        record->Bx3DMarkerCount[0] = static_cast<std::int8_t>(count);
        EXPECT_GT(protocol::describeState(*record).size(), sizeof(DeviceRecord));
    }
}

TEST(Dump, BoundedAndUnboundedFormsAgree) {
    const RecordPtr record = makeRecord();
    const std::string whole = protocol::describeState(*record);
    std::string out(whole.size() + 1, '#');
    deviceDumpState(record.get(), out.data());
    EXPECT_EQ(out, whole + "#"); // not terminated

    EXPECT_EQ(deviceDumpState(record.get(), nullptr, 0), whole.size());
    for (const std::size_t size : {std::size_t{1}, std::size_t{20}, whole.size() + 1}) {
        std::string bounded(whole.size() + 2, '#');
        EXPECT_EQ(deviceDumpState(record.get(), bounded.data(), size), whole.size());
        EXPECT_EQ(bounded.substr(0, size + 1),
                  whole.substr(0, size - 1) + std::string(1, '\0') + "#");
    }
}
