// What the page is told of documents, and its tables.

#include "web/livePicture.h"

#include "exchange/rotation.h"
#include "web/csv.h"
#include "web/rateTable.h"
#include "web/wallClock.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using manager::LivePicture;
using manager::PictureTime;
using manager::requestNamed;
using manager::ServiceState;

std::string pidJson(int number, int program, const std::string& description = "VIDEO",
                    const std::string& rate = "   1.000Kbps") {
    return R"({"patIndex":"1","pidOrder":"0","pidNum":")" + std::to_string(number) +
           R"(","pidType":"4","referencePID":"0","pgmNum":")" + std::to_string(program) + R"(","pidRate":")" +
           rate + R"(","scrambled":"0","description":")" + description + R"("})";
}

std::string pidListJson(const std::vector<std::string>& pids) {
    std::string list;
    for (const std::string& each : pids) {
        list += (list.empty() ? "" : ",");
        list += each;
    }
    return R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{"pidCount":")" +
           std::to_string(pids.size()) + R"(","aggStreamRate":"   9.000Kbps","pids":[)" + list + "]}}";
}

std::string programListJson(const std::string& name) {
    return R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{"svcCount":"1","derived":"1","aggStreamRate":"   9.000Kbps","scrambledCount":"0","pgms":[{"pgmNum":"1","patIndex":"1","svcType":"1","referencePID":"4096","pidCount":"1","pgmRate":"   2.000Kbps","caFlag":"0","allScrambled":"0","svcProvider":"P","svcName":")" +
           name + R"("}]}})";
}

class LivePictureTest : public testing::Test {
  protected:
    void take(const char* name, const std::string& document) {
        live.take(*requestNamed(name), document, now, 5ms);
    }
    void observe(ServiceState state, std::chrono::milliseconds lasting = 0ms) {
        live.observe(state, lasting, watchedSince, now);
    }

    PictureTime now{1'000'000};
    LivePicture live{now};
    std::optional<PictureTime> watchedSince = now;
};

TEST_F(LivePictureTest, tellsNothingWhileNothingIsNew) {
    EXPECT_FALSE(live.hasNews());
    observe(ServiceState::absent);
    EXPECT_FALSE(live.hasNews());
    observe(ServiceState::answering);
    EXPECT_TRUE(live.hasNews());
    EXPECT_EQ(live.change(now),
              R"({"version":1,"time":1000000,"service":{"state":"answering","since":1000000}})");
    EXPECT_FALSE(live.hasNews());
}

TEST_F(LivePictureTest, tellsOnlyTheRowsThatAreNew) {
    take("pidData", pidListJson({pidJson(256, 1)}));
    take("pgmData", programListJson("News"));
    live.change(now);
    now += 1s;
    take("pgmData", programListJson("Film"));
    EXPECT_EQ(
        live.change(now),
        R"({"version":2,"time":1001000,"programs":[{"programNumber":1,"patIndex":1,"name":"Film",)"
        R"("provider":"P","serviceType":1,"pmtPid":4096,"pidCount":1,"rateBitPerSecond":2000,)"
        R"("freeCaMode":false,"allScrambled":false,"least":2000,"most":2000,"firstSeen":1000000,"lastSeen":1001000,"gone":false}],)"
        R"("documents":{"pgmData":{"time":1001000,"bytes":327,"answerMs":5}},)"
        R"("events":[{"number":3,"time":1001000,"kind":"nameChanged","programNumber":1,"text":"Film","was":"News"}]})");
}

TEST_F(LivePictureTest, leavesEventsThatAChangeWillTellOutOfThePicture) {
    take("pidData", pidListJson({pidJson(256, 1)}));
    EXPECT_NE(live.everything(now)->find(R"("events":[]})"), std::string::npos);
    live.change(now);
    EXPECT_NE(live.everything(now)->find(R"("kind":"pidCame")"), std::string::npos);
}

TEST_F(LivePictureTest, makesThePictureOnceForAllOfASecondWhileNothingIsNew) {
    take("pidData", pidListJson({pidJson(256, 1)}));
    live.change(now);
    const auto picture = live.everything(now);
    observe(ServiceState::absent);
    EXPECT_EQ(live.everything(now + 999ms), picture);
    const auto later = live.everything(now + 1s);
    EXPECT_NE(later->find("\"time\":1001000,"), std::string::npos);
    take("pidData", pidListJson({pidJson(256, 1)}));
    EXPECT_NE(live.everything(now + 1s), later);
}

