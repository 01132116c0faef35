#include "bench/CannedDevice.h"

#include "protocol/crc.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace bench {
namespace {

constexpr int frames = 8;
constexpr double rateHz = 20;
constexpr auto frameTime = std::chrono::milliseconds(50);

ndisim::DeviceOptions deviceOptions(ndisim::Family family, const Scene& scene) {
    ndisim::DeviceOptions options;
    options.family = family;
    options.strays = static_cast<unsigned>(scene.strays);
    options.rateHz = rateHz;
    return options;
}

void execute(ndisim::Device& device, const std::string& command) {
    if (device.execute(command).bytes.starts_with("ERROR")) {
        throw std::runtime_error("the simulated device refuses " + command);
    }
}

std::string hex(int value, int digits) {
    char text[16];
    std::snprintf(text, sizeof(text), "%0*X", digits, static_cast<unsigned>(value));
    return text;
}

void loadTool(ndisim::Device& device, int handle) {
    const std::string digits = hex(handle, 2);
    execute(device, "PHRQ *********1****");
    for (int offset = 0; offset < 1024; offset += 64) {
        execute(device, "PVWR " + digits + hex(offset, 4) + std::string(128, '3'));
    }
    execute(device, "PINIT " + digits);
    execute(device, "PENA " + digits + "D");
}

} // namespace

std::string CannedDevice::command(bool isBinary) {
    const std::string text = isBinary ? "BX:180F" : "TX:1005";
    return text + hex(protocol::crc16(text), 4) + '\r';
}

CannedDevice::CannedDevice(ndisim::Family family, const Scene& scene) :
    m_device(deviceOptions(family, scene)) {
    std::chrono::nanoseconds now(0);
    ndisim::Device model(deviceOptions(family, scene), [&now] { return now; });
    execute(model, "INIT");
    for (int i = 0; i < scene.tools; ++i) {
        loadTool(model, 0x0A + i);
    }
    execute(model, "TSTART");
    for (int i = 0; i < frames; ++i) {
        now += frameTime;
        m_binary.push_back(model.execute("BX 180F").bytes);
        m_text.push_back(model.execute("TX 1005").bytes);
    }
}

std::string_view CannedDevice::answer(std::string_view request) {
    if (!request.ends_with('\r')) {
        return {};
    }
    const bool isBinary = request.starts_with("BX");
    if (isBinary || request.starts_with("TX")) {
        m_next = (m_next + 1) % frames;
        return cans(isBinary)[m_next];
    }
    request.remove_suffix(1);
    m_other = m_device.execute(request).bytes;
    return m_other;
}

} // namespace bench
