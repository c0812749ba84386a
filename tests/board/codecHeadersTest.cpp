#include "codecs/codecHeaders.h"

#include "streamWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

namespace {

using streamWriter::Bytes;
using streamWriter::joined;

std::string videoText(std::uint8_t streamType, const Bytes& data) {
    const auto format = board::readVideoFormat(streamType, data);
    if (!format) {
        return "nothing";
    }
    std::array<char, 100> text{};
    std::snprintf(text.data(), text.size(), "%dx%d %.3f entropy %u aspect %d profile %u level %u",
                  format->width, format->height, static_cast<double>(format->pictureRate),
                  format->entropyFlag, format->aspectCode, format->profile, format->level);
    return text.data();
}

// "bit rate index, sampling index, mode, coding".
std::string audioText(std::uint16_t coding, const Bytes& data) {
    const auto format = board::readAudioFormat(coding, data);
    return format ? std::to_string(format->bitRateIndex) + " " + std::to_string(format->sampleRateIndex) +
                        " " + std::to_string(format->modeIndex) + " " + std::to_string(format->coding)
                  : "nothing";
}

// Two frames of this size that start with this header.
Bytes frames(const Bytes& header, std::size_t size) {
    Bytes frame = header;
    frame.resize(size, 0x55);
    return joined({frame, frame, frame});
}

// An access unit of High profile, level 4.0, 1920x1080 at 25 pictures per second, square samples, CABAC.
const Bytes highDefinition{0,    0,    0,    1,    0x67, 0x64, 0x00, 0x28, 0xAC, 0xD9, 0x40, 0x78,
                           0x02, 0x27, 0xE5, 0xC0, 0x44, 0x00, 0x00, 0x03, 0x00, 0x04, 0x00, 0x00,
                           0x03, 0x00, 0xCA, 0x3C, 0x60, 0xC6, 0x58, 0,    0,    0,    1,    0x68,
                           0xEB, 0xE3, 0xCB, 0x22, 0xC0, 0,    0,    0,    1,    0x65, 0x88, 0x84};

TEST(CodecHeaders, ReadsH264ParameterSets) {
    EXPECT_EQ(videoText(0x1B, highDefinition), "1920x1080 25.000 entropy 1 aspect 1 profile 100 level 40");
}

TEST(CodecHeaders, FindsNothingInAnAccessUnitWithoutParameterSets) {
    EXPECT_EQ(videoText(0x1B, {0, 0, 0, 1, 0x41, 0x9A, 0x00}), "nothing");
    EXPECT_EQ(videoText(0x1B, {}), "nothing");
    EXPECT_EQ(videoText(0x24, highDefinition), "nothing");
    EXPECT_EQ(videoText(0x10, highDefinition), "nothing");
}

TEST(CodecHeaders, ReadsMpeg2SequenceHeaders) {
    // 720x576, 16:9, 25 pictures per second; main profile at main level.
    const Bytes sequence{0,    0,    1,    0xB3, 0x2D, 0x02, 0x40, 0x33, 0x24, 0x9F, 0x23, 0x80, 0, 0, 1,
                         0xB5, 0x14, 0x82, 0x00, 0x01, 0x00, 0x00, 0,    0,    1,    0xB8, 0,    8, 0, 0};
    EXPECT_EQ(videoText(0x02, sequence), "720x576 25.000 entropy 0 aspect 1 profile 4 level 8");
}

TEST(CodecHeaders, ReadsLayerTwoIndexesAsTheyStand) {
    // MPEG-1 Layer II, 192 kbit/s, 48 kHz, joint stereo: frames of 576 bytes.
    EXPECT_EQ(audioText(3, frames({0xFF, 0xFD, 0xA4, 0x40}, 576)), "10 1 1 0");
}

TEST(CodecHeaders, FindsALayerTwoFrameBehindOtherBytes) {
    EXPECT_EQ(audioText(4, joined({{0xFF, 0xFF, 0x12, 0xFF, 0xFD}, frames({0xFF, 0xFD, 0xA4, 0xC0}, 576)})),
              "10 1 3 0");
}

TEST(CodecHeaders, TakesOneFrameOnlyForAFrameWhenItStartsThePacket) {
    const Bytes frame = frames({0xFF, 0xFD, 0xA4, 0x00}, 576);
    EXPECT_EQ(audioText(3, Bytes(frame.begin(), frame.begin() + 576)), "10 1 0 0");
    EXPECT_EQ(audioText(3, joined({{0}, Bytes(frame.begin(), frame.begin() + 576)})), "nothing");
}

TEST(CodecHeaders, TranslatesOtherLayersIntoLayerTwoIndexes) {
    // MPEG-1 Layer III, 128 kbit/s (index 9 there, 8 here), 44.1 kHz, stereo: frames of 417 bytes.
    EXPECT_EQ(audioText(3, frames({0xFF, 0xFB, 0x90, 0x00}, 417)), "8 0 0 0");
    // MPEG-2 Layer II at 24 kHz, 64 kbit/s: a rate of the table, a frequency outside it; frames of 384 bytes.
    EXPECT_EQ(audioText(4, frames({0xFF, 0xF5, 0x84, 0xC0}, 384)), "4 3 3 0");
}

TEST(CodecHeaders, ReadsAdts) {
    // AAC LC, 48 kHz, two channels, frames of 200 bytes.
    const Bytes header{0xFF, 0xF1, 0x4C, 0x80, 0x19, 0x1F, 0xFC};
    EXPECT_EQ(audioText(1, frames(header, 200)), "0 1 0 0");
    EXPECT_EQ(audioText(3, frames(header, 200)), "0 1 0 1")
        << "announced as MPEG audio, it is AAC all the same";
}

TEST(CodecHeaders, ReadsAc3) {
    // 48 kHz, 384 kbit/s, three front and two surround channels.
    EXPECT_EQ(audioText(2, frames({0x0B, 0x77, 0, 0, 0x1C, 0x40, 0xE1}, 1536)), "14 1 4 0");
    // 32 kHz, 448 kbit/s, which Layer II has not, two channels.
    EXPECT_EQ(audioText(2, frames({0x0B, 0x77, 0, 0, 0x9E, 0x40, 0x41}, 2688)), "0 2 0 0");
}

TEST(CodecHeaders, ReadsEnhancedAc3) {
    // 48 kHz, stereo, 768 bytes and six blocks a frame; then 44.1 kHz with five channels, which is a coding
    // of its own but has no code.
    EXPECT_EQ(audioText(0, frames({0x0B, 0x77, 0x01, 0x7F, 0x34, 0x87, 0xC0}, 768)), "0 1 0 0");
    EXPECT_EQ(audioText(0, frames({0x0B, 0x77, 0x01, 0x7F, 0x7E, 0x87, 0xC0}, 768)), "0 0 4 0");
    EXPECT_EQ(audioText(2, frames({0x0B, 0x77, 0x01, 0x7F, 0x34, 0x87, 0xC0}, 768)), "0 1 0 0");
}

TEST(CodecHeaders, ReadsTheStreamAndNotWhatADependentSubstreamAddsToIt) {
    const Bytes dependent = frames({0x0B, 0x77, 0x40, 0x7F, 0x3E, 0x87, 0xC0}, 256);
    const Bytes independent = frames({0x0B, 0x77, 0x01, 0x7F, 0x34, 0x87, 0xC0}, 768);
    EXPECT_EQ(audioText(0, joined({dependent, independent})), "0 1 0 0");
    EXPECT_EQ(audioText(0, dependent), "nothing");
}

TEST(CodecHeaders, ReadsDts) {
    // 48 kHz, stereo, frames of 1884 bytes; the rate is beyond those of Layer II.
    const Bytes header{0x7F, 0xFE, 0x80, 0x01, 0xFC, 0x3C, 0x75, 0xB0, 0xB6, 0xC0, 0x01};
    EXPECT_EQ(audioText(0, frames(header, 1884)), "0 1 0 0");
    // 384 kbit/s, 44.1 kHz, five channels.
    const Bytes surround{0x7F, 0xFE, 0x80, 0x01, 0xFC, 0x3C, 0x75, 0xB2, 0x61, 0x40, 0x01};
    EXPECT_EQ(audioText(0, frames(surround, 1884)), "14 0 4 0");
}

// A LOAS frame: its length, then the AudioMuxElement.
Bytes loas(const Bytes& element, std::size_t size) {
    Bytes frame = joined({streamWriter::number(0x56E000 + size, 3), element});
    frame.resize(3 + size, 0x55);
    return frame;
}

TEST(CodecHeaders, ReadsLatm) {
    // useSameStreamMux 0, audioMuxVersion 0, one program and layer; AAC LC, 48 kHz, two channels.
    const Bytes element{0x20, 0x00, 0x11, 0x90, 0x1F, 0xE7};
    const Bytes same{0x80};
    EXPECT_EQ(audioText(1, joined({loas(element, 295), loas(element, 366)})), "0 1 0 0");
    EXPECT_EQ(audioText(1, joined({loas(same, 295), loas(element, 366), loas(same, 300)})), "0 1 0 0")
        << "not every frame holds the configuration";
    EXPECT_EQ(audioText(1, joined({loas(same, 295), loas(same, 366)})), "nothing");
}

TEST(CodecHeaders, ReadsTheRateAndModeThatHighEfficiencyAacAnnounces) {
    // Parametric stereo of one channel of 24 kHz, replicated to 48 kHz: object type 29, 6, 1, extension 3.
    const Bytes element{0x20, 0x00, 0xEB, 0x09, 0x88, 0x00};
    EXPECT_EQ(audioText(5, joined({loas(element, 200), loas(element, 200)})), "0 1 0 0");
}

TEST(CodecHeaders, ReadsMpeg4VideoObjectLayers) {
    // Advanced simple profile's syntax: 1280x720, square samples, no fixed rate; simple profile at level 1.
    const Bytes free{0,    0,    1,    0xB0, 0x01, 0,    0,    1,    0xB5, 0x89, 0x13, 0,
                     0,    1,    0x00, 0,    0,    1,    0x20, 0x00, 0xC4, 0x8D, 0x88, 0x01,
                     0x95, 0x28, 0x04, 0x5A, 0x14, 0x43, 0,    0,    1,    0xB6, 0x10};
    EXPECT_EQ(videoText(0x10, free), "1280x720 0.000 entropy 0 aspect 1 profile 0 level 1");
    // 352x288, samples of 12:11, 25 pictures per second.
    const Bytes fixed{0,    0,    1,    0xB0, 0x03, 0,    0,    1,    0xB5, 0x09, 0,    0,
                      1,    0x00, 0,    0,    1,    0x20, 0x00, 0xBC, 0x30, 0x2E, 0xC4, 0x00,
                      0x67, 0x0C, 0x2C, 0x10, 0x90, 0x51, 0x8F, 0,    0,    1,    0xB6, 0x10};
    EXPECT_EQ(videoText(0x10, fixed), "352x288 25.000 entropy 0 aspect 2 profile 0 level 3");
    EXPECT_EQ(videoText(0x10, Bytes(fixed.begin(), fixed.begin() + 28)), "nothing");
}

TEST(CodecHeaders, KeepsTheEscapeBitOfMpeg2Profiles) {
    // 4:2:2 profile at main level, which is coded 0x85.
    const Bytes sequence{0, 0,    1,    0xB3, 0x2D, 0x02, 0x40, 0x13, 0xFF, 0xFF, 0xE0, 0x18, 0, 0,
                         1, 0xB5, 0x18, 0x5C, 0x00, 0x01, 0x00, 0x00, 0,    0,    1,    0xB8, 0, 8};
    EXPECT_EQ(videoText(0x02, sequence), "720x576 25.000 entropy 0 aspect 0 profile 8 level 5");
}

TEST(CodecHeaders, ReadsMpeg1SequenceHeadersWithoutExtension) {
    const Bytes sequence{0, 0,    1,    0xB3, 0x16, 0x01, 0x20, 0x23, 0xFF, 0xFF, 0xE0, 0x18, 0, 0,
                         1, 0xB8, 0x00, 0x08, 0x00, 0x00, 0,    0,    1,    0xB5, 0x14, 0x82, 0, 1};
    EXPECT_EQ(videoText(0x01, sequence), "352x288 25.000 entropy 0 aspect 14 profile 0 level 0");
}

TEST(CodecHeaders, ReadsH264OfInterlacedPicturesWithoutArithmeticCoding) {
    // High profile, 720x576 in fields, samples of 64:45, which have no code, 25 pictures per second, CAVLC.
    const Bytes fields{0,    0,    0,    1,    0x67, 0x64, 0x00, 0x1E, 0xAC, 0xD9, 0x40, 0xB4,
                       0x24, 0xDF, 0xF8, 0x02, 0x00, 0x01, 0x68, 0x80, 0x00, 0x00, 0x03, 0x00,
                       0x80, 0x00, 0x00, 0x19, 0x0F, 0x8A, 0x14, 0xCB, 0,    0,    0,    1,
                       0x68, 0xDB, 0xA3, 0xCB, 0x22, 0xC0, 0,    0,    0,    1,    0x65, 0x88};
    EXPECT_EQ(videoText(0x1B, fields), "720x576 25.000 entropy 0 aspect 0 profile 100 level 30");
}

TEST(CodecHeaders, ReadsH264PlanesAndScalingLists) {
    // High 4:4:4 predictive, 720x576, 25 pictures per second, square samples.
    const Bytes planes{0,    0,    0,    1,    0x67, 0xF4, 0x00, 0x1E, 0x91, 0x9B, 0x28, 0x16, 0x82,
                       0x4D, 0x80, 0x88, 0x00, 0x00, 0x03, 0x00, 0x08, 0x00, 0x00, 0x03, 0x01, 0x90,
                       0x78, 0xB1, 0x6C, 0xB0, 0,    0,    0,    1,    0x68, 0xEB, 0xE3, 0xC4, 0x4C};
    EXPECT_EQ(videoText(0x1B, planes), "720x576 25.000 entropy 1 aspect 1 profile 244 level 30");
}

TEST(CodecHeaders, ReadsH265ParameterSets) {
    // Main profile, level 4.1, 1440x1088, samples of 12:11, 50 pictures per second, which are fields.
    const Bytes sets{0,    0,    0,    0x01, 0x40, 0x01, 0x0C, 0x01, 0xFF, 0xFF, 0x01, 0x60, 0,    0,    0x03,
                     0,    0x40, 0,    0,    0x03, 0,    0,    0x03, 0,    0x7B, 0x95, 0x98, 0x09, 0,    0,
                     0,    0x01, 0x42, 0x01, 0x01, 0x01, 0x60, 0,    0,    0x03, 0,    0x40, 0,    0,    0x03,
                     0,    0,    0x03, 0,    0x7B, 0xA0, 0x02, 0xD0, 0x80, 0x11, 0x05, 0x96, 0x56, 0x69, 0x24,
                     0xCA, 0xF0, 0x26, 0x86, 0x80, 0,    0,    0x03, 0,    0x80, 0,    0,    0x19, 0x04, 0,
                     0,    0,    0x01, 0x44, 0x01, 0xC1, 0x72, 0xB4, 0x62, 0x40, 0,    0};
    EXPECT_EQ(videoText(0x24, sets), "1440x1088 50.000 entropy 0 aspect 2 profile 1 level 123");
    EXPECT_EQ(videoText(0x06, sets), videoText(0x24, sets)) << "registered as HEVC in private PES packets";
}

// The format of a parameter set that ends early, or none: never of what is not there.
TEST(CodecHeaders, ReadsNoParameterSetThatIsCutOff) {
    constexpr std::size_t timingEnd = 27; // of the sequence parameter set in highDefinition
    for (std::size_t size = 0; size < timingEnd; ++size) {
        EXPECT_EQ(videoText(0x1B, Bytes(highDefinition.begin(),
                                        highDefinition.begin() + static_cast<std::ptrdiff_t>(size))),
                  "nothing")
            << size;
    }
}

TEST(CodecHeaders, SurvivesStreamsOfAnyBytes) {
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same bytes every time
    std::uniform_int_distribution<int> byte(0, 255);
    const std::array<Bytes, 5> starts{
        {{0, 0, 1, 0x67}, {0, 0, 1, 0x42, 0x01}, {0, 0, 1, 0xB3}, {0, 0, 1, 0x20}, {0x56, 0xE0, 0x20, 0x20}}};
    for (int k = 0; k < 20000; ++k) {
        Bytes data = starts[static_cast<std::size_t>(k) % starts.size()];
        data.resize(data.size() + static_cast<std::size_t>(byte(random)));
        std::generate(data.begin() + 4, data.end(), [&] { return static_cast<std::uint8_t>(byte(random)); });
        for (const std::uint8_t type : Bytes{0x01, 0x02, 0x10, 0x1B, 0x24}) {
            if (const auto format = board::readVideoFormat(type, data)) {
                EXPECT_GT(format->width, 0);
                EXPECT_LE(format->aspectCode, 16);
            }
        }
        for (std::uint16_t coding = 0; coding < 6; ++coding) {
            if (const auto format = board::readAudioFormat(coding, data)) {
                EXPECT_LE(format->modeIndex, 4);
                EXPECT_LE(format->sampleRateIndex, 3);
            }
        }
    }
}

TEST(CodecHeaders, FindsNoAudioInOtherBytes) {
    for (std::uint16_t coding = 0; coding < 6; ++coding) {
        EXPECT_EQ(audioText(coding, Bytes(2000, 0x55)), "nothing");
        EXPECT_EQ(audioText(coding, Bytes(2000, 0xFF)), "nothing");
        EXPECT_EQ(audioText(coding, {}), "nothing");
    }
}

} // namespace
