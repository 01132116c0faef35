#include "window/StreamItem.h"

#include <exception>
#include <utility>

#include <QTimer>
#include <QWidget>

#include <morvalincore/LogText.h>
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

} // namespace

StreamItem::StreamItem(StreamSession& session, const PluginLoader& plugins) :
    used(session), queuedStateChange(this, "onStateChanged"), queuedAnswer(this, "onSettingsRead"),
    queuedEdit(this, "onEdited") {
    connectStream();
    createPanel(plugins);
}

StreamItem::~StreamItem() {
    queuedStateChange.clear();
    queuedAnswer.clear();
    queuedEdit.clear();
    connections.disconnectAll();
    // What waits for an answer of the stream, the panel included, has it at the latest when the
    // stream is closed.
    used.closeLater();
    controller.reset();
    answer = {};
}

/// The main instrument is a setting that changes without an editor.
void StreamItem::connectStream() {
    connections.add(
        stream().stateChanged.connect([queued = queuedStateChange](const auto&) { queued(); }));
    connections.add(
        stream().output.connect([mailbox = frames](const std::shared_ptr<const Data>& data) {
            if (auto frame = std::dynamic_pointer_cast<const TrackingStreamData>(data))
                mailbox->put(std::move(frame));
        }));
    auto* const tracking = dynamic_cast<TrackingStream*>(&stream());
    if (tracking == nullptr)
        return;
    const auto queue = [queued = queuedEdit] { queued(); };
    connections.add(tracking->mainInstrumentChanged.connect(queue));
    connections.add(tracking->instrumentsChanged.connect(queue));
}

void StreamItem::createPanel(const PluginLoader& plugins) {
    for (const PluginLoader::LoadedPlugin& loaded : plugins.plugins()) {
        const auto* const plugin = dynamic_cast<const MorvalinLibPlugin*>(loaded.plugin.get());
        if (plugin == nullptr || plugin->controllerFactory() == nullptr ||
            !plugin->controllerFactory()->isOffered())
            continue;
        controller = plugin->controllerFactory()->create(&used.algorithm());
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

void StreamItem::remove() {
    if (std::exchange(isBeingRemoved, true))
        return;
    closing = used.closeLater();
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
    StreamStatus status = used.status();
    status.isRemoving = isBeingRemoved;
    status.framesPerSecond = framesPerSecond;
    return status;
}

QString StreamItem::remark() const {
    return remarkedAt < used.status().attemptedAt ? QString() : remarkText;
}

void StreamItem::setRemark(const QString& text) {
    remarkText = text;
    remarkedAt = StreamStatus::Clock::now();
    emit changed();
}

void StreamItem::measureRate(StreamStatus::Clock::time_point now) {
    const std::uint64_t count = frames->count();
    const std::chrono::duration<double> passed = now - std::exchange(countedAt, now);
    const auto came = static_cast<double>(count - std::exchange(countedFrames, count));
    framesPerSecond = passed.count() > 0.0 ? came / passed.count() : 0.0;
    used.tick();
    emit changed();
}

void StreamItem::askSettings(Asking when, Ticket ticket) {
    const bool isBusy = stream().isStateOneOf({Stream::Opening, Stream::Closing});
    if (when == Asking::WhenIdle && isBusy)
        return;
    isAsked = true;
    waiting.push_back(std::move(ticket));
    if (!answer.valid())
        ask();
}

void StreamItem::ask() {
    isAsked = false;
    beingAnswered = std::exchange(waiting, {});
    answer = std::async(std::launch::async, [&session = used, queued = queuedAnswer] {
        const AtEnd notice{queued};
        return session.configuration();
    });
}

void StreamItem::onSettingsRead() {
    try {
        lastSettings = answer.get();
    } catch (const std::exception& exception) {
        logText(Log::Error, "Host", used.label(),
                ": its settings could not be read: ", exception.what());
    }
    emit settingsRead();
    beingAnswered.clear();
    if (isAsked)
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
