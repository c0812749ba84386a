#include "terminal/documentTable.h"
#include "documents/documentReader.h"
#include "terminal/textTable.h"
#include "text/displayText.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <variant>

namespace {

using manager::Document;

std::string tableOf(const std::string& text) {
    const auto result = manager::readDocument(text);
    const auto* const document = std::get_if<Document>(&result);
    return document != nullptr ? manager::documentTable(*document)
                               : describe(std::get<manager::ReadError>(result));
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

std::string pidListDocument(const std::string& count, const std::string& pids) {
    return R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{"pidCount":")" + count +
           R"(","aggStreamRate":"   3.250Mbps","pids":[)" + pids + "]}}";
}

std::string programListDocument(const std::string& derived, const std::string& programs) {
    return R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{"svcCount":"1","derived":")" +
           derived + R"(","aggStreamRate":"   7.412Mbps","scrambledCount":"1","pgms":[)" + programs + "]}}";
}

std::string service(const std::string& name) {
    return R"({"pgmNum":"501","patIndex":"1","svcType":"25","referencePID":"4096","pidCount":"3",)"
           R"("pgmRate":"   3.250Mbps","caFlag":"1","allScrambled":"0","svcProvider":"","svcName":")" +
           name + "\"}";
}

std::string table(const std::string& name, const std::string& members) {
    return R"({"requestReply":"dataStream","dataStream":")" + name + R"(",")" + name + "\":{" + members +
           "}}";
}

constexpr const char* videoAndPat =
    R"({"patIndex":"1","pidOrder":"0","pidNum":"256","pidType":"4","referencePID":"4096","pgmNum":"501",)"
    R"("pidRate":"   3.058Mbps","scrambled":"1","description":"VIDEO"},)"
    R"({"patIndex":"0","pidOrder":"1","pidNum":"0","pidType":"8","referencePID":"0","pgmNum":"0",)"
    R"("pidRate":"  15.040Kbps","scrambled":"0","description":"PAT"})";

TEST(DocumentTable, showsAPidList) {
    EXPECT_EQ(tableOf(pidListDocument("2", videoAndPat)),
              "PID list: 2 PIDs, 3.250Mbps\n"
              "\n"
              "  PID  hex     type   program  index  PMT PID        rate  scrambled\n"
              "  256  0x0100  VIDEO      501      1     4096   3.058Mbps  yes\n"
              "    0  0x0000  PAT          -      -        -  15.040Kbps  no\n");
}

TEST(DocumentTable, saysWhenThePidListWasTooLongForItsDocument) {
    EXPECT_EQ(firstLine(tableOf(pidListDocument("256", videoAndPat))),
              "PID list: 256 PIDs (the document has room for 2), 3.250Mbps");
}

TEST(DocumentTable, showsAProgramList) {
    EXPECT_EQ(tableOf(programListDocument("0", service("Télé 東京"))),
              "Program list: 1 program, 1 scrambled, 7.412Mbps\n"
              "\n"
              "  program  index  service    provider  type   PMT PID  PIDs       rate  CA   scrambled\n"
              "      501      1  Télé 東京  -         TV HD     4096     3  3.250Mbps  yes  no\n");
}

TEST(DocumentTable, saysWhenTheNamesAreMadeFromThePat) {
    EXPECT_EQ(firstLine(tableOf(programListDocument("1", service("Program 501")))),
              "Program list: 1 program, 1 scrambled, 7.412Mbps (the stream has no SDT: the names are made "
              "from the PAT)");
}

TEST(DocumentTable, showsNamesWithControlCharactersAndForeignBytes) {
    const std::string text = tableOf(programListDocument("0", service("T\xE9l\xE9\x1b[2J")));
    EXPECT_NE(text.find(R"(  T\xE9l\xE9\u{1B}[2J  )"), std::string::npos) << text;
}

TEST(DocumentTable, showsNamesWithQuotationMarksAndBackslashes) {
    const std::string text = tableOf(programListDocument("0", service(R"(News "24" \n)")));
    EXPECT_NE(text.find(R"(  News "24" \n  )"), std::string::npos) << text;
}

TEST(DocumentTable, showsFlagsAndTypesItDoesNotKnowAsNumbers) {
    const std::string text = tableOf(
        pidListDocument("1", R"({"patIndex":"7","pidOrder":"0","pidNum":"300","pidType":"6",)"
                             R"("referencePID":"0","pgmNum":"3","pidRate":"   0.000Kbps","scrambled":"2",)"
                             R"("description":""})"));
    EXPECT_EQ(text, "PID list: 1 PID, 3.250Mbps\n"
                    "\n"
                    "  PID  hex     type  program  index  PMT PID       rate  scrambled\n"
                    "  300  0x012C  -           3      7        -  0.000Kbps  2\n");
}

TEST(DocumentTable, showsAProgramDetailWithItsCommas) {
    EXPECT_EQ(tableOf(table("pgmDetail",
                            R"("pidCount":"2","details":[{"pidType":"PMT","pidNum":"4096","pgmNum":"501"},)"
                            R"({"pidType":"VIDEO","pidNum":"256","videoType":"H.264","entropy":"CABAC",)"
                            R"("horizRes":"1920","vertRes":"1080","pictRate":" 25.00","aspectRatio":"16:9",)"
                            R"("profile":"Main","level":"40","scrambled":"Clear"},,)"
                            R"({"pidType":"AUDIO","pidNum":"257","audioType":"MPEG1","language":"eng",)"
                            R"("bitRate":"192kbps","sampleRate":"44.1kHz","mode":"Stereo",)"
                            R"("scrambled":"Scrambled"},{"pidType":"ECM","pidNum":"1500"}])")),
              // clang-format off
              "Program 501: 2 video and audio PIDs\n"
              "\n"
              "   PID  hex     type   coding  language  attributes                                                        scrambled\n"
              "  4096  0x1000  PMT\n"
              "   256  0x0100  VIDEO  H.264   -         1920x1080, 25.00 pictures/s, 16:9, profile Main, level 40, CABAC  Clear\n"
              "   257  0x0101  AUDIO  MPEG1   eng       192.000Kbps, 44.1kHz, Stereo                                      Scrambled\n"
              "  1500  0x05DC  ECM\n"
              // clang-format on
    );
}

