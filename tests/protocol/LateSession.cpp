#include "tests/protocol/LateSession.h"

#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/Wire.h"

#include <algorithm>
#include <cerrno>

using protocol::platform::Transfer;

namespace {

constexpr int kGraceMs = 2000;

std::string textAnswer(unsigned number, std::size_t filling = 0) {
    return ndisim::withCrc("N" + ndisim::hexText(number, 8) + std::string(filling, '0'));
}

std::string binaryAnswer(unsigned number, std::size_t filling = 0) {
    return wire::binary("\x01\x0A\x02" + wire::le32(0x31) + wire::le32(number) +
                        std::string(filling, '\x0D') + wire::le16(0));
}

// The command that an accepted reply says it belongs to; 0 when it says nothing.
unsigned numberIn(const DeviceRecord& device) {
    const std::string_view reply(device.reply, 20);
    if (reply.starts_with("\xC4\xA5")) {
        return deviceBxFrameNumber(&device, 0x0A);
    }
    return reply.starts_with("N")
               ? static_cast<unsigned>(std::stoul(std::string(reply.substr(1, 8)), nullptr, 16))
               : 0;
}

} // namespace

Transfer LateSession::receive(char* buffer, int max, int ms) {
    const std::int64_t end = fake.nowMs + ms;
    if (m_pieces.empty() || m_pieces.front().at > end) {
        fake.nowMs = end;
        return {0, Transfer::Fault::none, EAGAIN};
    }
    fake.nowMs = std::max(fake.nowMs, m_pieces.front().at);
    int count = 0;
    while (count < max && !m_pieces.empty() && m_pieces.front().at <= fake.nowMs) {
        std::string& bytes = m_pieces.front().bytes;
        const std::size_t taken = bytes.copy(buffer + count, static_cast<std::size_t>(max - count));
        bytes.erase(0, taken);
        count += static_cast<int>(taken);
        if (bytes.empty()) {
            m_pieces.pop_front();
        }
    }
    m_arrived.append(buffer, static_cast<std::size_t>(count));
    return {count};
}

void LateSession::send(const char*, int) {
    ++m_commands;
    deliver(answer(m_kind));
}

std::string LateSession::answer(Kind kind) {
    if (kind == reset) {
        return "RESETBE6F\r";
    }
    const bool isBinary = m_isWell || m_choice(20) != 0 ? kind == binary : kind != binary;
    const std::size_t filling = m_isWell || m_choice(20) != 0 ? 0 : 2000 + m_choice(1500);
    return isBinary ? binaryAnswer(m_commands, filling) : textAnswer(m_commands, filling);
}

// Decides on the fate of an answer.
void LateSession::deliver(std::string bytes) {
    const unsigned fate = m_isWell ? 10 : m_choice(20);
    const std::int64_t last = fake.nowMs + m_timeoutMs + kGraceMs - 1;
    const auto within = [&](std::int64_t ms) {
        return fake.nowMs + m_choice(static_cast<unsigned>(ms));
    };
    if (fate == 0) { // lost
        return;
    }
    if (fate == 1) { // spoiled
        char& byte = bytes[m_choice(static_cast<unsigned>(bytes.size()))];
        byte = static_cast<char>(byte ^ (1 << m_choice(8)));
        const std::int64_t begin = within(m_timeoutMs);
        scatter(bytes, begin, begin + 10);
    } else if (fate == 2) { // cut
        scatter(bytes.substr(0, m_choice(static_cast<unsigned>(bytes.size()))), within(m_timeoutMs),
                last);
    } else if (fate == 3) { // with something behind it
        scatter(bytes + std::string(1 + m_choice(9), 'x'), fake.nowMs, fake.nowMs);
    } else if (fate < 8) { // late, whole
        const std::int64_t at = within(m_timeoutMs + kGraceMs);
        scatter(bytes, at, at);
    } else if (fate < 10) { // late, in pieces
        scatter(bytes, within(m_timeoutMs + kGraceMs), last);
    } else {
        scatter(bytes, fake.nowMs + 1, fake.nowMs + 1);
    }
}

