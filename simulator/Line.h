#pragma once

#include "simulator/SimulatorOptions.h"

#include <boost/asio/io_context.hpp>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace ndisim {

/// What a line reports, on the thread that runs its io_context.
class LineListener {
public:
    virtual ~LineListener() = default;
    virtual void onConnected() = 0;
    virtual void onReceived(std::string_view bytes) = 0;
    virtual void onBreak() = 0;
    virtual void onIgnored(std::size_t bytes) = 0;   ///< the host is at another rate
    virtual void onEvent(std::string_view text) = 0; ///< for the trace

    /// Whether the host has a reason to send a break, in the device's eyes.
    virtual bool isBreakLikely() const = 0;
};

/// The connection to the host. All members are called on the thread that runs the io_context, or
/// before it runs.
class Line {
public:
    virtual ~Line() = default;

    /// Throws StartError.
    virtual void open() = 0;
    /// Ends everything; no report comes afterwards.
    virtual void shut() = 0;

    virtual std::string address() const = 0;
    virtual std::uint16_t port() const { return 0; }
    virtual bool isConnected() const = 0;

    /// Sends bytes; `done` is called (never from inside this call) when they are gone or lost.
    virtual void write(std::string bytes, std::function<void()> done) = 0;

    virtual void setLink(const LinkSettings&) {}

    virtual void disconnect() = 0; ///< the next connection is served at once
    virtual void stall() = 0;      ///< neither reads nor writes
    virtual void resume() = 0;     ///< throws away what came while stalled
    virtual void unplug() = 0;
    virtual void replug() = 0; ///< throws StartError
};

std::unique_ptr<Line> makeTcpLine(boost::asio::io_context& context, LineListener& listener,
                                  std::uint16_t port);

/// Not in programs for systems without pseudo-terminals.
std::unique_ptr<Line> makePtyLine(boost::asio::io_context& context, LineListener& listener,
                                  const std::filesystem::path& link);

} // namespace ndisim
