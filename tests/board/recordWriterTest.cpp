// A stream model goes in, records come out.
#include "records/recordWriter.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace std::chrono_literals;
using board::ElementaryStream;
using board::Program;
using board::ProgramMap;
using board::StreamKind;

constexpr std::uint16_t noPid = 0xFFFF; // in a record

class RecordWriter : public testing::Test {
  protected:
    void write() {
        board::writeRecords(model, rates, eventService, *records, limits);
    }

    void pidList(std::initializer_list<std::uint16_t> pids) {
        for (const std::uint16_t pid : pids) {
            board::PidState state;
            state.pid = pid;
            model.pids.push_back(state);
        }
    }

    std::vector<std::uint16_t> listedPids() const {
        return {records->pat.pidList, records->pat.pidList + records->pat.pidListCount};
    }

    board::StreamModel model;
    board::RateMeter rates{1s};
    std::optional<std::uint16_t> eventService;
    std::vector<std::string> told;
    board::LimitReport limits{[this](const std::string& line) { told.push_back(line); }};
    std::unique_ptr<wire::RecordSet> records = std::make_unique<wire::RecordSet>();
};

TEST_F(RecordWriter, PutsThePatFirstAndKeepsTheOrderOfTheOthers) {
    pidList({500, 8191, 0, 16});
    write();
    EXPECT_EQ(listedPids(), (std::vector<std::uint16_t>{0, 500, 8191, 16}));
}

TEST_F(RecordWriter, WritesRatesInTheOrderOfThePidList) {
    pidList({500, 0});
    rates.reading(0s, 0);
    rates.count(0);
    rates.count(0);
    rates.count(1);
    rates.reading(1s, 3);
    write();
    EXPECT_FLOAT_EQ(records->tsStatus.pidStats[0].rate, 1504);
    EXPECT_FLOAT_EQ(records->tsStatus.pidStats[1].rate, 3008);
    EXPECT_EQ(records->tsStatus.absentPidRate, 0.0F);
}

TEST_F(RecordWriter, PutsTheNetworkEntryFirstInAllLists) {
    model.programs = {{7, 700, {}}, {0, 16, {}}, {8, 800, {}}};
    model.transportStreamId = 42;
    write();
    EXPECT_EQ(records->pat.programCount, 3);
    EXPECT_EQ(records->pat.sectionProgramCount, 3);
    EXPECT_EQ(records->pat.transportStreamId, 42);
    EXPECT_EQ(records->pat.programs[0].pgmNum, 0);
    EXPECT_EQ(records->pat.sectionPrograms[1].pgmNum, 7);
    EXPECT_EQ(records->pmt.slots[2].pgmNum, 8);
    EXPECT_EQ(records->avPgm.slots[2].pmtPid, 800);
    EXPECT_EQ(records->pmt.slots[1].pcrPid, noPid);
}

TEST_F(RecordWriter, ListsStreamsInTheSameOrderInBothProgramRecords) {
    model.programs = {{1, 100,
                       ProgramMap{101,
                                  {900, 901},
                                  {{103, 6, StreamKind::data, 0, ""},
                                   {101, 27, StreamKind::video, 0, ""},
                                   {102, 4, StreamKind::audio, 4, "eng"},
                                   {104, 15, StreamKind::audio, 1, "fra"}}}}};
    model.videoFormats[101] = {1920, 1080, 25.0F, 1, 1, 100, 40};
    model.audioFormats[102] = {10, 1, 0, 0};
    write();
    const wire::PmtEntry& pmt = records->pmt.slots[0];
    const wire::AvPgmEntry& av = records->avPgm.slots[0];
    EXPECT_EQ(pmt.pcrPid, 101);
    EXPECT_EQ(pmt.ecmCount, 2);
    EXPECT_EQ(pmt.ecmPids[1], 901);
    EXPECT_EQ(pmt.videoPid, 101);
    EXPECT_EQ(pmt.videoStreamType, 27);
    EXPECT_EQ(pmt.audioCount, 2);
    EXPECT_EQ(pmt.audioPids[1], 104);
    EXPECT_EQ(pmt.audioCodings[0], 4);
    EXPECT_STREQ(pmt.audioLanguages[1], "fra");
    EXPECT_EQ(pmt.privateCount, 1);
    EXPECT_EQ(pmt.pvtPids[0], 103);
    EXPECT_EQ(av.videoPid, 101);
    EXPECT_EQ(av.horizRes, 1920);
    EXPECT_EQ(av.vertRes, 1080);
    EXPECT_EQ(av.pictRate, 25.0F);
    EXPECT_EQ(av.entropyFlag, 1U);
    EXPECT_EQ(av.aspectRatio, 1);
    EXPECT_EQ(av.profile, 100U);
    EXPECT_EQ(av.level, 40U);
    EXPECT_EQ(av.audioCount, 2);
    EXPECT_EQ(av.audio[0].pid, 102);
    EXPECT_EQ(av.audio[0].bitRateIndex, 10);
    EXPECT_EQ(av.audio[0].sampleRateIndex, 1);
    EXPECT_EQ(av.audio[1].sampleRateIndex, 3) << "nothing is known of that track";
    EXPECT_EQ(av.privateCount, 1);
    EXPECT_EQ(av.privatePids[0].pid, 103);
}

