#include "session/session.h"
#include "support/console.h"
#include "support/sessionStream.h"

#include <gtest/gtest.h>
#include <string>

class SessionTick : public StreamTest {
  protected:
    std::string tick() {
        return consoleOf([&] { sessionTick(&session, &feed); });
    }
};

TEST_F(SessionTick, ASessionThatStabilisesAdvancesAtEveryTick) {
    openFeed({patTopic});
    session.requestCode = requestPidData;
    session.state = stateStabilise;
    feed.previousChanged = 0x1FF; // so that the stream is not stable yet
    for (int i = 0; i < 3; ++i) {
        session.state = stateStabilise;
        feed.previousChanged = 0x1FF;
        parser.publishNext(pat);
        EXPECT_TRUE(tick().starts_with("sendMpegData Entered\nStabilize data\n"));
        EXPECT_EQ(session.state, stateStabilise);
    }
}

TEST_F(SessionTick, ASessionThatUpdatesAdvancesAtEverySecondTick) {
    openFeed({patTopic});
    session.requestCode = requestPidData;
    session.state = stateUpdate;
    session.updateCountdown = 100;
    const std::string update = "sendMpegData Entered\n"
                               "Update: Chged MPEG Topics 0: \n"
                               "Update: Parser Instructions 7: PAT Stat PMT \n"
                               "> instruction of 2 bytes: 007\n"
                               "Update GUI/WEB MPEG Metadata\n";
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(tick(), "");
        EXPECT_EQ(tick(), update);
    }
    EXPECT_EQ(session.updateCountdown, 97);
}

TEST_F(SessionTick, ASessionInAnotherStateDoesNotAdvance) {
    for (const std::int32_t state : {0, 1, 2, 3, 4, 5, 6, 7, 10, 11, -1}) {
        session.state = state;
        EXPECT_EQ(tick(), "");
        EXPECT_EQ(session.state, state);
    }
}
