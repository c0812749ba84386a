// Sections go in, the stream model is filled, and what has changed is told.
#include "tables/streamTables.h"

#include "streamWriter.h"

#include <bitstream/mpeg/psi.h>
#include <gtest/gtest.h>

namespace {

using namespace streamWriter;
using Effect = board::StreamTables::Effect;

class StreamTables : public testing::Test {
  protected:
    Effect section(std::uint16_t pid, const Bytes& bytes) {
        return tables.section(pid, bytes, model);
    }

    // The section with other bytes inside and the old CRC. Whoever believes it has not looked.
    static Bytes altered(Bytes section) {
        section[section.size() - 5] ^= 1;
        return section;
    }

    // Whether a section is recognised, so that its content is not looked at again.
    bool known(std::uint16_t pid, const Bytes& bytes) {
        return section(pid, altered(bytes)) == Effect::none;
    }

    static Bytes map(std::uint16_t program, std::uint16_t stream, std::uint8_t version = 0) {
        return pmt(program, stream, {}, {{0x03, stream, {}}}, {version, 0, 0});
    }

    void listProgram(std::uint16_t program, std::uint16_t pid, std::uint8_t version = 0) {
        section(0, pat(77, {{0, 16}, {program, pid}}, {version, 0, 0}));
    }

    board::StreamModel model;
    board::StreamTables tables;
};

TEST_F(StreamTables, TellsWhatASectionHasChanged) {
    EXPECT_EQ(section(0, pat(77, {{5, pmtPid}})), Effect::programs);
    EXPECT_EQ(section(pmtPid, map(5, 0x101)), Effect::maps);
    EXPECT_EQ(section(17, sdt(77, 9, {})), Effect::none);
    EXPECT_EQ(section(0, pat(78, {{5, pmtPid}})), Effect::newStream);
    EXPECT_EQ(model.transportStreamId, 78);
    EXPECT_FALSE(model.services);
}

TEST_F(StreamTables, RecognisesEverySectionThatIsRepeated) {
    const Bytes list = pat(77, {{0, 16}, {5, pmtPid}});
    const Bytes programMap = map(5, 0x101);
    const Bytes conditional = cat(caDescriptor(0x500, 0x300));
    const Bytes services = sdt(77, 9, {{5, false, serviceDescriptor(1, "", "One")}});
    const Bytes network = nit(1, networkNameDescriptor("Netz"), {{77, 9, {}}});
    const Bytes eventsNow = eit(0x4E, 5, 77, 9, {{1, 60000, 0, 60, {}}});
    const Bytes eventsToCome = eit(0x50, 5, 77, 9, {{1, 60000, 0, 60, {}}});
    const std::vector<std::pair<std::uint16_t, Bytes>> all{
        {0, list},     {pmtPid, programMap}, {1, conditional},  {17, services},
        {16, network}, {18, eventsNow},      {18, eventsToCome}};
    for (const auto& [pid, bytes] : all) {
        EXPECT_EQ(section(pid, altered(bytes)), Effect::bad) << pid;
        section(pid, bytes);
        EXPECT_TRUE(known(pid, bytes)) << pid;
    }
}

TEST_F(StreamTables, DoesNotLookAtTablesOfOthers) {
    listProgram(5, pmtPid);
    Bytes other = sdt(78, 9, {});
    other[0] = 0x46; // of another transport stream; its CRC is wrong now
    EXPECT_EQ(section(17, other), Effect::none);
    EXPECT_EQ(section(0x200, altered(pat(79, {{6, pmtPid}}))), Effect::none) << "no PID for a PAT";
    EXPECT_EQ(section(pmtPid, altered(map(6, 0x101))), Effect::none) << "of no program here";
    EXPECT_EQ(section(0x200, altered(map(5, 0x101))), Effect::none) << "elsewhere than the PAT says";
    EXPECT_EQ(section(18, altered(eit(0x4E, 6, 77, 9, {}))), Effect::none);
}

TEST_F(StreamTables, TakesAMapThatComesBackAsItWas) {
    listProgram(5, pmtPid);
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(section(pmtPid, map(5, 0x101)), Effect::maps) << pass;
        EXPECT_EQ(section(pmtPid, map(5, 0x102, 1)), Effect::maps) << pass;
    }
}

