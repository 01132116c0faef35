#include "simulator/Station.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <future>
#include <utility>

namespace ndisim {

namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr bool hasTerminals = NDISIM_HAS_TERMINALS;
constexpr double bitsPerByte = 10; // with start and stop bit

// Of a host that sends on and on without reading. No host asks for so much ahead.
constexpr std::size_t maxWaitingAnswers = 1000;

nanoseconds byteTime(const LinkSettings& link) {
    const double baud = link.rateCode == '7' ? 1228739 : hostBaud(link.rateCode);
    return nanoseconds(static_cast<std::int64_t>(1e9 * bitsPerByte / baud));
}

// What a line at this speed carries in about a timer's tick.
std::size_t pacedPiece(nanoseconds oneByte) {
    return static_cast<std::size_t>(1 + std::chrono::milliseconds(1) / oneByte);
}

} // namespace

Station::Station(SimulatorOptions options) :
    m_options(std::move(options)), m_responder(m_options), m_work(m_context.get_executor()),
    m_endOfFault(m_context),
    m_outbox(m_context, [this](std::string bytes, std::function<void()> done) {
        m_line->write(std::move(bytes), std::move(done));
    }) {}

Station::~Station() {
    stop();
}

void Station::start() {
    m_line = makeLine();
    m_responder.withDevice([this](Device& device) { applyLink(device.link()); });
    m_line->open();
    m_thread = std::thread([this] { m_context.run(); });
}

void Station::stop() {
    if (!m_thread.joinable()) {
        return;
    }
    onThread([this] {
        m_outbox.clear();
        m_endOfFault.cancel();
        m_line->shut();
    });
    m_context.stop();
    m_thread.join();
}

void Station::onThread(const std::function<void()>& function) {
    if (!m_thread.joinable()) {
        return;
    }
    std::packaged_task<void()> task(function);
    auto done = task.get_future();
    boost::asio::post(m_context, [&task] { task(); });
    done.get();
}

void Station::restart() {
    greet(m_responder.restart());
}

// The banner goes out at the settings that the device has come back to.
void Station::greet(Response response) {
    m_outbox.clear();
    if (response.link) {
        applyLink(*std::exchange(response.link, std::nullopt));
    }
    send(std::move(response));
}

void Station::act(Delivery::Action action, std::optional<std::chrono::milliseconds> duration) {
    if (action == Delivery::Action::None) {
        return;
    }
    ++m_interruptions;
    m_endOfFault.cancel();
    if (action == Delivery::Action::Close) {
        m_outbox.clear();
        m_line->disconnect();
        return;
    }
    if (action == Delivery::Action::Unplug) {
        m_outbox.clear();
        m_line->unplug();
    } else {
        m_line->stall();
    }
    if (duration) {
        endAfter(*duration);
    }
}

void Station::endAfter(std::chrono::milliseconds duration) {
    m_endOfFault.expires_after(duration);
    m_endOfFault.async_wait([this](auto error) {
        if (error) {
            return;
        }
        try {
            m_line->replug();
            m_line->resume();
        } catch (const StartError& failure) {
            m_responder.record().event(failure.what());
        }
    });
}

void Station::resume() {
    m_endOfFault.cancel();
    m_line->resume();
}

void Station::replug() {
    m_endOfFault.cancel();
    m_line->replug();
}

void Station::onConnected() {
    m_outbox.clear();
    const auto response = m_responder.connect();
    act(response.delivery.action, response.delivery.duration);
}

void Station::onReceived(std::string_view bytes) {
    // What stands behind a command that ends or stalls the connection is lost with it.
    const unsigned before = m_interruptions;
    while (!bytes.empty() && before == m_interruptions) {
        if (auto response = m_responder.receive(bytes)) {
            send(*std::move(response));
        }
    }
}

void Station::onBreak() {
    greet(m_responder.breakLine());
}

std::unique_ptr<Line> Station::makeLine() {
    if (const auto* tcp = std::get_if<TcpAddress>(&m_options.address)) {
        return makeTcpLine(m_context, *this, tcp->port);
    }
    const auto& link = std::get<PtyAddress>(m_options.address).link;
    if constexpr (hasTerminals) {
        return makePtyLine(m_context, *this, link);
    } else {
        throw StartError("cannot make the pseudo-terminal " + link.string() +
                         ": this system has none");
    }
}

void Station::applyLink(const LinkSettings& link) {
    m_link = link;
    m_line->setLink(link);
}

void Station::send(Response response) {
    auto& delivery = response.delivery;
    Outbox::Item item;
    item.due = steady_clock::now() + delivery.delay;
    item.pieceSize = m_options.chunk;
    item.gap = m_options.chunk == 0 ? nanoseconds(0) : nanoseconds(m_options.chunkGap);
    if (delivery.atOnce) {
        item.firstPiece = delivery.atOnce;
        item.pieceSize = (delivery.bytes.size() - *delivery.atOnce + 1) / 2;
        item.gap = nanoseconds(delivery.untilLast) / 2;
    }
    item.onBegin = [this, bytes = delivery.bytes] {
        if (!bytes.empty()) {
            m_responder.record().sent(bytes);
        }
    };
    item.onEnd = [this, link = response.link, action = delivery.action,
                  duration = delivery.duration] {
        if (link) {
            applyLink(*link);
        }
        act(action, duration);
    };
    item.bytes = std::move(delivery.bytes);
    if (m_outbox.size() >= maxWaitingAnswers) {
        m_responder.record().event("the host does not read: disconnected");
        act(Delivery::Action::Close, std::nullopt);
        return;
    }
    if (m_options.isPaced) {
        pace(item, response.commandBytes);
    }
    m_outbox.push(std::move(item));
}

// Each piece comes when the last of its bytes would. The command has come all at once: its own time
// on the line is waited for first.
void Station::pace(Outbox::Item& item, std::size_t commandBytes) const {
    const auto oneByte = byteTime(m_link);
    if (item.pieceSize == 0) {
        item.pieceSize = pacedPiece(oneByte);
    }
    const std::size_t firstPiece = std::min<std::size_t>(item.pieceSize, item.bytes.size());
    item.due += oneByte * static_cast<std::int64_t>(commandBytes + firstPiece);
    item.gap = std::max(item.gap, oneByte * static_cast<std::int64_t>(item.pieceSize));
}

} // namespace ndisim
