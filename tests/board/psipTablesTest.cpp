// Sections of an ATSC stream go in, the stream model is filled as from DVB's tables.
#include "tables/streamTables.h"

#include "streamWriter.h"

#include <bitstream/mpeg/psi.h>
#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace streamWriter;
using Effect = board::StreamTables::Effect;

constexpr std::uint16_t psipPid = 0x1FFB;
constexpr std::uint16_t eitPid = 0x1D00;
constexpr std::uint16_t ettPid = 0x1E00;
constexpr std::uint8_t terrestrial = 0xC8;
constexpr std::uint8_t cable = 0xC9;
constexpr std::uint16_t television = 0x0002; // service_type
constexpr std::uint16_t audio = 0x0003;
constexpr std::uint16_t data = 0x0004;
constexpr std::uint16_t accessControlled = 0x2000;
constexpr std::uint8_t leapSeconds = 18;

// Seconds of GPS at a time of the Modified Julian Day 60000.
constexpr std::uint32_t gpsAt(std::uint32_t secondsOfDay) {
    return (60000 - 44244) * 86400 + secondsOfDay + leapSeconds;
}

class PsipTables : public testing::Test {
  protected:
    PsipTables() {
        section(0, pat(77, {{5, 0x100}, {6, 0x200}}));
    }

    Effect section(std::uint16_t pid, const Bytes& bytes) {
        return tables.section(pid, bytes, model);
    }

    // The channels 5 and 6, whose events are those of the sources 50 and 60.
    void listChannels(std::uint8_t version = 0) {
        section(psipPid,
                vct(terrestrial, 77, {{"FIVE", 77, 5, 50, television, {}}, {"SIX", 77, 6, 60, audio, {}}},
                    {version, 0, 0}));
    }

    // Everything that events need.
    void listEverything() {
        listChannels();
        section(psipPid, mgt({{0x0000, psipPid}, {0x0100, eitPid}, {0x0101, 0x1D01}, {0x0200, ettPid}}));
        section(psipPid, stt(gpsAt(0), leapSeconds));
    }

    static Bytes news(std::string_view title = "News", std::uint16_t id = 1) {
        return psipEit(50, {{id, gpsAt(3600), 1800, latinString("eng", title)}});
    }

    // "id name|type scrambled; " of every service.
    std::string services() const {
        std::ostringstream text;
        for (const board::Service& service : model.services->services) {
            text << service.id << ' ' << service.name << service.provider << '|' << int{service.type}
                 << (service.scrambled ? " scrambled; " : "; ");
        }
        return text.str();
    }

    // "id date time+duration language name/description; " of every event of a program.
    std::string events(std::uint16_t program) const {
        const auto found = model.events.find(program);
        if (found == model.events.end()) {
            return "none";
        }
        std::ostringstream text;
        for (const auto& [table, rows] : found->second.events) {
            for (const board::Event& event : rows) {
                text << event.id << ' ' << event.startDate << ' '
                     << (event.startTime ? std::to_string(*event.startTime) : "-") << '+'
                     << event.duration.value_or(0) << ' ' << event.language << ' ' << event.name << '/'
                     << event.description << "; ";
            }
        }
        return text.str();
    }

    board::StreamModel model;
    board::StreamTables tables;
};

TEST_F(PsipTables, NameTheServices) {
    section(psipPid, vct(terrestrial, 77,
                         {{"WXYZ-DT", 77, 5, 50, television | accessControlled, {}},
                          {"RADIO", 77, 6, 60, audio, {}},
                          {"DATA", 77, 7, 70, data, {}}}));
    EXPECT_EQ(services(), "5 WXYZ-DT|1 scrambled; 6 RADIO|2; 7 DATA|0; ");
    EXPECT_EQ(model.services->tableId, terrestrial);
    EXPECT_EQ(model.services->pid, psipPid);
    EXPECT_EQ(model.services->transportStreamId, 77);
    EXPECT_EQ(model.services->originalNetworkId, 0);
    EXPECT_TRUE(tables.namesAreWhole());
}

