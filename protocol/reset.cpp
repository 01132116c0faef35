#include "protocol/errors.h"
#include "protocol/reader_thread.h"
#include "protocol/transport.h"

#include <cstring>

namespace protocol {
namespace {

constexpr int kTextTail = 5; // CRC in four digits, CR

} // namespace

void resetDevice(DeviceRecord& record) {
    takeConnection(record);
    record.tracking = 0;
    if (isSerial(record)) {
        serialSetLine(record.serialPort, 9600, "8N1", false);
        serialPurge(record.serialPort, 3);
        serialBreak(record.serialPort);
    }
    const Received received = receiveReply(record, false, record.rawReply);
    const std::string_view text(record.rawReply, static_cast<std::size_t>(received.length));
    if (!text.starts_with("RESETBE6")) {
        setError(record, kNoReset);
        return;
    }
    const std::size_t length = text.size() - kTextTail;
    std::memcpy(record.reply, text.data(), length);
    record.reply[length] = '\0';
}

} // namespace protocol
