#include "bench/CannedDevice.h"
#include "bench/Paired.h"
#include "protocol/crc.h"
#include "protocol/record.h"
#include "protocol/replies.h"

#include <array>
#include <cstring>
#include <memory>

// What is computed about a reply, without any line. The base is a copy of the same bytes.
namespace bench {
namespace {

constexpr int repetitions = 1000;

using Record = std::unique_ptr<DeviceRecord, decltype(&protocol::freeRecord)>;

/// The reply without what the channel takes off it.
std::string dataOf(const CannedDevice& device, bool isBinary) {
    const std::string& whole = device.reply(isBinary);
    return whole.substr(0, whole.size() - (isBinary ? 2 : 5));
}

template <class Function>
void compareWithCopy(benchmark::State& state, const std::string& data, const Function& function) {
    const OneCore pinned;
    std::array<char, 2048> copy;
    compare(
        state, repetitions,
        [&] {
            for (int i = 0; i < repetitions; ++i) {
                std::memcpy(copy.data(), data.data(), data.size());
                benchmark::ClobberMemory();
            }
        },
        [&] {
            for (int i = 0; i < repetitions; ++i) {
                function();
                benchmark::ClobberMemory();
            }
        });
    state.counters["bytes"] = static_cast<double>(data.size());
}

void runDecode(benchmark::State& state, bool isBinary) {
    const CannedDevice device(ndisim::Family::Vega, Scene{});
    const std::string command = CannedDevice::command(isBinary);
    const std::string data = dataOf(device, isBinary);
    const Record record(protocol::allocateRecord(), protocol::freeRecord);
    const auto decode = isBinary ? protocol::decodeBx : protocol::decodeTx;
    compareWithCopy(state, data, [&] { decode(*record, {command, data}); });
}

void runCrc(benchmark::State& state) {
    const CannedDevice device(ndisim::Family::Vega, Scene{});
    const std::string data = dataOf(device, true);
    compareWithCopy(state, data, [&] { benchmark::DoNotOptimize(protocol::crc16(data)); });
}

} // namespace

void registerComputation(const Effort& effort) {
    addPaired(effort, "decode/binary", [](benchmark::State& s) { runDecode(s, true); });
    addPaired(effort, "decode/text", [](benchmark::State& s) { runDecode(s, false); });
    addPaired(effort, "crc", runCrc);
}

} // namespace bench
