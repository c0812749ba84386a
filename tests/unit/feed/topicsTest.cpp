#include "feed/receivedTopics.h"
#include "serviceNames.h"

#include <gtest/gtest.h>
#include <sstream>

TEST(Topics, AreComparedInThisOrderAndHaveTheseBitsAndSizes) {
    std::ostringstream table;
    for (const ReceivedTopic& row : receivedTopics) {
        table << row.topic.name << ' ' << std::hex << row.topic.bit << ' ' << row.captureBits << ' '
              << std::dec << row.topic.size << '\n';
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

TEST(Topics, AreNamedAndUnsubscribedInThisOrder) {
    std::string names;
    for (const Topic& topic : topics) {
        names += std::string(topic.name) + "\n";
    }
    EXPECT_EQ(names, "MPEG-STRUCT-PAT\nMPEG-STRUCT-SDT\nMPEG-STRUCT-TS-STATUS\nMPEG-STRUCT-PMT\n"
                     "MPEG-STRUCT-AVPGM\nMPEG-STRUCT-CAT\nMPEG-STRUCT-NIT\nMPEG-STRUCT-EIT\n"
                     "MPEG-STRUCT-TDT\n");
}

TEST(Topics, LeadToTheirRecordInARecordSet) {
    EXPECT_EQ(patTopic.offset, offsetof(RecordSet, pat));
    EXPECT_EQ(sdtTopic.offset, offsetof(RecordSet, sdt));
    EXPECT_EQ(catTopic.offset, offsetof(RecordSet, cat));
    EXPECT_EQ(nitTopic.offset, offsetof(RecordSet, nit));
    EXPECT_EQ(eitTopic.offset, offsetof(RecordSet, eit));
    EXPECT_EQ(tdtTopic.offset, offsetof(RecordSet, tdt));
    EXPECT_EQ(pmtTopic.offset, offsetof(RecordSet, pmt));
    EXPECT_EQ(tsStatusTopic.offset, offsetof(RecordSet, tsStatus));
    EXPECT_EQ(avPgmTopic.offset, offsetof(RecordSet, avPgm));
}
