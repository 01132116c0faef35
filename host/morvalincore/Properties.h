#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include <morvalincore/Export.h>

namespace Morvalin {

/// A named block of settings: ordered parameters, ordered attributes and ordered sub-blocks.
///
/// Names of blocks may be empty and may repeat; keys of parameters are unique within their block.
/// A parameter holds text, a 32-bit integer or a boolean and remembers which it was given. In a
/// file that a person wrote it is usually plain text; asking for an integer or a boolean parses it.
///
/// What was read from a file remembers the line where it stood, for messages: 0 when it was made by
/// the program. Lines do not count when two blocks are compared.
///
/// A block is used by one thread at a time. A reference to a sub-block stays valid until its parent
/// is destroyed, assigned or cleared, or copies another block.
class MORVALINCORE_EXPORT Properties {
public:
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    /// What a value was stored as.
    enum class ValueKind { Text, Integer, Boolean };

    /// How a parameter is edited. 0 follows the value's kind; the other codes are the host's, of
    /// which a stream uses 8: a choice among the texts of the attribute "values" (separated by
    /// ", "), the stored value being the 0-based index.
    static constexpr int choiceParameterType = 8;

    struct Parameter {
        std::string key;
        std::string value; ///< integers in decimal, booleans as "true" or "false"
        ValueKind kind = ValueKind::Text;
        int type = 0;
        Attributes attributes;
        int line = 0;

        bool operator==(const Parameter& other) const;
    };

    explicit Properties(std::string name = {});

    const std::string& name() const { return blockName; }
    /// Safe while the parent's sub-blocks are being walked.
    void setName(std::string name);
    int line() const { return sourceLine; }

    // Parameters

    /// Reads a value. False, with `out` untouched, when the key is missing or its value cannot be
    /// read as that type. An empty text is a value.
    bool param(const std::string& key, std::string& out) const;
    /// Accepts a decimal integer within 32 bits with an optional sign, nothing before or after it.
    bool param(const std::string& key, std::int32_t& out) const;
    /// Accepts "true", "false", "1" and "0".
    bool param(const std::string& key, bool& out) const;

    bool hasParam(const std::string& key) const;

    /// Stores a value. An existing key keeps its place, its type and its attributes; a new one is
    /// appended.
    void setParam(const std::string& key, const std::string& value);
    void setParam(const std::string& key, const char* value);
    void setParam(const std::string& key, std::int32_t value);
    void setParam(const std::string& key, bool value);

    /// Type and attributes of a key. The setters do nothing when the key is missing; the getters
    /// answer 0 and nothing.
    void setParamType(const std::string& key, int type);
    int paramType(const std::string& key) const;
    /// Replaces the whole set.
    void setParamAttributes(const std::string& key, Attributes attributes);
    /// Sets or replaces one attribute and keeps the others.
    void setParamAttribute(const std::string& key, const std::string& name,
                           const std::string& value);
    const Attributes& paramAttributes(const std::string& key) const;
    /// The texts that a choice offers; none when they are not known.
    std::vector<std::string> choices(const std::string& key) const;

    const std::vector<Parameter>& params() const { return parameters; }
    /// Null when the key is missing.
    const Parameter* findParam(const std::string& key) const;

    // The block's own attributes

    /// Sets or replaces one attribute.
    void setAttribute(const std::string& name, const std::string& value);
    const Attributes& attributes() const { return blockAttributes; }

    // Sub-blocks

    /// Appends an empty block, also when one of that name exists.
    Properties& addSubProperties(std::string name);
    /// The first block of that name, or null.
    Properties* subProperties(const std::string& name);
    const Properties* subProperties(const std::string& name) const;
    std::list<Properties>& children() { return subBlocks; }
    const std::list<Properties>& children() const { return subBlocks; }

    // Whole blocks

    /// Removes parameters, attributes and sub-blocks; the name stays.
    void clear();
    /// Deep copy of everything but the name and the line, which stay this block's own.
    void copyFrom(const Properties& other);
    /// Same name, parameters, attributes and sub-blocks, in the same order.
    bool operator==(const Properties& other) const;

private:
    friend class PropertiesReader;

    Parameter* find(const std::string& key);
    void store(const std::string& key, std::string value, ValueKind kind);

    std::string blockName;
    std::vector<Parameter> parameters;
    Attributes blockAttributes;
    std::list<Properties> subBlocks;
    int sourceLine = 0;
};

} // namespace Morvalin
