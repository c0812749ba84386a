// Makes small transport streams of kinds that the other samples are not. Nothing in them depends on when or
// where they are made.
//
// usage: streamMaker NAME FILE
//        streamMaker             lists the names
#include "streamWriter.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>

namespace {

using namespace streamWriter;

constexpr std::size_t packetSize = 188;
constexpr std::size_t packetsPerTurn = 100; // of a tenth of a second, so that the stream has 1.504 Mbit/s
constexpr std::uint64_t ticksPerTurn = 2'700'000;
constexpr std::uint64_t stampsPerTurn = 9000; // of 90 kHz
constexpr int turns = 20;                     // of a stream, where nothing else is said

// PIDs of a stream with one program, number 1.
constexpr std::uint16_t patPid = 0;
constexpr std::uint16_t catPid = 1;
constexpr std::uint16_t nitPid = 16;
constexpr std::uint16_t sdtPid = 17;
constexpr std::uint16_t eitPid = 18;
constexpr std::uint16_t tdtPid = 20;
constexpr std::uint16_t secondAudioPid = 0x103;
constexpr std::uint16_t dataPid = 0x104;
constexpr std::uint16_t nullPid = 0x1FFF;

constexpr std::uint8_t videoStream = 0xE0;   // stream_id
constexpr std::uint8_t audioStream = 0xC0;   //
constexpr std::uint8_t privateStream = 0xBD; //

// stream_type
constexpr std::uint8_t mpeg2Video = 0x02;
constexpr std::uint8_t mpeg1Audio = 0x03;
constexpr std::uint8_t privatePes = 0x06;
constexpr std::uint8_t latm = 0x11;
constexpr std::uint8_t h264 = 0x1B;
constexpr std::uint8_t ac3 = 0x81;
constexpr std::uint8_t enhancedAc3 = 0x87;

constexpr std::uint16_t today = 61000; // Modified Julian Day: 21 November 2025

// --- What streams consist of -----------------------------------------------------------------------------

using Turn = std::function<void(Packets&, int turn)>;

// Tenths of a second, each a PCR, what the turn brings, and null packets.
Bytes multiplex(std::uint16_t pcrPid, const Turn& write, int count = turns) {
    Packets packets;
    for (int turn = 0; turn < count; ++turn) {
        const std::size_t end = (static_cast<std::size_t>(turn) + 1) * packetsPerTurn;
        packets.pcr(pcrPid, static_cast<std::uint64_t>(turn) * ticksPerTurn);
        write(packets, turn);
        packets.filler(nullPid, end - packets.bytes().size() / packetSize);
    }
    return packets.bytes();
}

std::uint64_t stampOf(int turn) {
    return 90'000 + static_cast<std::uint64_t>(turn) * stampsPerTurn;
}

// A frame of this size that starts with this header, so many times.
Bytes frames(const Bytes& header, std::size_t size, std::size_t count) {
    Bytes frame = header;
    frame.resize(size, 0x55);
    Bytes all;
    for (std::size_t k = 0; k < count; ++k) {
        all.insert(all.end(), frame.begin(), frame.end());
    }
    return all;
}

// MPEG-1 layer II at 192 kbit/s and 48 kHz, stereo.
Bytes layer2Frames(std::size_t count) {
    return frames({0xFF, 0xFD, 0xA4, 0x00}, 576, count);
}

// AC-3 at 384 kbit/s and 48 kHz, three channels in front and two behind.
Bytes ac3Frames(std::size_t count) {
    return frames({0x0B, 0x77, 0, 0, 0x1C, 0x40, 0xE1}, 1536, count);
}

// Enhanced AC-3 at 48 kHz, stereo, six blocks a frame.
Bytes enhancedAc3Frames(std::size_t count) {
    return frames({0x0B, 0x77, 0x01, 0x7F, 0x34, 0x87, 0xC0}, 768, count);
}

// AAC in LATM, 48 kHz, two channels.
Bytes latmFrames(std::size_t count) {
    constexpr std::size_t size = 300;
    return frames(joined({number(0x56E000 + size, 3), {0x20, 0x00, 0x11, 0x90, 0x1F, 0xE7}}), 3 + size,
                  count);
}

// A sequence header of MPEG-2 video with its extension, 25 pictures a second, and the start of a picture.
Bytes mpeg2Sequence(unsigned width, unsigned height, unsigned aspect, unsigned profileAndLevel,
                    unsigned chroma) {
    constexpr unsigned rate25 = 3;
    constexpr unsigned sequenceExtension = 1;
    return joined({number(0x1B3, 4),
                   number(width << 12 | height, 3),
                   number(aspect << 4 | rate25, 1),
                   {0x24, 0x9F, 0x23, 0x80}, // bit rate and buffer
                   number(0x1B5, 4),
                   number(sequenceExtension << 20 | profileAndLevel << 12 | chroma << 9, 3),
                   {0x01, 0x00, 0x00},
                   number(0x1B8, 4),
                   {0, 8, 0, 0}});
}

Bytes standardDefinition() {
    return mpeg2Sequence(720, 576, 3, 0x48, 1); // 16:9, main profile at main level, 4:2:0
}

std::string_view characters(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

EitRow eventAt(std::uint16_t id, std::uint16_t date, int start, std::string_view name) {
    return {id, date, start, 3600, shortEventDescriptor("eng", name, "")};
}

// A stream of a program. Each turn brings a PES packet with this content, or, where there is none, a packet
// that is filled.
struct Component {
    PmtRow row;
    std::uint8_t streamId;
    Bytes content;
};

Component filled(const PmtRow& row) {
    return {row, 0, {}};
}

Bytes oneProgram(const std::vector<Component>& components, const Turn& further = {}) {
    std::vector<PmtRow> rows;
    for (const Component& component : components) {
        rows.push_back(component.row);
    }
    return multiplex(components.front().row.pid, [&](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{1, pmtPid}}));
        packets.section(pmtPid, pmt(1, rows.front().pid, {}, rows));
        for (const Component& component : components) {
            if (component.content.empty()) {
                packets.filler(component.row.pid);
            } else {
                packets.pes(component.row.pid, component.streamId, stampOf(turn), component.content);
            }
        }
        if (further) {
            further(packets, turn);
        }
    });
}

