#pragma once

#include "simulator/Crc.h"
#include "simulator/Device.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace ndisim {

/// The content of a text reply whose checksum is right; else a text that no test expects.
inline std::string checkedText(const std::string& reply) {
    if (reply.size() < 5 || withCrc(reply.substr(0, reply.size() - 5)) != reply) {
        return "<bad reply: " + reply + ">";
    }
    return reply.substr(0, reply.size() - 5);
}

/// A device under a clock that the test moves.
class DeviceHarness {
public:
    explicit DeviceHarness(DeviceOptions options) :
        device(std::move(options), [this] { return now; }) {}

    /// Sends a command, with its CRC if it has a colon, and returns the checked reply.
    std::string ask(std::string_view command) {
        const bool isChecked = command.find(':') != std::string_view::npos;
        return checkedText(
            device.execute(std::string(command) + (isChecked ? crcOf(command) : "")).bytes);
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
        char head[32];
        std::snprintf(head, sizeof head, "PVWR:%02X%04zX", static_cast<unsigned>(handle), offset);
        std::string command = head;
        for (const char byte : bytes) {
            char digits[4];
            std::snprintf(digits, sizeof digits, "%02X",
                          static_cast<unsigned>(static_cast<unsigned char>(byte)));
            command += digits;
        }
        return command;
    }

    /// Goes from power-on to an enabled tool without a cable.
    void loadTool(int handle, std::string_view partNumber) {
        char text[3];
        std::snprintf(text, sizeof text, "%02X", static_cast<unsigned>(handle));
        EXPECT_EQ(ask("PHRQ:*********1****"), text);
        EXPECT_EQ(upload(handle, partNumber), "OKAY");
        EXPECT_EQ(ask(std::string("PINIT:") + text), "OKAY");
        EXPECT_EQ(ask(std::string("PENA:") + text + "D"), "OKAY");
    }

    std::chrono::nanoseconds now{0};
    Device device;

private:
    static std::string crcOf(std::string_view text) { return crcText(crc16(text)); }
};

/// A command and what the device answers, checksum and carriage return aside.
struct Step {
    std::string command;
    std::string reply;
};

inline void runSteps(DeviceHarness& harness, const std::vector<Step>& steps) {
    for (const auto& step : steps) {
        EXPECT_EQ(harness.ask(step.command), step.reply) << "to " << step.command;
    }
}

inline DeviceOptions optionsOf(Family family) {
    DeviceOptions options;
    options.family = family;
    return options;
}

} // namespace ndisim
