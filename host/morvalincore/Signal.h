#pragma once

#include <vector>

#include <boost/signals2/connection.hpp>
#include <boost/signals2/signal.hpp>

namespace Morvalin {

/// A typed notification: Signal<void(const Event&)>. Slots may be connected and the signal emitted
/// on any thread; slots run on the emitting thread, and no lock of the host is held meanwhile.
template <class Signature>
using Signal = boost::signals2::signal<Signature>;

/// Disconnects when destroyed. Disconnecting does not wait for a slot that is already running.
using SignalConnection = boost::signals2::scoped_connection;

/// Connections that end together, such as those of one panel.
class SignalConnections {
public:
    void add(const boost::signals2::connection& connection) {
        connections.emplace_back(connection);
    }
    void disconnectAll() { connections.clear(); }
    bool empty() const { return connections.empty(); }

private:
    std::vector<SignalConnection> connections;
};

} // namespace Morvalin
