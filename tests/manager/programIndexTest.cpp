#include "documents/programIndex.h"

#include "managerError.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using manager::ManagerError;
using manager::programIndex;

std::string patListing(const std::string& entries) {
    return R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{"pgms":"3","pidRate":"   1.500Kbps",)"
           R"("details":[)" +
           entries + "]}}";
}

const std::string networkEntry = R"({"pgmNum":"0","referencePID":"16"})";
const std::string firstProgram = R"({"pgmNum":"501","referencePID":"256"})";
const std::string secondProgram = R"({"pgmNum":"7","referencePID":"512"})";

std::string indexRefusal(const std::string& document, int number) {
    try {
        return std::to_string(programIndex(document, number));
    } catch (const ManagerError& error) {
        return error.what();
    }
}

TEST(ProgramIndex, isTheProgramsPlaceInThePat) {
    EXPECT_EQ(programIndex(patListing(firstProgram + ',' + secondProgram), 501), 0);
    EXPECT_EQ(programIndex(patListing(firstProgram + ',' + secondProgram), 7), 1);
}

TEST(ProgramIndex, countsTheNetworkEntry) {
    EXPECT_EQ(programIndex(patListing(networkEntry + ',' + firstProgram + ',' + secondProgram), 7), 2);
}

TEST(ProgramIndex, isRefusedForAProgramThatIsNotThere) {
    EXPECT_EQ(
        indexRefusal(patListing(networkEntry + ',' + firstProgram + ',' + secondProgram), 50),
        "there is no such program: expected one of 501, 7, got 50; \"mpegfe-manager pgmData on --table\" "
        "shows them by their names");
    EXPECT_EQ(indexRefusal(patListing(networkEntry), 50),
              "there is no such program: expected no program, as the stream's PAT has none, got 50; "
              "\"mpegfe-manager pgmData on --table\" shows them by their names");
}

TEST(ProgramIndex, isRefusedForWhatIsNoPat) {
    for (const std::string document : {"{}", "", R"({"PAT":{"details":"none"}})", "[1]"}) {
        EXPECT_EQ(indexRefusal(document, 1),
                  "cannot read the PAT: expected a document with a list of programs, got " + document +
                      "; what answers does not speak mpegFE's protocol");
    }
}

} // namespace
