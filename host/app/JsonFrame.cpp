#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include <nlohmann/json.hpp>

#include "app/FrameFormat.h"
#include <morvalinstream/TrackingInstrumentFiducialsData.h>

namespace Morvalin::App {

namespace {

using Fiducials = TrackingInstrumentFiducialsData;

template <class Integer>
void appendInteger(std::string& text, Integer value) {
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    text.append(digits, end);
}

/// The shortest text that reads back as the same double, always recognisable as a fraction, so that
/// readers with typed numbers see one type and -0.0 keeps its sign.
void appendNumber(std::string& text, double value) {
    if (!std::isfinite(value)) {
        text += "null";
        return;
    }
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    const std::string_view number(digits, static_cast<std::size_t>(end - digits));
    text += number;
    if (number.find_first_of(".e") == std::string_view::npos)
        text += ".0";
}

bool isPlain(char c) {
    return c >= ' ' && c <= '~' && c != '"' && c != '\\';
}

void appendText(std::string& text, const std::string& value) {
    if (!std::all_of(value.begin(), value.end(), isPlain)) {
        using Json = nlohmann::json;
        text += Json(value).dump(-1, ' ', false, Json::error_handler_t::replace);
        return;
    }
    text += '"';
    text += value;
    text += '"';
}

void appendNumbers(std::string& text, const double* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        text += i == 0 ? '[' : ',';
        appendNumber(text, values[i]);
    }
    text += ']';
}

void appendInstrument(std::string& text, const TrackingInstrument& instrument) {
    text += R"({"id":)";
    appendText(text, instrument.trackerId.ID);
    text += R"(,"name":)";
    appendText(text, instrument.trackerId.name);
    text += R"(,"model":)";
    appendText(text, instrument.trackerId.modelNumber);
    text += R"(,"type":)";
    appendText(text, instrument.toolType);
    text += instrument.active ? R"(,"active":true)" : R"(,"active":false)";
    text += R"(,"quality":)";
    appendNumber(text, instrument.quality);
    text += R"(,"timestamp":)";
    appendInteger(text, instrument.timestamp);
    text += R"(,"matrix":)";
    appendNumbers(text, instrument.matrix.data(), 16);
    text += '}';
}

void appendInstruments(std::string& text, const TrackingStreamData& frame) {
    const char* separator = "";
    for (const TrackingInstrument& instrument : frame.instruments) {
        text += separator;
        appendInstrument(text, instrument);
        separator = ",";
    }
}

void appendFiducials(std::string& text, const TrackingStreamData& frame) {
    const char* separator = "";
    for (const auto& component : frame.components()) {
        const auto* const fiducials = dynamic_cast<const Fiducials*>(component.get());
        if (fiducials == nullptr)
            continue;
        const std::size_t count =
            std::min(fiducials->positions.size(), fiducials->identifiers.size());
        for (std::size_t i = 0; i < count; ++i) {
            text += separator;
            text += R"({"id":)";
            appendInteger(text, fiducials->identifiers[i]);
            text += R"(,"position":)";
            appendNumbers(text, fiducials->positions[i].data(), 3);
            text += '}';
            separator = ",";
        }
    }
}

} // namespace

void appendJsonFrame(std::string& text, const std::string& label, std::uint64_t index,
                     const TrackingStreamData& frame) {
    text += R"({"stream":)";
    appendText(text, label);
    text += R"(,"frame":)";
    appendInteger(text, index);
    text += R"(,"timestamp":)";
    appendInteger(text, frame.timestamp);
    text += R"(,"main":)";
    appendText(text, frame.mainId);
    text += R"(,"instruments":[)";
    appendInstruments(text, frame);
    text += R"(],"fiducials":[)";
    appendFiducials(text, frame);
    text += "]}\n";
}

} // namespace Morvalin::App
