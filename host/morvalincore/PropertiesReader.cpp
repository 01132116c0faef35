#include "PropertiesReader.h"

#include <algorithm>
#include <sstream>
#include <unordered_set>
#include <utility>

#include <pugixml.hpp>

#include "XmlText.h"
#include <morvalincore/ControlCharacters.h>

namespace Morvalin {
namespace {

/// For an error message: in quotes, on one line, not endless.
std::string quoted(std::string text) {
    constexpr std::size_t longest = 60;
    if (text.size() > longest)
        text = text.substr(0, longest) + "...";
    replaceControlCharacters(text, ' ');
    return '"' + text + '"';
}

std::string tag(const pugi::xml_node& element) {
    return '<' + std::string(element.name()) + '>';
}

[[noreturn]] void fail(const pugi::xml_node& node, const std::string& text) {
    throw XmlFault{node.offset_debug(), text};
}

void expectElement(const pugi::xml_node& node) {
    switch (node.type()) {
    case pugi::node_element:
        return;
    case pugi::node_doctype:
        fail(node, "a document type declaration is not allowed");
    case pugi::node_pi:
    case pugi::node_declaration:
        fail(node, "unexpected processing instruction");
    default:
        fail(node, "unexpected text outside of the elements' attributes");
    }
}

bool contains(const std::vector<std::string_view>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

Properties::ValueKind parseKind(const pugi::xml_node& element, const std::string& text) {
    if (text == XmlForm::integerKind)
        return Properties::ValueKind::Integer;
    if (text == XmlForm::booleanKind)
        return Properties::ValueKind::Boolean;
    fail(element, "unknown kind " + quoted(text));
}

int parseType(const pugi::xml_node& element, const std::string& text) {
    Properties number;
    number.setParam(XmlForm::type, text);
    std::int32_t type = 0;
    if (!number.param(XmlForm::type, type))
        fail(element, "type " + quoted(text) + " is not a number");
    return type;
}

} // namespace

Properties PropertiesReader::read(const pugi::xml_document& document, std::string_view text) {
    pugi::xml_node root;
    for (const pugi::xml_node& node : document) {
        if (node.type() == pugi::node_declaration && !root)
            continue;
        expectElement(node);
        if (root)
            fail(node, "more than one outermost element");
        root = node;
    }
    if (!root)
        throw XmlFault{-1, "there is no <block> in it"};
    if (root.name() != std::string_view(XmlForm::block))
        fail(root, "the outermost element is " + tag(root) + ", not <block>");
    Properties result;
    PropertiesReader(text).readBlock(root, result, 1);
    return result;
}

/// Elements are asked for in the order of the text, so that it is gone through once.
int PropertiesReader::lineOf(const pugi::xml_node& element) {
    const std::string_view passed =
        unread.substr(0, static_cast<std::size_t>(element.offset_debug() - offset));
    line += static_cast<int>(std::count(passed.begin(), passed.end(), '\n'));
    offset = element.offset_debug();
    unread.remove_prefix(passed.size());
    return line;
}

void PropertiesReader::readBlock(const pugi::xml_node& element, Properties& block, int depth) {
    if (depth > maximumDepth)
        fail(element, "more than " + std::to_string(maximumDepth) + " blocks inside each other");
    block.setName(readFields(element, {XmlForm::name}, {})[XmlForm::name]);
    block.sourceLine = lineOf(element);
    std::unordered_set<std::string> keys;
    for (const pugi::xml_node& child : element) {
        expectElement(child);
        const std::string_view kind = child.name();
        if (kind == XmlForm::block) {
            readBlock(child, block.addSubProperties({}), depth + 1);
        } else if (kind == XmlForm::attribute) {
            readAttribute(child, block.blockAttributes);
        } else if (kind == XmlForm::parameter) {
            block.parameters.push_back(readParameter(child));
            if (!keys.insert(block.parameters.back().key).second)
                fail(child, "second parameter " + quoted(block.parameters.back().key) +
                                " in the same block");
        } else {
            fail(child, "unknown element " + tag(child));
        }
    }
}

Properties::Parameter PropertiesReader::readParameter(const pugi::xml_node& element) {
    Fields fields =
        readFields(element, {XmlForm::name, XmlForm::value}, {XmlForm::kind, XmlForm::type});
    Properties::Parameter parameter;
    parameter.key = std::move(fields[XmlForm::name]);
    parameter.value = std::move(fields[XmlForm::value]);
    parameter.line = lineOf(element);
    if (fields.contains(XmlForm::kind))
        parameter.kind = parseKind(element, fields[XmlForm::kind]);
    if (fields.contains(XmlForm::type))
        parameter.type = parseType(element, fields[XmlForm::type]);
    for (const pugi::xml_node& child : element) {
        expectElement(child);
        if (child.name() != std::string_view(XmlForm::attribute))
            fail(child, "unknown element " + tag(child) + " in <parameter>");
        readAttribute(child, parameter.attributes);
    }
    return parameter;
}

void PropertiesReader::readAttribute(const pugi::xml_node& element,
                                     Properties::Attributes& attributes) {
    Fields fields = readFields(element, {XmlForm::name, XmlForm::value}, {});
    if (element.first_child())
        fail(element, "<attribute> must be empty");
    attributes.emplace_back(std::move(fields[XmlForm::name]), std::move(fields[XmlForm::value]));
}

PropertiesReader::Fields
PropertiesReader::readFields(const pugi::xml_node& element,
                             const std::vector<std::string_view>& required,
                             const std::vector<std::string_view>& optional) {
    Fields fields;
    for (const pugi::xml_attribute& attribute : element.attributes()) {
        const std::string name = attribute.name();
        if (name != XmlForm::escaped && !contains(required, name) && !contains(optional, name))
            fail(element, tag(element) + " has an unknown attribute " + quoted(name));
        auto value = XmlText::resolveReferences(attribute.value());
        if (!value)
            fail(element, "bad \"&\" or \"<\" in the attribute " + quoted(name) + " of " +
                              tag(element) + " (write &amp; or &lt;)");
        if (!fields.emplace(name, *std::move(value)).second)
            fail(element, tag(element) + " has two attributes " + quoted(name));
    }
    for (const std::string_view name : required)
        if (!fields.contains(name))
            fail(element, tag(element) + " has no attribute " + quoted(std::string(name)));
    unescape(element, fields);
    return fields;
}

void PropertiesReader::unescape(const pugi::xml_node& element, Fields& fields) {
    const auto escaped = fields.find(XmlForm::escaped);
    if (escaped == fields.end())
        return;
    std::istringstream names(escaped->second);
    for (std::string name; names >> name;) {
        const bool isKnown = (name == XmlForm::name || name == XmlForm::value);
        const auto field = isKnown ? fields.find(name) : fields.end();
        auto text = field == fields.end() ? std::nullopt : XmlText::percentDecode(field->second);
        if (!text)
            fail(element, tag(element) + " cannot be unescaped: " + quoted(name));
        field->second = *std::move(text);
    }
}

} // namespace Morvalin
