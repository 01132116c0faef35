#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <morvalincore/Diagnosable.h>
#include <morvalincore/Properties.h>
#include <morvalincore/Signal.h>
#include <morvalinlib/PluginLoader.h>
#include <morvalinlib/StreamIoAlgorithm.h>
#include <morvalinstream/TrackingStreamData.h>

#include "session/SessionOptions.h"
#include "session/StreamActivity.h"

namespace Morvalin::App {

/// One algorithm of a workspace and its stream, from creation to destruction. Used by one thread,
/// except where noted.
class StreamSession {
public:
    enum class Outcome { Running, NotOpened, NotStarted, Cancelled };

    /// Takes a frame, on the stream's thread: the label of the stream, the number of the frame from
    /// 0, and the frame. False when no further frame is wanted.
    using FrameReceiver = std::function<bool(const std::string& label, std::uint64_t index,
                                             const TrackingStreamData& frame)>;

    /// Creates the algorithm that the block is named by, and its closed stream. The block outlives
    /// the session. Throws Refusal.
    StreamSession(const PluginLoader& plugins, Properties& block);

    /// Configures the stream from its block and from what the options add. Throws Refusal when a
    /// setting does not fit, with nothing configured.
    void configure(const SessionOptions& options);
    /// The current settings. Any thread; waits while the stream talks to its device.
    Properties configuration() const;
    /// Makes these the settings that a save writes, beside what the block says of more.
    void keep(const Properties& current);
    const Properties& block() const { return saved; }

    /// How many there are in the program. Any thread.
    static int count();

    /// The stream's name, or another that tells it from streams of the same name.
    const std::string& label() const { return uniqueName; }
    /// Before the stream is opened for the first time.
    void setLabel(const std::string& label);

    Algorithm& algorithm() const { return *made; }
    Stream& stream() const { return *openedStream; }
    /// What tells of the stream's device; null for a stream that cannot. Belongs to the stream.
    Diagnosable* diagnosable() const;
    /// What the stream is doing. Any thread.
    StreamStatus status() const { return watch->activity.status(); }

    /// Hands the frames over from now on.
    void connect(FrameReceiver frameReceiver);

    /// Opens and starts the stream unless it is asked to cancel in between. Any thread.
    Outcome bringUp(const std::atomic<bool>& cancelled) const;
    /// Opens the stream in the background and starts it then, if wanted.
    void bringUpLater(bool starts);
    /// Closes the stream in the background; nothing starts it any more by itself.
    std::future<bool> closeLater();

private:
    /// What the threads of the stream use; outlives the session while one of them still does.
    struct Watch {
        StreamActivity activity;
        std::atomic<bool> startsWhenOpen = false;
    };

    struct Counted {
        Counted();
        ~Counted();
    };

    void follow();
    void onOutput(const Data* data);

    const Counted counted;
    Properties& saved;
    std::shared_ptr<Watch> watch = std::make_shared<Watch>();
    std::unique_ptr<Algorithm> made;
    Stream* openedStream = nullptr; ///< belongs to the algorithm
    std::string uniqueName;

    // On the stream's thread only, once connected.
    FrameReceiver receiver;
    std::uint64_t frameCount = 0;
    bool isWanted = true;

    SignalConnections connections;
};

using Sessions = std::vector<std::unique_ptr<StreamSession>>;

} // namespace Morvalin::App