Component video() {
    return {{mpeg2Video, videoPid, {}}, videoStream, standardDefinition()};
}

// One program of video with these tables besides.
Bytes oneChannel(const Turn& tables) {
    return oneProgram({video()}, tables);
}

// --- The streams -----------------------------------------------------------------------------------------

// ATSC has its names, time and events on a PID of its own: a terrestrial virtual channel table, a cable's
// that names the same program otherwise, and a guide that leads to the events of these three hours and their
// texts.
Bytes atsc() {
    constexpr std::uint16_t psipPid = 0x1FFB;
    constexpr std::uint16_t psipEitPid = 0x1D00;
    constexpr std::uint16_t ettPid = 0x1E00;
    constexpr std::uint16_t source = 50;
    constexpr std::uint16_t television = 0x0002;
    constexpr std::uint8_t leapSeconds = 18;
    constexpr std::uint32_t gps = (today - 44244) * 86400 + 20 * 3600 + leapSeconds; // 20:00 UTC of today
    const Bytes longName = extendedNameDescriptor(latinString("eng", "Harbour Television"));
    return oneProgram(
        {{{mpeg2Video, videoPid, {}}, videoStream, mpeg2Sequence(704, 480, 2, 0x48, 1)},
         {{ac3, audioPid, languageDescriptor("eng")}, privateStream, ac3Frames(2)}},
        [=](Packets& packets, int turn) {
            packets.section(psipPid, mgt({{0x0000, psipPid}, {0x0100, psipEitPid}, {0x0200, ettPid}}));
            packets.section(psipPid, vct(0xC8, 77, {{"HRBR-DT", 77, 1, source, television, longName}}));
            packets.section(psipPid, vct(0xC9, 77, {{"CABLE", 77, 1, source, television, {}}}));
            packets.section(psipPid, stt(gps + static_cast<std::uint32_t>(turn / 10), leapSeconds));
            packets.section(psipEitPid,
                            psipEit(source, {{7, gps, 5400, latinString("eng", "Evening News")},
                                             {8, gps + 5400, 1800, latinString("eng", "Weather")}}));
            packets.section(ettPid, ett(source, 7, latinString("eng", "All of the day")));
        });
}

