#include "documents/pgmDetailDocument.h"
#include "support/documents.h"
#include "support/records.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

const std::string head = R"({"requestReply":"dataStream","dataStream":"pgmDetail","pgmDetail":{)";
const std::string pmtElement = R"({"pidType":"PMT","pidNum":"4096","pgmNum":"1"},)";
const std::string videoElement =
    R"({"pidType":"VIDEO","pidNum":"256","videoType":"H.264","entropy":"CABAC","horizRes":"1920",)"
    R"("vertRes":"1080","pictRate":" 25.00","aspectRatio":"16:9","profile":"Main","level":"40",)"
    R"("scrambled":"Clear"})";
const std::string audioElement =
    R"({"pidType":"AUDIO","pidNum":"257","audioType":"MPEG1","language":"eng","bitRate":"192kbps",)"
    R"("sampleRate":"48kHz","mode":"Stereo","scrambled":"Clear"})";

} // namespace

// A program with a PMT and nothing else; the helpers add to it.
class PgmDetailDocument : public testing::Test {
  protected:
    PgmDetailDocument() {
        pmt.pgmNum = 1;
        pmt.pmtPid = 4096;
    }

    void addVideo() {
        pmt.videoPid = 256;
        pmt.videoStreamType = 27;
        av.videoPid = 999; // only its presence counts
        av.horizRes = 1920;
        av.vertRes = 1080;
        av.pictRate = 25.0F;
        av.entropyFlag = 1;
        av.aspectRatio = 1;
        av.profile = 77;
        av.level = 40;
    }

    void addAudio() {
        const int t = av.audioCount++;
        pmt.audioPids[t] = static_cast<std::uint16_t>(257 + t);
        pmt.audioCodings[t] = 3;
        setField(pmt.audioLanguages[t], "eng");
        av.audio[t].bitRateIndex = 10;
        av.audio[t].sampleRateIndex = 1;
    }

    void addPrivate(std::uint16_t pid) {
        pmt.pvtPids[av.privateCount++] = pid;
    }

    void addEcm(std::uint16_t pid) {
        pmt.ecmPids[pmt.ecmCount++] = pid;
    }

    std::string document() const {
        return documentOf([&](DocumentBuffer& out) { return buildPgmDetailJson(&pmt, &av, out); });
    }

    // The value of the first member with this key.
    std::string valueOf(const std::string& key) const {
        const std::string text = document();
        const std::string opening = "\"" + key + "\":\"";
        const std::size_t start = text.find(opening) + opening.size();
        return text.substr(start, text.find('"', start) - start);
    }

    PmtEntry pmt{};
    AvPgmEntry av{};
};

TEST_F(PgmDetailDocument, TellsOfVideoAudioAndEcm) {
    addVideo();
    addAudio();
    addEcm(1500);
    EXPECT_EQ(
        document(),
        R"({"requestReply":"dataStream","dataStream":"pgmDetail","pgmDetail":{)"
        R"("pidCount":"2","details":[)"
        R"({"pidType":"PMT","pidNum":"4096","pgmNum":"1"},)"
        R"({"pidType":"VIDEO","pidNum":"256","videoType":"H.264","entropy":"CABAC","horizRes":"1920","vertRes":"1080","pictRate":" 25.00","aspectRatio":"16:9","profile":"Main","level":"40","scrambled":"Clear"})"
        R"(,{"pidType":"AUDIO","pidNum":"257","audioType":"MPEG1","language":"eng","bitRate":"192kbps","sampleRate":"48kHz","mode":"Stereo","scrambled":"Clear"})"
        R"(,{"pidType":"ECM","pidNum":"1500"})"
        R"(]}})");
}

TEST_F(PgmDetailDocument, AProgramWithNothingButItsPmtKeepsItsComma) {
    EXPECT_EQ(document(),
              head + R"("pidCount":"0","details":[{"pidType":"PMT","pidNum":"4096","pgmNum":"1"},]}})");
}

TEST_F(PgmDetailDocument, VideoAloneHasNoCommaBehindIt) {
    addVideo();
    EXPECT_EQ(document(), head + R"("pidCount":"1","details":[)" + pmtElement + videoElement + "]}}");
}

