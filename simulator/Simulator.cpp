#include "simulator/Simulator.h"

#include "simulator/Line.h"
#include "simulator/Outbox.h"
#include "simulator/Responder.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>

#include <future>
#include <thread>

namespace ndisim {

namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr double bitsPerByte = 10; // with start and stop bit

nanoseconds byteTime(const LinkSettings& link) {
    const double baud = link.rateCode == '7' ? 1228739 : hostBaud(link.rateCode);
    return nanoseconds(static_cast<std::int64_t>(1e9 * bitsPerByte / baud));
}

// About a timer's tick of a line at this speed.
std::size_t pacedPiece(nanoseconds oneByte) {
    return static_cast<std::size_t>(1 + std::chrono::milliseconds(1) / oneByte);
}

} // namespace

class Simulator::Impl final : LineListener {
public:
    explicit Impl(SimulatorOptions options) :
        m_options(std::move(options)), m_responder(m_options), m_resumeTimer(m_context),
        m_outbox(m_context, [this](std::string bytes, std::function<void()> done) {
            m_line->write(std::move(bytes), std::move(done));
        }) {}

    ~Impl() override { stop(); }

    void start() {
        m_line = makeLine();
        m_link = deviceLink();
        m_line->setLink(m_link);
        m_line->open();
        m_thread = std::thread([this] { m_context.run(); });
    }

    void stop() {
        if (m_thread.joinable()) {
            onThread([this] {
                m_outbox.clear();
                m_resumeTimer.cancel();
                m_line->shut();
            });
            m_context.stop();
            m_thread.join();
        }
    }

    // Runs a function on the simulator's thread and waits for it.
    void onThread(const std::function<void()>& function) {
        if (!m_thread.joinable()) {
            return;
        }
        std::packaged_task<void()> task(function);
        auto done = task.get_future();
        boost::asio::post(m_context, [&task] { task(); });
        done.get();
    }

    const Line* line() const { return m_line.get(); }
    Responder& responder() { return m_responder; }

    void restart() {
        m_outbox.clear();
        applyLink(LinkSettings{});
        send(m_responder.restart(), std::nullopt);
    }

    void act(Delivery::Action action, std::optional<std::chrono::milliseconds> duration) {
        m_resumeTimer.cancel();
        switch (action) {
        case Delivery::Action::None:
            return;
        case Delivery::Action::Close:
            m_outbox.clear();
            m_line->disconnect();
            return;
        case Delivery::Action::HalfOpen:
            m_line->stall();
            break;
        case Delivery::Action::Unplug:
            m_outbox.clear();
            m_line->unplug();
            break;
        }
        if (duration) {
            m_resumeTimer.expires_after(*duration);
            m_resumeTimer.async_wait([this](auto error) {
                if (!error) {
                    restore();
                }
            });
        }
    }

    void resume() {
        m_resumeTimer.cancel();
        m_line->resume();
    }

    void replug() {
        m_resumeTimer.cancel();
        m_line->replug();
    }

private:
    // The end of a fault that was to last for a time.
    void restore() {
        try {
            m_line->replug();
            m_line->resume();
        } catch (const StartError& error) {
            m_responder.note(error.what());
        }
    }

    std::unique_ptr<Line> makeLine() {
        if (const auto* tcp = std::get_if<TcpAddress>(&m_options.address)) {
            return makeTcpLine(m_context, *this, tcp->port);
        }
        return makePtyLine(m_context, *this, std::get<PtyAddress>(m_options.address).link);
    }

    LinkSettings deviceLink() {
        LinkSettings link;
        m_responder.withDevice([&](Device& device) { link = device.link(); });
        return link;
    }

    void applyLink(const LinkSettings& link) {
        m_link = link;
        m_line->setLink(link);
    }

    void onConnected() override {
        m_outbox.clear();
        const auto response = m_responder.connect();
        act(response.delivery.action, response.delivery.duration);
    }

    void onReceived(std::string_view bytes) override {
        for (auto& response : m_responder.receive(bytes)) {
            auto link = std::exchange(response.link, std::nullopt);
            send(std::move(response), link);
        }
    }

    void onBreak() override {
        m_outbox.clear();
        auto response = m_responder.breakLine();
        if (response.link) {
            applyLink(*response.link);
        }
        send(std::move(response), std::nullopt);
    }

    void onEvent(std::string_view text) override { m_responder.note(text); }
    bool isBreakLikely() const override { return m_responder.isInitSpoiled(); }

