#include "simulator/DeviceCore.h"

#include <algorithm>

namespace ndisim {

namespace {

constexpr std::size_t partNumberOffset = 592;

constexpr unsigned occupiedBit = 0x01;
constexpr unsigned initialisedBit = 0x10;
constexpr unsigned enabledBit = 0x20;
constexpr unsigned outOfVolumeBit = 0x40;

} // namespace

void ToolImage::store(std::size_t block, std::string_view content) {
    // The first block begins a new image, whatever was there before.
    if (block == 0) {
        arrived.reset();
    }
    std::copy_n(content.begin(), blockSize,
                bytes.begin() + static_cast<std::ptrdiff_t>(block * blockSize));
    arrived.set(block);
}

bool ToolImage::isBlank() const {
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

std::string ToolImage::partNumber() const {
    const auto begin = bytes.begin() + partNumberOffset;
    return {begin, std::find(begin, bytes.end(), std::uint8_t{0})};
}

bool PortHandle::isOccupied() const {
    return !isGone && (isWired ? tool.isOccupied : image.isWhole());
}

unsigned PortHandle::status() const {
    return (isOccupied() ? occupiedBit : 0) | (isOccupied() && isInitialised ? initialisedBit : 0) |
           (isOccupied() && isEnabled ? enabledBit : 0);
}

std::string PortHandle::partNumber() const {
    return image.isWhole() ? image.partNumber() : tool.partNumber;
}

std::vector<Volume> DeviceCore::volumes() const {
    return options.volumes.empty() ? familyVolumes(options.family) : options.volumes;
}

void DeviceCore::powerOn() {
    state = DeviceState::PowerOn;
    link = {};
    handles.clear();
    volume = 1;
    framesBefore = 0;
}

// Handles without a cable end with INIT but stay assigned until the host frees them; plugged tools
// keep theirs and have to be initialised again.
void DeviceCore::initialise() {
    stopTracking();
    state = DeviceState::Initialised;
    for (auto& [number, handle] : handles) {
        handle.isGone = handle.isGone || !handle.isWired;
        handle.isInitialised = false;
        handle.isEnabled = false;
    }
    for (const auto& tool : options.tools) {
        if (findWired(tool.port) == nullptr) {
            assignWired(tool);
        }
    }
}

void DeviceCore::startTracking(bool isCountedAnew) {
    if (isCountedAnew) {
        framesBefore = 0;
    }
    trackingSince = clock();
    state = DeviceState::Tracking;
}

void DeviceCore::stopTracking() {
    framesBefore = frameNumber();
    if (state == DeviceState::Tracking) {
        state = DeviceState::Initialised;
    }
}

std::uint32_t DeviceCore::frameNumber() const {
    if (state != DeviceState::Tracking) {
        return framesBefore;
    }
    const double rate = options.rateHz > 0 ? options.rateHz : factsOf(options.family).rateHz;
    // Multiplied first: whole frame intervals then divide without a rest.
    const double elapsed = static_cast<double>((clock() - trackingSince).count()) * rate / 1e9;
    return framesBefore + 1 + static_cast<std::uint32_t>(elapsed);
}

Measurement DeviceCore::measure(bool withOutOfVolume) const {
    Measurement measurement;
    measurement.frame = frameNumber();
    for (const auto& [number, handle] : handles) {
        if (handle.isInitialised) {
            measurement.tools.push_back(measureTool(handle, measurement.frame, withOutOfVolume));
        }
    }
    for (unsigned k = 0; k < options.strays; ++k) {
        measurement.strays.push_back(strayPosition(options.family, k));
    }
    return measurement;
}

ToolMeasurement DeviceCore::measureTool(const PortHandle& handle, std::uint32_t frame,
                                        bool withOutOfVolume) const {
    ToolMeasurement tool;
    tool.handle = handle.number;
    tool.frame = frame;
    tool.portStatus = handle.status();
    const int place = placeOfHandle(handle.number);
    const auto condition = conditionOf(place, frame);
    if (!handle.isOccupied()) {
        tool.status = ToolStatus::Unoccupied;
    } else if (!handle.isEnabled || condition == ToolCondition::Disabled) {
        tool.status = ToolStatus::Disabled;
    } else if (condition == ToolCondition::Missing) {
        tool.status = ToolStatus::Missing;
    } else if (condition == ToolCondition::OutOfVolume) {
        tool.status = withOutOfVolume ? ToolStatus::Valid : ToolStatus::Missing;
        tool.portStatus |= outOfVolumeBit;
    }
    if (tool.status != ToolStatus::Valid) {
        return tool;
    }
    tool.pose = pathPose(options.family, place, frame);
    for (unsigned k = 0; k < options.markersPerTool && !isWiredFamily(); ++k) {
        tool.markers.push_back(markerPosition(tool.pose, k));
    }
    if (options.hasSingleStray) {
        const auto& p = tool.pose.position;
        tool.singleStray = Position{p[0] + 10, p[1] + 20, p[2] + 30};
    }
    return tool;
}

std::optional<ToolCondition> DeviceCore::conditionOf(int place, std::uint32_t frame) const {
    for (const auto& rule : options.toolStates) {
        if (rule.applies(place, frame)) {
            return rule.condition;
        }
    }
    return std::nullopt;
}

PortHandle& DeviceCore::assignWired(const WiredTool& tool) {
    PortHandle handle;
    handle.number = firstHandle + tool.port - 1;
    handle.isWired = true;
    handle.tool = tool;
    return handles[handle.number] = std::move(handle);
}

PortHandle* DeviceCore::assignWireless() {
    for (int number = firstHandle; number < firstHandle + options.maxHandles; ++number) {
        if (!handles.contains(number)) {
            auto& handle = handles[number];
            handle.number = number;
            return &handle;
        }
    }
    return nullptr;
}

const ToolImage* DeviceCore::loadedImage(int handle) const {
    const auto found = handles.find(handle);
    return found != handles.end() && found->second.image.isWhole() ? &found->second.image : nullptr;
}

PortHandle* DeviceCore::findWired(int port) {
    const auto found = handles.find(firstHandle + port - 1);
    return found != handles.end() && found->second.isWired ? &found->second : nullptr;
}

} // namespace ndisim
