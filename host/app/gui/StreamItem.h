#pragma once

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <string>

#include <QObject>
#include <QString>

#include <morvalincore/Properties.h>
#include <morvalincore/Signal.h>
#include <morvalingui/QueuedSlot.h>
#include <morvalinlib/AlgorithmControllerFactory.h>
#include <morvalinlib/PluginLoader.h>
#include <morvalinlib/StreamIoAlgorithm.h>

#include "app/gui/FrameMailbox.h"
#include "app/gui/StreamActivity.h"

class QWidget;

namespace Morvalin::App {

/// One stream of the window: its algorithm, its panel, its frames and what it is doing. GUI thread.
///
/// Nothing here waits for a device: opening and closing run on the stream's own thread, and its
/// settings, which it may keep locked while it talks to the device, are read on another. Only the
/// destructor waits, so an item is first removed and destroyed when it says that it is gone.
class StreamItem : public QObject {
    Q_OBJECT

public:
    /// Creates the algorithm and its closed stream; null with one line in `error` on failure.
    static std::unique_ptr<StreamItem> create(const PluginLoader& plugins, const std::string& id,
                                              std::string& error);
    ~StreamItem() override;

    /// Passes settings to the closed stream; to be called before the panel is made.
    void configure(const Properties& settings);
    /// The settings that the closed stream has.
    Properties configuration() const;
    /// Makes the panel with the first factory that has one; there may be none.
    void createPanel(const PluginLoader& plugins);
    /// Opens the stream and starts it, if wanted, in the background.
    void bringUp(bool starts);

    /// Closes the stream in the background; gone() follows. Called again, does nothing.
    void remove();
    bool isRemoving() const { return isBeingRemoved; }

    const QString& label() const { return labelText; }
    void setLabel(const QString& label) { labelText = label; }
    Stream& stream() const { return *algorithm->stream(); }
    /// Null without a panel.
    QWidget* panel() const;
    FrameMailbox& mailbox() const { return shared->mailbox; }
    StreamStatus status() const;
    /// Something worth knowing about the current attempt to use the stream, such as why it failed;
    /// empty for nothing.
    QString remark() const;
    void setRemark(const QString& text);
    /// Measures the frame rate since the last call; to be called about once a second.
    void measureRate(StreamStatus::Clock::time_point now);

    /// The settings as they were last read.
    const Properties& settings() const { return lastSettings; }
    enum class Asking {
        WhenIdle, ///< not while the stream opens or closes: it may not answer before it has
        Always    ///< the answer comes when the stream has it
    };
    /// Reads the settings anew; settingsRead() follows. Returns what settingsTicket() will have
    /// reached then; an answer that is not asked for counts as given.
    std::uint64_t askSettings(Asking asking);
    std::uint64_t settingsTicket() const { return answered; }

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
    /// What the threads of the stream use; outlives the item while one of them still does.
    struct Shared {
        FrameMailbox mailbox;
        StreamActivity activity;
        std::atomic<bool> startsWhenOpen = false;
    };

    StreamItem(std::unique_ptr<Algorithm> made, StreamIoAlgorithm* streamAlgorithm);
    void connectStream();
    void connectTracking();
    void checkGone();
    void ask();

    std::unique_ptr<Algorithm> owned;
    StreamIoAlgorithm* const algorithm; ///< the same object
    QString labelText;
    std::shared_ptr<Shared> shared = std::make_shared<Shared>();
    std::unique_ptr<AlgorithmController> controller;

    bool isBeingRemoved = false;
    std::future<bool> closing;

    QString remarkText;
    StreamStatus::Clock::time_point remarkedAt;

    std::uint64_t asked = 0;
    std::uint64_t answered = 0;
    std::uint64_t asking = 0; ///< of the question that is being answered; 0: none is
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
