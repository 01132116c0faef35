#include "protocol/channel.h"
#include "protocol/crc.h"
#include "protocol/errors.h"
#include "protocol/reader_thread.h"
#include "protocol/replies.h"
#include "protocol/reply_framing.h"
#include "protocol/transport.h"

#include <algorithm>
#include <cstdio>

using namespace protocol;

namespace {

// What four CRC digits, CR and the terminating zero leave of the buffer.
constexpr int kMaxCommandText = kBufferSize - 6;

using Decoder = void (*)(DeviceRecord& record, const Reply& reply);

constexpr struct {
    std::string_view name;
    Decoder decode;
} kDecoders[] = {
    {"GX", decodeGx},       {"BX", decodeBx},       {"TX", decodeTx},
    {"IRCHK", decodeIrchk}, {"PHINF", decodePhinf}, {"PHRQ", decodePhrq},
    {"PHSR", decodePhsr},   {"PSTAT", decodePstat}, {"SSTAT", decodeSstat},
};

bool isNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool expectsBinary(std::string_view name) {
    return name == "BX" || name == "GETLOG" || name == "VGET";
}

// The flag changes before the command is sent, so a command that fails leaves it changed too.
void followTracking(DeviceRecord& record, std::string_view name) {
    if (name == "TSTOP" || name == "INIT") {
        record.tracking = 0;
    } else if (name == "TSTART") {
        record.tracking = 1;
        if (deviceGetThreadMode(&record)) {
            record.threadCommand[0] = '\0';
        }
    }
}

Received sendDirectly(DeviceRecord& record, const Command& command) {
    takeConnection(record);
    followTracking(record, command.name);
    const Received received = exchange(record, command, record.rawReply);
    giveConnection(record);
    return received;
}

// What was received stands in the reply even when its CRC does not fit. False when an error was
// set; a device's error may have the code 0.
bool acceptReply(DeviceRecord& record, const ReplyCheck& check) {
    const std::size_t length = check.data.copy(record.reply, check.data.size());
    if (!check.isBinary) {
        record.reply[length] = '\0';
    }
    const std::int32_t deviceError = deviceErrorIn(record.reply, static_cast<int>(length));
    if (!check.isGood || deviceError >= 0) {
        setError(record, check.isGood ? deviceError : kBadCrc);
        return false;
    }
    return true;
}

void run(DeviceRecord& record, const Command& command) {
    const Received received = isAnsweredByThread(record, command) ? takeFromThread(record, command)
                                                                  : sendDirectly(record, command);
    if (received.error != 0) {
        setError(record, received.error);
    } else if (acceptReply(record, received.check)) {
        applyEffects(record, command);
        storeReply(record, command, {record.reply, received.check.data.size()});
    }
}

// By a break over a serial line; over TCP the report is only waited for.
void resetDevice(DeviceRecord& record) {
    takeConnection(record);
    record.tracking = 0;
    if (isSerial(record)) {
        serialSetLine(record.serialPort, 9600, "8N1", false);
        serialPurge(record.serialPort, 3);
        serialBreak(record.serialPort);
    }
    const std::string_view report = receiveResetReport(record, record.rawReply);
    record.reply[report.copy(record.reply, report.size())] = '\0';
    if (report.empty()) {
        setError(record, kNoReset);
    }
}

} // namespace

void protocol::storeReply(DeviceRecord& record, const Command& command, std::string_view reply) {
    for (const auto& [name, decode] : kDecoders) {
        if (name == command.name) {
            decode(record, {command.text, reply});
            return;
        }
    }
}

Command protocol::frameCommand(DeviceRecord& record, const char* format, std::va_list arguments) {
    char* buffer = record.commandBuffer;
    if (std::vsnprintf(buffer, kMaxCommandText + 1, format, arguments) < 0) {
        buffer[0] = '\0';
    }
    const std::string_view text(buffer);
    const auto* nameEnd = std::find_if_not(text.begin(), text.end(), isNameCharacter);
    const auto nameLength = static_cast<std::size_t>(nameEnd - text.begin());
    const bool hasCrc = nameEnd != text.end() && *nameEnd == ':';

    std::size_t length = text.size();
    if (hasCrc) {
        const std::uint16_t crc = crc16(text);
        const unsigned char bytes[2] = {static_cast<unsigned char>(crc >> 8),
                                        static_cast<unsigned char>(crc & 0xFF)};
        hexEncode(buffer + length, bytes, 2);
        length += 4;
    }
    buffer[length++] = '\r';
    buffer[length] = '\0';
    const std::string_view name = text.substr(0, nameLength);
    return {{buffer, length}, name, expectsBinary(name)};
}

const char* deviceCommandV(DeviceRecord* record, const char* format, std::va_list arguments) {
    record->errorCode = 0;
    record->commandBuffer[0] = '\0';
    record->rawReply[0] = '\0';
    record->reply[0] = '\0';
    if (!isConnected(*record)) {
        setError(*record, kNoConnection);
    } else if (format == nullptr) {
        resetDevice(*record);
    } else {
        run(*record, frameCommand(*record, format, arguments));
    }
    return record->reply;
}

const char* deviceCommand(DeviceRecord* record, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const char* reply = deviceCommandV(record, format, arguments);
    va_end(arguments);
    return reply;
}
