#include "exchange/rotation.h"

#include "tunables.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using manager::nameOf;
using manager::Order;
using manager::requestNamed;
using manager::Rotation;
using manager::Time;

class RotationTest : public testing::Test {
  protected:
    // What is asked for now, "off", or nothing.
    std::string next() {
        const auto order = rotation.next(now);
        if (!order) {
            return "nothing";
        }
        asked = order->request;
        return order->documents == 0 ? asked.value : nameOf(asked);
    }
    void answer(Time::duration later = 10ms) {
        now += later;
        rotation.answered(asked, now);
    }
    // What is asked for in so long, each answered at once.
    std::vector<std::string> askedWithin(Time::duration span) {
        std::vector<std::string> names;
        const Time end = now + span;
        while (now < end) {
            const std::string name = next();
            if (name != "nothing") {
                names.push_back(name);
                answer(0ms);
            } else {
                now = std::min(rotation.wakeUp(now).value_or(end), end);
            }
        }
        return names;
    }
    static long count(const std::vector<std::string>& names, const std::string& name) {
        return std::count(names.begin(), names.end(), name);
    }

    Time now{1h};
    Rotation rotation{now};
    manager::Request asked;
};

TEST_F(RotationTest, asksForNothingWhileNobodyLooks) {
    EXPECT_EQ(next(), "nothing");
    EXPECT_FALSE(rotation.wakeUp(now));
    now += 1h;
    EXPECT_EQ(next(), "nothing");
    EXPECT_FALSE(rotation.last());
}

TEST_F(RotationTest, asksForTheListsEachSecondAndBehindTheFirstForTheKindsOfPids) {
    rotation.watch(true, now);
    EXPECT_EQ(askedWithin(1s), (std::vector<std::string>{"pidData", "pgmDetail:0", "CAT", "pgmData"}));
    const auto names = askedWithin(59s);
    EXPECT_EQ(count(names, "pidData"), 59);
    EXPECT_EQ(count(names, "pgmData"), 59);
    EXPECT_EQ(count(names, "pgmDetail:0"), 5);
    EXPECT_EQ(count(names, "CAT"), 0);
}

TEST_F(RotationTest, asksAgainASecondBehindTheAnswer) {
    rotation.watch(true, now);
    for (int i = 0; i < 4; ++i) {
        next();
        answer(200ms);
    }
    EXPECT_EQ(next(), "nothing");
    EXPECT_EQ(rotation.wakeUp(now), now + 400ms) << "the PID list was answered 600 ms ago";
    now += 400ms;
    EXPECT_EQ(next(), "pidData");
    answer(5s);
    EXPECT_EQ(next(), "pgmData");
}

TEST_F(RotationTest, asksForWhatIsLookedAtForTenSeconds) {
    ASSERT_TRUE(rotation.look("SDT", now));
    ASSERT_TRUE(rotation.look("pgmDetail:3", now));
    const auto names = askedWithin(1min);
    EXPECT_EQ(count(names, "SDT"), 10);
    EXPECT_EQ(count(names, "pgmDetail:3"), 10);
    EXPECT_EQ(names.back(), "off");
    EXPECT_EQ(names.size(), 21U);
}

TEST_F(RotationTest, gives59ProgramsTheirTurnsBesideTheLists) {
    rotation.watch(true, now);
    for (int index = 0; index < 59; ++index) {
        rotation.look("pgmDetail:" + std::to_string(index), now);
    }
    std::vector<std::string> names;
    for (int i = 0; i < 130; ++i) {
        names.push_back(next());
        answer(50ms);
    }
    EXPECT_GE(count(names, "pgmDetail:58"), 1);
    EXPECT_EQ(count(names, "pidData"), 7) << "one a second";
    EXPECT_EQ(count(names, "pgmData"), 6);
}

TEST_F(RotationTest, givesTheListsEverySecondTurn) {
    rotation.watch(true, now);
    for (int index = 1; index < 59; ++index) {
        rotation.look("pgmDetail:" + std::to_string(index), now);
    }
    std::vector<std::string> names;
    for (int i = 0; i < 12; ++i) {
        names.push_back(next());
        answer(700ms);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"pidData", "pgmDetail:1", "pgmDetail:0", "pgmDetail:10", "CAT",
                                               "pgmDetail:11", "pgmData", "pgmDetail:12", "pidData",
                                               "pgmDetail:13", "pgmData", "pgmDetail:14"}));
}

TEST_F(RotationTest, knowsNoOtherNames) {
    for (const char* name :
         {"", "pidData", "pgmData", "pgmDetail", "pgmDetail:", "pgmDetail:59", "pgmDetail:-1",
          "pgmDetail:1:1", "pgmDetail:-0", "PAT:1", "pat", "off", "pgmDetail:01"}) {
        EXPECT_FALSE(rotation.look(name, now)) << name;
    }
    EXPECT_EQ(next(), "nothing");
    EXPECT_TRUE(requestNamed("pidData"));
}

TEST_F(RotationTest, asksLessAndLessOftenForWhatIsNotAnswered) {
    rotation.watch(true, now);
    EXPECT_EQ(next(), "pidData");
    answer(1ms);
    EXPECT_EQ(next(), "pgmDetail:0");
    std::vector<std::chrono::seconds> pauses;
    for (int i = 0; i < 8; ++i) {
        rotation.unanswered(*requestNamed("pgmDetail:0"), now);
        const Time before = now;
        while (next() != "pgmDetail:0") {
            if (rotation.wakeUp(now) > now) {
                now = *rotation.wakeUp(now);
            } else {
                answer(0ms);
            }
        }
        pauses.push_back(std::chrono::round<std::chrono::seconds>(now - before));
    }
    EXPECT_EQ(pauses, (std::vector<std::chrono::seconds>{2s, 4s, 8s, 16s, 32s, 64s, 64s, 64s}));
    answer(0ms);
    const auto names = askedWithin(21s);
    EXPECT_EQ(count(names, "pgmDetail:0"), 2) << "what is answered is asked for as before";
}

TEST_F(RotationTest, turnsTheFeedOffOnceAfterAWhile) {
    rotation.watch(true, now);
    next();
    answer();
    rotation.watch(false, now);
    EXPECT_EQ(next(), "nothing");
    EXPECT_EQ(rotation.wakeUp(now), now + manager::tunables::offDelay);
    now += manager::tunables::offDelay;
    EXPECT_EQ(next(), "off");
    EXPECT_EQ(next(), "nothing");
    EXPECT_FALSE(rotation.wakeUp(now));
}

TEST_F(RotationTest, leavesTheFeedOnForWhoComesBackAtOnce) {
    rotation.watch(true, now);
    next();
    answer();
    rotation.watch(false, now);
    now += 1s;
    rotation.watch(true, now);
    now += 1min;
    EXPECT_EQ(next(), "pgmDetail:0");
    const auto off = rotation.last();
    ASSERT_TRUE(off);
    EXPECT_EQ(off->request.value, "off");
}

} // namespace
