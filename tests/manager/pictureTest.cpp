#include "picture/picture.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using manager::EventKind;
using manager::ListedPid;
using manager::ListedProgram;
using manager::Picture;
using manager::PictureTime;
using manager::PidList;
using manager::ProgramList;
using manager::RateHistory;

ListedPid listedPid(int number, double rate = 1000, const std::string& description = "VIDEO",
                    int scrambled = 0) {
    ListedPid listed;
    listed.pid = number;
    listed.rateBitPerSecond = rate;
    listed.description = description;
    listed.scrambled = scrambled;
    return listed;
}

PidList listOf(std::vector<ListedPid> pids) {
    const int count = static_cast<int>(pids.size());
    return {count, 5000, std::move(pids)};
}

ProgramList serviceList(int number, const std::string& name, int scrambled = 0) {
    ListedProgram program;
    program.programNumber = number;
    program.name = name;
    program.allScrambled = scrambled;
    return {1, 0, 5000, 0, {program}};
}

// What has happened, in its order.
std::vector<EventKind> kindsOf(const Picture& picture) {
    std::vector<EventKind> kinds;
    for (const auto& event : picture.events()) {
        kinds.push_back(event.kind);
    }
    return kinds;
}

TEST(RateHistory, keepsAQuarterOfAnHour) {
    RateHistory history;
    for (int second = 0; second < 2000; ++second) {
        history.add(std::chrono::seconds(second), second);
    }
    EXPECT_EQ(history.size(), RateHistory::capacity);
    EXPECT_EQ(history[0].time, 1100s);
    EXPECT_EQ(history[history.size() - 1].time, 1999s);
    EXPECT_EQ(history.least(), 1100);
    EXPECT_EQ(history.most(), 1999);
}

TEST(RateHistory, forgetsWhatIsOldAlsoWhenSamplesAreFew) {
    RateHistory history;
    history.add(0s, 9);
    history.add(10s, 5);
    history.add(15min + 1s, 7);
    ASSERT_EQ(history.size(), 2U);
    EXPECT_EQ(history[0].time, 10s);
    EXPECT_EQ(history.most(), 7);
}

TEST(RateHistory, takesOneSampleASecond) {
    RateHistory history;
    for (int tick = 0; tick < 40; ++tick) {
        history.add(tick * 100ms, tick);
    }
    ASSERT_EQ(history.size(), 4U);
    EXPECT_EQ(history[0].time, 0s);
    EXPECT_EQ(history[0].bitPerSecond, 9);
    EXPECT_EQ(history[3].time, 3s);
}

TEST(RateHistory, leavesWhatIsNoNumberOutOfLeastAndMost) {
    RateHistory history;
    EXPECT_EQ(history.most(), 0);
    history.add(0s, std::numeric_limits<double>::quiet_NaN());
    history.add(1s, 4);
    history.add(2s, std::numeric_limits<double>::infinity());
    EXPECT_EQ(history.least(), 4);
    EXPECT_EQ(history.most(), 4);
}

TEST(Picture, remembersPidsThatHaveGone) {
    Picture picture;
    picture.take(listOf({listedPid(256), listedPid(257)}), 1s);
    picture.take(listOf({listedPid(256)}), 2s);
    picture.take(listOf({listedPid(256)}), 3s);
    const auto& gone = picture.pids().at(257);
    EXPECT_FALSE(gone.isPresent);
    EXPECT_EQ(gone.lastSeen, 1s);
    EXPECT_EQ(kindsOf(picture), (std::vector{EventKind::pidCame, EventKind::pidCame, EventKind::pidWent}));
    EXPECT_EQ(picture.events().back().about, 257);
    EXPECT_EQ(picture.events().back().time, 2s);
    picture.take(listOf({listedPid(257)}), 4s);
    EXPECT_TRUE(picture.pids().at(257).isPresent);
    EXPECT_EQ(picture.pids().at(257).firstSeen, 1s);
}

TEST(Picture, takesNoPidForGoneThatItsDocumentHadNoRoomFor) {
    Picture picture;
    picture.take(listOf({listedPid(256), listedPid(257)}), 1s);
    PidList cut = listOf({listedPid(256)});
    cut.pidCount = 2;
    picture.take(cut, 2s);
    EXPECT_TRUE(picture.pids().at(257).isPresent);
    EXPECT_EQ(picture.pids().at(257).lastSeen, 1s);
}

TEST(Picture, tellsWhatAPidTurnsInto) {
    Picture picture;
    picture.take(manager::ProgramDetail{}, 1s);
    picture.take(listOf({listedPid(256, 0, "Unk")}), 1s);
    picture.take(listOf({listedPid(256, 0, "VIDEO", 1)}), 2s);
    picture.take(listOf({listedPid(256, 0, "VIDEO", 0)}), 3s);
    EXPECT_EQ(kindsOf(picture), (std::vector{EventKind::pidCame, EventKind::pidChanged,
                                             EventKind::pidScrambled, EventKind::pidCleared}));
    EXPECT_EQ(picture.events()[1].before, "Unk");
    EXPECT_EQ(picture.events()[1].after, "VIDEO");
}