// A one-segment service of Japanese terrestrial television. There are 580 packets and one PCR.
Bytes isdb() {
    constexpr std::uint16_t network = 0x7FE0;
    constexpr std::uint16_t service = 0x0580;
    constexpr std::uint16_t oneSegmentPmt = 0x1FC8;
    const Bytes name{0x46, 0x7C, 0x4B, 0x5C};                                // two kanji
    const Bytes title{0x0E, 0x4E, 0x48, 0x4B, 0x0F, 0x41, 0x6D, 0x39, 0x67}; // Latin letters and two more
    Packets packets;
    packets.pcr(videoPid, 0);
    packets.section(patPid, pat(network, {{0, nitPid}, {service, oneSegmentPmt}}));
    packets.section(oneSegmentPmt, pmt(service, videoPid, {},
                                       {{h264, videoPid, {}}, {latm, audioPid, languageDescriptor("jpn")}}));
    packets.section(sdtPid,
                    sdt(network, network, {{service, false, serviceDescriptor(1, "", characters(name))}}));
    packets.section(nitPid, nit(network, networkNameDescriptor(characters(name)), {{network, network, {}}}));
    packets.section(eitPid,
                    eit(0x4E, service, network, network,
                        {{1, today, 19 * 3600, 3600, shortEventDescriptor("jpn", characters(title), "")}}));
    packets.section(tdtPid, tdt(today, 19 * 3600));
    packets.pes(audioPid, audioStream, 0, latmFrames(2));
    packets.filler(nullPid, 580 - packets.bytes().size() / packetSize);
    return packets.bytes();
}

// 4:2:2 profile at main level, whose code has the escape bit.
Bytes mpeg2Studio() {
    return oneProgram({{{mpeg2Video, videoPid, {}}, videoStream, mpeg2Sequence(720, 512, 2, 0x85, 2)}});
}

// Enhanced AC-3 the way of DVB and the way of ATSC, in one program with its AC-3.
Bytes enhancedAudio() {
    const Bytes dvb = joined({languageDescriptor("eng"), descriptor(0x7A, {0})});
    return oneProgram(
        {{{privatePes, audioPid, dvb}, privateStream, enhancedAc3Frames(3)},
         {{enhancedAc3, secondAudioPid, languageDescriptor("fra")}, privateStream, enhancedAc3Frames(3)},
         {{ac3, dataPid, languageDescriptor("deu")}, privateStream, ac3Frames(2)}});
}

// AAC and HE-AAC in LATM; a descriptor tells the profile.
Bytes latmAudio() {
    return oneProgram({{{latm, audioPid, descriptor(0x7C, {0x51})}, audioStream, latmFrames(4)},
                       {{latm, secondAudioPid, descriptor(0x7C, {0x58})}, audioStream, latmFrames(4)}});
}

// A radio program whose frames of 768 bytes, 256 kbit/s, run through PES packets of 719 bytes, as a
// multiplexer makes them that fills its packets.
Bytes unalignedAudio() {
    constexpr std::size_t content = 719 - 14; // behind the header with its time stamp
    const Bytes stream = frames({0xFF, 0xFD, 0xC4, 0xC0}, 768, 92);
    return multiplex(audioPid, [&](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{1, pmtPid}}));
        packets.section(pmtPid, pmt(1, audioPid, {}, {{mpeg1Audio, audioPid, languageDescriptor("deu")}}));
        for (std::size_t k = 0; k < 5; ++k) {
            const std::size_t at = (static_cast<std::size_t>(turn) * 5 + k) * content;
            const auto from = stream.begin() + static_cast<std::ptrdiff_t>(at);
            packets.pes(audioPid, audioStream, stampOf(turn) + k * (stampsPerTurn / 5),
                        Bytes(from, from + static_cast<std::ptrdiff_t>(content)));
        }
    });
}

// A NIT of two positions: 13.0 degrees east with vertical polarization, 5.0 degrees west with left circular.
Bytes satellite() {
    const Bytes east = descriptor(0x43, {0x01, 0x17, 0x50, 0x00, 0x01, 0x30, 0xA6, 0x02, 0x75, 0x00, 0x03});
    const Bytes west = descriptor(0x43, {0x01, 0x16, 0x54, 0x00, 0x00, 0x50, 0x41, 0x02, 0x20, 0x00, 0x04});
    return oneChannel([=](Packets& packets, int) {
        packets.section(nitPid, nit(9, networkNameDescriptor("Two Skies"),
                                    {{78, 9, descriptor(0x41, {0, 2, 1})}, {77, 9, joined({east, west})}}));
    });
}

