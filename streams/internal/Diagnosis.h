#pragma once

#include <string>

#include "streams/NDIConnectionData.h"
#include "streams/internal/LogText.h"

/// What a connection tells for a report. The caller holds the connection lock, or nobody else uses
/// the connection.
namespace Morvalin {

/// The device's stored replies; empty without a device.
std::string dumpDevice(const NDIConnectionData& connection);

/// Shows the traffic of a device that was just opened to the connection's trace sink, if there is
/// one.
void traceDevice(NDIConnectionData& connection);

/// Adds a remark to the trace. Nothing is built when nobody traces.
template <class... Pieces>
void traceNote(const NDIConnectionData& connection, const Pieces&... pieces) {
    if (!connection.traceSink)
        return;
    std::string text;
    (appendPiece(text, pieces), ...);
    connection.traceSink(Diagnosable::Traffic::Note, text);
}

} // namespace Morvalin
