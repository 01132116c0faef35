#pragma once

#include <string>
#include <vector>

#include <morvalinlib/Export.h>

namespace Morvalin {

class ApplicationController;

/// What a plug-in's creation function returns. The host owns it until the end of the process.
class MORVALINLIB_EXPORT PluginBase {
public:
    PluginBase() = default;
    PluginBase(const PluginBase&) = delete;
    PluginBase& operator=(const PluginBase&) = delete;
    virtual ~PluginBase();

    virtual std::string vendorName() const = 0;
    virtual std::string description() const = 0;
    /// Ids of the plug-ins that must be there before this one.
    virtual std::vector<std::string> dependencies() const = 0;
    /// Called once after creation; 0 is success.
    virtual int init() = 0;
    virtual void setApplicationController(ApplicationController* controller);
};

} // namespace Morvalin
