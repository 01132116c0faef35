#include "simulator/Line.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include <array>
#include <utility>
#include <vector>

namespace ndisim {

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

struct Connection {
    explicit Connection(tcp::socket accepted) : socket(std::move(accepted)) {}
    tcp::socket socket;
    std::array<char, 4096> buffer{};
    bool isStalled = false;
};

// Serves one client at a time; the next one waits in the listening queue until the first leaves. A
// stalled connection is put aside when the next client comes.
class TcpLine final : public Line {
public:
    TcpLine(boost::asio::io_context& context, LineListener& listener, std::uint16_t port) :
        m_context(context), m_listener(listener), m_acceptor(context), m_port(port) {}

    void open() override {
        try {
            const tcp::endpoint endpoint(boost::asio::ip::address_v4::loopback(), m_port);
            m_acceptor.open(endpoint.protocol());
            m_acceptor.set_option(tcp::acceptor::reuse_address(true));
            m_acceptor.bind(endpoint);
            m_acceptor.listen();
            if (m_port == 0) {
                m_port = m_acceptor.local_endpoint().port();
            }
        } catch (const boost::system::system_error& error) {
            throw StartError("cannot listen on " + address() + ": " + error.code().message());
        }
        accept();
    }

    void shut() override {
        unplug();
        m_isShut = true;
    }

    std::string address() const override { return "127.0.0.1:" + std::to_string(m_port); }
    std::uint16_t port() const override { return m_port; }
    bool isConnected() const override { return m_current != nullptr; }

    void write(std::string bytes, std::function<void()> done) override {
        if (m_current == nullptr || m_current->isStalled) {
            boost::asio::post(m_context, std::move(done));
            return;
        }
        auto kept = std::make_shared<std::string>(std::move(bytes));
        boost::asio::async_write(m_current->socket, boost::asio::buffer(*kept),
                                 [kept, connection = m_current,
                                  done = std::move(done)](error_code, std::size_t) { done(); });
    }

    void disconnect() override {
        drop();
        accept();
    }

    void stall() override {
        if (m_current != nullptr) {
            m_current->isStalled = true;
            error_code ignored;
            m_current->socket.cancel(ignored);
            accept();
        }
    }

    void resume() override {
        m_aside.clear();
        if (m_current != nullptr && std::exchange(m_current->isStalled, false)) {
            error_code ignored;
            m_acceptor.cancel(ignored);
            discardPending();
            read(m_current);
        }
    }

    // A cable pulled out of a switch would leave both ends waiting (that is stall); here the host
    // learns at once that the device has gone.
    void unplug() override {
        error_code ignored;
        m_acceptor.close(ignored);
        if (m_current != nullptr) {
            m_current->socket.set_option(boost::asio::socket_base::linger(true, 0), ignored);
        }
        drop();
        m_aside.clear();
    }

    void replug() override {
        if (!m_acceptor.is_open()) {
            open();
        }
    }

private:
    void accept() {
        const bool isServing = m_current != nullptr && !m_current->isStalled;
        if (m_isAccepting || isServing || !m_acceptor.is_open()) {
            return;
        }
        m_isAccepting = true;
        m_acceptor.async_accept([this](error_code error, tcp::socket socket) {
            m_isAccepting = false;
            if (error) {
                accept();
            } else if (!m_isShut) {
                begin(std::move(socket));
            }
        });
    }

    void begin(tcp::socket socket) {
        if (m_current != nullptr) {
            m_aside.push_back(std::move(m_current));
        }
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        m_current = std::make_shared<Connection>(std::move(socket));
        const auto connection = m_current;
        m_listener.onConnected();
        read(connection);
    }

    void read(const std::shared_ptr<Connection>& connection) {
        if (connection != m_current || connection->isStalled) {
            return;
        }
        connection->socket.async_read_some(
            boost::asio::buffer(connection->buffer),
            [this, connection](error_code error, std::size_t count) {
                if (m_isShut || connection != m_current || connection->isStalled ||
                    error == boost::asio::error::operation_aborted) {
                    return;
                }
                if (error) {
                    m_listener.onEvent("disconnected");
                    disconnect();
                    return;
                }
                m_listener.onReceived({connection->buffer.data(), count});
                read(connection);
            });
    }

    void discardPending() {
        error_code error;
        m_current->socket.non_blocking(true, error);
        while (!error) {
            m_current->socket.read_some(boost::asio::buffer(m_current->buffer), error);
        }
    }

    void drop() {
        if (m_current != nullptr) {
            error_code ignored;
            m_current->socket.close(ignored);
            m_current = nullptr;
        }
    }

    boost::asio::io_context& m_context;
    LineListener& m_listener;
    tcp::acceptor m_acceptor;
    std::uint16_t m_port;
    std::shared_ptr<Connection> m_current;
    std::vector<std::shared_ptr<Connection>> m_aside;
    bool m_isAccepting = false;
    bool m_isShut = false;
};

} // namespace

std::unique_ptr<Line> makeTcpLine(boost::asio::io_context& context, LineListener& listener,
                                  std::uint16_t port) {
    return std::make_unique<TcpLine>(context, listener, port);
}

} // namespace ndisim