TEST_F(RecordWriter, CallsAProgramScrambledWhenAllItsStreamsOnAirAre) {
    pidList({101, 102});
    model.programs = {{1, 100,
                       ProgramMap{101,
                                  {},
                                  {{101, 27, StreamKind::video, 0, ""},
                                   {102, 4, StreamKind::audio, 4, ""},
                                   {109, 6, StreamKind::data, 0, ""}}}}};
    model.pids[0].scrambled = true;
    write();
    EXPECT_EQ(records->avPgm.slots[0].videoScrambled, 1);
    EXPECT_EQ(records->avPgm.slots[0].audio[0].scrambled, 0);
    EXPECT_EQ(records->avPgm.slots[0].allScrambled, 0);
    model.pids[1].scrambled = true;
    write();
    EXPECT_EQ(records->avPgm.slots[0].allScrambled, 1);
}

TEST_F(RecordWriter, TakesTheMeasuredPictureRateWhereTheHeadersGiveNone) {
    model.programs = {{1, 100, ProgramMap{101, {}, {{101, 36, StreamKind::video, 0, ""}}}}};
    model.videoFormats[101].width = 3840;
    model.pictureRates[101] = 50.0F;
    write();
    EXPECT_EQ(records->avPgm.slots[0].pictRate, 50.0F);
}

TEST_F(RecordWriter, LeavesTheServiceItsOwnSdtWhereTheStreamHasNone) {
    write();
    EXPECT_EQ(records->sdt.actual, board::actualArtificial);
    EXPECT_EQ(records->sdt.serviceCount, 0);
}

TEST_F(RecordWriter, ListsServicesInTheOrderOfTheProgramsThenTheRest) {
    model.programs = {
        {0, 16, {}}, {3, 300, {}}, {1, 100, ProgramMap{101, {}, {{101, 2, StreamKind::video, 0, ""}}}}};
    model.services = board::ServiceTable{7, 8, {{1, 1, false, "One", "P"}, {9, 2, true, "Nine", "P"}}};
    write();
    EXPECT_EQ(records->sdt.actual, board::actualFromStream);
    EXPECT_EQ(records->sdt.tableId, 0x42);
    ASSERT_EQ(records->sdt.serviceCount, 3);
    const wire::SdtService* services = records->sdt.services;
    EXPECT_STREQ(services[0].serviceName, "Program 3");
    EXPECT_STREQ(services[0].providerName, "Unk");
    EXPECT_EQ(services[0].patIndex, 1);
    EXPECT_STREQ(services[1].serviceName, "One");
    EXPECT_EQ(services[1].pmtPid, 100);
    EXPECT_EQ(services[1].pidCount, 1);
    EXPECT_EQ(services[1].patIndex, 2);
    EXPECT_STREQ(services[2].serviceName, "Nine");
    EXPECT_EQ(services[2].patIndex, 255);
    EXPECT_EQ(services[2].caFlag, 1);
}

TEST_F(RecordWriter, CutsTextsAtACharacterInsideTheirField) {
    std::string name(36, 'a');
    name += "\u00E9"; // bytes 36 and 37, of which 37 is the terminator's
    model.programs = {{1, 100, {}}};
    model.services = board::ServiceTable{7, 8, {{1, 1, false, name, std::string(35, 'p')}}};
    write();
    EXPECT_EQ(std::string(records->sdt.services[0].serviceName), std::string(36, 'a'));
    EXPECT_EQ(std::string(records->sdt.services[0].providerName), std::string(35, 'p'));
}

