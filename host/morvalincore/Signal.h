#pragma once

#include <exception>
#include <vector>

#include <boost/signals2/connection.hpp>
#include <boost/signals2/signal.hpp>

#include <morvalincore/Export.h>

namespace Morvalin {

/// Logs the exception that is being handled as one of a signal's receiver, category "Signal".
MORVALINCORE_EXPORT void logFailedReceiver() noexcept;

/// Calls every slot of a signal. One that throws is logged and keeps neither the others nor the
/// emitter from going on.
struct CallEverySlot {
    using result_type = void;

    template <class Iterator>
    void operator()(Iterator slot, Iterator end) const {
        for (; slot != end; ++slot) {
            try {
                *slot;
            } catch (...) {
                logFailedReceiver();
            }
        }
    }
};

/// Calls every slot of a signal, then throws what the first one that failed has thrown. Failures of
/// others are logged.
struct CallEverySlotThenThrow {
    using result_type = void;

    template <class Iterator>
    void operator()(Iterator slot, Iterator end) const {
        std::exception_ptr first;
        for (; slot != end; ++slot) {
            try {
                *slot;
            } catch (...) {
                if (first)
                    logFailedReceiver();
                else
                    first = std::current_exception();
            }
        }
        if (first)
            std::rethrow_exception(first);
    }
};

/// A typed notification: Signal<void(const Event&)>. Slots may be connected and the signal emitted
/// on any thread; slots run on the emitting thread, and no lock of the host is held meanwhile. What
/// a slot throws is logged and does not reach the emitter, unless the signal names another way to
/// call them.
template <class Signature, class Call = CallEverySlot>
using Signal = boost::signals2::signal<Signature, Call>;

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