// The first of two sections of a NIT, which names another transport stream; the second never comes.
Bytes partialNit() {
    return oneChannel([](Packets& packets, int) {
        packets.section(nitPid, nit(9, networkNameDescriptor("Half a Network"),
                                    {{78, 9, descriptor(0x41, {0, 2, 1})}}, {0, 0, 1}));
    });
}

// A file with one PCR, at its beginning.
Bytes onePcr() {
    Packets packets;
    packets.pcr(videoPid, 27'000'000);
    packets.section(patPid, pat(77, {{1, pmtPid}}));
    packets.section(pmtPid, pmt(1, videoPid, {}, {{mpeg2Video, videoPid, {}}}));
    packets.section(sdtPid, sdt(77, 9, {{1, false, serviceDescriptor(1, "", "One PCR")}}));
    packets.pes(videoPid, videoStream, 90'000, standardDefinition());
    packets.filler(videoPid, 290);
    packets.filler(nullPid, 580 - packets.bytes().size() / packetSize);
    return packets.bytes();
}

// A file that tells no time at all.
Bytes noPcr() {
    Packets packets;
    packets.section(patPid, pat(77, {{1, pmtPid}}));
    packets.section(pmtPid, pmt(1, nullPid, {}, {{privatePes, dataPid, {}}}));
    packets.section(sdtPid, sdt(77, 9, {{1, false, serviceDescriptor(12, "", "No PCR")}}));
    packets.filler(dataPid, 297);
    return packets.bytes();
}

// Names in every way that DVB has to write them.
Bytes dvbTexts() {
    struct Text {
        std::string_view provider;
        std::string_view name;
    };
    using namespace std::string_view_literals;
    static constexpr std::array<Text, 9> texts{{
        {"\x35 \xA4"sv, "Caf\xC2"
                        "e \xA4 10"sv},                           // the default table: an accent, euro signs
        {"\x05\xC7"sv, "\x10\x00\x05\xDD"sv},                     // ISO/IEC 8859-9, and 8859-5 by number
        {"\x15Ra\xC3\xADz"sv, "\x15\xE2\x82\xAC \xE6\x97\xA5"sv}, // UTF-8
        {"\x11\x04\x16"sv, "\x11\x00\x41\xE0\x8A\x04\x16"sv},     // two bytes a character, with a new line
        {""sv, ""sv},                                             //
        {"\x86On\x87 Air"sv, "Line\x8ALine"sv},                   // emphasis, a new line
        {"\x0B\x86\xE0"sv, "\x86\x87"sv},                         // ISO/IEC 8859-15; emphasis of nothing
        {"\x1F\x01\x55\x66"sv, "\x13\xCE\xC4\xCE\xC4"sv},         // a Huffman code; GB 2312
        {"\x0F"
         "bad\xFF"sv,
         "\x08no table"sv}, // tables that nobody has
    }};
    return oneChannel([](Packets& packets, int) {
        std::vector<SdtRow> rows;
        for (const Text& text : texts) {
            rows.push_back({static_cast<std::uint16_t>(rows.size() + 1), false,
                            serviceDescriptor(1, text.provider, text.name)});
        }
        packets.section(sdtPid, sdt(77, 9, rows));
        packets.section(eitPid, eit(0x4E, 1, 77, 9, {eventAt(1, today, 0, "10 \xA4")}));
    });
}

// Texts that would be more than texts where somebody takes them for markup, JSON, or a terminal's commands.
Bytes hostileTexts() {
    struct Text {
        std::string_view provider;
        std::string_view name;
    };
    static constexpr std::array<Text, 7> texts{{
        {"\"><script>document.title=1</script>", "<img src=x onerror=document.title=1>"},
        {"\\", "\"},{\"pgmNum\":\"9\",\"svcName\":\"x"},
        {"\x15\xE2\x80\xAEright to left", "\x15 \xE2\x80\x8B\xD7\xA7\xD7\x95\xD7\x9C"},
        {"\x15\x1B[2Jcleared", "\x15\xC2\x9B"
                               "31mred"},
        {"__proto__", "constructor"},
        {"&lt;b&gt;", "</td></table>"},
        {"=1+1", "'; DROP TABLE pids; --"},
    }};
    return oneChannel([](Packets& packets, int) {
        std::vector<SdtRow> rows;
        for (const Text& text : texts) {
            rows.push_back({static_cast<std::uint16_t>(rows.size() + 1), false,
                            serviceDescriptor(1, text.provider, text.name)});
        }
        packets.section(sdtPid, sdt(77, 9, rows));
        packets.section(nitPid, nit(9, networkNameDescriptor("<h1>\"network\"</h1>"), {{77, 9, {}}}));
        packets.section(eitPid,
                        eit(0x4E, 1, 77, 9,
                            {{1, today, 0, 3600,
                              shortEventDescriptor("<b>", "<i>\\\"event\"</i>", "<a href=//x>\\u003c")}}));
    });
}

// The days of a Modified Julian Day of 16 bits end at 22 April 2038; the next is 0 again.
Bytes lastDay() {
    return oneChannel([](Packets& packets, int turn) {
        const bool nextDay = turn >= 10;
        packets.section(tdtPid, tdt(nextDay ? 0 : 65535, nextDay ? 1 : 86399));
        packets.section(eitPid, eit(0x4E, 1, 77, 9, {eventAt(1, 65535, 84600, "The Last Day")}, {0, 0, 1}));
        packets.section(eitPid, eit(0x4E, 1, 77, 9, {eventAt(2, 0, 1800, "The First")}, {0, 1, 1}));
    });
}

// An event that begins and lasts as long as it likes, and one that lasts for four days.
Bytes openEvents() {
    return oneChannel([](Packets& packets, int) {
        const auto named = [](std::string_view name) { return shortEventDescriptor("eng", name, ""); };
        packets.section(eitPid, eit(0x4E, 1, 77, 9,
                                    {{1, 0xFFFF, undefinedTime, undefinedTime, named("On Demand")},
                                     {2, today, 0, 96 * 3600, named("Four Days")}}));
    });
}

// Nothing but a PAT that names the NIT.
Bytes networkOnly() {
    return multiplex(dataPid, [](Packets& packets, int) {
        packets.section(patPid, pat(77, {{0, nitPid}}));
        packets.section(nitPid, nit(9, networkNameDescriptor("No Programs"), {{77, 9, {}}}));
    });
}

// Two programs with their maps on one PID; both have the video, each an audio of its own.
Bytes sharedPids() {
    return multiplex(videoPid, [](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{1, pmtPid}, {2, pmtPid}}));
        packets.section(pmtPid,
                        pmt(1, videoPid, {}, {{mpeg2Video, videoPid, {}}, {mpeg1Audio, audioPid, {}}}));
        packets.section(pmtPid,
                        pmt(2, videoPid, {}, {{mpeg2Video, videoPid, {}}, {mpeg1Audio, secondAudioPid, {}}}));
        packets.pes(videoPid, videoStream, stampOf(turn), standardDefinition());
        packets.pes(audioPid, audioStream, stampOf(turn), layer2Frames(4));
        packets.pes(secondAudioPid, audioStream, stampOf(turn), layer2Frames(4));
    });
}

