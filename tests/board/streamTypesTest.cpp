#include "tables/streamTypes.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using board::classifyStream;
using board::StreamHints;

// "kind coding" of a stream.
std::string classOf(std::uint8_t streamType, const StreamHints& hints = {}) {
    const board::StreamClass found = classifyStream(streamType, hints);
    static const char* const kinds[] = {"video", "audio", "data"};
    return std::string(kinds[static_cast<int>(found.kind)]) + " " + std::to_string(found.audioCoding);
}

StreamHints tagged(std::uint8_t tag) {
    StreamHints hints;
    hints.tags = {0x52, tag};
    return hints;
}

StreamHints registered(std::uint32_t format) {
    StreamHints hints;
    hints.registration = format;
    return hints;
}

StreamHints profiled(std::uint8_t profile) {
    StreamHints hints;
    hints.aacProfile = profile;
    return hints;
}

TEST(StreamTypes, KnowsWhatTheStreamTypeSays) {
    EXPECT_EQ(classOf(0x01), "video 0");
    EXPECT_EQ(classOf(0x02), "video 0");
    EXPECT_EQ(classOf(0x1B), "video 0");
    EXPECT_EQ(classOf(0x24), "video 0");
    EXPECT_EQ(classOf(0x03), "audio 3");
    EXPECT_EQ(classOf(0x04), "audio 4");
    EXPECT_EQ(classOf(0x0F), "audio 1");
    EXPECT_EQ(classOf(0x11), "audio 1");
    EXPECT_EQ(classOf(0x81), "audio 2");
    EXPECT_EQ(classOf(0x05), "data 0");
    EXPECT_EQ(classOf(0x06), "data 0");
    EXPECT_EQ(classOf(0x0B), "data 0");
    EXPECT_EQ(classOf(0x86), "data 0");
}

TEST(StreamTypes, KnowsPrivateStreamsByTheirDescriptors) {
    EXPECT_EQ(classOf(0x06, tagged(0x6A)), "audio 2");
    EXPECT_EQ(classOf(0x06, tagged(0x7A)), "audio 0");
    EXPECT_EQ(classOf(0x06, tagged(0x7C)), "audio 1");
    EXPECT_EQ(classOf(0x06, tagged(0x56)), "data 0");
    EXPECT_EQ(classOf(0x05, tagged(0x6A)), "data 0");
    EXPECT_EQ(classOf(0x06, registered(0x41432D33)), "audio 2"); // AC-3
    EXPECT_EQ(classOf(0x06, registered(0x48455643)), "video 0"); // HEVC
    EXPECT_EQ(classOf(0x86, registered(0x43554549)), "data 0");  // CUEI
}

TEST(StreamTypes, KnowsPrivateStreamsByTheirExtensionDescriptors) {
    StreamHints hints;
    hints.tags = {0x52, 0x7F};
    hints.extensionTags = {0x15}; // AC-4
    EXPECT_EQ(classOf(0x06, hints), "audio 0");
    EXPECT_EQ(classOf(0x05, hints), "data 0");
    hints.extensionTags = {0x0E}; // DTS-HD
    EXPECT_EQ(classOf(0x06, hints), "audio 0");
    hints.extensionTags = {0x06}; // supplementary audio, which says nothing of the coding
    EXPECT_EQ(classOf(0x06, hints), "data 0");
}

TEST(StreamTypes, KnowsEveryAudioThatHasATypeOfItsOwn) {
    EXPECT_EQ(classOf(0x2D), "audio 0");
    EXPECT_EQ(classOf(0x2E), "audio 0");
    EXPECT_EQ(classOf(0x87), "audio 0");
    EXPECT_EQ(classOf(0x88), "audio 0");
}

TEST(StreamTypes, KnowsEveryVideoThatHasATypeOfItsOwn) {
    for (const int type : {0x10, 0x1E, 0x21, 0x32, 0x33, 0x35, 0x42, 0xD1, 0xD2, 0xD4, 0xEA}) {
        EXPECT_EQ(classOf(static_cast<std::uint8_t>(type)), "video 0") << type;
    }
}

TEST(StreamTypes, KnowsStreamsWithEncryptedSamples) {
    EXPECT_EQ(classOf(0xC1), "audio 2");
    EXPECT_EQ(classOf(0xC2), "audio 0");
    EXPECT_EQ(classOf(0xCF), "audio 1");
    EXPECT_EQ(classOf(0xDB), "video 0");
}

TEST(StreamTypes, KnowsHdmvTypesWhereTheyAreRegistered) {
    constexpr std::uint32_t hdmv = 0x48444D56;
    StreamHints program;
    program.programRegistration = hdmv;
    for (const int type : {0x80, 0x82, 0x83, 0x84, 0x85, 0x86, 0xA1, 0xA2}) {
        const auto streamType = static_cast<std::uint8_t>(type);
        EXPECT_EQ(classOf(streamType), "data 0") << type;
        EXPECT_EQ(classOf(streamType, registered(hdmv)), "audio 0") << type;
        EXPECT_EQ(classOf(streamType, program), "audio 0") << type;
    }
    EXPECT_EQ(classOf(0x81, program), "audio 2");
    EXPECT_EQ(classOf(0x90, program), "data 0"); // presentation graphics
}

TEST(StreamTypes, KnowsAudioOfAvsAndOfTheNewerDts) {
    EXPECT_EQ(classOf(0x43), "audio 0");
    for (const int tag : {0x0F, 0x21}) {
        StreamHints extended;
        extended.extensionTags = {static_cast<std::uint8_t>(tag)};
        EXPECT_EQ(classOf(0x06, extended), "audio 0") << tag;
    }
}

TEST(StreamTypes, TellsHeAacByItsProfile) {
    EXPECT_EQ(classOf(0x11, profiled(0x51)), "audio 1");
    EXPECT_EQ(classOf(0x11, profiled(0x58)), "audio 5");
    EXPECT_EQ(classOf(0x0F, profiled(0x63)), "audio 5");
    EXPECT_EQ(classOf(0x0F, profiled(0x64)), "audio 1");
    EXPECT_EQ(classOf(0x03, profiled(0x58)), "audio 3");
}

} // namespace
