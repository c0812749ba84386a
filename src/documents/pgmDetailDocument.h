// The details of one program: "pgmDetail".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for one program: its PMT PID, video, audio, private and ECM PIDs with their attributes.
// Audio and private PIDs are counted by av, ECM PIDs by pmt. Codes that have no name read "Unknown".
// The PMT element always carries a comma and each later block opens with its own, so a program that lacks a
// block is not valid JSON; clients rely on these commas. Returns the text's length without its terminator.
std::size_t buildPgmDetailJson(const wire::PmtEntry* pmt, const wire::AvPgmEntry* av, DocumentBuffer& out);

namespace shape {

constexpr auto pmtElement(const wire::PmtEntry& pmt) {
    return object(constant<"pidType", "PMT">(), number<"pidNum">(pmt.pmtPid), number<"pgmNum">(pmt.pgmNum));
}

// A profile without a name is shown as its number.
constexpr auto videoProfile(const std::uint32_t& profile) {
    const std::string_view profileName = nameOf(profileNames, static_cast<std::int32_t>(profile), "");
    return either(profileName.empty(),
                  number<"profile">(static_cast<std::int32_t>(profile)),
                  name<"profile">(profileName));
}

constexpr auto videoElement(const wire::PmtEntry& pmt, const wire::AvPgmEntry& av) {
    return object(
        constant<"pidType", "VIDEO">(),
        number<"pidNum">(pmt.videoPid),
        name<"videoType">(nameOf(videoTypeNames, pmt.videoStreamType, "UnkVidTyp")),
        name<"entropy">(pmt.videoStreamType == streamTypeH264 ? nameOf(entropyNames, av.entropyFlag) : "N/A"),
        number<"horizRes">(av.horizRes),
        number<"vertRes">(av.vertRes),
        pictureRate<"pictRate">(av.pictRate),
        coded<"aspectRatio">(aspectRatioNames, av.aspectRatio),
        videoProfile(av.profile),
        number<"level">(static_cast<std::int32_t>(av.level)),
        coded<"scrambled">(scramblingNames, av.videoScrambled));
}

constexpr auto audioElement(const wire::PmtEntry& pmt, const wire::AvAudioTrack& track, int t) {
    return object(constant<"pidType", "AUDIO">(),
                  number<"pidNum">(pmt.audioPids[t]),
                  coded<"audioType">(audioTypeNames, pmt.audioCodings[t]),
                  field<"language">(pmt.audioLanguages[t]),
                  coded<"bitRate">(audioBitRateNames, track.bitRateIndex),
                  coded<"sampleRate">(audioSampleRateNames, track.sampleRateIndex),
                  coded<"mode">(audioModeNames, track.modeIndex),
                  coded<"scrambled">(scramblingNames, track.scrambled));
}

// A PID that has no attributes.
template <Literal type>
constexpr auto bareElement(const std::uint16_t& pid) {
    return object(constant<"pidType", type>(), number<"pidNum">(pid));
}

// Only the separators are irregular: the PMT's comma is always there, the audio and private PIDs have one in
// front of them together, and each private and each ECM PID has one of its own.
constexpr auto pgmDetail(const wire::PmtEntry& pmt, const wire::AvPgmEntry& av) {
    const bool hasVideo = av.videoPid != 0;
    return document<"pgmDetail">(
        number<"pidCount">((hasVideo ? 1 : 0) + av.audioCount),
        blocks<"details">(pmtElement(pmt),
                          strayComma(),
                          optional(hasVideo, videoElement(pmt, av)),
                          strayComma(av.audioCount != 0 || av.privateCount != 0),
                          entries(clampCount(av.audioCount, wire::maxAudioTracks),
                                  [&](int t) { return audioElement(pmt, av.audio[t], t); }),
                          entriesAfterCommas(clampCount(av.privateCount, wire::maxPrivatePids),
                                             [&](int p) { return bareElement<"PRIVATE">(pmt.pvtPids[p]); }),
                          entriesAfterCommas(clampCount(pmt.ecmCount, wire::maxEcmPids),
                                             [&](int e) { return bareElement<"ECM">(pmt.ecmPids[e]); })));
}

} // namespace shape

} // namespace mpegfe
