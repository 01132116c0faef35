#pragma once

#include "protocol/platform/platform.h"

#include <deque>
#include <string>
#include <vector>

// The operating system as a test wants it: one serial port and one socket that do as they are told
// and write down what was asked of them. Sleeping takes no time.
struct FakePlatform {
    using Fault = protocol::platform::Transfer::Fault;

    // The outcome of one read or write, in order. Reads without an entry time out, writes without
    // one take everything.
    struct Step {
        std::string bytes;
        Fault fault = Fault::none;
        std::int32_t systemError = 0;
    };
    std::deque<Step> reads;
    std::deque<std::pair<int, Fault>> writes;

    // Operations that fail, by the first word of their log entry.
    std::vector<std::string> failing;

    bool hasDsr = true;
    std::intptr_t nextPort = 100;
    int largestRequest = 0;

    // What was asked, in order.
    std::vector<std::string> log;

    bool note(const std::string& entry);
    std::string joinedLog() const;

    // Queues one read a reply.
    void answer(std::initializer_list<std::string> replies);
};

// The one that the library runs on; begins afresh with each.
extern FakePlatform fake;
