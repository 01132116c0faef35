#include <morvalinstream/Stream.h>

#include <algorithm>
#include <exception>
#include <utility>

#include <morvalincore/LogText.h>

#include "StreamOperations.h"
#include "StreamWorker.h"

namespace Morvalin {
namespace {

bool logFailure(const Stream& stream, const char* hookName, const char* reason) {
    logText(Log::Error, "Stream", stream.name(), ": ", hookName, " failed: ", reason);
    return false;
}

/// Calls code of a derived class. What it throws counts as false and goes to the log.
template <class Hook>
bool succeeds(const Stream& stream, const char* hookName, Hook hook) {
    try {
        return hook();
    } catch (const std::exception& error) {
        return logFailure(stream, hookName, error.what());
    } catch (...) {
        return logFailure(stream, hookName, "an unknown exception");
    }
}

} // namespace

Stream::Stream(std::string name) :
    streamName(std::move(name)), nameInLog(streamName),
    streamWorker(std::make_unique<StreamWorker>(*this)),
    streamOperations(std::make_unique<StreamOperations>(*this, *streamWorker)) {}

Stream::~Stream() {
    if (state() != Closed)
        logText(Log::Error, "Stream", streamName, ": destroyed without being closed");
}

bool Stream::isStateOneOf(std::initializer_list<State> states) const {
    return std::find(states.begin(), states.end(), state()) != states.end();
}

Stream::ThreadingMode Stream::threadingMode() const {
    return ThreadingMode::OwnThread;
}
bool Stream::supportsAsyncOperation() const {
    return true;
}
bool Stream::supportsPausing() const {
    return false;
}
void Stream::reset() {}
bool Stream::isRunning() const {
    return isStateOneOf({Starting, Running});
}
std::string Stream::createDefaultStreamController() const {
    return {};
}
bool Stream::pauseImpl() {
    return true;
}
bool Stream::resumeImpl() {
    return true;
}
bool Stream::workerThreadRequiresOpenGl() const {
    return false;
}
bool Stream::worksWhilePaused() const {
    return false;
}

bool Stream::open() {
    return streamOperations->run(StreamOperation::Open);
}
bool Stream::start() {
    return streamOperations->run(StreamOperation::Start);
}
bool Stream::stop() {
    return streamOperations->run(StreamOperation::Stop);
}
bool Stream::close() {
    return streamOperations->run(StreamOperation::Close);
}
bool Stream::pause() {
    return streamOperations->run(StreamOperation::Pause);
}
bool Stream::resume() {
    return streamOperations->run(StreamOperation::Resume);
}
std::future<bool> Stream::openAsync() {
    return streamOperations->runAsync(StreamOperation::Open);
}
std::future<bool> Stream::closeAsync() {
    return streamOperations->runAsync(StreamOperation::Close);
}

void Stream::closeForGood() {
    streamOperations->closeForGood();
}

bool Stream::perform(StreamOperation operation) {
    const Log::Source source(nameInLog);
    switch (operation) {
    case StreamOperation::Open:
        return performOpen();
    case StreamOperation::Start:
        return performStart();
    case StreamOperation::Stop:
        return performStop();
    case StreamOperation::Close:
        return performClose();
    case StreamOperation::Pause:
        return performPause();
    case StreamOperation::Resume:
        return performResume();
    }
    return false;
}

void Stream::changeState(State to) {
    const State from = currentState.exchange(to);
    stateChanged(StateChange{from, to});
}

bool Stream::performOpen() {
    if (state() != Closed)
        return true;
    changeState(Opening);
    const bool isOpen = succeeds(*this, "openImpl", [this] { return openImpl(); });
    changeState(isOpen ? Open : Closed);
    return isOpen;
}

bool Stream::performStart() {
    if (state() != Open)
        return state() == Running;
    changeState(Starting);
    if (!streamWorker->prepare() || !succeeds(*this, "startImpl", [this] { return startImpl(); })) {
        streamWorker->finish();
        changeState(Open);
        return false;
    }
    changeState(Running);
    streamWorker->work();
    return true;
}

bool Stream::performStop() {
    if (!isStateOneOf({Running, Paused}))
        return true;
    changeState(Stopping);
    streamWorker->finish();
    const bool hasStopped = succeeds(*this, "stopImpl", [this] { return stopImpl(); });
    changeState(Open);
    return hasStopped;
}

bool Stream::performClose() {
    if (state() == Closed)
        return true;
    const bool hasStopped = performStop();
    changeState(Closing);
    const bool hasClosed = succeeds(*this, "closeImpl", [this] { return closeImpl(); });
    changeState(Closed);
    return hasStopped && hasClosed;
}

bool Stream::performPause() {
    if (state() != Running)
        return state() == Paused;
    if (!succeeds(*this, "supportsPausing", [this] { return supportsPausing(); }))
        return false;
    changeState(Pausing);
    streamWorker->rest();
    const bool isPaused = succeeds(*this, "pauseImpl", [this] { return pauseImpl(); });
    changeState(isPaused ? Paused : Running);
    if (!isPaused || succeeds(*this, "worksWhilePaused", [this] { return worksWhilePaused(); }))
        streamWorker->work();
    return isPaused;
}

bool Stream::performResume() {
    if (state() != Paused)
        return state() == Running;
    changeState(Resuming);
    streamWorker->rest();
    const bool isResumed = succeeds(*this, "resumeImpl", [this] { return resumeImpl(); });
    changeState(isResumed ? Running : Paused);
    if (isResumed || succeeds(*this, "worksWhilePaused", [this] { return worksWhilePaused(); }))
        streamWorker->work();
    return isResumed;
}

} // namespace Morvalin
