#include "gui/NDITrackingController.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <morvalincore/LogText.h>
#include <morvalincore/Properties.h>
#include <morvalingui/PropertiesWidget.h>
#include <morvalingui/QtHelpers.h>
#include <morvalingui/TrackingInstrumentTable.h>

#include "gui/ROMLoadingDialog.h"
#include "streams/PolarisAuroraTrackingStream.h"

namespace Morvalin {

namespace {

constexpr const char* category = "NDITrackingController";
constexpr std::int32_t opticalToolPort = 1;

template <int N>
bool isFamily(const NDITrackingStream* stream) {
    return dynamic_cast<const PolarisAuroraTrackingStream<N>*>(stream) != nullptr;
}

/// Does nothing when the stream is not of that family.
template <int N>
void registerWith(NDITrackingStream* stream, const NDITrackingInstrumentInfo& tool) {
    if (auto* const device = dynamic_cast<PolarisAuroraTrackingStream<N>*>(stream))
        device->registerTool(tool);
}

} // namespace

NDITrackingController::NDITrackingController(StreamIoAlgorithm* controlled) :
    StreamControllerBase(controlled), queuedUpdate(this, "updateGUI") {}

NDITrackingController::~NDITrackingController() {
    queuedUpdate.clear();
    connections().disconnectAll();
}

void NDITrackingController::init() {
    StreamControllerBase::init();
    ndiStream = dynamic_cast<NDITrackingStream*>(stream());
    if (ndiStream == nullptr) {
        // Names another class than it means; people look for this text in logs.
        logText(Log::Error, category, "Input stream must be a FakeTrackingStream");
        return;
    }
    setupGUI();
    listRegisteredTools();
    connections().add(ndiStream->stateChanged.connect(
        [queued = queuedUpdate](const Stream::StateChange&) { queued(); }));
    updateGUI();
}

void NDITrackingController::setupGUI() {
    propertiesPanel = new PropertiesWidget(nullptr, this);
    setPropertiesWidget(propertiesPanel);
    mainLayout = new QVBoxLayout(this);
    mainLayout->addWidget(propertiesPanel);
    connect(propertiesPanel, SIGNAL(parameterChanged(std::string)), this,
            SLOT(onParameterChanged()));

    setupGeneralGroup();
    instrumentTable = new TrackingInstrumentTable(
        ndiStream, TrackingInstrumentTable::MainSelection | TrackingInstrumentTable::ActiveBoxes,
        this);
    propertiesPanel->setSplitCamelCase(true);

    addTrackerButton = new QPushButton(tr("Add Tracker ..."), this);
    connect(addTrackerButton, &QPushButton::pressed, this, &NDITrackingController::onValueChanged);
    mainLayout->addWidget(addTrackerButton);
    setupTrackerList();
    mainLayout->addWidget(instrumentTable, 1);

    // After the base has stored the edit: what is shown then is what the stream has made of it.
    connect(propertiesPanel, SIGNAL(parameterChanged(std::string)), this, SLOT(updateGUI()));
    updateGUI();
}

void NDITrackingController::setupGeneralGroup() {
    auto* const group = new QGroupBox(tr("General"), this);
    auto* const grid = new QGridLayout(group);
    connectionButton = new QPushButton(tr("Init"), group);
    startButton = new QPushButton(tr("Start"), group);
    grid->addWidget(connectionButton, 0, 0);
    grid->addWidget(startButton, 0, 1);
    for (QPushButton* const button : {connectionButton, startButton})
        connect(button, &QPushButton::pressed, this, &NDITrackingController::onValueChanged);
    mainLayout->addWidget(group);
    mainLayout->addWidget(propertiesPanel); // moves it below the group
}

void NDITrackingController::setupTrackerList() {
    auto* const container = new QWidget(this);
    trackerList = new QVBoxLayout(container);
    mainLayout->addWidget(container);
}

void NDITrackingController::listRegisteredTools() {
    Properties configuration;
    ndiStream->configuration(&configuration);
    for (const Properties& block : configuration.children()) {
        if (block.name() != "TrackingTargets")
            continue;
        for (const Properties& tool : block.children()) {
            if (!tool.hasParam("Path"))
                continue;
            const QString name = QString::fromStdString(tool.name());
            std::int32_t port = 0;
            if (isAurora() && tool.param("Port", port))
                addTrackerLabel(name, port);
            else
                addTrackerLabel(name);
        }
    }
}

void NDITrackingController::updateGUI() {
    if (ndiStream == nullptr)
        return;
    const bool isInitialized = ndiStream->isInitialized();
    if (ndiStream->state() == Stream::Opening)
        connectionButton->setText(tr("Initializing..."));
    else if (ndiStream->state() == Stream::Closing)
        connectionButton->setText(tr("Closing..."));
    else
        connectionButton->setText(isInitialized ? tr("Close Connection") : tr("Open Connection"));
    startButton->setEnabled(isInitialized);
    const bool isRunning = ndiStream->isStateOneOf({Stream::Starting, Stream::Running});
    startButton->setText(isRunning ? tr("Stop") : tr("Start"));
    addTrackerButton->setEnabled(!isInitialized);
    updatePropertiesWidget();
}

void NDITrackingController::onValueChanged() {
    const QWidget* const pressed = qobject_cast<QWidget*>(sender());
    if (ndiStream == nullptr || pressed == nullptr)
        return;
    if (pressed == connectionButton) {
        toggleConnection();
        updateGUI();
    } else if (pressed == startButton) {
        toggleTracking();
        updateGUI();
    } else if (pressed == addTrackerButton) {
        addTracker();
    }
}

void NDITrackingController::toggleConnection() {
    if (ndiStream->isInitialized())
        ndiStream->closeAsync();
    else
        ndiStream->openAsync();
}

void NDITrackingController::toggleTracking() {
    if (ndiStream->isStateOneOf({Stream::Starting, Stream::Running}))
        ndiStream->stop();
    else
        ndiStream->start();
}

void NDITrackingController::addTracker() {
    if (isOptical()) {
        addOpticalTracker();
    } else if (isAurora()) {
        addWiredTracker();
    } else {
        logText(Log::Warning, category,
                "Tool registration only available for Polaris and Aurora tracking systems.");
        updateGUI();
    }
}

void NDITrackingController::addOpticalTracker() {
    const QPointer<NDITrackingController> self(this);
    const QFileInfo file(QtHelpers::getOpenFilename(this, tr("Tracker"), tr("Select Geometry file"),
                                                    tr("Geometry files (*.rom)"), nullptr, {}));
    if (self.isNull())
        return; // destroyed while the dialog was shown
    registerTool(file, opticalToolPort);
    addTrackerLabel(file.fileName());
    updateGUI();
}

void NDITrackingController::addWiredTracker() {
    const QPointer<NDITrackingController> self(this);
    ROMLoadingDialog dialog;
    dialog.exec();
    if (self.isNull())
        return; // destroyed while the dialog was shown
    const QFileInfo file = dialog.file();
    if (!file.isFile()) {
        logText(Log::Error, category, "Failed to add instrument geometry");
        return;
    }
    registerTool(file, dialog.port());
    addTrackerLabel(file.fileName(), dialog.port());
    logText(Log::Information, category, "Loaded rom file : ", file.filePath().toStdString(),
            "For port: ", dialog.port());
    updateGUI();
}

void NDITrackingController::registerTool(const QFileInfo& file, std::int32_t port) {
    NDITrackingInstrumentInfo tool;
    tool.name = file.fileName().toStdString();
    tool.romFile = file.filePath().toStdString();
    tool.port = port;
    registerWith<NDIDeviceFamily::PolarisVega>(ndiStream, tool);
    registerWith<NDIDeviceFamily::PolarisVicra>(ndiStream, tool);
    registerWith<NDIDeviceFamily::Aurora>(ndiStream, tool);
}

void NDITrackingController::addTrackerLabel(const QString& name) {
    auto* const label = new QLabel(tr("Instrument Geometry: ") + name);
    label->setTextFormat(Qt::PlainText); // file names are no markup
    trackerList->addWidget(label);
}

void NDITrackingController::addTrackerLabel(const QString& name, std::int32_t port) {
    addTrackerLabel(name + tr("   Port: ") + QString::number(port));
}

bool NDITrackingController::isOptical() const {
    return isFamily<NDIDeviceFamily::PolarisVega>(ndiStream) ||
           isFamily<NDIDeviceFamily::PolarisVicra>(ndiStream);
}

bool NDITrackingController::isAurora() const {
    return isFamily<NDIDeviceFamily::Aurora>(ndiStream);
}

} // namespace Morvalin
