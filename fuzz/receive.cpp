// The whole receive path over both transports: a command, its answer in any pieces, silence or the
// end of the connection; then whether the next command gets its own answer.
//
// Input: what to do (bits below), the command (an index), the number of cuts and where they are,
// the answer. Port searches take the pieces as answers one after another.

#include "fuzz/Input.h"
#include "fuzz/Peer.h"

namespace {

using fuzz::expect;
using fuzz::Input;
using fuzz::Peer;

enum Choice : unsigned { Serial = 1, HangsUp = 2, Sealed = 4, Probes = 8 };

constexpr const char* kCommands[] = {
    "BX:180F",    "BX:0801",    "TX:1005",     "GX:B00F",   "PHSR:00", "PHINF:0A0075",
    "PSTAT:A01F", "SSTAT:0007", "IRCHK:0003",  "PHRQ:****", "INIT:",   "COMM:51111",
    "COMM:A2000", "VER:4",      "GETLOG:0:10", "TSTART:",   "TSTOP:",  "SFLIST:03",
    "TX 0001",    "BX",         "BEEP:1",      "VGET:0",
};
constexpr std::size_t kReset = std::size(kCommands);
constexpr int timeOut = 0x400;

std::deque<std::string> cut(std::string answer, std::string_view cuts) {
    std::deque<std::string> pieces;
    for (const char place : cuts) {
        const std::size_t length = std::min<std::size_t>(static_cast<unsigned char>(place) * 8U +
                                                             static_cast<unsigned char>(place) % 8U,
                                                         answer.size());
        pieces.push_back(answer.substr(0, length));
        answer.erase(0, length);
    }
    pieces.push_back(std::move(answer));
    return pieces;
}

bool expectsBinary(std::string_view command) {
    return command.starts_with("BX") || command.starts_with("GETLOG") ||
           command.starts_with("VGET");
}

void checkRecovery(Peer& peer) {
    peer.sendLate();
    peer.answerAll([](std::string_view) { return fuzz::sealed("OKAY", false); });
    // Nothing is sent for a while after an answer that did not come whole.
    for (int tries = 0; tries == 0 || deviceGetError(peer.record()) == timeOut; ++tries) {
        const std::string_view reply = deviceCommand(peer.record(), "BEEP:%d", 1);
        expect(tries < 8, "the link comes back into step");
        expect(deviceGetError(peer.record()) == timeOut || reply == "OKAY",
               "the next command gets its own answer");
    }
}

void search(std::deque<std::string> pieces) {
    Peer peer(Peer::Kind::BarePort);
    peer.say(std::move(pieces));
    const int code = deviceProbePort(peer.path().c_str());
    expect(code == 0 || (code >= 0x200 && code <= 0x800 && code % 0x100 == 0),
           "a search ends with one of its codes");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const unsigned choice = input.byte();
    const std::size_t index = input.byte() % (kReset + 1);
    const char* const command = index < kReset ? kCommands[index] : nullptr;
    const std::string_view cuts = input.take(input.byte() % 16);
    std::string answer(input.rest());
    if ((choice & Sealed) != 0)
        answer = fuzz::sealed(answer, command != nullptr && expectsBinary(command));
    std::deque<std::string> pieces = cut(std::move(answer), cuts);
    if ((choice & Probes) != 0) {
        search(std::move(pieces));
        return 0;
    }
    const bool hangsUp = (choice & HangsUp) != 0;
    Peer peer((choice & Serial) != 0 ? Peer::Kind::Serial : Peer::Kind::Tcp);
    peer.say(std::move(pieces), hangsUp ? Peer::End::HangUp : Peer::End::Silence);
    if (command == nullptr)
        deviceCommand(peer.record(), nullptr);
    else
        deviceCommand(peer.record(), "%s", command);
    deviceErrorText(deviceGetError(peer.record()));
    if (!hangsUp)
        checkRecovery(peer);
    return 0;
}
