#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "session/StreamSession.h"

namespace Morvalin::App {

/// Runs streams side by side and hands their frames over until a limit is reached, nobody takes the
/// frames any more, or it is asked to end.
///
/// Every stream is opened and started on a thread of its own; the thread that runs them waits and
/// touches no stream meanwhile. A request to end takes effect when the hook that is running has
/// returned; further ones change nothing.
class SessionRunner {
public:
    struct Limits {
        std::optional<std::uint64_t> frames; ///< of each stream
        std::optional<double> seconds;       ///< from when all streams run that have not failed
    };

    /// Functions that are called on any thread.
    struct Receiver {
        /// Takes the frames; false ends the run.
        StreamSession::FrameReceiver frame;
        /// The run ends: a call of `frame` that waits for somebody is to return soon. May be called
        /// several times.
        std::function<void()> ending;
        /// A stream did not open or did not start; one line.
        std::function<void(const std::string& line)> failure;
    };

    /// `sessions` must outlive the runner, and so must what the receiver uses.
    SessionRunner(const Sessions& sessions, Limits limits, Receiver receiver);
    ~SessionRunner();
    SessionRunner(const SessionRunner&) = delete;
    SessionRunner& operator=(const SessionRunner&) = delete;

    /// Opens and starts the streams and returns when the run is over, with the streams as they are.
    void run();
    /// Ends the run. Any thread.
    void requestEnd();
    /// Returns when no stream is being opened or started any more.
    void waitForBringUp();
    /// Stops and closes all streams, side by side, and returns when they are closed.
    void close();

    /// Every stream ran.
    bool succeeded() const { return failures == 0; }

private:
    struct Run {
        StreamSession& session;
        std::future<void> bringUp;
        std::uint64_t framesTaken = 0; ///< on the stream's thread only
        bool isRunning = false;
        bool hasFailed = false;
        bool hasAllFrames = false;
    };

    void connect(Run& one);
    void launch(Run& one);
    bool countFrame(Run& one);
    void onBroughtUp(Run& one, StreamSession::Outcome outcome);
    bool allLive(bool Run::*property) const;
    bool isOver() const;

    const Limits limits;
    const Receiver receiver;
    std::atomic<bool> isEnding = false;
    std::atomic<int> failures = 0;

    std::mutex mutex; ///< of the flags of the runs
    std::condition_variable changed;
    std::vector<std::unique_ptr<Run>> runs;
};

} // namespace Morvalin::App
