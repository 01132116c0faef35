#include <nlohmann/json.hpp>

#include "outputs/EventNames.h"
#include "outputs/TextOutput.h"

namespace Morvalin::App {

namespace {

using Json = nlohmann::ordered_json; // members stay in the order in which they are named
using Kind = StreamEvent::Kind;

} // namespace

std::string jsonEvent(const std::string& stream, const StreamEvent& event) {
    Json object{
        {"event", eventName(event.kind)}, {"stream", stream}, {"timestamp", event.timestamp}};
    if (event.kind == Kind::Stalled || event.kind == Kind::Resumed)
        object["gap"] = event.gap;
    if (event.kind == Kind::Reconnecting) {
        object["try"] = event.attempt;
        object["pause"] = event.pause;
    }
    if (event.kind == Kind::Closed || event.kind == Kind::Stalled ||
        event.kind == Kind::Reconnecting)
        object["reason"] = event.reason;
    if (event.kind == Kind::Tool) {
        object["id"] = event.tool.ID;
        object["name"] = event.tool.name;
        object["active"] = event.isActive;
    }
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace Morvalin::App
