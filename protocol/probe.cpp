#include "protocol/probe.h"

#include "protocol/device.h"
#include "protocol/errors.h"
#include "protocol/record.h"
#include "protocol/transport.h"

#include <string_view>

std::atomic<int> protocol::probeAnswerMs = 100;

using namespace protocol;

namespace {

constexpr int kResetMs = 7000;
constexpr int kPauseMs = 100;

constexpr std::string_view kInit = "INIT:E3A5\r";
constexpr std::string_view kGetInfo = "GETINFO:Features.Firmware.Version0492\r";
constexpr std::string_view kVersion = "VER:065EE\r";
constexpr std::string_view kOkay = "OKAYA896\r";
constexpr std::string_view kReset = "RESETBE6F\r";

constexpr int kShortReply = 16;
constexpr int kLongReply = 1023;
constexpr int kShortestVersion = 7;

class Probe {
public:
    explicit Probe(const char* name) : m_port(serialOpen(name)) {}
    ~Probe() {
        if (m_port != kNoHandle) {
            serialClose(m_port);
        }
    }
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;

    std::int32_t run();

private:
    bool answersInit();
    std::int32_t reset();
    std::int32_t initialise();
    std::int32_t identify();

    int write(std::string_view text) {
        return serialWrite(m_port, text.data(), static_cast<int>(text.size()));
    }

    bool writeAll(std::string_view text) { return write(text) == static_cast<int>(text.size()); }

    std::int32_t read(int max) {
        const int length = serialRead(m_port, m_buffer, max, false, nullptr);
        m_reply = {m_buffer, static_cast<std::size_t>(length > 0 ? length : 0)};
        return length > 0 ? 0 : length < 0 ? kReadFailed : kTimeout;
    }

    std::int32_t expect(std::string_view beginning) {
        const std::int32_t error = read(kShortReply);
        return error != 0 ? error : m_reply.starts_with(beginning) ? 0 : kNotFound;
    }

    std::intptr_t m_port;
    char m_buffer[kLongReply];
    std::string_view m_reply;
};

std::int32_t Probe::run() {
    if (m_port == kNoHandle) {
        return kNoConnection;
    }
    if (!serialDsrPresent(m_port)) {
        return kNotFound;
    }
    if (serialSetLine(m_port, 9600, "8N1", false) != 0 ||
        serialSetTimeout(m_port, probeAnswerMs) != 0) {
        return kBadLineSettings;
    }
    serialPurge(m_port, 3);
    std::int32_t error = 0;
    if (!answersInit()) {
        error = reset();
        if (error == 0) {
            error = initialise();
        }
    }
    return error != 0 ? error : identify();
}

bool Probe::answersInit() {
    if (!writeAll(kInit)) {
        return false;
    }
    serialSleep(kPauseMs);
    return expect(kOkay) == 0;
}

// The device comes up at 9600 baud again, whatever rate it was left at.
std::int32_t Probe::reset() {
    serialSetTimeout(m_port, kResetMs);
    serialPurge(m_port, 3);
    if (serialPurge(m_port, 3) != 0 || serialBreak(m_port) != 0) {
        return kBadLineSettings;
    }
    return expect(kReset);
}

std::int32_t Probe::initialise() {
    serialSleep(kPauseMs);
    const int written = write(kInit);
    if (written < static_cast<int>(kInit.size())) {
        return written < 0 ? kWriteFailed : kTimeout;
    }
    serialSleep(kPauseMs);
    return expect(kOkay);
}

std::int32_t Probe::identify() {
    serialSleep(kPauseMs);
    if (!writeAll(kGetInfo)) {
        return kNotFound;
    }
    if (const std::int32_t error = read(kLongReply)) {
        return error;
    }
    if (!m_reply.starts_with("ERROR")) {
        return m_reply.starts_with("Features") ? 0 : kNotFound;
    }
    // Older firmware knows no GETINFO; that it names its version at all is enough.
    if (!writeAll(kVersion)) {
        return kNotFound;
    }
    read(kLongReply);
    return m_reply.size() < kShortestVersion ? kNotFound : 0;
}

} // namespace

int deviceProbePort(const char* name) {
    return Probe(name).run();
}