TEST_F(PsipTables, PreferALongNameThatCanBeRead) {
    const auto named = [](const Bytes& descriptors) {
        return VctRow{"SHORT", 77, 5, 50, television, descriptors};
    };
    section(psipPid,
            vct(terrestrial, 77, {named(extendedNameDescriptor(latinString("eng", "The Long Name")))}));
    EXPECT_EQ(services(), "5 The Long Name|1; ");
    const Bytes compressed = multipleStrings("eng", {{1, 0, {0x12}}});
    section(psipPid, vct(terrestrial, 77, {named(extendedNameDescriptor(compressed))}, {1, 0, 0}));
    EXPECT_EQ(services(), "5 SHORT|1; ");
    section(psipPid, vct(terrestrial, 77, {named(joined({{0xA1, 2, 0, 0}, {0xA0, 200, 1}}))}, {2, 0, 0}));
    EXPECT_EQ(services(), "5 SHORT|1; ") << "a descriptor beyond its loop";
}

TEST_F(PsipTables, LeaveOutChannelsThatAreNoProgramsHere) {
    section(psipPid, vct(terrestrial, 77,
                         {{"ANALOG", 77, 0xFFFF, 10, 1, {}},
                          {"HIDDEN", 77, 0, 20, television, {}},
                          {"OTHER", 78, 5, 30, television, {}},
                          {"FIVE", 77, 5, 50, television, {}},
                          {"AGAIN", 77, 5, 51, television, {}}}));
    EXPECT_EQ(services(), "5 FIVE|1; ");
}

TEST_F(PsipTables, CollectChannelsOfSeveralSections) {
    section(psipPid, vct(terrestrial, 77, {{"SIX", 77, 6, 60, television, {}}}, {0, 1, 1}));
    EXPECT_EQ(services(), "6 SIX|1; ") << "better than nothing";
    EXPECT_FALSE(tables.namesAreWhole());
    section(psipPid, vct(terrestrial, 77, {{"FIVE", 77, 5, 50, television, {}}}, {0, 0, 1}));
    EXPECT_EQ(services(), "5 FIVE|1; 6 SIX|1; ");
    EXPECT_TRUE(tables.namesAreWhole());
    section(psipPid, vct(terrestrial, 77, {{"NEW", 77, 5, 50, television, {}}}, {1, 0, 1}));
    EXPECT_EQ(services(), "5 FIVE|1; 6 SIX|1; ") << "the new version is not whole";
    section(psipPid, vct(terrestrial, 77, {}, {1, 1, 1}));
    EXPECT_EQ(services(), "5 NEW|1; ");
}

TEST_F(PsipTables, ShowATerrestrialTableBeforeACablesWhicheverComesFirst) {
    section(psipPid, vct(cable, 77, {{"CABLE", 77, 5, 50, television, {}}}));
    EXPECT_EQ(services(), "5 CABLE|1; ");
    EXPECT_EQ(model.services->tableId, cable);
    section(psipPid, vct(terrestrial, 77, {{"AIR", 77, 5, 50, television, {}}}));
    EXPECT_EQ(services(), "5 AIR|1; ");
    section(psipPid, vct(cable, 77, {{"CABLE2", 77, 5, 50, television, {}}}, {1, 0, 0}));
    EXPECT_EQ(services(), "5 AIR|1; ");
    EXPECT_EQ(model.services->tableId, terrestrial);
}

TEST_F(PsipTables, TakeNothingFromASectionThatIsCut) {
    listChannels();
    Bytes cut = vct(terrestrial, 77, {{"CUT", 77, 5, 50, television, {}}, {"CUT", 77, 6, 60, television, {}}},
                    {1, 0, 0});
    cut.resize(60);
    psi_set_length(cut.data(), static_cast<std::uint16_t>(cut.size() - PSI_HEADER_SIZE));
    psi_set_crc(cut.data());
    EXPECT_EQ(section(psipPid, cut), Effect::none);
    EXPECT_EQ(services(), "5 FIVE|1; 6 SIX|2; ");
}

