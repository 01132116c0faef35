#include "simulator/Faults.h"
#include "simulator/Texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace ndisim {
namespace {

std::string escapedList(const std::vector<std::string>& list) {
    std::string text;
    for (const auto& entry : list) {
        text += entry + " ";
    }
    return text;
}

// Which of the commands go wrong, and how.
std::string faultsOf(FaultPlan& plan, const std::vector<std::string>& commands) {
    std::vector<std::string> found;
    for (const auto& command : commands) {
        const auto planned = plan.next(command);
        found.push_back(planned ? faultText(planned->fault) : "-");
    }
    return escapedList(found);
}

TEST(FaultsTest, RulesAreReadAndMatched) {
    const std::vector<std::string> commands{"INIT:",   "BX:180F", "BX 0801", "PVWR:0A0040FF",
                                            "BX:180F", "CONNECT", "BREAK"};
    const std::pair<const char*, const char*> cases[] = {
        {"drop@INIT", "drop - - - - - - "},
        {"no-answer@BX", "- no-answer no-answer - no-answer - - "},
        {"late=300@BX#2", "- - late=300 - - - - "},
        {"cut=0@BX#2-3", "- - cut=0 - cut=0 - - "},
        {"flip=7.3@BX#2-", "- - flip=7.3 - flip=7.3 - - "},
        {"flip@PVWR:0A0040", "- - - flip - - - "},
        {"crc@PVWR:0A0080", "- - - - - - - "},
        {"error=0D", "error=0D error=0D error=0D error=0D error=0D - error=0D "},
        {"garbage-before=3@*#7", "- - - - - - - "},
        {"garbage-after=x0D0A@*#6", "- - - - - - garbage-after=x0D0A "},
        {"reply=a=b:c@BX:", "- reply=a=b:c - - reply=a=b:c - - "},
        {"raw=c4A5@BX ", "- - raw=C4A5 - - - - "},
        {"close@CONNECT", "- - - - - close - "},
        {"half-open=50@B", "- - - - - - - "},
        {"unplug@BREAK~1", "- - - - - - unplug "},
        {"unplug~0", "- - - - - - - "},
    };
    for (const auto& [rule, expected] : cases) {
        FaultPlan plan;
        plan.add(parseFaultRule(rule));
        EXPECT_EQ(faultsOf(plan, commands), expected) << rule;
    }
}

TEST(FaultsTest, BadRulesAreRefusedInOneLine) {
    for (const char* rule : {"",
                             "nothing",
                             "late=",
                             "late=x",
                             "late=-5",
                             "cut=99999999999",
                             "flip=1.8",
                             "flip=1.",
                             "error=GG",
                             "error=123",
                             "garbage-before=x0",
                             "garbage-after=5000",
                             "raw=0",
                             "raw",
                             "reply",
                             "drop=1",
                             "close=2",
                             "drop@",
                             "drop#0",
                             "drop#5-4",
                             "drop#",
                             "drop~2",
                             "drop~x",
                             "drop~"}) {
        try {
            parseFaultRule(rule);
            ADD_FAILURE() << "accepted: " << rule;
        } catch (const std::invalid_argument& error) {
            EXPECT_NE(std::string(error.what()).find("'" + std::string(rule) + "'"),
                      std::string::npos);
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        }
    }
}

TEST(FaultsTest, FirstRuleThatAppliesWinsAndAllCount) {
    FaultPlan plan;
    plan.add(parseFaultRule("drop@BX#1"));
    plan.add(parseFaultRule("crc@BX#1-2"));
    EXPECT_EQ(faultsOf(plan, {"BX:", "BX:", "BX:"}), "drop crc - ");
    plan.add(parseFaultRule("close"));
    plan.clear();
    EXPECT_EQ(faultsOf(plan, {"BX:"}), "- ");
}

TEST(FaultsTest, AnswersAreSpoiled) {
    struct Case {
        const char* rule;
        const char* sent;
        bool hasEffect;
    };
    const Case cases[] = {
        {"drop", "", true},
        {"no-answer", "", true},
        {"late=5", "OKAYA896\\r", true},
        {"cut=0", "", true},
        {"cut=8", "OKAYA896", true},
        {"cut=9", "OKAYA896\\r", false},
        {"flip=0.0", "NKAYA896\\r", true},
        {"flip=8.7", "OKAYA896\\x8D", true},
        {"flip=9.0", "OKAYA896\\r", false},
        {"crc", "OKAYA897\\r", true},
        {"error=0D", "ERROR0D8C03\\r", true},
        {"garbage-before=x3F0D", "?\\rOKAYA896\\r", true},
        {"garbage-after=x3F0D", "OKAYA896\\r?\\r", true},
        {"reply=0", "01400\\r", true},
        {"raw=00FF", "\\x00\\xFF", true},
        {"close", "", true},
    };
    for (const auto& c : cases) {
        const Delivery delivery = applyFault(parseFaultRule(c.rule).fault, 1, "OKAYA896\r");
        EXPECT_EQ(escaped(delivery.bytes), c.sent) << c.rule;
        EXPECT_EQ(delivery.hasEffect, c.hasEffect) << c.rule;
    }
    EXPECT_EQ(applyFault(parseFaultRule("late=5").fault, 1, "x").delay.count(), 5);
    EXPECT_EQ(applyFault(parseFaultRule("unplug=7").fault, 1, "x").duration->count(), 7);
    EXPECT_FALSE(applyFault(parseFaultRule("half-open").fault, 1, "x").duration.has_value());
}

// Whatever is left open is drawn from the seed: always something, within bounds, and the same
// again.
TEST(FaultsTest, DrawnFaultsAreRepeatable) {
    const std::string answer = "OKAYA896\r";
    for (const FaultKind kind : FaultPlan::mildKinds()) {
        std::set<std::string> seen;
        for (std::uint64_t random = 0; random < 200; ++random) {
            Fault fault;
            fault.kind = kind;
            const Delivery delivery = applyFault(fault, random * 0x9E3779B97F4A7C15U, answer);
            EXPECT_EQ(delivery.bytes,
                      applyFault(fault, random * 0x9E3779B97F4A7C15U, answer).bytes);
            EXPECT_TRUE(delivery.hasEffect) << faultText(fault);
            EXPECT_LE(delivery.bytes.size(), answer.size() + 16);
            seen.insert(delivery.bytes);
        }
        const bool isDrawn = kind == FaultKind::Cut || kind == FaultKind::Flip ||
                             kind == FaultKind::Error || kind == FaultKind::GarbageBefore ||
                             kind == FaultKind::GarbageAfter;
        EXPECT_EQ(seen.size() > 5, isDrawn) << faultText({kind, {}, {}, {}});
    }
    Fault empty;
    empty.kind = FaultKind::Cut;
    EXPECT_FALSE(applyFault(empty, 7, "").hasEffect);
}

TEST(FaultsTest, RandomFaultsFollowSeedAndRate) {
    const auto run = [](std::uint64_t seed, double rate) {
        FaultPlan plan(seed);
        plan.setBackground(rate, {FaultKind::Drop, FaultKind::Flip});
        return faultsOf(plan, std::vector<std::string>(2000, "BX:180F"));
    };
    EXPECT_EQ(run(1, 0.1), run(1, 0.1));
    EXPECT_NE(run(1, 0.1), run(2, 0.1));
    EXPECT_EQ(run(1, 0).find_first_not_of("- "), std::string::npos);
    const std::string faults = run(3, 0.1);
    EXPECT_NEAR(
        static_cast<double>(std::ranges::count(faults, 'd') + std::ranges::count(faults, 'f')), 200,
        60);
    EXPECT_NE(faults.find("drop"), std::string::npos);
    EXPECT_NE(faults.find("flip"), std::string::npos);

    FaultPlan some(5);
    some.add(parseFaultRule("crc@BX~0.5"));
    const std::string half = faultsOf(some, std::vector<std::string>(2000, "BX:180F"));
    EXPECT_NEAR(static_cast<double>(std::ranges::count(half, 'r')), 1000, 150);
}

} // namespace
} // namespace ndisim
