#include "app/SessionRunner.h"

#include <algorithm>
#include <chrono>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>

#include <morvalincore/Log.h>

#include "app/Refusal.h"

namespace Morvalin::App {

SessionRunner::SessionRunner(Sessions& sessions, const Options& options) :
    isJson(options.json), frameLimit(options.frames), secondsLimit(options.seconds),
    signals(events), timer(events) {
    for (const int signal : stopSignals())
        signals.add(signal);
    signals.async_wait([this](const boost::system::error_code& error, int) {
        if (!error)
            onSignal();
    });
    for (const std::unique_ptr<StreamSession>& session : sessions)
        slots.push_back(std::make_unique<Slot>(Slot{*session, {}}));
}

SessionRunner::~SessionRunner() {
    close();
}

void SessionRunner::run() {
    const auto work = boost::asio::make_work_guard(events);
    for (const auto& slot : slots)
        connect(*slot);
    for (const auto& slot : slots)
        launch(*slot);
    evaluate();
    events.run();
}

void SessionRunner::connect(Slot& slot) {
    slot.session.connect(isJson ? appendJsonFrame : appendReadableFrame,
                         [this, &slot](const std::string& text) { return print(slot, text); });
}

void SessionRunner::launch(Slot& slot) {
    slot.bringUp = std::async(std::launch::async, [this, &slot] {
        const StreamSession::Outcome outcome = slot.session.bringUp(isEnding);
        boost::asio::post(events, [this, &slot, outcome] { onBroughtUp(slot, outcome); });
    });
}

/// On the stream's thread.
bool SessionRunner::print(Slot& slot, const std::string& text) {
    if (isEnding)
        return false;
    if (!output.write(text)) {
        boost::asio::post(events, [this] { requestEnd(); });
        return false;
    }
    if (!frameLimit || ++slot.framesPrinted < *frameLimit)
        return true;
    boost::asio::post(events, [this, &slot] {
        slot.hasAllFrames = true;
        evaluate();
    });
    return false;
}

void SessionRunner::onSignal() {
    if (Log::isAccepted(Log::Information))
        Log::log(Log::Information, "Host", "Asked to end, closing the streams");
    requestEnd();
}

void SessionRunner::onBroughtUp(Slot& slot, StreamSession::Outcome outcome) {
    using Outcome = StreamSession::Outcome;
    slot.isRunning = outcome == Outcome::Running;
    slot.hasFailed = outcome == Outcome::NotOpened || outcome == Outcome::NotStarted;
    if (slot.hasFailed)
        reportFailure(slot.session.label() + (outcome == Outcome::NotOpened
                                                  ? ": the stream did not open"
                                                  : ": the stream did not start"));
    evaluate();
}

/// Decides whether the run is over or its time begins.
void SessionRunner::evaluate() {
    const auto allLive = [this](bool Slot::*property) {
        return std::all_of(slots.begin(), slots.end(),
                           [&](const auto& slot) { return slot->hasFailed || (*slot).*property; });
    };
    if (allLive(&Slot::hasFailed) || allLive(&Slot::hasAllFrames))
        requestEnd();
    else if (allLive(&Slot::isRunning))
        startTimer();
}

void SessionRunner::startTimer() {
    if (!secondsLimit || isTimerStarted)
        return;
    isTimerStarted = true;
    const std::chrono::duration<double> limit(*secondsLimit);
    timer.expires_after(std::chrono::duration_cast<std::chrono::steady_clock::duration>(limit));
    timer.async_wait([this](const boost::system::error_code& error) {
        if (!error)
            requestEnd();
    });
}

void SessionRunner::requestEnd() {
    isEnding = true;
    output.hurry();
    events.stop();
}

void SessionRunner::reportFailure(const std::string& line) {
    ++failures;
    printError(line);
}

void SessionRunner::waitForBringUp() {
    for (const auto& slot : slots)
        if (slot->bringUp.valid())
            slot->bringUp.wait();
}

void SessionRunner::close() {
    if (slots.empty())
        return;
    isEnding = true;
    output.hurry();
    std::vector<std::future<bool>> closings;
    for (const auto& slot : slots)
        closings.push_back(slot->session.stream().closeAsync());
    waitForBringUp();
    for (std::size_t i = 0; i < slots.size(); ++i)
        if (!closings[i].get() && Log::isAccepted(Log::Warning))
            Log::log(Log::Warning, "Host", slots[i]->session.label() + " did not close cleanly");
    slots.clear();
    if (!output.failure().empty())
        reportFailure("the frames could not be written: " + output.failure());
}

} // namespace Morvalin::App
