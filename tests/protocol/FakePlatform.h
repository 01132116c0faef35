#pragma once

#include "protocol/platform/platform.h"

#include <deque>
#include <string>
#include <vector>

// The operating system as a test wants it: serial ports and a socket that do as they are told and
// write down what was asked of them. Sleeping takes no time. Begins afresh with fake = {}.
struct FakePlatform {
    using Fault = protocol::platform::Transfer::Fault;

    struct Read {
        std::string bytes;
        Fault fault = Fault::none;
        std::int32_t systemError = 0;
    };
    using Write = std::pair<int, Fault>; // how many bytes it takes at most

    // The other end of a socket, for a test that plays it; reads and writes are not used then.
    class Peer {
    public:
        // Lets time pass until something arrives, for at most so many milliseconds.
        virtual protocol::platform::Transfer receive(char* buffer, int max, int ms) = 0;
        virtual void send(const char* bytes, int n) = 0;

    protected:
        ~Peer() = default;
    };

    std::deque<Read> reads;   // in order; then every read times out
    std::deque<Write> writes; // in order; then every write takes everything
    std::string failing;      // the operation that fails: the first word of its log entry
    bool hasDsr = true;
    std::intptr_t nextPort = 100;
    Peer* peer = nullptr;
    std::int64_t nowMs = 1000;
    int receiveTimeoutMs = 0;
    int largestRead = 0;
    std::string log; // what was asked, in order

    // False when it is to fail.
    bool note(const std::string& entry);
};

extern FakePlatform fake;
