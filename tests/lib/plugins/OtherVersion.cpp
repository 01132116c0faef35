// A plug-in for a host with another interface.

#include <boost/config.hpp>

extern "C" {
BOOST_SYMBOL_EXPORT extern const char* const morvalinPluginDescriptor;
const char* const morvalinPluginDescriptor = "__MORVALIN_PLUGIN_V1";
}
