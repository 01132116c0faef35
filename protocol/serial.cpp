#include "protocol/platform/platform.h"
#include "protocol/read_loop.h"
#include "protocol/record.h"
#include "protocol/saved_settings.h"
#include "protocol/transport.h"

#include <algorithm>
#include <optional>
#include <string_view>

using namespace protocol;
using platform::LineFormat;
using platform::Transfer;

namespace {

constexpr int kQueueSize = 1600;
constexpr int kBreakMs = 300;
constexpr platform::PortTimeouts kOpenTimeouts = {5000, 2};

// A device driver that cancels every transfer must not keep the caller for ever.
constexpr int kMaxAborts = 1000;

constexpr int kRates[] = {9600, 14400, 19200, 38400, 57600, 115200, 230400, 921600, 1228739};
constexpr int kFastestRate = 1228739;
constexpr int kHostRateForFastest = 19200;

std::optional<LineFormat> parseFormat(int baud, std::string_view format, bool handshake) {
    const bool knownRate =
        std::find(std::begin(kRates), std::end(kRates), baud) != std::end(kRates);
    if (!knownRate || format.size() != 3) {
        return std::nullopt;
    }
    constexpr std::string_view kParities = "NOE";
    const auto parity = kParities.find(format[1]);
    const bool bitsKnown = format[0] == '7' || format[0] == '8';
    const bool stopKnown = format[2] == '1' || format[2] == '2';
    if (!bitsKnown || !stopKnown || parity == std::string_view::npos) {
        return std::nullopt;
    }
    return LineFormat{baud == kFastestRate ? kHostRateForFastest : baud, format[0] - '0',
                      static_cast<LineFormat::Parity>(parity), format[2] - '0', handshake};
}

class SerialSource final : public ByteSource {
public:
    explicit SerialSource(std::intptr_t port) : m_port(port) {}

    int receive(char* buffer, int max) override {
        for (int aborts = 0; aborts < kMaxAborts; ++aborts) {
            const Transfer got = platform::readPort(m_port, buffer, max);
            if (got.fault == Transfer::Fault::none) {
                return got.count;
            }
            if (got.fault != Transfer::Fault::aborted) {
                return -1;
            }
            platform::clearFault(m_port);
            if (got.count > 0) {
                return got.count;
            }
        }
        return -1;
    }

private:
    std::intptr_t m_port;
};

bool prepareForDevice(std::intptr_t port, const platform::PortState& found) {
    if (!platform::setQueueSizes(port, kQueueSize, kQueueSize) || !platform::setRaw(port)) {
        return false;
    }
    if (!platform::setTimeouts(port, kOpenTimeouts)) {
        platform::restoreState(port, found);
        return false;
    }
    return true;
}

} // namespace

std::intptr_t serialOpen(const char* name) {
    const std::intptr_t port = name == nullptr ? kNoHandle : platform::openPort(name);
    if (port == kNoHandle) {
        return kNoHandle;
    }
    platform::PortState found;
    if (!platform::captureState(port, found)) {
        platform::closePort(port);
        return kNoHandle;
    }
    saveSettings(port, found);
    if (!prepareForDevice(port, found)) {
        forgetSettings(port);
        platform::closePort(port);
        return kNoHandle;
    }
    return port;
}

void serialClose(std::intptr_t port) {
    // What CTS held back must not go out under the restored settings.
    platform::purgePort(port, false, true);
    restoreSettings(port);
    platform::closePort(port);
}

int serialSetLine(std::intptr_t port, int baud, const char* format, bool handshake) {
    const auto line = parseFormat(baud, format == nullptr ? "" : format, handshake);
    return line && platform::setLine(port, *line) ? 0 : -1;
}

int serialPurge(std::intptr_t port, int which) {
    platform::clearFault(port);
    platform::purgePort(port, which != 2, which != 1);
    return 0;
}

int serialBreak(std::intptr_t port) {
    serialPurge(port, 3);
    platform::setBreak(port, true);
    platform::sleepMs(kBreakMs);
    platform::setBreak(port, false);
    return 0;
}

int serialSetTimeout(std::intptr_t port, int ms) {
    platform::PortTimeouts timeouts;
    if (!platform::getTimeouts(port, timeouts)) {
        return -1;
    }
    timeouts.constantMs = ms;
    return platform::setTimeouts(port, timeouts) ? 0 : -1;
}

int serialRead(std::intptr_t port, char* buffer, int max, bool binary, std::int32_t* error) {
    SerialSource source(port);
    const int length = readReply(source, buffer, max, binary);
    if (length > 0 && buffer[length - 1] == '\r' && error != nullptr) {
        const std::int32_t code = deviceErrorIn(buffer, length);
        *error = code < 0 ? *error : code;
    }
    return length;
}

int serialWrite(std::intptr_t port, const char* bytes, int n) {
    int written = 0;
    for (int aborts = 0; written < n && aborts < kMaxAborts;) {
        const Transfer put = platform::writePort(port, bytes + written, n - written);
        if (put.fault == Transfer::Fault::aborted) {
            platform::clearFault(port);
            ++aborts;
        } else if (put.fault != Transfer::Fault::none) {
            return -1;
        } else if (put.count == 0) {
            break;
        }
        written += put.count;
    }
    return written;
}

bool serialDsrPresent(std::intptr_t port) {
    return platform::dsrPresent(port);
}

void serialSleep(int ms) {
    platform::sleepMs(ms);
}

int serialAssignPort(int index, const char* path) {
    return platform::assignPort(index, path);
}
