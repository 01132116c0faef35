#pragma once

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include "app/FrameOutput.h"
#include "app/StreamSession.h"

namespace Morvalin::App {

using Sessions = std::vector<std::unique_ptr<StreamSession>>;

/// Runs streams side by side and prints their frames until a limit is reached, nobody reads the
/// frames any more, or the program is asked to end.
///
/// Every stream is opened and started on a thread of its own; the main thread waits for events and
/// touches no stream meanwhile. A request to end takes effect when the hook that is running has
/// returned; further ones change nothing.
class SessionRunner {
public:
    /// `sessions` must outlive the runner.
    SessionRunner(Sessions& sessions, const Options& options);
    ~SessionRunner();
    SessionRunner(const SessionRunner&) = delete;
    SessionRunner& operator=(const SessionRunner&) = delete;

    /// Opens and starts the streams and returns when the run is over, with the streams as they are.
    void run();
    /// Returns when no stream is being opened or started any more.
    void waitForBringUp();
    /// Stops and closes all streams, side by side, and returns when they are closed.
    void close();

    /// Every stream ran and every frame could be written.
    bool succeeded() const { return failures == 0; }

private:
    struct Slot {
        StreamSession& session;
        std::future<void> bringUp;
        std::uint64_t framesPrinted = 0; ///< on the stream's thread only
        bool isRunning = false;
        bool hasFailed = false;
        bool hasAllFrames = false;
    };

    void connect(Slot& slot);
    void launch(Slot& slot);
    bool print(Slot& slot, const std::string& text);
    void onSignal();
    void onBroughtUp(Slot& slot, StreamSession::Outcome outcome);
    void evaluate();
    void startTimer();
    void requestEnd();
    void reportFailure(const std::string& line);

    const bool isJson;
    const std::optional<std::uint64_t> frameLimit;
    const std::optional<double> secondsLimit;

    boost::asio::io_context events;
    boost::asio::signal_set signals;
    boost::asio::steady_timer timer;
    bool isTimerStarted = false;
    std::atomic<bool> isEnding = false;
    int failures = 0;

    FrameOutput output;
    std::vector<std::unique_ptr<Slot>> slots;
};

} // namespace Morvalin::App
