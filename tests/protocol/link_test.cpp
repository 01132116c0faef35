#include "tests/protocol/LateSession.h"

#include <gtest/gtest.h>
#include <random>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned kSessions = 10000;
#else
constexpr unsigned kSessions = 100000; // a million answers
#endif

} // namespace

// Answers of random fates, in sessions of a few commands each.
TEST(Link, NoCommandReturnsTheAnswerOfAnother) {
    unsigned answered = 0;
    for (unsigned seed = 0; seed < kSessions; ++seed) {
        std::minstd_rand random(seed + 1);
        random.discard(3);
        LateSession session(
            [&](unsigned bound) { return static_cast<unsigned>(random() >> 4) % bound; });
        ASSERT_EQ(session.run(), "") << "session " << seed;
        answered += session.answered;
    }
    EXPECT_GT(answered, 5 * kSessions);
}
