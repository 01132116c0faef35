// A plug-in without the functions that the host calls.

#include <boost/config.hpp>

extern "C" {
BOOST_SYMBOL_EXPORT const char* morvalinPluginId() {
    return "Tests.NoFunctions";
}
BOOST_SYMBOL_EXPORT extern const char* const morvalinPluginDescriptor;
const char* const morvalinPluginDescriptor = "__MORVALIN_PLUGIN_V2_MAGIC_STRING__|";
}
