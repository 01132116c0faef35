#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <morvalincore/Configurable.h>
#include <morvalincore/Data.h>
#include <morvalincore/Signal.h>
#include <morvalinstream/Export.h>

namespace Morvalin {

enum class StreamOperation : int;
class StreamOperations;
class StreamWorker;

/// A source of data that is opened, started, stopped and closed.
///
/// Operations and states:
/// - open:   Closed  -> Opening  -> openImpl()               -> Open, Closed if it fails
/// - start:  Open    -> Starting -> startImpl()              -> Running, Open if it fails
/// - stop:   Running -> Stopping -> worker ends, stopImpl()  -> Open, also if it fails
/// - close:  Open    -> Closing  -> closeImpl()              -> Closed, also if it fails
/// - pause:  Running -> Pausing  -> worker rests, pauseImpl() -> Paused, Running if it fails
/// - resume: Paused  -> Resuming -> resumeImpl()             -> Running, Paused if it fails
///
/// stop() works from Paused too, and close() stops a stream that is Running or Paused first. The
/// worker begins only in state Running. pause() and resume() need supportsPausing().
///
/// Results: an operation returns what its hook returned; a hook that throws has failed, with a log
/// line, and nothing that a hook or doWork() throws leaves the stream. An operation whose end is
/// already reached returns true and calls no hook: open() from Open to Stopping, start() when
/// Running, stop() when Open or Closed, close() when Closed, pause() when Paused, resume() when
/// Running. One that the state does not allow returns false, such as start() on a closed stream.
///
/// Threads: operations may be called from any thread. One runs at a time, the others wait in the
/// order in which they came. Asked from a slot or hook on the thread that runs an operation, or
/// from the worker itself, an operation is queued for a thread of the stream and the call returns
/// true at once instead of waiting for itself.
///
/// While a stream runs, its worker thread calls doWork() again and again, never at the same time as
/// a hook. State changes are announced, and data is handed out, with no lock of the stream held.
/// Receivers may run on any thread and must not block on the GUI thread. A receiver may ask for an
/// operation, but it must not wait for the future of openAsync() or closeAsync(): the operation's
/// turn comes when the receiver has returned.
///
/// Closing: close() and closeAsync() cancel the operations that are queued, except for other
/// closes; their result is false. close() waits for the one that runs and ends the worker.
///
/// Destruction: a class that implements the hooks calls closeForGood() first in its destructor,
/// while they still exist. Slots and hooks may go on asking for operations, which are refused;
/// other threads must not begin to any more, while calls that wait already return false. A stream
/// is not destroyed from one of its own slots, hooks or doWork().
class MORVALINSTREAM_EXPORT Stream : public Data, public Configurable {
public:
    enum State : int {
        Closed = 0,
        Opening = 1,
        Open = 2,
        Starting = 3,
        Running = 4,
        Pausing = 5,
        Paused = 6,
        Resuming = 7,
        Stopping = 8,
        Closing = 9
    };

    struct StateChange {
        State from;
        State to;
    };

    enum class ThreadingMode { OwnThread };

    /// What doWork() asks for: to be called again at a time of the system clock. The wait ends at
    /// once when the stream is stopped and is not disturbed by jumps of that clock.
    struct WorkContinuation {
        std::chrono::system_clock::time_point time;
        std::uint8_t callAgain; ///< 1: call again at that time; anything else ends the worker
    };

    explicit Stream(std::string name);
    ~Stream() override;
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    const std::string& name() const { return streamName; }
    /// The name by which the log tells what operations and worker write (Log::source()): name(),
    /// unless a host that has several streams of that name sets another before the first operation.
    const std::string& logName() const { return nameInLog; }
    void setLogName(std::string name) { nameInLog = std::move(name); }

    // Any thread, without waiting.
    State state() const { return currentState.load(); }
    bool isStateOneOf(std::initializer_list<State> states) const;

    virtual ThreadingMode threadingMode() const;
    /// True by default: openAsync() and closeAsync() are worth offering.
    virtual bool supportsAsyncOperation() const;
    /// False by default: pause() and resume() are refused.
    virtual bool supportsPausing() const;
    /// Puts a stream that has gone wrong back into its first condition; does nothing by default.
    virtual void reset();
    /// True when Starting or Running.
    virtual bool isRunning() const;
    /// Identifies the kind of stream in saved data.
    virtual std::string uuid() const = 0;
    /// Id of the controller that a host shows unless told otherwise; empty for none.
    virtual std::string createDefaultStreamController() const;

protected:
    // The hooks. Each returns success. Called on the thread of the operation, one at a time.
    virtual bool openImpl() = 0;
    virtual bool closeImpl() = 0;
    virtual bool startImpl() = 0;
    virtual bool stopImpl() = 0;
    virtual bool pauseImpl();
    virtual bool resumeImpl();
    virtual bool workerThreadRequiresOpenGl() const;
    /// One step of work on the worker thread, begun in state Running. An empty result ends the
    /// worker with a log line, as does an exception; the stream stays Running until it is stopped.
    virtual std::optional<WorkContinuation> doWork() = 0;
    /// True when doWork() goes on in state Paused; false by default.
    virtual bool worksWhilePaused() const;

    /// For destructors: closes the stream as close() does and takes no further operation: each
    /// returns false and calls no hook. Everything that is queued is cancelled. On return no thread
    /// is inside an operation. Further calls do nothing, so each class of a hierarchy may make one.
    void closeForGood();

public:
    bool open();
    bool start();
    bool stop();
    bool close();
    bool pause();
    bool resume();

    /// Like open() and close(), on a thread that the stream owns and joins. The future does not
    /// wait when it is dropped.
    std::future<bool> openAsync();
    std::future<bool> closeAsync();

    /// Every change of state, announced before the hook of the new state runs.
    Signal<void(const StateChange&)> stateChanged;
    /// Everything that the stream hands out while it runs, on the worker thread. Receivers share
    /// it. When some of them throw, the others are called all the same; then the first exception
    /// goes on to doWork(), which emitted the signal.
    Signal<void(const std::shared_ptr<const Data>&), CallEverySlotThenThrow> output;

private:
    friend class StreamOperations;
    friend class StreamWorker;

    bool perform(StreamOperation operation);
    bool performOpen();
    bool performStart();
    bool performStop();
    bool performClose();
    bool performPause();
    bool performResume();
    void changeState(State to);

    const std::string streamName;
    std::string nameInLog;
    std::atomic<State> currentState{Closed};
    std::unique_ptr<StreamWorker> streamWorker;
    std::unique_ptr<StreamOperations> streamOperations;
};

} // namespace Morvalin
