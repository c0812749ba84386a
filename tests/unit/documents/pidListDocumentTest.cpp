#include "documents/pidListDocument.h"
#include "support/console.h"
#include "support/documents.h"
#include "support/records.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

PidEntry entryOf(std::int32_t patIndex, std::int32_t pidOrder, std::uint16_t pidNum, std::uint16_t pidType,
                 std::uint16_t referencePID, std::uint16_t pgmNum, float pidRate, std::int32_t scrambled,
                 std::string_view description) {
    PidEntry entry{patIndex, pidOrder, pidNum, pidType, referencePID, pgmNum, pidRate, scrambled, ""};
    setField(entry.description, description);
    return entry;
}

// An entry like those of real streams.
PidEntry typicalEntry(int place) {
    return entryOf(3, place, static_cast<std::uint16_t>(4000 + place), 6, 4096, 501, 192000.0F, 0, "AUDIO");
}

std::string rateText(float rate) {
    char text[64];
    std::snprintf(text, sizeof text, rate > 1000000 ? "%8.3fMbps" : "%8.3fKbps",
                  static_cast<double>(rate) / (rate > 1000000 ? 1000000 : 1000));
    return text;
}

std::string entryText(const PidEntry& entry) {
    return R"({"patIndex":")" + std::to_string(entry.patIndex) + R"(","pidOrder":")" +
           std::to_string(entry.pidOrder) + R"(","pidNum":")" + std::to_string(entry.pidNum) +
           R"(","pidType":")" + std::to_string(entry.pidType) + R"(","referencePID":")" +
           std::to_string(entry.referencePID) + R"(","pgmNum":")" + std::to_string(entry.pgmNum) +
           R"(","pidRate":")" + rateText(entry.pidRate) + R"(","scrambled":")" +
           std::to_string(entry.scrambled) + R"(","description":")" +
           std::string(entry.description, strnlen(entry.description, sizeof entry.description)) + R"("})";
}

const std::string head = R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{)";

// A second writer of the document, without a buffer to care for. overflow is set when one more entry would
// have passed the limit.
std::string expectedDocument(const std::vector<PidEntry>& entries, float aggRate, bool& overflow) {
    std::string text = head + R"("pidCount":")" + std::to_string(entries.size()) + R"(","aggStreamRate":")" +
                       rateText(aggRate) + R"(","pids":[)";
    overflow = false;
    for (std::size_t i = 0; i < entries.size() && !overflow; ++i) {
        const std::size_t entryStart = text.size();
        text += entryText(entries[i]);
        overflow = text.size() + (text.size() - entryStart) > 24990;
        text += !overflow && i + 1 < entries.size() ? "," : "";
    }
    return text + "]}}";
}

// The document and what is printed while it is written.
struct Written {
    std::string document;
    std::string console;
};

Written writeList(const std::vector<PidEntry>& entries, int count, float aggRate) {
    Written written;
    written.console = consoleOf([&] {
        written.document = documentOf(
            [&](DocumentBuffer& out) { return buildPidListJson(entries.data(), count, aggRate, out); });
    });
    return written;
}

Written writeList(const std::vector<PidEntry>& entries, float aggRate) {
    return writeList(entries, static_cast<int>(entries.size()), aggRate);
}

void expectAsTheSecondWriterSays(const std::vector<PidEntry>& entries, bool overflowExpected) {
    bool overflow = false;
    const std::string expected = expectedDocument(entries, 3250000.0F, overflow);
    const Written written = writeList(entries, 3250000.0F);
    EXPECT_EQ(written.document, expected);
    EXPECT_EQ(written.console, overflow ? "JSON PID Overflow\n" : "");
    EXPECT_EQ(overflow, overflowExpected);
}

} // namespace

