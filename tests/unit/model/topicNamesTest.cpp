#include "model/topicNames.h"
#include "serviceNames.h"
#include "support/console.h"

#include <gtest/gtest.h>
#include <string>

namespace {

std::string namesOf(unsigned mask) {
    return consoleOf([&] { printTopicNames(static_cast<TopicBits>(mask)); });
}

} // namespace

TEST(TopicNames, NoTopicIsAnEmptyLine) {
    EXPECT_EQ(namesOf(0), "\n");
}

TEST(TopicNames, AllTopicsAreNamedInTheOrderOfTheConsole) {
    EXPECT_EQ(namesOf(0x1FF), "PAT SDT Stat PMT AV CAT NIT EIT TDT \n");
}

TEST(TopicNames, SomeTopicsKeepThatOrder) {
    EXPECT_EQ(namesOf(0x105), "PAT Stat AV \n");
}

TEST(TopicNames, EachBitHasItsName) {
    EXPECT_EQ(namesOf(0x001), "PAT \n");
    EXPECT_EQ(namesOf(0x002), "PMT \n");
    EXPECT_EQ(namesOf(0x004), "Stat \n");
    EXPECT_EQ(namesOf(0x008), "SDT \n");
    EXPECT_EQ(namesOf(0x010), "NIT \n");
    EXPECT_EQ(namesOf(0x020), "TDT \n");
    EXPECT_EQ(namesOf(0x040), "EIT \n");
    EXPECT_EQ(namesOf(0x080), "CAT \n");
    EXPECT_EQ(namesOf(0x100), "AV \n");
}

TEST(TopicNames, BitsWithoutATopicAreIgnored) {
    EXPECT_EQ(namesOf(0xFE00), "\n");
    EXPECT_EQ(namesOf(0xFE08), "SDT \n");
}

TEST(TopicNames, TheResultIsThatOfTheLastPrint) {
    int result = -1;
    consoleOf([&] { result = printTopicNames(patBit); });
    EXPECT_GE(result, 0);
}
