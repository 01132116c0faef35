#pragma once

#include <future>
#include <optional>
#include <thread>

#include <QPointer>
#include <QWidget>

#include <morvalincore/Properties.h>
#include <morvalincore/Signal.h>
#include <morvalingui/Export.h>
#include <morvalingui/PropertiesWidget.h>
#include <morvalingui/QueuedSlot.h>
#include <morvalinlib/AlgorithmControllerFactory.h>

namespace Morvalin {

class Stream;
class StreamIoAlgorithm;

/// Base of the panels that control a stream.
///
/// Everything happens in the GUI thread. The host creates the panel once the algorithm has its
/// stream, calls init(), and destroys the panel before the stream is replaced or destroyed. It may
/// put the panel into a layout or window of its own; the panel leaves it when it is destroyed.
///
/// A derived panel connects signals of the stream through connections() and a QueuedSlot, never to
/// itself: they arrive on threads and under locks of the stream.
class MORVALINGUI_EXPORT StreamControllerBase : public QWidget, public AlgorithmController {
    Q_OBJECT

public:
    /// `algorithm` is not owned and outlives the panel.
    explicit StreamControllerBase(StreamIoAlgorithm* algorithm);
    ~StreamControllerBase() override;

    void init() override;

    /// The algorithm's stream; null without an algorithm or before it has made one.
    Stream* stream() const;

    /// The widget that shows the stream's parameters; null until the derived panel has made one.
    PropertiesWidget* propertiesWidget() const { return properties; }

public slots:
    /// Passes the parameter that was edited last to the stream's configure(): that one only, since
    /// what the other editors show may be older than what the stream has by now.
    void onParameterChanged();

    /// Shows the stream's configuration; emits nothing.
    ///
    /// A stream that opens or closes is not asked, since it may keep its settings locked for
    /// minutes: the widget is disabled, and the next change of state brings it up to date. Any
    /// other stream is asked on a thread of its own. If it answers at once, as it nearly always
    /// does, the widget is up to date on return; else the widget is disabled until the answer
    /// comes. So configuration() may run beside other calls of the GUI thread, but never beside a
    /// configure() of this panel.
    void updatePropertiesWidget();

protected:
    /// Tells the base which widget it is; the widget is not taken over.
    void setPropertiesWidget(PropertiesWidget* widget) { properties = widget; }

    /// Connections that end when the panel does, or earlier by disconnectAll().
    SignalConnections& connections() { return signalConnections; }

private slots:
    void onStateChanged();
    void onAnswer();

private:
    using Answer = std::optional<Properties>; ///< nothing when the stream must not be asked now

    void askStream();
    void takeAnswer();

    StreamIoAlgorithm* const algorithm;
    QPointer<PropertiesWidget> properties;
    bool isUpdatePending = false;
    QueuedSlot queuedStateChange;
    QueuedSlot queuedAnswer;
    SignalConnections signalConnections;
    std::future<Answer> answer; ///< valid from the question until it is taken
    std::jthread askingThread;
};

} // namespace Morvalin