TEST(PidListDocument, ListsEveryPidWithItsMembersAsTexts) {
    const Written written = writeList({entryOf(1, 0, 256, 4, 4096, 1, 3058000.0F, 0, "VIDEO"),
                                       entryOf(1, 1, 257, 6, 4096, 1, 192000.0F, 0, "AUDIO")},
                                      3250000.0F);
    EXPECT_EQ(
        written.document,
        R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{)"
        R"("pidCount":"2","aggStreamRate":"   3.250Mbps","pids":[)"
        R"({"patIndex":"1","pidOrder":"0","pidNum":"256","pidType":"4","referencePID":"4096","pgmNum":"1",)"
        R"("pidRate":"   3.058Mbps","scrambled":"0","description":"VIDEO"})"
        R"(,)"
        R"({"patIndex":"1","pidOrder":"1","pidNum":"257","pidType":"6","referencePID":"4096","pgmNum":"1",)"
        R"("pidRate":" 192.000Kbps","scrambled":"0","description":"AUDIO"})"
        R"(]}})");
    EXPECT_EQ(written.console, "");
}

TEST(PidListDocument, WithoutPidsTheListIsEmpty) {
    EXPECT_EQ(writeList({}, 0, 0.0F).document,
              head + R"("pidCount":"0","aggStreamRate":"   0.000Kbps","pids":[]}})");
    EXPECT_EQ(writeList({}, -1, 0.0F).document,
              head + R"("pidCount":"-1","aggStreamRate":"   0.000Kbps","pids":[]}})");
}

TEST(PidListDocument, RatesChangeToMegabitsAboveOneMegabit) {
    const Written written = writeList({entryOf(0, 0, 17, 8, 0, 0, 1000000.0F, 0, "SDT"),
                                       entryOf(0, 1, 18, 8, 0, 0, 1000001.0F, 0, "EIT"),
                                       entryOf(0, 2, 20, 8, 0, 0, 0.0F, 0, "TDT")},
                                      15040.0F);
    EXPECT_EQ(
        written.document,
        head +
            R"("pidCount":"3","aggStreamRate":"  15.040Kbps","pids":[)"
            R"({"patIndex":"0","pidOrder":"0","pidNum":"17","pidType":"8","referencePID":"0","pgmNum":"0",)"
            R"("pidRate":"1000.000Kbps","scrambled":"0","description":"SDT"},)"
            R"({"patIndex":"0","pidOrder":"1","pidNum":"18","pidType":"8","referencePID":"0","pgmNum":"0",)"
            R"("pidRate":"   1.000Mbps","scrambled":"0","description":"EIT"},)"
            R"({"patIndex":"0","pidOrder":"2","pidNum":"20","pidType":"8","referencePID":"0","pgmNum":"0",)"
            R"("pidRate":"   0.000Kbps","scrambled":"0","description":"TDT"}]}})");
}

TEST(PidListDocument, NumbersAreShownInTheirFullRange) {
    const Written written = writeList(
        {entryOf(-2147483647 - 1, 2147483647, 65535, 65535, 65535, 65535, -1.0F, -2147483647 - 1, "")}, 0.0F);
    EXPECT_EQ(written.document,
              head +
                  R"("pidCount":"1","aggStreamRate":"   0.000Kbps","pids":[)"
                  R"({"patIndex":"-2147483648","pidOrder":"2147483647","pidNum":"65535","pidType":"65535",)"
                  R"("referencePID":"65535","pgmNum":"65535","pidRate":"  -0.001Kbps",)"
                  R"("scrambled":"-2147483648","description":""}]}})");
}

TEST(PidListDocument, DescriptionsAreNotEscaped) {
    const Written written = writeList({entryOf(0, 0, 1, 8, 0, 0, 0.0F, 0, "a \"b\" \\c")}, 0.0F);
    EXPECT_TRUE(written.document.ends_with("\"description\":\"a \"b\" \\c\"}]}}")) << written.document;
}

TEST(PidListDocument, ADescriptionWithoutAZeroByteEndsAtItsWidth) {
    const std::string full(36, 'd');
    const Written written = writeList({entryOf(0, 0, 1, 8, 0, 0, 0.0F, 0, full), typicalEntry(1)}, 0.0F);
    EXPECT_NE(written.document.find("\"description\":\"" + full + "\"},{\"patIndex\":\"3\""),
              std::string::npos);
}

