#include "session/KnownSettings.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include <boost/algorithm/string/join.hpp>

#include "session/PluginKeys.h"
#include "session/Suggestion.h"

namespace Morvalin::App {

namespace {

using Kind = SettingDescription::Kind;

Kind kindOf(const Properties& current, const Properties::Parameter& parameter) {
    if (current.paramType(parameter.key) == Properties::choiceParameterType)
        return Kind::Choice;
    switch (parameter.kind) {
    case Properties::ValueKind::Integer:
        return Kind::Integer;
    case Properties::ValueKind::Boolean:
        return Kind::Boolean;
    case Properties::ValueKind::Text:
        break;
    }
    return Kind::Text;
}

std::vector<SettingDescription> readOff(const Properties& current) {
    std::vector<SettingDescription> settings;
    for (const Properties::Parameter& parameter : current.params()) {
        std::string meaning;
        for (const auto& [name, text] : parameter.attributes)
            if (name == "tooltip" || (name == "label" && meaning.empty()))
                meaning = text;
        settings.push_back({parameter.key, kindOf(current, parameter), parameter.value,
                            current.choices(parameter.key), meaning});
    }
    return settings;
}

std::string oldName(std::string_view key) {
    std::string text = "older name of \"";
    text += key;
    text += '"';
    return text;
}

/// The first of the keys is today's; the others stand in older workspaces.
template <std::size_t count>
void addFlag(const char* const (&keys)[count], const std::string& meaning,
             std::vector<SettingDescription>& settings) {
    for (const char* const key : keys) {
        const bool isToday = key == keys[0];
        settings.push_back({key, Kind::Boolean, "false", {}, isToday ? meaning : oldName(keys[0])});
    }
}

/// The value as the host itself reads it from a file.
template <class Value>
bool parse(const std::string& text, Value& value) {
    Properties parser;
    parser.setParam("value", text);
    return parser.param("value", value);
}

std::string indexNeed(const std::vector<std::string>& choices, const std::string& value) {
    std::int32_t index = 0;
    const bool isNumber = parse(value, index);
    if (choices.empty())
        return isNumber && index >= 0 ? "" : "a whole number, 0 or above";
    if (!isNumber)
        return "a whole number";
    if (index >= 0 && static_cast<std::size_t>(index) < choices.size())
        return {};
    return "an index from 0 to " + std::to_string(choices.size() - 1) + " into " +
           boost::algorithm::join(choices, ", ");
}

} // namespace

KnownSettings::KnownSettings(const Stream& stream, const Properties& current) {
    const auto* const describable = dynamic_cast<const Describable*>(&stream);
    toldByStream = describable != nullptr;
    settings = toldByStream ? describable->describeSettings() : readOff(current);
    addFlag(PluginKeys::opens, "in the window: open the stream with its workspace", settings);
    addFlag(PluginKeys::starts, "in the window: start it when it has opened so", settings);
}

const SettingDescription* KnownSettings::find(const std::string& key,
                                              const std::string& list) const {
    const auto found = std::find_if(settings.begin(), settings.end(), [&](const auto& setting) {
        return setting.key == key && setting.list == list;
    });
    return found == settings.end() ? nullptr : &*found;
}

bool KnownSettings::hasList(const std::string& name) const {
    return std::any_of(settings.begin(), settings.end(), [&](const auto& setting) {
        return !setting.list.empty() && setting.list == name;
    });
}

std::string KnownSettings::suggestionFor(const std::string& key, const std::string& list) const {
    std::vector<std::string> keys;
    for (const SettingDescription& setting : settings)
        if (setting.list == list)
            keys.push_back(setting.key);
    return suggestion(key, keys);
}

std::string needOf(const SettingDescription& setting, const std::string& value) {
    std::int32_t number = 0;
    bool flag = false;
    switch (setting.kind) {
    case Kind::Integer:
        return parse(value, number) ? "" : "a whole number";
    case Kind::Boolean:
        return parse(value, flag) ? "" : "true or false";
    case Kind::Choice:
        return indexNeed(setting.choices, value);
    case Kind::Text:
        break;
    }
    return {};
}

void store(const SettingDescription& setting, const std::string& value, Properties& target) {
    std::int32_t number = 0;
    bool flag = false;
    if (setting.kind == Kind::Boolean && parse(value, flag))
        target.setParam(setting.key, flag);
    else if ((setting.kind == Kind::Integer || setting.kind == Kind::Choice) &&
             parse(value, number))
        target.setParam(setting.key, number);
    else
        target.setParam(setting.key, value);
}

} // namespace Morvalin::App
