#pragma once

#include "simulator/Line.h"
#include "simulator/Outbox.h"
#include "simulator/Responder.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <optional>
#include <thread>

namespace ndisim {

/// The simulator's inside: the line, the responder behind it and the answers on their way, on one
/// thread. Members that are not said to be for any thread are for that one.
class Station final : LineListener {
public:
    explicit Station(SimulatorOptions options);
    ~Station() override;
    Station(const Station&) = delete;
    Station& operator=(const Station&) = delete;

    void start(); ///< by the owner; throws StartError
    void stop();  ///< by the owner

    /// Runs a function on the station's thread and waits for it; does nothing when it does not run.
    void onThread(const std::function<void()>& function);

    /// For any thread, after start: the line's address, and the responder.
    const Line* line() const { return m_line.get(); }
    Responder& responder() { return m_responder; }
    std::size_t ignoredBytes() const { return m_ignored; }

    void restart();
    void act(Delivery::Action action, std::optional<std::chrono::milliseconds> duration);
    void resume();
    void replug();

private:
    void onConnected() override;
    void onReceived(std::string_view bytes) override;
    void onBreak() override;
    void onIgnored(std::size_t bytes) override { m_ignored += bytes; }
    void onEvent(std::string_view text) override { m_responder.record().event(text); }
    bool isBreakLikely() const override { return m_responder.isInitSpoiled(); }

    std::unique_ptr<Line> makeLine();
    void applyLink(const LinkSettings& link);
    void endAfter(std::chrono::milliseconds duration);
    void greet(Response response);
    void send(Response response);
    void pace(Outbox::Item& item, std::size_t commandBytes) const;

    SimulatorOptions m_options;
    Responder m_responder;
    boost::asio::io_context m_context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    boost::asio::steady_timer m_endOfFault;
    LinkSettings m_link;
    unsigned m_interruptions = 0; ///< of the connection, by faults or from outside
    std::atomic<std::size_t> m_ignored{0};
    std::unique_ptr<Line> m_line;
    Outbox m_outbox;
    std::thread m_thread;
};

} // namespace ndisim
