#include "protocol/channel.h"
#include "protocol/crc.h"
#include "protocol/errors.h"
#include "protocol/link.h"
#include "protocol/net.h"
#include "protocol/platform/platform.h"
#include "protocol/reply_text.h"
#include "protocol/transport.h"

#include <algorithm>
#include <cstring>

namespace protocol {
namespace {

constexpr std::size_t kBinaryTail = 2; // CRC, little-endian
constexpr std::size_t kTextTail = 5;   // CRC in four digits, CR
constexpr std::size_t kTextCrcDigits = 4;

std::uint32_t sentCrc(std::string_view tail, bool binary) {
    if (binary) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(tail[0]) |
                                          static_cast<unsigned char>(tail[1]) << 8);
    }
    return parseHex(tail, kTextCrcDigits);
}

void trace(const DeviceRecord& record, DeviceTraffic traffic, std::string_view bytes) {
    if (record.traceCallback != nullptr) {
        record.traceCallback(traffic, bytes.data(), static_cast<int>(bytes.size()),
                             record.traceCallbackData);
    }
}

std::string_view textOf(const char* bytes, int length) {
    return {bytes, static_cast<std::size_t>(length)};
}

// The connection of a record, for its link. What is dropped is shown in one piece, before
// anything else is sent.
class RecordLine final : public LinkLine {
public:
    explicit RecordLine(const DeviceRecord& record) : m_record(record) {}
    ~RecordLine() { showDropped(); }
    RecordLine(const RecordLine&) = delete;
    RecordLine& operator=(const RecordLine&) = delete;

    std::int64_t nowMs() override { return platform::nowMs(); }

    int timeoutMs() override { return platform::getReceiveTimeout(m_record.socket); }

    int receive(char* buffer, int max, int ms) override {
        const platform::Transfer got = platform::receiveWithin(m_record.socket, buffer, max, ms);
        if (got.fault == platform::Transfer::Fault::noBuffers) {
            netSleep(1);
            return 0;
        }
        const bool isOver = got.fault != platform::Transfer::Fault::none ||
                            (got.count == 0 && got.systemError == 0);
        return isOver ? -1 : got.count;
    }

    void drop(const char* bytes, int length) override {
        if (m_record.traceCallback == nullptr) {
            return;
        }
        if (m_dropped + length > static_cast<int>(sizeof(m_bytes))) {
            showDropped();
        }
        std::memcpy(m_bytes + m_dropped, bytes, static_cast<std::size_t>(length));
        m_dropped += length;
    }

    void showDropped() {
        if (m_dropped > 0) {
            trace(m_record, DeviceTraffic::dropped, textOf(m_bytes, m_dropped));
        }
        m_dropped = 0;
    }

private:
    const DeviceRecord& m_record;
    int m_dropped = 0;
    char m_bytes[4096];
};

Link& linkOf(const DeviceRecord& record) {
    return *static_cast<Link*>(record.link);
}

std::int32_t send(const DeviceRecord& record, std::string_view command) {
    trace(record, DeviceTraffic::sent, command);
    const int length = static_cast<int>(command.size());
    const int written = isSerial(record) ? serialWrite(record.serialPort, command.data(), length)
                                         : netWrite(record.socket, command.data(), length);
    if (written < 0) {
        return kWriteFailed;
    }
    return written < length ? kTimeout : 0;
}

// Terminates what was received and shows it.
Received finish(const DeviceRecord& record, char* buffer, int length, bool expectsBinary,
                std::int32_t deviceError = 0) {
    buffer[std::max(0, length)] = '\0';
    const std::string_view raw = textOf(buffer, std::max(0, length));
    trace(record, DeviceTraffic::received, raw);
    if (length <= 0) {
        return {length < 0 ? kReadFailed : kTimeout};
    }
    return {deviceError, deviceError == 0 ? checkReply(raw, expectsBinary) : ReplyCheck{}};
}

