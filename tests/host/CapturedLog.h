#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include <morvalincore/Log.h>

/// Collects every message while it lives, instead of printing it.
class CapturedLog {
public:
    CapturedLog() {
        previous = Morvalin::Log::setSink(
            [this](int level, const std::string& category, const std::string& text) {
                const std::lock_guard lock(mutex);
                collected.push_back(std::to_string(level) + " " + category + ": " + text);
            });
    }
    ~CapturedLog() { Morvalin::Log::setSink(previous); }

    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex);
        return collected;
    }

private:
    mutable std::mutex mutex;
    std::vector<std::string> collected;
    Morvalin::Log::Sink previous;
};