TEST_F(LivePictureTest, keepsWhatHasGoneForAQuarterOfAnHour) {
    take("pidData", pidListJson({pidJson(256, 1), pidJson(257, 1)}));
    live.change(now);
    take("pidData", pidListJson({pidJson(256, 1)}));
    const std::string gone = live.change(now);
    EXPECT_NE(gone.find(R"("lastSeen":1000000,"gone":true})"), std::string::npos) << gone;
    EXPECT_NE(gone.find(R"("kind":"pidGone","pid":257,"text":"VIDEO"})"), std::string::npos) << gone;
    now += 15min;
    observe(ServiceState::absent);
    EXPECT_EQ(live.picture().pids().size(), 2U);
    now += 1ms;
    observe(ServiceState::absent);
    const std::string change = live.change(now);
    EXPECT_NE(change.find(R"("removedPids":[257])"), std::string::npos) << change;
    EXPECT_EQ(live.change(now).find("removedPids"), std::string::npos);
}

TEST_F(LivePictureTest, tellsAnotherStreamByPidsThatAreAllOther) {
    take("pidData", pidListJson({pidJson(0, 0, "PAT"), pidJson(256, 1), pidJson(257, 1)}));
    take("pidData", pidListJson({pidJson(0, 0, "PAT"), pidJson(257, 1), pidJson(258, 1)}));
    EXPECT_EQ(live.change(now).find("newStream"), std::string::npos);
    take("pidData", pidListJson({pidJson(0, 0, "PAT"), pidJson(400, 1), pidJson(8191, 0, "NULL")}));
    const std::string change = live.change(now);
    EXPECT_NE(change.find(R"("kind":"newStream","text":""})"), std::string::npos) << change;
}

TEST_F(LivePictureTest, tellsThatAPidHasChangedItsProgram) {
    take("pidData", pidListJson({pidJson(256, 1)}));
    live.change(now);
    take("pidData", pidListJson({pidJson(256, 2)}));
    const std::string change = live.change(now);
    EXPECT_NE(change.find(R"("kind":"pidChanged","pid":256,"text":"program 2","was":"program 1"})"),
              std::string::npos)
        << change;
}

TEST_F(LivePictureTest, showsWhatEveryRequestGoesThroughAsAnswering) {
    observe(ServiceState::unanswered, 999ms);
    EXPECT_NE(live.change(now).find(R"("state":"answering")"), std::string::npos);
    observe(ServiceState::unanswered, 1s);
    EXPECT_NE(live.change(now).find(R"("state":"unanswered")"), std::string::npos);
}

TEST_F(LivePictureTest, tellsThatServiceAndStreamGoAndComeBack) {
    observe(ServiceState::answering);
    take("pidData", pidListJson({pidJson(256, 1)}));
    now += 5s;
    observe(ServiceState::absent);
    const std::string gone = live.change(now);
    EXPECT_NE(gone.find(R"("state":"stale")"), std::string::npos) << gone;
    EXPECT_NE(gone.find(R"("kind":"serviceGone","text":""})"), std::string::npos) << gone;
    EXPECT_NE(gone.find(R"("kind":"streamGone","text":""})"), std::string::npos) << gone;
    observe(ServiceState::answering);
    take("pidData", pidListJson({pidJson(256, 1)}));
    const std::string back = live.change(now);
    EXPECT_NE(back.find(R"("state":"running")"), std::string::npos) << back;
    EXPECT_NE(back.find(R"("kind":"serviceBack","text":""})"), std::string::npos) << back;
    EXPECT_NE(back.find(R"("kind":"streamBack","text":""})"), std::string::npos) << back;
}

TEST_F(LivePictureTest, missesNoStreamWhileNobodyAsks) {
    take("pidData", pidListJson({pidJson(256, 1)}));
    watchedSince.reset();
    now += 1min;
    observe(ServiceState::absent);
    const std::string change = live.change(now);
    EXPECT_NE(change.find(R"("state":"stale")"), std::string::npos);
    EXPECT_EQ(change.find("streamGone"), std::string::npos);
    watchedSince = now;
    now += 4s;
    observe(ServiceState::absent);
    EXPECT_FALSE(live.hasNews());
    now += 1s;
    observe(ServiceState::absent);
    EXPECT_NE(live.change(now).find("streamGone"), std::string::npos);
}