TEST(PidListDocument, TheLongestEntryTakes230CharactersWithItsComma) {
    const PidEntry longest = entryOf(-2147483647 - 1, -2147483647 - 1, 65535, 65535, 65535, 65535,
                                     98765432.0F, -2147483647 - 1, std::string(35, 'd'));
    const std::string two = writeList({longest, longest}, 0.0F).document;
    const std::string one = writeList({longest}, 0.0F).document;
    EXPECT_EQ(two.size() - one.size(), 230U);
}

TEST(PidListDocument, AHundredPidsAreListedWhole) {
    std::vector<PidEntry> entries;
    for (int place = 0; place < 100; ++place) {
        entries.push_back(typicalEntry(place));
    }
    expectAsTheSecondWriterSays(entries, false);
}

TEST(PidListDocument, OfAFullTableOnlyWhatFitsIsListed) {
    std::vector<PidEntry> entries;
    for (int place = 0; place < maxPids; ++place) {
        entries.push_back(typicalEntry(place));
    }
    expectAsTheSecondWriterSays(entries, true);
}

TEST(PidListDocument, TheLongestEntriesStopAtTheLimitToo) {
    const std::vector<PidEntry> entries(maxPids,
                                        entryOf(-2147483647 - 1, -2147483647 - 1, 65535, 65535, 65535, 65535,
                                                98765432.0F, -2147483647 - 1, std::string(35, 'd')));
    expectAsTheSecondWriterSays(entries, true);
}

// The text behind the last entry is this long beyond the limit's prediction; the list has as many entries as
// come before the limit, the last with a description of the length that puts the prediction there.
class PidListLimit : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Around, PidListLimit, testing::Values(-2, -1, 0, 1, 2),
                         [](const auto& row) { return std::to_string(24990 + row.param) + "Characters"; });

TEST_P(PidListLimit, IsPassedByTheFirstCharacterBeyondIt) {
    std::vector<PidEntry> entries;
    bool overflow = false;
    std::size_t length = expectedDocument(entries, 3250000.0F, overflow).size() - 3;
    length += 2; // the count will have three digits
    const PidEntry last = entryOf(0, 7, 700, 12, 0, 0, 9000.0F, 0, "");
    const std::size_t lastLength = entryText(last).size();
    const auto wanted = static_cast<std::size_t>(24990 + GetParam());
    const PidEntry entry = entryOf(3, 7, 4000, 6, 4096, 501, 192000.0F, 0, "AUDIO");
    while (length + 2 * (lastLength + 36) + entryText(entry).size() + 36 < wanted) {
        entries.push_back(entry);
        length += entryText(entry).size() + 1;
    }
    // What is missing goes into descriptions: one character each in earlier entries, two in the last one.
    std::size_t missing = wanted - length - 2 * lastLength;
    PidEntry filled = last;
    setField(filled.description, std::string(std::min<std::size_t>(missing / 2, 35), 'x'));
    missing -= 2 * std::min<std::size_t>(missing / 2, 35);
    for (std::size_t i = 0; missing > 0; ++i) {
        const std::size_t more = std::min<std::size_t>(missing, 30);
        setField(entries[i].description, "AUDIO" + std::string(more, 'x'));
        missing -= more;
    }
    entries.push_back(filled);
    ASSERT_EQ(expectedDocument(entries, 3250000.0F, overflow).size() - 3 + entryText(filled).size(), wanted);
    expectAsTheSecondWriterSays(entries, GetParam() > 0);

    // The last entry prints the line although nothing is dropped; one more entry would be.
    entries.push_back(last);
    const std::string longer = writeList(entries, 3250000.0F).document;
    EXPECT_EQ(longer.ends_with(entryText(last) + "]}}"), GetParam() <= 0);
}

TEST(PidListDocument, ACountBeyondTheTableIsShownButNotFollowed) {
    std::vector<PidEntry> entries(maxPids);
    const Written written = writeList(entries, 65535, 0.0F);
    EXPECT_TRUE(written.document.starts_with(head + R"("pidCount":"65535",)"));
    std::size_t listed = 0;
    for (std::size_t at = 0; (at = written.document.find("{\"patIndex\"", at)) != std::string::npos; ++at) {
        ++listed;
    }
    EXPECT_LE(listed, std::size_t{maxPids});
    EXPECT_TRUE(written.document.ends_with("\"}]}}"));
}