TEST_F(PsipTables, TellUtc) {
    section(psipPid, stt(gpsAt(3661), leapSeconds));
    ASSERT_TRUE(model.time);
    EXPECT_EQ(model.time->tableId, 0xCD);
    EXPECT_EQ(model.time->date, 60000);
    EXPECT_EQ(model.time->time, 3661U);
    section(psipPid, stt(gpsAt(3662), leapSeconds));
    EXPECT_EQ(model.time->time, 3662U);
    section(psipPid, stt(0xFFFFFFFF, leapSeconds));
    EXPECT_EQ(model.time->time, 3662U) << "a day that a Modified Julian Day of 16 bits does not reach";
    section(psipPid, stt(17, 18));
    EXPECT_EQ(model.time->time, 3662U) << "a time before time began";
    section(psipPid, stt(18, 18));
    EXPECT_EQ(model.time->date, 44244) << "1980-01-06";
    EXPECT_EQ(model.time->time, 0U);
}

TEST_F(PsipTables, TellTheEventsOfAProgram) {
    listEverything();
    section(eitPid, psipEit(50, {{1, gpsAt(3600), 1800, latinString("eng", "News")},
                                 {0x3FFF, gpsAt(86400), 0xFFFFF, multipleStrings("spa", {{1, 0, {0x12}}})}}));
    EXPECT_EQ(events(5), "1 60000 3600+1800 eng News/; 16383 60001 0+359999 spa ?/; ");
    EXPECT_EQ(events(6), "none");
    EXPECT_EQ(model.events.at(5).events.begin()->first, 0xCB);
    EXPECT_EQ(model.events.at(5).transportStreamId, 77);
}

TEST_F(PsipTables, TellTheTextsOfEvents) {
    listEverything();
    section(ettPid, ett(50, 1, latinString("eng", "too early")));
    section(eitPid, news());
    EXPECT_EQ(events(5), "1 60000 3600+1800 eng News/; ");
    section(ettPid, ett(50, 1, latinString("eng", "All of it")));
    EXPECT_EQ(events(5), "1 60000 3600+1800 eng News/All of it; ");
    section(ettPid, ett(50, 1, multipleStrings("eng", {{2, 0, {0x12}}}), {1, 0, 0}));
    EXPECT_EQ(events(5), "1 60000 3600+1800 eng News/?; ");
    section(ettPid, ett(50, 2, latinString("eng", "of another event")));
    section(ettPid, ett(60, 1, latinString("eng", "of another source")));
    Bytes channel = ett(50, 1, latinString("eng", "of the channel"), {2, 0, 0});
    channel[12] &= 0xFC; // the last bits of the ETM_id
    psi_set_crc(channel.data());
    section(ettPid, channel);
    EXPECT_EQ(events(5), "1 60000 3600+1800 eng News/?; ");
}

TEST_F(PsipTables, WantEventsOnceChannelsTimeAndPidAreKnown) {
    section(eitPid, news());
    section(psipPid, mgt({{0x0100, eitPid}}));
    section(eitPid, news());
    listChannels();
    section(eitPid, news());
    EXPECT_EQ(events(5), "none");
    section(psipPid, stt(gpsAt(0), leapSeconds));
    section(0x1D01, news());
    EXPECT_EQ(events(5), "none") << "of another PID";
    section(eitPid, psipEit(70, {}));
    section(eitPid, news());
    EXPECT_EQ(events(5), "1 60000 3600+1800 eng News/; ");
}

TEST_F(PsipTables, ReplaceEventsByANewVersion) {
    listEverything();
    section(eitPid, psipEit(50, {{1, gpsAt(0), 60, {}}}, {0, 0, 1}));
    section(eitPid, psipEit(50, {{2, gpsAt(60), 60, {}}}, {0, 1, 1}));
    EXPECT_EQ(events(5), "1 60000 0+60  /; 2 60000 60+60  /; ");
    section(eitPid, psipEit(50, {{3, gpsAt(120), 60, {}}}, {1, 0, 0}));
    EXPECT_EQ(events(5), "3 60000 120+60  /; ");
}

