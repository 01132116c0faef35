#include "tests/protocol/FakePlatform.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

FakePlatform fake;

bool FakePlatform::note(const std::string& entry) {
    log += (log.empty() ? "" : ", ") + entry;
    return entry.substr(0, entry.find(' ')) != failing;
}

namespace protocol::platform {
namespace {

Transfer nextRead(char* buffer, int max) {
    fake.largestRead = std::max(fake.largestRead, max);
    if (fake.reads.empty()) {
        return {0, Transfer::Fault::none, EAGAIN};
    }
    const FakePlatform::Read read = fake.reads.front();
    fake.reads.pop_front();
    return {static_cast<int>(read.bytes.copy(buffer, static_cast<std::size_t>(max))), read.fault,
            read.systemError};
}

Transfer nextWrite(const char* bytes, int n) {
    FakePlatform::Write write = {n, Transfer::Fault::none};
    if (!fake.writes.empty()) {
        write = fake.writes.front();
        fake.writes.pop_front();
    }
    const int count = std::min(write.first, n);
    std::string text(bytes, static_cast<std::size_t>(count));
    std::replace(text.begin(), text.end(), '\r', '~');
    fake.note("write " + text);
    return {count, write.second};
}

} // namespace

std::intptr_t openPort(const char*) {
    return fake.note("open") ? fake.nextPort++ : -1;
}
void closePort(std::intptr_t) {
    fake.note("close");
}
void closeSocket(std::int64_t) {
    fake.note("close");
}

bool captureState(std::intptr_t port, PortState& state) {
    std::memcpy(state.bytes, &port, sizeof(port));
    return fake.note("capture");
}
void restoreState(std::intptr_t port, const PortState& state) {
    const bool isItsOwn = std::memcmp(state.bytes, &port, sizeof(port)) == 0;
    fake.note(isItsOwn ? "restore" : "restore another port's");
}

bool setQueueSizes(std::intptr_t, int in, int out) {
    return fake.note("queues " + std::to_string(in + out));
}
bool setRaw(std::intptr_t) {
    return fake.note("raw");
}
bool setLine(std::intptr_t, const LineFormat& format) {
    return fake.note("line " + std::to_string(format.baud) + " " + std::to_string(format.dataBits) +
                     "NOE"[static_cast<int>(format.parity)] + std::to_string(format.stopBits) +
                     (format.handshake ? " rts/cts" : ""));
}
bool getTimeouts(std::intptr_t, PortTimeouts& timeouts) {
    timeouts = {1, 2};
    return true;
}
bool setTimeouts(std::intptr_t, const PortTimeouts& timeouts) {
    return fake.note("timeouts " + std::to_string(timeouts.constantMs) + "+" +
                     std::to_string(timeouts.writeMsPerByte));
}
void purgePort(std::intptr_t, bool received, bool unsent) {
    fake.note(std::string("purge ") + (received ? "r" : "") + (unsent ? "t" : ""));
}
void clearFault(std::intptr_t) {}
void setBreak(std::intptr_t, bool on) {
    fake.note(on ? "break" : "unbreak");
}
bool dsrPresent(std::intptr_t) {
    return fake.hasDsr;
}
int assignPort(int, const char*) {
    return -1;
}

bool startSockets() {
    return fake.note("start");
}
std::int64_t createSocket() {
    return fake.note("socket") ? 7 : -1;
}
bool setNoDelay(std::int64_t) {
    return fake.note("nodelay");
}
bool resolveHost(const char*, std::uint8_t (&)[4]) {
    return fake.note("resolve");
}
bool connectSocket(std::int64_t, const std::uint8_t (&)[4], std::uint16_t) {
    return fake.note("connect");
}
void setReceiveTimeout(std::int64_t, int ms) {
    fake.receiveTimeoutMs = ms;
}
int getReceiveTimeout(std::int64_t) {
    return fake.receiveTimeoutMs;
}

Transfer readPort(std::intptr_t, char* buffer, int max) {
    return nextRead(buffer, max);
}
Transfer writePort(std::intptr_t, const char* bytes, int n) {
    return nextWrite(bytes, n);
}
Transfer receiveFrom(std::int64_t, char* buffer, int max) {
    return fake.peer != nullptr ? fake.peer->receive(buffer, max, fake.receiveTimeoutMs)
                                : nextRead(buffer, max);
}
Transfer sendTo(std::int64_t, const char* bytes, int n) {
    if (fake.peer == nullptr) {
        return nextWrite(bytes, n);
    }
    fake.peer->send(bytes, n);
    return {n};
}
Transfer receiveWithin(std::int64_t, char* buffer, int max, int ms) {
    if (fake.peer != nullptr) {
        return fake.peer->receive(buffer, max, ms);
    }
    if (ms > 0) {
        return nextRead(buffer, max);
    }
    return fake.note("discard") ? Transfer{0, Transfer::Fault::none, EAGAIN} : Transfer{max};
}

void sleepMs(int ms) {
    fake.note("sleep " + std::to_string(ms));
}
std::int64_t nowMs() {
    return fake.nowMs;
}
SignalBlock::SignalBlock() : m_before{} {}
SignalBlock::~SignalBlock() {
    static_cast<void>(m_before);
}

} // namespace protocol::platform
