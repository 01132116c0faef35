#include "app/Commands.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stdexcept>

#include <morvalincore/LogText.h>

#include "app/Console.h"
#include "app/OutputFiles.h"
#include "app/OutputSet.h"
#include "outputs/Recording.h"
#include "session/Refusal.h"

namespace Morvalin::App {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr Seconds longestPlay{1e9}; ///< some thirty years, which every clock can count

/// Waits between recorded lines as long as passed between them, divided by the speed.
class Pace {
public:
    explicit Pace(double playSpeed) : speed(playSpeed) {}

    /// Waits until it is time for a line with that time stamp. False when play is to end.
    bool waitFor(std::int64_t timestamp) {
        advanceTo(timestamp);
        const Seconds due = std::min(recorded / speed, longestPlay);
        std::unique_lock lock(mutex);
        changed.wait_until(lock, start + std::chrono::duration_cast<Clock::duration>(due),
                           [this] { return isEnding; });
        return !isEnding;
    }

    /// Any thread.
    void end() {
        const std::lock_guard lock(mutex);
        isEnding = true;
        changed.notify_all();
    }

private:
    /// Several streams, and events among frames, are a little out of order; a clock that was set
    /// back is not.
    void advanceTo(std::int64_t timestamp) {
        constexpr std::int64_t disorder = 5000; // milliseconds
        if (!newest || timestamp < *newest - disorder)
            newest = timestamp;
        recorded += std::chrono::milliseconds(std::max<std::int64_t>(0, timestamp - *newest));
        newest = std::max(*newest, timestamp);
    }

    const double speed;
    const Clock::time_point start = Clock::now();
    Seconds recorded{0}; ///< from the first line on
    std::optional<std::int64_t> newest;

    std::mutex mutex; ///< of what follows
    std::condition_variable changed;
    bool isEnding = false;
};

/// A file that turns out to be no recording ends the command.
template <class Function>
auto orRefuse(const Function& function) {
    try {
        return function();
    } catch (const std::runtime_error& fault) {
        throw Refusal(FileRefused, fault.what());
    }
}

} // namespace

int playRecording(const Options& options) {
    checkOutputFiles(options);
    Recording recording = orRefuse([&] { return Recording(options.subject); });
    const auto next = [&] { return orRefuse([&] { return recording.next(); }); };
    std::optional<RecordedLine> line = next();
    OutputSet outputs(options);
    Pace pace(options.speed);
    const auto end = [&] {
        pace.end();
        outputs.hurry();
    };
    const StopRequest stop(end, [&] { outputs.stopForGood(); });
    bool isWanted = true;
    for (; line && isWanted && pace.waitFor(line->timestamp()); line = next()) {
        if (line->frame)
            isWanted = outputs.frames().take(line->stream, line->index, *line->frame);
        else
            outputs.frames().note(line->stream, line->event);
    }
    if (recording.isBrokenOff())
        logText(Log::Warning, "Host", options.subject, ":", recording.lineNumber(),
                ": the recording broke off here; the lines before were played");
    return outputs.finish() ? Done : StreamFailed;
}

} // namespace Morvalin::App
