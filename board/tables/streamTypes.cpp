#include "tables/streamTypes.h"

#include <array>

namespace board {

namespace {

constexpr std::uint16_t unknownCoding = 0;
constexpr std::uint16_t aac = 1;
constexpr std::uint16_t ac3 = 2;
constexpr std::uint16_t mpeg1Audio = 3;
constexpr std::uint16_t mpeg2Audio = 4;
constexpr std::uint16_t heAac = 5;

constexpr std::uint32_t fourCharacters(const char (&text)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[2])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[3]));
}

template <class Key>
struct Row {
    Key key;
    StreamClass what;
};

// Streams that are not listed carry data. Enhanced AC-3, DTS and others are audio of a coding that the PMT
// record has no code for.
constexpr std::array<Row<std::uint8_t>, 30> byStreamType{{
    {0x01, {StreamKind::video, 0}},             // MPEG-1 video
    {0x02, {StreamKind::video, 0}},             // MPEG-2 video
    {0x03, {StreamKind::audio, mpeg1Audio}},    //
    {0x04, {StreamKind::audio, mpeg2Audio}},    //
    {0x0F, {StreamKind::audio, aac}},           // ADTS
    {0x10, {StreamKind::video, 0}},             // MPEG-4 part 2
    {0x11, {StreamKind::audio, aac}},           // LATM
    {0x1B, {StreamKind::video, 0}},             // H.264
    {0x1C, {StreamKind::audio, aac}},           // without framing
    {0x1E, {StreamKind::video, 0}},             // MPEG-C
    {0x21, {StreamKind::video, 0}},             // JPEG 2000
    {0x24, {StreamKind::video, 0}},             // H.265
    {0x2D, {StreamKind::audio, unknownCoding}}, // MPEG-H, the main stream
    {0x2E, {StreamKind::audio, unknownCoding}}, // MPEG-H, an auxiliary stream
    {0x32, {StreamKind::video, 0}},             // JPEG XS
    {0x33, {StreamKind::video, 0}},             // H.266
    {0x35, {StreamKind::video, 0}},             // EVC
    {0x42, {StreamKind::video, 0}},             // AVS
    {0x43, {StreamKind::audio, unknownCoding}}, // AVS
    {0x81, {StreamKind::audio, ac3}},           // ATSC A/53
    {0x87, {StreamKind::audio, unknownCoding}}, // ATSC A/53, Enhanced AC-3
    {0x88, {StreamKind::audio, unknownCoding}}, // ANSI/SCTE 194-2, DTS-HD
    {0xC1, {StreamKind::audio, ac3}},           // AC-3 with encrypted samples
    {0xC2, {StreamKind::audio, unknownCoding}}, // Enhanced AC-3 with encrypted samples
    {0xCF, {StreamKind::audio, aac}},           // ADTS with encrypted samples
    {0xD1, {StreamKind::video, 0}},             // Dirac
    {0xD2, {StreamKind::video, 0}},             // AVS2
    {0xD4, {StreamKind::video, 0}},             // AVS3
    {0xDB, {StreamKind::video, 0}},             // H.264 with encrypted samples
    {0xEA, {StreamKind::video, 0}},             // VC-1
}};

// ETSI EN 300 468 descriptors of streams with private PES packets.
constexpr std::array<Row<std::uint8_t>, 4> byDescriptor{{
    {0x6A, {StreamKind::audio, ac3}},           // AC-3
    {0x7A, {StreamKind::audio, unknownCoding}}, // Enhanced AC-3
    {0x7B, {StreamKind::audio, unknownCoding}}, // DTS
    {0x7C, {StreamKind::audio, aac}},           // AAC
}};
constexpr std::array<Row<std::uint8_t>, 4> byExtensionDescriptor{{
    {0x0E, {StreamKind::audio, unknownCoding}}, // DTS-HD
    {0x0F, {StreamKind::audio, unknownCoding}}, // DTS Neural
    {0x15, {StreamKind::audio, unknownCoding}}, // AC-4
    {0x21, {StreamKind::audio, unknownCoding}}, // DTS-UHD
}};

