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

#include "session/LogThrottle.h"
#include "session/SessionOptions.h"
#include "session/StreamWatch.h"

namespace Morvalin::App {

/// One algorithm of a workspace and its stream, from creation to destruction. Used by one thread,
/// except where noted.
class StreamSession {
public:
    enum class Outcome { Running, NotOpened, NotStarted, Cancelled };

    /// Takes a frame, on the stream's thread: the number of the frame from 0, and the frame. False
    /// when no further frame is wanted.
    using FrameReceiver = std::function<bool(std::uint64_t index, const TrackingStreamData& frame)>;

    /// Creates the algorithm that the block is named by, and its closed stream. The block outlives
    /// the session. Throws Refusal.
    StreamSession(const PluginLoader& plugins, Properties& block);

    /// Configures the stream from its block and from what the options add. Throws Refusal when a
    /// setting does not fit, with nothing configured.
    void configure(const SessionOptions& options);
    /// Configures the closed stream once more, from what configuration() said or configured() says.
    void restore(const Properties& settings);
    /// What it was last configured from.
    const Properties& configured() const { return given; }
    /// The settings that the stream's block can have.
    KnownSettings knownSettings() const { return {*openedStream, configuration()}; }
    /// The current settings. Any thread; waits while the stream talks to its device.
    Properties configuration() const;
    /// Makes these the settings that a save writes, beside what the block says of more.
    void keep(const Properties& current);
    const Properties& block() const { return saved; }

    /// How many there are in the program. Any thread.
    static int count();
    /// Takes a line of the log: an error is the reason for what happens to the stream that wrote it
    /// until its next frame. Any thread.
    static void noteLine(const LogLine& line);

    /// The stream's name, or another that tells it from streams of the same name.
    const std::string& label() const { return uniqueName; }
    /// Before the stream is opened for the first time.
    void setLabel(const std::string& label);

    Algorithm& algorithm() const { return *made; }
    Stream& stream() const { return *openedStream; }
    /// What tells of the stream's device; null for a stream that cannot. Belongs to the stream.
    Diagnosable* diagnosable() const;
    /// What the stream waits for at its device. Any thread.
    Diagnosable::Waiting waiting() const;

    /// What the stream is doing. Any thread.
    StreamStatus status() const { return shared->watch.status(); }
    /// Where it is found out and told what happens to the stream.
    StreamWatch& watch() const { return shared->watch; }
    /// Lets the watch notice that time passes; to be called a few times a second. Any thread.
    void tick() const;

    /// Hands the frames over from now on. While the stream is closed.
    void connect(FrameReceiver frameReceiver);

    /// Opens and starts the stream unless it is asked to cancel in between. Any thread.
    Outcome bringUp(const std::atomic<bool>& cancelled) const;
    /// Opens the stream in the background and starts it then, if wanted.
    void bringUpLater(bool starts);
    /// Closes the stream in the background; nothing starts it any more by itself.
    std::future<bool> closeLater();

private:
    /// What the threads of the stream use; outlives the session while one of them still does.
    struct Shared {
        void onOutput(const Data* data);

        StreamWatch watch;
        std::atomic<bool> startsWhenOpen = false;

        // On the stream's thread only, once connected.
        FrameReceiver receiver;
        std::uint64_t frameCount = 0;
        bool isWanted = true;
    };

    struct Listed {
        ~Listed();
        StreamWatch& watch;
    };

    void follow();

    Properties& saved;
    Properties given;
    std::shared_ptr<Shared> shared = std::make_shared<Shared>();
    const Listed listed{shared->watch};
    std::unique_ptr<Algorithm> made;
    Stream* openedStream = nullptr; ///< belongs to the algorithm
    std::string uniqueName;
    SignalConnections connections;
};

using Sessions = std::vector<std::unique_ptr<StreamSession>>;

} // namespace Morvalin::App