TEST(Picture, tellsNothingOfWhatTheServiceLearnsBehindTheFirstList) {
    Picture picture;
    const auto learn = [&](PictureTime time) {
        picture.take(listOf({listedPid(256, 0, "Unk")}), time);
        picture.take(listOf({listedPid(256, 0, "PCR")}), time);
        picture.take(manager::ProgramDetail{}, time);
        picture.take(listOf({listedPid(256, 0, "VID+PCR", 1)}), time);
    };
    learn(1s);
    EXPECT_EQ(kindsOf(picture), std::vector{EventKind::pidCame});
    picture.note(EventKind::peerWent, 2s);
    picture.note(EventKind::peerCame, 3s);
    learn(4s);
    EXPECT_EQ(kindsOf(picture), (std::vector{EventKind::pidCame, EventKind::peerWent, EventKind::peerCame}));
    picture.take(listOf({listedPid(256, 0, "AUDIO", 1)}), 5s);
    EXPECT_EQ(picture.events().back().kind, EventKind::pidChanged);
}

TEST(Picture, tellsWhatBecomesOfServices) {
    Picture picture;
    picture.take(serviceList(501, "News"), 1s);
    picture.take(serviceList(501, "News 24", 1), 2s);
    picture.take(serviceList(502, "Film"), 3s);
    EXPECT_EQ(kindsOf(picture),
              (std::vector{EventKind::serviceCame, EventKind::serviceRenamed, EventKind::serviceScrambled,
                           EventKind::serviceWent, EventKind::serviceCame}));
    EXPECT_EQ(picture.events()[3].before, "News 24");
}

TEST(Picture, tellsThePatsProgramsButNotItsNetworkEntry) {
    Picture picture;
    picture.take(manager::Pat{2, 0, {{0, 16}, {501, 256}}}, 1s);
    picture.take(manager::Pat{1, 0, {{502, 256}}}, 2s);
    EXPECT_EQ(kindsOf(picture),
              (std::vector{EventKind::programCame, EventKind::programWent, EventKind::programCame}));
    EXPECT_EQ(picture.newest<manager::Pat>()->time, 2s);
    EXPECT_FALSE(picture.newest<manager::Cat>());
}

TEST(Picture, keepsRatesOfStreamPidsAndServices) {
    Picture picture;
    picture.take(listOf({listedPid(256, 100)}), 1s);
    picture.take(listOf({listedPid(256, 300)}), 2s);
    EXPECT_EQ(picture.pids().at(256).rates.least(), 100);
    EXPECT_EQ(picture.pids().at(256).rates.most(), 300);
    EXPECT_EQ(picture.streamRates().size(), 2U);
}

TEST(Picture, hasANewerVersionOnWhatChangesOnly) {
    Picture picture;
    picture.take(listOf({listedPid(256)}), 1s);
    picture.take(serviceList(501, "News"), 1s);
    const auto known = picture.version();
    picture.take(serviceList(501, "News"), 2s);
    EXPECT_GT(picture.services().at(501).version, known);
    EXPECT_LE(picture.pids().at(256).version, known);
    EXPECT_LE(picture.events().back().version, known);
    const auto now = picture.version();
    picture.take(manager::EmptyDocument{}, 3s);
    EXPECT_EQ(picture.version(), now);
}

TEST(Picture, staysBoundedHoweverManyPidsComeAndGo) {
    Picture picture;
    for (int round = 0; round < 20; ++round) {
        std::vector<ListedPid> pids;
        for (int i = 0; i < 200; ++i) {
            pids.push_back(listedPid(round * 200 + i, 0, std::string(1000, 'n')));
        }
        picture.take(listOf(pids), std::chrono::seconds(round));
    }
    EXPECT_EQ(picture.pids().size(), Picture::mostPids);
    EXPECT_TRUE(picture.pids().at(19 * 200 + 199).isPresent);
    EXPECT_EQ(picture.events().size(), Picture::mostEvents);
    EXPECT_EQ(picture.events().back().after.size(), Picture::longestEventText);
}

TEST(Picture, takesAPidOnceThatIsListedTwice) {
    Picture picture;
    picture.take(listOf({listedPid(256, 1, "VIDEO"), listedPid(256, 2, "AUDIO")}), 1s);
    EXPECT_EQ(kindsOf(picture), std::vector{EventKind::pidCame});
    EXPECT_EQ(picture.pids().at(256).newest.description, "VIDEO");
}

TEST(Picture, keepsTheNewestDetailsOfSixtyPrograms) {
    Picture picture;
    manager::ProgramDetail detail;
    for (int number = 1; number <= 70; ++number) {
        detail.pmt.programNumber = number;
        picture.take(detail, std::chrono::seconds(number));
    }
    EXPECT_EQ(picture.details().size(), Picture::mostServices);
    EXPECT_EQ(picture.details().begin()->first, 11);
}

} // namespace
