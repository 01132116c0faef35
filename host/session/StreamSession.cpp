#include "session/StreamSession.h"

#include <algorithm>
#include <exception>
#include <map>
#include <mutex>
#include <utility>

#include <boost/algorithm/string/join.hpp>

#include <morvalincore/Log.h>

#include "session/Refusal.h"
#include "session/SavedSettings.h"
#include "session/Suggestion.h"

namespace Morvalin::App {

namespace {

[[noreturn]] void refuseUnmade(const PluginLoader& plugins, const std::string& id) {
    std::vector<std::string> known;
    for (const AlgorithmFactory::Descriptor& descriptor : plugins.algorithms())
        known.push_back(descriptor.id);
    if (std::find(known.begin(), known.end(), id) != known.end())
        throw Refusal(StreamFailed, id + ": the algorithm could not be created");
    const std::string hint = suggestion(id, known);
    throw Refusal(
        WrongUsage,
        "unknown algorithm \"" + id + "\"" +
            (hint.empty() ? "; there are: " + boost::algorithm::join(known, ", ") : hint));
}

Stream* createStream(StreamIoAlgorithm& algorithm, const std::string& id) {
    const std::string fault = id + ": the stream could not be created";
    try {
        algorithm.compute();
    } catch (const std::exception& exception) {
        throw Refusal(StreamFailed, fault + ": " + exception.what());
    }
    if (algorithm.stream() == nullptr)
        throw Refusal(StreamFailed, fault);
    return algorithm.stream();
}

/// The watches of all sessions with the labels of these, for the log.
struct Directory {
    std::mutex mutex;
    std::map<StreamWatch*, std::string> labels;
};

Directory& directory() {
    static Directory all;
    return all;
}

} // namespace

StreamSession::Listed::~Listed() {
    const std::lock_guard lock(directory().mutex);
    directory().labels.erase(&watch);
}

int StreamSession::count() {
    const std::lock_guard lock(directory().mutex);
    return static_cast<int>(directory().labels.size());
}

void StreamSession::noteLine(const LogLine& line) {
    if (line.level < Log::Error || line.source.empty())
        return;
    const std::lock_guard lock(directory().mutex);
    for (const auto& [watch, label] : directory().labels)
        if (label == line.source)
            watch->onError(line.text);
}
StreamSession::StreamSession(const PluginLoader& plugins, Properties& block) :
    saved(block), made(plugins.instantiate(block.name())) {
    const std::string& id = block.name();
    if (!made)
        refuseUnmade(plugins, id);
    auto* const streamAlgorithm = dynamic_cast<StreamIoAlgorithm*>(made.get());
    if (streamAlgorithm == nullptr)
        throw Refusal(WrongUsage, "the algorithm \"" + id + "\" makes no stream");
    openedStream = createStream(*streamAlgorithm, id);
    setLabel(openedStream->name());
    follow();
}

void StreamSession::setLabel(const std::string& label) {
    uniqueName = label;
    openedStream->setLogName(label);
    shared->watch.setLabel(label);
    const std::lock_guard lock(directory().mutex);
    directory().labels[&shared->watch] = label;
}

void StreamSession::follow() {
    connections.add(openedStream->stateChanged.connect(
        [kept = shared, observed = openedStream](const Stream::StateChange& change) {
            kept->watch.onState(change);
            // On the thread that opens, so this only queues the start behind it.
            if (change.to == Stream::Open && kept->startsWhenOpen.exchange(false))
                observed->start();
            if (change.to == Stream::Closed)
                kept->startsWhenOpen = false;
        }));
    connections.add(openedStream->output.connect(
        [kept = shared](const std::shared_ptr<const Data>& data) { kept->onOutput(data.get()); }));
}

void StreamSession::configure(const SessionOptions& options) {
    Properties settings = saved;
    applyOptions(options, label(), knownSettings(), settings);
    restore(settings);
}

void StreamSession::restore(const Properties& settings) {
    given = settings;
    made->configure(&given);
}

Properties StreamSession::configuration() const {
    Properties current;
    made->configuration(&current);
    return current;
}

void StreamSession::keep(const Properties& current) {
    updateBlock(saved, current);
}

Diagnosable* StreamSession::diagnosable() const {
    return dynamic_cast<Diagnosable*>(openedStream);
}

Diagnosable::Waiting StreamSession::waiting() const {
    const Diagnosable* const found = diagnosable();
    return found == nullptr ? Diagnosable::Waiting() : found->waiting();
}

void StreamSession::tick() const {
    watch().tick([this] { return waiting().what; });
}

void StreamSession::connect(FrameReceiver frameReceiver) {
    shared->receiver = std::move(frameReceiver);
}

void StreamSession::Shared::onOutput(const Data* data) {
    const auto* const frame = dynamic_cast<const TrackingStreamData*>(data);
    if (frame == nullptr)
        return;
    watch.onFrame([&] {
        if (receiver && isWanted)
            isWanted = receiver(frameCount++, *frame);
    });
}

StreamSession::Outcome StreamSession::bringUp(const std::atomic<bool>& cancelled) const {
    if (cancelled)
        return Outcome::Cancelled;
    if (!openedStream->open())
        return cancelled ? Outcome::Cancelled : Outcome::NotOpened;
    if (cancelled)
        return Outcome::Cancelled;
    if (!openedStream->start())
        return cancelled ? Outcome::Cancelled : Outcome::NotStarted;
    return Outcome::Running;
}

void StreamSession::bringUpLater(bool starts) {
    shared->startsWhenOpen = starts;
    openedStream->openAsync();
}

std::future<bool> StreamSession::closeLater() {
    shared->startsWhenOpen = false;
    return openedStream->closeAsync();
}

} // namespace Morvalin::App
