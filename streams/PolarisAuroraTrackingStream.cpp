#include "streams/PolarisAuroraTrackingStream.h"

#include "streams/internal/DeviceConnection.h"
#include "streams/internal/Measurement.h"
#include "streams/internal/NdiLog.h"
#include "streams/internal/OpenDevice.h"
#include "streams/internal/SettingDescriptions.h"
#include "streams/internal/StreamProperties.h"
#include "streams/internal/ToolSetup.h"

#include <morvalincore/Properties.h>

#include <boost/thread/lock_guard.hpp>

#include <chrono>
#include <exception>
#include <utility>

namespace Morvalin {
namespace {

using namespace std::chrono_literals;
using Lock = boost::lock_guard<std::mutex>;
using ConnectionType = NDIConnectionData::ConnectionType;

constexpr const char* defaultNetworkAddress = "192.168.1.10";
constexpr auto queryInterval = 5ms;

/// About as many as a device that falls silent is asked for while it is set up, besides one for
/// each tool: its handles may all be freed first.
constexpr std::size_t otherAnswers = 20;

/// Transforms, out-of-volume poses, and of optical devices tool information, single stray markers,
/// marker positions and passive stray markers.
constexpr unsigned opticalBinaryOptions = 0x180F;
constexpr unsigned auroraBinaryOptions = 0x0801;

std::unique_ptr<NDIConnectionData> makeConnection(bool isSerial) {
    return isSerial
               ? std::make_unique<NDIConnectionData>(ConnectionType::Serial, "auto")
               : std::make_unique<NDIConnectionData>(ConnectionType::TcpIp, defaultNetworkAddress);
}

std::vector<std::int32_t> makeLinkSpeeds(bool isSerial) {
    if (!isSerial)
        return {};
    return {9600, 14400, 19200, 38400, 57600, 115200, 921600, 1228739};
}

std::int64_t millisecondsNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

/// No lock is held between the update of the registry and the frame's copy of it. An instrument
/// that was made active in between still has the pose of an earlier measurement, or of none.
void keepToMeasurement(TrackingStreamData& frame, std::int64_t timestamp) {
    for (TrackingInstrument& instrument : frame.instruments)
        instrument.active = instrument.active && instrument.timestamp == timestamp;
    frame.timestamp = timestamp;
}

} // namespace

// ---- Construction and settings

template <int N>
PolarisAuroraTrackingStream<N>::PolarisAuroraTrackingStream() :
    PolarisAuroraTrackingStream(isOptical ? "NDI Polaris Tracking Stream"
                                          : "NDI Aurora Tracking Stream") {}

template <int N>
PolarisAuroraTrackingStream<N>::PolarisAuroraTrackingStream(std::string name) :
    NDITrackingStream(std::move(name)), connection(makeConnection(isSerial)),
    linkSpeeds(makeLinkSpeeds(isSerial)),
    instrumentRegistry(std::make_shared<ThreadSafeInstruments<NDITrackingInstrumentInfo>>()) {
    setInstruments(instrumentRegistry);
}

template <int N>
PolarisAuroraTrackingStream<N>::~PolarisAuroraTrackingStream() {
    closeForGood();
}

template <int N>
std::string PolarisAuroraTrackingStream<N>::uuid() const {
    return "PolarisAuroraTrackingStream";
}

template <int N>
bool PolarisAuroraTrackingStream<N>::isInitialized() const {
    return !isStateOneOf({Closed, Closing, Opening});
}

template <int N>
auto PolarisAuroraTrackingStream<N>::connectionType() const -> ConnectionType {
    return connection->connectionType;
}

template <int N>
std::string PolarisAuroraTrackingStream<N>::hardwareDevice() const {
    return connection->hardwareDevice.value();
}

template <int N>
void PolarisAuroraTrackingStream<N>::setHardwareDevice(const std::string& device) {
    connection->hardwareDevice.assign(device);
}

template <int N>
std::int32_t PolarisAuroraTrackingStream<N>::hardwareIPPort() const {
    return connection->hardwareIPPort;
}

template <int N>
void PolarisAuroraTrackingStream<N>::setHardwareIPPort(std::int32_t port) {
    connection->hardwareIPPort = port;
}

template <int N>
void PolarisAuroraTrackingStream<N>::setBinaryQueryMode(bool binary) {
    connection->binaryQueryMode = binary;
}

template <int N>
std::vector<std::string> PolarisAuroraTrackingStream<N>::measurementRateOptions() const {
    std::vector<std::string> options;
    for (const std::int32_t speed : linkSpeeds)
        options.push_back(std::to_string(speed));
    return options;
}

template <int N>
std::int32_t PolarisAuroraTrackingStream<N>::measurementRate() const {
    return connection->measurementRate;
}

template <int N>
void PolarisAuroraTrackingStream<N>::setMeasurementRate(std::int32_t index) {
    if (index < 0 || static_cast<std::size_t>(index) >= linkSpeeds.size())
        return;
    if (isInitialized())
        logNdi(Log::Error, "Measurement rate cannot be set when connection is established. Close "
                           "connection first.");
    else
        connection->measurementRate = index;
}

template <int N>
std::vector<std::string> PolarisAuroraTrackingStream<N>::maxRangeOptions() const {
    const Lock lock(connection->connectionLock);
    std::vector<std::string> options;
    for (const NDIOperatingVolume& volume : connection->operatingVolumes)
        options.push_back(volume.text);
    return options;
}

template <int N>
std::int32_t PolarisAuroraTrackingStream<N>::maxRange() const {
    return connection->maxRange;
}

template <int N>
void PolarisAuroraTrackingStream<N>::setMaxRange(std::int32_t index) {
    if (index < 0)
        return;
    if (isInitialized())
        logNdi(Log::Error,
               "Max Range cannot be set when connection is established. Close connection first.");
    else
        connection->maxRange = index;
}

template <int N>
void PolarisAuroraTrackingStream<N>::registerTool(const NDITrackingInstrumentInfo& tool) {
    registeredTools.access(
        [&](std::vector<NDITrackingInstrumentInfo>& tools) { tools.push_back(tool); });
    logNdi(Log::Information, "Instrument ", tool.name,
           " registered to instrument list. Instrument will be loaded when opening stream.");
}

// ---- Saved settings

template <int N>
void PolarisAuroraTrackingStream<N>::configuration(Properties* properties) {
    NDITrackingStream::configuration(properties);
    if (properties == nullptr)
        return;
    writeConnection(*properties, *connection, measurementRateOptions());
    writeTargets(*properties, registeredTools.value());
    properties->setParam(StreamKeys::mainInstrument, instrumentRegistry->mainId());
    properties->setParamAttribute(StreamKeys::mainInstrument, "hidden", "true");
}

template <int N>
void PolarisAuroraTrackingStream<N>::configure(const Properties* properties) {
    NDITrackingStream::configure(properties);
    if (properties == nullptr)
        return;
    std::int32_t rate = 0;
    if (properties->param(StreamKeys::rate, rate) && rate != measurementRate())
        setMeasurementRate(rate);
    readConnection(*properties, *connection);
    if (auto tools = readTargets(*properties))
        registeredTools.assign(std::move(*tools));
    std::string mainId;
    if (properties->param(StreamKeys::mainInstrument, mainId))
        pendingMainId.assign(mainId);
}

template <int N>
std::vector<SettingDescription> PolarisAuroraTrackingStream<N>::describeSettings() const {
    return describeStreamSettings(*makeConnection(isSerial), measurementRateOptions());
}

// ---- Diagnosis

template <int N>
std::string PolarisAuroraTrackingStream<N>::stateDump() {
    const Lock lock(connection->connectionLock);
    return dumpDevice(*connection);
}

template <int N>
void PolarisAuroraTrackingStream<N>::setTraceSink(TraceSink sink) {
    const Lock lock(connection->connectionLock);
    traceTo(*connection, sink);
}

template <int N>
Diagnosable::Waiting PolarisAuroraTrackingStream<N>::waiting() const {
    return connection->waiting.value();
}

// ---- Opening and closing

template <int N>
bool PolarisAuroraTrackingStream<N>::openImpl() {
    constexpr const char* failure = "Error during initalization of the NDI tracking system: ";
    try {
        const Lock lock(connection->connectionLock);
        if (bringUp())
            return true;
    } catch (const std::exception& exception) {
        logNdi(Log::Error, failure, exception.what());
    } catch (...) {
        logNdi(Log::Error, failure);
    }
    connection->waiting.assign({});
    return false;
}

template <int N>
bool PolarisAuroraTrackingStream<N>::bringUp() {
    // An open that failed half-way leaves its device, which would keep the port busy.
    releaseDevice(*connection);
    std::optional<std::string> address;
    if constexpr (isSerial)
        address = connectSerialDevice(*connection);
    else
        address = connectNetworkDevice(*connection);
    if (!address)
        return false;
    awaitAnswers(*connection, *address, otherAnswers + registeredTools.value().size());
    if (!initializeDevice(*connection, *address, this))
        return false;
    queryOperatingVolumes();
    if constexpr (isOptical)
        initializeOpticalTools();
    else
        queryTools();
    logNdi(Log::Detail, "Full initialization complete!");
    awaitEnd(*connection, *address);
    return checkInstruments();
}

template <int N>
bool PolarisAuroraTrackingStream<N>::checkInstruments() const {
    if (instrumentRegistry->size() > 0)
        return true;
    if (isOptical)
        logNdi(Log::Warning, "No tracking instruments initialized!");
    else
        logNdi(Log::Error, "No tracking instruments available!");
    return isOptical;
}

template <int N>
bool PolarisAuroraTrackingStream<N>::probeHardwareDevices() {
    return searchSerialPorts(*connection).has_value();
}

template <int N>
void PolarisAuroraTrackingStream<N>::queryOperatingVolumes() {
    queryDeviceVolumes(*connection);
}

template <int N>
ToolSetup PolarisAuroraTrackingStream<N>::toolSetup() {
    return {*connection->device, *instrumentRegistry, registeredTools, pendingMainId,
            connection->dummyToolPortHandle};
}

template <int N>
void PolarisAuroraTrackingStream<N>::initializeOpticalTools() {
    emitSignals(setUpOpticalTools(toolSetup()));
}

template <int N>
void PolarisAuroraTrackingStream<N>::queryTools() {
    emitSignals(setUpAuroraTools(toolSetup()));
}

template <int N>
bool PolarisAuroraTrackingStream<N>::closeImpl() {
    releaseDevice(*connection);
    connection->waiting.assign({});
    emitSignals(instrumentRegistry->clear());
    return true;
}

// ---- Streaming

template <int N>
void PolarisAuroraTrackingStream<N>::sendUnderLock(const char* command) {
    const Lock lock(connection->connectionLock);
    if (connection->device != nullptr)
        connection->device->command("%s", command);
}

template <int N>
bool PolarisAuroraTrackingStream<N>::startImpl() {
    sendUnderLock("TSTART:");
    return true;
}

template <int N>
bool PolarisAuroraTrackingStream<N>::stopImpl() {
    sendUnderLock("TSTOP:");
    return true;
}

template <int N>
std::optional<Stream::WorkContinuation> PolarisAuroraTrackingStream<N>::doWork() {
    const auto nextCall = std::chrono::system_clock::now() + queryInterval;
    try {
        if (std::optional<Measured> measured = measure()) {
            std::unique_ptr<TrackingStreamData> frame = createTrackingStreamData();
            keepToMeasurement(*frame, measured->timestamp);
            frame->addComponent(std::move(measured->markers));
            output(std::shared_ptr<const Data>(std::move(frame)));
        }
    } catch (const std::exception& exception) {
        logNdi(Log::Error, "Error while receiving tracking data. ", exception.what());
    } catch (...) {
        logNdi(Log::Error, "Error while receiving tracking data.");
    }
    return WorkContinuation{nextCall, 1};
}

/// Nothing when there is no new frame.
template <int N>
auto PolarisAuroraTrackingStream<N>::measure() -> std::optional<Measured> {
    const Lock lock(connection->connectionLock);
    if (connection->device == nullptr)
        return std::nullopt;
    Measurement measurement(*connection, *instrumentRegistry);
    const unsigned binaryOptions = isOptical ? opticalBinaryOptions : auroraBinaryOptions;
    if (!measurement.query(binaryOptions) || !measurement.isNewFrame())
        return std::nullopt;
    Measured measured{measurement.strayMarkers(), millisecondsNow()};
    measurement.updateInstruments(measured.timestamp);
    return measured;
}

template class PolarisAuroraTrackingStream<NDIDeviceFamily::PolarisVicra>;
template class PolarisAuroraTrackingStream<NDIDeviceFamily::PolarisVega>;
template class PolarisAuroraTrackingStream<NDIDeviceFamily::Aurora>;

} // namespace Morvalin
