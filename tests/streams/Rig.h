#pragma once

#include "protocol/probe.h"
#include "protocol/transport.h"
#include "simulator/Simulator.h"
#include "streams/PolarisAuroraTrackingStream.h"
#include "tests/host/LogCapture.h"
#include "tests/lib/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Morvalin {

using Lines = std::vector<std::string>;

constexpr int Vicra = NDIDeviceFamily::PolarisVicra;
constexpr int Vega = NDIDeviceFamily::PolarisVega;
constexpr int Aurora = NDIDeviceFamily::Aurora;

template <int N>
constexpr ndisim::Family family() {
    return N == Vega    ? ndisim::Family::Vega
           : N == Vicra ? ndisim::Family::Vicra
                        : ndisim::Family::Aurora;
}

/// Serial port names stand for nothing, whatever this machine has, but for the one given.
inline void assignSerialPort(int index = -1, const std::filesystem::path& link = {}) {
    for (int i = 0; i < 20; ++i)
        serialAssignPort(i, i == index ? link.c_str() : "/nonexistent/port");
}

/// Commands with runs of tool definition chunks made short: "16 x PVWR:0A".
inline Lines summarized(const Lines& commands) {
    Lines summary;
    int chunks = 0;
    for (const std::string& command : commands) {
        if (command == "CONNECT")
            continue;
        if (!command.starts_with("PVWR:")) {
            summary.push_back(command);
            chunks = 0;
            continue;
        }
        const std::string handle = command.substr(0, command.size() - 4 - 128);
        if (chunks++ == 0)
            summary.emplace_back();
        summary.back() = std::to_string(chunks) + " x " + handle;
    }
    return summary;
}

/// A simulated device and a stream that is set to it; the third serial port for the serial
/// families. The device's frames advance only when told to.
template <int N>
class Rig {
public:
    explicit Rig(ndisim::DeviceOptions device = {}, const Lines& faults = {}) :
        simulator(simulatorOptions(std::move(device))),
        owned(std::make_unique<PolarisAuroraTrackingStream<N>>()), stream(*owned) {
        for (const std::string& fault : faults)
            simulator.addFault(std::string_view(fault));
        simulator.start();
        if (N == Vega) {
            stream.setHardwareDevice("127.0.0.1");
            stream.setHardwareIPPort(simulator.port());
        } else {
            protocol::probeAnswerMs = 5000;
            assignSerialPort(2, simulator.address());
            stream.setHardwareDevice("COM3");
        }
    }

    void nextFrame() { now->fetch_add(1'000'000'000); }

    std::string addTool(const std::string& name, const std::string& partNumber, int port = 1) {
        const std::string path = folder.writeTool(name, partNumber);
        stream.registerTool({name, path, port, -1});
        return path;
    }

    /// What the device was sent since the last call.
    Lines takeCommands() {
        const Lines commands = summarized(simulator.commands());
        simulator.clearLog();
        return commands;
    }

    std::vector<TrackingInstrument> instruments() const {
        return stream.instruments()->instruments();
    }

private:
    ndisim::SimulatorOptions simulatorOptions(ndisim::DeviceOptions device) {
        ndisim::SimulatorOptions options;
        device.family = family<N>();
        device.rateHz = 1;
        options.device = std::move(device);
        if (N != Vega)
            options.address = ndisim::PtyAddress{folder.path / "line"};
        options.clock = [time = now] { return std::chrono::nanoseconds(time->load()); };
        return options;
    }

    std::shared_ptr<std::atomic<std::int64_t>> now = std::make_shared<std::atomic<std::int64_t>>(0);

public:
    TemporaryFolder folder;
    LogCapture log;
    ndisim::Simulator simulator;
    std::unique_ptr<PolarisAuroraTrackingStream<N>> owned;
    PolarisAuroraTrackingStream<N>& stream;
};

} // namespace Morvalin
