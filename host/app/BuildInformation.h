#pragma once

namespace Morvalin::App {

/// Where this program comes from.
struct BuildInformation {
    const char* version;
    const char* revision; ///< as git names the state of the sources; empty outside a checkout
    const char* buildType;
};

extern const BuildInformation buildInformation;

} // namespace Morvalin::App
