#include "session/SavedSettings.h"

#include <algorithm>
#include <iterator>
#include <span>

#include "session/PluginKeys.h"

namespace Morvalin::App {

namespace {

bool firstFlag(const Properties& block, std::span<const char* const> keys) {
    bool flag = false;
    for (const char* key : keys)
        if (block.param(key, flag))
            return flag;
    return false;
}

bool isHidden(const Properties::Parameter& parameter) {
    return std::any_of(parameter.attributes.begin(), parameter.attributes.end(),
                       [](const auto& a) { return a.first == "hidden" && a.second == "true"; });
}

/// As it was stored, whatever kind it was.
void copyParameter(const Properties& from, Properties& to, const std::string& key) {
    const Properties::Parameter* const parameter = from.findParam(key);
    if (parameter == nullptr)
        return;
    std::int32_t number = 0;
    bool flag = false;
    if (parameter->kind == Properties::ValueKind::Integer && from.param(key, number))
        to.setParam(key, number);
    else if (parameter->kind == Properties::ValueKind::Boolean && from.param(key, flag))
        to.setParam(key, flag);
    else
        to.setParam(key, parameter->value);
}

void keepUnwritten(const Properties& former, Properties& current) {
    const auto keep = [&](const char* key) {
        if (!current.hasParam(key))
            copyParameter(former, current, key);
    };
    std::for_each(std::begin(PluginKeys::opens), std::end(PluginKeys::opens), keep);
    std::for_each(std::begin(PluginKeys::starts), std::end(PluginKeys::starts), keep);
    keep(PluginKeys::operatingVolume);
    for (const Properties::Parameter& parameter : std::vector(current.params()))
        if (isHidden(parameter) && parameter.value.empty())
            copyParameter(former, current, parameter.key);
    for (const auto& [name, value] : former.attributes())
        current.setAttribute(name, value);
}

/// A person may have written 1 where the program writes true.
bool isSameValue(const Properties& a, const Properties& b, const std::string& key) {
    bool left = false;
    bool right = false;
    if (a.param(key, left) && b.param(key, right) && left == right)
        return true;
    return a.findParam(key)->value == b.findParam(key)->value;
}

bool hasDifferentValue(const Properties& saved, const Properties::Parameter& parameter,
                       const Properties& current) {
    const Properties::Parameter* const former = saved.findParam(parameter.key);
    if (former == nullptr || (former->value.empty() && isHidden(parameter)))
        return false;
    return !isSameValue(saved, current, parameter.key);
}

bool hasDifferentChildren(const Properties& saved, const Properties& current) {
    return !std::equal(saved.children().begin(), saved.children().end(), current.children().begin(),
                       current.children().end(), [](const Properties& a, const Properties& b) {
                           return a.name() == b.name() && !differsFrom(a, b);
                       });
}

} // namespace

BringUp bringUpOf(const Properties& block) {
    return {firstFlag(block, PluginKeys::opens), firstFlag(block, PluginKeys::starts)};
}

void updateBlock(Properties& block, const Properties& current) {
    Properties updated = current;
    keepUnwritten(block, updated);
    block.copyFrom(updated);
}

bool differsFrom(const Properties& saved, const Properties& current) {
    for (const Properties::Parameter& parameter : current.params())
        if (hasDifferentValue(saved, parameter, current))
            return true;
    static const Properties none;
    for (const Properties& child : current.children()) {
        const Properties* const former = saved.subProperties(child.name());
        if (hasDifferentChildren(former == nullptr ? none : *former, child))
            return true;
    }
    return false;
}

} // namespace Morvalin::App