TEST_F(RecordWriter, ReplacesWhatWouldBreakADocument) {
    model.programs = {{1, 100, {}}};
    model.services = board::ServiceTable{7, 8, {{1, 1, false, "\"A\\B\"\n", "\xFFx"}}};
    write();
    EXPECT_STREQ(records->sdt.services[0].serviceName, "'A/B' ");
    EXPECT_STREQ(records->sdt.services[0].providerName, "");
}

TEST_F(RecordWriter, ReplacesControlCharactersOfTwoBytesToo) {
    pidList({0});
    board::ServiceTable services{1, 1, {{5, 1, false, "a\xC2\x80z\xC2\x9F\xC2\xA0\xC3\x80", {}}}};
    model.services = services;
    write();
    EXPECT_STREQ(records->sdt.services[0].serviceName, "a z \xC2\xA0\xC3\x80");
}

TEST_F(RecordWriter, ListsPresentAndFollowingThenTheScheduleFromThereOn) {
    model.programs = {{1, 100, {}}, {2, 200, {}}};
    board::EventTable& table = model.events[2];
    table.events[0x50] = {{20, 60000, 600U, 60, "deu", "over", ""},
                          {21, 60000, 3600U, 60, "deu", "present", ""},
                          {23, 60000, 7200U, 3600, "deu", "later", "text"}};
    table.events[0x4E] = {{21, 60000, 3600U, 60, "deu", "present", ""},
                          {22, 60000, 3660U, 60, "deu", "next", ""}};
    write();
    EXPECT_EQ(records->eit.serviceId, 2);
    EXPECT_EQ(records->eit.tableId, 0x4E);
    ASSERT_EQ(records->eit.eventCount, 3);
    EXPECT_STREQ(records->eit.events[0].eventName, "present");
    EXPECT_STREQ(records->eit.events[1].eventName, "next");
    EXPECT_STREQ(records->eit.events[2].eventName, "later");
    EXPECT_STREQ(records->eit.events[2].startTime, "02:00:00");
    EXPECT_STREQ(records->eit.events[2].duration, "01:00:00");
    EXPECT_STREQ(records->eit.events[2].language, "deu");
    EXPECT_STREQ(records->eit.events[2].description, "text");
    eventService = 1;
    write();
    EXPECT_EQ(records->eit.eventCount, 0);
}

TEST_F(RecordWriter, WritesCatNitAndTdt) {
    model.transportStreamId = 5;
    model.caSystems = {{0x500, 0x300}};
    model.network =
        board::NetworkTable{9,
                            {{{{0x5B, "x"}, {0x40, "Net"}},
                              {{4, 1, {{0x41, "other"}}}, {5, 1, {{0x41, "1:1"}, {0x5A, "506 MHz"}}}}}}};
    model.time = board::UtcTime{0x70, 60000, 86399};
    write();
    EXPECT_EQ(records->cat.tableId, 1);
    EXPECT_EQ(records->cat.caCount, 1);
    EXPECT_EQ(records->cat.caEntries[0].caPid, 0x300);
    EXPECT_EQ(records->nit.networkId, 9);
    EXPECT_EQ(records->nit.transportStreamId, 5);
    EXPECT_EQ(records->nit.descriptorType, 0x40);
    EXPECT_STREQ(records->nit.descriptorText, "Net");
    ASSERT_EQ(records->nit.descriptorCount, 3);
    EXPECT_STREQ(records->nit.descriptorEntries[0].descriptorText, "x");
    EXPECT_STREQ(records->nit.descriptorEntries[2].descriptorText, "506 MHz");
    EXPECT_EQ(records->tdt.dateMjd, 60000);
    EXPECT_STREQ(records->tdt.timeOfDay, "23:59:59");
}

TEST_F(RecordWriter, NamesNoOtherTransportStreamOfANitThatIsNotWhole) {
    const board::NetworkStream other{4, 1, {{0x41, "other"}}};
    const board::NetworkStream own{5, 2, {{0x41, "own"}}};
    model.transportStreamId = 5;
    model.network = board::NetworkTable{9, {{{{0x40, "Net"}}, {other}}}, false};
    write();
    EXPECT_STREQ(records->nit.descriptorText, "Net") << "what there is of the network";
    EXPECT_EQ(records->nit.transportStreamId, 0);
    EXPECT_EQ(records->nit.descriptorCount, 0);
    model.network->complete = true;
    write();
    EXPECT_EQ(records->nit.transportStreamId, 4) << "this stream is not in it";
    EXPECT_STREQ(records->nit.descriptorEntries[0].descriptorText, "other");
    model.network->complete = false;
    model.network->parts.push_back({{}, {own}});
    write();
    EXPECT_EQ(records->nit.transportStreamId, 5);
    EXPECT_STREQ(records->nit.descriptorEntries[0].descriptorText, "own");
}

