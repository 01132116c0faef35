#include "protocol/device.h"
#include "tests/protocol/FakePlatform.h"

#include <gtest/gtest.h>
#include <map>

namespace {

using Fault = FakePlatform::Fault;
using Reads = std::deque<FakePlatform::Read>;

const FakePlatform::Read kOkay = {"OKAYA896\r"};
const FakePlatform::Read kReset = {"RESETBE6F\r"};
const FakePlatform::Read kFeatures = {"Features.Firmware.Version=1234\r"};
const FakePlatform::Read kError = {"ERROR0102D1\r"};
const FakePlatform::Read kSilence = {""};
const FakePlatform::Read kBroken = {"", Fault::failed};

// What the probe asks of the system, a letter a step.
std::string spelledOut(const std::string& steps) {
    static const std::map<char, std::string> kSteps = {
        {'o', "open, capture, queues 3200, raw, timeouts 5000+2"},
        {'p', "line 9600 8N1, timeouts 100+2, purge rt"},
        {'i', "write INIT:E3A5~, sleep 100"},
        {'r', "timeouts 7000+2, purge rt, purge rt, purge rt, break, sleep 300, unbreak"},
        {'s', "sleep 100"},
        {'g', "sleep 100, write GETINFO:Features.Firmware.Version0492~"},
        {'v', "write VER:065EE~"},
        {'c', "purge t, restore, close"}};
    std::string log;
    for (const char step : steps) {
        log += (log.empty() ? "" : ", ") + kSteps.at(step);
    }
    return log;
}

} // namespace

TEST(Probe, EveryPathInItsOrder) {
    const std::tuple<const char*, Reads, int, const char*> cases[] = {
        {"answers at once", {kOkay, kFeatures}, 0, "opigc"},
        {"older firmware", {kOkay, kError, {"VERSION\r"}}, 0, "opigvc"},
        {"version too short", {kOkay, kError, {"VERSI\r"}}, 0x800, "opigvc"},
        {"version missing", {kOkay, kError}, 0x800, "opigvc"},
        {"version broken", {kOkay, kError, kBroken}, 0x800, "opigvc"},
        {"another device", {kOkay, {"Feature\r"}}, 0x800, "opigc"},
        {"silent at the end", {kOkay}, 0x400, "opigc"},
        {"broken at the end", {kOkay, kBroken}, 0x600, "opigc"},
        {"silent, then reset", {kSilence, kReset, kOkay, kFeatures}, 0, "opirsigc"},
        {"broken, then reset", {kBroken, kReset, kOkay, kFeatures}, 0, "opirsigc"},
        {"wrong answer, then reset", {{"OKAYA897\r"}, kReset, kOkay, kFeatures}, 0, "opirsigc"},
        {"device error, then reset", {kError, kReset, kOkay, kFeatures}, 0, "opirsigc"},
        {"no reset", {}, 0x400, "opirc"},
        {"not a reset", {kSilence, {"RESETBE6E\r"}}, 0x800, "opirc"},
        {"broken reset", {kSilence, kBroken}, 0x600, "opirc"},
        {"silent after it", {kSilence, kReset}, 0x400, "opirsic"},
        {"wrong after it", {kSilence, kReset, {"OKAYA89\r"}}, 0x800, "opirsic"},
        {"broken after it", {kSilence, kReset, kBroken}, 0x600, "opirsic"},
    };
    for (const auto& [what, reads, result, steps] : cases) {
        fake = {};
        fake.reads = reads;
        EXPECT_EQ(deviceProbePort("COM3"), result) << what;
        EXPECT_EQ(fake.log, spelledOut(steps)) << what;
    }
}

TEST(Probe, WhatTheSystemRefuses) {
    fake = {};
    fake.hasDsr = false;
    EXPECT_EQ(deviceProbePort("COM3"), 0x800);
    EXPECT_EQ(fake.log, spelledOut("oc")); // nothing was written
    const std::tuple<const char*, int, std::string> refusals[] = {
        {"open", 0x200, "open"},
        {"capture", 0x200, "open, capture, close"},
        {"queues", 0x200, "open, capture, queues 3200, close"},
        {"raw", 0x200, "open, capture, queues 3200, raw, close"},
        {"timeouts", 0x200, spelledOut("o") + ", restore, close"},
        {"line", 0x300, spelledOut("o") + ", line 9600 8N1, purge t, restore, close"},
    };
    for (const auto& [operation, result, log] : refusals) {
        fake = {};
        fake.failing = operation;
        EXPECT_EQ(deviceProbePort("COM3"), result) << operation;
        EXPECT_EQ(fake.log, log) << operation;
    }
}
