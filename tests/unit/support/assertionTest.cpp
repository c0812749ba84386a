#include "support/assertion.h"
#include "serviceNames.h"
#include "support/lastWords.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

TEST(Assertion, WhatHoldsGoesOn) {
    testing::internal::CaptureStderr();
    requireThat(true, "rc == 0", "main", 105, "openChannel");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(AssertionDeathTest, WhatDoesNotHoldEndsTheProcessWithTheReportOfTheCLibrary) {
    EXPECT_EXIT(requireThat(false, "vtx != ((void *)0)", "main", 98, "openChannel"),
                testing::KilledBySignal(SIGABRT),
                lastWordsAre("unitTests: main:98: openChannel: Assertion `vtx != ((void *)0)' failed.\n"));
}
