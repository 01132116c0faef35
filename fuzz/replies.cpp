// The reply of every parsed command: decoding, then everything that reads the stores.
//
// Input: for each reply the command (an index), the form of its reply option (0 none), the option,
// and the reply's data.

#include "fuzz/Input.h"
#include "protocol/channel.h"

#include <climits>
#include <memory>
#include <vector>

namespace {

using fuzz::expect;
using fuzz::Input;
using RecordPtr = std::unique_ptr<DeviceRecord, decltype(&protocol::freeRecord)>;

constexpr std::string_view kNames[] = {"BX",   "TX",    "GX",    "PHINF", "PHRQ",
                                       "PHSR", "PSTAT", "SSTAT", "IRCHK"};
constexpr int kHandles[] = {INT_MIN, -1, 0, 0x0A, 0x7F, 0x80, 0xFF, 0x100, INT_MAX};
constexpr int kIndices[] = {INT_MIN, -1, 0,  1,   2,   19,  20,  21,  23,  24,     49,
                            50,      51, 84, 125, 127, 128, 239, 240, 254, INT_MAX};
constexpr char kPorts[] = {'\0', '0', '1', '3', '4', '@', 'A', 'I', 'J', '\x7F', '\xFF'};

std::string commandText(std::string_view name, unsigned form, unsigned option) {
    const std::string digits = form == 0 ? "" : fuzz::optionDigits(option);
    const std::string handle = name == "PHINF" && form != 0 ? "0A" : "";
    const bool hasCrc = form < 2;
    return std::string(name) + (hasCrc ? ":" : " ") + handle + digits + (hasCrc ? "0123\r" : "\r");
}

void store(DeviceRecord& record, Input& input) {
    const std::string_view name = kNames[input.byte() % std::size(kNames)];
    const unsigned form = input.byte() % 3;
    const std::string text = commandText(name, form, input.word());
    const std::string_view data = input.text();
    // From a copy on the heap, so that a read behind its end shows.
    const std::vector<char> exact(data.begin(), data.end());
    protocol::storeReply(record, {text, name, name == "BX"}, {exact.data(), exact.size()});
}

void readHandle(const DeviceRecord* record, int handle) {
    float pose[8];
    float position[3];
    double widePose[8];
    double widePosition[3];
    std::uint8_t information = 0;
    deviceBxTransform(record, handle, pose);
    deviceBxFrameNumber(record, handle);
    deviceBxPortStatus(record, handle);
    deviceBxToolInformation(record, handle, &information);
    deviceBxSingleStray(record, handle, position);
    deviceTxTransform(record, handle, widePose);
    deviceTxTransformF(record, handle, pose);
    deviceTxPortStatus(record, handle);
    deviceTxFrameNumber(record, handle);
    deviceTxToolInformation(record, handle);
    deviceTxSingleStray(record, handle, widePosition);
}

void readIndex(const DeviceRecord* record, int index) {
    float position[3];
    double widePosition[3];
    deviceBxPassiveStray(record, index, position);
    deviceTxPassiveStray(record, index, widePosition);
    devicePhsrHandle(record, index);
    devicePhsrStatus(record, index);
    double source[2];
    for (const int side : {-1, 0, 1, 2}) {
        const int count = deviceIrchkSourceCount(record, side);
        expect(count >= 0 && count <= 20, "a side has at most 20 infrared sources");
        deviceIrchkSource(record, side, index, source);
    }
}

void readPort(const DeviceRecord* record, char port) {
    double pose[8];
    char partNumber[20];
    char basic[30];
    deviceGxTransform(record, port, pose);
    devicePstatAccessories(record, port);
    devicePstatTesting(record, port);
    devicePstatMarkerType(record, port);
    devicePstatPartNumber(record, port, partNumber);
    devicePstatBasic(record, port, basic);
}

void readSingleStores(const DeviceRecord* record) {
    char basic[31];
    char partNumber[20];
    char location[14];
    devicePhinfBasic(record, basic);
    devicePhinfPartNumber(record, partNumber);
    devicePhinfPortLocation(record, location);
    devicePhinfBasicTail(record);
    devicePhinfTesting(record);
    devicePhinfAccessories(record);
    devicePhinfMarkerType(record);
    devicePhinfGpioStatus(record);
    deviceSstatControl(record);
    deviceSstatSensor(record);
    deviceSstatTiu(record);
    deviceIrchkDetected(record);
    deviceBxSystemStatus(record);
    deviceTxSystemStatus(record);
    const int handle = devicePhrqHandle(record);
    const int count = devicePhsrCount(record);
    const int strays = deviceBxPassiveStrayCount(record);
    const int textStrays = deviceTxPassiveStrayCount(record);
    expect(handle >= 0 && handle <= 0xFF && count >= 0 && count <= 0xFF, "two digits are a byte");
    expect(strays >= -128 && strays <= 127 && textStrays >= 0 && textStrays <= 50,
           "stray markers are as many as documented");
}

void dump(const DeviceRecord* record) {
    const std::size_t length = deviceDumpState(record, nullptr, 0);
    std::vector<char> whole(length + 1);
    std::vector<char> cut(length / 2 + 1, 'x');
    deviceDumpState(record, whole.data());
    expect(deviceDumpState(record, cut.data(), cut.size()) == length && cut.back() == '\0' &&
               std::equal(cut.begin(), cut.end() - 1, whole.begin()),
           "a bounded dump is the beginning of the whole one");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const RecordPtr record(protocol::allocateRecord(), protocol::freeRecord);
    Input input(bytes, size);
    do {
        store(*record, input);
    } while (!input.isEmpty());
    for (const int handle : kHandles)
        readHandle(record.get(), handle);
    for (int i = 0; i < NDI_MAX_HANDLES; ++i) {
        readHandle(record.get(), record->BxHandles[i]);
        readHandle(record.get(), record->TxHandles[i]);
    }
    for (const int index : kIndices)
        readIndex(record.get(), index);
    for (const char port : kPorts)
        readPort(record.get(), port);
    readSingleStores(record.get());
    dump(record.get());
    return 0;
}
