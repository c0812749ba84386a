#include "companions/stopSignals.h"

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>

namespace {

bool readable(int descriptor) {
    pollfd item{descriptor, POLLIN, 0};
    return ::poll(&item, 1, 0) == 1;
}

TEST(StopSignals, AreSeenAndStaySeen) {
    companions::stopOnSignals();
    EXPECT_FALSE(companions::stopRequested());
    EXPECT_FALSE(readable(companions::stopDescriptor()));
    for (const int signal : {SIGINT, SIGHUP, SIGTERM, SIGTERM}) {
        ASSERT_EQ(::raise(signal), 0);
        EXPECT_TRUE(companions::stopRequested());
        EXPECT_EQ(companions::stopSignal(), signal);
        EXPECT_TRUE(readable(companions::stopDescriptor()));
    }
}

TEST(StopSignals, LeaveAHangUpIgnoredForWhoShallOutliveItsTerminal) {
    ASSERT_NE(::signal(SIGHUP, SIG_IGN), SIG_ERR);
    companions::stopOnSignals();
    EXPECT_EQ(::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

} // namespace
