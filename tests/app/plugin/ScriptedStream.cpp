#include "tests/app/plugin/ScriptedStream.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>

#include <morvalinstream/TrackingInstrumentFiducialsData.h>

namespace Scripted {

using namespace Morvalin;

namespace {

TrackingInstrument makeProbe(std::int32_t padding) {
    TrackingInstrument probe;
    probe.trackerId = {"probe", "Sonde \"\xC3\xA4\" \\", std::string(padding, 'm')};
    probe.toolType = "Probe";
    probe.active = true;
    probe.quality = 0.1 + 0.2;
    probe.timestamp = 1700000000123;
    // clang-format off
    probe.matrix << 0.0, -1.0, 0.0, 1.0 / 3.0,
                    1.0, -0.0, 0.0, 5e-324,
                    0.0,  0.0, 1.0, -1.7976931348623157e308,
                    0.0,  0.0, 0.0, 1.0;
    // clang-format on
    return probe;
}

TrackingInstrument makeBroken() {
    TrackingInstrument broken;
    broken.trackerId = {"broken\xFF", "tab\there", ""};
    broken.active = false;
    broken.quality = std::numeric_limits<double>::quiet_NaN();
    broken.matrix(0, 0) = std::numeric_limits<double>::infinity();
    return broken;
}

std::unique_ptr<Data> makeFiducials() {
    auto fiducials = std::make_unique<TrackingInstrumentFiducialsData>();
    fiducials->positions = {{1.5, -2.25, 1e-7}, {0.0, 100.0, 1e22}};
    fiducials->identifiers = {0xCBF29CE484222325u, 1};
    return fiducials;
}

} // namespace

void trace(const std::string& line) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    if (const char* const path = std::getenv("SCRIPTED_TRACE"))
        std::ofstream(path, std::ios::app) << line + "\n";
}

ScriptedStream::ScriptedStream() : TrackingStream("Scripted") {}

ScriptedStream::~ScriptedStream() {
    close();
    trace(device + " destroyed");
}

void ScriptedStream::configure(const Properties* properties) {
    if (properties == nullptr)
        return;
    properties->param("hardwareDevice", device);
    properties->param("measurementRate", rate);
    properties->param("canOpen", canOpen);
    properties->param("canStart", canStart);
    properties->param("silent", isSilent);
    properties->param("gate", gate);
    properties->param("padding", padding);
    properties->param("maxRange", maxRange);
    if (const Properties* const block = properties->subProperties("TrackingTargets"))
        targets.copyFrom(*block);
    if (properties->hasParam("mystery"))
        trace(device + " mystery");
}

void ScriptedStream::configuration(Properties* properties) {
    if (properties == nullptr)
        return;
    properties->setParam("hardwareDevice", device);
    properties->setParam("measurementRate", rate);
    properties->setParamType("measurementRate", Properties::choiceParameterType);
    properties->setParamAttribute("measurementRate", "values", "slow, medium, fast");
    properties->setParam("canOpen", canOpen);
    properties->setParam("canStart", canStart);
    properties->setParam("silent", isSilent);
    properties->setParam("gate", gate);
    properties->setParam("padding", padding);
    if (hasBeenOpen)
        properties->setParam("maxRange", maxRange);
    // What a device set up is lost when the stream is closed.
    if (state() == Running)
        properties->setParam("selectedInstrument", "probe");
    properties->addSubProperties("TrackingTargets").copyFrom(targets);
}

bool ScriptedStream::openImpl() {
    trace(device + " open");
    for (const Properties& tool : targets.children()) {
        std::string path;
        std::int32_t port = -1;
        tool.param("Path", path);
        tool.param("Port", port);
        trace(device + " tool " + tool.name() + " " + path + " " + std::to_string(port));
    }
    while (!gate.empty() && !std::filesystem::exists(gate))
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    hasBeenOpen = canOpen;
    return canOpen;
}

bool ScriptedStream::closeImpl() {
    trace(device + " close");
    return true;
}

bool ScriptedStream::startImpl() {
    trace(device + " start");
    return canStart;
}

bool ScriptedStream::stopImpl() {
    trace(device + " stop");
    return true;
}

std::optional<Stream::WorkContinuation> ScriptedStream::doWork() {
    const auto begin = std::chrono::system_clock::now();
    if (!isSilent) {
        auto frame = std::make_shared<TrackingStreamData>();
        frame->streamName = name();
        frame->mainId = "probe";
        frame->timestamp = 1700000000123;
        frame->instruments = {makeProbe(padding), makeBroken()};
        frame->addComponent(makeFiducials());
        output(frame);
    }
    return WorkContinuation{begin + std::chrono::milliseconds(2), 1};
}

} // namespace Scripted
