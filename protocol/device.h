#pragma once

// The device protocol library: one measurement system (Polaris or Aurora) over a serial port or
// TCP.
//
// A connection is one DeviceRecord. An open operation allocates it, every other operation takes it
// as its first argument, and the matching close operation releases it. Records must not be null,
// except for the close operations, which ignore a null record. Nothing here throws.
//
//     DeviceRecord* device = deviceOpenNetwork("192.168.1.10", 8765);
//     if (device == nullptr) { ... }
//     deviceSetErrorCallback(device, logError, nullptr);
//     deviceSetNetworkTimeout(device, 5000);
//     deviceCommand(device, "INIT:");
//     deviceCommand(device, "PHSR:%02X", 0u);
//     for (int i = 0; i < devicePhsrCount(device); ++i) { use(devicePhsrHandle(device, i)); }
//     deviceCloseNetwork(device);
//
// Errors
// ------
// A command never returns a null reply. What went wrong is deviceGetError(record), a code that is
// cleared at the start of every command and is also handed to the error callback:
//
//   0x01-0x31, 0xF1-0xF6  the device answered "ERROR" and this code: it understood the line, not
//          the wish. The command had no effect that the code's text does not name.
//   0x100  the reply's CRC does not fit, or the reply is too short or longer than 2,047 bytes:
//          ask again.
//   0x200  no connection (probe: the port could not be opened)
//   0x300  the host cannot apply the line settings that a COMM command has just given the device
//   0x400  no answer, or not all of the command could be written, within the time-out; a reply that
//          lasts longer than 10 s (TCP) or 30 s (serial); over TCP also a command that was not sent
//          because an earlier answer is still outstanding (see deviceSetNetworkTimeout), and when
//          the peer has closed the connection, the next commands then give 0x500
//   0x500  writing failed   } the line or the peer is gone: close and open again
//   0x600  reading failed   }
//   0x700  the device did not report a reset after a break
//   0x800  (probe only) no measurement system on this port
//
// A failed command leaves every stored reply as it was, so accessors go on answering from the last
// good reply. So do two replies that are no error: "ERROR" with the code 00, of which only the
// callback is told, and to BX one that does not begin with C4 A5. deviceErrorText gives the text of
// a code.
//
// Limits: a command text is cut at 2,042 characters. A reply is at most 2,047 bytes; a longer one
// (14 tools with four markers each and 50 stray markers, say) ends in 0x100. A tracking reply keeps
// NDI_MAX_HANDLES handles, 20 markers a handle and 240 stray markers (50 in text mode); what goes
// beyond is read over.
//
// Threads
// -------
// Calls on different records may run at the same time, open, close and probe included. Calls on one
// record must not: the caller serialises them, accessors included. The optional reader thread
// (deviceSetThreadMode) is the library's own business. The error callback runs on the thread that
// called the failing operation, with no lock of the library held. deviceErrorText, hexEncode,
// hexDecode and transformToMatrix may be called from everywhere.
//
// Units: millimetres, unit quaternions (q0 = w, qx, qy, qz), RMS errors in millimetres.

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#if defined(__GNUC__)
#define NDI_PRINTF_FORMAT(text, first) __attribute__((format(printf, text, first)))
#else
#define NDI_PRINTF_FORMAT(text, first)
#endif

// The most port handles that one tracking reply keeps.
inline constexpr int NDI_MAX_HANDLES = 24;

// Called with the code, its text (never null, constant) and the pointer given with the callback.
using DeviceErrorCallback = void (*)(std::int32_t code, const char* text, void* userData);

// What a trace is shown: the bytes of a command that is about to be sent; of a reply as received,
// none if it did not come whole; of an answer, or a part of one, that came too late for its command
// or behind another answer and is thrown away.
enum class DeviceTraffic : std::int32_t { sent, received, dropped };

// Called on the thread that moves the bytes: the caller's, or the reader thread's. A reset on break
// shows its reply only. The function must neither throw nor use the record.
using DeviceTraceCallback = void (*)(DeviceTraffic traffic, const char* bytes, int length,
                                     void* userData);

// All that belongs to one connection. The fields are public for diagnosis and tests; programs use
// the operations below. Text stores keep the device's characters at fixed width and are terminated
// only where there is room.
struct DeviceRecord {
    // Connection: serial (serialPort, deviceName) or TCP (socket, hostName, tcpPort). Both handles
    // and tcpPort are -1 when not in use, the names null; the record owns the names.
    std::intptr_t serialPort;
    char* deviceName;
    std::int64_t socket;
    char* hostName;
    std::int32_t tcpPort;

