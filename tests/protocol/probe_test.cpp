#include "protocol/device.h"
#include "tests/protocol/FakePlatform.h"
#include "tests/protocol/Wire.h"

#include <gtest/gtest.h>

namespace {

using Fault = FakePlatform::Fault;
using Writes = std::deque<std::pair<int, Fault>>;

const std::string kOpen = "open COM3, capture, queues 1600/1600, raw, timeouts 5000+2, ";
const std::string kPrepare = kOpen + "line 9600 8N1, timeouts 100+2, purge rt, ";
const std::string kAsk = "write INIT:E3A5~, sleep 100, ";
const std::string kReset =
    "timeouts 7000+2, purge rt, purge rt, purge rt, break, sleep 300, unbreak, ";
const std::string kInfo = "sleep 100, write GETINFO:Features.Firmware.Version0492~, ";
const std::string kEnd = "restore, close";

const std::string kOkay = "OKAYA896\r";
const std::string kResetReport = "RESETBE6F\r";
const std::string kFeatures = "Features.Firmware.Version=1234\r";
const std::string kError = "ERROR0102D1\r";
const std::string kSilence; // an empty read is a time-out

} // namespace

TEST(Probe, EveryPathInItsOrder) {
    const std::string again = kPrepare + kAsk + kReset + "sleep 100, " + kAsk;
    const struct {
        const char* what;
        std::vector<std::string> replies;
        int result;
        std::string log;
    } cases[] = {
        {"answers at once", {kOkay, kFeatures}, 0, kPrepare + kAsk + kInfo + kEnd},
        {"older firmware",
         {kOkay, kError, "VERSION\r"},
         0,
         kPrepare + kAsk + kInfo + "write VER:065EE~, " + kEnd},
        {"version too short",
         {kOkay, kError, "VERSI\r"},
         0x800,
         kPrepare + kAsk + kInfo + "write VER:065EE~, " + kEnd},
        {"version missing",
         {kOkay, kError},
         0x800,
         kPrepare + kAsk + kInfo + "write VER:065EE~, " + kEnd},
        {"another device", {kOkay, "Feature\r"}, 0x800, kPrepare + kAsk + kInfo + kEnd},
        {"silent at the end", {kOkay}, 0x400, kPrepare + kAsk + kInfo + kEnd},
        {"answers after a reset",
         {kSilence, kResetReport, kOkay, kFeatures},
         0,
         again + kInfo + kEnd},
        {"wrong answer, then a reset",
         {"OKAYA897\r", kResetReport, kOkay, kFeatures},
         0,
         again + kInfo + kEnd},
        {"device error, then a reset",
         {kError, kResetReport, kOkay, kFeatures},
         0,
         again + kInfo + kEnd},
        {"no reset", {}, 0x400, kPrepare + kAsk + kReset + kEnd},
        {"not a reset", {kSilence, "RESETBE6E\r"}, 0x800, kPrepare + kAsk + kReset + kEnd},
        {"silent after it", {kSilence, kResetReport}, 0x400, again + kEnd},
        {"wrong after it", {kSilence, kResetReport, "OKAYA89\r"}, 0x800, again + kEnd},
    };
    for (const auto& each : cases) {
        fake = {};
        for (const std::string& reply : each.replies) {
            fake.answer({reply});
        }
        EXPECT_EQ(deviceProbePort("COM3"), each.result) << each.what;
        EXPECT_EQ(fake.joinedLog(), each.log) << each.what;
        EXPECT_TRUE(fake.reads.empty()) << each.what;
    }
}

TEST(Probe, WhatTheSystemRefuses) {
    fake = {};
    fake.hasDsr = false;
    EXPECT_EQ(deviceProbePort("COM3"), 0x800);
    EXPECT_EQ(fake.joinedLog(), kOpen + kEnd); // nothing was written

    const struct {
        const char* operation;
        int result;
        std::string log;
    } refusals[] = {
        {"open", 0x200, "open COM3"},
        {"capture", 0x200, "open COM3, capture, close"},
        {"queues", 0x200, "open COM3, capture, queues 1600/1600, close"},
        {"raw", 0x200, "open COM3, capture, queues 1600/1600, raw, close"},
        {"timeouts", 0x200, kOpen + "restore, close"},
        {"line", 0x300, kOpen + "line 9600 8N1, " + kEnd},
    };
    for (const auto& [operation, result, log] : refusals) {
        fake = {};
        fake.failing = {operation};
        EXPECT_EQ(deviceProbePort("COM3"), result) << operation;
        EXPECT_EQ(fake.joinedLog(), log) << operation;
    }
}

TEST(Probe, BrokenReadsAndWrites) {
    const FakePlatform::Step bad = {"", Fault::failed};
    const std::pair<int, Fault> all = {100, Fault::none};
    const std::pair<int, Fault> refused = {0, Fault::failed};
    const std::pair<int, Fault> few = {3, Fault::none};
    const std::pair<int, Fault> none = {0, Fault::none};
    const struct {
        const char* what;
        std::deque<FakePlatform::Step> reads;
        Writes writes;
        int result;
    } cases[] = {
        {"first write short: reset", {{kResetReport}, {kOkay}, {kFeatures}}, {few, none}, 0},
        {"first write fails: reset", {{kResetReport}, {kOkay}, {kFeatures}}, {refused}, 0},
        {"first read fails: reset", {bad, {kResetReport}, {kOkay}, {kFeatures}}, {}, 0},
        {"reset report fails", {bad, bad}, {}, 0x600},
        {"second write fails", {bad, {kResetReport}}, {all, refused}, 0x500},
        {"second write short", {bad, {kResetReport}}, {all, few, none}, 0x400},
        {"second read fails", {bad, {kResetReport}, bad}, {}, 0x600},
        {"third write fails", {{kOkay}}, {all, refused}, 0x800},
        {"third write short", {{kOkay}}, {all, few, none}, 0x800},
        {"last read fails", {{kOkay}, bad}, {}, 0x600},
        {"version write short", {{kOkay}, {kError}}, {all, all, few, none}, 0x800},
        {"version read fails", {{kOkay}, {kError}, bad}, {}, 0x800},
    };
    for (const auto& each : cases) {
        fake = {};
        fake.reads = each.reads;
        fake.writes = each.writes;
        EXPECT_EQ(deviceProbePort("COM3"), each.result) << each.what;
        EXPECT_EQ(fake.log.back(), "close") << each.what;
        EXPECT_EQ(fake.log[fake.log.size() - 2], "restore") << each.what;
    }
}