TEST_F(StreamTables, TakesTheMapOfAProgramThatMovesAgain) {
    listProgram(5, pmtPid);
    section(pmtPid, map(5, 0x101));
    listProgram(5, 0x200, 1);
    EXPECT_FALSE(model.programs.at(1).map);
    EXPECT_EQ(section(pmtPid, map(5, 0x101)), Effect::none);
    EXPECT_EQ(section(0x200, map(5, 0x101)), Effect::maps);
    listProgram(5, pmtPid, 2);
    EXPECT_EQ(section(pmtPid, map(5, 0x101)), Effect::maps);
}

TEST_F(StreamTables, KeepsTheMapOfAProgramThatStays) {
    listProgram(5, pmtPid);
    section(pmtPid, map(5, 0x101));
    section(0, pat(77, {{5, pmtPid}, {6, 0x200}}, {1, 0, 0}));
    EXPECT_TRUE(model.programs.at(0).map);
    EXPECT_TRUE(known(pmtPid, map(5, 0x101)));
}

TEST_F(StreamTables, WantsThePidsOfItsTables) {
    section(0, pat(77, {{0, 0x30}, {5, pmtPid}, {6, 8191}}));
    EXPECT_EQ(tables.pids(), (std::vector<std::uint16_t>{0, 1, 0x30, 17, 18, 20, pmtPid, 0x1FFB}));
}

TEST_F(StreamTables, ReadsTheNitWhereThePatSaysThatItIs) {
    section(0, pat(77, {{0, 0x30}, {5, pmtPid}}));
    section(16, nit(1, {}, {}));
    EXPECT_FALSE(model.network);
    section(0x30, nit(2, {}, {}));
    ASSERT_TRUE(model.network);
    EXPECT_EQ(model.network->networkId, 2);
}

TEST_F(StreamTables, SaysWhetherANitIsWhole) {
    section(16, nit(1, {}, {{78, 9, {}}}, {0, 0, 1}));
    ASSERT_TRUE(model.network);
    EXPECT_FALSE(model.network->complete);
    section(16, nit(1, {}, {{77, 9, {}}}, {0, 1, 1}));
    EXPECT_TRUE(model.network->complete);
}

TEST_F(StreamTables, KeepsNoMoreProgramsThanRecordsShow) {
    std::vector<PatRow> rows{{0, 16}};
    for (std::uint16_t k = 1; k <= 200; ++k) {
        rows.push_back({k, static_cast<std::uint16_t>(0x100 + k)});
    }
    section(0, pat(77, rows));
    EXPECT_EQ(model.programs.size(), 61U);
    EXPECT_EQ(model.programsLeftOut, 140U);
    EXPECT_EQ(section(0x100 + 61, map(61, 0x101)), Effect::none);
    EXPECT_EQ(section(0x100 + 60, map(60, 0x101)), Effect::maps);
    rows.erase(rows.begin() + 1);
    section(0, pat(77, rows, {1, 0, 0}));
    EXPECT_EQ(section(0x100 + 61, map(61, 0x101)), Effect::maps) << "there is room for it now";
}

TEST_F(StreamTables, TakesNoSectionBeforeItIsCurrent) {
    Bytes next = pat(77, {{5, pmtPid}});
    next[5] &= 0xFE; // current_next_indicator
    psi_set_crc(next.data());
    EXPECT_EQ(section(0, next), Effect::none);
    EXPECT_TRUE(model.programs.empty());
}

TEST_F(StreamTables, TakesADateAsItStands) {
    for (const int mjd : {0, 1, 60000, 65535}) {
        const auto date = static_cast<std::uint16_t>(mjd);
        section(20, tdt(date, 3661));
        ASSERT_TRUE(model.time) << date;
        EXPECT_EQ(model.time->date, date);
        EXPECT_EQ(model.time->time, 3661U);
    }
}

TEST_F(StreamTables, TakesTheDateOfAnEventAsItStands) {
    listProgram(5, pmtPid);
    section(18, eit(0x50, 5, 77, 9, {{1, 0, 3600, 60, {}}, {2, 65535, 7200, 60, {}}}));
    const std::vector<board::Event>& events = model.events.at(5).events.at(0x50);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].startDate, 0);
    EXPECT_EQ(events[0].startTime, 3600U);
    EXPECT_EQ(events[1].startDate, 65535);
    EXPECT_EQ(events[1].startTime, 7200U);
}

} // namespace
