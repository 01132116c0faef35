#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <morvalincore/Describable.h>
#include <morvalincore/Diagnosable.h>

#include "streams/Guarded.h"
#include "streams/NDIConnectionData.h"
#include "streams/NDITrackingInstrumentInfo.h"
#include "streams/NDITrackingStream.h"
#include "streams/ThreadSafeInstruments.h"

namespace Morvalin {

class TrackingInstrumentFiducialsData;
struct ToolSetup;

/// The families of devices: the template parameter of PolarisAuroraTrackingStream, and the values
/// of the "systemType" that older workspaces saved.
namespace NDIDeviceFamily {
constexpr int PolarisVicra = 0; ///< Polaris Vicra and Spectra: optical, serial line
constexpr int PolarisVega = 1;  ///< Polaris Vega and Lyra: optical, TCP
constexpr int Aurora = 2;       ///< Aurora: electromagnetic, serial line
} // namespace NDIDeviceFamily

/// The stream of one NDI device of family N. Instantiated for the three NDIDeviceFamily values.
///
/// Address: the serial families take a port name ("COM1" to "COM9", "\\.\COM10" to "\\.\COM20") or,
/// to search all twenty ports, an empty text or one with "auto" in it; the port that was found
/// then replaces it. The network family takes an IPv4 address and a TCP port.
///
/// Tools: an optical device measures the tools whose definition files were registered before the
/// stream was opened; ids are their part numbers. Without any it still reports bare markers. A tool
/// for which the device gives no handle or refuses the definition is left out, with an error in the
/// log; the others are not affected.
///
/// An Aurora measures what is plugged in; ids are physical port, dash and part number, and a stream
/// without any tool does not open. A tool whose information cannot be read has an empty part number
/// and the type "Unknown". A definition registered for a physical port goes to the port handle of
/// its own entry, not to that of the tool in the port. Nothing but registerTool() sets that handle:
/// while it is -1, the device refuses the definition, and the tool in that port is listed but never
/// measured; if it becomes the main instrument, as the first one listed does, no frame of any tool
/// comes. So do not register definitions for an Aurora; a warning in the log names those that cost
/// a tool.
///
/// A stream that failed to open may keep its connection to the device; opening it again or
/// destroying it lets go of that first.
///
/// Running, the stream hands out a TrackingStreamData for every new measurement of the main
/// instrument (for every answer while there are no instruments), with a
/// TrackingInstrumentFiducialsData for the markers that belong to no tool. The device is asked
/// every 5 ms. Errors never end the stream: they are logged under "NDI" as the device or the
/// connection reports them, and frames resume when answers are good again. An exchange that failed
/// gives no frame, with or without instruments, and changes none of them.
///
/// In a frame
/// - a tool that the device does not see has the identity for a pose and quality 0; it stays active
///   and has a pose again when it is seen again;
/// - a tool that the device reports as disabled, or not at all, has the same and becomes inactive:
///   it is left as it is until somebody calls setActive() on instruments();
/// - whatever is active was measured in it and has its timestamp. A tool that is set active while a
///   frame is being made is inactive in that one;
/// - only the main instrument decides whether there is one. While it is disabled or pulled out, no
///   frame of any tool comes: make another one the main instrument. One that becomes the main
///   instrument between two measurements may bring the same measurement once more.
///
/// Threads: everything public but the hooks may be called from any thread at any time. The hooks
/// belong to the host, which runs one at a time. The settings take effect at the next open, except
/// setBinaryQueryMode(), which the next measurement obeys.
template <int N>
class PolarisAuroraTrackingStream : public NDITrackingStream,
                                    public Diagnosable,
                                    public Describable {
public:
    /// How devices of a family are connected.
    using ConnectionType = NDIConnectionData::ConnectionType;

    /// "NDI Polaris Tracking Stream" or "NDI Aurora Tracking Stream".
    PolarisAuroraTrackingStream();
    explicit PolarisAuroraTrackingStream(std::string name);
    /// Closes the stream. Nobody may use it any more.
    ~PolarisAuroraTrackingStream() override;

    /// "PolarisAuroraTrackingStream", for every family.
    std::string uuid() const override;

    bool isInitialized() const override;

    // Connection

    ConnectionType connectionType() const;
    std::string hardwareDevice() const;
    void setHardwareDevice(const std::string& device);
    std::int32_t hardwareIPPort() const;
    void setHardwareIPPort(std::int32_t port);

    /// Whether measurements are asked for in binary form (the default) or as text, which is slower
    /// and rounds to 0.01 mm.
    void setBinaryQueryMode(bool binary);

    // Choices, refused with an error in the log while the stream is open

    /// Link speeds of the serial families, in baud; none for the network family.
    std::vector<std::string> measurementRateOptions() const override;
    std::int32_t measurementRate() const override;
    /// An index that is none of the options is ignored.
    void setMeasurementRate(std::int32_t index) override;

    /// Operating volumes of the device, known after the stream was opened once. This and
    /// configuration() wait for the exchange under way with the device (up to 5 s on a serial line
    /// that is silent), and while the stream is being opened for all of that.
    std::vector<std::string> maxRangeOptions() const override;
    std::int32_t maxRange() const override;
    /// Negative indices are ignored. Others are stored as they are, since the volumes may not be
    /// known yet; the device refuses those that it does not have.
    void setMaxRange(std::int32_t index) override;

    // Tools

    /// Adds a tool definition file, which is loaded when the stream is opened. The list survives
    /// closing. See above for why an Aurora loses a tool by it.
    void registerTool(const NDITrackingInstrumentInfo& tool);

    // Configurable

    /// Reads "measurementRate", "hardwareDevice", "hardwarePort", "binaryQueryMode",
    /// "TrackingTargets" (replaces the registered tools) and "selectedInstrument" (becomes the main
    /// instrument when the stream is opened), besides the base's. Missing keys change nothing.
    void configure(const Properties* properties) override;
    /// Writes them. An address that cannot be one of this family is cleared, also in the stream.
    /// Waits as maxRangeOptions() does.
    void configuration(Properties* properties) override;

    // Describable

    std::vector<SettingDescription> describeSettings() const override;

    // Diagnosable

    /// The stored replies of the device, an item a line.
    std::string stateDump() override;
    /// Waits while the stream is being opened.
    void setTraceSink(TraceSink sink) override;
    Waiting waiting() const override;

    // Hooks of the host

    bool openImpl() override;
    bool closeImpl() override;
    bool startImpl() override;
    bool stopImpl() override;
    std::optional<WorkContinuation> doWork() override;

protected:
    /// Searches the serial ports and stores the name of the first with a device; false, with
    /// nothing stored, when there is none.
    bool probeHardwareDevices();
    /// These three talk to the device: the caller holds the connection lock.
    void queryOperatingVolumes();
    void initializeOpticalTools();
    void queryTools();

private:
    static constexpr bool isSerial = N != NDIDeviceFamily::PolarisVega;
    static constexpr bool isOptical = N != NDIDeviceFamily::Aurora;

    /// What a frame holds besides the instruments.
    struct Measured {
        std::unique_ptr<TrackingInstrumentFiducialsData> markers;
        std::int64_t timestamp;
    };

    bool bringUp();
    bool checkInstruments() const;
    ToolSetup toolSetup();
    void sendUnderLock(const char* command);
    std::optional<Measured> measure();

    const std::unique_ptr<NDIConnectionData> connection;
    const std::vector<std::int32_t> linkSpeeds; ///< baud, by measurement rate
    const std::shared_ptr<ThreadSafeInstruments<NDITrackingInstrumentInfo>> instrumentRegistry;
    Guarded<std::vector<NDITrackingInstrumentInfo>> registeredTools;
    Guarded<std::optional<std::string>> pendingMainId; ///< main instrument to restore at open
};

extern template class PolarisAuroraTrackingStream<NDIDeviceFamily::PolarisVicra>;
extern template class PolarisAuroraTrackingStream<NDIDeviceFamily::PolarisVega>;
extern template class PolarisAuroraTrackingStream<NDIDeviceFamily::Aurora>;

} // namespace Morvalin
