#include <array>
#include <charconv>
#include <cmath>

#include <Eigen/Geometry>
#include <nlohmann/json.hpp>

#include "outputs/TextOutput.h"
#include <morvalincore/ControlCharacters.h>

namespace Morvalin::App {

namespace {

constexpr double rmsOfWorst = 10.0; ///< millimetres; the quality counts down from 1 to 0 on the way

/// Text from a device: one line of UTF-8, in quotes where its characters mean something.
std::string field(const std::string& value) {
    using Json = nlohmann::json;
    const std::string quoted = Json(value).dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string text = Json::parse(quoted).get<std::string>();
    replaceControlCharacters(text, ' ');
    if (text.find_first_of(",\"") == std::string::npos)
        return text;
    std::string result = "\"";
    for (const char c : text)
        result += c == '"' ? std::string("\"\"") : std::string(1, c);
    return result + '"';
}

/// The shortest text that reads back as the same number; nothing for what is none.
void appendNumber(std::string& row, double number) {
    row += ',';
    if (!std::isfinite(number))
        return;
    std::array<char, 32> text;
    row.append(text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr);
}

void appendPose(std::string& row, const Matrix4& matrix) {
    for (int axis = 0; axis < 3; ++axis)
        appendNumber(row, matrix(axis, 3));
    const Eigen::Matrix3d rotation = matrix.topLeftCorner<3, 3>();
    const Eigen::Quaterniond q = Eigen::Quaterniond(rotation).normalized();
    for (const double number : {q.w(), q.x(), q.y(), q.z()})
        appendNumber(row, number);
}

void appendInstrument(std::string& rows, const TrackingInstrument& instrument) {
    const bool isVisible = instrument.active && instrument.quality != 0.0;
    rows += field(instrument.trackerId.ID) + ',' + field(instrument.trackerId.name);
    rows += instrument.active ? ",true" : ",false";
    rows += isVisible ? ",true" : ",false";
    if (isVisible)
        appendPose(rows, instrument.matrix);
    else
        rows += ",,,,,,,";
    appendNumber(rows, instrument.quality);
    if (isVisible)
        appendNumber(rows, (1.0 - instrument.quality) * rmsOfWorst);
    else
        rows += ',';
    rows += '\n';
}

} // namespace

std::string csvFrame(const std::string& stream, std::uint64_t index,
                     const TrackingStreamData& frame) {
    const std::string start =
        std::to_string(frame.timestamp) + ',' + field(stream) + ',' + std::to_string(index) + ',';
    std::string rows;
    for (const TrackingInstrument& instrument : frame.instruments) {
        rows += start;
        appendInstrument(rows, instrument);
    }
    return rows;
}

} // namespace Morvalin::App
