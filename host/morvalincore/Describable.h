#pragma once

#include <string>
#include <vector>

#include <morvalincore/Export.h>

namespace Morvalin {

/// What a user can say of one setting.
struct SettingDescription {
    enum class Kind {
        Text,
        Integer,
        Boolean,
        Choice ///< an index, counted from 0, into `choices`
    };

    std::string key;
    Kind kind = Kind::Text;
    std::string initial; ///< of a new object, as a file has it; empty also when there is none
    /// What can be chosen; empty when only an open device knows.
    std::vector<std::string> choices;
    std::string meaning; ///< one line, without a full stop at its end
    /// Empty, or the name of the sub-block whose own sub-blocks have the setting, one for each
    /// item of a list.
    std::string list = {};
};

/// Something that can tell which settings it takes, for people and for checks of what they wrote. A
/// stream that can, derives from this class beside its own base; a host finds out by a dynamic_cast
/// and need not know more of the stream.
class MORVALINCORE_EXPORT Describable {
public:
    virtual ~Describable();

    /// Every key that configure() reads, whether or not configuration() writes it at the moment,
    /// and keys of older versions that are no mistake in a file. Any thread; does not wait.
    virtual std::vector<SettingDescription> describeSettings() const = 0;
};

} // namespace Morvalin
