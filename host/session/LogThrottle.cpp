#include "session/LogThrottle.h"

#include <algorithm>

namespace Morvalin::App {

void LogThrottle::tell(Repetition& repetition, Lines& lines) {
    if (repetition.count > passing) {
        LogLine told = repetition.last;
        told.time = std::chrono::system_clock::now();
        told.text = "… and " + std::to_string(repetition.count - passing) +
                    " more like this in the last second";
        lines.push_back(std::move(told));
    }
    repetition.count = 0;
}

LogThrottle::Lines LogThrottle::take(LogLine line, Clock::time_point now) {
    Lines lines;
    Repetition& repetition = repetitions[{line.source, line.level}];
    const bool isEqual =
        repetition.last.text == line.text && repetition.last.category == line.category;
    if (!isEqual || now - repetition.begin >= period) {
        tell(repetition, lines);
        repetition.begin = now;
    }
    if (++repetition.count <= passing)
        lines.push_back(line);
    repetition.last = std::move(line);
    return lines;
}

LogThrottle::Lines LogThrottle::takeDue(Clock::time_point now) {
    Lines lines;
    for (auto& [key, repetition] : repetitions)
        if (now - repetition.begin >= period)
            tell(repetition, lines);
    return lines;
}

std::optional<LogThrottle::Clock::time_point> LogThrottle::nextDue() const {
    std::optional<Clock::time_point> next;
    for (const auto& [key, repetition] : repetitions)
        if (repetition.count > passing)
            next = std::min(next.value_or(Clock::time_point::max()), repetition.begin + period);
    return next;
}

} // namespace Morvalin::App
