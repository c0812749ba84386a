#include "documents/documentReader.h"
#include "documents/valueText.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <variant>

namespace {

using manager::documentStream;
using manager::readDocument;

std::string document(const std::string& name, const std::string& members) {
    return R"({"requestReply":"dataStream","dataStream":")" + name + R"(",")" + name + "\":{" + members +
           "}}";
}

std::string sdt(const std::string& details) {
    return document("SDT", R"("pgms":"1","tableID":"0x42","systemID":"0x3f9","netID":"0x2",)"
                           R"("pidRate":"  12.345Kbps","sdtData":"Actual","details":)" +
                               details);
}

std::string detail(const std::string& elements) {
    return document("pgmDetail",
                    R"("pidCount":"0","details":[{"pidType":"PMT","pidNum":"256","pgmNum":"1"})" + elements +
                        "]");
}

template <typename Body>
Body readBody(const std::string& text) {
    const auto result = readDocument(text);
    if (const auto* const error = std::get_if<manager::ReadError>(&result)) {
        ADD_FAILURE() << describe(*error) << " of\n" << text;
        return {};
    }
    return std::get<Body>(std::get<manager::Document>(result));
}

std::string refusalOf(const std::string& text) {
    const auto result = readDocument(text);
    const auto* const error = std::get_if<manager::ReadError>(&result);
    return error != nullptr ? describe(*error) : "read";
}

constexpr const char* audio = R"({"pidType":"AUDIO","pidNum":"258","audioType":"MPEG1","language":"eng",)"
                              R"("bitRate":"192kbps","sampleRate":"44.1kHz","mode":"Stereo",)"
                              R"("scrambled":"Clear"})";

TEST(DocumentReader, readsWhateverCommasStandInAProgramDetail) {
    const std::string ecm = R"({"pidType":"ECM","pidNum":"600"})";
    const std::string privateData = R"({"pidType":"PRIVATE","pidNum":"516"})";
    for (const std::string commas : {",", ",,", ",,,"}) {
        const auto body =
            readBody<manager::ProgramDetail>(detail(commas + audio + ',' + privateData + ',' + ecm));
        ASSERT_EQ(body.audio.size(), 1U);
        EXPECT_EQ(body.audio[0].sampleRateHertz, 44100);
        EXPECT_EQ(body.audio[0].bitRateBitPerSecond, 192000);
        EXPECT_EQ(body.privateData, std::vector{manager::PidElement{516}});
        EXPECT_EQ(body.ecm, std::vector{manager::PidElement{600}});
    }
    EXPECT_EQ(readBody<manager::ProgramDetail>(detail(",")).pmt, (manager::PmtElement{256, 1}));
}

TEST(DocumentReader, readsTheCommaBehindSet) {
    const auto body = readBody<manager::Sdt>(sdt(R"([{"svcName":"A","svcProvider":"B","caFlag":"Set",},)"
                                                 R"({"svcName":"C","svcProvider":"D","caFlag":"Set",}])"));
    EXPECT_EQ(body.services,
              (std::vector{manager::Service{"A", "B", "Set"}, manager::Service{"C", "D", "Set"}}));
}

TEST(DocumentReader, readsTheWordOfAnEmptyTable) {
    EXPECT_TRUE(readBody<manager::Sdt>(sdt(R"("noServices")")).services.empty());
}

TEST(DocumentReader, endsATextWhereTheShapeGoesOn) {
    const auto nameOf = [](const std::string& name) {
        return readBody<manager::Sdt>(
                   sdt(R"([{"svcName":")" + name +
                       R"(","svcProvider":"P","caFlag":"Clear"},{"svcName":"next","svcProvider":"Q","caFlag":"Clear"}])"))
            .services.at(0)
            .name;
    };
    for (const std::string name : {R"(News "24")", R"("},{")", R"("]}})", R"(\)", R"(\")", R"(","svcName":")",
                                   R"(","svcProvider)", "\"", "\",", "a\nb", "\x1b[2J", "", "cut \xD0"}) {
        EXPECT_EQ(nameOf(name), name);
    }
    EXPECT_EQ(nameOf(std::string("\0\0", 2)), std::string("\0\0", 2));
}

TEST(DocumentReader, takesTheFirstEndWhereATextCouldHaveTwo) {
    const auto body = readBody<manager::Sdt>(
        sdt(R"([{"svcName":"A","svcProvider":"B","svcProvider":"C","caFlag":"Clear"}])"));
    EXPECT_EQ(body.services.at(0).name, "A");
    EXPECT_EQ(body.services.at(0).provider, R"(B","svcProvider":"C)");
}

TEST(DocumentReader, isNotLedAstrayByAWholeEntryInATextIfItGoesOnOtherwise) {
    const std::string text = R"(x","caFlag":"Clear"},{"svcName":)";
    const auto body =
        readBody<manager::Sdt>(sdt(R"([{"svcName":"A","svcProvider":")" + text + R"(","caFlag":"Set",}])"));
    ASSERT_EQ(body.services.size(), 1U);
    EXPECT_EQ(body.services.at(0).provider, text);
}

