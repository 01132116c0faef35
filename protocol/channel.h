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

// What the end of a reply says of the rest.
struct ReplyCheck {
    std::string_view data; // without CRC and CR
    bool isBinary = false;
    bool isGood = false; // long enough, and its CRC fits
};

// A device that refuses a binary command answers in text.
ReplyCheck checkReply(std::string_view raw, bool expectsBinary);

// A reply as received, in a buffer that was given for it. With an error, there is none.
struct Received {
    std::int32_t error = 0;
    ReplyCheck check = {};
};

// Sends a command and receives its reply into a buffer of kBufferSize, which it terminates. Sets
// nothing in the record that the application reads: the reader thread uses it too. Over TCP nothing
// is sent while the link is out of step (see Link); TSTOP is, so that no device is left tracking.
Received exchange(DeviceRecord& record, const Command& command, char* buffer);

// Only waits for the text with which a device tells that it has begun anew.
//   result  "RESET"; empty if another text comes, or none
std::string_view receiveResetReport(DeviceRecord& record, char* buffer);

// Stores a good reply by the name of its command.
void storeReply(DeviceRecord& record, const Command& command, std::string_view reply);

// What a good reply changes besides the stores: COMM sets the host's side of a serial line as it
// has set the device's, behind INIT the device needs a pause.
void applyEffects(DeviceRecord& record, const Command& command);

} // namespace protocol
