// A plug-in without the functions that the host calls, for the version of it that the build gives.

#include <boost/config.hpp>

extern "C" {
BOOST_SYMBOL_EXPORT const char* morvalinPluginId() {
    return "Tests.NoFunctions";
}
BOOST_SYMBOL_EXPORT extern const char* const morvalinPluginDescriptor;
const char* const morvalinPluginDescriptor = TEST_PLUGIN_DESCRIPTOR;
}
