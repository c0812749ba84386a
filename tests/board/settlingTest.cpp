// What must be known of a stream before it is published.
#include "analysis/settling.h"

#include "streamWriter.h"

#include <gtest/gtest.h>

namespace {

using streamWriter::audioPid;
using streamWriter::pmtPid;
using streamWriter::videoPid;

class Settling : public testing::Test {
  protected:
    // A stream of one program of which everything is known.
    Settling() {
        model.services.emplace();
        model.programs = {{0, 16, std::nullopt}, {5, pmtPid, board::ProgramMap{videoPid, {}, {}}}};
        model.programs[1].map->streams = {{videoPid, 0x1B, board::StreamKind::video, 0, ""},
                                          {audioPid, 0x03, board::StreamKind::audio, 3, ""}};
        model.videoFormats[videoPid] = {};
    }

    bool known(bool names = true, bool rates = true) const {
        return board::everythingKnown(model, names, rates);
    }

    board::StreamModel model;
};

TEST_F(Settling, NeedsNoMoreThanThis) {
    EXPECT_TRUE(known());
}

TEST_F(Settling, NeedsTheNamesAndTheRates) {
    EXPECT_FALSE(known(false, true));
    EXPECT_FALSE(known(true, false));
    model.services.reset();
    EXPECT_FALSE(known());
}

TEST_F(Settling, NeedsEveryMap) {
    model.programs.push_back({6, 0x200, std::nullopt});
    EXPECT_FALSE(known());
    model.programs.back().map.emplace();
    EXPECT_TRUE(known());
}

TEST_F(Settling, NeedsTheFormatOfVideoThatIsNotScrambled) {
    model.videoFormats.clear();
    EXPECT_FALSE(known());
    board::PidState state;
    state.pid = videoPid;
    model.pids.push_back(state);
    EXPECT_FALSE(known());
    model.pids.back().scrambled = true;
    EXPECT_TRUE(known());
}

TEST(SettlingPatience, EndsWithTimeOrPackets) {
    constexpr board::Ticks start{1000};
    board::SettlingPatience patience;
    patience.begin(start);
    EXPECT_FALSE(patience.over(start + board::tunables::settlePatience - board::Ticks(1)));
    EXPECT_TRUE(patience.over(start + board::tunables::settlePatience));
    for (std::uint64_t k = 0; k < board::tunables::settlePackets; ++k) {
        EXPECT_FALSE(patience.over(start));
        patience.packet();
    }
    EXPECT_TRUE(patience.over(start));
    patience.begin(start);
    EXPECT_FALSE(patience.over(start)) << "of another stream";
}

} // namespace