TEST_F(RecordWriter, CountsWhatIsNotKeptAmongWhatDoesNotFit) {
    model.programs = {{1, 0x100, std::nullopt}};
    model.programsLeftOut = 60;
    model.events[1].events[0x50] = {{1, 60000, 0U, 60, "", "", ""}};
    model.events[1].leftOut = 60;
    write();
    EXPECT_EQ(told, (std::vector<std::string>{
                        "too many programs with a map: expected at most 59, got 61; the rest is left out",
                        "too many events of service 1: expected at most 60, got 61; the rest is left out"}));
}

TEST_F(RecordWriter, ListsACaSystemWithoutEmms) {
    model.caSystems = {{0x500, 8191}, {0x600, 0x300}};
    write();
    EXPECT_EQ(records->cat.caCount, 2);
    EXPECT_EQ(records->cat.caEntries[0].caSystemId, 0x500);
    EXPECT_EQ(records->cat.caEntries[0].caPid, noPid) << "which is no PID of the list, as 8191 may be";
    EXPECT_EQ(records->cat.caEntries[1].caPid, 0x300);
}

TEST_F(RecordWriter, LeavesOutWhatDoesNotFitAndSaysSoOnce) {
    for (std::uint16_t k = 0; k < 300; ++k) {
        pidList({static_cast<std::uint16_t>(k)});
    }
    ProgramMap map{8190, {}, {}};
    for (std::uint16_t k = 0; k < 20; ++k) {
        map.ecmPids.push_back(k);
        map.streams.push_back({k, 2, StreamKind::video, 0, ""});
        map.streams.push_back({k, 3, StreamKind::audio, 3, ""});
        map.streams.push_back({k, 6, StreamKind::data, 0, ""});
    }
    board::ServiceTable services{1, 1, {}};
    for (std::uint16_t k = 1; k <= 70; ++k) {
        model.programs.push_back({k, k, k == 1 ? std::optional(map) : std::nullopt});
        services.services.push_back({k, 1, false, "name", ""});
    }
    model.services = services;
    model.caSystems = std::vector<board::CaSystem>(15);
    model.network = board::NetworkTable{1, {{std::vector<board::TextDescriptor>(12), {}}}};
    for (std::uint16_t k = 0; k < 99; ++k) {
        model.events[1].events[0x50].push_back({k, 0, 0U, 0, "", "", ""});
    }
    write();
    write();
    EXPECT_EQ(told,
              (std::vector<std::string>{
                  "too many PIDs: expected at most 256, got 300; the rest is left out",
                  "too many PIDs with a rate: expected at most 128, got 300; the rest is left out",
                  "too many programs with a map: expected at most 59, got 70; the rest is left out",
                  "too many video streams of program 1: expected at most 1, got 20; the rest is left out",
                  "too many audio streams of program 1: expected at most 12, got 20; the rest is left out",
                  "too many private streams of program 1: expected at most 12, got 20; the rest is left out",
                  "too many ECM PIDs of program 1: expected at most 6, got 20; the rest is left out",
                  "too many services: expected at most 60, got 70; the rest is left out",
                  "too many CA systems: expected at most 10, got 15; the rest is left out",
                  "too many NIT descriptors: expected at most 10, got 11; the rest is left out",
                  "too many events of service 1: expected at most 60, got 99; the rest is left out"}));
    EXPECT_EQ(records->pat.pidListCount, 256);
    EXPECT_EQ(records->pat.programCount, 59);
    EXPECT_EQ(records->pat.sectionProgramCount, 60);
    EXPECT_EQ(records->pmt.slots[0].audioCount, 12);
    EXPECT_EQ(records->pmt.slots[0].privateCount, 12);
    EXPECT_EQ(records->pmt.slots[0].ecmCount, 6);
    EXPECT_EQ(records->sdt.serviceCount, 60);
    EXPECT_EQ(records->cat.caCount, 10);
    EXPECT_EQ(records->nit.descriptorCount, 10);
    EXPECT_EQ(records->eit.eventCount, 60);
}

} // namespace
