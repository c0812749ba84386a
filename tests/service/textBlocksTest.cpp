// The small language in which the expected transcripts are written. A mistake in one must not pass for an
// expectation of nothing.
#include "textBlocks.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace serviceTest {
namespace {

std::string expanded(const std::string& definitions, const std::string& text, const Values& values = {}) {
    TextBlocks blocks;
    blocks.define(definitions);
    return blocks.expand(text, values);
}

TEST(TextBlocks, leaveOtherLinesAsTheyStand) {
    const std::string text = "a line\n\n  | indented {\"reply\": \"ack\"} {}\n{not closed\n";
    EXPECT_EQ(expanded("", text), text);
}

TEST(TextBlocks, putALineForAName) {
    EXPECT_EQ(expanded("block starts up\none\ntwo\n", "before\n@ starts up\nafter\n"),
              "before\none\ntwo\nafter\n");
}

TEST(TextBlocks, stopAtACommentAndAtTrailingEmptyLines) {
    EXPECT_EQ(expanded("# about a\nblock a\none\n\n\ntwo\n\n\n# about b\nblock b\nthree\n", "@ a\n@ b\n"),
              "one\n\n\ntwo\nthree\n");
}

TEST(TextBlocks, useBlocksInBlocks) {
    EXPECT_EQ(expanded("block {NAME} twice\n@ once {NAME}\n@ once {NAME}\nblock once {NAME}\n<{NAME}>\n",
                       "@ x twice\n"),
              "<x>\n<x>\n");
}

TEST(TextBlocks, takeWordsOutOfTheirName) {
    const std::string definitions = "block answer at {POSITION}: {REASON}\n{POSITION}|{REASON}\n";
    EXPECT_EQ(expanded(definitions, "@ answer at 7: no such  thing \n"), "7|no such  thing \n");
    EXPECT_EQ(expanded(definitions, "@ answer at 7:  \n"), "7| \n");
    EXPECT_THROW(expanded(definitions, "@ answer at 7 of 8\n"), std::runtime_error);
}

TEST(TextBlocks, repeatALineForEachOfSeveralWords) {
    EXPECT_EQ(expanded("block hears {TOPIC...}\nfirst\nhears {TOPIC}, {TOPIC}\nlast\n", "@ hears A B\n"),
              "first\nhears A, A\nhears B, B\nlast\n");
}

TEST(TextBlocks, knowTheValuesOfAVariantEverywhere) {
    const Values values{{"ONE", {"1"}}, {"NONE", {}}, {"SEVERAL", {"@ b", "two"}}};
    EXPECT_EQ(expanded("block b\n[{ONE}]\n", "{ONE}\n{NONE}\n{SEVERAL}\n", values), "1\n[1]\ntwo\n");
}

TEST(TextBlocks, followTheFeed) {
    const std::string definitions = "block closes\nrecords{feed} of {context}\n";
    EXPECT_EQ(expanded(definitions, "@ closes\n@ feed 2\n@ closes\n@ feed 1\n@ closes\n"),
              "records of 2\nrecords 2 of 3\nrecords of 2\n");
}

TEST(TextBlocks, countWhatIsSaidSeveralTimes) {
    EXPECT_EQ(expanded("", "@ times 3 PID{8:4} of {99:1}\n"),
              "PID   8 of 99\nPID   9 of 100\nPID  10 of 101\n");
    EXPECT_EQ(expanded("", "@ times 2 \n"), "\n\n");
}

TEST(TextBlocks, repeatACharacter) {
    EXPECT_EQ(expanded("", "{x*4}|{0xff*2}|{xy*4}|{x*}\n"), "xxxx|\xff\xff|{xy*4}|{x*}\n");
    EXPECT_EQ(fillIn("{A}{z*3}\n", {{"A", {"{a*2}"}}}), "aazzz\n");
}

TEST(TextBlocks, refuseWhatTheyDoNotKnow) {
    EXPECT_THROW(expanded("block a\none\n", "@ b\n"), std::runtime_error);
    EXPECT_THROW(expanded("block a\n{B}\n", "@ a\n"), std::runtime_error);
    EXPECT_THROW(fillIn("{B}\n", {}), std::runtime_error);
    EXPECT_THROW(expanded("one\nblock a\n", ""), std::runtime_error);
    EXPECT_THROW(expanded("block a {N}\none\nblock a b\ntwo\n", "@ a b\n"), std::runtime_error);
}

} // namespace
} // namespace serviceTest
