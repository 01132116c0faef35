#include "protocol/platform/platform.h"
#include "protocol/platform/windows/system_headers.h"

#include <cstring>

namespace protocol::platform {
namespace {

struct FoundState {
    COMMTIMEOUTS timeouts;
    DCB line;
};
static_assert(sizeof(FoundState) <= sizeof(PortState));

HANDLE handleOf(std::intptr_t port) {
    return reinterpret_cast<HANDLE>(port);
}

bool getLine(std::intptr_t port, DCB& line) {
    line = {};
    line.DCBlength = sizeof(line);
    return GetCommState(handleOf(port), &line) != 0;
}

bool applyLine(std::intptr_t port, DCB& line) {
    return SetCommState(handleOf(port), &line) != 0;
}

// After a call that has just failed.
Transfer faultAfter(DWORD moved) {
    const DWORD error = GetLastError();
    const auto fault = error == ERROR_OPERATION_ABORTED ? Transfer::Fault::aborted //
                                                        : Transfer::Fault::failed;
    return {static_cast<int>(moved), fault, static_cast<std::int32_t>(error)};
}

} // namespace

// An invalid handle is -1 here too.
std::intptr_t openPort(const char* name) {
    return reinterpret_cast<std::intptr_t>(CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0,
                                                       nullptr, OPEN_EXISTING,
                                                       FILE_ATTRIBUTE_NORMAL, nullptr));
}

void closePort(std::intptr_t port) {
    CloseHandle(handleOf(port));
}

bool captureState(std::intptr_t port, PortState& state) {
    FoundState found;
    if (GetCommTimeouts(handleOf(port), &found.timeouts) == 0 || !getLine(port, found.line)) {
        return false;
    }
    std::memcpy(state.bytes, &found, sizeof(found));
    return true;
}

void restoreState(std::intptr_t port, const PortState& state) {
    FoundState found;
    std::memcpy(&found, state.bytes, sizeof(found));
    SetCommTimeouts(handleOf(port), &found.timeouts);
    applyLine(port, found.line);
}

bool setQueueSizes(std::intptr_t port, int receiveBytes, int sendBytes) {
    return SetupComm(handleOf(port), static_cast<DWORD>(receiveBytes),
                     static_cast<DWORD>(sendBytes)) != 0;
}

// Abort-on-error is off as well: with it, one framing error would fail every read until somebody
// clears it.
bool setRaw(std::intptr_t port) {
    DCB line;
    if (!getLine(port, line)) {
        return false;
    }
    line.fOutxDsrFlow = FALSE;
    line.fDtrControl = DTR_CONTROL_ENABLE;
    line.fOutX = FALSE;
    line.fInX = FALSE;
    line.fAbortOnError = FALSE;
    return applyLine(port, line);
}

bool setLine(std::intptr_t port, const LineFormat& format) {
    DCB line;
    if (!getLine(port, line)) {
        return false;
    }
    line.BaudRate = static_cast<DWORD>(format.baud);
    line.ByteSize = static_cast<BYTE>(format.dataBits);
    line.Parity = format.parity == LineFormat::Parity::odd    ? ODDPARITY
                  : format.parity == LineFormat::Parity::even ? EVENPARITY
                                                              : NOPARITY;
    line.StopBits = format.stopBits == 2 ? TWOSTOPBITS : ONESTOPBIT;
    line.fOutxCtsFlow = format.handshake ? TRUE : FALSE;
    line.fRtsControl = format.handshake ? RTS_CONTROL_HANDSHAKE : RTS_CONTROL_DISABLE;
    return applyLine(port, line);
}

bool getTimeouts(std::intptr_t port, PortTimeouts& timeouts) {
    COMMTIMEOUTS found;
    if (GetCommTimeouts(handleOf(port), &found) == 0) {
        return false;
    }
    timeouts = {static_cast<int>(found.WriteTotalTimeoutConstant),
                static_cast<int>(found.WriteTotalTimeoutMultiplier)};
    return true;
}

// The two largest values together mean: return with what is there, or wait the constant for the
// first byte.
bool setTimeouts(std::intptr_t port, const PortTimeouts& timeouts) {
    COMMTIMEOUTS wanted;
    wanted.ReadIntervalTimeout = MAXDWORD;
    wanted.ReadTotalTimeoutMultiplier = MAXDWORD;
    wanted.ReadTotalTimeoutConstant = static_cast<DWORD>(timeouts.constantMs);
    wanted.WriteTotalTimeoutMultiplier = static_cast<DWORD>(timeouts.writeMsPerByte);
    wanted.WriteTotalTimeoutConstant = static_cast<DWORD>(timeouts.constantMs);
    return SetCommTimeouts(handleOf(port), &wanted) != 0;
}

Transfer readPort(std::intptr_t port, char* buffer, int max) {
    DWORD got = 0;
    if (ReadFile(handleOf(port), buffer, static_cast<DWORD>(max), &got, nullptr) == 0) {
        return faultAfter(got);
    }
    return {static_cast<int>(got)};
}

Transfer writePort(std::intptr_t port, const char* bytes, int n) {
    DWORD put = 0;
    if (WriteFile(handleOf(port), bytes, static_cast<DWORD>(n), &put, nullptr) == 0) {
        return faultAfter(put);
    }
    return {static_cast<int>(put)};
}

void purgePort(std::intptr_t port, bool received, bool unsent) {
    const DWORD queues = (received ? PURGE_RXCLEAR : 0u) | (unsent ? PURGE_TXCLEAR : 0u);
    PurgeComm(handleOf(port), queues);
}

void clearFault(std::intptr_t port) {
    DWORD errors = 0;
    COMSTAT status;
    ClearCommError(handleOf(port), &errors, &status);
}

void setBreak(std::intptr_t port, bool on) {
    if (on) {
        SetCommBreak(handleOf(port));
    } else {
        ClearCommBreak(handleOf(port));
    }
}

// A port that cannot tell counts as one without a device.
bool dsrPresent(std::intptr_t port) {
    DWORD signals = 0;
    return GetCommModemStatus(handleOf(port), &signals) != 0 && (signals & MS_DSR_ON) != 0;
}

} // namespace protocol::platform
