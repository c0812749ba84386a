#include "documents/pgmDetailDocument.h"

#include "documents/codedValues.h"

namespace mpegfe {

namespace {

void appendProfile(DocumentText& text, std::int32_t profile) {
    const std::string_view name = nameOf(profileNames, profile, "");
    if (name.empty()) {
        appendNumber(text, profile);
    } else {
        append(text, name);
    }
}

void appendPmt(DocumentText& text, const wire::PmtEntry& pmt) {
    append(text, R"({"pidType":"PMT","pidNum":")");
    appendNumber(text, pmt.pmtPid);
    append(text, R"(","pgmNum":")");
    appendNumber(text, pmt.pgmNum);
    append(text, R"("},)");
}

void appendVideo(DocumentText& text, const wire::PmtEntry& pmt, const wire::AvPgmEntry& av) {
    append(text, R"({"pidType":"VIDEO","pidNum":")");
    appendNumber(text, pmt.videoPid);
    append(text, R"(","videoType":")");
    append(text, nameOf(videoTypeNames, pmt.videoStreamType, "UnkVidTyp"));
    append(text, R"(","entropy":")");
    append(text, pmt.videoStreamType == streamTypeH264 ? nameOf(entropyNames, av.entropyFlag) : "N/A");
    append(text, R"(","horizRes":")");
    appendNumber(text, av.horizRes);
    append(text, R"(","vertRes":")");
    appendNumber(text, av.vertRes);
    append(text, R"(","pictRate":")");
    appendPictureRate(text, av.pictRate);
    append(text, R"(","aspectRatio":")");
    append(text, nameOf(aspectRatioNames, av.aspectRatio));
    append(text, R"(","profile":")");
    appendProfile(text, static_cast<std::int32_t>(av.profile));
    append(text, R"(","level":")");
    appendNumber(text, static_cast<std::int32_t>(av.level));
    append(text, R"(","scrambled":")");
    append(text, nameOf(scramblingNames, av.videoScrambled));
    append(text, R"("})");
}

void appendAudio(DocumentText& text, const wire::PmtEntry& pmt, const wire::AvAudioTrack& track, int t) {
    append(text, R"({"pidType":"AUDIO","pidNum":")");
    appendNumber(text, pmt.audioPids[t]);
    append(text, R"(","audioType":")");
    append(text, nameOf(audioTypeNames, pmt.audioCodings[t]));
    append(text, R"(","language":")");
    appendField(text, pmt.audioLanguages[t]);
    append(text, R"(","bitRate":")");
    append(text, nameOf(audioBitRateNames, track.bitRateIndex));
    append(text, R"(","sampleRate":")");
    append(text, nameOf(audioSampleRateNames, track.sampleRateIndex));
    append(text, R"(","mode":")");
    append(text, nameOf(audioModeNames, track.modeIndex));
    append(text, R"(","scrambled":")");
    append(text, nameOf(scramblingNames, track.scrambled));
    append(text, R"("})");
}

// The elements of PIDs that have no attributes, opened by the comma that ends the block before them.
void appendBarePids(DocumentText& text, std::string_view opening, const std::uint16_t* pids, int count) {
    for (int k = 0; k < count; ++k) {
        append(text, ",");
        append(text, opening);
        appendNumber(text, pids[k]);
        append(text, R"("})");
    }
}

} // namespace

std::size_t buildPgmDetailJson(const wire::PmtEntry* pmt, const wire::AvPgmEntry* av, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"pgmDetail","pgmDetail":{"pidCount":")");
    appendNumber(text, (av->videoPid != 0 ? 1 : 0) + av->audioCount);
    append(text, R"(","details":[)");
    appendPmt(text, *pmt);
    if (av->videoPid != 0) {
        appendVideo(text, *pmt, *av);
    }
    if (av->audioCount != 0 || av->privateCount != 0) {
        append(text, ",");
    }
    const int audioCount = clampCount(av->audioCount, wire::maxAudioTracks);
    for (int t = 0; t < audioCount; ++t) {
        if (t > 0) {
            append(text, ",");
        }
        appendAudio(text, *pmt, av->audio[t], t);
    }
    appendBarePids(text, R"({"pidType":"PRIVATE","pidNum":")", pmt->pvtPids,
                   clampCount(av->privateCount, wire::maxPrivatePids));
    appendBarePids(text, R"({"pidType":"ECM","pidNum":")", pmt->ecmPids,
                   clampCount(pmt->ecmCount, wire::maxEcmPids));
    append(text, "]}}");
    return finishText(text);
}

} // namespace mpegfe