Received receiveSerial(const DeviceRecord& record, bool expectsBinary, char* buffer) {
    std::int32_t deviceError = 0;
    const int length =
        serialRead(record.serialPort, buffer, kMaxReply, expectsBinary, &deviceError);
    return finish(record, buffer, length, expectsBinary, deviceError);
}

// Shows what came behind a reply in the same chunk, once the reply itself is shown.
void dropBehind(RecordLine& line, const char* buffer, int length, const SocketSource& source) {
    line.drop(buffer + length, std::min(source.arrived(), kMaxReply) - length);
    line.drop(source.beyond().data(), static_cast<int>(source.beyond().size()));
}

// Receives over TCP and tells the link what became of it.
Received receiveNetwork(const DeviceRecord& record, bool expectsBinary, char* buffer) {
    RecordLine line(record);
    SocketSource source(record.socket, nullptr);
    const int length = readReply(source, buffer, kMaxReply, expectsBinary);
    dropBehind(line, buffer, std::max(0, length), source);
    if (source.hasEnded()) {
        linkOf(record).noteReset();
    } else if (length <= 0) {
        linkOf(record).noteMissing(line, textOf(buffer, source.arrived()), expectsBinary);
    }
    const Received result = finish(record, buffer, length, expectsBinary);
    if (length > 0 && !result.check.isGood) {
        linkOf(record).noteDamaged(line, textOf(buffer, length), source.beyond(), expectsBinary);
    }
    return result;
}

Received exchangeSerial(DeviceRecord& record, const Command& command, char* buffer) {
    serialPurge(record.serialPort, 1);
    if (const std::int32_t error = send(record, command.text)) {
        return {error};
    }
    return receiveSerial(record, command.expectsBinary, buffer);
}

Received exchangeNetwork(DeviceRecord& record, const Command& command, char* buffer) {
    Link& link = linkOf(record);
    RecordLine line(record);
    const bool isInStep = link.settle(line);
    line.showDropped();
    if (!isInStep && command.name != "TSTOP") {
        return {kTimeout};
    }
    if (const std::int32_t error = send(record, command.text)) {
        return {error};
    }
    if (!isInStep && !link.passOver(line)) {
        link.noteMissing(line, {}, command.expectsBinary);
        return {kTimeout};
    }
    line.showDropped();
    return receiveNetwork(record, command.expectsBinary, buffer);
}

bool startsAnew(std::string_view reply) {
    return reply.starts_with("RESETBE6");
}

// Behind what is outstanding. When another text comes, the report may still follow.
Received receiveNetworkReport(DeviceRecord& record, char* buffer) {
    Link& link = linkOf(record);
    RecordLine line(record);
    if (!link.passOver(line)) {
        link.noteMissing(line, {}, false);
        return {kTimeout};
    }
    line.showDropped();
    const Received received = receiveNetwork(record, false, buffer);
    if (startsAnew(buffer)) {
        link.noteReset();
    } else if (received.error == 0) {
        link.noteMissing(line, {}, false);
    }
    return received;
}

} // namespace

ReplyCheck checkReply(std::string_view raw, bool expectsBinary) {
    ReplyCheck check;
    check.isBinary = expectsBinary && !(raw.starts_with("ERROR") && raw.ends_with('\r'));
    const std::size_t tailLength = check.isBinary ? kBinaryTail : kTextTail;
    if (raw.size() >= tailLength) {
        check.data = raw.substr(0, raw.size() - tailLength);
        check.isGood = sentCrc(raw.substr(check.data.size()), check.isBinary) == crc16(check.data);
    }
    return check;
}

Received exchange(DeviceRecord& record, const Command& command, char* buffer) {
    buffer[0] = '\0';
    return isSerial(record) ? exchangeSerial(record, command, buffer)
                            : exchangeNetwork(record, command, buffer);
}

std::string_view receiveResetReport(DeviceRecord& record, char* buffer) {
    buffer[0] = '\0';
    const Received received = isSerial(record) ? receiveSerial(record, false, buffer)
                                               : receiveNetworkReport(record, buffer);
    return startsAnew(buffer) ? received.check.data : std::string_view();
}

} // namespace protocol