// Stream types of programs and streams that are registered as HDMV. Elsewhere 0x82 is a subtitle, for
// instance, and 0x86 a cue for splicing.
constexpr std::uint32_t hdmv = fourCharacters("HDMV");
constexpr std::array<Row<std::uint8_t>, 8> byHdmvType{{
    {0x80, {StreamKind::audio, unknownCoding}}, // linear PCM
    {0x82, {StreamKind::audio, unknownCoding}}, // DTS
    {0x83, {StreamKind::audio, unknownCoding}}, // TrueHD
    {0x84, {StreamKind::audio, unknownCoding}}, // Enhanced AC-3
    {0x85, {StreamKind::audio, unknownCoding}}, // DTS-HD, high resolution
    {0x86, {StreamKind::audio, unknownCoding}}, // DTS-HD, master audio
    {0xA1, {StreamKind::audio, unknownCoding}}, // Enhanced AC-3, secondary
    {0xA2, {StreamKind::audio, unknownCoding}}, // DTS-HD, secondary
}};

constexpr std::array<Row<std::uint32_t>, 11> byRegistration{{
    {fourCharacters("AC-3"), {StreamKind::audio, ac3}},
    {fourCharacters("EAC3"), {StreamKind::audio, unknownCoding}},
    {fourCharacters("AC-4"), {StreamKind::audio, unknownCoding}},
    {fourCharacters("DTS1"), {StreamKind::audio, unknownCoding}},
    {fourCharacters("DTS2"), {StreamKind::audio, unknownCoding}},
    {fourCharacters("DTS3"), {StreamKind::audio, unknownCoding}},
    {fourCharacters("BSSD"), {StreamKind::audio, unknownCoding}},
    {fourCharacters("Opus"), {StreamKind::audio, unknownCoding}},
    {fourCharacters("HEVC"), {StreamKind::video, 0}},
    {fourCharacters("VC-1"), {StreamKind::video, 0}},
    {fourCharacters("drac"), {StreamKind::video, 0}},
}};

constexpr std::uint8_t privatePes = 0x06;
constexpr std::uint8_t firstUserPrivate = 0x80;

// Audio profiles and levels of HE-AAC, both versions (ISO/IEC 13818-1 table 2-72).
constexpr std::uint8_t firstHeAacProfile = 0x58;
constexpr std::uint8_t lastHeAacProfile = 0x63;

template <class Rows, class Key>
const StreamClass* find(const Rows& rows, Key key) {
    for (const auto& row : rows) {
        if (row.key == key) {
            return &row.what;
        }
    }
    return nullptr;
}

const StreamClass* privatePesClass(const StreamHints& stream) {
    for (const std::uint8_t tag : stream.tags) {
        if (const StreamClass* what = find(byDescriptor, tag)) {
            return what;
        }
    }
    for (const std::uint8_t tag : stream.extensionTags) {
        if (const StreamClass* what = find(byExtensionDescriptor, tag)) {
            return what;
        }
    }
    return nullptr;
}

const StreamClass* hdmvClass(std::uint8_t streamType, const StreamHints& stream) {
    return stream.registration == hdmv || stream.programRegistration == hdmv ? find(byHdmvType, streamType)
                                                                             : nullptr;
}

StreamClass roughClass(std::uint8_t streamType, const StreamHints& stream) {
    const bool privateType = streamType == privatePes || streamType >= firstUserPrivate;
    if (privateType && stream.registration) {
        if (const StreamClass* what = find(byRegistration, *stream.registration)) {
            return *what;
        }
    }
    const StreamClass* what =
        streamType == privatePes ? privatePesClass(stream) : hdmvClass(streamType, stream);
    if (what == nullptr) {
        what = find(byStreamType, streamType);
    }
    return what != nullptr ? *what : StreamClass{StreamKind::data, 0};
}

} // namespace

StreamClass classifyStream(std::uint8_t streamType, const StreamHints& stream) {
    StreamClass result = roughClass(streamType, stream);
    if (result.audioCoding == aac && stream.aacProfile && *stream.aacProfile >= firstHeAacProfile &&
        *stream.aacProfile <= lastHeAacProfile) {
        result.audioCoding = heAac;
    }
    return result;
}

} // namespace board
