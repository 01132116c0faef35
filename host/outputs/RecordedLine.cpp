#include "outputs/RecordedLine.h"

#include <limits>
#include <span>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "outputs/EventNames.h"
#include <morvalinstream/TrackingInstrumentFiducialsData.h>

namespace Morvalin::App {

namespace {

using Json = nlohmann::json;

/// Nothing of ours is deeper.
constexpr int deepest = 5;

/// Some 270000 years, so that times can be subtracted.
constexpr std::int64_t latestTime = 8'640'000'000'000'000;

[[noreturn]] void refuseMember(const char* name, const char* expected) {
    throw std::runtime_error(std::string("\"") + name + "\" must be " + expected);
}

const Json& member(const Json& object, const char* name) {
    const auto found = object.is_object() ? object.find(name) : object.end();
    if (found == object.end())
        throw std::runtime_error(std::string("is no frame and no event: there is no \"") + name +
                                 "\"");
    return *found;
}

std::string text(const Json& object, const char* name) {
    const Json& value = member(object, name);
    if (!value.is_string())
        refuseMember(name, "a text");
    return value.get<std::string>();
}

bool truth(const Json& object, const char* name) {
    const Json& value = member(object, name);
    if (!value.is_boolean())
        refuseMember(name, "true or false");
    return value.get<bool>();
}

std::uint64_t count(const Json& object, const char* name, std::uint64_t largest) {
    const Json& value = member(object, name);
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > largest)
        refuseMember(name, "a whole number from 0 that is not too large");
    return value.get<std::uint64_t>();
}

std::int64_t time(const Json& object) {
    return static_cast<std::int64_t>(count(object, "timestamp", latestTime));
}

double number(const Json& value, const char* name) {
    if (value.is_null())
        return std::numeric_limits<double>::quiet_NaN();
    if (!value.is_number())
        refuseMember(name, "a number or null");
    return value.get<double>();
}

/// As many numbers as `numbers` has room for.
template <class Numbers>
void readNumbers(const Json& object, const char* name, Numbers&& numbers) {
    const Json& list = member(object, name);
    const auto expected = static_cast<std::size_t>(numbers.size());
    if (!list.is_array() || list.size() != expected)
        refuseMember(name, ("a list of " + std::to_string(expected) + " numbers").c_str());
    for (std::size_t i = 0; i < expected; ++i)
        numbers.data()[i] = number(list[i], name);
}

const Json& list(const Json& object, const char* name) {
    const Json& value = member(object, name);
    if (!value.is_array())
        refuseMember(name, "a list");
    return value;
}

TrackingInstrument readInstrument(const Json& object) {
    TrackingInstrument instrument;
    instrument.trackerId = {text(object, "id"), text(object, "name"), text(object, "model")};
    instrument.toolType = text(object, "type");
    instrument.active = truth(object, "active");
    instrument.quality = number(member(object, "quality"), "quality");
    instrument.timestamp = time(object);
    readNumbers(object, "matrix", std::span(instrument.matrix.data(), 16));
    return instrument;
}

std::unique_ptr<const TrackingStreamData> readFrame(const Json& object) {
    auto frame = std::make_unique<TrackingStreamData>();
    frame->streamName = text(object, "stream");
    frame->timestamp = time(object);
    frame->mainId = text(object, "main");
    for (const Json& instrument : list(object, "instruments"))
        frame->instruments.push_back(readInstrument(instrument));
    auto fiducials = std::make_unique<TrackingInstrumentFiducialsData>();
    for (const Json& fiducial : list(object, "fiducials")) {
        fiducials->identifiers.push_back(
            count(fiducial, "id", std::numeric_limits<std::uint64_t>::max()));
        readNumbers(fiducial, "position", fiducials->positions.emplace_back());
    }
    frame->addComponent(std::move(fiducials));
    return frame;
}

StreamEvent readEvent(const Json& object) {
    using Kind = StreamEvent::Kind;
    StreamEvent event;
    event.kind = eventKind(text(object, "event"));
    event.timestamp = time(object);
    if (event.kind == Kind::Stalled || event.kind == Kind::Resumed)
        event.gap = number(member(object, "gap"), "gap");
    if (event.kind == Kind::Reconnecting) {
        event.attempt =
            static_cast<unsigned>(count(object, "try", std::numeric_limits<unsigned>::max()));
        event.pause = number(member(object, "pause"), "pause");
    }
    if (event.kind == Kind::Closed || event.kind == Kind::Stalled ||
        event.kind == Kind::Reconnecting)
        event.reason = text(object, "reason");
    if (event.kind == Kind::Tool) {
        event.tool = {text(object, "id"), text(object, "name"), {}};
        event.isActive = truth(object, "active");
    }
    return event;
}

Json parse(std::string_view line) {
    try {
        return Json::parse(line, [](int depth, Json::parse_event_t, const Json&) {
            if (depth > deepest)
                throw std::runtime_error("is no frame and no event: too many brackets");
            return true;
        });
    } catch (const Json::exception&) {
        throw std::runtime_error("is no frame and no event: no JSON that can be read");
    }
}

} // namespace

RecordedLine readRecordedLine(std::string_view line) {
    const Json object = parse(line);
    RecordedLine result;
    result.stream = text(object, "stream");
    if (object.contains("event")) {
        result.event = readEvent(object);
        return result;
    }
    result.index = count(object, "frame", std::numeric_limits<std::uint64_t>::max());
    result.frame = readFrame(object);
    return result;
}

} // namespace Morvalin::App
