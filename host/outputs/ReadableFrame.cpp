#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include <Eigen/Geometry>

#include "outputs/TextOutput.h"
#include <morvalincore/ControlCharacters.h>
#include <morvalinstream/TrackingInstrumentFiducialsData.h>

namespace Morvalin::App {

namespace {

#if defined(__GNUC__)
#define MORVALIN_PRINTF_FORMAT __attribute__((format(printf, 2, 3)))
#else
#define MORVALIN_PRINTF_FORMAT
#endif

/// Appends what printf would print, of which the numbers never need more than the buffer.
MORVALIN_PRINTF_FORMAT void appendFormatted(std::string& text, const char* format, ...) {
    char buffer[256];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    if (length > 0)
        text.append(buffer,
                    std::min<std::size_t>(static_cast<std::size_t>(length), sizeof buffer - 1));
}

/// Text from a device, with what a terminal could take for a command made visible.
void appendPadded(std::string& text, const std::string& value, std::size_t width) {
    for (const char c : value)
        text += isControlCharacter(c) ? '?' : c;
    text.append(width > value.size() ? width - value.size() : 0, ' ');
}

void appendTimeOfDay(std::string& text, std::int64_t milliseconds) {
    constexpr std::int64_t day = 24LL * 60 * 60 * 1000;
    const std::int64_t ofDay = ((milliseconds % day) + day) % day;
    const std::chrono::hh_mm_ss time{std::chrono::milliseconds(ofDay)};
    appendFormatted(text, "%02d:%02d:%02d.%03d UTC", static_cast<int>(time.hours().count()),
                    static_cast<int>(time.minutes().count()),
                    static_cast<int>(time.seconds().count()),
                    static_cast<int>(time.subseconds().count()));
}

std::size_t countStrays(const TrackingStreamData& frame) {
    std::size_t count = 0;
    for (const auto& component : frame.components()) {
        const auto* const fiducials =
            dynamic_cast<const TrackingInstrumentFiducialsData*>(component.get());
        if (fiducials != nullptr)
            count += fiducials->positions.size();
    }
    return count;
}

/// Millimetres in a column; what no tracker measures may be wider.
void appendMillimetres(std::string& text, const char* axis, double value) {
    const bool fits = std::abs(value) < 1e7;
    appendFormatted(text, fits ? "%s %9.3f  " : "%s %9.3e  ", axis, value);
}

void appendPose(std::string& text, const Matrix4& matrix) {
    appendMillimetres(text, "x", matrix(0, 3));
    appendMillimetres(text, "y", matrix(1, 3));
    appendMillimetres(text, "z", matrix(2, 3));
    const Eigen::Matrix3d rotation = matrix.topLeftCorner<3, 3>();
    const Eigen::Quaterniond q(rotation);
    appendFormatted(text, "mm  q %7.4f %7.4f %7.4f %7.4f", q.w(), q.x(), q.y(), q.z());
}

/// Widths of the columns that depend on the frame.
struct Columns {
    explicit Columns(const TrackingStreamData& frame) {
        for (const TrackingInstrument& instrument : frame.instruments) {
            id = std::max(id, instrument.trackerId.ID.size());
            name = std::max(name, instrument.trackerId.name.size());
            type = std::max(type, instrument.toolType.size());
        }
    }
    std::size_t id = 0;
    std::size_t name = 0;
    std::size_t type = 0;
};

void appendInstrument(std::string& text, const TrackingInstrument& instrument, bool isMain,
                      const Columns& columns) {
    text += isMain ? "  * " : "    ";
    appendPadded(text, instrument.trackerId.ID, columns.id + 2);
    appendPadded(text, instrument.trackerId.name, columns.name + 2);
    appendPadded(text, instrument.toolType, columns.type + 2);
    if (!instrument.active) {
        text += "inactive";
    } else if (instrument.quality == 0.0) {
        text += "not visible";
    } else {
        appendPose(text, instrument.matrix);
        appendFormatted(text, "  quality %6.3f", instrument.quality);
    }
    text += '\n';
}

} // namespace

std::string readableFrame(const std::string& stream, std::uint64_t index,
                          const TrackingStreamData& frame) {
    std::string text;
    appendPadded(text, stream, stream.size() + 2);
    appendFormatted(text, "frame %llu  ", static_cast<unsigned long long>(index));
    appendTimeOfDay(text, frame.timestamp);
    text += "  instruments " + std::to_string(frame.instruments.size()) + "  strays " +
            std::to_string(countStrays(frame)) + '\n';
    const Columns columns(frame);
    for (const TrackingInstrument& instrument : frame.instruments)
        appendInstrument(text, instrument, instrument.trackerId.ID == frame.mainId, columns);
    return text;
}

} // namespace Morvalin::App
