#include "app/StreamSession.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <morvalinstream/TrackingStreamData.h>

#include "app/Refusal.h"
#include "app/Settings.h"
#include "app/Suggestion.h"

namespace Morvalin::App {

namespace {

std::string join(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts)
        result += (result.empty() ? "" : ", ") + text;
    return result;
}

[[noreturn]] void refuseUnmade(const PluginLoader& plugins, const std::string& id) {
    std::vector<std::string> known;
    for (const AlgorithmFactory::Descriptor& descriptor : plugins.algorithms())
        known.push_back(descriptor.id);
    if (std::find(known.begin(), known.end(), id) != known.end())
        throw Refusal(StreamFailed, id + ": the algorithm could not be created");
    const std::string hint = suggestion(id, known);
    throw Refusal(WrongUsage, "unknown algorithm \"" + id + "\"" +
                                  (hint.empty() ? "; there are: " + join(known) : hint));
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

} // namespace

StreamSession::StreamSession(const PluginLoader& plugins, const std::string& algorithmId) :
    algorithm(plugins.instantiate(algorithmId)) {
    if (!algorithm)
        refuseUnmade(plugins, algorithmId);
    auto* const streamAlgorithm = dynamic_cast<StreamIoAlgorithm*>(algorithm.get());
    if (streamAlgorithm == nullptr)
        throw Refusal(WrongUsage, "the algorithm \"" + algorithmId + "\" makes no stream");
    openedStream = createStream(*streamAlgorithm, algorithmId);
    uniqueName = openedStream->name();
}

void StreamSession::configure(const Properties& block, const Options& options) {
    Properties settings = block;
    Properties current;
    algorithm->configuration(&current);
    applyOptions(options, label(), current, settings);
    algorithm->configure(&settings);
}

void StreamSession::connect(AppendFrame appendFrame, FrameReceiver frameReceiver) {
    format = appendFrame;
    receiver = std::move(frameReceiver);
    outputConnection = openedStream->output.connect(
        [this](const std::shared_ptr<Data>& data) { onOutput(data.get()); });
}

void StreamSession::onOutput(const Data* data) {
    const auto* const frame = dynamic_cast<const TrackingStreamData*>(data);
    if (frame == nullptr || !isWanted)
        return;
    text.clear();
    format(text, uniqueName, frameCount++, *frame);
    isWanted = receiver(text);
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

Diagnosable* StreamSession::diagnosable() const {
    return dynamic_cast<Diagnosable*>(openedStream);
}

void StreamSession::save(Properties& block) const {
    algorithm->configuration(&block);
}

} // namespace Morvalin::App
