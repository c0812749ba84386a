// Streams with one fault each, and streams with almost that fault: what the indicators of TR 101 290 show.
#include "analysis/errorWatch.h"

#include "analysis/analyser.h"
#include "packets/packetSync.h"
#include "streamWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

namespace {

using namespace std::chrono_literals;
using namespace streamWriter;
using board::Indicator;

constexpr std::uint16_t nullPid = 8191;
constexpr std::size_t slotPackets = 10;      // of 10 ms: 1.5 Mbit/s
constexpr std::int64_t packetTicks = 27'000; // of 27 MHz
constexpr std::int64_t msTicks = 27'000;

// What is sent in ten milliseconds.
struct Slot {
    bool pat = false;
    bool pmt = false;
    bool cat = false;
    bool pcr = false;
    bool video = false;
    bool audio = false;
    bool scrambled = false;    // the PES packets
    std::int64_t pcrError = 0; // ticks
    std::size_t room = slotPackets;
    std::function<void(Packets&)> extra{};
};

using Change = std::function<void(int ms, Slot& slot)>;

Bytes soundMap(std::uint8_t audioType = 0) {
    return pmt(5, videoPid, {},
               {{0x02, videoPid, {}}, {0x03, audioPid, descriptor(0x0A, {'d', 'e', 'u', audioType})}});
}

// A stream of constant bit rate without a fault, but for what the change makes of its slots.
Bytes stream(int milliseconds, const Change& change = {}, const Bytes& map = soundMap()) {
    Packets packets;
    std::int64_t time = 0; // packets
    for (int ms = 0; ms < milliseconds; ms += 10) {
        Slot slot{ms % 100 == 0, ms % 100 == 50, false, ms % 40 == 0, ms % 40 == 20, ms % 200 == 30};
        if (change) {
            change(ms, slot);
        }
        const std::size_t before = packets.bytes().size() / board::tsPacketSize;
        if (slot.pcr) {
            packets.pcr(videoPid, static_cast<std::uint64_t>(time * packetTicks + slot.pcrError + 1'000'000));
        }
        if (slot.pat) {
            packets.section(0, pat(77, {{5, pmtPid}}));
        }
        if (slot.pmt) {
            packets.section(pmtPid, map);
        }
        if (slot.cat) {
            packets.section(1, cat(caDescriptor(0x500, 0x1F0)));
        }
        if (slot.video) {
            packets.pes(videoPid, 0xE0, static_cast<std::uint64_t>(ms) * 90, {1, 2, 3}, slot.scrambled);
        }
        if (slot.audio) {
            packets.pes(audioPid, 0xC0, static_cast<std::uint64_t>(ms) * 90, {4, 5, 6}, slot.scrambled);
        }
        if (slot.extra) {
            slot.extra(packets);
        }
        const std::size_t sent = packets.bytes().size() / board::tsPacketSize - before;
        packets.filler(nullPid, slot.room - std::min(slot.room, sent));
        time += slotPackets;
    }
    return packets.bytes();
}

class Indicators : public testing::Test {
  protected:
    void play(const Bytes& bytes) {
        for (std::size_t at = 0; at < bytes.size(); at += board::tsPacketSize) {
            analyser.packet(bytes.data() + at);
        }
    }

    // "name count" of all that are not 0.
    std::string shown() const {
        std::string text;
        for (const board::IndicatorRow& row : board::indicatorRows) {
            if (const auto count = analyser.errors().indicators[row.indicator]; count > 0) {
                text += row.name + (" " + std::to_string(count) + ";");
            }
        }
        return text;
    }

    std::string shownOf(const Bytes& bytes) {
        play(bytes);
        return shown();
    }

    std::uint64_t count(Indicator indicator, std::uint16_t pid) const {
        const auto found = analyser.errors().pids.find(pid);
        return found == analyser.errors().pids.end() ? 0 : found->second.indicators[indicator];
    }