    char* commandBuffer; // 2,048 bytes: the last command as sent, CRC and CR included
    char* rawReply;      // 2,048 bytes: the last reply as received, CRC and CR included

    std::uint8_t tracking;   // TSTART was sent, and neither TSTOP nor INIT since
    std::uint8_t threadMode; // the reader thread is on; shared with it, read through an atomic_ref

    void* link; // TCP: which answers may still come although nobody waits for them any more

    // The reader thread and what it shares with the application side. Null while it is off.
    void* thread;
    void* runMutex;       // semaphore: held by whichever side may use the connection
    void* replyMutex;     // guards threadHandover and threadError
    void* replyEvent;     // set after each reply handed over
    char* threadCommand;  // 2,048 bytes: what the thread repeats; empty means idle
    char* threadReply;    // 2,048 bytes: the thread's receive buffer
    char* threadHandover; // 2,048 bytes: the newest reply
    std::uint8_t threadBinary;
    std::int32_t threadError;

    char* reply; // 2,048 bytes: the last reply without CRC and CR
    std::int32_t errorCode;
    DeviceErrorCallback errorCallback;
    void* errorCallbackData;
    DeviceTraceCallback traceCallback;
    void* traceCallbackData;

    // GX
    char GxTransforms[3][52];
    char GxStatus[8];
    char GxInformation[3][12];
    char GxSingleStray[3][24];
    char GxFrame[3][8];
    char GxPassiveTransforms[9][52];
    char GxPassiveStatus[24];
    char GxPassiveInformation[9][12];
    char GxPassiveFrame[9][8];
    char GxPassiveStray[424];

    // PSTAT: wired ports, then passive ports
    char PstatBasic[3][32];
    char PstatTesting[3][8];
    char PstatPartNumber[3][20];
    char PstatAccessories[3][2];
    char PstatMarkerType[3][2];
    char PstatPassiveBasic[9][32];
    char PstatPassiveTesting[9][8];
    char PstatPassivePartNumber[9][20];
    char PstatPassiveAccessories[9][2];
    char PstatPassiveMarkerType[9][2];

    // SSTAT, IRCHK
    char SstatControl[2];
    char SstatSensor[2];
    char SstatTiu[2];
    std::int32_t IrchkDetected; // the character, '1' when infrared light was detected
    char IrchkSources[128];

    // PHRQ, PHSR, PHINF
    char PhrqReply[2];
    char PhsrReply[1284];
    std::int32_t PhinfUnoccupied; // 3 when the port was reported unoccupied, else 0
    char PhinfBasic[34];
    char PhinfTesting[8];
    char PhinfPartNumber[20];
    char PhinfAccessories[2];
    char PhinfMarkerType[2];
    char PhinfPortLocation[14];
    char PhinfGpioStatus[2];

    // TX
    std::int32_t TxHandleCount;
    std::uint8_t TxHandles[NDI_MAX_HANDLES];
    char TxTransforms[NDI_MAX_HANDLES][52];
    char TxStatus[NDI_MAX_HANDLES][8];
    char TxFrame[NDI_MAX_HANDLES][8];
    char TxInformation[NDI_MAX_HANDLES][12];
    char TxSingleStray[NDI_MAX_HANDLES][24];
    char TxSystemStatus[4];
    std::int32_t TxPassiveStrayCount;
    char TxPassiveStrayOov[14];
    char TxPassiveStray[1052];

    // BX
    std::uint16_t BxReplyLength;
    std::uint8_t BxHandleCount;
    std::uint8_t BxHandles[NDI_MAX_HANDLES];
    std::uint8_t BxHandlesStatus[NDI_MAX_HANDLES]; // 1 valid, 2 missing, 4 disabled
    std::uint32_t BxFrameNumber[NDI_MAX_HANDLES];
    float BxTransforms[NDI_MAX_HANDLES][8]; // q0, qx, qy, qz, tx, ty, tz, RMS error
    std::uint32_t BxPortStatus[NDI_MAX_HANDLES];
    std::uint8_t BxToolMarkerInformation[NDI_MAX_HANDLES][11];
    std::uint8_t BxActiveSingleStrayMarkerStatus[NDI_MAX_HANDLES];
    float BxActiveSingleStrayMarkerPosition[NDI_MAX_HANDLES][3];
    std::int8_t Bx3DMarkerCount[NDI_MAX_HANDLES]; // as sent: may be negative or beyond the store
    std::uint8_t Bx3DMarkerOutOfVolume[NDI_MAX_HANDLES][3];
    float Bx3DMarkerPosition[NDI_MAX_HANDLES][20][3];
    std::int32_t BxPassiveStrayCount; // as sent: may be negative
    std::uint8_t BxPassiveStrayOutOfVolume[30];
    float BxPassiveStrayPosition[240][3];
    std::uint32_t BxSystemStatus;
};

