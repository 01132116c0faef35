#include <morvalincore/Properties.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>
#include <tuple>

#include <boost/algorithm/string/finder.hpp>
#include <boost/algorithm/string/iter_find.hpp>

namespace Morvalin {
namespace {

std::optional<std::int32_t> parseInteger(const std::string& text) {
    const char* first = text.data();
    const char* const last = first + text.size();
    if (text.size() > 1 && *first == '+' && first[1] != '-')
        ++first;
    std::int32_t value = 0;
    const auto [end, fault] = std::from_chars(first, last, value);
    if (fault != std::errc() || end != last)
        return std::nullopt;
    return value;
}

std::optional<bool> parseBoolean(const std::string& text) {
    if (text == "true" || text == "1")
        return true;
    if (text == "false" || text == "0")
        return false;
    return std::nullopt;
}

void mergeAttribute(Properties::Attributes& attributes, const std::string& name,
                    const std::string& value) {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const auto& attribute) { return attribute.first == name; });
    if (found != attributes.end())
        found->second = value;
    else
        attributes.emplace_back(name, value);
}

template <class Value>
bool assignIfParsed(const std::optional<Value>& parsed, Value& out) {
    if (parsed)
        out = *parsed;
    return parsed.has_value();
}

} // namespace

Properties::Properties(std::string name) : blockName(std::move(name)) {}

void Properties::setName(std::string name) {
    blockName = std::move(name);
}

const Properties::Parameter* Properties::findParam(const std::string& key) const {
    const auto found =
        std::find_if(parameters.begin(), parameters.end(),
                     [&](const Parameter& parameter) { return parameter.key == key; });
    return found == parameters.end() ? nullptr : &*found;
}

Properties::Parameter* Properties::find(const std::string& key) {
    return const_cast<Parameter*>(findParam(key));
}

bool Properties::param(const std::string& key, std::string& out) const {
    const Parameter* parameter = findParam(key);
    if (parameter)
        out = parameter->value;
    return parameter != nullptr;
}

bool Properties::param(const std::string& key, std::int32_t& out) const {
    const Parameter* parameter = findParam(key);
    return parameter && assignIfParsed(parseInteger(parameter->value), out);
}

bool Properties::param(const std::string& key, bool& out) const {
    const Parameter* parameter = findParam(key);
    return parameter && assignIfParsed(parseBoolean(parameter->value), out);
}

bool Properties::hasParam(const std::string& key) const {
    return findParam(key) != nullptr;
}

void Properties::store(const std::string& key, std::string value, ValueKind kind) {
    if (Parameter* parameter = find(key)) {
        parameter->value = std::move(value);
        parameter->kind = kind;
        return;
    }
    Parameter added;
    added.key = key;
    added.value = std::move(value);
    added.kind = kind;
    parameters.push_back(std::move(added));
}

void Properties::setParam(const std::string& key, const std::string& value) {
    store(key, value, ValueKind::Text);
}

void Properties::setParam(const std::string& key, const char* value) {
    store(key, value ? value : "", ValueKind::Text);
}

void Properties::setParam(const std::string& key, std::int32_t value) {
    store(key, std::to_string(value), ValueKind::Integer);
}

void Properties::setParam(const std::string& key, bool value) {
    store(key, value ? "true" : "false", ValueKind::Boolean);
}

void Properties::setParamType(const std::string& key, int type) {
    if (Parameter* parameter = find(key))
        parameter->type = type;
}

int Properties::paramType(const std::string& key) const {
    const Parameter* parameter = findParam(key);
    return parameter ? parameter->type : 0;
}

void Properties::setParamAttributes(const std::string& key, Attributes attributes) {
    if (Parameter* parameter = find(key))
        parameter->attributes = std::move(attributes);
}

void Properties::setParamAttribute(const std::string& key, const std::string& name,
                                   const std::string& value) {
    if (Parameter* parameter = find(key))
        mergeAttribute(parameter->attributes, name, value);
}

const Properties::Attributes& Properties::paramAttributes(const std::string& key) const {
    static const Attributes none;
    const Parameter* parameter = findParam(key);
    return parameter ? parameter->attributes : none;
}

std::vector<std::string> Properties::choices(const std::string& key) const {
    std::vector<std::string> texts;
    for (const auto& [name, value] : paramAttributes(key))
        if (name == "values" && !value.empty())
            boost::algorithm::iter_split(texts, value, boost::algorithm::first_finder(", "));
    return texts;
}

void Properties::setAttribute(const std::string& name, const std::string& value) {
    mergeAttribute(blockAttributes, name, value);
}

Properties& Properties::addSubProperties(std::string name) {
    return subBlocks.emplace_back(std::move(name));
}

const Properties* Properties::subProperties(const std::string& name) const {
    const auto found = std::find_if(subBlocks.begin(), subBlocks.end(),
                                    [&](const Properties& block) { return block.name() == name; });
    return found == subBlocks.end() ? nullptr : &*found;
}

Properties* Properties::subProperties(const std::string& name) {
    return const_cast<Properties*>(std::as_const(*this).subProperties(name));
}

void Properties::clear() {
    parameters.clear();
    blockAttributes.clear();
    subBlocks.clear();
}

void Properties::copyFrom(const Properties& other) {
    Properties copy = other; // first, since `other` may be this block or one of its sub-blocks
    parameters = std::move(copy.parameters);
    blockAttributes = std::move(copy.blockAttributes);
    subBlocks = std::move(copy.subBlocks);
}

bool Properties::Parameter::operator==(const Parameter& other) const {
    return std::tie(key, value, kind, type, attributes) ==
           std::tie(other.key, other.value, other.kind, other.type, other.attributes);
}

bool Properties::operator==(const Properties& other) const {
    return std::tie(blockName, parameters, blockAttributes, subBlocks) ==
           std::tie(other.blockName, other.parameters, other.blockAttributes, other.subBlocks);
}

} // namespace Morvalin