TEST_F(PsipTables, FollowTheGuideToOtherPids) {
    EXPECT_EQ(section(psipPid, mgt({{0x0100, eitPid}, {0x0200, ettPid}})), Effect::pids);
    EXPECT_EQ(tables.pids(),
              (std::vector<std::uint16_t>{0, 1, 16, 17, 18, 20, 0x100, 0x200, psipPid, eitPid, ettPid}));
    listChannels();
    section(psipPid, stt(gpsAt(0), leapSeconds));
    section(eitPid, news());
    EXPECT_EQ(section(psipPid, mgt({{0x0100, 0x1D01}, {0x0200, ettPid}}, {1, 0, 0})), Effect::pids);
    EXPECT_EQ(events(5), "none") << "the next three hours have begun";
    section(eitPid, news());
    EXPECT_EQ(events(5), "none");
    section(0x1D01, news("Film"));
    EXPECT_EQ(events(5), "1 60000 3600+1800 eng Film/; ");
    EXPECT_EQ(section(psipPid, mgt({{0x0100, 0x1D01}, {0x0200, ettPid}}, {2, 0, 0})), Effect::none);
    EXPECT_EQ(events(5), "1 60000 3600+1800 eng Film/; ") << "the same PIDs";
    section(psipPid, mgt({{0x0100, 8191}}, {3, 0, 0}));
    EXPECT_EQ(tables.pids().back(), psipPid) << "null packets carry no tables";
}

TEST_F(PsipTables, ReadEventsAgainAfterALeapSecond) {
    listEverything();
    section(eitPid, news());
    section(psipPid, stt(gpsAt(1), leapSeconds + 1));
    EXPECT_EQ(events(5), "none");
    section(eitPid, news());
    EXPECT_EQ(events(5), "1 60000 3599+1800 eng News/; ");
}

TEST_F(PsipTables, DropTheEventsOfChannelsThatAreGone) {
    listEverything();
    section(eitPid, news());
    section(psipPid, vct(terrestrial, 77, {{"FIVE", 77, 5, 51, television, {}}}, {1, 0, 0}));
    EXPECT_EQ(events(5), "none") << "another source";
    listChannels(2);
    section(eitPid, news());
    EXPECT_NE(events(5), "none");
    section(0, pat(77, {{6, 0x200}}, {1, 0, 0}));
    EXPECT_EQ(events(5), "none");
    section(eitPid, news());
    EXPECT_EQ(events(5), "none") << "of no program here";
}

TEST_F(PsipTables, GiveWayToDvbsTables) {
    listEverything();
    section(eitPid, news());
    section(17, sdt(77, 9, {{5, false, serviceDescriptor(1, "", "Five")}}));
    section(18, eit(0x4E, 5, 77, 9, {{9, 60000, 60, 60, shortEventDescriptor("deu", "Film", "")}}));
    section(20, tdt(60001, 5));
    const auto unchanged = [&] {
        EXPECT_EQ(services(), "5 Five|1; ");
        EXPECT_EQ(model.services->tableId, 0x42);
        EXPECT_EQ(events(5), "9 60000 60+60 deu Film/; ");
        EXPECT_EQ(model.time->tableId, 0x70);
        EXPECT_EQ(model.time->date, 60001);
    };
    unchanged();
    listChannels(1);
    section(eitPid, news("Other", 2));
    section(psipPid, stt(gpsAt(100), leapSeconds));
    unchanged();
    section(eitPid, psipEit(60, {{3, gpsAt(0), 60, latinString("eng", "Song")}}));
    EXPECT_EQ(events(6), "3 60000 0+60 eng Song/; ") << "DVB's tables have none";
}

TEST_F(PsipTables, RecogniseSectionsThatAreRepeated) {
    listEverything();
    const std::vector<std::pair<std::uint16_t, Bytes>> all{
        {psipPid, vct(terrestrial, 77, {{"FIVE", 77, 5, 50, television, {}}}, {1, 0, 0})},
        {psipPid, mgt({{0x0100, eitPid}, {0x0200, ettPid}}, {1, 0, 0})},
        {psipPid, stt(gpsAt(7), leapSeconds)},
        {eitPid, news()},
        {ettPid, ett(50, 1, latinString("eng", "Text"))}};
    for (const auto& [pid, bytes] : all) {
        Bytes altered = bytes;
        altered[altered.size() - 5] ^= 1; // the old CRC: whoever believes it has not looked
        EXPECT_EQ(section(pid, altered), Effect::bad) << int{bytes[0]};
        section(pid, bytes);
        EXPECT_EQ(section(pid, altered), Effect::none) << int{bytes[0]};
    }
}

} // namespace
