#pragma once

#include "tests/protocol/FakePlatform.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

// A network device that answers late, in pieces, in part, spoiled, in the wrong kind or not at all,
// on a clock that only moves when somebody waits. It numbers the commands that reach it and puts
// the number into each answer, so that every answer tells which command it belongs to.
//
// What it keeps to is what the library promises to cope with: no answer ends later than 2 s after
// its time-out, and a spoiled one comes without pauses.
class LateSession final : public FakePlatform::Peer {
public:
    // Gives a number below the bound: random, or from a fuzzer's input.
    using Choice = std::function<unsigned(unsigned bound)>;

    explicit LateSession(Choice choice) : m_choice(std::move(choice)) {}

    // Runs some commands and lets the device recover.
    //   result  what should not have happened; empty when nothing did
    std::string run();

    unsigned answered = 0; // commands that got an answer

private:
    enum Kind { binary, text, stop, reset };
    struct Piece {
        std::int64_t at;
        std::string bytes;
    };

    protocol::platform::Transfer receive(char* buffer, int max, int ms) override;
    void send(const char* bytes, int n) override;

    std::string ask(Kind kind);
    std::string command(Kind kind);
    std::string recover();
    std::string answer(Kind kind);
    void deliver(std::string bytes);
    void scatter(const std::string& bytes, std::int64_t begin, std::int64_t end);

    Choice m_choice;
    struct DeviceRecord* m_device = nullptr;
    bool m_isWell = false;
    Kind m_kind = binary;
    unsigned m_commands = 0; // that reached the device
    int m_timeoutMs = 0;
    std::int64_t m_lastArrival = 0;
    std::deque<Piece> m_pieces;
    std::string m_arrived; // what the library took during a command
    std::string m_shown;   // what its trace showed of that
};
