#include <morvalincore/Signal.h>

#include <exception>
#include <string>

#include <morvalincore/Log.h>

namespace Morvalin {

void logFailedReceiver() noexcept {
    try {
        throw;
    } catch (const std::exception& error) {
        Log::log(Log::Error, "Signal", std::string("A receiver has failed: ") + error.what());
    } catch (...) {
        Log::log(Log::Error, "Signal", "A receiver has failed with an unknown exception");
    }
}

} // namespace Morvalin
