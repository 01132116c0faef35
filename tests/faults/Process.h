#pragma once

#include "protocol/transport.h"

#include <chrono>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>

#include <sys/socket.h>
#include <sys/time.h>

namespace Morvalin {

/// What a process may leak besides memory.
struct Resources {
    static long entries(const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    }
    long descriptors = entries("/proc/self/fd");
    long threads = entries("/proc/self/task");
    bool operator==(const Resources&) const = default;
};

/// Lets the host side of every connection of this process wait for so long for an answer.
inline void setAnswerTimeouts(const std::filesystem::path& line, std::chrono::milliseconds limit) {
    std::error_code none;
    const auto terminal = std::filesystem::read_symlink(line, none);
    const timeval time{limit.count() / 1000, limit.count() % 1000 * 1000};
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename());
        ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
        if (std::filesystem::read_symlink(entry, none) == terminal)
            serialSetTimeout(descriptor, static_cast<int>(limit.count()));
    }
}

} // namespace Morvalin
