#include <morvalincore/PropertiesXml.h>

#include <algorithm>
#include <exception>
#include <string_view>

#include <pugixml.hpp>

#include "PropertiesReader.h"
#include "XmlText.h"

namespace Morvalin {
namespace {

constexpr std::size_t largestText = std::size_t{16} * 1024 * 1024;

class StringWriter : public pugi::xml_writer {
public:
    void write(const void* data, std::size_t size) override {
        text.append(static_cast<const char*>(data), size);
    }
    std::string text;
};

void setText(pugi::xml_node& element, const char* attribute, const std::string& text,
             std::string& escaped) {
    const bool isFit = XmlText::findUnfit(text) == std::string::npos;
    element.append_attribute(attribute).set_value(isFit ? text.c_str()
                                                        : XmlText::percentEncode(text).c_str());
    if (!isFit)
        escaped += (escaped.empty() ? "" : " ") + std::string(attribute);
}

pugi::xml_node appendElement(pugi::xml_node& parent, const char* tag, const std::string& name,
                             const std::string* value) {
    pugi::xml_node element = parent.append_child(tag);
    std::string escaped;
    setText(element, XmlForm::name, name, escaped);
    if (value)
        setText(element, XmlForm::value, *value, escaped);
    if (!escaped.empty())
        element.append_attribute(XmlForm::escaped).set_value(escaped.c_str());
    return element;
}

void appendAttributes(pugi::xml_node& parent, const Properties::Attributes& attributes) {
    for (const auto& [name, value] : attributes)
        appendElement(parent, XmlForm::attribute, name, &value);
}

void appendParameter(pugi::xml_node& parent, const Properties::Parameter& parameter) {
    pugi::xml_node element =
        appendElement(parent, XmlForm::parameter, parameter.key, &parameter.value);
    if (parameter.kind != Properties::ValueKind::Text)
        element.append_attribute(XmlForm::kind)
            .set_value(parameter.kind == Properties::ValueKind::Integer ? XmlForm::integerKind
                                                                        : XmlForm::booleanKind);
    if (parameter.type != 0)
        element.append_attribute(XmlForm::type).set_value(parameter.type);
    appendAttributes(element, parameter.attributes);
}

void appendBlock(pugi::xml_node& parent, const Properties& block) {
    pugi::xml_node element = appendElement(parent, XmlForm::block, block.name(), nullptr);
    appendAttributes(element, block.attributes());
    for (const Properties::Parameter& parameter : block.params())
        appendParameter(element, parameter);
    for (const Properties& child : block.children())
        appendBlock(element, child);
}

Properties parse(const std::string& text) {
    if (text.size() > largestText)
        throw XmlFault{-1, "larger than 16 MiB"};
    const std::size_t unfit = XmlText::findUnfit(text);
    if (unfit != std::string::npos)
        throw XmlFault{static_cast<std::ptrdiff_t>(unfit),
                       "a byte that is not UTF-8 text, or a control character"};
    // References stay as they are: the parser would let "&#0;" cut a text short.
    constexpr unsigned options = pugi::parse_fragment | pugi::parse_doctype | pugi::parse_pi |
                                 pugi::parse_declaration | pugi::parse_cdata | pugi::parse_eol |
                                 pugi::parse_wconv_attribute;
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), options, pugi::encoding_utf8);
    if (!result)
        throw XmlFault{result.offset, result.description()};
    return PropertiesReader::read(document, text);
}

std::string describe(const XmlFault& fault, const std::string& text) {
    if (fault.offset < 0)
        return fault.text;
    const auto end =
        text.begin() + std::min(fault.offset, static_cast<std::ptrdiff_t>(text.size()));
    return "line " + std::to_string(1 + std::count(text.begin(), end, '\n')) + ": " + fault.text;
}

} // namespace

std::string toXml(const Properties& properties) {
    pugi::xml_document document;
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version").set_value("1.0");
    declaration.append_attribute("encoding").set_value("UTF-8");
    appendBlock(document, properties);
    StringWriter writer;
    document.save(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
    return writer.text;
}

bool fromXml(const std::string& text, Properties& out, std::string& error) {
    try {
        out = parse(text);
        return true;
    } catch (const XmlFault& fault) {
        error = describe(fault, text);
    } catch (const std::exception& fault) {
        error = fault.what();
    }
    return false;
}

} // namespace Morvalin