TEST(DocumentReader, saysWhereReadingEnds) {
    EXPECT_EQ(refusalOf(""), "expected the head of a document at byte 0");
    EXPECT_EQ(refusalOf("[1]"), "expected the head of a document at byte 0");
    EXPECT_EQ(refusalOf(document("PAX", "")), "expected the head of a document at byte 0");
    EXPECT_EQ(refusalOf(document("PAT", "")), "expected \"pgms\" at byte 55");
    EXPECT_EQ(refusalOf(document("PAT", R"("pgms":"many")")), "expected a whole number at byte 63");
    EXPECT_EQ(refusalOf(document("PAT", R"("pgms":"1","pidRate":"fast")")), "expected a rate at byte 77");
    EXPECT_EQ(refusalOf(document("TDT", R"("tableID":"0x70","Date:MJD":"1","TOD":"12)")),
              "expected an end of the text \"TOD\" at byte 94");
    EXPECT_EQ(refusalOf(sdt("[]") + " "), "expected the document's end at byte 174");
    EXPECT_EQ(refusalOf(sdt(R"("none")")), "expected the word \"noServices\" at byte 171");
}

TEST(DocumentReader, refusesEveryDocumentThatIsCutShort) {
    const std::string whole = detail(std::string(",,") + audio);
    readBody<manager::ProgramDetail>(whole);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_NE(refusalOf(whole.substr(0, length)), "read") << length;
    }
}

// Hostile texts that would have a careless reader look again and again.
TEST(DocumentReader, takesTimeInProportionToTheText) {
    constexpr std::size_t length = 1'000'000;
    for (const std::string piece : {"\"", "\",", "\"},", ",", "\"},{\"svcName\":\"", "\\"}) {
        std::string name;
        while (name.size() < length) {
            name += piece;
        }
        EXPECT_NE(refusalOf(sdt(R"([{"svcName":")" + name)), "read");
    }
}

TEST(DocumentReader, readsTheGoldenDocuments) {
    int read = 0;
    std::ifstream session(GOLDEN_DOCUMENTS "/session.documents");
    for (std::string line; std::getline(session, line); ++read) {
        EXPECT_EQ(refusalOf(line), "read") << line;
    }
    for (const char* name : {"CAT", "EIT", "NIT", "PAT", "SDT", "TDT", "pgmData", "pgmDetail", "pidData"}) {
        std::ifstream file(std::string(GOLDEN_DOCUMENTS "/") + name + ".document");
        std::string line;
        std::getline(file, line);
        EXPECT_EQ(refusalOf(line), "read") << line;
        EXPECT_EQ(documentStream(line), name);
        ++read;
    }
    EXPECT_GT(read, 9);
}

TEST(DocumentReader, readsTheExamplesOfTheClientProtocol) {
    std::ifstream protocol(CLIENT_PROTOCOL);
    int read = 0;
    for (std::string line; std::getline(protocol, line);) {
        if (line.starts_with(R"({"requestReply":"dataStream")") &&
            !line.starts_with(document("NAME", " ").substr(0, 49))) {
            EXPECT_EQ(refusalOf(line), "read") << line;
            ++read;
        }
    }
    EXPECT_EQ(read, 9);
}

double rateOf(const char* text) {
    double rate = -1;
    EXPECT_TRUE(manager::readRate(text, rate)) << text;
    return rate;
}

TEST(RateText, isReadAsBitPerSecond) {
    EXPECT_EQ(rateOf("  15.040Kbps"), 15040);
    EXPECT_EQ(rateOf("   3.250Mbps"), 3250000);
    EXPECT_EQ(rateOf("1000.000Kbps"), 1000000);
    EXPECT_EQ(rateOf("   0.001Kbps"), 1);
    EXPECT_EQ(rateOf("  -0.500Kbps"), -500);
    EXPECT_EQ(rateOf("     infMbps"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(rateOf("    -infKbps"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(rateOf("    -nanKbps")));
}

TEST(RateText, isRefusedInAnyOtherForm) {
    double rate = 0;
    for (const char* text : {"", "Kbps", "15Kbps", "15.04Kbps", "15.0400Kbps", "15.040", "15.040kbps",
                             "1.5.040Kbps", "15.040Kbps ", "1,5.040Kbps"}) {
        EXPECT_FALSE(manager::readRate(text, rate)) << text;
    }
}

TEST(DocumentStream, isReadOffTheHeadEvenIfTheRestIsNotJson) {
    EXPECT_EQ(documentStream(R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{"caFlag":"Set",}})"),
              "SDT");
    EXPECT_EQ(documentStream("{}"), "");
    EXPECT_EQ(documentStream(""), "");
}

} // namespace
