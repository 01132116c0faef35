#pragma once

#include <string>
#include <utility>
#include <vector>

#include <morvalincore/Log.h>

namespace Morvalin {

/// Collects "LEVEL CATEGORY: text" of every message while it exists.
class LogCapture {
public:
    LogCapture() :
        previous(
            Log::setSink([this](int level, const std::string& category, const std::string& text) {
                lines.push_back(std::to_string(level) + " " + category + ": " + text);
            })) {}
    ~LogCapture() { Log::setSink(std::move(previous)); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines;

private:
    Log::Sink previous;
};

} // namespace Morvalin