// Maps where none can be: on the null packets, on a stream of another program, on the PAT's own PID.
Bytes strayMaps() {
    return multiplex(videoPid, [](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{1, pmtPid}, {2, nullPid}, {3, videoPid}, {4, patPid}}));
        packets.section(pmtPid, pmt(1, videoPid, {}, {{mpeg2Video, videoPid, {}}, {mpeg1Audio, pmtPid, {}}}));
        packets.pes(videoPid, videoStream, stampOf(turn), standardDefinition());
    });
}

// The PCR has a PID of its own.
Bytes separatePcr() {
    return multiplex(dataPid, [](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{1, pmtPid}}));
        packets.section(pmtPid, pmt(1, dataPid, {}, {{mpeg2Video, videoPid, {}}}));
        packets.pes(videoPid, videoStream, stampOf(turn), standardDefinition());
    });
}

// An SDT of 300 services, ten a section, of which the PAT has the last.
Bytes manyServices() {
    return multiplex(videoPid, [](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{300, pmtPid}}));
        packets.section(pmtPid, pmt(300, videoPid, {}, {{mpeg2Video, videoPid, {}}}));
        packets.pes(videoPid, videoStream, stampOf(turn), standardDefinition());
        for (std::uint8_t half = 0; half < 2; ++half) {
            const auto section = static_cast<std::uint8_t>(turn % 15 * 2 + half);
            std::vector<SdtRow> rows;
            for (std::uint16_t k = 1; k <= 10; ++k) {
                const auto id = static_cast<std::uint16_t>(section * 10 + k);
                rows.push_back({id, false, serviceDescriptor(1, "", "Service " + std::to_string(id))});
            }
            packets.section(sdtPid, sdt(77, 9, rows, {0, section, 29}));
        }
    });
}

