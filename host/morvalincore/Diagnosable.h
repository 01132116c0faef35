#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include <morvalincore/Export.h>

namespace Morvalin {

/// Something that can tell what passes between it and a device, for a report that a user sends. A
/// stream that can, derives from this class beside its own base; a host finds out by a dynamic_cast
/// and need not know more of the stream.
class MORVALINCORE_EXPORT Diagnosable {
public:
    enum class Traffic {
        Sent,     ///< the bytes of one command
        Received, ///< the bytes of one reply; none: it did not come, or not whole
        Dropped,  ///< bytes that came too late for the command that they answer
        Note      ///< a text: something that was done to the connection
    };

    /// Called on whichever thread talks to the device, one call at a time for each object. It must
    /// neither throw nor call back into the object.
    using TraceSink = std::function<void(Traffic kind, std::string_view bytes)>;

    virtual ~Diagnosable();

    /// Everything that is known of the device now; empty without a device. Any thread; waits for an
    /// exchange with the device that is under way.
    virtual std::string stateDump() = 0;

    /// Sets or (with an empty function) removes the receiver of the traffic. Any thread, at any
    /// time, a connected device's traffic included; waits for an exchange with the device that is
    /// under way, or for as long as the stream takes to open. On return the receiver before it is
    /// not running and is not called any more. Without one, tracing costs nothing.
    virtual void setTraceSink(TraceSink sink) = 0;

    struct Waiting {
        std::string what;               ///< for people, such as "COM3"; empty: for nothing
        std::chrono::seconds atMost{0}; ///< 0: not known
    };

    /// What at its device the object waits for, or would have to if it were closed now, and how
    /// long that takes with a device that has fallen silent. Any thread, at once. For nothing by
    /// default.
    virtual Waiting waiting() const;
};

} // namespace Morvalin
