#pragma once

#include <string>
#include <vector>

#include <morvalincore/Describable.h>
#include <morvalincore/Properties.h>
#include <morvalinstream/Stream.h>

namespace Morvalin::App {

/// The settings that a stream's block can have.
class KnownSettings {
public:
    /// What the stream tells of its settings, or else what its `current` ones show, and the flags
    /// that ask the host to bring a stream up.
    KnownSettings(const Stream& stream, const Properties& current);

    const std::vector<SettingDescription>& all() const { return settings; }
    /// The stream tells all of them: another key is a mistake. Otherwise it may know more.
    bool isComplete() const { return toldByStream; }

    /// Null for an unknown key. `list` as in SettingDescription.
    const SettingDescription* find(const std::string& key, const std::string& list = {}) const;
    /// The block of that name is a list whose items have settings that are known.
    bool hasList(const std::string& name) const;
    /// '; did you mean "…"?', if there is a key that is like it.
    std::string suggestionFor(const std::string& key, const std::string& list = {}) const;

private:
    std::vector<SettingDescription> settings;
    bool toldByStream = false;
};

/// What a value must be for the setting to take it; empty when it does.
std::string needOf(const SettingDescription& setting, const std::string& value);

/// Stores a value that fits, as the kind that the setting has.
void store(const SettingDescription& setting, const std::string& value, Properties& target);

} // namespace Morvalin::App
