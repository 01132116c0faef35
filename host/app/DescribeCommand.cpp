#include <nlohmann/json.hpp>

#include "app/Commands.h"
#include "app/Console.h"
#include "session/Refusal.h"
#include "session/WorkspaceSessions.h"

namespace Morvalin::App {

namespace {

using Json = nlohmann::ordered_json; // members stay in the order in which they are named
using Kind = SettingDescription::Kind;

const char* kindName(Kind kind) {
    switch (kind) {
    case Kind::Integer:
        return "integer";
    case Kind::Boolean:
        return "boolean";
    case Kind::Choice:
        return "choice";
    case Kind::Text:
        break;
    }
    return "text";
}

std::string json(const std::vector<SettingDescription>& settings) {
    Json list = Json::array();
    for (const SettingDescription& setting : settings)
        list.push_back({{"list", setting.list},
                        {"key", setting.key},
                        {"type", kindName(setting.kind)},
                        {"default", setting.initial},
                        {"choices", setting.choices},
                        {"meaning", setting.meaning}});
    return list.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// "0 9600, 1 14400"
std::string numbered(const std::vector<std::string>& choices) {
    std::string text;
    for (std::size_t i = 0; i < choices.size(); ++i)
        text += (i == 0 ? "" : ", ") + std::to_string(i) + " " + choices[i];
    return text;
}

/// Blocks of lines, for people.
std::string readable(const std::vector<SettingDescription>& settings) {
    std::string text;
    for (const SettingDescription& setting : settings) {
        if (!setting.list.empty())
            text += setting.list + ", for each: ";
        text += setting.key + "  " + kindName(setting.kind);
        if (!setting.initial.empty())
            text += ", default " + setting.initial;
        text += "\n    " + setting.meaning + '\n';
        if (!setting.choices.empty())
            text += "    " + numbered(setting.choices) + '\n';
    }
    return text;
}

} // namespace

int describeAlgorithm(const Options& options) {
    PluginLoader plugins;
    prepare(plugins, options);
    WorkspaceSessions workspace(plugins);
    const KnownSettings known = workspace.add(options.subject, options).knownSettings();
    print((options.json ? json : readable)(known.all()), "the settings");
    return Done;
}

} // namespace Morvalin::App