TEST_F(PgmDetailDocument, AudioWithoutVideoComesBehindTwoCommas) {
    addAudio();
    EXPECT_EQ(document(), head + R"("pidCount":"1","details":[)" + pmtElement + "," + audioElement + "]}}");
}

TEST_F(PgmDetailDocument, PrivatePidsAloneComeBehindThreeCommas) {
    addPrivate(600);
    EXPECT_EQ(document(), head + R"("pidCount":"0","details":[)" + pmtElement +
                              R"(,,{"pidType":"PRIVATE","pidNum":"600"}]}})");
}

TEST_F(PgmDetailDocument, PrivatePidsBehindVideoComeBehindTwoCommas) {
    addVideo();
    addPrivate(600);
    addPrivate(601);
    EXPECT_EQ(document(),
              head + R"("pidCount":"1","details":[)" + pmtElement + videoElement +
                  R"(,,{"pidType":"PRIVATE","pidNum":"600"},{"pidType":"PRIVATE","pidNum":"601"}]}})");
}

TEST_F(PgmDetailDocument, EcmPidsAloneComeBehindTwoCommas) {
    addEcm(1500);
    EXPECT_EQ(document(), head + R"("pidCount":"0","details":[)" + pmtElement +
                              R"(,{"pidType":"ECM","pidNum":"1500"}]}})");
}

TEST_F(PgmDetailDocument, EcmPidsBehindVideoComeBehindOneComma) {
    addVideo();
    addEcm(1500);
    addEcm(1501);
    EXPECT_EQ(document(), head + R"("pidCount":"1","details":[)" + pmtElement + videoElement +
                              R"(,{"pidType":"ECM","pidNum":"1500"},{"pidType":"ECM","pidNum":"1501"}]}})");
}

TEST_F(PgmDetailDocument, AllBlocksFollowOneAnotherWithOneComma) {
    addVideo();
    addAudio();
    addPrivate(600);
    addEcm(1500);
    EXPECT_EQ(document(), head + R"("pidCount":"2","details":[)" + pmtElement + videoElement + "," +
                              audioElement + R"(,{"pidType":"PRIVATE","pidNum":"600"})" +
                              R"(,{"pidType":"ECM","pidNum":"1500"}]}})");
}

TEST_F(PgmDetailDocument, BlocksWithoutVideoFollowTheCommaOfThePmt) {
    addAudio();
    addPrivate(600);
    addEcm(1500);
    EXPECT_EQ(document(), head + R"("pidCount":"1","details":[)" + pmtElement + "," + audioElement +
                              R"(,{"pidType":"PRIVATE","pidNum":"600"})" +
                              R"(,{"pidType":"ECM","pidNum":"1500"}]}})");
}

TEST_F(PgmDetailDocument, PrivateAndEcmPidsAloneFollowThreeCommas) {
    addPrivate(600);
    addEcm(1500);
    EXPECT_EQ(document(),
              head + R"("pidCount":"0","details":[)" + pmtElement +
                  R"(,,{"pidType":"PRIVATE","pidNum":"600"},{"pidType":"ECM","pidNum":"1500"}]}})");
}

TEST_F(PgmDetailDocument, ThreeAudioTracksAreSeparatedByOneCommaEach) {
    addVideo();
    addAudio();
    addAudio();
    addAudio();
    setField(pmt.audioLanguages[1], "");
    pmt.audioCodings[1] = 0;
    av.audio[1].bitRateIndex = 0;
    av.audio[1].sampleRateIndex = 0;
    av.audio[1].modeIndex = 3;
    av.audio[1].scrambled = 1;
    pmt.audioCodings[2] = 5;
    av.audio[2].bitRateIndex = 14;
    av.audio[2].sampleRateIndex = 2;
    av.audio[2].modeIndex = 1;
    EXPECT_EQ(
        document(),
        head + R"("pidCount":"4","details":[)" + pmtElement + videoElement + "," + audioElement +
            R"(,{"pidType":"AUDIO","pidNum":"258","audioType":"UNK","language":"","bitRate":"0",)"
            R"("sampleRate":"44.1kHz","mode":"Single Ch","scrambled":"Scrambled"})"
            R"(,{"pidType":"AUDIO","pidNum":"259","audioType":"HEAAC","language":"eng","bitRate":"384kbps",)"
            R"("sampleRate":"32kHz","mode":"Joint","scrambled":"Clear"}]}})");
}