// Radio alone, in two languages: one track names both at once.
Bytes radio() {
    const Bytes both = descriptor(0x0A, {'d', 'e', 'u', 0, 'f', 'r', 'a', 0});
    return oneProgram(
        {{{mpeg1Audio, audioPid, both}, audioStream, layer2Frames(4)},
         {{mpeg1Audio, secondAudioPid, languageDescriptor("ita")}, audioStream, layer2Frames(4)}},
        [](Packets& packets, int) {
            packets.section(sdtPid, sdt(77, 9, {{1, false, serviceDescriptor(2, "", "Radio")}}));
        });
}

// One program for each coding of video.
Bytes videoTypes() {
    constexpr std::array<std::uint8_t, 9> types{0x01, 0x02, 0x10, 0x1B, 0x21, 0x24, 0x32, 0x33, 0x42};
    return multiplex(videoPid, [&](Packets& packets, int) {
        std::vector<PatRow> programs;
        for (std::size_t k = 0; k < types.size(); ++k) {
            programs.push_back(
                {static_cast<std::uint16_t>(types[k]), static_cast<std::uint16_t>(pmtPid + 0x10 * (k + 1))});
        }
        packets.section(patPid, pat(77, programs));
        for (std::size_t k = 0; k < types.size(); ++k) {
            const auto stream = static_cast<std::uint16_t>(programs[k].pid + 1);
            packets.section(programs[k].pid, pmt(types[k], stream, {}, {{types[k], stream, {}}}));
            packets.filler(stream);
        }
    });
}

// Everything that accompanies a program: teletext, subtitles, an application table, splice information, an
// object carousel.
Bytes accompaniment() {
    constexpr std::uint16_t first = 0x110;
    return oneProgram({video(), filled({privatePes, first, descriptor(0x56, {'d', 'e', 'u', 0x09, 0x00})}),
                       filled({privatePes, first + 1, descriptor(0x59, {'d', 'e', 'u', 0x10, 0, 1, 0, 1})}),
                       filled({0x05, first + 2, descriptor(0x6F, {0, 16, 0xE1})}),
                       filled({0x86, first + 3, registrationDescriptor("CUEI")}),
                       filled({0x0B, first + 4, descriptor(0x52, {1})})});
}

// Six seconds: the PAT comes after five.
Bytes latePat() {
    return multiplex(
        videoPid,
        [](Packets& packets, int turn) {
            packets.pes(videoPid, videoStream, stampOf(turn), standardDefinition());
            if (turn >= 50) {
                packets.section(patPid, pat(77, {{1, pmtPid}}));
                packets.section(pmtPid, pmt(1, videoPid, {}, {{mpeg2Video, videoPid, {}}}));
            }
        },
        60);
}

// A program that gains a track, loses it again and changes the PID of its PCR; another that leaves the PAT.
Bytes churn() {
    return multiplex(videoPid, [](Packets& packets, int turn) {
        const auto step = static_cast<std::uint8_t>(turn / 5);
        const std::vector<PatRow> both{{1, pmtPid}, {2, pmtPid + 0x100}};
        packets.section(patPid, pat(77, step < 2 ? both : std::vector<PatRow>{both.front()}, {step, 0, 0}));
        std::vector<PmtRow> rows{{mpeg2Video, videoPid, {}}};
        if (step % 2 == 1) {
            rows.push_back({mpeg1Audio, audioPid, languageDescriptor("eng")});
            packets.pes(audioPid, audioStream, stampOf(turn), layer2Frames(4));
        }
        const std::uint16_t pcrPid = step == 3 ? audioPid : videoPid;
        packets.section(pmtPid, pmt(1, pcrPid, {}, rows, {step, 0, 0}));
        packets.section(pmtPid + 0x100, pmt(2, dataPid, {}, {{privatePes, dataPid, {}}}));
        packets.pes(videoPid, videoStream, stampOf(turn), standardDefinition());
        packets.filler(dataPid);
    });
}

