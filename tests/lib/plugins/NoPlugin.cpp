// A library that is no plug-in.

#include <boost/config.hpp>

extern "C" BOOST_SYMBOL_EXPORT int somethingElse() {
    return 3;
}
