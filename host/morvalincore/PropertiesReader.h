#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <morvalincore/Properties.h>

namespace pugi {
class xml_document;
class xml_node;
} // namespace pugi

namespace Morvalin {

/// Names of the XML form; docs/workspace.md describes it.
namespace XmlForm {
constexpr char block[] = "block";
constexpr char parameter[] = "parameter";
constexpr char attribute[] = "attribute";
constexpr char name[] = "name";
constexpr char value[] = "value";
constexpr char kind[] = "kind";
constexpr char type[] = "type";
constexpr char escaped[] = "escaped"; ///< which of name and value are percent-encoded
constexpr char integerKind[] = "integer";
constexpr char booleanKind[] = "boolean";
} // namespace XmlForm

/// What is wrong with an XML text, and where.
struct XmlFault {
    std::ptrdiff_t offset; ///< in bytes; negative when unknown
    std::string text;
};

/// Turns a parsed XML document into Properties. Whatever the form does not know is refused: silence
/// about a mistyped word in a file that a person edited would lose a setting.
class PropertiesReader {
public:
    static constexpr int maximumDepth = 64;

    /// `text` is what the document was parsed from. Throws XmlFault.
    static Properties read(const pugi::xml_document& document, std::string_view text);

private:
    using Fields = std::map<std::string, std::string, std::less<>>;

    explicit PropertiesReader(std::string_view text) : unread(text) {}

    void readBlock(const pugi::xml_node& element, Properties& block, int depth);
    Properties::Parameter readParameter(const pugi::xml_node& element);
    int lineOf(const pugi::xml_node& element);
    static void readAttribute(const pugi::xml_node& element, Properties::Attributes& attributes);
    static Fields readFields(const pugi::xml_node& element,
                             const std::vector<std::string_view>& required,
                             const std::vector<std::string_view>& optional);
    static void unescape(const pugi::xml_node& element, Fields& fields);

    std::string_view unread;   ///< from the element that was looked at last
    std::ptrdiff_t offset = 0; ///< of it
    int line = 1;              ///< likewise
};

} // namespace Morvalin
