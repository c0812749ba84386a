#include "documentTable.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using manager::documentStream;
using manager::makeDocumentTable;

std::string pidList(const std::string& count, const std::string& pids) {
    return R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{"pidCount":")" + count +
           R"(","aggStreamRate":"   3.250Mbps","pids":[)" + pids + "]}}";
}

std::string programList(const std::string& derived, const std::string& programs) {
    return R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{"svcCount":"1","derived":")" +
           derived + R"(","aggStreamRate":"   7.412Mbps","scrambledCount":"1","pgms":[)" + programs + "]}}";
}

std::string service(const std::string& name) {
    return R"({"pgmNum":"501","patIndex":"1","svcType":"25","referencePID":"4096","pidCount":"3",)"
           R"("pgmRate":"   3.250Mbps","caFlag":"1","allScrambled":"0","svcProvider":"","svcName":")" +
           name + "\"}";
}

constexpr const char* videoAndPat =
    R"({"patIndex":"1","pidOrder":"0","pidNum":"256","pidType":"4","referencePID":"4096","pgmNum":"501",)"
    R"("pidRate":"   3.058Mbps","scrambled":"1","description":"VIDEO"},)"
    R"({"patIndex":"0","pidOrder":"1","pidNum":"0","pidType":"8","referencePID":"0","pgmNum":"0",)"
    R"("pidRate":"  15.040Kbps","scrambled":"0","description":"PAT"})";

TEST(DocumentTable, showsAPidList) {
    const auto result = makeDocumentTable(pidList("2", videoAndPat));
    EXPECT_EQ(result.problem, "");
    EXPECT_EQ(result.table, "PID list: 2 PIDs, 3.250Mbps\n"
                            "\n"
                            "  PID  hex     type   program  index  PMT PID        rate  scrambled\n"
                            "  256  0x0100  VIDEO      501      1     4096   3.058Mbps  yes\n"
                            "    0  0x0000  PAT          -      -        -  15.040Kbps  no\n");
}

TEST(DocumentTable, saysWhenThePidListWasTooLongForItsDocument) {
    const auto result = makeDocumentTable(pidList("256", videoAndPat));
    EXPECT_EQ(result.table.substr(0, result.table.find('\n')),
              "PID list: 256 PIDs (the document has room for 2), 3.250Mbps");
}

TEST(DocumentTable, showsAProgramList) {
    const auto result = makeDocumentTable(programList("0", service("Télé 東京")));
    EXPECT_EQ(result.problem, "");
    EXPECT_EQ(result.table,
              "Program list: 1 program, 1 scrambled, 7.412Mbps\n"
              "\n"
              "  program  index  service    provider  type   PMT PID  PIDs       rate  CA   scrambled\n"
              "      501      1  Télé 東京  -         TV HD     4096     3  3.250Mbps  yes  no\n");
}

TEST(DocumentTable, saysWhenTheNamesAreMadeFromThePat) {
    const auto result = makeDocumentTable(programList("1", service("Program 501")));
    EXPECT_EQ(result.table.substr(0, result.table.find('\n')),
              "Program list: 1 program, 1 scrambled, 7.412Mbps (the stream has no SDT: the names are made "
              "from the PAT)");
}

TEST(DocumentTable, showsNamesWithControlCharactersAndForeignBytes) {
    const auto result = makeDocumentTable(programList("0", service("T\xE9l\xE9\x1b[2J")));
    EXPECT_EQ(result.problem, "");
    EXPECT_NE(result.table.find(R"(  T\xE9l\xE9\u{1B}[2J  )"), std::string::npos) << result.table;
}

TEST(DocumentTable, showsNumbersAndTypesItDoesNotKnowAsTheyAre) {
    const auto result = makeDocumentTable(
        pidList("1", R"({"patIndex":"7","pidNum":"many","pgmNum":"3","scrambled":"2","description":""})"));
    EXPECT_EQ(result.table, "PID list: 1 PID, 3.250Mbps\n"
                            "\n"
                            "   PID  hex  type  program  index  PMT PID  rate  scrambled\n"
                            "  many  -    -           3      7        -        2\n");
}

TEST(DocumentTable, isRefusedForOtherDocuments) {
    const auto result = makeDocumentTable(
        R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{"pgms":"0","pidRate":"x","details":[]}})");
    EXPECT_EQ(result.table, "");
    EXPECT_EQ(result.problem, "only the PID list (pidData) and the program list (pgmData) have a table form");
}

TEST(DocumentTable, isRefusedForWhatIsNotJson) {
    const auto result = makeDocumentTable(programList("0", service("News \"24\"")));
    EXPECT_EQ(result.table, "");
    EXPECT_EQ(result.problem, "the document is not valid JSON ('}' expected near '24')");
}

TEST(DocumentStream, isReadOffTheHeadEvenIfTheRestIsNotJson) {
    EXPECT_EQ(documentStream(R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{"caFlag":"Set",}})"),
              "SDT");
    EXPECT_EQ(documentStream("{}"), "");
    EXPECT_EQ(documentStream(""), "");
}

} // namespace
