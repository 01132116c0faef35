#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace ndisim {

/// Sends answers one after the other, each at its time and in its pieces. All members are called on
/// the thread that runs the io_context.
class Outbox {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    struct Item {
        std::string bytes;
        TimePoint due{}; ///< not before then, and not before the item before it
        std::optional<std::size_t> firstPiece; ///< none: as long as the others
        std::size_t pieceSize = 0;             ///< 0: whole
        std::chrono::nanoseconds gap{0};       ///< between the beginnings of two pieces
        std::function<void()> onBegin = [] {}; ///< right before the first byte
        std::function<void()> onEnd = [] {};   ///< when the last byte is gone or lost
    };

    /// Sends one piece and calls the function when it is gone or lost, never at once.
    using Writer = std::function<void(std::string, std::function<void()>)>;

    Outbox(boost::asio::io_context& context, Writer writer);

    void push(Item item);
    std::size_t size() const { return m_items.size(); } ///< answers that have not gone yet
    void clear(); ///< what has not gone yet is lost, its onEnd is not called

private:
    void begin();
    void sendPiece();
    void waitUntil(TimePoint time, std::function<void()> then);
    void finish();

    Writer m_writer;
    boost::asio::steady_timer m_timer;
    std::deque<Item> m_items; ///< the first one is under way
    std::size_t m_sent = 0;   ///< bytes of it
    bool m_hasBegun = false;  ///< a piece of it has gone, be it an empty one
    TimePoint m_pieceTime{};
    unsigned m_generation = 0; ///< counts clear(), so that late completions are told apart
};

} // namespace ndisim
