#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Morvalin::App {

/// One line of the log.
struct LogLine {
    std::chrono::system_clock::time_point time{};
    int level = 0;
    std::string source; ///< label of the stream that wrote it, empty for none
    std::string category;
    std::string text;
    bool hasOthers = false; ///< there were several streams when it was written
};

/// Keeps a device that is gone from filling the log: of lines that are equal to the last one of the
/// same stream and level, three pass within a second and the others are counted. Nothing else is
/// held back, and a count comes before the next different line of its stream and level.
class LogThrottle {
public:
    using Clock = std::chrono::steady_clock;
    using Lines = std::vector<LogLine>;

    static constexpr std::uint64_t passing = 3;
    static constexpr Clock::duration period = std::chrono::seconds(1);

    /// What is to be written when this line comes.
    Lines take(LogLine line, Clock::time_point now);
    /// The counts whose second is over.
    Lines takeDue(Clock::time_point now);
    /// When the next count is due; nothing when no line is held back.
    std::optional<Clock::time_point> nextDue() const;

private:
    struct Repetition {
        LogLine last;
        Clock::time_point begin{};
        std::uint64_t count = 0; ///< since the begin, those that passed among them
    };

    static void tell(Repetition& repetition, Lines& lines);

    std::map<std::pair<std::string, int>, Repetition> repetitions; ///< by stream and level
};

} // namespace Morvalin::App
