#pragma once

#include <functional>
#include <string>
#include <thread>

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include "session/LogThrottle.h"

namespace Morvalin::App {

/// Writes one line to standard error, the program's name in front. Line ends within the text become
/// blanks.
void printError(const std::string& line);

/// Writes one line of the log to standard error, as "[L] CATEGORY: text" and with the UTC time in
/// front if wanted. Line ends within the text become blanks.
void printLogLine(const LogLine& line, bool withTime);

/// Writes a text to standard output. Throws Refusal, with `what` it was that could not be written.
/// That nobody reads it is no failure.
void print(const std::string& text, const std::string& what);

/// Waits on a thread of its own for the signals that ask a program to end, such as Ctrl-C.
class StopRequest {
public:
    /// `onRequest` is called for the first signal, on that thread; further ones change nothing.
    explicit StopRequest(std::function<void()> onRequest);
    ~StopRequest();
    StopRequest(const StopRequest&) = delete;
    StopRequest& operator=(const StopRequest&) = delete;

private:
    boost::asio::io_context events;
    boost::asio::signal_set ending;
    std::thread thread;
};

} // namespace Morvalin::App
