#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include <morvalincore/Diagnosable.h>
#include <morvalincore/Signal.h>
#include <morvalinlib/PluginLoader.h>
#include <morvalinlib/StreamIoAlgorithm.h>

#include "app/FrameFormat.h"
#include "app/Options.h"

namespace Morvalin::App {

/// One algorithm and its stream from creation to destruction. Used by the main thread, except where
/// noted.
class StreamSession {
public:
    enum class Outcome { Running, NotOpened, NotStarted, Cancelled };

    /// Takes each frame as text, on the stream's thread; the text is valid during the call. False
    /// when no further frame is wanted.
    using FrameReceiver = std::function<bool(const std::string& text)>;

    /// Creates the algorithm and its closed stream. Throws Refusal.
    StreamSession(const PluginLoader& plugins, const std::string& algorithmId);

    /// Configures the stream from a workspace block (or an empty one) and from what the command
    /// line adds to it. Throws Refusal when a setting does not fit, with nothing configured.
    void configure(const Properties& block, const Options& options);

    /// The stream's name, or another that tells it from streams of the same name.
    const std::string& label() const { return uniqueName; }
    void setLabel(std::string label) { uniqueName = std::move(label); }

    Stream& stream() const { return *openedStream; }

    /// Hands the frames over from now on.
    void connect(AppendFrame format, FrameReceiver receiver);

    /// Opens and starts the stream unless it is asked to cancel in between. Any thread.
    Outcome bringUp(const std::atomic<bool>& cancelled) const;

    /// What tells of the stream's device; null for a stream that cannot. Belongs to the stream.
    Diagnosable* diagnosable() const;

    /// Writes the current settings.
    void save(Properties& block) const;

private:
    void onOutput(const Data* data);

    std::unique_ptr<Algorithm> algorithm;
    Stream* openedStream = nullptr; ///< belongs to the algorithm
    std::string uniqueName;

    // On the stream's thread only, once connected.
    AppendFrame format = nullptr;
    FrameReceiver receiver;
    std::string text; ///< kept, so that a frame needs no new memory
    std::uint64_t frameCount = 0;
    bool isWanted = true;

    SignalConnection outputConnection;
};

} // namespace Morvalin::App
