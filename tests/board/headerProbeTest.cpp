// What is read of a stream's headers, wherever its packets cut it.
#include "codecs/headerProbe.h"

#include "packets/packetFields.h"
#include "streamWriter.h"

#include <bitstream/mpeg/ts.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using streamWriter::Bytes;

class HeaderProbe : public testing::Test {
  protected:
    // Frames that start with a header, without the first bytes of the first.
    static Bytes frames(const Bytes& header, std::size_t size, std::size_t count, std::size_t without) {
        Bytes frame = header;
        frame.resize(size, 0x55);
        Bytes all;
        for (std::size_t k = 0; k < count; ++k) {
            all.insert(all.end(), frame.begin(), frame.end());
        }
        all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(without));
        return all;
    }

    // The stream in PES packets of so many bytes of it each. The packet with number lost does not arrive.
    void play(std::uint16_t coding, const Bytes& stream, std::size_t pesSize, std::size_t lost = SIZE_MAX) {
        streamWriter::Packets packets;
        for (std::size_t at = 0; at < stream.size(); at += pesSize) {
            const auto from = stream.begin() + static_cast<std::ptrdiff_t>(at);
            const auto bytes = static_cast<std::ptrdiff_t>(std::min(pesSize, stream.size() - at));
            packets.pes(streamWriter::audioPid, 0xC0, 90000 + at, Bytes(from, from + bytes));
        }
        board::HeaderProbe probe({streamWriter::audioPid, 0, board::StreamKind::audio, coding, ""});
        const Bytes& bytes = packets.bytes();
        for (std::size_t k = 0; k * TS_SIZE < bytes.size(); ++k) {
            const std::uint8_t* packet = bytes.data() + k * TS_SIZE;
            if (k == lost) {
                probe.lost();
            } else {
                probe.payload(board::payloadOf(packet), ts_get_unitstart(packet), board::Ticks(0), model);
            }
        }
    }

    // "bit rate index, sampling index, mode"; "nothing" where no header has been found.
    std::string found() const {
        const auto format = model.audioFormats.find(streamWriter::audioPid);
        return format == model.audioFormats.end() ? "nothing"
                                                  : std::to_string(format->second.bitRateIndex) + " " +
                                                        std::to_string(format->second.sampleRateIndex) + " " +
                                                        std::to_string(format->second.modeIndex);
    }

    board::StreamModel model;
};

const Bytes stereoHeader{0xFF, 0xFD, 0xC4, 0x00}; // 256 kbit/s, 48 kHz, stereo: frames of 768 bytes
constexpr std::size_t stereoFrame = 768;
constexpr std::size_t oddPes = 719;

TEST_F(HeaderProbe, FindsFramesThatAreLongerThanThePesPackets) {
    for (std::size_t without = 0; without < stereoFrame; without += 7) {
        model = {};
        play(3, frames(stereoHeader, stereoFrame, 8, without), oddPes);
        EXPECT_EQ(found(), "12 1 0") << without;
    }
}

TEST_F(HeaderProbe, FindsFramesInManySmallPesPackets) {
    play(3, frames(stereoHeader, stereoFrame, 20, 500), 50);
    EXPECT_EQ(found(), "12 1 0");
}

TEST_F(HeaderProbe, FindsEnhancedAc3AcrossPesPackets) {
    play(0, frames({0x0B, 0x77, 0x01, 0x7F, 0x34, 0x87, 0xC0}, 768, 8, 100), oddPes);
    EXPECT_EQ(found(), "0 1 0");
}

// A frame is as long as its header says only where nothing is missing in between.
TEST_F(HeaderProbe, JoinsNothingAcrossALostPacket) {
    const Bytes shorter = frames(stereoHeader, stereoFrame, 2, 700); // the end of a frame, and a whole one
    play(3, shorter, oddPes, 2);
    EXPECT_EQ(found(), "nothing");
    play(3, frames(stereoHeader, stereoFrame, 8, 700), oddPes, 2);
    EXPECT_EQ(found(), "12 1 0");
}

TEST_F(HeaderProbe, GoesOnLookingInWhatHoldsNoHeaderForLong) {
    Bytes stream(200'000, 0x55);
    const Bytes end = frames(stereoHeader, stereoFrame, 200, 10);
    stream.insert(stream.end(), end.begin(), end.end());
    play(3, stream, oddPes);
    EXPECT_EQ(found(), "12 1 0");
}

} // namespace