    board::Analyser analyser{1s};
};

// Sends a thing at 900 ms, and next at this time; from then on as before.
Change nextAt(int ms, bool Slot::*thing) {
    return [ms, thing](int now, Slot& slot) {
        if (now > 900 && now <= ms) {
            slot.*thing = now == ms;
        }
    };
}

TEST_F(Indicators, ShowNothingOfASoundStream) {
    EXPECT_EQ(shownOf(stream(12'000)), "");
    EXPECT_TRUE(analyser.errors().accuracyMeasured());
    EXPECT_FALSE(analyser.errors().any());
    EXPECT_TRUE(analyser.errors().pids.empty());
}

TEST_F(Indicators, WaitHalfASecondForThePat) {
    EXPECT_EQ(shownOf(stream(3000, nextAt(1390, &Slot::pat))), "") << "490 ms";
}

TEST_F(Indicators, MissAPatAfterHalfASecond) {
    EXPECT_EQ(shownOf(stream(3000, nextAt(1410, &Slot::pat))), "PAT_error_2 1;") << "510 ms";
    EXPECT_EQ(count(Indicator::pat, 0), 1U);
}

TEST_F(Indicators, MissAPatOnceMoreForEveryHalfSecond) {
    EXPECT_EQ(shownOf(stream(3000, nextAt(2300, &Slot::pat))), "PAT_error_2 2;") << "1400 ms";
}

TEST_F(Indicators, MissAPatThatHasNeverBeenThere) {
    EXPECT_EQ(shownOf(stream(1950, [](int, Slot& slot) { slot.pat = slot.pmt = false; })), "PAT_error_2 3;");
}

TEST_F(Indicators, KnowAnotherTableInThePlaceOfThePat) {
    const auto other = [](int ms, Slot& slot) {
        if (ms == 1000 || ms == 1500) {
            slot.extra = [](Packets& packets) { packets.section(0, sdt(77, 1, {})); };
        }
    };
    EXPECT_EQ(shownOf(stream(2000, other)), "PAT_error_2 2;");
}

TEST_F(Indicators, KnowAScrambledPatAndMap) {
    const auto scrambledTables = [](int ms, Slot& slot) {
        if (ms == 1000) {
            slot.extra = [](Packets& packets) {
                packets.filler(0, 1, true);
                packets.filler(pmtPid, 2, true);
                packets.filler(nullPid, 1, true);
            };
        }
    };
    EXPECT_EQ(shownOf(stream(2000, scrambledTables)), "PAT_error_2 1;PMT_error_2 2;");
    EXPECT_EQ(count(Indicator::pmt, pmtPid), 2U);
}

TEST_F(Indicators, WaitHalfASecondForAMap) {
    EXPECT_EQ(shownOf(stream(3000, nextAt(1340, &Slot::pmt))), "") << "490 ms after 850";
}

TEST_F(Indicators, MissAMapAfterHalfASecond) {
    EXPECT_EQ(shownOf(stream(3000, nextAt(1360, &Slot::pmt))), "PMT_error_2 1;") << "510 ms after 850";
    EXPECT_EQ(count(Indicator::pmt, pmtPid), 1U);
}

TEST_F(Indicators, MissAMapThatThePatPromises) {
    EXPECT_EQ(shownOf(stream(1950, [](int, Slot& slot) { slot.pmt = false; })), "PMT_error_2 3;");
}

TEST_F(Indicators, WaitFiveSecondsForThePacketsOfAProgram) {
    const auto silent = [](int ms, Slot& slot) { slot.audio = slot.audio && (ms <= 1030 || ms >= 5830); };
    play(stream(8000, silent));
    EXPECT_EQ(analyser.errors().indicators[Indicator::pid], 0U) << "4.8 s";
}

TEST_F(Indicators, MissThePacketsOfAProgramAfterFiveSeconds) {
    const auto silent = [](int ms, Slot& slot) { slot.audio = slot.audio && (ms <= 1030 || ms >= 6430); };
    play(stream(8000, silent));
    EXPECT_EQ(count(Indicator::pid, audioPid), 1U) << "5.4 s";
    EXPECT_EQ(analyser.errors().indicators[Indicator::pid], 1U);
}

TEST_F(Indicators, LetAudioForFewListenersFallSilent) {
    constexpr std::uint8_t visuallyImpaired = 3;
    const auto silent = [](int ms, Slot& slot) { slot.audio = slot.audio && ms <= 1030; };
    play(stream(8000, silent, soundMap(visuallyImpaired)));
    EXPECT_EQ(analyser.errors().indicators[Indicator::pid], 0U);
}

TEST_F(Indicators, CountTransportErrorsOfPidsThatAreThere) {
    Bytes bytes = stream(1000);
    const auto damage = [&bytes](std::size_t packet, std::uint16_t pid) {
        std::uint8_t* header = bytes.data() + packet * board::tsPacketSize;
        header[1] = static_cast<std::uint8_t>(0x80 | pid >> 8);
        header[2] = static_cast<std::uint8_t>(pid);
    };
    damage(507, videoPid); // null packets before
    damage(508, 0x1234);
    EXPECT_EQ(shownOf(bytes), "Transport_error 2;");
    EXPECT_EQ(count(Indicator::transport, videoPid), 1U);
    EXPECT_EQ(count(Indicator::transport, 0x1234), 0U) << "a PID that never was there is a wrong one";
    EXPECT_EQ(analyser.errors().pids.size(), 1U);
}

TEST_F(Indicators, CountEveryWrongCrcOfTheirTables) {
    const std::vector<std::pair<std::uint16_t, Bytes>> sections{
        {0, pat(77, {{5, pmtPid}})},   {1, cat({})},         {pmtPid, soundMap()},
        {16, nit(1, {}, {})},          {17, sdt(77, 1, {})}, {18, eit(0x4E, 5, 77, 1, {})},
        {18, eit(0x6F, 9, 78, 1, {})}, {20, tot(60000, 1)},
    };
    const auto damaged = [&](int ms, Slot& slot) {
        const auto k = static_cast<std::size_t>(ms / 100);
        if (ms >= 500 && ms % 100 == 70 && k - 5 < sections.size()) {
            slot.extra = [&, k](Packets& packets) {
                Bytes section = sections[k - 5].second;
                section[section.size() - 5] ^= 1; // the CRC itself is that of the right section
                packets.section(sections[k - 5].first, section);
            };
        }
    };
    EXPECT_EQ(shownOf(stream(2000, damaged)), "CRC_error 8;");
    EXPECT_EQ(analyser.errors().badSections, 8U);
    EXPECT_EQ(analyser.errors().pids.at(18).badSections, 2U);
}

TEST_F(Indicators, LeaveOutTheCrcOfOtherTables) {
    const auto damaged = [](int ms, Slot& slot) {
        if (ms == 1000) {
            slot.extra = [](Packets& packets) {
                Bytes section = vct(0xC8, 77, {});
                section.back() ^= 1;
                packets.section(17, section);
                Bytes stuffing = sdt(77, 1, {});
                stuffing[0] = 0x72;
                packets.section(17, stuffing);
            };
        }
    };
    EXPECT_EQ(shownOf(stream(2000, damaged)), "");
    EXPECT_EQ(analyser.errors().badSections, 1U) << "stuffing has no CRC";
}

TEST_F(Indicators, DoNotTakeASectionWithAWrongCrcForTheTable) {
    const auto damaged = [](int ms, Slot& slot) {
        if (slot.pat && ms >= 1000 && ms < 2000) {
            slot.pat = false;
            slot.extra = [](Packets& packets) {
                Bytes section = pat(77, {{5, pmtPid}});
                section.back() ^= 1;
                packets.section(0, section);
            };
        }
    };
    EXPECT_EQ(shownOf(stream(3000, damaged)), "PAT_error_2 2;CRC_error 10;");
}

TEST_F(Indicators, AllowPcrsATenthOfASecondApart) {
    EXPECT_EQ(shownOf(stream(3000, [](int ms, Slot& slot) { slot.pcr = ms % 100 == 0; })), "");
}

TEST_F(Indicators, CountPcrsThatAreFurtherApart) {
    // The first of 28 comes before the map that makes it one to compare with.
    EXPECT_EQ(shownOf(stream(3000, [](int ms, Slot& slot) { slot.pcr = ms % 110 == 0; })),
              "PCR_repetition_error 27;PCR_discontinuity_indicator_error 26;");
    EXPECT_EQ(count(Indicator::pcrRepetition, videoPid), 27U);
}

// The clock stands still for 5,000 packets then, before it believes time stamps.
TEST_F(Indicators, MissPcrsThatAMapPromises) {
    play(stream(12'000, [](int ms, Slot& slot) { slot.pcr = slot.pcr && ms < 1000; }));
    EXPECT_GE(count(Indicator::pcrRepetition, videoPid), 50U) << "11 s without";
    EXPECT_EQ(analyser.errors().indicators[Indicator::pcrDiscontinuity], 0U)
        << "there are no values to compare";
}

Change leapAt(int ms, std::int64_t ticks, bool announced) {
    return [=](int now, Slot& slot) {
        slot.pcrError = now >= ms ? ticks : 0;
        if (announced && now == ms) {
            slot.pcr = false;
            slot.extra = [=](Packets& packets) {
                packets.pcr(videoPid, static_cast<std::uint64_t>(now * msTicks + ticks + 1'000'000), true);
            };
        }
    };
}

TEST_F(Indicators, CountPcrsThatLeapUnannounced) {
    EXPECT_EQ(shownOf(stream(3000, leapAt(2000, 70 * msTicks, false))),
              "PCR_repetition_error 1;PCR_discontinuity_indicator_error 1;")
        << "110 ms, of which nothing but the PCR tells how long they were";
    analyser = board::Analyser(1s);
    EXPECT_EQ(shownOf(stream(3000, leapAt(2000, 7000 * msTicks, false))),
              "PCR_discontinuity_indicator_error 1;")
        << "7 s, which the packets do not bear out";
    analyser = board::Analyser(1s);
    EXPECT_EQ(shownOf(stream(3000, leapAt(2000, 50 * msTicks, false))), "") << "90 ms";
    analyser = board::Analyser(1s);
    EXPECT_EQ(shownOf(stream(3000, leapAt(2000, -41 * msTicks, false))),
              "PCR_discontinuity_indicator_error 1;")
        << "backwards";
}

TEST_F(Indicators, AllowPcrsThatLeapWithDiscontinuityIndicator) {
    EXPECT_EQ(shownOf(stream(3000, leapAt(2000, 7000 * msTicks, true))), "");
}

TEST_F(Indicators, TakeAShortLeapThatIsAnnouncedForNoTime) {
    EXPECT_EQ(shownOf(stream(3000, leapAt(2000, 900 * msTicks, true))), "");
}

// A packet takes a millisecond.
Bytes withoutPackets(Bytes bytes, int ms, int milliseconds) {
    const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(board::tsPacketSize) * ms;
    bytes.erase(from, from + static_cast<std::ptrdiff_t>(board::tsPacketSize) * milliseconds);
    return bytes;
}

// Of 750 ms, in which between two PATs, two maps and two time stamps there are 760 to 1000 ms.
const std::string shortOutage = "PAT_error_2 1;Continuity_count_error 4;PMT_error_2 1;PCR_repetition_error 7;"
                                "PCR_discontinuity_indicator_error 1;PTS_error 2;";

TEST_F(Indicators, MissEverythingInAShortOutageWheneverItBegins) {
    const Bytes whole = stream(6000);
    for (int ms = 3000; ms < 3200; ms += 7) {
        analyser = board::Analyser(1s);
        EXPECT_EQ(shownOf(withoutPackets(whole, ms, 750)), shortOutage) << "at " << ms << " ms";
    }
}

TEST_F(Indicators, MissTheSameInAShortOutageOfALiveSource) {
    const Bytes whole = stream(6000);
    for (int ms = 3000; ms < 3200; ms += 7) {
        analyser = board::Analyser(1s, board::SourceKind::live);
        for (int packet = 0; packet < 6000; ++packet) {
            if (packet < ms || packet >= ms + 750) {
                analyser.packet(whole.data() + static_cast<std::size_t>(packet) * board::tsPacketSize);
            }
            analyser.realTime(1ms);
        }
        EXPECT_EQ(shown(), shortOutage) << "at " << ms << " ms";
    }
}

TEST_F(Indicators, TakeALongOutageOfAFileForNoTime) {
    const Bytes whole = stream(12'000);
    for (const int length : {1100, 2000, 6000}) {
        for (int ms = 3000; ms < 3200; ms += 7) {
            analyser = board::Analyser(1s);
            EXPECT_EQ(shownOf(withoutPackets(whole, ms, length)),
                      "Continuity_count_error 4;PCR_discontinuity_indicator_error 1;")
                << length << " ms at " << ms << " ms";
        }
    }
}

TEST_F(Indicators, MissNothingThatComesWhilePcrsDoNot) {
    for (int ms = 2000; ms < 2200; ms += 40) {
        analyser = board::Analyser(1s);
        EXPECT_EQ(
            shownOf(stream(
                4000, [ms](int now, Slot& slot) { slot.pcr = slot.pcr && (now <= ms || now >= ms + 800); })),
            "PCR_repetition_error 7;PCR_discontinuity_indicator_error 1;")
            << "after " << ms << " ms";
    }
}

// Every eighth PCR is wrong by so many ticks.
Change inaccurateBy(std::int64_t ticks) {
    return [ticks](int ms, Slot& slot) { slot.pcrError = ms % 320 == 40 ? ticks : 0; };
}

TEST_F(Indicators, CountPcrsThatAreWrongByMoreThan500Nanoseconds) {
    constexpr std::uint64_t wrong = 25; // in eight seconds; the ninth is told behind the tenth
    EXPECT_EQ(shownOf(stream(9200, inaccurateBy(20))), "PCR_accuracy_error " + std::to_string(wrong) + ";")
        << "740 ns";
    analyser = board::Analyser(1s);
    EXPECT_EQ(shownOf(stream(9200, inaccurateBy(-2000))), "PCR_accuracy_error " + std::to_string(wrong) + ";")
        << "74 us";
    analyser = board::Analyser(1s);
    EXPECT_EQ(shownOf(stream(9200, inaccurateBy(11))), "") << "407 ns";
    EXPECT_TRUE(analyser.errors().accuracyMeasured());
}

TEST_F(Indicators, SayNothingOfTheAccuracyOfPcrsInAStreamOfVariableBitRate) {
    const auto variable = [](int ms, Slot& slot) { slot.room = ms / 500 % 2 == 0 ? 10 : 30; };
    EXPECT_EQ(shownOf(stream(10'000, variable)), "");
    EXPECT_FALSE(analyser.errors().accuracyMeasured());
}

TEST_F(Indicators, TakeBackWhatTheySaidOfAccuracyWhenTheBitRateTurnsOutToVary) {
    const auto later = [](int ms, Slot& slot) {
        inaccurateBy(50)(ms, slot);
        slot.room = ms >= 8000 && ms / 500 % 2 == 0 ? 30 : 10;
    };
    EXPECT_EQ(shownOf(stream(12'000, later)), "");
    EXPECT_FALSE(analyser.errors().accuracyMeasured());
}

TEST_F(Indicators, MeasureNoAccuracyOfALiveSource) {
    analyser = board::Analyser(1s, board::SourceKind::live);
    EXPECT_EQ(shownOf(stream(8000, inaccurateBy(50))), "");
    EXPECT_FALSE(analyser.errors().accuracyMeasured());
}

TEST_F(Indicators, MeasureAccuracyBetweenLostPackets) {
    Bytes bytes = stream(10'000);
    std::size_t lost = 5000 * board::tsPacketSize;
    while (bytes[lost + 1] % 0x20 != audioPid / 256 || bytes[lost + 2] != audioPid % 256) {
        lost += board::tsPacketSize;
    }
    bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(lost),
                bytes.begin() + static_cast<std::ptrdiff_t>(lost + board::tsPacketSize));
    EXPECT_EQ(shownOf(bytes), "Continuity_count_error 1;") << "where packets stand is no fault of the PCRs";
    EXPECT_TRUE(analyser.errors().accuracyMeasured());
}

TEST_F(Indicators, WaitSevenTenthsOfASecondForATimeStamp) {
    const auto rare = [](int ms, Slot& slot) { slot.audio = slot.audio && (ms <= 1030 || ms > 1700); };
    EXPECT_EQ(shownOf(stream(3000,
                             [&](int ms, Slot& slot) {
                                 rare(ms, slot);
                                 slot.audio = slot.audio || ms == 1720;
                             })),
              "")
        << "690 ms";
}

TEST_F(Indicators, MissATimeStampAfterSevenTenthsOfASecond) {
    EXPECT_EQ(shownOf(stream(3000,
                             [](int ms, Slot& slot) {
                                 slot.audio = slot.audio && (ms <= 1030 || ms > 1750);
                                 slot.audio = slot.audio || ms == 1750;
                             })),
              "PTS_error 1;")
        << "720 ms";
    EXPECT_EQ(count(Indicator::pts, audioPid), 1U);
}

TEST_F(Indicators, LookForNoTimeStampsInScrambledPackets) {
    const auto scrambled = [](int ms, Slot& slot) {
        slot.scrambled = ms >= 1000 && ms < 2500;
        slot.cat = ms % 500 == 0;
    };
    EXPECT_EQ(shownOf(stream(4000, scrambled)), "");
}

TEST_F(Indicators, MissACatWherePacketsAreScrambled) {
    const auto scrambled = [](int, Slot& slot) { slot.scrambled = true; };
    EXPECT_EQ(shownOf(stream(1900, scrambled)), "") << "not yet";
    analyser = board::Analyser(1s);
    EXPECT_EQ(shownOf(stream(4500, scrambled)), "CAT_error 2;");
    EXPECT_EQ(count(Indicator::cat, 1), 2U);
}

TEST_F(Indicators, MissNoCatThatComesOrIsNotNeeded) {
    EXPECT_EQ(shownOf(stream(5000,
                             [](int ms, Slot& slot) {
                                 slot.scrambled = true;
                                 slot.cat = ms % 1500 == 0;
                             })),
              "");
    analyser = board::Analyser(1s);
    EXPECT_EQ(shownOf(stream(5000,
                             [](int, Slot& slot) {
                                 slot.extra = [](Packets& packets) { packets.filler(nullPid, 1, true); };
                             })),
              "")
        << "null packets need none";
}

TEST_F(Indicators, KnowAnotherTableInThePlaceOfTheCat) {
    EXPECT_EQ(shownOf(stream(2000,
                             [](int ms, Slot& slot) {
                                 if (ms == 500) {
                                     slot.extra = [](Packets& packets) {
                                         packets.section(1, sdt(77, 1, {}));
                                     };
                                 }
                             })),
              "CAT_error 1;");
}

// Counters and PCRs leap from the end to the start of a file, and what has to come may be late.
TEST_F(Indicators, ShowNothingOfTheSeamOfALoop) {
    const Bytes file = stream(2970);
    play(file);
    for (int loop = 0; loop < 3; ++loop) {
        analyser.seam();
        play(file);
    }
    EXPECT_EQ(shown(), "");
    play(file); // without a seam it is a fault
    EXPECT_NE(shown(), "");
}

TEST_F(Indicators, BeginAnewWithAnotherStreamAndKeepTheirSums) {
    play(stream(3000, nextAt(1410, &Slot::pat)));
    analyser.restart();
    EXPECT_TRUE(analyser.errors().pids.empty());
    play(stream(2000));
    EXPECT_EQ(shown(), "PAT_error_2 1;");
    EXPECT_TRUE(analyser.errors().pids.empty());
}

TEST_F(Indicators, ShowWhatALiveSourceDoesNotSendWhileItIsSilent) {
    analyser = board::Analyser(1s, board::SourceKind::live);
    const Bytes bytes = stream(3000);
    for (std::size_t at = 0; at < bytes.size(); at += board::tsPacketSize) {
        analyser.packet(bytes.data() + at);
        analyser.realTime(1ms);
    }
    EXPECT_EQ(shown(), "");
    for (int k = 0; k < 200; ++k) {
        analyser.realTime(10ms);
    }
    EXPECT_GE(analyser.errors().indicators[Indicator::pat], 2U);
    EXPECT_GE(count(Indicator::pmt, pmtPid), 2U);
}

TEST_F(Indicators, TellHowManyPacketsAreScrambled) {
    play(stream(4000, [](int ms, Slot& slot) {
        slot.scrambled = ms >= 2000;
        slot.cat = ms % 500 == 0;
    }));
    const auto& pids = analyser.model().pids;
    const auto audio = std::ranges::find(pids, audioPid, &board::PidState::pid);
    ASSERT_NE(audio, pids.end());
    EXPECT_EQ(audio->payloads, 20U);
    EXPECT_EQ(audio->scrambledPayloads, 10U);
}

TEST(ErrorWatch, MeasuresTheAccuracyOfEachClockByItself) {
    constexpr std::uint16_t steady = 0x101;
    constexpr std::uint16_t varying = 0x201;
    constexpr board::Ticks step = 40ms;
    board::StreamModel model;
    model.programs = {{1, 0x100, board::ProgramMap{steady, {}, {}}},
                      {2, 0x200, board::ProgramMap{varying, {}, {}}}};
    board::ErrorWatch watch(true);
    watch.follow(model, board::Ticks::zero());
    board::Ticks other{0};
    for (int k = 0; k < 500; ++k) {
        const board::Ticks now = k * step;
        const auto packet = static_cast<std::uint64_t>(k) * 20;
        watch.pcr(steady, now + 1s + board::Ticks(k * 7919 % 2001 - 1000), false, packet, now);
        other += step + board::Ticks(k / 35 % 2 == 0 ? 0 : 27'000);
        watch.pcr(varying, other, false, packet + 10, now);
    }
    using board::Indicator;
    const board::StreamErrors& errors = watch.errors();
    EXPECT_EQ(errors.measuredClocks, std::set<std::uint16_t>{steady});
    ASSERT_TRUE(errors.pids.contains(steady));
    const std::uint64_t inaccurate = errors.pids.at(steady).indicators[Indicator::pcrAccuracy];
    EXPECT_GT(inaccurate, 0U);
    EXPECT_EQ(errors.indicators[Indicator::pcrAccuracy], inaccurate) << "those of the varying one are none";
}

} // namespace
