#pragma once

#include "simulator/Crc.h"
#include "simulator/Device.h"
#include "simulator/Texts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

namespace ndisim {

/// The content of a text reply whose checksum is right; else a text that no test expects.
inline std::string checkedText(const std::string& reply) {
    const std::string text = reply.substr(0, reply.size() - std::min<std::size_t>(5, reply.size()));
    return withCrc(text) == reply ? text : "<bad reply: " + reply + ">";
}

inline DeviceOptions optionsOf(Family family) {
    DeviceOptions options;
    options.family = family;
    return options;
}

/// A device under a clock that the test moves.
class DeviceHarness {
public:
    explicit DeviceHarness(DeviceOptions options) :
        device(std::move(options), [this] { return now; }) {}
    explicit DeviceHarness(Family family) : DeviceHarness(optionsOf(family)) {}

    /// Sends a command, with its CRC if it has a colon, and returns the checked reply.
    std::string ask(const std::string& command) {
        const bool isChecked = command.find(':') != std::string::npos;
        return checkedText(
            device.execute(command + (isChecked ? crcText(crc16(command)) : "")).bytes);
    }

    /// Commands and what the device answers, checksums aside: "INIT: OKAY; PHSR:00 00".
    void run(const std::string& script) {
        for (const std::string& step : split(script, ';')) {
            const std::size_t begin = step.find_first_not_of(' ');
            const std::size_t end = step.find(' ', begin);
            EXPECT_EQ(ask(step.substr(begin, end - begin)), step.substr(end + 1)) << step;
        }
    }

    /// All 16 blocks of an image with this part number.
    std::string upload(int handle, std::string_view partNumber) {
        std::string image(1024, '\0');
        image.replace(592, partNumber.size(), partNumber);
        std::string last;
        for (std::size_t offset = 0; offset < image.size(); offset += 64) {
            last = ask(imageBlock(handle, offset, image.substr(offset, 64)));
        }
        return last;
    }

    static std::string imageBlock(int handle, std::size_t offset, std::string_view bytes) {
        return "PVWR:" + hexText(static_cast<std::uint32_t>(handle), 2) +
               hexText(static_cast<std::uint32_t>(offset), 4) + hexBytes(bytes);
    }

    /// Goes from power-on to tracking a tool without a cable.
    void startTracking() {
        run("INIT: OKAY; PHRQ:*********1**** 0A");
        EXPECT_EQ(upload(0x0A, "1"), "OKAY");
        run("PINIT:0A OKAY; PENA:0AD OKAY; TSTART: OKAY");
    }

    std::chrono::nanoseconds now{0};
    Device device;
};

} // namespace ndisim
