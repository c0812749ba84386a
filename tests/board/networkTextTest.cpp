// Descriptors of a NIT go in, readable texts come out.
#include "tables/networkText.h"

#include "streamWriter.h"

#include <gtest/gtest.h>

namespace {

using streamWriter::Bytes;
using streamWriter::descriptor;

std::string textOfDescriptor(std::uint8_t tag, const Bytes& content) {
    return board::networkText(descriptor(tag, content).data());
}

// 11.75 GHz at 13.0 degrees, 27.5 Msym/s; flags is the byte between position and symbol rate.
std::string satellite(std::uint8_t flags) {
    return textOfDescriptor(0x43, {0x01, 0x17, 0x50, 0x00, 0x01, 0x30, flags, 0x02, 0x75, 0x00, 0x03});
}

TEST(NetworkText, TellsPolarizationAndSideOfASatelliteApart) {
    EXPECT_EQ(satellite(0x81), "11750000 kHz H 13.0E DVB-S QPSK 27500000 sym/s");
    EXPECT_EQ(satellite(0xA1), "11750000 kHz V 13.0E DVB-S QPSK 27500000 sym/s");
    EXPECT_EQ(satellite(0xC1), "11750000 kHz L 13.0E DVB-S QPSK 27500000 sym/s");
    EXPECT_EQ(satellite(0xE1), "11750000 kHz R 13.0E DVB-S QPSK 27500000 sym/s");
    EXPECT_EQ(satellite(0x01), "11750000 kHz H 13.0W DVB-S QPSK 27500000 sym/s");
    EXPECT_EQ(satellite(0x21), "11750000 kHz V 13.0W DVB-S QPSK 27500000 sym/s");
}

TEST(NetworkText, NamesTheModulationsOfASatellite) {
    EXPECT_EQ(satellite(0x84), "11750000 kHz H 13.0E DVB-S2 auto 27500000 sym/s");
    EXPECT_EQ(satellite(0x86), "11750000 kHz H 13.0E DVB-S2 8PSK 27500000 sym/s");
    EXPECT_EQ(satellite(0x83), "11750000 kHz H 13.0E DVB-S 16QAM 27500000 sym/s");
}

TEST(NetworkText, ReadsACable) {
    EXPECT_EQ(textOfDescriptor(0x44, {0x03, 0x46, 0x00, 0x00, 0xFF, 0xF2, 0x03, 0x00, 0x69, 0x00, 0x05}),
              "346000000 Hz 64QAM 6900000 sym/s");
    EXPECT_EQ(textOfDescriptor(0x44, {0x03, 0x46, 0x00, 0x00, 0xFF, 0xF2, 0x77, 0x00, 0x69, 0x00, 0x05}),
              "346000000 Hz unknown 6900000 sym/s");
}

TEST(NetworkText, ReadsATransmitter) {
    EXPECT_EQ(textOfDescriptor(0x5A, {0x03, 0x04, 0x18, 0x40, 0x1F, 0x82, 0x12, 0xFF, 0xFF, 0xFF, 0xFF}),
              "506000000 Hz 8000000 Hz wide 64QAM");
    EXPECT_EQ(textOfDescriptor(0x5A, {0xFF, 0xFF, 0xFF, 0xFF, 0x3F, 0x42, 0x12, 0xFF, 0xFF, 0xFF, 0xFF}),
              "7000000 Hz wide 16QAM")
        << "the frequency is said to stand elsewhere";
}

TEST(NetworkText, ListsServices) {
    EXPECT_EQ(textOfDescriptor(0x41, {0x00, 0x65, 0x01, 0x10, 0x00, 0x02}), "101:1 4096:2");
    EXPECT_EQ(textOfDescriptor(0x41, {0x00, 0x65, 0x01, 0x10}), "101:1") << "as far as it goes";
}

TEST(NetworkText, ReadsNames) {
    EXPECT_EQ(board::networkText(streamWriter::networkNameDescriptor("Netz").data()), "Netz");
    EXPECT_EQ(board::networkText(streamWriter::networkNameDescriptor("").data()), "");
}

TEST(NetworkText, ShowsTheBytesOfWhatItDoesNotKnow) {
    EXPECT_EQ(textOfDescriptor(0x5F, {0, 0, 0, 0x28}), "00000028");
    EXPECT_EQ(textOfDescriptor(0x5F, {}), "");
}

TEST(NetworkText, ShowsTheBytesOfWhatMakesNoSense) {
    EXPECT_EQ(textOfDescriptor(0x41, {0x12, 0x34}), "1234");
    EXPECT_EQ(textOfDescriptor(0x43, {0x01, 0x17}), "0117") << "too short";
    EXPECT_EQ(textOfDescriptor(0x43, {0x01, 0x17, 0x5A, 0x00, 0x01, 0x30, 0x81, 0x02, 0x75, 0x00, 0x03}),
              "01175a0001308102750003")
        << "no decimal digits";
    EXPECT_EQ(textOfDescriptor(0x44, {}), "");
    EXPECT_EQ(textOfDescriptor(0x44, {0x03, 0x46, 0x00, 0x00, 0xFF, 0xF2, 0x03, 0x00, 0x69, 0xF0, 0x05}),
              "03460000fff2030069f005");
    EXPECT_EQ(textOfDescriptor(0x5A, {0x01}), "01");
}

} // namespace
