#include "app/gui/StreamItem.h"

#include <exception>
#include <string>
#include <utility>

#include <QTimer>
#include <QWidget>

#include <morvalincore/Log.h>
#include <morvalingui/PropertiesWidget.h>
#include <morvalinlib/MorvalinLibPlugin.h>
#include <morvalinstream/TrackingStream.h>

namespace Morvalin::App {

namespace {

constexpr int removalPollMs = 20;

/// Also when something is thrown.
struct AtEnd {
    const QueuedSlot& queued;
    ~AtEnd() { queued(); }
};

void logError(const std::string& text) {
    if (Log::isAccepted(Log::Error))
        Log::log(Log::Error, "Host", text);
}

} // namespace

std::unique_ptr<StreamItem> StreamItem::create(const PluginLoader& plugins, const std::string& id,
                                               std::string& error) {
    std::unique_ptr<Algorithm> made = plugins.instantiate(id);
    auto* const streamAlgorithm = dynamic_cast<StreamIoAlgorithm*>(made.get());
    if (!made)
        error = id + ": no plug-in makes this algorithm";
    else if (streamAlgorithm == nullptr)
        error = id + ": the algorithm makes no stream";
    if (streamAlgorithm == nullptr)
        return nullptr;
    std::string reason;
    try {
        streamAlgorithm->compute();
        if (streamAlgorithm->stream() != nullptr)
            return std::unique_ptr<StreamItem>(new StreamItem(std::move(made), streamAlgorithm));
    } catch (const std::exception& exception) {
        reason = std::string(": ") + exception.what();
    }
    error = id + ": the stream could not be created" + reason;
    return nullptr;
}

StreamItem::StreamItem(std::unique_ptr<Algorithm> made, StreamIoAlgorithm* streamAlgorithm) :
    owned(std::move(made)), algorithm(streamAlgorithm),
    labelText(QString::fromStdString(streamAlgorithm->stream()->name())),
    queuedStateChange(this, "onStateChanged"), queuedAnswer(this, "onSettingsRead"),
    queuedEdit(this, "onEdited") {
    connectStream();
    connectTracking();
}

StreamItem::~StreamItem() {
    queuedStateChange.clear();
    queuedAnswer.clear();
    queuedEdit.clear();
    connections.disconnectAll();
    shared->startsWhenOpen = false;
    // What waits for an answer of the stream, the panel included, has it at the latest when the
    // stream is closed.
    stream().closeAsync();
    controller.reset();
    answer = {};
    owned.reset();
}

void StreamItem::connectStream() {
    Stream* const observed = &stream();
    connections.add(observed->stateChanged.connect(
        [state = shared, observed, queued = queuedStateChange](const Stream::StateChange& change) {
            state->activity.record(change, StreamStatus::Clock::now());
            // On the thread that opens, so this only queues the start behind it.
            if (change.to == Stream::Open && state->startsWhenOpen.exchange(false))
                observed->start();
            if (change.to == Stream::Closed)
                state->startsWhenOpen = false;
            queued();
        }));
    connections.add(observed->output.connect([state = shared](const std::shared_ptr<Data>& data) {
        if (auto frame = std::dynamic_pointer_cast<const TrackingStreamData>(data))
            state->mailbox.put(std::move(frame));
    }));
}

/// The main instrument is a setting that changes without an editor.
void StreamItem::connectTracking() {
    auto* const tracking = dynamic_cast<TrackingStream*>(&stream());
    if (tracking == nullptr)
        return;
    const auto queue = [queued = queuedEdit] { queued(); };
    connections.add(tracking->mainInstrumentChanged.connect(queue));
    connections.add(tracking->instrumentsChanged.connect(queue));
}

void StreamItem::configure(const Properties& settings) {
    algorithm->configure(&settings);
}

Properties StreamItem::configuration() const {
    Properties current;
    algorithm->configuration(&current);
    return current;
}

void StreamItem::createPanel(const PluginLoader& plugins) {
    for (const PluginLoader::LoadedPlugin& loaded : plugins.plugins()) {
        const auto* const plugin = dynamic_cast<const MorvalinLibPlugin*>(loaded.plugin.get());
        if (plugin == nullptr || plugin->controllerFactory() == nullptr ||
            !plugin->controllerFactory()->isOffered())
            continue;
        controller = plugin->controllerFactory()->create(owned.get());
        if (controller)
            break;
    }
    if (!controller)
        return;
    controller->init();
    if (panel() == nullptr)
        return;
    for (PropertiesWidget* const editor : panel()->findChildren<PropertiesWidget*>())
        connect(editor, &PropertiesWidget::parameterChanged, this, &StreamItem::onEdited,
                Qt::QueuedConnection);
}

QWidget* StreamItem::panel() const {
    return dynamic_cast<QWidget*>(controller.get());
}

void StreamItem::bringUp(bool starts) {
    shared->startsWhenOpen = starts;
    stream().openAsync();
}

void StreamItem::remove() {
    if (std::exchange(isBeingRemoved, true))
        return;
    shared->startsWhenOpen = false;
    closing = stream().closeAsync();
    auto* const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &StreamItem::checkGone);
    timer->start(removalPollMs);
    emit changed();
}

void StreamItem::checkGone() {
    const bool isClosed =
        closing.valid() && closing.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    if (!isClosed || answer.valid())
        return;
    closing = {};
    emit gone();
}

StreamStatus StreamItem::status() const {
    StreamStatus status = shared->activity.status();
    status.isRemoving = isBeingRemoved;
    status.framesPerSecond = framesPerSecond;
    return status;
}

QString StreamItem::remark() const {
    return remarkedAt < shared->activity.status().attemptedAt ? QString() : remarkText;
}

void StreamItem::setRemark(const QString& text) {
    remarkText = text;
    remarkedAt = StreamStatus::Clock::now();
    emit changed();
}

void StreamItem::measureRate(StreamStatus::Clock::time_point now) {
    const std::uint64_t count = shared->mailbox.count();
    const std::chrono::duration<double> passed = now - std::exchange(countedAt, now);
    const auto came = static_cast<double>(count - std::exchange(countedFrames, count));
    framesPerSecond = passed.count() > 0.0 ? came / passed.count() : 0.0;
    emit changed();
}

std::uint64_t StreamItem::askSettings(Asking when) {
    const bool isBusy = stream().isStateOneOf({Stream::Opening, Stream::Closing});
    if (when == Asking::WhenIdle && isBusy)
        return answered;
    ++asked;
    if (asking == 0)
        ask();
    return asked;
}

void StreamItem::ask() {
    asking = asked;
    answer = std::async(std::launch::async, [this, queued = queuedAnswer] {
        const AtEnd notice{queued};
        return configuration();
    });
}

void StreamItem::onSettingsRead() {
    try {
        lastSettings = answer.get();
    } catch (const std::exception& exception) {
        logError(labelText.toStdString() + ": its settings could not be read: " + exception.what());
    }
    answered = std::exchange(asking, 0);
    emit settingsRead();
    if (asking == 0 && answered < asked)
        ask();
}

void StreamItem::onStateChanged() {
    onEdited();
    emit changed();
}

void StreamItem::onEdited() {
    askSettings(Asking::WhenIdle);
}

} // namespace Morvalin::App
