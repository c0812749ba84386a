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
    for (const int signal : {SIGINT, SIGTERM, SIGTERM}) {
        ASSERT_EQ(::raise(signal), 0);
        EXPECT_TRUE(companions::stopRequested());
        EXPECT_EQ(companions::stopSignal(), signal);
        EXPECT_TRUE(readable(companions::stopDescriptor()));
    }
}

} // namespace
