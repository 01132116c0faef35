#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "protocol/device.h"

namespace Morvalin {

/// The connection to a device, from its opening until the object is destroyed. The speed of a
/// serial link is set back first, to that of a device that has just been switched on.
///
/// One thread at a time may use it.
class OpenDevice {
public:
    /// Null when the device cannot be reached.
    static std::unique_ptr<OpenDevice> overNetwork(const std::string& host, std::int32_t port);
    static std::unique_ptr<OpenDevice> overSerialLine(const std::string& portName);

    /// Takes over a record that is open.
    explicit OpenDevice(DeviceRecord* opened) : device(opened) {}
    ~OpenDevice();
    OpenDevice(const OpenDevice&) = delete;
    OpenDevice& operator=(const OpenDevice&) = delete;

    /// Sends a command, given as for printf, and waits for the answer. False when none came, a
    /// spoiled one, or one that refuses: the error callback knows why.
    bool command(const char* format, ...) NDI_PRINTF_FORMAT(2, 3);

    /// As the command COMM has it, for 8 data bits, no parity and 1 stop bit.
    bool setLinkSpeed(std::int32_t code, bool handshake);

    /// The good answer to the last command, which was one that is answered in text; else empty.
    /// Valid until the next command.
    std::string_view reply() const { return answer; }

    /// The number in the two hexadecimal digits that it begins with, if it does.
    std::optional<std::int32_t> leadingNumber() const;

    /// For settings and for the accessors of stored replies, which answer from the last good reply
    /// to their command, however old.
    DeviceRecord* record() const { return device; }

private:
    DeviceRecord* device;
    const char* answer = "";
};

} // namespace Morvalin
