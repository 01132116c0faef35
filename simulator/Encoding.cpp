#include "simulator/Encoding.h"

#include "simulator/Texts.h"

#include <bit>

namespace ndisim {

namespace {

void put8(std::string& out, unsigned value) {
    out += static_cast<char>(value & 0xFFU);
}

void put16(std::string& out, unsigned value) {
    put8(out, value);
    put8(out, value >> 8U);
}

void put32(std::string& out, std::uint32_t value) {
    put16(out, value & 0xFFFFU);
    put16(out, value >> 16U);
}

void putFloat(std::string& out, double value) {
    put32(out, std::bit_cast<std::uint32_t>(static_cast<float>(value)));
}

void putPosition(std::string& out, const Position& position) {
    for (const double coordinate : position) {
        putFloat(out, coordinate);
    }
}

void putPose(std::string& out, const Pose& pose) {
    for (const double part : pose.rotation) {
        putFloat(out, part);
    }
    putPosition(out, pose.position);
    putFloat(out, pose.error);
}

// One bit each, the first in the lowest bit of the first byte.
template <typename Flag>
std::string bitField(std::size_t count, Flag flag) {
    std::string bytes((count + 7) / 8, '\0');
    for (std::size_t k = 0; k < count; ++k) {
        if (flag(static_cast<unsigned>(k))) {
            bytes[k / 8] =
                static_cast<char>(static_cast<unsigned char>(bytes[k / 8]) | (1U << (k % 8)));
        }
    }
    return bytes;
}

// The tool information byte, then twenty half bytes: 3 for a marker that the pose was made from.
std::string toolInformation(const ToolMeasurement& tool) {
    std::string bytes(11, '\0');
    for (std::size_t k = 0; k < tool.markers.size() && k < 20; ++k) {
        auto& byte = bytes[1 + k / 2];
        byte = static_cast<char>(byte | (k % 2 == 0 ? 0x03 : 0x30));
    }
    return bytes;
}

void putTool(std::string& out, const ToolMeasurement& tool, unsigned options) {
    const bool isReported = tool.status == ToolStatus::Valid || tool.status == ToolStatus::Missing;
    put8(out, static_cast<unsigned>(tool.handle));
    put8(out, static_cast<unsigned>(isReported ? tool.status : ToolStatus::Disabled));
    if (!isReported) {
        return;
    }
    if ((options & replyOption::transforms) != 0) {
        if (tool.status == ToolStatus::Valid) {
            putPose(out, tool.pose);
        }
        put32(out, tool.portStatus);
        put32(out, tool.frame);
    }
    if ((options & replyOption::toolInformation) != 0) {
        out += toolInformation(tool);
    }
    if ((options & replyOption::singleStray) != 0) {
        put8(out, tool.singleStray ? 1 : 0);
        if (tool.singleStray) {
            putPosition(out, *tool.singleStray);
        }
    }
    if ((options & replyOption::markers) != 0) {
        put8(out, static_cast<unsigned>(tool.markers.size()));
        out += bitField(tool.markers.size(), [](unsigned) { return false; });
        for (const auto& marker : tool.markers) {
            putPosition(out, marker);
        }
    }
}

} // namespace

std::string encodeBx(const Measurement& measurement, unsigned options) {
    std::string body;
    put8(body, static_cast<unsigned>(measurement.tools.size()));
    for (const auto& tool : measurement.tools) {
        putTool(body, tool, options);
    }
    if ((options & replyOption::strays) != 0) {
        put8(body, static_cast<unsigned>(measurement.strays.size()));
        body += bitField(measurement.strays.size(), strayOutOfVolume);
        for (const auto& stray : measurement.strays) {
            putPosition(body, stray);
        }
    }
    put16(body, 0); // system status: all well

    std::string reply = "\xC4\xA5";
    put16(reply, static_cast<unsigned>(body.size()));
    put16(reply, crc16(reply));
    reply += body;
    put16(reply, crc16(body));
    return reply;
}

} // namespace ndisim
