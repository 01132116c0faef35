#include "simulator/Encoding.h"

#include "simulator/Texts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ndisim {

namespace {

// A sign and digits; what does not fit is held at the end of the field's range.
std::string signedText(double value, double unit, int width) {
    const double limit = std::pow(10, width - 1) - 1;
    const double scaled = std::clamp(std::round(value / unit), -limit, limit);
    char text[16];
    std::snprintf(text, sizeof text, "%+0*ld", width, static_cast<long>(scaled));
    return text;
}

// 21 characters: three 7-character coordinates in 1/100 mm.
std::string positionText(const Position& position) {
    std::string text;
    for (const double coordinate : position) {
        text += signedText(coordinate, 0.01, 7);
    }
    return text;
}

// 51 characters: four 6-character quaternion parts in 1/10000, the position, the 6-character error
// in 1/10000 mm, each with its sign.
std::string poseText(const Pose& pose) {
    std::string text;
    for (const double part : pose.rotation) {
        text += signedText(part, 0.0001, 6);
    }
    return text + positionText(pose.position) + signedText(pose.error, 0.0001, 6);
}

std::string poseOrStatus(const ToolMeasurement& tool) {
    switch (tool.status) {
    case ToolStatus::Valid:
        return poseText(tool.pose);
    case ToolStatus::Missing:
        return "MISSING";
    case ToolStatus::Disabled:
        return "DISABLED";
    case ToolStatus::Unoccupied:
        break;
    }
    return "UNOCCUPIED";
}

// Two digits for the tool, then a digit for each of the first ten markers.
std::string toolInformationText(const ToolMeasurement& tool) {
    std::string text = "00";
    for (std::size_t k = 0; k < 10; ++k) {
        text += k < tool.markers.size() ? '3' : '0';
    }
    return text;
}

std::string singleStrayText(const ToolMeasurement& tool) {
    if (tool.status == ToolStatus::Disabled) {
        return "DISABLED";
    }
    return tool.singleStray ? positionText(*tool.singleStray) : "MISSING";
}

std::string toolText(const ToolMeasurement& tool, unsigned options) {
    if (tool.status == ToolStatus::Unoccupied) {
        return "UNOCCUPIED";
    }
    std::string text;
    if ((options & replyOption::transforms) != 0) {
        text += poseOrStatus(tool) + hexText(tool.portStatus, 8) + hexText(tool.frame, 8);
    }
    if ((options & replyOption::toolInformation) != 0) {
        text += toolInformationText(tool);
    }
    if ((options & replyOption::singleStray) != 0) {
        text += singleStrayText(tool);
    }
    return text;
}

// A hexadecimal digit for every four strays, the first stray in its lowest bit.
std::string outOfVolumeText(std::size_t count) {
    std::string text;
    for (unsigned first = 0; first < count; first += 4) {
        unsigned digit = 0;
        for (unsigned k = first; k < first + 4 && k < count; ++k) {
            digit |= strayOutOfVolume(k) ? 1U << (k - first) : 0U;
        }
        text += hexText(digit, 1);
    }
    return text;
}

// Ports 1 to 3 and A to I of a GX reply: an empty one where no tool stands.
std::vector<ToolMeasurement> portsOf(const Measurement& measurement, bool isTaken, int count) {
    std::vector<ToolMeasurement> ports(static_cast<std::size_t>(count));
    for (auto& port : ports) {
        port.status = ToolStatus::Unoccupied;
    }
    for (const auto& tool : measurement.tools) {
        const int place = placeOfHandle(tool.handle);
        if (isTaken && place >= 1 && place <= count) {
            ports[static_cast<std::size_t>(place - 1)] = tool;
        }
    }
    return ports;
}

template <typename Text>
void putLines(std::string& out, const std::vector<ToolMeasurement>& ports, Text text) {
    for (const auto& port : ports) {
        out += text(port) + '\n';
    }
}

// Three poses, then the status of the three: two digits for the system, two for each port from the
// last to the first.
void putPoseGroup(std::string& out, const std::vector<ToolMeasurement>& ports, std::size_t first) {
    std::string status = "00";
    for (std::size_t k = 3; k-- > 0;) {
        status += hexText(ports[first + k].portStatus & 0xFFU, 2);
    }
    for (std::size_t k = 0; k < 3; ++k) {
        out += poseOrStatus(ports[first + k]) + '\n';
    }
    out += status + '\n';
}

std::string portFrameText(const ToolMeasurement& tool) {
    return hexText(tool.frame, 8);
}

// What a GX reply tells of the wired or the passive ports, a multiple of three.
void putPorts(std::string& out, const std::vector<ToolMeasurement>& ports, unsigned options) {
    for (std::size_t k = 0; (options & replyOption::transforms) != 0 && k < ports.size(); k += 3) {
        putPoseGroup(out, ports, k);
    }
    if ((options & replyOption::toolInformation) != 0) {
        putLines(out, ports, toolInformationText);
    }
    if ((options & replyOption::singleStray) != 0) {
        putLines(out, ports, singleStrayText);
    }
    if ((options & replyOption::markers) != 0) {
        putLines(out, ports, portFrameText);
    }
}

} // namespace

std::string encodeTx(const Measurement& measurement, unsigned options) {
    std::string text = hexText(static_cast<unsigned>(measurement.tools.size()), 2);
    for (const auto& tool : measurement.tools) {
        text += hexText(static_cast<unsigned>(tool.handle), 2) + toolText(tool, options) + '\n';
    }
    if ((options & replyOption::strays) != 0) {
        text += hexText(static_cast<unsigned>(measurement.strays.size()), 2);
        text += outOfVolumeText(measurement.strays.size());
        for (const auto& stray : measurement.strays) {
            text += positionText(stray);
        }
    }
    return text + "0000"; // system status: all well
}

std::string encodeGx(const Measurement& measurement, unsigned options, bool wired) {
    std::string text;
    putPorts(text, portsOf(measurement, wired, 3), options);
    if ((options & replyOption::passivePorts) != 0) {
        const int count = (options & replyOption::allPassivePorts) != 0 ? 9 : 3;
        const bool isAlone = options == replyOption::passivePorts;
        putPorts(text, portsOf(measurement, !wired, count),
                 isAlone ? replyOption::transforms : options & ~replyOption::singleStray);
    }
    if ((options & replyOption::strays) != 0) {
        const std::size_t count = std::min<std::size_t>(measurement.strays.size(), 20);
        text += hexText(static_cast<unsigned>(count), 3);
        for (std::size_t k = 0; k < count; ++k) {
            text += positionText(measurement.strays[k]);
        }
    }
    return text;
}

} // namespace ndisim
