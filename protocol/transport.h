#pragma once

// The transports below the command channel: a serial port and a TCP socket. Programs normally use
// protocol/device.h; these primitives are for tools and tests.
//
// Handles: a serial port is a std::intptr_t, a socket a std::int64_t; -1 is none. Every function
// except the open operations needs a valid handle.
//
// Results: reads return the number of bytes received, 0 when the time-out passed or the peer ended,
// -1 on failure. Writes return the number of bytes written, -1 on failure. The rest returns 0 or
// -1.
//
// Replies: serialRead and netRead return one reply. A text reply ends when the last byte received
// is a carriage return. A binary reply (starting C4 A5) ends at its declared length; bytes behind
// it in the same chunk are dropped. In binary mode, "ERROR..." up to a carriage return is a reply
// too. Anything else ends at max bytes. Each wait ends at the first byte, with its own time-out: a
// reply that stalls half-way is 0, not the count so far. So is one that lasts longer than 10 s from
// its first piece on (TCP), or 30 s in all (serial).
//
// Threads: one handle belongs to one thread at a time; different handles are independent.

#include <cstdint>

// ---- Serial port -------------------------------------------------------------------------------

// Opens a port exclusively: raw, DTR on, no software or DSR flow control, time-outs of 5 s (writes
// 2 ms a byte more). Rate and format stay as found. The settings found are put back on close; the
// process remembers them for the first four ports open at a time.
//   name    as devicePortName gives it; off Windows also a path that starts with '/'
//   result  the port; -1 when it is absent, forbidden, in use or no serial port
std::intptr_t serialOpen(const char* name);

void serialClose(std::intptr_t port);

// Sets rate, format and hardware handshake.
//   baud       9600, 14400, 19200, 38400, 57600, 115200, 230400, 921600 or 1228739 (the device's
//              fastest, through an adapter whose host side runs at 19200)
//   format     data bits '8' or '7', parity 'N', 'O' or 'E', stop bits '1' or '2'
//   handshake  on: CTS holds back output, RTS follows the input buffer. Off: RTS is low.
//   result     -1 for other values (the port stays as it is) or when the port refuses them
int serialSetLine(std::intptr_t port, int baud, const char* format, bool handshake);

// Drops what was received (1), what waits to be sent (2), both (any other value). Always 0.
int serialPurge(std::intptr_t port, int which);

// Drops both directions and holds the line in break for 300 ms. Always 0.
int serialBreak(std::intptr_t port);

// Sets the time-outs of reads and writes.
int serialSetTimeout(std::intptr_t port, int ms);

// Reads one reply.
//   error   may be null; receives the code of an "ERROR" reply and is untouched otherwise
int serialRead(std::intptr_t port, char* buffer, int max, bool binary, std::int32_t* error);

// Writes n bytes; fewer are reported when the time-out passes first.
int serialWrite(std::intptr_t port, const char* bytes, int n);

// Whether a device raises DSR. Off Windows, a port without modem signals counts as having one.
bool serialDsrPresent(std::intptr_t port);

void serialSleep(int ms);

// Says which device path a port name stands for; the default is /dev/ttyUSB0 to 9 for the first ten
// names and /dev/ttyS0 to 9 for the next ten. Process-wide, from any thread, effective at the next
// open. On Windows names belong to the system: nothing happens there.
//   index   0 to 19, as for devicePortName
//   path    copied; null or empty brings the default back
//   result  0; -1 for another index
int serialAssignPort(int index, const char* path);

// ---- TCP ---------------------------------------------------------------------------------------

// Connects to an IPv4 host with TCP_NODELAY. Waits up to 21 s for an address that does not answer.
//   result  the socket, or -1
std::int64_t netConnect(const char* host, std::uint16_t port);

void netClose(std::int64_t socket);

// Reads one reply. Waits without limit unless a receive time-out is set.
//   error   may be null; receives the system's own number of the last socket error
int netRead(std::int64_t socket, char* buffer, int max, bool binary, std::int32_t* error);

// Sends n bytes; fewer are reported when the peer takes nothing for 5 s. A closed peer is a
// failure, never a signal.
int netWrite(std::int64_t socket, const char* bytes, int n);

void netSleep(int ms);

// Does nothing and returns 0: the command channel itself drops what has arrived before it sends,
// and waits for a late reply (see deviceSetNetworkTimeout).
int netPurge(std::int64_t socket);
