#include "session/SessionRunner.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <morvalincore/LogText.h>

namespace Morvalin::App {

namespace {

constexpr double longestRun = 1e9; ///< s: some thirty years, which every clock can count

} // namespace

SessionRunner::SessionRunner(const Sessions& sessions, Limits runLimits, Receiver runReceiver) :
    limits(runLimits), receiver(std::move(runReceiver)) {
    for (const std::unique_ptr<StreamSession>& session : sessions)
        runs.push_back(std::make_unique<Run>(Run{*session, {}}));
}

SessionRunner::~SessionRunner() {
    close();
}

void SessionRunner::run() {
    for (const auto& one : runs)
        connect(*one);
    for (const auto& one : runs)
        launch(*one);
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return isOver() || (limits.seconds && allLive(&Run::isRunning)); });
    if (limits.seconds)
        changed.wait_for(lock, std::chrono::duration<double>(std::min(*limits.seconds, longestRun)),
                         [this] { return isOver(); });
    lock.unlock();
    requestEnd();
}

void SessionRunner::connect(Run& one) {
    one.session.connect(
        [this, &one](const std::string& label, std::uint64_t index, const auto& frame) {
            if (isEnding)
                return false;
            if (receiver.frame(label, index, frame))
                return countFrame(one);
            requestEnd();
            return false;
        });
}

void SessionRunner::launch(Run& one) {
    one.bringUp = std::async(std::launch::async,
                             [this, &one] { onBroughtUp(one, one.session.bringUp(isEnding)); });
}

/// False when the stream has as many as are wanted.
bool SessionRunner::countFrame(Run& one) {
    if (!limits.frames || ++one.framesTaken < *limits.frames)
        return true;
    const std::lock_guard lock(mutex);
    one.hasAllFrames = true;
    changed.notify_all();
    return false;
}

void SessionRunner::onBroughtUp(Run& one, StreamSession::Outcome outcome) {
    using Outcome = StreamSession::Outcome;
    const std::lock_guard lock(mutex);
    if (isEnding)
        return;
    one.isRunning = outcome == Outcome::Running;
    one.hasFailed = outcome == Outcome::NotOpened || outcome == Outcome::NotStarted;
    if (one.hasFailed) {
        ++failures;
        receiver.failure(one.session.label() + (outcome == Outcome::NotOpened
                                                    ? ": the stream did not open"
                                                    : ": the stream did not start"));
    }
    changed.notify_all();
}

/// Of the streams that have not failed.
bool SessionRunner::allLive(bool Run::*property) const {
    return std::all_of(runs.begin(), runs.end(),
                       [&](const auto& one) { return one->hasFailed || (*one).*property; });
}

bool SessionRunner::isOver() const {
    return isEnding || allLive(&Run::hasFailed) || allLive(&Run::hasAllFrames);
}

void SessionRunner::requestEnd() {
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
        changed.notify_all();
    }
    receiver.ending();
}

void SessionRunner::waitForBringUp() {
    for (const auto& one : runs)
        if (one->bringUp.valid())
            one->bringUp.wait();
}

void SessionRunner::close() {
    if (runs.empty())
        return;
    requestEnd();
    std::vector<std::future<bool>> closings;
    for (const auto& one : runs)
        closings.push_back(one->session.closeLater());
    waitForBringUp();
    for (std::size_t i = 0; i < runs.size(); ++i)
        if (!closings[i].get())
            logText(Log::Warning, "Host", runs[i]->session.label(), " did not close cleanly");
    runs.clear();
}

} // namespace Morvalin::App
