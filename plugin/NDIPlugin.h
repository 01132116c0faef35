#pragma once

#include <string>
#include <vector>

#include <morvalinlib/MorvalinLibPlugin.h>

namespace Morvalin {

/// The plug-in as the host sees it.
class NDIPlugin : public MorvalinLibPlugin {
public:
    ~NDIPlugin() override;

    static const char* pluginId();

    std::string vendorName() const override;
    std::string description() const override;
    std::vector<std::string> dependencies() const override;
    /// Registers factories and the conversion of old workspaces. Anything but 0 means that the
    /// plug-in offers nothing; it does not throw.
    int init() override;

private:
    void registerWithHost();
};

} // namespace Morvalin
