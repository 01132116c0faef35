#include "app/gui/LogBuffer.h"

#include <utility>

namespace Morvalin::App {

void LogBuffer::append(int level, const std::string& category, const std::string& text) {
    LogLine line{std::chrono::system_clock::now(), level, category, text.substr(0, longestText)};
    {
        const std::lock_guard lock(mutex);
        if (waiting.size() == capacity) {
            waiting.pop_front();
            ++lost;
        }
        waiting.push_back(std::move(line));
        if (std::exchange(isNotified, true))
            return;
    }
    notifyDisplay();
}

LogBuffer::Delivery LogBuffer::take() {
    std::deque<LogLine> taken;
    Delivery delivery;
    {
        const std::lock_guard lock(mutex);
        taken.swap(waiting);
        delivery.lost = std::exchange(lost, 0);
        isNotified = false;
    }
    delivery.lines.assign(std::make_move_iterator(taken.begin()),
                          std::make_move_iterator(taken.end()));
    return delivery;
}

} // namespace Morvalin::App
