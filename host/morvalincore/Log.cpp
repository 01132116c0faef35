#include <morvalincore/Log.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <utility>

#include <morvalincore/ControlCharacters.h>

namespace Morvalin {
namespace {

struct State {
    std::atomic<int> level{Log::Information};
    std::mutex mutex;
    Log::Sink sink;
};

/// Never destroyed: static objects and late threads still log while the process ends.
State& state() {
    static State& instance = *new State;
    return instance;
}

thread_local bool isInsideSink = false;
thread_local const std::string* sourceName = nullptr;

void passToSink(int level, const std::string& category, const std::string& text) {
    const std::lock_guard lock(state().mutex);
    if (state().sink)
        state().sink(level, category, text);
    else
        Log::print(level, category, text);
}

} // namespace

bool Log::isAccepted(int level) noexcept {
    return level >= Log::level();
}

void Log::log(int level, const std::string& category, const std::string& text) noexcept {
    if (!isAccepted(level) || isInsideSink)
        return;
    isInsideSink = true;
    try {
        passToSink(level, category, text);
    } catch (...) {
        // A log that cannot be written must not take down what it reports on.
    }
    isInsideSink = false;
}

void Log::print(int level, const std::string& category, const std::string& text) noexcept {
    try {
        std::string line = "[" + std::to_string(level) + "] " + category + ": " + text;
        replaceControlCharacters(line, ' ');
        line += '\n';
        std::fwrite(line.data(), 1, line.size(), stderr);
    } catch (...) {
        // Without memory there is nothing to print with.
    }
}

Log::Source::Source(const std::string& streamName) noexcept :
    former(std::exchange(sourceName, &streamName)) {}

Log::Source::~Source() {
    sourceName = former;
}

const std::string& Log::source() noexcept {
    static const std::string none;
    return sourceName == nullptr ? none : *sourceName;
}

int Log::level() noexcept {
    return state().level.load(std::memory_order_relaxed);
}

void Log::setLevel(int level) noexcept {
    state().level.store(level, std::memory_order_relaxed);
}

Log::Sink Log::setSink(Sink sink) {
    const std::lock_guard lock(state().mutex);
    return std::exchange(state().sink, std::move(sink));
}

} // namespace Morvalin
