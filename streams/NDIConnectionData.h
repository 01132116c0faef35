#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <morvalincore/Diagnosable.h>

#include "streams/Guarded.h"

namespace Morvalin {

class OpenDevice;

/// A region of space in which a device can measure, as the device describes it.
struct NDIOperatingVolume {
    std::string text;                   ///< for people: "Cube " or "Dome ", then the parameters
    std::array<double, 6> parameters{}; ///< mm
    bool isCube = false;
};

/// How a stream reaches its device, the settings that it applies when it is opened, and the open
/// connection itself.
///
/// Threads: the settings (guarded and atomic fields) may be read and written at any time. Operating
/// volumes and dummy tool belong to whoever holds connectionLock. The device and the last
/// frame number are used by the stream's hooks and its worker only, which the host runs one at a
/// time, and every exchange with the device but those of closing happens under connectionLock.
/// Letting go of the device happens under releaseLock instead, which whoever looks at the device
/// beside the hooks holds as well. Locks are taken in the order connectionLock, releaseLock, the
/// instrument registry's, any guarded field's.
struct NDIConnectionData {
    enum class ConnectionType { TcpIp = 0, Serial = 1 };

    NDIConnectionData(ConnectionType type, std::string address);
    /// Closes the device. Nobody may use the connection any more.
    ~NDIConnectionData();

    Guarded<std::string> hardwareDevice;              ///< IPv4 address, serial port name, or "auto"
    std::atomic<std::int32_t> hardwareIPPort{8765};   ///< TCP port
    std::atomic<bool> binaryQueryMode{true};          ///< BX replies, else TX
    std::vector<NDIOperatingVolume> operatingVolumes; ///< in the device's order, as last asked for
    std::atomic<std::int32_t> maxRange{0};            ///< index of the operating volume to select
    std::atomic<std::int32_t> measurementRate{5};     ///< index of the link speed to set
    Guarded<Diagnosable::Waiting> waiting; ///< see Diagnosable; changes while a device is opened
    const ConnectionType connectionType;
    std::mutex connectionLock;
    mutable std::mutex releaseLock;
    std::int32_t dummyToolPortHandle = -1; ///< of the tool that lets bare markers be seen; -1: none
    std::uint32_t lastFrameNumber = 0;     ///< of the frame that was handed out last
    Diagnosable::TraceSink traceSink;      ///< mostly empty; replaced under both locks
    std::unique_ptr<OpenDevice> device;    ///< null: no connection. The last, as it traces its end
};

} // namespace Morvalin
