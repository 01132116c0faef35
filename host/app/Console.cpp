#include "app/Console.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <boost/asio/executor_work_guard.hpp>

#include <morvalincore/ControlCharacters.h>

#include "app/platform/StandardStreams.h"
#include "session/LogLines.h"
#include "session/Refusal.h"

namespace Morvalin::App {

namespace {

/// Of signals that belong together; a person is slower.
constexpr std::chrono::milliseconds togetherLimit{50};

void writeLine(std::string& text) {
    replaceControlCharacters(text, ' ');
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
}

/// Such as "2026-03-14T15:09:26.535Z ".
std::string timeText(std::chrono::system_clock::time_point time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::milliseconds>(time - day));
    char text[64];
    std::snprintf(
        text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ ", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
        static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text;
}

} // namespace

void printError(const std::string& line) {
    std::string text = "morvalin-host: " + line;
    writeLine(text);
}

void printLogLine(const LogLine& line, bool withTime) {
    std::string text = (withTime ? timeText(line.time) : std::string()) + "[" +
                       std::to_string(line.level) + "] " + categoryText(line) + ": " + line.text;
    writeLine(text);
}

void print(const std::string& text, const std::string& what) {
    StandardOutput output;
    std::string error;
    if (output.write(text, error) == StandardOutput::Result::Failed)
        throw Refusal(StreamFailed, what + " could not be written: " + error);
}

StopRequest::StopRequest(std::function<void()> onRequest, std::function<void()> beforeEnd) :
    request(std::move(onRequest)), last(std::move(beforeEnd)), ending(events), gathering(events) {
    for (const int signal : stopSignals())
        ending.add(signal);
    await();
    thread = std::thread([this] {
        const auto work = boost::asio::make_work_guard(events);
        events.run();
    });
}

void StopRequest::await() {
    ending.async_wait([this](const boost::system::error_code& error, int) {
        if (error)
            return;
        onSignal();
        await();
    });
}

/// Nothing is to be seen of a request before its time to gather is over, so that whoever reacts to
/// it with a second signal is not taken for part of the first.
void StopRequest::onSignal() {
    if (stage == Stage::Requested) {
        last();
        writeErrorAtOnce("morvalin-host: ended at once, without closing the streams\n");
        std::_Exit(EndedAtOnce);
    }
    if (std::exchange(stage, Stage::Gathering) == Stage::Gathering)
        return;
    gathering.expires_after(togetherLimit);
    gathering.async_wait([this](const boost::system::error_code& error) {
        stage = Stage::Requested;
        if (!error)
            request();
    });
}

StopRequest::~StopRequest() {
    events.stop();
    thread.join();
}

} // namespace Morvalin::App
