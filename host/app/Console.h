#pragma once

#include <functional>
#include <string>
#include <thread>

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

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

/// Waits on a thread of its own for the signals that ask a program to end, such as Ctrl-C. The
/// first one is a request; the second one ends the process at once, with a line and status
/// EndedAtOnce. Those that come together with the first belong to it: some programs send a signal
/// to a process and to its group.
class StopRequest {
public:
    /// Both are called on that thread: `onRequest` for the first signal, and `beforeEnd` before the
    /// process ends. They must not wait for a stream.
    explicit StopRequest(
        std::function<void()> onRequest, std::function<void()> beforeEnd = [] {});
    ~StopRequest();
    StopRequest(const StopRequest&) = delete;
    StopRequest& operator=(const StopRequest&) = delete;

private:
    enum class Stage { Waiting, Gathering, Requested };

    void await();
    void onSignal();

    const std::function<void()> request;
    const std::function<void()> last;
    Stage stage = Stage::Waiting; ///< on the thread only
    boost::asio::io_context events;
    boost::asio::signal_set ending;
    boost::asio::steady_timer gathering;
    std::thread thread;
};

} // namespace Morvalin::App
