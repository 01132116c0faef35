#include "streams/internal/Diagnosis.h"

#include "protocol/device.h"

#include <boost/thread/lock_guard.hpp>

namespace Morvalin {
namespace {

void passOn(bool wasSent, const char* bytes, int length, void* connection) {
    static_cast<const NDIConnectionData*>(connection)
        ->traceSink(wasSent ? Diagnosable::Traffic::Sent : Diagnosable::Traffic::Received,
                    {bytes, static_cast<std::size_t>(length)});
}

} // namespace

std::string dumpDevice(const NDIConnectionData& connection) {
    const boost::lock_guard<std::mutex> lock(connection.releaseLock);
    if (connection.device == nullptr)
        return {};
    std::string text(deviceDumpState(connection.device, nullptr, 0) + 1, '\0');
    text.resize(deviceDumpState(connection.device, text.data(), text.size()));
    return text;
}

void traceDevice(NDIConnectionData& connection) {
    if (connection.traceSink)
        deviceSetTraceCallback(connection.device, passOn, &connection);
}

} // namespace Morvalin
