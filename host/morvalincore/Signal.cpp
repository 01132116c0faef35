#include <morvalincore/Signal.h>

#include <exception>

#include <morvalincore/LogText.h>

namespace Morvalin {

void logFailedReceiver() noexcept {
    try {
        throw;
    } catch (const std::exception& error) {
        logText(Log::Error, "Signal", "A receiver has failed: ", error.what());
    } catch (...) {
        logText(Log::Error, "Signal", "A receiver has failed with an unknown exception");
    }
}

} // namespace Morvalin
