#pragma once

#include "protocol/record.h"

#include <string_view>

// The steps of one command, from its text to the stored reply.
namespace protocol {

// A command as sent, in the record's command buffer.
struct Command {
    std::string_view text; // with CRC and CR
    std::string_view name;
    bool expectsBinary;
};

// Formats a command into the record's command buffer and appends CRC and CR.
Command frameCommand(DeviceRecord& record, const char* format, std::va_list arguments)
    NDI_PRINTF_FORMAT(2, 0);

// A reply as received, in a buffer that was given for it. With an error, there is none.
struct Received {
    int length = 0;
    std::int32_t error = 0;
    int arrived = 0; // TCP: length, and what came in one piece with the end of the reply
};

// Sends a command and receives its reply into a buffer of kBufferSize, which it terminates. Sets
// nothing in the record that the application reads: the reader thread uses it too.
//
// What is received late is not taken for this command's answer: over TCP, where nothing can be
// purged, a command that follows one without an answer waits for it first, up to six time-outs and
// at most 600 ms, and looks for a second answer behind its own.
Received exchange(DeviceRecord& record, std::string_view command, bool binary, char* buffer);

// Only receives.
Received receiveReply(const DeviceRecord& record, bool binary, char* buffer);

// Checks the CRC of the raw reply and copies what it covers into the reply buffer.
//   result  the length of that; -1 when an error was set
int checkReply(DeviceRecord& record, int received, bool binary);

// Stores a good reply by the name of its command.
void storeReply(DeviceRecord& record, const Command& command, std::string_view reply);

// Sets the host's side of a serial line as a COMM command has set the device's.
void applyCommSettings(DeviceRecord& record, std::string_view command);

// Resets the device by a break (serial) or waits for its reset report (network).
void resetDevice(DeviceRecord& record);

// Pauses as long as the record's transport does.
void pauseTransport(const DeviceRecord& record, int ms);

} // namespace protocol
