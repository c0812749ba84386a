#include "text/documentJson.h"
#include "documents/documentReader.h"
#include "text/jsonText.h"

#include "companions/json.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <variant>

namespace {

using manager::documentJson;
using manager::jsonString;

TEST(JsonString, escapesWhatJsonAsksFor) {
    EXPECT_EQ(jsonString("News \"24\" \\ \n\x1b"), R"("News \"24\" \\ \u000A\u001B")");
}

TEST(JsonString, escapesWhatATerminalWouldActOn) {
    EXPECT_EQ(jsonString("\u009B2J\u202E\x7f"), R"("\u009B2J\u202E\u007F")");
    EXPECT_EQ(jsonString("\U00100001"), R"("\uDBC0\uDC01")");
}

TEST(JsonString, replacesBytesThatAreNotUtf8) {
    EXPECT_EQ(jsonString("T\xE9l\xE9 \xD0"), "\"T\uFFFDl\uFFFD \uFFFD\"");
}

TEST(DocumentJson, hasNumbersWithTheirUnits) {
    manager::PidList list;
    list.pidCount = 1;
    list.rateBitPerSecond = 3250000;
    list.pids.push_back({1, 0, 256, 4, 4096, 501, 3058000, 1, "VIDEO"});
    EXPECT_EQ(documentJson(list),
              R"({"dataStream":"pidData","pidCount":1,"rateBitPerSecond":3250000,"pids":[{"pid":256,)"
              R"("place":0,"type":4,"description":"VIDEO","programNumber":501,"patIndex":1,"pmtPid":4096,)"
              R"("rateBitPerSecond":3058000,"scrambled":true}]})");
}

TEST(DocumentJson, hasNullForWhatIsUnknown) {
    manager::ProgramDetail detail;
    detail.audio.push_back({257, "UNK", "", {}, {}, "Unknown", "Unknown"});
    EXPECT_EQ(documentJson(detail),
              R"({"dataStream":"pgmDetail","programNumber":0,"pmtPid":0,"pidCount":0,"video":null,"audio":)"
              R"([{"pid":257,"coding":"UNK","language":"","bitRateBitPerSecond":null,"sampleRateHertz":null,)"
              R"("mode":"Unknown","scrambled":null}],"privateData":[],"ecm":[]})");
}

TEST(DocumentJson, hasNullForRatesThatAreNoNumbers) {
    for (const double rate :
         {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        manager::Pat pat;
        pat.rateBitPerSecond = rate;
        EXPECT_EQ(documentJson(pat),
                  R"({"dataStream":"PAT","programCount":0,"rateBitPerSecond":null,"programs":[]})");
    }
}

TEST(DocumentJson, hasDatesForPeopleToo) {
    manager::Tdt tdt;
    tdt.dateMjd = 60000;
    tdt.timeOfDay = "12:34:56";
    tdt.rateBitPerSecond = 0.5;
    EXPECT_EQ(documentJson(tdt), R"({"dataStream":"TDT","tableId":0,"dateMjd":60000,"date":"2023-02-25",)"
                                 R"("timeOfDay":"12:34:56","rateBitPerSecond":0.5})");
}

TEST(DocumentJson, isAnEmptyObjectForAnEmptyDocument) {
    EXPECT_EQ(documentJson(manager::EmptyDocument{}), "{}");
}

// With everything that a document has, and read back by another reader.
TEST(DocumentJson, isValidForEveryDocument) {
    manager::ProgramDetail detail;
    detail.video.emplace();
    detail.ecm.resize(2);
    manager::Nit nit;
    nit.network.text = "\"\\\n\x80";
    nit.descriptors.resize(2);
    manager::ProgramList programs;
    programs.programs.resize(2);
    manager::Cat cat;
    cat.systems.resize(2);
    manager::Sdt sdt;
    sdt.services.resize(2);
    manager::Eit eit;
    eit.events.resize(2);
    for (const manager::Document& document :
         {manager::Document(detail), manager::Document(nit), manager::Document(programs),
          manager::Document(cat), manager::Document(sdt), manager::Document(eit)}) {
        const std::string text = documentJson(document);
        json_error_t error{};
        EXPECT_TRUE(companions::Json(json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, &error)))
            << error.text << '\n'
            << text;
    }
}

} // namespace
