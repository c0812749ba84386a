#include "feed/topics.h"

#include <gtest/gtest.h>
#include <sstream>

TEST(Topics, AreComparedInTheOrderOfTheContractWithTheirBitsAndSizes) {
    std::ostringstream table;
    for (const Topic& topic : topics) {
        table << topic.name << ' ' << std::hex << topic.bit << ' ' << topic.captureBits << ' ' << std::dec
              << topic.size << '\n';
    }
    EXPECT_EQ(table.str(), "MPEG-STRUCT-PAT 1 11 1240\n"
                           "MPEG-STRUCT-SDT 8 12 5552\n"
                           "MPEG-STRUCT-CAT 80 10 60\n"
                           "MPEG-STRUCT-NIT 10 10 2280\n"
                           "MPEG-STRUCT-EIT 40 10 6504\n"
                           "MPEG-STRUCT-TDT 20 10 28\n"
                           "MPEG-STRUCT-PMT 2 20 27376\n"
                           "MPEG-STRUCT-TS-STATUS 4 80 2308\n"
                           "MPEG-STRUCT-AVPGM 100 40 29280\n");
}

TEST(Topics, EachIsFoundByItsBit) {
    for (const Topic& topic : topics) {
        EXPECT_STREQ(topicOf(topic.bit).name, topic.name);
    }
}

TEST(Topics, LeadToTheirRecordInTheStore) {
    EXPECT_EQ(topicOf(patBit).offset, offsetof(RecordSet, pat));
    EXPECT_EQ(topicOf(sdtBit).offset, offsetof(RecordSet, sdt));
    EXPECT_EQ(topicOf(catBit).offset, offsetof(RecordSet, cat));
    EXPECT_EQ(topicOf(nitBit).offset, offsetof(RecordSet, nit));
    EXPECT_EQ(topicOf(eitBit).offset, offsetof(RecordSet, eit));
    EXPECT_EQ(topicOf(tdtBit).offset, offsetof(RecordSet, tdt));
    EXPECT_EQ(topicOf(pmtBit).offset, offsetof(RecordSet, pmt));
    EXPECT_EQ(topicOf(tsStatusBit).offset, offsetof(RecordSet, tsStatus));
    EXPECT_EQ(topicOf(avPgmBit).offset, offsetof(RecordSet, avPgm));
}
