// A stream goes in, the stream model comes out.
#include "analysis/analyser.h"

#include "packets/packetSync.h"
#include "streamWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <sstream>

namespace {

using namespace std::chrono_literals;
using namespace streamWriter;

constexpr std::uint16_t dataPid = 0x103;

class Analyser : public testing::Test {
  protected:
    void play(const Packets& packets, std::size_t from = 0) {
        const Bytes& bytes = packets.bytes();
        for (std::size_t at = from; at < bytes.size(); at += board::tsPacketSize) {
            analyser.packet(bytes.data() + at);
        }
    }

    // Adds a section to the packets and plays it.
    void playSection(Packets& packets, std::uint16_t pid, const Bytes& section) {
        const std::size_t before = packets.bytes().size();
        packets.section(pid, section);
        play(packets, before);
    }

    const board::StreamModel& model() const {
        return analyser.model();
    }

    // "number pmtPid: pcr; ecm...; pid/type/kind/coding/language..." of every program.
    std::string programs() const {
        std::ostringstream text;
        for (const board::Program& program : model().programs) {
            text << program.number << ' ' << program.pmtPid << ':';
            if (program.map) {
                text << " pcr " << program.map->pcrPid << ';';
                for (const std::uint16_t pid : program.map->ecmPids) {
                    text << " ecm " << pid << ';';
                }
                for (const board::ElementaryStream& stream : program.map->streams) {
                    static constexpr std::array<const char*, 3> kinds{"video", "audio", "data"};
                    text << ' ' << stream.pid << '/' << int{stream.streamType} << '/'
                         << kinds[static_cast<std::size_t>(stream.kind)] << '/' << stream.audioCoding << '/'
                         << stream.language << ';';
                }
            }
            text << '\n';
        }
        return text.str();
    }

    std::string serviceNames() const {
        std::string text;
        for (const board::Service& service : model().services->services) {
            text += service.name + " ";
        }
        return text;
    }

    // The events of service 5, by table: "0x50: 11 12; ".
    std::string eventIds() const {
        std::ostringstream text;
        for (const auto& [table, events] : model().events.at(5).events) {
            text << "0x" << std::hex << int{table} << std::dec << ':';
            for (const board::Event& event : events) {
                text << ' ' << event.id;
            }
            text << "; ";
        }
        return text.str();
    }

    std::vector<std::uint16_t> pids() const {
        std::vector<std::uint16_t> list;
        for (const board::PidState& state : model().pids) {
            list.push_back(state.pid);
        }
        return list;
    }

