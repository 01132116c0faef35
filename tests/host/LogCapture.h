#pragma once

#include <morvalincore/Log.h>

#include <mutex>
#include <string>
#include <vector>

namespace Morvalin {

/// Collects what is logged, down to details, as "[level] category: text"; the category "NDI" is
/// left out.
class LogCapture {
public:
    LogCapture() : levelBefore(Log::level()) {
        Log::setLevel(Log::Detail);
        sinkBefore = Log::setSink([this](int level, const std::string& category,
                                         const std::string& text) { add(level, category, text); });
    }
    ~LogCapture() {
        Log::setSink(sinkBefore);
        Log::setLevel(levelBefore);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The lines since the last call.
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex);
        return std::exchange(lines, {});
    }

    /// Those of at least `level`.
    std::vector<std::string> take(int level) {
        std::vector<std::string> severe;
        for (std::string& line : take())
            if (line[1] - '0' >= level)
                severe.push_back(std::move(line));
        return severe;
    }

private:
    void add(int level, const std::string& category, const std::string& text) {
        const std::string origin = category == "NDI" ? "" : category + ": ";
        const std::lock_guard lock(mutex);
        lines.push_back("[" + std::to_string(level) + "] " + origin + text);
    }

    std::mutex mutex;
    std::vector<std::string> lines;
    int levelBefore;
    Log::Sink sinkBefore;
};

} // namespace Morvalin
