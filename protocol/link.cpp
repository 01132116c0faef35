#include "protocol/link.h"

#include <algorithm>

namespace protocol {
namespace {

constexpr int kDropSize = 4096;

// A peer that never stops sending must not keep a command for ever: 1 MiB is far more than all that
// can be waiting.
constexpr int kMostDrops = 256;

int waitBetween(std::int64_t now, std::int64_t end) {
    return static_cast<int>(std::max<std::int64_t>(0, end - now));
}

// A time-out within the bounds of what one command may wait.
int patienceMs(LinkLine& line) {
    const int timeout = line.timeoutMs();
    return timeout == 0 ? Link::kMostWaitMs : std::min(timeout, Link::kMostWaitMs);
}

} // namespace

bool Link::settle(LinkLine& line) {
    if (!isInStep() && !await(line, line.nowMs() + kMostWaitMs, kDropSize)) {
        return false;
    }
    return dropArrived(line);
}

bool Link::dropArrived(LinkLine& line) {
    char dropped[kDropSize];
    for (int i = 0; i < kMostDrops; ++i) {
        const int got = line.receive(dropped, kDropSize, 0);
        if (got > 0) {
            line.drop(dropped, got);
        }
        if (got < kDropSize) {
            return true;
        }
    }
    m_needsQuiet = true;
    m_silentSince = line.nowMs();
    return false;
}

// In doubt about what is still to come, everything is dropped, the command's own answer as well.
bool Link::passOver(LinkLine& line) {
    if (isInStep()) {
        return true;
    }
    if (m_needsQuiet) {
        m_framing = ReplyFraming::endless();
        m_needsQuiet = false;
        m_awaited = 1;
    }
    const int timeout = line.timeoutMs();
    m_silentSince = line.nowMs();
    return await(line, m_silentSince + (timeout == 0 ? kLostAfterMs : timeout), 1);
}

// Until the link is in step, or the time is up.
//   most  the largest piece to be asked for where a reply's end is not known
bool Link::await(LinkLine& line, std::int64_t deadline, int most) {
    const int patience = patienceMs(line);
    while (!isInStep()) {
        char bytes[kDropSize];
        const std::int64_t lostAt = m_silentSince + (m_awaited > 0 ? kLostAfterMs : patience);
        const int max = std::clamp(m_framing.wanted(), most, kDropSize);
        const int got =
            line.receive(bytes, max, waitBetween(line.nowMs(), std::min(lostAt, deadline)));
        const std::int64_t now = line.nowMs();
        if (got > 0) {
            m_silentSince = now;
            takeLate(line, {bytes, static_cast<std::size_t>(got)});
        } else if (got < 0 || now >= lostAt) {
            noteReset();
        }
        if (now >= deadline) {
            return isInStep();
        }
    }
    return true;
}

void Link::takeLate(LinkLine& line, std::string_view bytes) {
    line.drop(bytes.data(), static_cast<int>(bytes.size()));
    for (std::size_t i = 0; i < bytes.size() && m_awaited > 0; ++i) {
        m_framing.add(bytes.substr(i, 1));
        if (m_framing.isWhole()) {
            --m_awaited;
            m_framing = ReplyFraming(false); // only commands with a text reply are sent meanwhile
        }
    }
}

void Link::noteMissing(LinkLine& line, std::string_view beginning, bool expectsBinary) {
    if (isInStep()) {
        noteDamaged(line, beginning, {}, expectsBinary);
        return;
    }
    m_silentSince = line.nowMs();
    m_needsQuiet = false;
    ++m_awaited;
}

void Link::noteDamaged(LinkLine& line, std::string_view received, std::string_view tail,
                       bool expectsBinary) {
    m_silentSince = line.nowMs();
    m_framing = ReplyFraming(expectsBinary);
    m_framing.add(received);
    m_framing.add(tail);
    m_needsQuiet = m_framing.isWhole();
    m_awaited = m_framing.isWhole() ? 0 : 1;
}

void Link::noteReset() {
    m_awaited = 0;
    m_needsQuiet = false;
}

} // namespace protocol
