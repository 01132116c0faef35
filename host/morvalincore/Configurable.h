#pragma once

#include <morvalincore/Export.h>

namespace Morvalin {

class Properties;

/// Something whose settings are written to and read from a block of properties. Null arguments do
/// nothing.
class MORVALINCORE_EXPORT Configurable {
public:
    /// Takes over the settings that are present; missing ones leave the current values unchanged.
    virtual void configure(const Properties* properties);
    /// Writes the current settings.
    virtual void configuration(Properties* properties);
    /// Sets the values of a new object.
    virtual void configureDefaults();
    virtual ~Configurable();
};

} // namespace Morvalin
