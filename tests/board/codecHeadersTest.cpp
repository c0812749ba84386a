#include "codecs/codecHeaders.h"

#include "libraries.h"
#include "streamWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

using streamWriter::Bytes;
using streamWriter::joined;

class CodecHeaders : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        board::initialiseLibraries(false);
    }
};

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

TEST_F(CodecHeaders, ReadsH264ParameterSets) {
    EXPECT_EQ(videoText(0x1B, highDefinition), "1920x1080 25.000 entropy 1 aspect 1 profile 100 level 40");
}

TEST_F(CodecHeaders, FindsNothingInAnAccessUnitWithoutParameterSets) {
    EXPECT_EQ(videoText(0x1B, {0, 0, 0, 1, 0x41, 0x9A, 0x00}), "nothing");
    EXPECT_EQ(videoText(0x1B, {}), "nothing");
    EXPECT_EQ(videoText(0x24, highDefinition), "nothing");
    EXPECT_EQ(videoText(0x10, highDefinition), "nothing");
}

TEST_F(CodecHeaders, ReadsMpeg2SequenceHeaders) {
    // 720x576, 16:9, 25 pictures per second; main profile at main level.
    const Bytes sequence{0,    0,    1,    0xB3, 0x2D, 0x02, 0x40, 0x33, 0x24, 0x9F, 0x23, 0x80, 0, 0, 1,
                         0xB5, 0x14, 0x82, 0x00, 0x01, 0x00, 0x00, 0,    0,    1,    0xB8, 0,    8, 0, 0};
    EXPECT_EQ(videoText(0x02, sequence), "720x576 25.000 entropy 0 aspect 1 profile 4 level 8");
}

TEST_F(CodecHeaders, ReadsLayerTwoIndexesAsTheyStand) {
    // MPEG-1 Layer II, 192 kbit/s, 48 kHz, joint stereo: frames of 576 bytes.
    EXPECT_EQ(audioText(3, frames({0xFF, 0xFD, 0xA4, 0x40}, 576)), "10 1 1 0");
}

TEST_F(CodecHeaders, FindsALayerTwoFrameBehindOtherBytes) {
    EXPECT_EQ(audioText(4, joined({{0xFF, 0xFF, 0x12, 0xFF, 0xFD}, frames({0xFF, 0xFD, 0xA4, 0xC0}, 576)})),
              "10 1 3 0");
}

TEST_F(CodecHeaders, TakesOneFrameOnlyForAFrameWhenItStartsThePacket) {
    const Bytes frame = frames({0xFF, 0xFD, 0xA4, 0x00}, 576);
    EXPECT_EQ(audioText(3, Bytes(frame.begin(), frame.begin() + 576)), "10 1 0 0");
    EXPECT_EQ(audioText(3, joined({{0}, Bytes(frame.begin(), frame.begin() + 576)})), "nothing");
}

TEST_F(CodecHeaders, TranslatesOtherLayersIntoLayerTwoIndexes) {
    // MPEG-1 Layer III, 128 kbit/s (index 9 there, 8 here), 44.1 kHz, stereo: frames of 417 bytes.
    EXPECT_EQ(audioText(3, frames({0xFF, 0xFB, 0x90, 0x00}, 417)), "8 0 0 0");
    // MPEG-2 Layer II at 24 kHz, 64 kbit/s: a rate of the table, a frequency outside it; frames of 384 bytes.
    EXPECT_EQ(audioText(4, frames({0xFF, 0xF5, 0x84, 0xC0}, 384)), "4 3 3 0");
}

TEST_F(CodecHeaders, ReadsAdts) {
    // AAC LC, 48 kHz, two channels, frames of 200 bytes.
    const Bytes header{0xFF, 0xF1, 0x4C, 0x80, 0x19, 0x1F, 0xFC};
    EXPECT_EQ(audioText(1, frames(header, 200)), "0 1 0 0");
    EXPECT_EQ(audioText(3, frames(header, 200)), "0 1 0 1")
        << "announced as MPEG audio, it is AAC all the same";
}

TEST_F(CodecHeaders, ReadsAc3) {
    // 48 kHz, 384 kbit/s, three front and two surround channels.
    EXPECT_EQ(audioText(2, frames({0x0B, 0x77, 0, 0, 0x1C, 0x40, 0xE1}, 1536)), "14 1 4 0");
    // 32 kHz, 448 kbit/s, which Layer II has not, two channels.
    EXPECT_EQ(audioText(2, frames({0x0B, 0x77, 0, 0, 0x9E, 0x40, 0x41}, 2688)), "0 2 0 0");
}

TEST_F(CodecHeaders, FindsNoAudioInOtherBytes) {
    for (std::uint16_t coding = 0; coding < 6; ++coding) {
        EXPECT_EQ(audioText(coding, Bytes(2000, 0x55)), "nothing");
        EXPECT_EQ(audioText(coding, Bytes(2000, 0xFF)), "nothing");
        EXPECT_EQ(audioText(coding, {}), "nothing");
    }
}

} // namespace