TEST_F(LivePictureTest, keepsADocumentThatCannotBeRead) {
    take("PAT", "hello");
    const std::string change = live.change(now);
    EXPECT_NE(change.find(R"("documents":{"PAT":{"time":1000000,"bytes":5,"answerMs":5,"value":null}})"),
              std::string::npos)
        << change;
    EXPECT_EQ(*live.documents().at("PAT").text, "hello");
}

TEST_F(LivePictureTest, setsRatesSideBySide) {
    take("pidData", pidListJson({pidJson(256, 1)}));
    now += 30ms;
    take("pgmData", programListJson("News"));
    now += 1s;
    take("pidData", pidListJson({pidJson(256, 1), pidJson(257, 1, "AUDIO", "     infKbps")}));
    now += 1s;
    take("pidData", pidListJson({pidJson(257, 1, "AUDIO", "   7.000Kbps")}));
    EXPECT_EQ(rateTable(live.picture(), 900s, now),
              R"({"times":[1000000,1001030,1002030],"total":[9000,9000,9000],)"
              R"("pids":{"256":[1000,1000,null],"257":[null,null,7000]},"programs":{"1":[2000,null,null]}})");
    EXPECT_EQ(rateTable(live.picture(), 1s, now),
              R"({"times":[1001030,1002030],"total":[9000,9000],)"
              R"("pids":{"256":[1000,null],"257":[null,7000]},"programs":{"1":[null,null]}})");
}

TEST_F(LivePictureTest, writesRatesOfAnySize) {
    take("pidData", pidListJson({pidJson(256, 1, "VIDEO", "99999999999999.999Mbps")}));
    EXPECT_EQ(rateTable(live.picture(), 900s, now),
              R"({"times":[1000000],"total":[9000],"pids":{"256":[100000002004087734272]},"programs":{}})");
}

TEST(WallClockTest, followsAClockThatIsSetForward) {
    const std::chrono::system_clock::time_point wall(1000s);
    const manager::Time begin(5s);
    manager::WallClock clock(wall, begin);
    EXPECT_EQ(clock.at(begin + 2s), PictureTime(1002s));
    EXPECT_EQ(clock.follow(wall + 2900ms, begin + 2s), 0ms);
    EXPECT_EQ(clock.at(begin + 2s), PictureTime(1002s));
    EXPECT_EQ(clock.follow(wall + 1h, begin + 2s), 1h - 2s);
    EXPECT_EQ(clock.at(begin + 2s), PictureTime(1000s + 1h));
    EXPECT_EQ(clock.follow(wall, begin + 3s), 0ms) << "times never go back";
    EXPECT_EQ(clock.at(begin + 3s), PictureTime(1001s + 1h));
}

TEST_F(LivePictureTest, missesNoStreamWhenTheClockIsSetForward) {
    take("pidData", pidListJson({pidJson(256, 1)}));
    observe(ServiceState::answering);
    now += 1h;
    live.setForward(1h);
    observe(ServiceState::answering);
    EXPECT_NE(live.everything(now)->find(R"("state":"running")"), std::string::npos);
}

TEST_F(LivePictureTest, writesTablesThatASpreadsheetTakesForText) {
    take("pgmData", programListJson("=HYPERLINK(\"x\"),\xE9"));
    EXPECT_EQ(csvTable(live, "programs"),
              "programNumber,patIndex,name,provider,serviceType,pmtPid,pidCount,rateBitPerSecond,least,most,"
              "freeCaMode,allScrambled,firstSeen,lastSeen,gone\r\n"
              "1,1,\"'=HYPERLINK(\"\"x\"\"),\uFFFD\",\"P\",1,4096,1,2000,2000,2000,false,false,"
              "1970-01-01T00:16:40.000Z,1970-01-01T00:16:40.000Z,false\r\n");
    EXPECT_EQ(csvTable(live, "events"),
              "time,kind,number,was,text\r\n"
              "1970-01-01T00:16:40.000Z,\"programCame\",1,\"\",\"'=HYPERLINK(\"\"x\"\"),"
              "\uFFFD\"\r\n");
    EXPECT_EQ(csvTable(live, "PAT"), "programNumber,pmtPid\r\n");
    EXPECT_FALSE(csvTable(live, "pidData"));
}

} // namespace