// ---- Open, close, find -------------------------------------------------------------------------

// The name of a serial port: "COM1" to "COM9", "\\.\COM10" and on. Off Windows a name stands for a
// device path (see serialAssignPort in protocol/transport.h).
//   index   0-based
//   result  the name, in a buffer of the calling thread that its next call overwrites; null for a
//           negative index
const char* devicePortName(int index);

// Opens a serial port exclusively and sets it to 9600 baud, 8N1, no handshake, 5 s time-out.
//   name    a port name, or off Windows also a path that starts with '/'
//   result  the record; null when the port is absent, forbidden, in use or refuses the settings
// The caller closes it with deviceCloseSerial.
DeviceRecord* deviceOpenSerial(const char* name);

// Connects over TCP (IPv4). Waits up to 21 s for an address that does not answer.
//   host    name or dotted address
//   port    TCP port
//   result  the record; null when the name is unknown or nobody accepts
// Replies are waited for without limit until deviceSetNetworkTimeout is called. The caller closes
// the record with deviceCloseNetwork.
DeviceRecord* deviceOpenNetwork(const char* host, std::uint16_t port);

// Close a connection and release its record; the line settings that the port had before it was
// opened come back, if it was among the first four that were open at a time. Thread mode is
// switched off first, which waits for the exchange in progress. Sends nothing. A null record is
// ignored.
void deviceCloseSerial(DeviceRecord* record);
void deviceCloseNetwork(DeviceRecord* record);

// Asks whether a measurement system answers on a serial port. A system that does not answer at
// 9600 baud is reset by a break and asked again: the call may last 14.7 s, 7 s for each of the two
// waits behind the break (longer with a device that falls silent only after these, or sends its
// answer byte by byte). The port is closed and restored before the call returns.
//   name    as for deviceOpenSerial
//   result  0 a system answers; 0x200 the port cannot be opened; 0x300 it refuses the settings;
//           0x400 no answer; 0x500, 0x600 writing, reading failed; 0x800 nothing attached (no DSR
//           signal: nothing is written then) or something else answers
int deviceProbePort(const char* name);

// Sets how long each piece of a reply over TCP is waited for; the reply as a whole has 10 s from
// its first piece on. Less than 1 ms changes nothing.
//
// An answer over TCP does not say which command it belongs to. So when one has not come in time,
// nothing is sent before it has come or is given up: the next command waits for it for up to
// 600 ms, drops it and is sent then. If it has not come, that command fails with 0x400 without
// having been sent, and so do later ones, until nothing has come for 2 s. Only TSTOP is sent all
// the same, so that a device is not left tracking; it fails with 0x400 unless all outstanding
// answers come before its own. After a reply with a bad CRC, the line must have been quiet for one
// time-out (at most 600 ms) before the next command is sent. No answer is taken for another's,
// unless it comes more than 2 s after its time-out, or behind damaged bytes and after such a pause.
void deviceSetNetworkTimeout(DeviceRecord* record, int ms);

// ---- Command channel ---------------------------------------------------------------------------

// Sends one command and waits for its reply. CRC (when the command's name is followed by ':') and
// carriage return are appended. Replies of COMM, GX, BX, TX, IRCHK, PHINF, PHRQ, PHSR, PSTAT and
// SSTAT are also stored for the accessors below; COMM switches the host's side of a serial line as
// well, after 100 ms; a good INIT reply is followed by a pause of 100 ms.
//   format  printf format of the text without CRC and CR. Null resets the device instead: over a
//           serial line by a break at 9600 baud; over TCP the reset report is only waited for.
//   result  the reply without CRC and CR, never null, valid until the next command. Terminated for
//           text replies; a binary reply (BX, GETLOG, VGET) is not and may hold zero bytes.
// Arguments must not point into the record's own buffers: these are emptied before the text is
// formatted. On failure the reply is empty or incomplete: ask deviceGetError.
const char* deviceCommand(DeviceRecord* record, const char* format, ...) NDI_PRINTF_FORMAT(2, 3);
const char* deviceCommandV(DeviceRecord* record, const char* format, std::va_list arguments)
    NDI_PRINTF_FORMAT(2, 0);

