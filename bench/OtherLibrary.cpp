#include "bench/BareLine.h"
#include "bench/Paired.h"

#include <array>
#include <memory>
#include <string>

#include <modbus.h>

// A request/reply device library that many use, by the same method: reading 60 registers.
namespace bench {
namespace {

constexpr int registers = 60;
constexpr std::size_t requestLength = 12;
constexpr std::size_t replyLength = 9 + 2 * registers;

/// A device with 60 registers: the reply repeats the number of the request.
class Registers {
public:
    std::string_view answer(std::string_view request) {
        if (request.size() < requestLength) {
            return {};
        }
        m_reply.replace(0, 2, request, 0, 2);
        return m_reply;
    }

private:
    std::string m_reply = std::string("\0\0\0\0\0\x7B\xFF\x03\x78", 9) + std::string(120, '\x21');
};

void run(benchmark::State& state) {
    const OneCore pinned;
    Registers bareDevice;
    Registers device;
    const Peer barePeer(Line::Tcp, [&](std::string_view r) { return bareDevice.answer(r); });
    const Peer peer(Line::Tcp, [&](std::string_view r) { return device.answer(r); });
    BareLine line(barePeer);
    const std::unique_ptr<modbus_t, decltype(&modbus_free)> client(
        modbus_new_tcp("127.0.0.1", peer.port()), modbus_free);
    if (modbus_connect(client.get()) != 0) {
        state.SkipWithError("no connection");
        return;
    }
    const std::string request("\0\1\0\0\0\6\xFF\3\0\0\0\x3C", requestLength);
    std::array<std::uint16_t, registers> values{};
    bool isGood = true;
    compare(
        state, exchanges,
        [&] {
            for (int i = 0; i < exchanges; ++i) {
                line.exchange(request, replyLength);
            }
        },
        [&] {
            for (int i = 0; i < exchanges; ++i) {
                isGood &=
                    modbus_read_registers(client.get(), 0, registers, values.data()) == registers;
            }
        },
        [&] {
            for (int i = 0; i < exchanges; ++i) {
                line.receiveNothing();
            }
        });
    modbus_close(client.get());
    if (!isGood) {
        state.SkipWithError("an exchange failed");
    }
}

} // namespace

void registerOtherLibrary(const Effort& effort) {
    addPaired(effort, "command/tcp/libmodbus", run);
}

} // namespace bench
