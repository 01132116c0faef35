#include "fuzz/Peer.h"

#include "fuzz/Input.h"
#include "simulator/Texts.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace fuzz {
namespace {

Peer* current = nullptr;

/// The library's clock: it moves when something is waited for in vain, by the length of the wait.
std::int64_t clockMs = 1;
constexpr int blockingWaitMs = 100;

/// The fuzzer's own clock interrupts system calls, and they are not taken up again by themselves.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

struct Listener {
    Listener() : descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        socklen_t size = sizeof(address);
        expect(bind(descriptor, generic, size) == 0 && listen(descriptor, 4) == 0 &&
                   getsockname(descriptor, generic, &size) == 0,
               "the loopback device can be listened on");
        port = ntohs(address.sin_port);
    }
    int descriptor;
    std::uint16_t port;
};

} // namespace

Peer::Peer(Kind kind) {
    current = this;
    if (kind == Kind::Tcp)
        openTcp();
    else
        openTerminal();
    if (kind == Kind::Serial)
        m_record = deviceOpenSerial(m_path.c_str());
    expect(kind == Kind::BarePort || m_record != nullptr, "the connection can be opened");
}

Peer::~Peer() {
    if (m_path.empty())
        hangUp(); // first, so that the port number is free again at once
    if (m_closesRecord)
        deviceCloseNetwork(m_record);
    hangUp();
    current = nullptr;
}

DeviceRecord* Peer::handOver() {
    m_closesRecord = false;
    return m_record;
}

void Peer::openTcp() {
    static const Listener listener;
    m_record = deviceOpenNetwork("127.0.0.1", listener.port);
    m_descriptor = uninterrupted([] {
        return accept4(listener.descriptor, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    });
    const linger dropAll{1, 0};
    setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &dropAll, sizeof(dropAll));
}

void Peer::openTerminal() {
    m_descriptor = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    char name[64] = {};
    expect(m_descriptor >= 0 && grantpt(m_descriptor) == 0 && unlockpt(m_descriptor) == 0 &&
               ptsname_r(m_descriptor, name, sizeof(name)) == 0,
           "a pseudo-terminal can be had");
    m_path = name;
}

void Peer::hangUp() {
    if (m_descriptor >= 0)
        close(m_descriptor);
    m_descriptor = -1;
}

void Peer::send(std::string_view bytes) {
    if (m_descriptor < 0 || bytes.empty())
        return;
    const ssize_t sent =
        uninterrupted([&] { return write(m_descriptor, bytes.data(), bytes.size()); });
    expect(sent == static_cast<ssize_t>(bytes.size()), "the answer fits into the line");
}

/// A terminal that nobody empties would block the library.
void Peer::dropCommands() const {
    char dropped[4096];
    while (m_descriptor >= 0 && read(m_descriptor, dropped, sizeof(dropped)) > 0)
        continue;
}

void Peer::say(std::deque<std::string> pieces, End end) {
    m_pieces = std::move(pieces);
    m_end = end;
}

void Peer::answerAll(Answer answer) {
    m_answer = std::move(answer);
    const auto onTraffic = [](DeviceTraffic traffic, const char* bytes, int length, void* self) {
        Peer& peer = *static_cast<Peer*>(self);
        if (traffic != DeviceTraffic::sent)
            return;
        std::string reply = peer.m_answer({bytes, static_cast<std::size_t>(length - 1)});
        if (reply.empty())
            peer.say({}, End::HangUp);
        else
            peer.say({std::move(reply)});
    };
    deviceSetTraceCallback(m_record, onTraffic, this);
}

void Peer::sendLate() {
    for (const std::string& piece : m_pieces)
        send(piece);
    m_pieces.clear();
    if (m_path.empty() || m_record == nullptr)
        return;
    // The kernel hands bytes over to the other end when somebody looks there.
    pollfd waiting{static_cast<int>(m_record->serialPort), POLLIN, 0};
    ::poll(&waiting, 1, 0);
}

bool Peer::isAboutToWait() {
    dropCommands();
    if (m_pieces.empty()) {
        if (m_end == End::HangUp)
            hangUp();
        return m_end == End::HangUp;
    }
    const std::string piece = std::move(m_pieces.front());
    m_pieces.pop_front();
    send(piece);
    return !piece.empty();
}

std::string sealed(std::string_view content, bool isBinary) {
    if (!isBinary)
        return ndisim::withCrc(content);
    const auto put = [](std::string& bytes, unsigned value) {
        bytes += {static_cast<char>(value), static_cast<char>(value >> 8)};
    };
    std::string reply = "\xC4\xA5";
    put(reply, static_cast<unsigned>(content.size()));
    put(reply, ndisim::crc16(reply));
    reply += content;
    put(reply, ndisim::crc16(content));
    return reply;
}

} // namespace fuzz

// The linker sends the library's calls here.
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier)
int __real_poll(pollfd* descriptors, nfds_t count, int timeout);
ssize_t __real_recv(int socket, void* buffer, std::size_t size, int flags);
int __real_nanosleep(const timespec* duration, timespec* left);

int __wrap_poll(pollfd* descriptors, nfds_t count, int timeout) {
    if (fuzz::current == nullptr || (descriptors->events & POLLIN) == 0)
        return __real_poll(descriptors, count, timeout);
    // What is there already is there before the next piece.
    const int ready = __real_poll(descriptors, count, 0);
    if (ready != 0)
        return ready;
    if (fuzz::current->isAboutToWait())
        return __real_poll(descriptors, count, 1000);
    fuzz::clockMs += timeout;
    return 0;
}

ssize_t __wrap_recv(int socket, void* buffer, std::size_t size, int flags) {
    if (fuzz::current == nullptr || (flags & MSG_DONTWAIT) != 0)
        return __real_recv(socket, buffer, size, flags);
    const ssize_t got = __real_recv(socket, buffer, size, flags | MSG_DONTWAIT);
    if (got >= 0 || errno != EAGAIN)
        return got;
    if (fuzz::current->isAboutToWait())
        return __real_recv(socket, buffer, size, flags);
    fuzz::clockMs += fuzz::blockingWaitMs;
    errno = EAGAIN;
    return got;
}

std::int64_t __wrap__ZN8protocol8platform5nowMsEv() {
    return fuzz::clockMs;
}

int __wrap_nanosleep(const timespec* duration, timespec* left) {
    return fuzz::current == nullptr ? __real_nanosleep(duration, left) : 0;
}
// NOLINTEND(bugprone-reserved-identifier)
}