    board::Analyser analyser{1s};
};

Packets oneProgram(std::uint8_t patVersion = 0) {
    Packets packets;
    packets.section(0, pat(77, {{0, 16}, {5, pmtPid}}, {patVersion, 0, 0}));
    packets.section(pmtPid,
                    pmt(5, videoPid, caDescriptor(0x500, 0x1F0),
                        {{0x1B, videoPid, {}},
                         {0x03, audioPid, joined({languageDescriptor("deu"), caDescriptor(0x600, 0x1F1)})},
                         {0x06, dataPid, {}}}));
    return packets;
}

TEST_F(Analyser, ReadsProgramsAndTheirMaps) {
    play(oneProgram());
    EXPECT_EQ(model().transportStreamId, 77);
    EXPECT_EQ(programs(),
              "0 16:\n"
              "5 256: pcr 257; ecm 496; ecm 497; 257/27/video/0/; 258/3/audio/3/deu; 259/6/data/0/;\n");
}

TEST_F(Analyser, TakesNeitherStreamsNorEcmsFromTheNullPackets) {
    constexpr std::uint16_t none = 8191;
    Packets packets;
    packets.section(0, pat(77, {{5, pmtPid}}));
    packets.section(pmtPid, pmt(5, videoPid, caDescriptor(0x500, none),
                                {{0x1B, videoPid, caDescriptor(0x600, 0x1F1)},
                                 {0x03, none, languageDescriptor("deu")},
                                 {0x06, dataPid, caDescriptor(0x500, none)}}));
    play(packets);
    EXPECT_EQ(programs(), "5 256: pcr 257; ecm 497; 257/27/video/0/; 259/6/data/0/;\n");
}

TEST_F(Analyser, KnowsAudioByExtensionDescriptorsAndByTheProgramsRegistration) {
    const Bytes ac4 = descriptor(0x7F, {0x15, 0x00});
    Packets packets;
    packets.section(0, pat(77, {{5, pmtPid}}));
    packets.section(pmtPid, pmt(5, videoPid, registrationDescriptor("HDMV"),
                                {{0x82, videoPid, {}}, {0x06, audioPid, ac4}, {0x06, dataPid, {}}}));
    play(packets);
    EXPECT_EQ(programs(), "5 256: pcr 257; 257/130/audio/0/; 258/6/audio/0/; 259/6/data/0/;\n");
}

TEST_F(Analyser, ListsPidsInOrderOfFirstAppearance) {
    Packets packets = oneProgram();
    packets.filler(8191);
    packets.filler(audioPid);
    packets.filler(8191);
    packets.filler(videoPid);
    play(packets);
    EXPECT_EQ(pids(), (std::vector<std::uint16_t>{0, pmtPid, 8191, audioPid, videoPid}));
}

TEST_F(Analyser, DoesNotBelieveAPacketWithATransportError) {
    Packets packets = oneProgram();
    Bytes damaged = packets.bytes();
    damaged[1] |= 0x80;
    analyser.packet(damaged.data());
    EXPECT_EQ(pids(), std::vector<std::uint16_t>{});
    EXPECT_EQ(analyser.errors().indicators[board::Indicator::transport], 1U);
}

TEST_F(Analyser, DoesNotBelieveASectionWithAWrongCrc) {
    Bytes damaged = pat(77, {{5, pmtPid}});
    damaged[9] ^= 1; // a program number
    Packets packets;
    packets.section(0, damaged);
    play(packets);
    EXPECT_EQ(programs(), "");
    EXPECT_EQ(analyser.errors().badSections, 1U);
    packets = {};
    packets.filler(0);
    packets.section(0, pat(77, {{5, pmtPid}}));
    play(packets);
    EXPECT_EQ(programs(), "5 256:\n");
}

TEST_F(Analyser, CountsGapsOfContinuityAndGoesOn) {
    Packets packets = oneProgram();
    packets.filler(videoPid, 3);
    play(packets);
    Packets later; // its counters begin anew: a gap of one at 3
    later.filler(videoPid);
    later.filler(videoPid);
    play(later);
    EXPECT_EQ(analyser.errors().indicators[board::Indicator::continuity], 1U);
}

TEST_F(Analyser, TakesANewVersionOfAMap) {
    play(oneProgram());
    Packets packets;
    packets.filler(pmtPid); // the counter goes on from the first map's packet
    packets.section(pmtPid, pmt(5, audioPid, {}, {{0x0F, audioPid, {}}}, {1, 0, 0}));
    play(packets);
    EXPECT_EQ(programs(), "0 16:\n5 256: pcr 258; 258/15/audio/1/;\n");
    EXPECT_EQ(analyser.streamNumber(), 1U);
}

TEST_F(Analyser, CollectsAPatOfTwoSections) {
    Packets packets;
    packets.section(0, pat(1, {{1, 100}}, {0, 0, 1}));
    play(packets);
    EXPECT_EQ(programs(), "");
    packets = {};
    packets.filler(0); // keeps the counter in step
    packets.section(0, pat(1, {{2, 200}}, {0, 1, 1}));
    play(packets);
    EXPECT_EQ(programs(), "1 100:\n2 200:\n");
}

TEST_F(Analyser, TakesAnotherTransportStreamIdForANewStream) {
    play(oneProgram());
    Packets packets;
    packets.filler(0);
    packets.section(0, pat(78, {{5, pmtPid}}, {1, 0, 0}));
    packets.filler(videoPid);
    play(packets);
    EXPECT_EQ(analyser.streamNumber(), 2U);
    EXPECT_EQ(programs(), "5 256:\n");
    EXPECT_EQ(pids(), (std::vector<std::uint16_t>{0, videoPid}));
}

TEST_F(Analyser, TakesAPatWithNoneOfTheOldProgramsForANewStream) {
    play(oneProgram());
    Packets packets;
    packets.filler(0);
    packets.section(0, pat(77, {{0, 16}, {6, pmtPid}}, {1, 0, 0}));
    play(packets);
    EXPECT_EQ(analyser.streamNumber(), 2U);
}

TEST_F(Analyser, TakesAPatWithOneMoreProgramForTheSameStream) {
    play(oneProgram());
    Packets packets;
    packets.filler(0);
    packets.section(0, pat(77, {{5, pmtPid}, {6, 0x200}}, {1, 0, 0}));
    play(packets);
    EXPECT_EQ(analyser.streamNumber(), 1U);
    EXPECT_EQ(programs().substr(0, 15), "5 256: pcr 257;");
}

TEST_F(Analyser, ReadsServiceNamesFromTheirCharacterTables) {
    Packets packets = oneProgram();
    packets.section(17, sdt(77, 9,
                            {{5, true,
                              serviceDescriptor(1, "\x01\xC0\xB1",
                                                "R\xC2"
                                                "e")}}));
    play(packets);
    ASSERT_TRUE(model().services);
    const board::Service& service = model().services->services.at(0);
    EXPECT_EQ(service.provider, "\u0420\u0411"); // ISO 8859-5
    EXPECT_EQ(service.name, "R\u00E9");          // ISO 6937
    EXPECT_TRUE(service.scrambled);
    EXPECT_EQ(model().services->originalNetworkId, 9);
}

TEST_F(Analyser, ReadsCatNitEitAndTdt) {
    Packets packets = oneProgram();
    packets.section(1, cat(joined({caDescriptor(0x500, 0x300), caDescriptor(0x1800, 0x301)})));
    packets.section(16,
                    nit(0x3001, networkNameDescriptor("Netz"), {{77, 9, descriptor(0x5F, {0, 0, 0, 0x28})}}));
    packets.section(
        18, eit(0x4E, 5, 77, 9, {{11, 60000, 3600, 1800, shortEventDescriptor("deu", "Eins", "Text")}}));
    packets.section(18,
                    eit(0x50, 5, 77, 9, {{12, 60000, 5400, 1800, shortEventDescriptor("deu", "Zwei", "")}}));
    packets.section(18, eit(0x4E, 99, 77, 9, {{13, 60000, 0, 0, {}}})); // of no program of this stream
    packets.section(20, tdt(60000, 3661));
    play(packets);
    ASSERT_TRUE(model().caSystems && model().network && model().time);
    EXPECT_EQ(model().caSystems->size(), 2U);
    EXPECT_EQ(model().caSystems->at(1).systemId, 0x1800);
    EXPECT_EQ(model().caSystems->at(1).emmPid, 0x301);
    EXPECT_EQ(model().network->networkId, 0x3001);
    EXPECT_EQ(model().network->parts.at(0).descriptors.at(0).text, "Netz");
    EXPECT_EQ(model().network->parts.at(0).streams.at(0).descriptors.at(0).text, "00000028");
    ASSERT_EQ(model().events.size(), 1U);
    const board::EventTable& events = model().events.at(5);
    EXPECT_EQ(events.events.at(0x4E).at(0).name, "Eins");
    EXPECT_EQ(events.events.at(0x4E).at(0).startDate, 60000);
    EXPECT_EQ(events.events.at(0x4E).at(0).startTime, 3600U);
    EXPECT_EQ(events.events.at(0x50).at(0).name, "Zwei");
    EXPECT_EQ(model().time->date, 60000);
    EXPECT_EQ(model().time->time, 3661U);
}

TEST_F(Analyser, JudgesScramblingByMostPacketsOfAPeriod) {
    Packets packets = oneProgram();
    packets.pcr(videoPid, 0);
    packets.filler(videoPid, 9, true);
    packets.filler(videoPid, 1);
    packets.filler(audioPid, 9);
    packets.filler(audioPid, 1, true);
    packets.pcr(videoPid, 27'000'000);
    packets.pcr(videoPid, 54'000'000);
    play(packets);
    std::map<std::uint16_t, bool> scrambled;
    for (const board::PidState& state : model().pids) {
        scrambled[state.pid] = state.scrambled;
    }
    EXPECT_TRUE(scrambled[videoPid]);
    EXPECT_FALSE(scrambled[audioPid]);
}

TEST_F(Analyser, TakesWhatIsScrambledInItsPesPacketsForScrambled) {
    constexpr std::size_t control = 4 + 6; // of a PES header at the beginning of a packet
    Packets packets = oneProgram();
    packets.pcr(videoPid, 0);
    const std::size_t start = packets.bytes().size();
    const Bytes layer2{0xFF, 0xFD, 0xA4, 0x40};
    packets.pes(audioPid, 0xC0, 90'000, joined({layer2, Bytes(572), layer2, Bytes(572)}));
    packets.pcr(videoPid, 27'000'000);
    packets.pcr(videoPid, 54'000'000);
    Bytes bytes = packets.bytes();
    bytes[start + control] |= 0x20;
    for (std::size_t at = 0; at < bytes.size(); at += board::tsPacketSize) {
        analyser.packet(bytes.data() + at);
    }
    const auto audio = std::ranges::find(model().pids, audioPid, &board::PidState::pid);
    ASSERT_NE(audio, model().pids.end());
    EXPECT_TRUE(audio->scrambled);
    EXPECT_FALSE(model().audioFormats.contains(audioPid)) << "its bytes are no headers";
}

TEST_F(Analyser, JudgesScramblingOnceASecondWhereTheWholeStreamIsOnePeriod) {
    board::Analyser wholeStream(0s);
    Packets packets = oneProgram();
    packets.pcr(videoPid, 0);
    packets.filler(videoPid, 9, true);
    packets.pcr(videoPid, 27'000'000);
    for (std::size_t at = 0; at < packets.bytes().size(); at += 188) {
        wholeStream.packet(packets.bytes().data() + at);
    }
    const auto video = std::ranges::find(wholeStream.model().pids, videoPid, &board::PidState::pid);
    ASSERT_NE(video, wholeStream.model().pids.end());
    EXPECT_TRUE(video->scrambled);
}

TEST_F(Analyser, SettlesWhenEverythingIsKnownOrTheTimeIsOver) {
    Packets packets = oneProgram();
    packets.pcr(videoPid, 0);
    play(packets);
    EXPECT_FALSE(analyser.settled());
    for (std::uint64_t second = 1; second <= 3; ++second) {
        Packets later;
        later.pcr(videoPid, second * 27'000'000);
        play(later);
    }
    EXPECT_TRUE(analyser.settled());
}

TEST_F(Analyser, SettlesWithTheNamesOfVirtualChannels) {
    Packets packets;
    packets.section(0, pat(77, {{5, pmtPid}}));
    packets.section(pmtPid, pmt(5, dataPid, {}, {{0x06, dataPid, {}}}));
    packets.section(0x1FFB, vct(0xC8, 77, {{"FIVE", 77, 5, 50, 2, {}}}));
    for (std::uint64_t tenth = 0; tenth <= 15; ++tenth) {
        packets.pcr(dataPid, tenth * 2'700'000);
    }
    play(packets);
    EXPECT_TRUE(analyser.settled());
}

TEST_F(Analyser, ReadsTheHeadersOfAStreamWhereAtscHasItsTables) {
    constexpr std::uint16_t psipPid = 0x1FFB;
    Packets packets;
    packets.section(0, pat(77, {{5, pmtPid}}));
    packets.section(pmtPid, pmt(5, psipPid, {}, {{0x03, psipPid, {}}}));
    const Bytes layerTwo = joined({{0xFF, 0xFD, 0xA4, 0x04}, Bytes(572)}); // 192 kbit/s at 48 kHz
    for (std::uint64_t k = 0; k < 4; ++k) {
        packets.pes(psipPid, 0xC0, k * 2160, joined({layerTwo, layerTwo}));
    }
    play(packets);
    analyser.finish();
    EXPECT_TRUE(model().audioFormats.contains(psipPid));
}

TEST_F(Analyser, ReadsAMapOfAHundredStreams) {
    std::vector<PmtRow> rows;
    for (std::uint16_t k = 0; k < 100; ++k) {
        rows.push_back({0x03, static_cast<std::uint16_t>(0x400 + k), {}});
    }
    Packets packets;
    packets.section(0, pat(1, {{5, pmtPid}}));
    packets.section(pmtPid, pmt(5, 0x400, {}, rows));
    play(packets);
    EXPECT_EQ(model().programs.at(0).map->streams.size(), 100U);
}

TEST_F(Analyser, TakesASectionOfWrongLengthsForBad) {
    Bytes wrong = pmt(5, videoPid, {}, {{0x1B, videoPid, {}}});
    wrong[2] = 5; // shorter than its header and CRC
    Packets packets;
    packets.section(0, pat(1, {{5, pmtPid}}));
    packets.section(pmtPid, wrong);
    play(packets);
    EXPECT_EQ(programs(), "5 256:\n");
    EXPECT_EQ(analyser.errors().badSections, 1U);
}

TEST_F(Analyser, TakesAProgramThatThePatNamesTwiceForTheFirst) {
    Packets packets;
    packets.section(0, pat(1, {{5, pmtPid}, {6, 0x200}, {5, 0x300}, {5, pmtPid}}));
    play(packets);
    EXPECT_EQ(programs(), "5 256:\n6 512:\n");
}

TEST_F(Analyser, TakesTheTimeFromATotToo) {
    Packets packets;
    packets.section(20, tot(60000, 10));
    play(packets);
    ASSERT_TRUE(model().time);
    EXPECT_EQ(model().time->tableId, 0x73);
    EXPECT_EQ(model().time->time, 10U);
}

TEST_F(Analyser, TellsTdtAndTotAsOne) {
    Packets packets;
    packets.section(20, tdt(60000, 20));
    packets.section(20, tot(60000, 30));
    play(packets);
    ASSERT_TRUE(model().time);
    EXPECT_EQ(model().time->tableId, 0x70);
    EXPECT_EQ(model().time->time, 30U);
}

TEST_F(Analyser, ForgetsTheFormatOfAStreamThatLeavesItsMap) {
    const Bytes layerTwo = joined({{0xFF, 0xFD, 0xA4, 0x40}, Bytes(572, 0)}); // one frame
    Packets packets = oneProgram();
    packets.pes(audioPid, 0xC0, 0, layerTwo);
    packets.pes(audioPid, 0xC0, 2160, layerTwo);
    packets.section(pmtPid, pmt(5, videoPid, {}, {{0x1B, videoPid, {}}, {0x03, audioPid, {}}}, {1, 0, 0}));
    play(packets);
    EXPECT_TRUE(model().audioFormats.contains(audioPid)) << "another map, the same stream";
    Packets later;
    later.filler(pmtPid, 2); // keeps the counter in step
    later.section(pmtPid, pmt(5, videoPid, {}, {{0x1B, videoPid, {}}, {0x0F, audioPid, {}}}, {2, 0, 0}));
    play(later);
    EXPECT_FALSE(model().audioFormats.contains(audioPid)) << "another coding on the PID";
}

TEST_F(Analyser, KeepsAnSdtUntilItsNewVersionIsWhole) {
    const auto part = [](std::uint16_t service, const std::string& name, Version version) {
        return sdt(77, 9, {{service, false, serviceDescriptor(1, "", name)}}, version);
    };
    Packets packets; // its counters go on through the test
    const auto playSdt = [&](const Bytes& section) { playSection(packets, 17, section); };
    playSdt(part(1, "One", {0, 0, 1}));
    EXPECT_EQ(serviceNames(), "One ") << "what there is, before the first whole table";
    playSdt(part(2, "Two", {0, 1, 1}));
    EXPECT_EQ(serviceNames(), "One Two ");
    playSdt(part(1, "Uno", {1, 0, 1}));
    EXPECT_EQ(serviceNames(), "One Two ");
    playSdt(part(2, "Due", {1, 1, 1}));
    EXPECT_EQ(serviceNames(), "Uno Due ");
}

TEST_F(Analyser, TakesATableAgainThatComesBackAsItWas) {
    const auto part = [](std::uint16_t service, const std::string& name, Version version) {
        return sdt(77, 9, {{service, false, serviceDescriptor(1, "", name)}}, version);
    };
    Packets packets; // its counters go on through the test
    for (int pass = 0; pass < 2; ++pass) {
        playSection(packets, 17, part(1, "One", {0, 0, 1}));
        playSection(packets, 17, part(2, "Two", {0, 1, 1}));
        EXPECT_EQ(serviceNames(), "One Two ") << pass;
        playSection(packets, 17, part(1, "Only", {1, 0, 0}));
        EXPECT_EQ(serviceNames(), "Only ") << pass;
    }
}

TEST_F(Analyser, KeepsCatAndNitUntilTheirNewVersionsAreWhole) {
    Packets packets = oneProgram();
    for (std::uint8_t part = 0; part < 2; ++part) {
        packets.section(1, cat(caDescriptor(0x500, 0x300), {0, part, 1}));
        packets.section(16, nit(0x3001, networkNameDescriptor("Netz"), {{77, 9, {}}}, {0, part, 1}));
    }
    packets.section(1, cat(caDescriptor(0x600, 0x301), {1, 0, 1}));
    packets.section(16, nit(0x3002, networkNameDescriptor("Net"), {{77, 9, {}}}, {1, 0, 1}));
    play(packets);
    ASSERT_TRUE(model().caSystems);
    ASSERT_TRUE(model().network);
    ASSERT_EQ(model().caSystems->size(), 2U);
    EXPECT_EQ(model().caSystems->at(0).systemId, 0x500);
    EXPECT_EQ(model().network->networkId, 0x3001);
    EXPECT_EQ(model().network->parts.size(), 2U);
}

TEST_F(Analyser, ReplacesAScheduleSectionBySection) {
    const auto part = [](std::uint16_t event, Version version) {
        return eit(0x50, 5, 77, 9, {{event, 60000, 3600, 1800, {}}}, version);
    };
    Packets packets = oneProgram();
    packets.section(18, part(10, {0, 0, 16, 2})); // three sections of the first segment,
    packets.section(18, part(11, {0, 1, 16, 2}));
    packets.section(18, part(12, {0, 2, 16, 2}));
    packets.section(18, part(18, {0, 8, 16, 8})); // one of the second, one of the third
    packets.section(18, part(19, {0, 16, 16, 16}));
    play(packets);
    EXPECT_EQ(eventIds(), "0x50: 10 11 12 18 19; ");
    Packets later;
    later.filler(18, 5); // keeps the counter in step
    later.section(18, part(20, {1, 0, 8, 1}));
    play(later);
    EXPECT_EQ(eventIds(), "0x50: 20 11 18; ") << "without what is beyond the segment's end and the table's";
}

TEST_F(Analyser, EndsAScheduleWithItsLastTable) {
    const auto part = [](std::uint8_t table, std::uint16_t event, std::uint8_t version,
                         std::uint8_t lastTable) {
        return eit(table, 5, 77, 9, {{event, 60000, 3600, 1800, {}}}, {version, 0, 0, 0, lastTable});
    };
    Packets packets = oneProgram();
    const auto idsAfter = [&](const Bytes& section) {
        playSection(packets, 18, section);
        return eventIds();
    };
    play(packets);
    idsAfter(part(0x4E, 1, 0, 0x4E));
    idsAfter(part(0x50, 10, 0, 0x52));
    idsAfter(part(0x51, 11, 0, 0x52));
    EXPECT_EQ(idsAfter(part(0x52, 12, 0, 0x52)), "0x4e: 1; 0x50: 10; 0x51: 11; 0x52: 12; ");
    EXPECT_EQ(idsAfter(part(0x51, 21, 1, 0x50)), "0x4e: 1; 0x50: 10; 0x51: 21; 0x52: 12; ")
        << "a table beyond its own last one is wrong about it";
    EXPECT_EQ(idsAfter(part(0x4E, 2, 1, 0x4E)), "0x4e: 2; 0x50: 10; 0x51: 21; 0x52: 12; ")
        << "present/following says nothing of the schedule";
    EXPECT_EQ(idsAfter(part(0x50, 20, 1, 0x50)), "0x4e: 2; 0x50: 20; ");
    EXPECT_EQ(idsAfter(part(0x52, 12, 0, 0x52)), "0x4e: 2; 0x50: 20; 0x52: 12; ")
        << "it comes again as it was";
}

TEST_F(Analyser, TakesAScheduleSectionThatComesAgainAfterItWasGone) {
    const auto part = [](std::uint16_t event, Version version) {
        return eit(0x50, 5, 77, 9, {{event, 60000, 3600, 1800, {}}}, version);
    };
    Packets packets = oneProgram();
    for (int round = 0; round < 2; ++round) { // as a file does that starts over
        packets.section(18, part(20, {1, 0, 0}));
        packets.section(18, part(10, {0, 0, 1}));
        packets.section(18, part(11, {0, 1, 1}));
    }
    play(packets);
    EXPECT_EQ(eventIds(), "0x50: 10 11; ");
}

TEST_F(Analyser, DropsTheEventsOfAProgramThatLeavesThePat) {
    Packets packets;
    packets.section(0, pat(77, {{5, pmtPid}, {6, pmtPid + 1}}));
    packets.section(18, eit(0x4E, 5, 77, 9, {{1, 60000, 0, 60, {}}}));
    packets.section(18, eit(0x4E, 6, 77, 9, {{2, 60000, 0, 60, {}}}));
    packets.section(18, eit(0x50, 6, 77, 9, {{3, 60000, 0, 60, {}}}));
    play(packets);
    EXPECT_EQ(model().events.size(), 2U);
    playSection(packets, 0, pat(77, {{5, pmtPid}}, {1, 0, 0}));
    EXPECT_FALSE(model().events.contains(6));
    EXPECT_EQ(eventIds(), "0x4e: 1; ");
}

TEST_F(Analyser, TakesEventsOnceThereIsRoom) {
    const std::vector<EitRow> rows(300, EitRow{1, 60000, 0, 60, {}});
    const auto schedule = [](std::uint8_t table, const std::vector<EitRow>& events, std::uint8_t version) {
        return eit(table, 5, 77, 9, events, {version, 0, 0, 0, 0x51});
    };
    const Bytes later = schedule(0x51, {{2, 60001, 0, 60, {}}}, 0);
    Packets packets = oneProgram();
    packets.section(18, schedule(0x50, rows, 0));
    packets.section(18, later);
    play(packets);
    EXPECT_EQ(model().events.at(5).events.at(0x50).size(), 60U);
    EXPECT_TRUE(model().events.at(5).events.at(0x51).empty()) << "there is no room";
    EXPECT_EQ(model().events.at(5).leftOut, 241U);
    playSection(packets, 18, eit(0x4E, 5, 77, 9, {{1, 60000, 0, 60, {}}}));
    EXPECT_EQ(model().events.at(5).events.at(0x4E).size(), 1U) << "present/following has a room of its own";
    playSection(packets, 18, schedule(0x50, {}, 1));
    playSection(packets, 18, later);
    EXPECT_EQ(eventIds(), "0x4e: 1; 0x50:; 0x51: 2; ") << "it comes again as it was";
    EXPECT_EQ(model().events.at(5).leftOut, 0U);
}

TEST_F(Analyser, FindsRoomForEventsWhereAProgramHasLeftThePat) {
    const std::vector<EitRow> rows(300, EitRow{1, 60000, 0, 60, {}});
    Packets packets;
    for (std::uint8_t version = 0; version < 5; ++version) { // each time another program fills the room
        const auto program = static_cast<std::uint16_t>(6 + version);
        packets.section(0, pat(77, {{5, pmtPid}, {program, pmtPid + 1}}, {version, 0, 0}));
        for (int number = 0; number < 110; ++number) {
            packets.section(18, eit(0x50, program, 77, 9, rows, {0, static_cast<std::uint8_t>(number), 255}));
        }
    }
    play(packets);
    EXPECT_EQ(model().events.size(), 1U);
    EXPECT_EQ(model().events.at(10).events.at(0x50).size(), 60U);
}

TEST_F(Analyser, KeepsNoMorePresentEventsOfAServiceThanARecordShows) {
    const std::vector<EitRow> rows(200, EitRow{1, 60000, 0, 60, {}});
    Packets packets = oneProgram();
    for (std::uint8_t version = 0; version < 2; ++version) {
        for (std::uint8_t number = 0; number < 8; ++number) {
            packets.section(18, eit(0x4E, 5, 77, 9, rows, {version, number, 255}));
        }
    }
    play(packets);
    EXPECT_EQ(model().events.at(5).events.at(0x4E).size(), 60U);
}

TEST_F(Analyser, KeepsNoMorePresentEventsOfAllServicesThanRecordsShow) {
    constexpr std::uint16_t services = 1000; // of which a record shows sixty, with sixty events each
    constexpr std::uint16_t rowsPerPat = 250;
    const std::vector<EitRow> rows(60, EitRow{1, 60000, 0, 60, {}});
    Packets packets;
    for (std::uint8_t number = 0; number < services / rowsPerPat; ++number) {
        std::vector<PatRow> programs;
        for (std::uint16_t k = 0; k < rowsPerPat; ++k) {
            programs.push_back({static_cast<std::uint16_t>(number * rowsPerPat + k + 1), pmtPid});
        }
        packets.section(0, pat(77, programs, {0, number, services / rowsPerPat - 1}));
    }
    for (std::uint16_t service = 1; service <= services; ++service) {
        packets.section(18, eit(0x4E, service, 77, 9, rows));
    }
    play(packets);
    std::size_t kept = 0;
    for (const auto& [service, table] : model().events) {
        for (const auto& [tableId, events] : table.events) {
            kept += events.size();
        }
    }
    EXPECT_EQ(model().programs.size(), 60U);
    EXPECT_EQ(model().programsLeftOut, 940U);
    EXPECT_EQ(kept, 60U * 60U);
}

TEST_F(Analyser, KeepsNoMoreEventsOfAScheduleThanARecordShows) {
    const std::vector<EitRow> rows(300, EitRow{1, 60000, 0, 60, {}});
    play(oneProgram());
    for (int round = 0; round < 2; ++round) {
        Packets packets;
        for (int number = 0; number < 256; ++number) {
            packets.section(18, eit(0x50, 5, 77, 9, rows, {0, static_cast<std::uint8_t>(number), 255}));
        }
        play(packets);
    }
    EXPECT_EQ(model().events.at(5).events.at(0x50).size(), 60U);
    EXPECT_EQ(model().events.at(5).leftOut, 256U * 300U - 60U);
}

TEST_F(Analyser, ReplacesEventsThoughThereIsNoRoomForMore) {
    const std::vector<EitRow> rows(128, EitRow{1, 60000, 0, 60, {}});
    Packets packets = oneProgram();
    for (int number = 0; number < 256; ++number) {
        packets.section(18, eit(0x50, 5, 77, 9, rows, {0, static_cast<std::uint8_t>(number), 255}));
    }
    packets.section(18, eit(0x50, 5, 77, 9, {{2, 60000, 0, 60, {}}}, {1, 0, 255}));
    packets.section(18, eit(0x50, 5, 77, 9, {{3, 60000, 0, 60, {}}}, {1, 1, 255}));
    packets.section(18, eit(0x50, 5, 77, 9, rows, {0, 2, 255})); // which brings what there was no room for
    play(packets);
    const std::vector<board::Event>& kept = model().events.at(5).events.at(0x50);
    ASSERT_EQ(kept.size(), 60U);
    EXPECT_EQ(kept[0].id, 2);
    EXPECT_EQ(kept[1].id, 3);
    EXPECT_EQ(kept[2].id, 1);
}

// Processor time that so many packets take.
std::clock_t costOf(const Packets& packets) {
    board::Analyser analyser{1s};
    const std::clock_t before = std::clock();
    for (std::size_t at = 0; at < packets.bytes().size(); at += board::tsPacketSize) {
        analyser.packet(packets.bytes().data() + at);
    }
    return std::clock() - before;
}

// A map of a few streams is read in the time of some ten packets, not in that of all PIDs that there could
// be.
TEST(AnalysersCost, IsThatOfThePidsInMapsWhenMapsChangeAllTheTime) {
    constexpr std::size_t count = 20'000;
    Packets changes;
    Packets ordinary;
    changes.section(0, pat(77, {{5, pmtPid}}));
    for (std::size_t k = 0; k < count; ++k) {
        changes.section(pmtPid, pmt(5, videoPid, {},
                                    {{0x02, static_cast<std::uint16_t>(201 + k % 200), {}},
                                     {0x03, static_cast<std::uint16_t>(500 + k % 7), {}}},
                                    {static_cast<std::uint8_t>(k % 32)}));
    }
    ordinary.filler(videoPid, count);
    EXPECT_LT(costOf(changes), 200 * costOf(ordinary));
}

TEST(WholeStream, IsMeasuredToItsEndWhereItShowsNoTime) {
    constexpr std::uint64_t packets = board::tunables::clockPatience + 580;
    Packets stream;
    stream.filler(dataPid, packets);
    board::Analyser analyser(board::Ticks::zero());
    for (std::size_t at = 0; at < stream.bytes().size(); at += board::tsPacketSize) {
        analyser.packet(stream.bytes().data() + at);
    }
    analyser.finish();
    EXPECT_EQ(analyser.rates().window().firstPacket, 0U);
    EXPECT_EQ(analyser.rates().window().endPacket, packets);
}

} // namespace
