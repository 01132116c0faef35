#include "simulator/Line.h"
#include "simulator/posix/PtyTerminal.h"
#include "simulator/posix/StaleLink.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

namespace ndisim {

namespace {

namespace fs = std::filesystem;
using boost::asio::posix::stream_descriptor;
using boost::system::error_code;

// A host holds its break for 300 ms.
constexpr std::chrono::milliseconds breakSilence{300};

// A break does not reach the other end of a pseudo-terminal, only the flushes around it do. A host
// breaks the line when it got no proper answer to INIT (or to anything, because the device listens
// at another rate); it then flushes both directions and is silent for as long as the break lasts.
class BreakWatch {
public:
    BreakWatch(boost::asio::io_context& context, std::function<void()> onBreak) :
        m_timer(context), m_onBreak(std::move(onBreak)) {}

    void onBytes(bool wereIgnored) {
        m_hasIgnored = wereIgnored;
        m_flushes = 0;
        m_timer.cancel();
    }

    void onFlush(unsigned directions, bool isBreakLikely) {
        m_flushes |= directions;
        if (m_flushes != (TIOCPKT_FLUSHREAD | TIOCPKT_FLUSHWRITE) ||
            !(m_hasIgnored || isBreakLikely)) {
            return;
        }
        m_timer.expires_after(breakSilence);
        m_timer.async_wait([this](error_code error) {
            if (!error && m_flushes != 0) {
                m_flushes = 0;
                m_hasIgnored = false;
                m_onBreak();
            }
        });
    }

    void stop() { onBytes(false); }

private:
    boost::asio::steady_timer m_timer;
    std::function<void()> m_onBreak;
    unsigned m_flushes = 0; // seen since the last bytes
    bool m_hasIgnored = false;
};

class PtyLine final : public Line {
public:
    PtyLine(boost::asio::io_context& context, LineListener& listener, fs::path link) :
        m_context(context), m_listener(listener), m_link(std::move(link)),
        m_breakWatch(context, [this] { m_listener.onBreak(); }) {}

    ~PtyLine() override { shut(); }

    void open() override {
        removeStaleLink(m_link); // first: the new terminal may get the name of the one that is gone
        try {
            m_terminal.emplace();
            m_descriptor.emplace(m_context, m_terminal->device());
            fs::create_symlink(m_terminal->hostPath(), m_link);
        } catch (const std::system_error& error) {
            release();
            throw StartError("cannot make the pseudo-terminal " + m_link.string() + ": " +
                             error.code().message());
        }
        wait();
    }

    void shut() override { unplug(); }

    std::string address() const override { return m_link.string(); }
    bool isConnected() const override { return m_terminal.has_value(); }

    void write(std::string bytes, std::function<void()> done) override {
        if (!m_terminal || m_isStalled ||
            !isUnderstood("lost " + std::to_string(bytes.size()) +
                          " bytes on their way to the host")) {
            boost::asio::post(m_context, std::move(done));
            return;
        }
        auto kept = std::make_shared<std::string>(std::move(bytes));
        boost::asio::async_write(
            *m_descriptor, boost::asio::buffer(*kept),
            [kept, done = std::move(done)](error_code, std::size_t) { done(); });
    }

    void setLink(const LinkSettings& link) override { m_settings = link; }

    // As when an adapter is pulled and put back at once.
    void disconnect() override {
        unplug();
        replug();
    }

    void stall() override {
        m_isStalled = true;
        m_breakWatch.stop();
    }

    void resume() override {
        if (m_terminal && std::exchange(m_isStalled, false)) {
            m_terminal->discardReceived();
            wait();
        }
    }

    void unplug() override {
        m_breakWatch.stop();
        if (m_terminal) {
            removeLink();
        }
        release();
    }

    void replug() override {
        if (!m_terminal) {
            m_isStalled = false;
            open();
        }
    }

private:
    void removeLink() {
        std::error_code error;
        if (fs::read_symlink(m_link, error) == m_terminal->hostPath()) {
            fs::remove(m_link, error);
        }
    }

    // The descriptor belongs to the terminal, asio only watches it.
    void release() {
        if (m_descriptor) {
            m_descriptor->release();
            m_descriptor.reset();
        }
        m_terminal.reset();
        m_isWaiting = false;
        ++m_generation;
    }

    void wait() {
        if (std::exchange(m_isWaiting, true)) {
            return;
        }
        m_descriptor->async_wait(stream_descriptor::wait_read,
                                 [this, generation = m_generation](error_code) {
                                     if (generation == m_generation) {
                                         m_isWaiting = false;
                                         readOnce();
                                     }
                                 });
    }

    // One read at a time: what it leads to, a change of rate above all, comes before the next.
    void readOnce() {
        std::array<char, 4096> bytes{};
        const auto count =
            m_isStalled ? 0 : ::read(m_terminal->device(), bytes.data(), bytes.size());
        const unsigned generation = m_generation;
        if (count > 0) {
            take({bytes.data(), static_cast<std::size_t>(count)});
        }
        if (generation == m_generation && !m_isStalled) {
            wait();
        }
    }

    // One read in packet mode: a status byte, and bytes behind it if that is 0.
    void take(std::string_view packet) {
        const auto status = static_cast<unsigned char>(packet.front());
        if (status != TIOCPKT_DATA) {
            m_breakWatch.onFlush(status & (TIOCPKT_FLUSHREAD | TIOCPKT_FLUSHWRITE),
                                 m_listener.isBreakLikely());
            return;
        }
        const auto bytes = packet.substr(1);
        const bool isHeard =
            isUnderstood("ignored " + std::to_string(bytes.size()) + " bytes from the host");
        m_breakWatch.onBytes(!isHeard);
        if (isHeard) {
            m_listener.onReceived(bytes);
        } else {
            m_listener.onIgnored(bytes.size());
        }
    }

    bool isUnderstood(const std::string& otherwise) {
        const auto host = m_terminal->hostLine();
        const bool hasHandshake = m_settings.handshake == '1';
        const int baud = hostBaud(m_settings.rateCode);
        if (host.baud == baud && host.hasHandshake == hasHandshake) {
            return true;
        }
        const auto text = [](int rate, bool isOn) {
            return std::to_string(rate) + " baud " + (isOn ? "with" : "without") + " handshake";
        };
        m_listener.onEvent(otherwise + ": it is at " + text(host.baud, host.hasHandshake) +
                           ", the device at " + text(baud, hasHandshake));
        return false;
    }

    boost::asio::io_context& m_context;
    LineListener& m_listener;
    fs::path m_link;
    BreakWatch m_breakWatch;
    std::optional<PtyTerminal> m_terminal;
    std::optional<stream_descriptor> m_descriptor;
    LinkSettings m_settings;
    bool m_isStalled = false;
    bool m_isWaiting = false;
    unsigned m_generation = 0; // counts terminals, so that late events are told apart
};

} // namespace

std::unique_ptr<Line> makePtyLine(boost::asio::io_context& context, LineListener& listener,
                                  const std::filesystem::path& link) {
    return std::make_unique<PtyLine>(context, listener, link);
}

} // namespace ndisim