// Stuffing alone.
Bytes stuffing() {
    Packets packets;
    packets.filler(nullPid, 1000);
    return packets.bytes();
}

// Video scrambled in the transport packets, audio in its PES packets, which show their headers.
Bytes scrambling() {
    Bytes bytes = multiplex(dataPid, [](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{1, pmtPid}}));
        packets.section(pmtPid, pmt(1, dataPid, caDescriptor(0x0B00, 0x1F0),
                                    {{mpeg2Video, videoPid, {}}, {mpeg1Audio, audioPid, {}}}));
        packets.section(catPid, cat(caDescriptor(0x0B00, 0x1F1)));
        packets.pes(videoPid, videoStream, stampOf(turn), standardDefinition(), true);
        packets.pes(audioPid, audioStream, stampOf(turn), layer2Frames(4));
    });
    constexpr std::size_t pesFlags = 6; // behind start code, stream_id and length
    constexpr std::uint8_t scrambledPes = 0x20;
    for (std::size_t at = 0; at < bytes.size(); at += packetSize) {
        const bool startsAudio = ((bytes[at + 1] & 0x5FU) << 8 | bytes[at + 2]) == (0x4000 | audioPid);
        if (startsAudio) {
            const std::size_t adaptation = (bytes[at + 3] & 0x20U) != 0 ? 1U + bytes[at + 4] : 0U;
            bytes[at + 4 + adaptation + pesFlags] |= scrambledPes;
        }
    }
    return bytes;
}

// What stands between the packets of another stream: before each and behind each.
Bytes framed(const Bytes& stream, std::size_t before, std::size_t after) {
    Bytes bytes;
    std::uint32_t arrival = 0x47000000; // a stamp may begin like a packet
    for (std::size_t at = 0; at < stream.size(); at += packetSize) {
        const Bytes stamp = number(arrival, before);
        arrival += 27'000;
        bytes.insert(bytes.end(), stamp.begin(), stamp.end());
        bytes.insert(bytes.end(), stream.begin() + static_cast<std::ptrdiff_t>(at),
                     stream.begin() + static_cast<std::ptrdiff_t>(at + packetSize));
        for (std::size_t k = 0; k < after; ++k) {
            bytes.push_back(static_cast<std::uint8_t>(bytes[bytes.size() - packetSize] * 7 + k));
        }
    }
    return bytes;
}

Bytes arrivalStamps() {
    return framed(separatePcr(), 4, 0);
}

Bytes errorProtection() {
    return framed(separatePcr(), 0, 16);
}

// A recording that begins in the middle of a packet.
Bytes midPacket() {
    const Bytes stream = separatePcr();
    return {stream.begin() + 100, stream.end()};
}

// Two multiplexes that take turns, with one PCR a turn, so that the clock of neither ever runs.
Bytes alternating() {
    Packets packets;
    for (std::uint16_t turn = 0; turn < 100; ++turn) {
        const auto stream = static_cast<std::uint16_t>(turn % 2 + 1);
        packets.section(patPid, pat(stream, {{stream, pmtPid}}));
        packets.pcr(videoPid, turn * ticksPerTurn);
        packets.section(pmtPid, pmt(stream, videoPid, {}, {{mpeg2Video, videoPid, {}}}));
        packets.filler(videoPid, 5);
    }
    return packets.bytes();
}

// Null packets that still have the PCRs of what they were before: of a clock that is five times as fast.
Bytes leftoverPcrs() {
    return multiplex(nullPid, [](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{1, pmtPid}}));
        packets.section(pmtPid, pmt(1, videoPid, {}, {{mpeg2Video, videoPid, {}}}));
        packets.pcr(videoPid, static_cast<std::uint64_t>(turn) * ticksPerTurn / 5);
        packets.filler(videoPid, 50);
    });
}

// A PCR in a packet whose PID is damaged, before everything else.
Bytes strayPcr() {
    Packets packets;
    packets.pcr(0x777, 123'456'789);
    return joined({packets.bytes(), separatePcr()});
}

