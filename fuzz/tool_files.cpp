// Tool definition files, loaded by the streams and by the protocol library, and what a device then
// holds. Input: the file.

#include "fuzz/MemoryFile.h"
#include "fuzz/Peer.h"
#include "simulator/Device.h"
#include "streams/internal/OpenDevice.h"
#include "streams/internal/ToolCommands.h"

#include <stdexcept>
#include <vector>

namespace {

using fuzz::expect;

ndisim::Device readyDevice() {
    ndisim::DeviceOptions options;
    options.state = ndisim::DeviceState::Initialised;
    return ndisim::Device(options);
}

/// The decimal digits behind byte 592, up to a zero byte, are the number.
void checkPartNumber(std::int32_t partNumber, const std::vector<std::uint8_t>& image) {
    const std::string text(image.begin() + 592, std::find(image.begin() + 592, image.end(), 0));
    const bool isNumber =
        !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    expect(partNumber == (isNumber ? std::stoll(text) : -1), "the part number is the file's");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const fuzz::MemoryFile file({reinterpret_cast<const char*>(bytes), size});
    ndisim::Device device = readyDevice();
    fuzz::Peer peer(fuzz::Peer::Kind::Tcp);
    peer.answerAll([&](std::string_view command) { return device.execute(command).bytes; });
    std::vector<std::uint8_t> wanted(bytes, bytes + std::min<std::size_t>(size, 1024));
    wanted.resize(1024);

    deviceCommand(peer.record(), "PHRQ:*********1****");
    const int first = devicePhrqHandle(peer.record());
    expect(deviceUploadRom(peer.record(), first, file.path().c_str()) == 0, "the file is sent");
    expect(device.loadedImage(first) == wanted, "the device holds the file");

    Morvalin::OpenDevice opened(peer.handOver());
    const std::int32_t second = Morvalin::requestPortHandle(opened);
    std::int32_t partNumber = -1;
    try {
        expect(Morvalin::uploadToolDefinition(opened, second, file.path(), partNumber) == 0,
               "the definition is sent");
        checkPartNumber(partNumber, wanted);
    } catch (const std::out_of_range&) {
        expect(partNumber == -1, "a part number that is too large is not stored");
    }
    expect(device.loadedImage(second) == wanted, "the device holds the definition");
    return 0;
}