TEST_F(PgmDetailDocument, WithoutAVideoPidTheVideoFieldsAreNotShown) {
    addVideo();
    addAudio();
    av.videoPid = 0;
    EXPECT_EQ(document(), head + R"("pidCount":"1","details":[)" + pmtElement + "," + audioElement + "]}}");
}

TEST_F(PgmDetailDocument, AudioAndPrivatePidsAreCountedByTheAvRecordAndEcmPidsByThePmt) {
    pmt.audioCount = 5;
    pmt.privateCount = 5;
    addAudio();
    EXPECT_EQ(document(), head + R"("pidCount":"1","details":[)" + pmtElement + "," + audioElement + "]}}");
}

TEST_F(PgmDetailDocument, Mpeg2VideoHasNoEntropyCodingButEverythingElse) {
    addVideo();
    pmt.videoStreamType = 2;
    EXPECT_EQ(valueOf("videoType"), "MPEG-2");
    for (const std::uint32_t flag : {0U, 1U, 7U}) {
        av.entropyFlag = flag;
        EXPECT_EQ(valueOf("entropy"), "N/A");
    }
    EXPECT_EQ(valueOf("profile"), "Main");
    EXPECT_EQ(valueOf("level"), "40");
    EXPECT_EQ(valueOf("aspectRatio"), "16:9");
}

TEST_F(PgmDetailDocument, OtherVideoIsUnknown) {
    addVideo();
    for (const std::uint16_t type : std::vector<std::uint16_t>{0, 1, 3, 26, 28, 36, 65535}) {
        pmt.videoStreamType = type;
        EXPECT_EQ(valueOf("videoType"), "UnkVidTyp");
        EXPECT_EQ(valueOf("entropy"), "N/A");
    }
}

TEST_F(PgmDetailDocument, EntropyCodingIsNamed) {
    addVideo();
    av.entropyFlag = 0;
    EXPECT_EQ(valueOf("entropy"), "CAVLC");
    av.entropyFlag = 1;
    EXPECT_EQ(valueOf("entropy"), "CABAC");
    av.entropyFlag = 2;
    EXPECT_EQ(valueOf("entropy"), "Unknown");
    av.entropyFlag = 0xFFFFFFFF;
    EXPECT_EQ(valueOf("entropy"), "Unknown");
}

TEST_F(PgmDetailDocument, ProfilesAreNamedOrShownAsSignedNumbers) {
    addVideo();
    const std::vector<std::pair<std::uint32_t, std::string>> profiles{
        {66, "Simple"}, {77, "Main"}, {88, "High"}, {0, "zero"}, {100, "100"}, {1, "1"}, {0xFFFFFFFF, "-1"}};
    for (const auto& [code, name] : profiles) {
        av.profile = code;
        EXPECT_EQ(valueOf("profile"), name);
    }
}

TEST_F(PgmDetailDocument, LevelsResolutionsAndPictureRatesAreNumbers) {
    addVideo();
    av.level = 0xFFFFFFFF;
    EXPECT_EQ(valueOf("level"), "-1");
    av.level = 51;
    EXPECT_EQ(valueOf("level"), "51");
    av.horizRes = 65535;
    av.vertRes = 0;
    EXPECT_EQ(valueOf("horizRes"), "65535");
    EXPECT_EQ(valueOf("vertRes"), "0");
    av.pictRate = 29.97F;
    EXPECT_EQ(valueOf("pictRate"), " 29.97");
    av.pictRate = 119.88F;
    EXPECT_EQ(valueOf("pictRate"), "119.88");
}

TEST_F(PgmDetailDocument, AspectRatiosAreNamed) {
    addVideo();
    const std::vector<std::string> names{"Unknown", "16:9",   "12:11", "10:11", "16:11", "40:33",
                                         "24:11",   "20:11",  "32:11", "80:33", "18:11", "15:11",
                                         "64:33",   "160:99", "4:3",   "3:2",   "2:1",   "Unknown"};
    for (std::size_t code = 0; code < names.size(); ++code) {
        av.aspectRatio = static_cast<std::uint16_t>(code);
        EXPECT_EQ(valueOf("aspectRatio"), names[code]) << code;
    }
    av.aspectRatio = 65535;
    EXPECT_EQ(valueOf("aspectRatio"), "Unknown");
}

