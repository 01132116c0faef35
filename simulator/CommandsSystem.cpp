#include "simulator/Commands.h"
#include "simulator/Encoding.h"
#include "simulator/Texts.h"

#include <cmath>
#include <cstdio>

namespace ndisim {

namespace {

constexpr std::string_view firmware = "005.001";

// A sign and six digits, in hundredths of a millimetre.
std::string hundredths(double millimetres) {
    char text[16];
    std::snprintf(text, sizeof text, "%+07ld", std::lround(millimetres * 100));
    return text;
}

// 74 characters: the shape, ten parameters, of which six are used, and what the system keeps to
// itself.
std::string volumeRecord(const Volume& volume) {
    std::string record = volume.isCube ? "9" : "5";
    for (const double parameter : volume.parameters) {
        record += hundredths(parameter);
    }
    for (int unused = 0; unused < 4; ++unused) {
        record += hundredths(0);
    }
    return record + "011";
}

// One infrared source as the sensor's side sees it: two numbers of a sign and two digits.
std::string infraredSources(bool hasSource) {
    return hasSource ? "+01+12-05" : "+00";
}

Outcome comm(DeviceCore& core, Arguments arguments) {
    requireLength(arguments, 5);
    try {
        core.link = parseLinkSettings(arguments);
    } catch (const std::invalid_argument&) {
        throw CommandError{deviceError::outOfRange};
    }
    Outcome outcome = okay();
    outcome.link = core.link;
    return outcome;
}

Outcome init(DeviceCore& core, Arguments arguments) {
    requireLength(arguments, 0);
    core.initialise();
    return okay();
}

Outcome reset(DeviceCore& core, Arguments arguments) {
    if (!arguments.empty() && arguments != "0") {
        throw CommandError{deviceError::outOfRange};
    }
    core.powerOn();
    Outcome outcome = textReply("RESET");
    outcome.link = core.link;
    return outcome;
}

Outcome beep(DeviceCore&, Arguments arguments) {
    requireLength(arguments, 1);
    if (arguments[0] < '1' || arguments[0] > '9') {
        throw CommandError{deviceError::outOfRange};
    }
    return textReply("1");
}

Outcome version(DeviceCore& core, Arguments arguments) {
    requireLength(arguments, 1);
    if (arguments[0] < '0' || arguments[0] > '5') {
        throw CommandError{deviceError::outOfRange};
    }
    return textReply("Simulated measurement system, family " +
                     std::string(familyName(core.options.family)) + "\nFirmware " +
                     std::string(firmware) + "\n");
}

Outcome getInfo(DeviceCore& core, Arguments arguments) {
    if (core.options.isOldFirmware) {
        throw CommandError{deviceError::invalidCommand};
    }
    if (arguments != "Features.Firmware.Version") {
        throw CommandError{deviceError::outOfRange};
    }
    return textReply("Features.Firmware.Version=" + std::string(firmware));
}

Outcome featureList(DeviceCore& core, Arguments arguments) {
    requireLength(arguments, 2);
    if (arguments != "03") {
        throw CommandError{deviceError::outOfRange};
    }
    const auto volumes = core.volumes();
    std::string text = std::to_string(volumes.size());
    for (const auto& volume : volumes) {
        text += volumeRecord(volume);
    }
    return textReply(text);
}

Outcome selectVolume(DeviceCore& core, Arguments arguments) {
    const auto number = parseDecimal(arguments);
    if (!number || *number < 1 || *number > core.volumes().size()) {
        throw CommandError{deviceError::outOfRange};
    }
    core.volume = static_cast<int>(*number);
    return okay();
}

Outcome systemStatus(DeviceCore&, Arguments arguments) {
    const unsigned options = replyOptions(arguments);
    std::string text;
    for (unsigned part = 0; part < 3; ++part) {
        text += (options >> part & 1U) != 0 ? "00" : "";
    }
    return textReply(text);
}

Outcome infraredCheck(DeviceCore& core, Arguments arguments) {
    if (core.isWiredFamily()) {
        throw CommandError{deviceError::invalidCommand};
    }
    const unsigned options = replyOptions(arguments);
    std::string text;
    if ((options & 0x0001U) != 0) {
        text += core.options.hasInfrared ? '1' : '0';
    }
    if ((options & 0x0002U) != 0) {
        text += infraredSources(core.options.hasInfrared);
        text += infraredSources(core.options.hasInfrared);
    }
    return textReply(text);
}

template <typename Encode>
Outcome measured(const DeviceCore& core, Arguments arguments, Encode encode) {
    const unsigned options = replyOptions(arguments);
    auto measurement = core.measure((options & replyOption::outOfVolume) != 0);
    auto bytes = encode(measurement, options);
    return {std::move(bytes), std::nullopt, std::move(measurement)};
}

// "80" counts the frames anew.
Outcome startTracking(DeviceCore& core, Arguments arguments) {
    if (!arguments.empty() && arguments != "80") {
        throw CommandError{deviceError::outOfRange};
    }
    core.startTracking(arguments == "80");
    return okay();
}

Outcome stopTracking(DeviceCore& core, Arguments arguments) {
    requireLength(arguments, 0);
    core.stopTracking();
    return okay();
}

Outcome binaryTracking(DeviceCore& core, Arguments arguments) {
    return measured(core, arguments, encodeBx);
}

Outcome textTracking(DeviceCore& core, Arguments arguments) {
    return measured(core, arguments, [](const Measurement& measurement, unsigned options) {
        return withCrc(encodeTx(measurement, options));
    });
}

Outcome groupTracking(DeviceCore& core, Arguments arguments) {
    return measured(core, arguments, [&core](const Measurement& measurement, unsigned options) {
        return withCrc(encodeGx(measurement, options, core.isWiredFamily()));
    });
}

} // namespace

std::span<const CommandEntry> systemCommands() {
    static constexpr CommandEntry table[] = {
        {"COMM", AllowedIn::Always, comm},
        {"INIT", AllowedIn::Always, init},
        {"RESET", AllowedIn::Always, reset},
        {"BEEP", AllowedIn::Always, beep},
        {"VER", AllowedIn::Always, version},
        {"GETINFO", AllowedIn::Always, getInfo},
        {"SFLIST", AllowedIn::Initialised, featureList},
        {"VSEL", AllowedIn::SetUp, selectVolume},
        {"SSTAT", AllowedIn::Initialised, systemStatus},
        {"IRCHK", AllowedIn::SetUp, infraredCheck},
        {"TSTART", AllowedIn::SetUp, startTracking},
        {"TSTOP", AllowedIn::Tracking, stopTracking},
        {"BX", AllowedIn::Tracking, binaryTracking},
        {"TX", AllowedIn::Tracking, textTracking},
        {"GX", AllowedIn::Tracking, groupTracking},
    };
    return table;
}

} // namespace ndisim