    // `link` takes effect when the answer has gone.
    void send(Response response, std::optional<LinkSettings> link) {
        auto& delivery = response.delivery;
        Outbox::Item item;
        item.due = steady_clock::now() + delivery.delay;
        item.pieceSize = m_options.chunk;
        item.gap = m_options.chunk == 0 ? nanoseconds(0) : nanoseconds(m_options.chunkGap);
        if (m_options.isPaced) {
            pace(item, response.commandBytes);
        }
        item.onBegin = [this, bytes = delivery.bytes] {
            if (!bytes.empty()) {
                m_responder.noteSent(bytes);
            }
        };
        item.onEnd = [this, link, action = delivery.action, duration = delivery.duration] {
            if (link) {
                applyLink(*link);
            }
            act(action, duration);
        };
        item.bytes = std::move(delivery.bytes);
        m_outbox.push(std::move(item));
    }

    // The command has come all at once: its own time on the line is waited for first.
    void pace(Outbox::Item& item, std::size_t commandBytes) const {
        const auto oneByte = byteTime(m_link);
        item.due += oneByte * static_cast<std::int64_t>(commandBytes);
        if (item.pieceSize == 0) {
            item.pieceSize = pacedPiece(oneByte);
        }
        item.gap = std::max(item.gap, oneByte * static_cast<std::int64_t>(item.pieceSize));
    }

    SimulatorOptions m_options;
    Responder m_responder;
    boost::asio::io_context m_context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work{
        m_context.get_executor()};
    boost::asio::steady_timer m_resumeTimer;
    LinkSettings m_link;
    std::unique_ptr<Line> m_line;
    Outbox m_outbox;
    std::thread m_thread;
};

Simulator::Simulator(SimulatorOptions options) :
    m_impl(std::make_unique<Impl>(std::move(options))) {}

Simulator::~Simulator() = default;

void Simulator::start() {
    m_impl->start();
}
void Simulator::stop() {
    m_impl->stop();
}

std::string Simulator::address() const {
    return m_impl->line() == nullptr ? std::string() : m_impl->line()->address();
}

std::uint16_t Simulator::port() const {
    return m_impl->line() == nullptr ? std::uint16_t{0} : m_impl->line()->port();
}

std::vector<Exchange> Simulator::exchanges() const {
    return m_impl->responder().exchanges();
}

std::vector<std::string> Simulator::commands() const {
    std::vector<std::string> texts;
    for (auto& exchange : exchanges()) {
        texts.push_back(std::move(exchange.command));
    }
    return texts;
}

std::size_t Simulator::commandCount() const {
    return m_impl->responder().commandCount();
}
std::size_t Simulator::faultCount() const {
    return m_impl->responder().faultCount();
}
void Simulator::clearLog() {
    m_impl->responder().clearLog();
}

bool Simulator::waitForCommand(const std::string& prefix, std::chrono::milliseconds limit) const {
    return m_impl->responder().waitForCommand(prefix, limit);
}

DeviceState Simulator::state() const {
    DeviceState state{};
    m_impl->responder().withDevice([&](Device& device) { state = device.state(); });
    return state;
}

std::uint32_t Simulator::frameNumber() const {
    std::uint32_t frame = 0;
    m_impl->responder().withDevice([&](Device& device) { frame = device.frameNumber(); });
    return frame;
}

LinkSettings Simulator::link() const {
    LinkSettings link;
    m_impl->responder().withDevice([&](Device& device) { link = device.link(); });
    return link;
}

bool Simulator::hasClient() const {
    bool isConnected = false;
    m_impl->onThread([&] { isConnected = m_impl->line()->isConnected(); });
    return isConnected;
}

void Simulator::withDevice(const std::function<void(Device&)>& function) {
    m_impl->responder().withDevice(function);
}

void Simulator::addFault(FaultRule rule) {
    m_impl->responder().addFault(std::move(rule));
}
void Simulator::addFault(std::string_view rule) {
    addFault(parseFaultRule(rule));
}
void Simulator::clearFaults() {
    m_impl->responder().clearFaults();
}

void Simulator::resetLink() {
    m_impl->onThread([this] { m_impl->restart(); });
}

void Simulator::closeConnection() {
    m_impl->onThread([this] { m_impl->act(Delivery::Action::Close, std::nullopt); });
}

void Simulator::halfOpen() {
    m_impl->onThread([this] { m_impl->act(Delivery::Action::HalfOpen, std::nullopt); });
}

void Simulator::resume() {
    m_impl->onThread([this] { m_impl->resume(); });
}

void Simulator::unplug() {
    m_impl->onThread([this] { m_impl->act(Delivery::Action::Unplug, std::nullopt); });
}

void Simulator::replug() {
    m_impl->onThread([this] { m_impl->replug(); });
}

} // namespace ndisim
