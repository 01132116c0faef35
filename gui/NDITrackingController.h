#pragma once

#include <cstdint>

#include <morvalingui/QueuedSlot.h>
#include <morvalingui/StreamControllerBase.h>

class QFileInfo;
class QPushButton;
class QString;
class QVBoxLayout;

namespace Morvalin {

class NDITrackingStream;
class TrackingInstrumentTable;

/// The panel of an NDI device's stream: opens and closes the device, starts and stops tracking,
/// edits the stream's parameters, registers tool definition files and shows the instruments.
class NDITrackingController : public StreamControllerBase {
    Q_OBJECT

public:
    /// The algorithm whose stream the panel controls; not owned.
    explicit NDITrackingController(StreamIoAlgorithm* algorithm);
    ~NDITrackingController() override;

    /// Builds the panel. It stays empty, with an error in the log, when the algorithm's stream is
    /// none of an NDI device.
    void init() override;

private slots:
    void setupGUI();
    /// Brings buttons and parameters in step with the stream. Changes of its state call this by
    /// name, queued.
    void updateGUI();
    /// One of the three buttons was pressed.
    void onValueChanged();

private:
    void setupGeneralGroup();
    void setupTrackerList();
    void listRegisteredTools();
    void toggleConnection();
    void toggleTracking();
    void addTracker();
    void addOpticalTracker();
    void addWiredTracker();
    void registerTool(const QFileInfo& file, std::int32_t port);
    void addTrackerLabel(const QString& name);
    void addTrackerLabel(const QString& name, std::int32_t port);
    bool isOptical() const;
    bool isAurora() const;

    NDITrackingStream* ndiStream = nullptr;
    PropertiesWidget* propertiesPanel = nullptr;
    QVBoxLayout* mainLayout = nullptr;
    QPushButton* connectionButton = nullptr;
    QPushButton* startButton = nullptr;
    QPushButton* addTrackerButton = nullptr;
    QVBoxLayout* trackerList = nullptr;
    TrackingInstrumentTable* instrumentTable = nullptr;
    QueuedSlot queuedUpdate;
};

} // namespace Morvalin
