// Sections of a service's events go in, what the record shows of them comes out.
#include "tables/serviceEvents.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

constexpr std::uint8_t present = 0x4E;
constexpr std::uint8_t schedule = 0x50;

class ServiceEvents : public testing::Test {
  protected:
    // Puts a section of events that start at these hours of one day and have them as their numbers.
    void put(std::uint8_t table, std::uint8_t number, const std::vector<std::uint16_t>& hours,
             std::uint32_t crc = 0) {
        events.put(header(table, number, crc), section(hours));
    }

    static board::SectionHeader header(std::uint8_t table, std::uint8_t number, std::uint32_t crc = 0) {
        return {table, 5, 0, number, 255, true, crc};
    }

    static board::EitSection section(const std::vector<std::uint16_t>& hours) {
        board::EitSection eit{77, 9, 255, 0x5F, {}};
        for (const std::uint16_t hour : hours) {
            eit.events.push_back({hour, 60000, hour * 3600U, 3600, "", "", ""});
        }
        return eit;
    }

    // A section of so many events at the hour.
    void putMany(std::uint8_t table, std::uint8_t number, std::size_t count, std::uint16_t hour) {
        put(table, number, std::vector<std::uint16_t>(count, hour));
    }

    // "0x50: 11 12; ".
    std::string ids() const {
        std::ostringstream text;
        for (const auto& [table, rows] : events.events().events) {
            text << "0x" << std::hex << int{table} << std::dec << ':';
            for (const board::Event& event : rows) {
                text << ' ' << event.id;
            }
            text << "; ";
        }
        return text.str();
    }

    std::size_t shown(std::uint8_t table) const {
        return events.events().events.at(table).size();
    }

    board::ServiceEvents events;
};

TEST_F(ServiceEvents, KnowsASectionThatComesAgain) {
    EXPECT_FALSE(events.knows(header(schedule, 0, 1)));
    put(schedule, 0, {8}, 1);
    EXPECT_TRUE(events.knows(header(schedule, 0, 1)));
    EXPECT_FALSE(events.knows(header(schedule, 0, 2))) << "another content";
    EXPECT_FALSE(events.knows(header(schedule, 1, 1))) << "another section";
    EXPECT_FALSE(events.knows(header(schedule + 1, 0, 1))) << "another table";
}

TEST_F(ServiceEvents, KnowsASectionWithoutEvents) {
    put(present, 1, {}, 7);
    EXPECT_TRUE(events.knows(header(present, 1, 7)));
    EXPECT_EQ(ids(), "0x4e:; ");
}

TEST_F(ServiceEvents, LeavesOutWhatIsOver) {
    put(schedule, 0, {6, 7});
    put(schedule, 1, {8, 9});
    EXPECT_EQ(ids(), "0x50: 6 7 8 9; ") << "nothing tells what is over";
    put(present, 0, {7});
    EXPECT_EQ(ids(), "0x4e: 7; 0x50: 7 8 9; ");
    put(present, 0, {9});
    EXPECT_EQ(ids(), "0x4e: 9; 0x50: 9; ");
    EXPECT_TRUE(events.knows(header(schedule, 0)));
    EXPECT_EQ(events.events().leftOut, 0U);
}

TEST_F(ServiceEvents, AsksForWhatWasOverWhenAnEarlierEventIsPresent) {
    put(present, 0, {9});
    put(schedule, 0, {6});
    put(schedule, 1, {8, 9});
    EXPECT_EQ(ids(), "0x4e: 9; 0x50: 9; ");
    put(present, 0, {8}); // as in a file that starts over
    EXPECT_TRUE(events.knows(header(schedule, 0))) << "it is still over";
    EXPECT_FALSE(events.knows(header(schedule, 1)));
    put(schedule, 1, {8, 9});
    EXPECT_EQ(ids(), "0x4e: 8; 0x50: 8 9; ");
    EXPECT_TRUE(events.knows(header(schedule, 1)));
}

TEST_F(ServiceEvents, KeepsTheFirstOfAScheduleThatARecordShows) {
    putMany(schedule, 8, 40, 12);
    putMany(schedule, 0, 50, 10);
    EXPECT_EQ(shown(schedule), 60U);
    EXPECT_EQ(events.events().events.at(schedule).at(49).id, 10);
    EXPECT_EQ(events.events().events.at(schedule).at(50).id, 12);
    EXPECT_EQ(events.events().leftOut, 30U);
    EXPECT_TRUE(events.knows(header(schedule, 8))) << "there is no room for more of it";
}

TEST_F(ServiceEvents, AsksForWhatWasLeftOutWhenThereIsRoom) {
    put(present, 0, {10});
    putMany(schedule, 0, 50, 10);
    putMany(schedule, 8, 40, 12);
    putMany(schedule + 1, 0, 5, 14);
    EXPECT_EQ(shown(schedule), 60U);
    EXPECT_EQ(shown(schedule + 1), 0U);
    EXPECT_TRUE(events.knows(header(schedule + 1, 0)));
    put(present, 0, {12}); // time goes on
    EXPECT_FALSE(events.knows(header(schedule, 8)));
    putMany(schedule, 8, 40, 12);
    EXPECT_EQ(shown(schedule), 40U);
    EXPECT_FALSE(events.knows(header(schedule + 1, 0)));
    putMany(schedule + 1, 0, 5, 14);
    EXPECT_EQ(shown(schedule + 1), 5U);
    EXPECT_EQ(events.events().leftOut, 0U);
}

TEST_F(ServiceEvents, AsksForNothingTwiceThatDoesNotFit) {
    putMany(schedule, 0, 200, 10);
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(events.knows(header(schedule, 0))) << round;
        putMany(schedule, 0, 200, 10);
    }
    EXPECT_EQ(shown(schedule), 60U);
    EXPECT_EQ(events.events().leftOut, 140U);
}

TEST_F(ServiceEvents, KeepsNoMorePresentEventsThanARecordShows) {
    putMany(present, 0, 100, 10);
    putMany(present, 1, 100, 11);
    EXPECT_EQ(shown(present), 60U);
}

} // namespace