// The error code of the last operation; 0 is none.
std::int32_t deviceGetError(const DeviceRecord* record);

// Sets or (with null) removes the function that is told of every error.
void deviceSetErrorCallback(DeviceRecord* record, DeviceErrorCallback callback, void* userData);

// Sets or (with null) removes the function that is shown the traffic. Not while the reader thread
// is on.
void deviceSetTraceCallback(DeviceRecord* record, DeviceTraceCallback callback, void* userData);

// Switches the reader thread on or off. While it is on and the device is tracking, BX, TX and GX
// return the newest reply that the thread has fetched, instead of waiting for one of their own; the
// first reply after a changed command is skipped. Other commands pause the thread meanwhile.
//   - The hand-over is text: a reply ends at its first zero byte, so BX replies practically always
//     fail with 0x100. Use TX.
//   - A time-out and a failed write or read end the thread, and so does the device's "ERROR" over a
//     serial line; over TCP that one does not, nor does a bad CRC. The next tracking command
//     reports it; those after it time out with 0x400 after 5 s, other commands still work. An error
//     in the skipped reply is never reported: only the time-out is. Switch the mode off and on to
//     go on.
//   - Off waits without limit for the exchange in progress: set a network time-out.
// If the thread cannot be made, the mode stays off.
void deviceSetThreadMode(DeviceRecord* record, bool on);
bool deviceGetThreadMode(const DeviceRecord* record);

// Sends a tool definition file to a port handle in 16 PVWR commands; a file of less than 1,024
// bytes is filled up with zeros, what lies beyond is ignored.
//   result  0; -1 when the file cannot be read or is no plain file (nothing is sent) or a command
//           failed (deviceGetError tells)
int deviceUploadRom(DeviceRecord* record, int handle, const char* path);

// The text of an error code: never null, never to be freed. Unknown codes have a text too.
const char* deviceErrorText(std::int32_t code);

// Writes every stored reply as text, one item a line, for logs and inspection. Binary arrays appear
// as addresses.
//   out     zero-filled and large enough: nothing terminates the text, and no size is known
void deviceDumpState(const DeviceRecord* record, char* out);

// The same, bounded: writes at most size bytes, a terminating zero included.
//   out     may be null when size is 0
//   result  the length of the whole text, without the zero; 0 when memory ran out
std::size_t deviceDumpState(const DeviceRecord* record, char* out, std::size_t size);

// Writes two upper-case hex digits for each of n bytes, unterminated; returns out.
char* hexEncode(char* out, const void* bytes, int n);

// Reads n bytes from 2 * n hex digits of either case; other characters count as 0. Returns out.
void* hexDecode(void* out, const char* text, int n);

// ---- BX: binary tracking replies ---------------------------------------------------------------
// Answer from the last good BX reply. A handle is unknown when that reply did not list it.

// Copies q0, qx, qy, qz, tx, ty, tz, RMS error.
//   result  0 valid; 2 missing: the values are those of the last time the tool was seen; 1 disabled
//           (values as with 2) or unknown (values untouched)
int deviceBxTransform(const DeviceRecord* record, int handle, float* values);

// The frame in which the handle was measured; 0 for an unknown handle. A disabled handle keeps its
// last number.
std::uint32_t deviceBxFrameNumber(const DeviceRecord* record, int handle);

// The port status word; 0 for an unknown handle. Its bytes are sign-extended as the word is put
// together: from 0x80 on, a byte sets all bits above it.
std::uint32_t deviceBxPortStatus(const DeviceRecord* record, int handle);

// Copies the tool information byte. Result: 0; 1 for an unknown handle.
int deviceBxToolInformation(const DeviceRecord* record, int handle, std::uint8_t* information);

// Copies the x, y, z of the active single stray marker. Result: 0; 1 for an unknown handle.
int deviceBxSingleStray(const DeviceRecord* record, int handle, float* position);

// The system status word, its bytes sign-extended like those of the port status.
std::uint32_t deviceBxSystemStatus(const DeviceRecord* record);

// The number of stray markers as the device gave it: one signed byte, so it may be negative.
int deviceBxPassiveStrayCount(const DeviceRecord* record);

// Copies x, y, z of a stray marker. Result: 0; 1 when index is negative, 240 or more, or greater
// than the count (an index equal to the count is accepted).
int deviceBxPassiveStray(const DeviceRecord* record, int index, float* position);

// ---- TX, GX: text tracking replies -------------------------------------------------------------

