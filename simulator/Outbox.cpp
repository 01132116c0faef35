#include "simulator/Outbox.h"

#include <algorithm>
#include <utility>

namespace ndisim {

Outbox::Outbox(boost::asio::io_context& context, Writer writer) :
    m_writer(std::move(writer)), m_timer(context) {}

void Outbox::push(Item item) {
    m_items.push_back(std::move(item));
    if (m_items.size() == 1) {
        begin();
    }
}

void Outbox::clear() {
    ++m_generation;
    m_timer.cancel();
    m_items.clear();
}

void Outbox::begin() {
    m_sent = 0;
    m_hasBegun = false;
    m_pieceTime = std::max(m_items.front().due, std::chrono::steady_clock::now());
    waitUntil(m_items.front().due, [this] {
        const unsigned generation = m_generation;
        m_items.front().onBegin();
        if (generation == m_generation) {
            sendPiece();
        }
    });
}

void Outbox::sendPiece() {
    const Item& item = m_items.front();
    const std::size_t left = item.bytes.size() - m_sent;
    if (left == 0) {
        finish();
        return;
    }
    const std::size_t wanted =
        m_hasBegun ? item.pieceSize : item.firstPiece.value_or(item.pieceSize);
    m_hasBegun = true;
    const std::size_t count = item.pieceSize == 0 ? left : std::min(left, wanted);
    std::string piece = item.bytes.substr(m_sent, count);
    m_sent += count;
    m_pieceTime += item.gap;
    m_writer(std::move(piece), [this, isLast = count == left, generation = m_generation] {
        if (generation != m_generation) {
            return;
        }
        if (isLast) {
            finish();
        } else {
            waitUntil(m_pieceTime, [this] { sendPiece(); });
        }
    });
}

void Outbox::waitUntil(TimePoint time, std::function<void()> then) {
    if (time <= std::chrono::steady_clock::now()) {
        then();
        return;
    }
    m_timer.expires_at(time);
    m_timer.async_wait([generation = m_generation, this, then = std::move(then)](auto error) {
        if (!error && generation == m_generation) {
            then();
        }
    });
}

// Actions at the end may clear the outbox, so the item leaves it first.
void Outbox::finish() {
    const unsigned generation = m_generation;
    const auto onEnd = std::move(m_items.front().onEnd);
    m_items.pop_front();
    onEnd();
    if (generation == m_generation && !m_items.empty()) {
        begin();
    }
}

} // namespace ndisim