TEST_F(PgmDetailDocument, AudioTypesAreNamed) {
    addAudio();
    const std::vector<std::string> names{"UNK", "AAC", "AC3", "MPEG1", "MPEG2", "HEAAC", "Unknown"};
    for (std::size_t code = 0; code < names.size(); ++code) {
        pmt.audioCodings[0] = static_cast<std::uint16_t>(code);
        EXPECT_EQ(valueOf("audioType"), names[code]) << code;
    }
    pmt.audioCodings[0] = 65535;
    EXPECT_EQ(valueOf("audioType"), "Unknown");
}

TEST_F(PgmDetailDocument, BitRatesSampleRatesAndModesAreNamed) {
    addAudio();
    const std::vector<std::string> bitRates{"0",       "32kbps",  "48kbps",  "56kbps",  "64kbps",  "80kbps",
                                            "96kbps",  "112kbps", "128kbps", "160kbps", "192kbps", "224kbps",
                                            "256kbps", "320kbps", "384kbps", "Unknown"};
    for (std::size_t index = 0; index < bitRates.size(); ++index) {
        av.audio[0].bitRateIndex = static_cast<std::uint8_t>(index);
        EXPECT_EQ(valueOf("bitRate"), bitRates[index]) << index;
    }
    const std::vector<std::string> sampleRates{"44.1kHz", "48kHz", "32kHz", "Unknown"};
    for (std::size_t index = 0; index < sampleRates.size(); ++index) {
        av.audio[0].sampleRateIndex = static_cast<std::uint8_t>(index);
        EXPECT_EQ(valueOf("sampleRate"), sampleRates[index]) << index;
    }
    const std::vector<std::string> modes{"Stereo", "Joint", "Dual Ch", "Single Ch", "Unknown"};
    for (std::size_t index = 0; index < modes.size(); ++index) {
        av.audio[0].modeIndex = static_cast<std::uint8_t>(index);
        EXPECT_EQ(valueOf("mode"), modes[index]) << index;
    }
    av.audio[0].bitRateIndex = av.audio[0].sampleRateIndex = av.audio[0].modeIndex = 255;
    EXPECT_EQ(valueOf("bitRate"), "Unknown");
    EXPECT_EQ(valueOf("sampleRate"), "Unknown");
    EXPECT_EQ(valueOf("mode"), "Unknown");
}

TEST_F(PgmDetailDocument, ScramblingIsNamed) {
    addVideo();
    const std::vector<std::string> names{"Clear", "Scrambled", "Unknown"};
    for (std::size_t state = 0; state < names.size(); ++state) {
        av.videoScrambled = static_cast<std::uint16_t>(state);
        EXPECT_EQ(valueOf("scrambled"), names[state]);
    }
    av.videoPid = 0;
    addAudio();
    for (std::size_t state = 0; state < names.size(); ++state) {
        av.audio[0].scrambled = static_cast<std::uint16_t>(state);
        EXPECT_EQ(valueOf("scrambled"), names[state]);
    }
}

TEST_F(PgmDetailDocument, LanguagesEndAtTheirFourCharacters) {
    addAudio();
    setField(pmt.audioLanguages[0], "wide");
    setField(pmt.audioLanguages[1], "next");
    EXPECT_EQ(valueOf("language"), "wide");
}

TEST_F(PgmDetailDocument, CountsBeyondTheRecordsAreShownAndCutToTheirSlots) {
    addVideo();
    av.audioCount = 65535;
    av.privateCount = 13;
    pmt.ecmCount = 7;
    const std::string text = document();
    EXPECT_TRUE(text.starts_with(head + R"("pidCount":"65536",)"));
    const auto elementsOf = [&](const std::string& type) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = text.find("{\"pidType\":\"" + type + "\"", at)) != std::string::npos;
             ++at) {
            ++count;
        }
        return count;
    };
    EXPECT_EQ(elementsOf("AUDIO"), 12U);
    EXPECT_EQ(elementsOf("PRIVATE"), 12U);
    EXPECT_EQ(elementsOf("ECM"), 6U);
    EXPECT_EQ(text.find(",,"), std::string::npos);
    EXPECT_TRUE(text.ends_with("\"}]}}"));
}
