#include "session/SessionRunner.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include <morvalincore/LogText.h>

#include "session/EventText.h"

namespace Morvalin::App {

namespace {

using Seconds = StreamKeeper::Seconds;

constexpr Seconds longestRun{1e9}; ///< some thirty years, which every clock can count
constexpr Seconds watchPeriod{0.1};

/// A gap at the end of a run in which errors came counts from here on, before the stream would
/// otherwise be called stalled.
constexpr Seconds lostAfter{1.0};

std::optional<Seconds> secondsOf(const std::optional<double>& number) {
    return number ? std::optional(std::min(Seconds(*number), longestRun)) : std::nullopt;
}

} // namespace

SessionRunner::SessionRunner(const Sessions& sessions, Plan runPlan, Receiver runReceiver) :
    plan(runPlan), receiver(std::move(runReceiver)) {
    for (const std::unique_ptr<StreamSession>& session : sessions)
        runs.push_back(std::make_unique<Run>(*session));
    for (const auto& one : runs)
        connect(*one);
}

SessionRunner::~SessionRunner() {
    close();
}

void SessionRunner::run() {
    for (const auto& one : runs)
        launch(*one);
    watching = std::async(std::launch::async, [this] { watch(); });
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return isOver() || (plan.seconds && allLive(&Run::isSettled)); });
    if (plan.seconds)
        changed.wait_for(lock, *secondsOf(plan.seconds), [this] { return isOver(); });
    lock.unlock();
    end(Cause::Limit);
    for (const auto& one : runs)
        one->atEnd = one->session.status();
}

void SessionRunner::connect(Run& one) {
    StreamWatch& watch = one.session.watch();
    watch.setReceiver(
        [this, &one](const StreamEvent& event) { receiver.event(one.session.label(), event); });
    watch.setPatience(std::min({Seconds(StreamCondition::usualPatience),
                                secondsOf(plan.stall).value_or(longestRun),
                                secondsOf(plan.reconnect).value_or(longestRun)}));
    one.session.connect([this, &one](std::uint64_t index, const TrackingStreamData& frame) {
        return takeFrame(one, index, frame);
    });
}

void SessionRunner::launch(Run& one) {
    one.keeping = std::async(std::launch::async, [this, &one] {
        StreamKeeper keeper(one.session,
                            {isEnding, [this](Seconds time) { return isEndingWithin(time); },
                             [&](StreamSession::Outcome outcome) { onSettled(one, outcome); },
                             [&] { return !one.hasAllFrames; }});
        try {
            keeper.keepUp(secondsOf(plan.reconnect));
        } catch (const std::exception& exception) {
            fail(one, exception.what());
        }
    });
}

/// False when the stream has as many as are wanted.
bool SessionRunner::takeFrame(Run& one, std::uint64_t index, const TrackingStreamData& frame) {
    if (isEnding)
        return false;
    for (StreamEvent& change : one.tools.onFrame(frame))
        one.session.watch().tell(std::move(change));
    if (!receiver.frame(one.session.label(), index, frame)) {
        end(Cause::Unread);
        return false;
    }
    if (!plan.frames || ++one.framesTaken < *plan.frames)
        return true;
    const std::lock_guard lock(mutex);
    one.hasAllFrames = true;
    changed.notify_all();
    return false;
}

void SessionRunner::onSettled(Run& one, StreamSession::Outcome outcome) {
    using Outcome = StreamSession::Outcome;
    const bool isBad = outcome == Outcome::NotOpened || outcome == Outcome::NotStarted;
    if (isBad && !plan.reconnect && !isEnding)
        return fail(one, outcome == Outcome::NotOpened ? "the stream did not open"
                                                       : "the stream did not start");
    const std::lock_guard lock(mutex);
    one.isSettled = true;
    changed.notify_all();
}

/// Nothing more is to be expected of the stream.
void SessionRunner::fail(Run& one, const std::string& reason) {
    ++failures;
    receiver.failure(one.session.label() + ": " + reason);
    const std::lock_guard lock(mutex);
    one.hasFailed = true;
    changed.notify_all();
}

/// Looks after all streams until the end.
void SessionRunner::watch() {
    while (!isEndingWithin(watchPeriod))
        for (const auto& one : runs)
            if (!one->hasAllFrames) {
                one->session.tick();
                checkStall(*one);
            }
}

void SessionRunner::checkStall(const Run& one) {
    if (!plan.stall || one.hasFailed || one.session.status().gap < *secondsOf(plan.stall))
        return;
    receiver.failure(one.session.label() + ": ends the run, no data for " +
                     secondsText(*plan.stall));
    end(Cause::Stall);
}

/// Of the streams that have not failed.
bool SessionRunner::allLive(std::atomic<bool> Run::*property) const {
    return std::all_of(runs.begin(), runs.end(),
                       [&](const auto& one) { return one->hasFailed || (*one).*property; });
}

bool SessionRunner::isOver() const {
    return isEnding || allLive(&Run::hasFailed) || allLive(&Run::hasAllFrames);
}

/// The first cause counts.
void SessionRunner::end(Cause why) {
    {
        const std::lock_guard lock(mutex);
        if (!isEnding.exchange(true))
            cause = why;
        changed.notify_all();
    }
    receiver.ending();
}

bool SessionRunner::isEndingWithin(Seconds time) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, time, [this] { return isEnding.load(); });
}

void SessionRunner::waitForBringUp() {
    for (const auto& one : runs)
        if (one->keeping.valid())
            one->keeping.wait();
}

void SessionRunner::close() {
    if (std::exchange(isClosed, true))
        return;
    end(Cause::Limit);
    std::vector<std::future<bool>> closings;
    for (const auto& one : runs)
        closings.push_back(one->session.closeLater());
    waitForBringUp();
    if (watching.valid())
        watching.wait();
    for (std::size_t i = 0; i < runs.size(); ++i) {
        StreamSession& session = runs[i]->session;
        // A keeper that had just looked whether it may go on has opened the stream behind that.
        const bool hasClosed = session.stream().close();
        if (!closings[i].get() || !hasClosed)
            logText(Log::Warning, "Host", session.label(), " did not close cleanly");
        if (const std::string line = shortfall(*runs[i]); !line.empty()) {
            ++failures;
            receiver.failure(session.label() + ": " + line);
        }
        session.watch().setReceiver({});
    }
}

/// What the stream was to give and did not, as far as that was not told yet; once it is closed.
std::string SessionRunner::shortfall(const Run& one) const {
    const bool wasRun = one.keeping.valid();
    if (!wasRun || one.hasFailed || one.hasAllFrames || cause == Cause::Stall)
        return {};
    const StreamStatus& end = one.atEnd;
    const std::string reason = one.session.status().reason;
    const bool isLost = cause == Cause::Limit && end.gap >= lostAfter && !reason.empty();
    const bool lacksAll = end.frames == 0 && cause == Cause::Limit;
    if (!end.isStalled && !isLost && !lacksAll)
        return {};
    const std::string line = end.frames == 0
                                 ? "there was no data"
                                 : "no data for the last " + secondsText(Seconds(end.gap).count());
    return reason.empty() ? line : line + ": " + reason;
}

ExitStatus SessionRunner::status() const {
    if (cause == Cause::Stall)
        return Stalled;
    return failures == 0 ? Done : StreamFailed;
}

} // namespace Morvalin::App
