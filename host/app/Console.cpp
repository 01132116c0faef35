#include "app/Console.h"

#include <cstdio>
#include <utility>

#include <boost/asio/executor_work_guard.hpp>

#include <morvalincore/ControlCharacters.h>

#include "app/platform/StandardStreams.h"
#include "session/Refusal.h"

namespace Morvalin::App {

void printError(const std::string& line) {
    std::string text = "morvalin-host: " + line;
    replaceControlCharacters(text, ' ');
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void print(const std::string& text, const std::string& what) {
    StandardOutput output;
    std::string error;
    if (output.write(text, error) == StandardOutput::Result::Failed)
        throw Refusal(StreamFailed, what + " could not be written: " + error);
}

StopRequest::StopRequest(std::function<void()> onRequest) : ending(events) {
    for (const int signal : stopSignals())
        ending.add(signal);
    ending.async_wait([call = std::move(onRequest)](const boost::system::error_code& error, int) {
        if (!error)
            call();
    });
    thread = std::thread([this] {
        const auto work = boost::asio::make_work_guard(events);
        events.run();
    });
}

StopRequest::~StopRequest() {
    events.stop();
    thread.join();
}

} // namespace Morvalin::App
