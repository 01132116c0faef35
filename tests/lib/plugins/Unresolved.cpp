// A library that needs a symbol that nobody has.

#include <boost/config.hpp>

extern "C" int symbolThatNobodyHas();

extern "C" BOOST_SYMBOL_EXPORT int callsIt() {
    return symbolThatNobodyHas();
}