TEST(DocumentTable, showsThePat) {
    EXPECT_EQ(
        tableOf(table("PAT", R"("pgms":"2","pidRate":"   1.500Kbps","details":[)"
                             R"({"pgmNum":"0","referencePID":"16"},{"pgmNum":"501","referencePID":"256"}])")),
        "PAT: 2 programs, 1.500Kbps\n"
        "\n"
        "  index  program  PMT PID  hex\n"
        "      0  network       16  0x0010\n"
        "      1      501      256  0x0100\n");
}

TEST(DocumentTable, showsTheCat) {
    EXPECT_EQ(tableOf(table("CAT", R"("pidCount":"1","tableID":"0x1","pidRate":"   0.800Kbps","details":[)"
                                   R"({"systemID":"0x500","pidNum":"1001"}])")),
              "CAT: 1 CA system, 0.800Kbps\n"
              "\n"
              "  CA system  EMM PID  hex\n"
              "  0x0500        1001  0x03E9\n");
}

TEST(DocumentTable, showsTheNit) {
    EXPECT_EQ(tableOf(table("NIT", R"("descriptorCount":"1","tableID":"0x40","netID":"0x3001",)"
                                   R"("streamID":"0x3f9","origNetID":"0x2","descriptorType":"0x40",)"
                                   R"("descriptors":"Home Network","pidRate":"   3.500Kbps","details":[)"
                                   R"({"descriptorType":"0x5a","descriptors":"474000000"}])")),
              "NIT: network 0x3001, original network 0x0002, transport stream 0x03F9, 1 further descriptor, "
              "3.500Kbps\n"
              "\n"
              "  descriptor  content\n"
              "  0x0040      Home Network\n"
              "  0x005A      474000000\n");
}

TEST(DocumentTable, showsTheSdt) {
    EXPECT_EQ(tableOf(table("SDT", R"("pgms":"2","tableID":"0x42","systemID":"0x3f9","netID":"0x2",)"
                                   R"("pidRate":"  12.345Kbps","sdtData":"Actual","details":[)"
                                   R"({"svcName":"News One","svcProvider":"Alpha","caFlag":"Clear"},)"
                                   R"({"svcName":"Film Two","svcProvider":"","caFlag":"Set",}])")),
              "SDT: 2 services (Actual), original network 0x0002, transport stream 0x03F9, 12.345Kbps\n"
              "\n"
              "  service   provider  CA\n"
              "  News One  Alpha     no\n"
              "  Film Two  -         yes\n");
}

TEST(DocumentTable, showsTheEit) {
    EXPECT_EQ(tableOf(table("EIT", R"("eventCount":"1","tableID":"0x4e","netID":"0x2","pgmNum":"0x1f5",)"
                                   R"("systemID":"0x3f9","pidRate":"   2.000Kbps","details":[)"
                                   R"({"eventID":"0x1234","Date:MJD":"60000","TOD":"20:15:00",)"
                                   R"("duration":"01:30:00","language":"eng","event":"Evening News",)"
                                   R"("description":""}])")),
              "EIT: 1 event of program 501, original network 0x0002, transport stream 0x03F9, 2.000Kbps\n"
              "\n"
              "  event   date        start     duration  language  name          description\n"
              "  0x1234  2023-02-25  20:15:00  01:30:00  eng       Evening News  -\n");
}

TEST(DocumentTable, showsTheTdtOnOneLine) {
    EXPECT_EQ(tableOf(table("TDT", R"("tableID":"0x70","Date:MJD":"60000","TOD":"12:34:56)"
                                   "\x1b"
                                   R"(c","pidRate":"   0.040Kbps")")),
              "TDT: 2023-02-25 12:34:56\\u{1B}c UTC, 0.040Kbps\n");
}

TEST(DocumentTable, showsAListWithoutEntriesByItsTitles) {
    EXPECT_EQ(
        tableOf(table("CAT",
                      R"("pidCount":"0","tableID":"0x1","pidRate":"   0.000Kbps","details":"noServices")")),
        "CAT: 0 CA systems, 0.000Kbps\n\n  CA system  EMM PID  hex\n");
    EXPECT_EQ(tableOf("{}"), "An empty document\n");
}

// One wide text among many rows would otherwise make each of them as wide.
TEST(DocumentTable, growsWithTheDocumentAndNotWithItsWidestText) {
    std::string programs = service(std::string(1'000'000, 'w'));
    for (int i = 0; i < 5000; ++i) {
        programs += ',' + service("News");
    }
    const std::string document = programListDocument("0", programs);
    const std::string text = tableOf(document);
    EXPECT_LT(text.size(), 2 * document.size());
    std::istringstream lines(text);
    std::size_t widest = 0;
    for (std::string line; std::getline(lines, line);) {
        widest = std::max(widest, manager::displayWidth(line));
    }
    EXPECT_GT(widest, manager::widestCell);
    EXPECT_LT(widest, manager::widestCell + 100);
}

} // namespace
