#include "protocol/device.h"
#include "protocol/platform/platform.h"
#include "protocol/port_names.h"
#include "protocol/record.h"
#include "protocol/reply_framing.h"
#include "protocol/transport.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
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

// Nor a device that sends a byte now and then: the longest reply takes 3 s at the slowest rate.
constexpr int kReplyLimitMs = 30000;

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

struct Slot {
    std::intptr_t port = kNoHandle;
    platform::PortState state;
};

Slot slots[4];
std::mutex slotsMutex;

std::optional<platform::PortState> takeFromSlot(std::intptr_t port) {
    const std::lock_guard lock(slotsMutex);
    for (Slot& slot : slots) {
        if (slot.port == port) {
            slot.port = kNoHandle;
            return slot.state;
        }
    }
    return std::nullopt;
}

// Keeps the settings found on a port until it is closed. There are four places.
void saveSettings(std::intptr_t port, const platform::PortState& state) {
    const std::lock_guard lock(slotsMutex);
    const auto slot = std::find_if(std::begin(slots), std::end(slots), [port](const Slot& each) {
        return each.port == kNoHandle || each.port == port;
    });
    if (slot != std::end(slots)) {
        *slot = {port, state};
    }
}

void restoreSettings(std::intptr_t port) {
    if (const auto state = takeFromSlot(port)) {
        platform::restoreState(port, *state);
    }
}

void forgetSettings(std::intptr_t port) {
    takeFromSlot(port);
}

class SerialSource final : public ByteSource {
public:
    explicit SerialSource(std::intptr_t port) : m_port(port) {}

    int receive(char* buffer, int max) override {
        if (isOverdue()) {
            return 0;
        }
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
    bool isOverdue() {
        const std::int64_t now = platform::nowMs();
        if (m_endMs == 0) {
            m_endMs = now + kReplyLimitMs;
        }
        return now >= m_endMs;
    }

    std::intptr_t m_port;
    std::int64_t m_endMs = 0; // of the reply
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

PortName protocol::formatPortName(int index) {
    PortName name;
    const long long number = index + 1LL;
    std::snprintf(name.text, sizeof(name.text), number < 10 ? "COM%lld" : "\\\\.\\COM%lld", number);
    return name;
}

const char* devicePortName(int index) {
    thread_local PortName name;
    if (index < 0) {
        return nullptr;
    }
    name = formatPortName(index);
    return name.text;
}

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