// Time stamps of 90 kHz and no PCR, in fewer packets than are waited for one.
Bytes stampsAlone() {
    return multiplex(nullPid, [](Packets& packets, int turn) {
        packets.section(patPid, pat(77, {{1, pmtPid}}));
        packets.section(pmtPid, pmt(1, nullPid, {}, {{mpeg2Video, videoPid, {}}}));
        packets.pes(videoPid, videoStream, stampOf(turn), standardDefinition());
        packets.filler(videoPid, 50);
    });
}

Bytes onePacket() {
    Packets packets;
    packets.section(patPid, pat(77, {{1, pmtPid}}));
    return packets.bytes();
}

// Zeros, more than a megabyte, and then a stream.
Bytes zerosBefore() {
    return joined({Bytes(1'100'000), separatePcr()});
}

// Video and audio on PIDs on which DVB and ATSC have their tables, where a stream has none of those.
Bytes lowPids() {
    constexpr std::uint16_t psipPid = 0x1FFB;
    return oneProgram({{{mpeg2Video, sdtPid, {}}, videoStream, standardDefinition()},
                       {{mpeg1Audio, eitPid, languageDescriptor("eng")}, audioStream, layer2Frames(3)},
                       {{mpeg1Audio, tdtPid, languageDescriptor("deu")}, audioStream, layer2Frames(3)},
                       {{mpeg1Audio, psipPid, languageDescriptor("fra")}, audioStream, layer2Frames(3)}});
}

// Inner lengths that lead beyond what they are in, with right CRCs: in a PMT and in an SDT.
Bytes innerLengths() {
    const Bytes overlong{0x52, 9, 1};
    return multiplex(videoPid, [=](Packets& packets, int) {
        packets.section(patPid, pat(77, {{1, pmtPid}, {2, pmtPid + 0x10}}));
        packets.section(pmtPid, pmt(1, videoPid, {},
                                    {{mpeg2Video, videoPid, {}},
                                     {mpeg1Audio, audioPid, joined({languageDescriptor("deu"), overlong})}}));
        packets.section(sdtPid, sdt(77, 9,
                                    {{1, false, serviceDescriptor(1, "", "First")},
                                     {3, false, overlong},
                                     {2, false, serviceDescriptor(1, "", "Second")}}));
    });
}

struct Stream {
    const char* name;
    Bytes (*make)();
};

constexpr std::array<Stream, 37> streams{{
    {"atsc", atsc},
    {"isdb", isdb},
    {"mpeg2-422", mpeg2Studio},
    {"enhanced-ac3", enhancedAudio},
    {"latm", latmAudio},
    {"unaligned-audio", unalignedAudio},
    {"satellite", satellite},
    {"partial-nit", partialNit},
    {"one-pcr", onePcr},
    {"no-pcr", noPcr},
    {"dvb-texts", dvbTexts},
    {"hostile-texts", hostileTexts},
    {"last-day", lastDay},
    {"open-events", openEvents},
    {"network-only", networkOnly},
    {"shared-pids", sharedPids},
    {"stray-maps", strayMaps},
    {"separate-pcr", separatePcr},
    {"many-services", manyServices},
    {"radio", radio},
    {"video-types", videoTypes},
    {"accompaniment", accompaniment},
    {"late-pat", latePat},
    {"churn", churn},
    {"stuffing", stuffing},
    {"scrambling", scrambling},
    {"arrival-stamps", arrivalStamps},
    {"error-protection", errorProtection},
    {"mid-packet", midPacket},
    {"one-packet", onePacket},
    {"zeros-before", zerosBefore},
    {"alternating", alternating},
    {"leftover-pcrs", leftoverPcrs},
    {"stray-pcr", strayPcr},
    {"stamps-alone", stampsAlone},
    {"low-pids", lowPids},
    {"inner-lengths", innerLengths},
}};

} // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        for (const Stream& stream : streams) {
            std::puts(stream.name);
        }
        return 0;
    }
    for (const Stream& stream : streams) {
        if (argc == 3 && std::string_view(stream.name) == argv[1]) {
            const Bytes bytes = stream.make();
            std::ofstream file(argv[2], std::ios::binary);
            file.write(reinterpret_cast<const char*>(bytes.data()),
                       static_cast<std::streamsize>(bytes.size()));
            if (!file.flush()) {
                std::fprintf(stderr, "streamMaker: cannot write %s\n", argv[2]);
                return 1;
            }
            return 0;
        }
    }
    std::fputs("usage: streamMaker NAME FILE; without arguments it lists the names\n", stderr);
    return 2;
}
