#pragma once

#include <cstdint>
#include <future>
#include <memory>
#include <vector>

#include <QObject>
#include <QString>

#include <morvalincore/Signal.h>
#include <morvalingui/QueuedSlot.h>
#include <morvalinlib/AlgorithmControllerFactory.h>

#include "session/StreamSession.h"
#include "window/FrameMailbox.h"

class QWidget;

namespace Morvalin::App {

/// One stream of the window: its session, its panel, its frames and what it is doing. GUI thread.
///
/// Nothing here waits for a device: opening and closing run on the stream's own thread, and its
/// settings, which it may keep locked while it talks to the device, are read on another. Only the
/// destructor waits, so an item is first removed and destroyed when it says that it is gone.
class StreamItem : public QObject {
    Q_OBJECT

public:
    /// Takes a session that is configured, and makes the panel with the first factory of the
    /// plug-ins that has one; there may be none. The session outlives the item.
    StreamItem(StreamSession& owned, const PluginLoader& plugins);
    ~StreamItem() override;

    StreamSession& session() const { return used; }
    /// Opens the stream and starts it, if wanted, in the background.
    void bringUp(bool starts) { used.bringUpLater(starts); }

    /// Closes the stream in the background; gone() follows. Called again, does nothing.
    void remove();
    bool isRemoving() const { return isBeingRemoved; }

    QString label() const { return QString::fromStdString(used.label()); }
    Stream& stream() const { return used.stream(); }
    /// Null without a panel.
    QWidget* panel() const;
    FrameMailbox& mailbox() const { return *frames; }
    StreamStatus status() const;
    /// Something worth knowing about the current attempt to use the stream, such as why it failed;
    /// empty for nothing.
    QString remark() const;
    void setRemark(const QString& text);
    /// Measures the frame rate since the last call and looks whether the stream stands still; to be
    /// called about once a second.
    void measureRate(StreamStatus::Clock::time_point now);

    /// The settings as they were last read.
    const Properties& settings() const { return lastSettings; }
    enum class Asking {
        WhenIdle, ///< not while the stream opens or closes: it may not answer before it has
        Always    ///< the answer comes when the stream has it
    };
    /// Lets go of what waits for an answer.
    using Ticket = std::shared_ptr<void>;
    /// Reads the settings anew; settingsRead() follows, and then the ticket is let go. A question
    /// that is not asked lets go of it at once, and so does the end of the item.
    void askSettings(Asking when, Ticket ticket = {});

signals:
    /// Its state or frame rate is another.
    void changed();
    void settingsRead();
    /// It is closed and may be destroyed without waiting. Not to be destroyed from this signal.
    void gone();

private slots:
    void onStateChanged();
    void onSettingsRead();
    void onEdited();

private:
    void createPanel(const PluginLoader& plugins);
    void connectStream();
    void checkGone();
    void ask();

    StreamSession& used;
    const std::shared_ptr<FrameMailbox> frames = std::make_shared<FrameMailbox>();
    std::unique_ptr<AlgorithmController> controller;

    bool isBeingRemoved = false;
    std::future<bool> closing;

    QString remarkText;
    StreamStatus::Clock::time_point remarkedAt;

    bool isAsked = false; ///< once more than is being answered
    std::vector<Ticket> waiting;
    std::vector<Ticket> beingAnswered;
    std::future<Properties> answer;
    Properties lastSettings;

    std::uint64_t countedFrames = 0;
    StreamStatus::Clock::time_point countedAt;
    double framesPerSecond = 0.0;

    QueuedSlot queuedStateChange;
    QueuedSlot queuedAnswer;
    QueuedSlot queuedEdit;
    SignalConnections connections;
};

} // namespace Morvalin::App
