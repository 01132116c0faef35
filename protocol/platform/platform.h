#pragma once

#include <cstddef>
#include <cstdint>

// What the library needs of an operating system. One folder beside this header implements all of it
// for one system; nothing above knows which. These are single steps without policy: where replies
// end, what is retried and saved, and the order of things is decided above.
//
// Handles are -1 when invalid. Nothing throws. Tests put their own implementation here.
namespace protocol::platform {

// The outcome of one read or write. A time-out or the end of the data is a count of 0 without
// fault; of a socket, a time-out has the system's number for it and the end has none.
struct Transfer {
    enum class Fault {
        none,
        aborted,   // another party cancelled it; count bytes were moved before
        noBuffers, // the system is out of buffers for the moment
        failed,
    };

    int count = 0;
    Fault fault = Fault::none;
    std::int32_t systemError = 0; // the system's own number, for whoever reads logs
};

// ---- Serial ports ----

// Opens a port exclusively, without changing its settings. The name is one of devicePortName or
// whatever else the system takes for a port.
std::intptr_t openPort(const char* name);

// Closes it at once, unsent bytes are dropped.
void closePort(std::intptr_t port);

// Line settings and time-outs of a port, as the system describes them.
struct PortState {
    alignas(std::max_align_t) std::byte bytes[128];
};

bool captureState(std::intptr_t port, PortState& state);
void restoreState(std::intptr_t port, const PortState& state);

// Sizes of the system's receive and send queues, where it lets them be chosen.
bool setQueueSizes(std::intptr_t port, int receiveBytes, int sendBytes);

// Every byte passes unchanged in both directions, no software or DSR flow control, DTR on. Rate,
// format and RTS/CTS stay.
bool setRaw(std::intptr_t port);

struct LineFormat {
    enum class Parity { none, odd, even };

    int baud;
    int dataBits; // 7 or 8
    Parity parity;
    int stopBits;   // 1 or 2
    bool handshake; // CTS holds output, RTS follows the input buffer; off: RTS is low
};

// False when the port refuses; it then stays as it was.
bool setLine(std::intptr_t port, const LineFormat& format);

// A read waits constantMs for its first byte. A write takes constantMs and writeMsPerByte for each
// byte in all.
struct PortTimeouts {
    int constantMs;
    int writeMsPerByte;
};

bool getTimeouts(std::intptr_t port, PortTimeouts& timeouts);
bool setTimeouts(std::intptr_t port, const PortTimeouts& timeouts);

Transfer readPort(std::intptr_t port, char* buffer, int max);
Transfer writePort(std::intptr_t port, const char* bytes, int n);

// Drops what was received or waits to be sent.
void purgePort(std::intptr_t port, bool received, bool unsent);

// Clears a fault that the system holds against the port.
void clearFault(std::intptr_t port);

void setBreak(std::intptr_t port, bool on);

// Whether DSR is raised; true when the port has no such signal.
bool dsrPresent(std::intptr_t port);

// See serialAssignPort.
int assignPort(int index, const char* path);

// ---- TCP sockets ----

// Readies the process for sockets; may be called many times.
bool startSockets();

// A TCP/IPv4 socket, unconnected.
std::int64_t createSocket();
void closeSocket(std::int64_t socket);

bool setNoDelay(std::int64_t socket);

// The first IPv4 address of a host name or dotted address, in network byte order.
bool resolveHost(const char* host, std::uint8_t (&address)[4]);

// Waits up to 21 s.
bool connectSocket(std::int64_t socket, const std::uint8_t (&address)[4], std::uint16_t port);

// How long receiveFrom waits; without it, for ever. At least 1 ms.
void setReceiveTimeout(std::int64_t socket, int ms);
int getReceiveTimeout(std::int64_t socket); // 0: for ever

Transfer receiveFrom(std::int64_t socket, char* buffer, int max);

// The same with a time-out of its own; 0 takes what is there already.
Transfer receiveWithin(std::int64_t socket, char* buffer, int max, int ms);

// Waits up to 5 s for room; a count of 0 tells that there was none.
Transfer sendTo(std::int64_t socket, const char* bytes, int n);

// ---- Time and threads ----

// At least so long, whatever signals arrive.
void sleepMs(int ms);

// Milliseconds since some moment, never going back.
std::int64_t nowMs();

// While it lives, the calling thread and the threads that it makes take no signals: those are for
// the program's own threads.
class SignalBlock {
public:
    SignalBlock();
    ~SignalBlock();
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

private:
    alignas(std::max_align_t) std::byte m_before[128];
};

} // namespace protocol::platform