// q0, qx, qy, qz, tx, ty, tz, RMS error from the last good TX reply, with the text's resolution of
// 0.0001 (rotation, error) and 0.01 mm. Result: 0 valid; 1 unknown or disabled, 2 missing (values
// untouched).
int deviceTxTransform(const DeviceRecord* record, int handle, double* values);
int deviceTxTransformF(const DeviceRecord* record, int handle, float* values);

// 0 for an unknown handle.
std::uint32_t deviceTxPortStatus(const DeviceRecord* record, int handle);
std::uint32_t deviceTxFrameNumber(const DeviceRecord* record, int handle);
int deviceTxToolInformation(const DeviceRecord* record, int handle);

// x, y, z of the handle's single stray marker. Results as deviceTxTransform.
int deviceTxSingleStray(const DeviceRecord* record, int handle, double* position);

int deviceTxSystemStatus(const DeviceRecord* record);

// At most 50.
int deviceTxPassiveStrayCount(const DeviceRecord* record);

// Copies x, y, z of a stray marker. Result: 0; 1 there are none; 2 index outside 0 to count - 1.
int deviceTxPassiveStray(const DeviceRecord* record, int index, double* position);

// As deviceTxTransform, from the last good GX reply.
//   port    '1' to '3' wired, 'A' to 'I' passive; any other counts as disabled
int deviceGxTransform(const DeviceRecord* record, char port, double* values);

// A transform as a homogeneous matrix.
//   transform  q0, qx, qy, qz, tx, ty, tz; the quaternion is normalised and must not be zero
//   matrix     16 values, column by column: device frame from tool frame, millimetres
void transformToMatrix(const float* transform, double* matrix);

// ---- Port handles and system -------------------------------------------------------------------

// The port handle that the last PHRQ allocated.
int devicePhrqHandle(const DeviceRecord* record);

// The entries of the last PHSR reply: how many, and handle and status (bit 0 occupied, bit 4
// initialised, bit 5 enabled) of each. 0 for an index that is negative or greater than the count
// (an index equal to the count is accepted).
int devicePhsrCount(const DeviceRecord* record);
int devicePhsrHandle(const DeviceRecord* record, int index);
int devicePhsrStatus(const DeviceRecord* record, int index);

// The texts of the last PHINF reply: exactly 31, 20 and 14 characters, unterminated, zero where
// nothing was ever received. Result: 0; 3 when the port was unoccupied.
int devicePhinfBasic(const DeviceRecord* record, char* out);
int devicePhinfPartNumber(const DeviceRecord* record, char* out);
int devicePhinfPortLocation(const DeviceRecord* record, char* out);

// The numbers of the last PHINF reply. The tail is the two digits behind the basic text.
int devicePhinfBasicTail(const DeviceRecord* record);
std::uint32_t devicePhinfTesting(const DeviceRecord* record);
int devicePhinfAccessories(const DeviceRecord* record);
int devicePhinfMarkerType(const DeviceRecord* record);
int devicePhinfGpioStatus(const DeviceRecord* record);

// The numbers of the last SSTAT reply; 0 for what was never asked for.
int deviceSstatControl(const DeviceRecord* record);
int deviceSstatSensor(const DeviceRecord* record);
int deviceSstatTiu(const DeviceRecord* record);

// Whether the last IRCHK reply reported infrared light.
bool deviceIrchkDetected(const DeviceRecord* record);

// The infrared sources that one side (0, 1) of the sensor saw: their number (0 when there is none,
// or it is outside 0 to 20), and the two angles of each, as the device gives them: in radians, to
// 0.01. deviceIrchkSource returns 0, or 2 when there is no such source.
int deviceIrchkSourceCount(const DeviceRecord* record, int side);
int deviceIrchkSource(const DeviceRecord* record, int side, int index, double* position);

// The numbers of the last PSTAT reply for a port ('1' to '3' wired, 'A' to 'I' passive); 0 for
// another port or one that was not reported.
int devicePstatAccessories(const DeviceRecord* record, char port);
std::uint32_t devicePstatTesting(const DeviceRecord* record, char port);
int devicePstatMarkerType(const DeviceRecord* record, char port);

// Its texts: exactly 20 and 30 characters, unterminated, filled up with zeros.
//   result  0; 3, with out untouched, for another port, one that was not reported and (basic text
//           only) an unoccupied one
int devicePstatPartNumber(const DeviceRecord* record, char port, char* out);
int devicePstatBasic(const DeviceRecord* record, char port, char* out);
