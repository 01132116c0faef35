#include "simulator/Commands.h"
#include "simulator/Encoding.h"

namespace ndisim::commands {

namespace {

Measurement measured(const DeviceCore& core, unsigned options) {
    return core.measure((options & replyOption::outOfVolume) != 0);
}

} // namespace

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
    const unsigned options = replyOptions(arguments);
    auto measurement = measured(core, options);
    auto bytes = encodeBx(measurement, options);
    return {std::move(bytes), std::nullopt, std::move(measurement)};
}

Outcome textTracking(DeviceCore& core, Arguments arguments) {
    const unsigned options = replyOptions(arguments);
    auto measurement = measured(core, options);
    Outcome outcome = textReply(encodeTx(measurement, options));
    outcome.measurement = std::move(measurement);
    return outcome;
}

Outcome groupTracking(DeviceCore& core, Arguments arguments) {
    const unsigned options = replyOptions(arguments);
    auto measurement = measured(core, options);
    Outcome outcome = textReply(encodeGx(measurement, options, core.isWiredFamily()));
    outcome.measurement = std::move(measurement);
    return outcome;
}

} // namespace ndisim::commands
