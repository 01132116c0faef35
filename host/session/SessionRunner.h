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

#include "session/Refusal.h"
#include "session/StreamKeeper.h"
#include "session/ToolWatch.h"

namespace Morvalin::App {

/// Runs streams side by side and hands their frames over until a limit is reached, a stream stands
/// still for too long, nobody takes the frames any more, or it is asked to end.
///
/// Every stream is brought up on a thread of its own; the thread that runs them waits and touches
/// no stream meanwhile. A request to end takes effect when the hook that is running has returned;
/// further ones change nothing.
class SessionRunner {
public:
    /// What ends the run, and what is done about streams that do not hand out frames.
    struct Plan {
        std::optional<std::uint64_t> frames; ///< of each stream
        std::optional<double> seconds; ///< from when every stream runs or has failed to come up
        std::optional<double> stall;   ///< seconds in which a stream hands out no frame
        /// Seconds without a frame after which a stream is closed and opened again. Without, none
        /// is, nor one that does not come up.
        std::optional<double> reconnect;
    };

    /// Functions that are called on any thread.
    struct Receiver {
        /// Takes the frames; false ends the run.
        std::function<bool(const std::string& label, std::uint64_t index,
                           const TrackingStreamData& frame)>
            frame;
        /// Takes what else happens to the streams.
        std::function<void(const std::string& label, const StreamEvent& event)> event;
        /// The run ends: a call of `frame` or `event` that waits for somebody is to return soon.
        /// May be called several times.
        std::function<void()> ending;
        /// Something was not to be had from a stream; one line.
        std::function<void(const std::string& line)> failure;
    };

    /// `sessions` must outlive the runner, and so must what the receiver uses.
    SessionRunner(const Sessions& sessions, Plan runPlan, Receiver receiver);
    ~SessionRunner();
    SessionRunner(const SessionRunner&) = delete;
    SessionRunner& operator=(const SessionRunner&) = delete;

    /// Brings the streams up and returns when the run is over, with the streams as they are.
    void run();
    /// Ends the run. Any thread, without waiting for a stream.
    void requestEnd() { end(Cause::Asked); }
    /// The run ended because of that.
    bool wasAskedToEnd() const { return cause == Cause::Asked; }
    /// Returns when no stream is being brought up any more.
    void waitForBringUp();
    /// Stops and closes all streams, side by side, and returns when they are closed. Tells of
    /// streams that did not give what they were to.
    void close();

    /// Of a run that is closed: Done, StreamFailed or Stalled.
    ExitStatus status() const;

private:
    enum class Cause { None, Limit, Stall, Unread, Asked };

    struct Run {
        explicit Run(StreamSession& used) : session(used) {}

        StreamSession& session;
        std::future<void> keeping;
        ToolWatch tools;               ///< on the stream's thread only
        std::uint64_t framesTaken = 0; ///< likewise
        std::atomic<bool> isSettled = false;
        std::atomic<bool> hasFailed = false;
        std::atomic<bool> hasAllFrames = false;
        StreamStatus atEnd;
    };

    void connect(Run& one);
    void launch(Run& one);
    bool takeFrame(Run& one, std::uint64_t index, const TrackingStreamData& frame);
    void onSettled(Run& one, StreamSession::Outcome outcome);
    void fail(Run& one, const std::string& reason);
    void end(Cause why);
    bool isEndingWithin(StreamKeeper::Seconds time);
    void watch();
    void checkStall(const Run& one);
    bool allLive(std::atomic<bool> Run::*property) const;
    bool isOver() const;
    std::string shortfall(const Run& one) const;

    const Plan plan;
    const Receiver receiver;
    std::atomic<bool> isEnding = false;
    std::atomic<Cause> cause = Cause::None;
    std::atomic<int> failures = 0;
    bool isClosed = false;

    std::mutex mutex; ///< for changes that are waited for
    std::condition_variable changed;
    std::vector<std::unique_ptr<Run>> runs;
    std::future<void> watching;
};

} // namespace Morvalin::App
