#include "app/StopRequest.h"

#include <utility>

#include <boost/asio/executor_work_guard.hpp>

#include "app/platform/StandardStreams.h"

namespace Morvalin::App {

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
