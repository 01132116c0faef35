#pragma once

#include <memory>
#include <string>

#include <QTableView>

#include <morvalincore/Signal.h>
#include <morvalingui/Export.h>
#include <morvalingui/InstrumentState.h>
#include <morvalingui/QueuedSlot.h>

namespace Morvalin {

class ThreadSafeInstrumentsBase;
class TrackingInstrumentModel;
class TrackingStream;

/// The instruments of a stream, a row each: name and id, type, state, quality, position. Meant to
/// be read at a distance; every state is told in words. Quality and position are shown only while
/// they are current.
///
/// The table reads the stream's registry at the display's pace, whatever the pace of the device. Of
/// the stream it uses nothing else but its name, state and signals, so it may be shown while the
/// stream opens, runs and closes.
///
/// Keyboard: arrows move, Space ticks the box of the current cell.
class MORVALINGUI_EXPORT TrackingInstrumentTable : public QTableView {
    Q_OBJECT

public:
    /// What is offered beside looking; to be combined.
    enum Option : int {
        ActiveBoxes = 1,  ///< boxes that set instruments active, or take them out
        MainSelection = 4 ///< buttons that make an instrument the main one
    };

    /// `stream` is not owned and outlives the table; null shows nothing.
    TrackingInstrumentTable(TrackingStream* stream, int options, QWidget* parent = nullptr);
    ~TrackingInstrumentTable() override;

    QSize sizeHint() const override;

public slots:
    /// Reads the registry now. It is also read by itself about 30 times a second.
    void refresh();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void setUpAppearance(int options);
    void setUpColumns();
    void connectStream();
    void setActive(const std::string& id, bool active);
    void selectMain(const std::string& id);

    TrackingStream* const stream;
    const std::shared_ptr<ThreadSafeInstrumentsBase> registry;
    TrackingInstrumentModel* const instrumentModel;
    InstrumentStates states;
    QueuedSlot queuedRefresh;
    SignalConnections connections;
};

} // namespace Morvalin
