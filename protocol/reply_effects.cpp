#include "protocol/channel.h"
#include "protocol/errors.h"
#include "protocol/reply_text.h"
#include "protocol/transport.h"

namespace protocol {
namespace {

constexpr int kSettleMs = 100;
constexpr int kInitPauseMs = 100;

int baudOf(char code) {
    switch (code) {
    case '1':
        return 14400;
    case '2':
        return 19200;
    case '3':
        return 38400;
    case '4':
        return 57600;
    case '5':
        return 115200;
    case '6':
        return 921600;
    case '7':
        return 1228739;
    case 'A':
        return 230400;
    default:
        return 9600;
    }
}

char parityOf(char code) {
    return code == '1' ? 'O' : code == '2' ? 'E' : 'N';
}

// The settings are read by position: COMM, separator, rate, data bits, parity, stop bits,
// handshake.
void applyCommSettings(DeviceRecord& record, std::string_view command) {
    if (!isSerial(record)) {
        return;
    }
    const char format[] = {charAt(command, 6) == '1' ? '7' : '8', parityOf(charAt(command, 7)),
                           charAt(command, 8) == '1' ? '2' : '1', '\0'};
    serialSleep(kSettleMs);
    if (serialSetLine(record.serialPort, baudOf(charAt(command, 5)), format,
                      charAt(command, 9) == '1') != 0) {
        setError(record, kBadLineSettings);
    }
}

} // namespace

void applyEffects(DeviceRecord& record, const Command& command) {
    if (command.name == "COMM") {
        applyCommSettings(record, command.text);
    } else if (command.name == "INIT") {
        isSerial(record) ? serialSleep(kInitPauseMs) : netSleep(kInitPauseMs);
    }
}

} // namespace protocol
