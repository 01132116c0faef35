#pragma once

#include "protocol/channel.h"

namespace protocol {

// Whether the newest reply of the reader thread answers this command.
bool isAnsweredByThread(const DeviceRecord& record, const Command& command);

// Takes the newest reply of the reader thread into the raw reply.
Received takeFromThread(DeviceRecord& record, const Command& command);

// While thread mode is on, the application side holds the connection whenever the device is not
// tracking. These hand it over around a command that is sent from the calling thread; both do
// nothing while the thread may not run anyway.
void takeConnection(DeviceRecord& record);
void giveConnection(DeviceRecord& record);

} // namespace protocol