// In order behind what is under way already.
void LateSession::scatter(const std::string& bytes, std::int64_t begin, std::int64_t end) {
    m_lastArrival = std::max(m_lastArrival, begin);
    const std::size_t most = end > m_lastArrival ? 1 + m_choice(60) : bytes.size();
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = m_isWell || end <= m_lastArrival ? bytes.size() : most;
        m_pieces.push_back({m_lastArrival, bytes.substr(at, length)});
        at += length;
        m_lastArrival +=
            m_lastArrival < end
                ? m_choice(static_cast<unsigned>(std::min<std::int64_t>(end - m_lastArrival, 80)))
                : 0;
    }
}

std::string LateSession::ask(Kind kind) {
    m_arrived.clear();
    m_shown.clear();
    const std::string fault = command(kind);
    return fault.empty() && m_shown != m_arrived ? "a trace without some of the bytes" : fault;
}

std::string LateSession::command(Kind kind) {
    m_kind = kind;
    const unsigned before = m_commands;
    if (kind == reset) {
        deliver(answer(kind));
        deviceCommand(m_device, nullptr);
        const bool isReset = deviceGetError(m_device) == 0;
        return isReset && !std::string_view(m_device->reply).starts_with("RESET") ? "a false reset"
                                                                                  : "";
    }
    static const char* const commands[] = {"BX:180F", "PHSR:00", "TSTOP:"};
    deviceCommand(m_device, "%s", commands[kind]);
    if (deviceGetError(m_device) != 0) {
        return kind == stop && m_commands == before ? "TSTOP was not sent" : "";
    }
    ++answered;
    if (m_commands == before) {
        return "an answer without a question";
    }
    return numberIn(*m_device) == m_commands ? "" : "the answer of another command";
}

// Once the device answers at once again, the link is in step 2 s after the last byte at the latest;
// a time-out may have been under way.
std::string LateSession::recover() {
    m_isWell = true;
    const std::int64_t limit = std::max(fake.nowMs, m_lastArrival) + m_timeoutMs + kGraceMs;
    do {
        const std::int64_t began = fake.nowMs;
        const std::string fault = ask(binary);
        if (!fault.empty() || (deviceGetError(m_device) != 0 && began > limit)) {
            return fault.empty() ? "not in step again" : fault;
        }
    } while (deviceGetError(m_device) != 0);
    for (const Kind kind : {text, binary, stop}) {
        const std::string fault = ask(kind);
        if (!fault.empty() || deviceGetError(m_device) != 0) {
            return fault.empty() ? "out of step again" : fault;
        }
    }
    return {};
}

std::string LateSession::run() {
    fake = {};
    fake.peer = this;
    const RecordPtr device(deviceOpenNetwork("device", 8765));
    m_device = device.get();
    const auto show = [](DeviceTraffic traffic, const char* bytes, int length, void* session) {
        if (traffic != DeviceTraffic::sent) {
            static_cast<LateSession*>(session)->m_shown.append(bytes,
                                                               static_cast<std::size_t>(length));
        }
    };
    deviceSetTraceCallback(m_device, show, this);
    constexpr int timeouts[] = {20, 100, 100, 700, 2000};
    m_timeoutMs = timeouts[m_choice(5)];
    deviceSetNetworkTimeout(m_device, m_timeoutMs);
    std::string fault;
    for (unsigned left = 1 + m_choice(12); left > 0 && fault.empty(); --left) {
        const unsigned kind = m_choice(20);
        fault = ask(kind < 10 ? binary : kind < 17 ? text : kind < 19 ? stop : reset);
        fake.nowMs += m_choice(3) == 0 ? m_choice(1000) : 5;
    }
    fault = fault.empty() ? recover() : fault;
    m_pieces.clear();
    fake.peer = nullptr;
    return fault;
}
