#include "feed/reception.h"
#include "support/console.h"
#include "support/records.h"
#include "support/scriptedPeers.h"
#include "support/zmqFaults.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace zmqFaults;

namespace {

constexpr std::int32_t countBefore = 77; // a program count that no record here has

const std::string patLines = "MPEGtopic received: MPEG-STRUCT-PAT\n"
                             "Published MPEG PAT Received: Topic MPEG-STRUCT-PAT\n"
                             "Recv PAT TOPIC size 1240 msgl 1240\n";

const std::string newStreamText = "\n\n\nNewstream in MPEGdata\n\n\n";

PatRecord patRecord(std::uint16_t pidListCount, std::int32_t newStreamFlag = 0) {
    PatRecord record{};
    record.pidListCount = pidListCount;
    record.newStreamFlag = newStreamFlag;
    record.programCount = 3;
    return record;
}

} // namespace

// The feed is open and takes every topic, known or not.
class Reception : public PeersTest {
  protected:
    Reception() {
        consoleOf([&] {
            init_mpeg_zmq_sub_context(&feed);
            zmq_setsockopt(feed.subscriber_1, ZMQ_SUBSCRIBE, "", 0);
        });
    }

    // What one call prints, and its result as the last line.
    std::string receive() {
        const std::string console = consoleOf([&] { status = receiveMpegTopic(&feed, &count); });
        return console + "= " + std::to_string(status) + "\n";
    }

    std::string receive(const Message& message) {
        parser.publishNext(message);
        return receive();
    }

    ScriptedParser parser;
    FeedContext feed{};
    std::int32_t count = countBefore;
    std::int32_t status = 0;
};

TEST_F(Reception, PatIsAnnouncedReceivedAndCounted) {
    const PatRecord record = patRecord(12);
    EXPECT_EQ(receive(published(patTopic, record)), patLines + "PAT Newstream Flag 0 PIDs 12\n= 0\n");
    EXPECT_EQ(bytesOf(newestRecords.pat), bytesOf(record));
    EXPECT_EQ(bytesOf(previousRecords.pat), bytesOf(record));
    EXPECT_EQ(feed.changedTopics, 0x001);
    EXPECT_EQ(feed.receivedMask, 0x11U);
    EXPECT_EQ(count, 3);
    EXPECT_STREQ(feed.currentTopic, "MPEG-STRUCT-PAT");
}

// What the other eight topics print, and the bits that they set.
struct OtherTopic {
    Topic topic;
    TopicBits changed;
    CaptureBits captured;
    const char* console;
};

class ReceptionOf : public Reception, public testing::WithParamInterface<OtherTopic> {};

INSTANTIATE_TEST_SUITE_P(
    Topics, ReceptionOf,
    testing::Values(
        OtherTopic{sdtTopic, 0x008, 0x12,
                   "MPEGtopic received: MPEG-STRUCT-SDT\n"
                   "Published MPEG SDT Received: Topic MPEG-STRUCT-SDT size 5552 msgl 5552\n"},
        OtherTopic{catTopic, 0x080, 0x10,
                   "MPEGtopic received: MPEG-STRUCT-CAT\n"
                   "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 60\n"},
        OtherTopic{nitTopic, 0x010, 0x10,
                   "MPEGtopic received: MPEG-STRUCT-NIT\n"
                   "Published MPEG NIT Received: Topic MPEG-STRUCT-NIT size 2280 msgl 2280\n"},
        OtherTopic{eitTopic, 0x040, 0x10,
                   "MPEGtopic received: MPEG-STRUCT-EIT\n"
                   "Published MPEG EIT Received: Topic MPEG-STRUCT-EIT size 6504, msgl 6504\n"},
        OtherTopic{tdtTopic, 0x020, 0x10,
                   "MPEGtopic received: MPEG-STRUCT-TDT\n"
                   "Published MPEG TDT Received: Topic MPEG-STRUCT-TDT\n"},
        OtherTopic{pmtTopic, 0x002, 0x20,
                   "MPEGtopic received: MPEG-STRUCT-PMT\n"
                   "Published MPEG PMT Received: Topic MPEG-STRUCT-PMT msgl 27376 size 27376\n"},
        OtherTopic{tsStatusTopic, 0x004, 0x80,
                   "MPEGtopic received: MPEG-STRUCT-TS-STATUS\n"
                   "Published MPEG STAT Received: Topic MPEG-STRUCT-TS-STATUS msgl 2308 size 2308\n"},
        OtherTopic{avPgmTopic, 0x100, 0x40,
                   "MPEGtopic received: MPEG-STRUCT-AVPGM\n"
                   "Published MPEG AVPGM Received: Topic MPEG-STRUCT-AVPGM msgl 29280 size 29280\n"}),
    [](const auto& row) {
        std::string name = row.param.topic.name;
        std::erase(name, '-');
        return name;
    });

TEST_P(ReceptionOf, ARecordIsStoredReportedAndMarked) {
    const Topic& topic = GetParam().topic;
    const std::string bytes(topic.size, '\x2A');
    EXPECT_EQ(receive({topic.name, "1", bytes}), std::string(GetParam().console) + "= 0\n");
    const auto stored = [&](RecordSet& records) {
        return std::string(reinterpret_cast<const char*>(&records) + topic.offset, topic.size);
    };
    EXPECT_EQ(stored(newestRecords), bytes);
    EXPECT_EQ(stored(previousRecords), bytes);
    EXPECT_EQ(feed.changedTopics, GetParam().changed);
    EXPECT_EQ(feed.receivedMask, GetParam().captured);
    EXPECT_EQ(count, countBefore);
}

TEST_P(ReceptionOf, ARecordEqualToTheOneBeforeClearsOnlyItsOwnChangeBit) {
    const Topic& topic = GetParam().topic;
    const Message message{topic.name, "1", std::string(topic.size, '\x2A')};
    receive(message);
    feed.changedTopics = allTopicBits;
    feed.receivedMask = 0;
    receive(message);
    EXPECT_EQ(feed.changedTopics, allTopicBits & ~GetParam().changed);
    EXPECT_EQ(feed.receivedMask, GetParam().captured);
}

class ReceptionOfEach : public Reception, public testing::WithParamInterface<Topic> {};

INSTANTIATE_TEST_SUITE_P(Topics, ReceptionOfEach, testing::ValuesIn(topics), [](const auto& row) {
    std::string name = row.param.name;
    std::erase(name, '-');
    return name;
});

TEST_P(ReceptionOfEach, AMessageOfMorePartsIsReportedAndTakesNoPartInChangeDetection) {
    const Topic& topic = GetParam();
    const std::string bytes(topic.size, '\x2A');
    const char* expected = GetParam().bit == patBit   ? "Error: More than 3 part MPEG PUB PAT\n= -1\n"
                           : GetParam().bit == sdtBit ? "Error: More than 3 part MPEG PUB SDT\n= -1\n"
                           : GetParam().bit == catBit ? "Error: More than 3 part MPEG PUB CAT\n= -1\n"
                           : GetParam().bit == nitBit ? "Error: More than 3 part MPEG PUB NIT\n= -1\n"
                           : GetParam().bit == eitBit ? "Error: More than 3 part MPEG PUB EIT\n= -1\n"
                           : GetParam().bit == tdtBit ? "Error: More than 3 part MPEG PUB TDT\n= -1\n"
                           : GetParam().bit == pmtBit ? "Error: More than 3 part MPEG PUB PMT\n= -1\n"
                                                      : "Error: More than 3 part MPEG PUB STAT\n= -1\n";
    failMoreQuery(3, 1);
    EXPECT_TRUE(receive({topic.name, "1", bytes}).ends_with(expected));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&newestRecords) + topic.offset, topic.size), bytes);
    EXPECT_EQ(bytesOf(previousRecords), std::string(sizeof previousRecords, '\0'));
    EXPECT_EQ(feed.changedTopics, 0);
    EXPECT_EQ(feed.receivedMask, 0U);
    EXPECT_EQ(count, countBefore);
}

TEST_P(ReceptionOfEach, ARecordLongerThanItsSizeIsCutAndLeavesItsNeighboursAlone) {
    const Topic& topic = GetParam();
    std::string store(sizeof newestRecords, '\x55');
    std::memcpy(static_cast<void*>(&newestRecords), store.data(), store.size());
    const std::string bytes(topic.size + 100, '\x2A');
    receive({topic.name, "1", bytes});
    EXPECT_EQ(status, 0);
    store.replace(topic.offset, topic.size, bytes, 0, topic.size);
    EXPECT_EQ(bytesOf(newestRecords), store);
    std::string previous(sizeof previousRecords, '\0');
    previous.replace(topic.offset, topic.size, bytes, 0, topic.size);
    EXPECT_EQ(bytesOf(previousRecords), previous);
}

TEST_P(ReceptionOfEach, ARecordThatCannotBeReceivedIsABrokenMessage) {
    const Topic& topic = GetParam();
    failCall(Call::receive, 3, ETERM);
    receive({topic.name, "1", std::string(topic.size, '\x2A')});
    EXPECT_EQ(status, -1);
    EXPECT_EQ(bytesOf(newestRecords), std::string(sizeof newestRecords, '\0'));
    EXPECT_EQ(bytesOf(previousRecords), std::string(sizeof previousRecords, '\0'));
    EXPECT_EQ(feed.changedTopics, 0);
    EXPECT_EQ(feed.receivedMask, 0U);
    EXPECT_EQ(count, countBefore);
}

TEST_F(Reception, TheReportedLengthOfALongRecordIsTheReceivedOne) {
    EXPECT_EQ(receive({"MPEG-STRUCT-CAT", "1", std::string(160, '\1')}),
              "MPEGtopic received: MPEG-STRUCT-CAT\n"
              "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 160\n= 0\n");
}

TEST_F(Reception, TheSamePatTwiceHasChangedOnlyOnce) {
    const Message message = published(patTopic, patRecord(4));
    receive(message);
    EXPECT_EQ(feed.changedTopics, 0x001);
    EXPECT_EQ(feed.receivedMask, 0x11U);
    feed.receivedMask = 0;
    EXPECT_EQ(receive(message), patLines + "PAT Newstream Flag 0 PIDs 4\n= 0\n");
    EXPECT_EQ(feed.changedTopics, 0x000);
    EXPECT_EQ(feed.receivedMask, 0x11U);
}

TEST_F(Reception, CaptureAndChangeBitsOfDifferentTopicsAddUp) {
    receive(published(patTopic, patRecord(4)));
    receive({"MPEG-STRUCT-TS-STATUS", "1", std::string(2308, '\1')});
    receive({"MPEG-STRUCT-PMT", "1", std::string(27376, '\1')});
    EXPECT_EQ(feed.receivedMask, 0xB1U);
    EXPECT_EQ(feed.changedTopics, 0x007);
}

TEST_F(Reception, AFirstRecordOfZerosHasNotChanged) {
    receive(published(catTopic, CatRecord{}));
    EXPECT_EQ(feed.changedTopics, 0x000);
    EXPECT_EQ(feed.receivedMask, 0x10U);
}

TEST_F(Reception, APatWithoutPidsAnnouncesANewStream) {
    receive(published(patTopic, patRecord(4)));
    count = countBefore;
    feed.changedTopics = 0x105;
    const PatRecord announcing = patRecord(0);
    EXPECT_EQ(receive(published(patTopic, announcing)),
              patLines + "PAT Newstream Flag 0 PIDs 0\n" + newStreamText + "= -2\n");
    EXPECT_EQ(feed.receivedMask, 0U);
    EXPECT_EQ(feed.changedTopics, 0x105);
    EXPECT_EQ(count, countBefore);
    EXPECT_EQ(bytesOf(newestRecords.pat), bytesOf(announcing));
    EXPECT_EQ(bytesOf(previousRecords.pat), bytesOf(patRecord(4)));
}

TEST_F(Reception, APatWithTheNewStreamMarkAnnouncesANewStream) {
    feed.receivedMask = 0xB1;
    EXPECT_EQ(receive(published(patTopic, patRecord(4, -31))),
              patLines + "PAT Newstream Flag -31 PIDs 4\n" + newStreamText + "= -2\n");
    EXPECT_EQ(feed.receivedMask, 0U);
    EXPECT_EQ(feed.changedTopics, 0);
    EXPECT_EQ(count, countBefore);
    EXPECT_EQ(bytesOf(previousRecords.pat), bytesOf(PatRecord{}));
}

TEST_F(Reception, OtherNewStreamFlagsAreAnEstablishedStream) {
    EXPECT_EQ(receive(published(patTopic, patRecord(4, -30))),
              patLines + "PAT Newstream Flag -30 PIDs 4\n= 0\n");
    EXPECT_EQ(receive(published(patTopic, patRecord(4, 31))),
              patLines + "PAT Newstream Flag 31 PIDs 4\n= 0\n");
    EXPECT_EQ(feed.receivedMask, 0x11U);
}

TEST_F(Reception, ABrokenPatAnnouncesNoNewStream) {
    feed.receivedMask = 0xB1;
    failMoreQuery(3, 1);
    EXPECT_EQ(receive(published(patTopic, patRecord(0))),
              patLines + "Error: More than 3 part MPEG PUB PAT\n= -1\n");
    EXPECT_EQ(feed.receivedMask, 0xB1U);
}

TEST_F(Reception, AProgramCountIsTakenAsItStands) {
    PatRecord record = patRecord(4);
    record.programCount = -5;
    receive(published(patTopic, record));
    EXPECT_EQ(count, -5);
}

TEST_F(Reception, AShortRecordReplacesComparesAndCopiesOnlyItsOwnLength) {
    receive({"MPEG-STRUCT-CAT", "1", std::string(60, '\x11')});
    EXPECT_EQ(receive({"MPEG-STRUCT-CAT", "1", std::string(20, '\x22')}),
              "MPEGtopic received: MPEG-STRUCT-CAT\n"
              "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 20\n= 0\n");
    const std::string mixed = std::string(20, '\x22') + std::string(40, '\x11');
    EXPECT_EQ(bytesOf(newestRecords.cat), mixed);
    EXPECT_EQ(bytesOf(previousRecords.cat), mixed);
    EXPECT_EQ(feed.changedTopics, 0x080);
}

TEST_F(Reception, BytesBehindAShortRecordTakeNoPartInTheComparison) {
    receive({"MPEG-STRUCT-CAT", "1", std::string(60, '\x11')});
    newestRecords.cat.pidRate = 800.0F; // as the service itself writes it
    receive({"MPEG-STRUCT-CAT", "1", std::string(20, '\x11')});
    EXPECT_EQ(feed.changedTopics, 0x000);
    EXPECT_EQ(newestRecords.cat.pidRate, 800.0F);
}

TEST_F(Reception, AnEmptyRecordChangesNothingButCounts) {
    receive({"MPEG-STRUCT-CAT", "1", std::string(60, '\x11')});
    feed.receivedMask = 0;
    EXPECT_EQ(receive({"MPEG-STRUCT-CAT", "1", ""}),
              "MPEGtopic received: MPEG-STRUCT-CAT\n"
              "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 0\n= 0\n");
    EXPECT_EQ(bytesOf(newestRecords.cat), std::string(60, '\x11'));
    EXPECT_EQ(feed.changedTopics, 0x000);
    EXPECT_EQ(feed.receivedMask, 0x10U);
}

TEST_F(Reception, AnUnknownTopicIsNamedAndItsRecordIsTakenForATopicByTheNextCall) {
    parser.publishNext({{"MPEG-STRUCT-BAT", "1", "left over"}, {"MPEG-STRUCT-CAT", "1", "record"}});
    EXPECT_EQ(receive(), "MPEGtopic received: MPEG-STRUCT-BAT\nNo TOPIC match for MPEG-STRUCT-BAT\n= 0\n");
    EXPECT_EQ(receive(), "MPEGtopic received: left over\nNo TOPIC match for left over\n= 0\n");
    EXPECT_EQ(feed.receivedMask, 0U);
    EXPECT_EQ(parser.unpublished(), 0U);
}

TEST_F(Reception, TopicsAreComparedAsWholeStrings) {
    EXPECT_EQ(receive({"MPEG-STRUCT-PATX", "1", ""}),
              "MPEGtopic received: MPEG-STRUCT-PATX\nNo TOPIC match for MPEG-STRUCT-PATX\n= 0\n");
    receive(); // the rest of that message
    EXPECT_EQ(feed.receivedMask, 0U);
}

TEST_F(Reception, ATopicPrefixIsUnknown) {
    EXPECT_EQ(receive({"MPEG-STRUCT-PA", "1", ""}),
              "MPEGtopic received: MPEG-STRUCT-PA\nNo TOPIC match for MPEG-STRUCT-PA\n= 0\n");
}

TEST_F(Reception, AnEmptyTopicIsUnknown) {
    EXPECT_EQ(receive({"", "1", ""}), "MPEGtopic received: \nNo TOPIC match for \n= 0\n");
}

TEST_F(Reception, ATopicOfTwentyFiveBytesIsTakenWhole) {
    EXPECT_EQ(receive({"ABCDEFGHIJKLMNOPQRSTUVWXY", "1", ""}),
              "MPEGtopic received: ABCDEFGHIJKLMNOPQRSTUVWXY\n"
              "No TOPIC match for ABCDEFGHIJKLMNOPQRSTUVWXY\n= 0\n");
}

TEST_F(Reception, ALongerTopicIsCutToTwentyFiveBytes) {
    const CaptureBits mask = feed.receivedMask = 0x5A5A5A5A;
    EXPECT_EQ(receive({"ABCDEFGHIJKLMNOPQRSTUVWXYZ and more than any buffer holds", "1", ""}),
              "MPEGtopic received: ABCDEFGHIJKLMNOPQRSTUVWXY\n"
              "No TOPIC match for ABCDEFGHIJKLMNOPQRSTUVWXY\n= 0\n");
    EXPECT_EQ(feed.receivedMask, mask);
}

TEST_F(Reception, TheSecondPartMayHoldAnything) {
    receive({"MPEG-STRUCT-CAT", "", std::string(60, '\1')});
    EXPECT_EQ(feed.receivedMask, 0x10U);
    receive({"MPEG-STRUCT-NIT", "0123456789", std::string(2280, '\1')});
    EXPECT_EQ(feed.changedTopics, 0x090);
    receive({"MPEG-STRUCT-EIT", std::string(5000, 'x'), std::string(6504, '\1')});
    EXPECT_EQ(feed.changedTopics, 0x0D0);
}

TEST_F(Reception, AFourthPartIsNotNoticedAndIsTakenForATopicByTheNextCall) {
    parser.publishNext({{"MPEG-STRUCT-CAT", "1", std::string(60, '\1'), "fourth"}, {"MPEG-STRUCT-NIT"}});
    EXPECT_EQ(receive(), "MPEGtopic received: MPEG-STRUCT-CAT\n"
                         "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 60\n= 0\n");
    EXPECT_EQ(receive(), "MPEGtopic received: fourth\nNo TOPIC match for fourth\n= 0\n");
}

TEST_F(Reception, AMissingThirdPartTakesTheNextMessagesTopicForTheRecord) {
    parser.publishNext({{"MPEG-STRUCT-CAT", "1"}, {"MPEG-STRUCT-NIT", "1", ""}});
    EXPECT_EQ(receive(), "MPEGtopic received: MPEG-STRUCT-CAT\n"
                         "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 15\n= 0\n");
    EXPECT_EQ(bytesOf(newestRecords.cat).substr(0, 15), "MPEG-STRUCT-NIT");
}

TEST_F(Reception, AFailedQueryBehindTheTopicIsABrokenMessage) {
    failCall(Call::option, 1, ETERM);
    EXPECT_EQ(receive(published(catTopic, CatRecord{})), "MPEGtopic received: MPEG-STRUCT-CAT\n= -1\n");
    EXPECT_EQ(feed.receivedMask, 0U);
}

TEST_F(Reception, AFailedQueryBehindTheSecondPartIsABrokenMessage) {
    failMoreQuery(2, 0);
    EXPECT_EQ(receive(published(catTopic, CatRecord{})), "MPEGtopic received: MPEG-STRUCT-CAT\n= -1\n");
    EXPECT_EQ(feed.receivedMask, 0U);
}

TEST_F(Reception, FailedQueriesThatLeaveTheMoreFlagSetAreNotLookedAtBeforeTheRecord) {
    failMoreQuery(1, 1);
    failMoreQuery(2, 1);
    receive(published(catTopic, CatRecord{}));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(feed.receivedMask, 0x10U);
}

TEST_F(Reception, AFailedQueryBehindTheRecordThatLeavesTheMoreFlagClearIsNotLookedAt) {
    failMoreQuery(3, 0);
    receive(published(catTopic, CatRecord{}));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(feed.receivedMask, 0x10U);
}

class ReceptionOfPart : public Reception, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Parts, ReceptionOfPart, testing::Values(1, 2, 3),
                         [](const auto& part) { return "Part" + std::to_string(part.param); });

TEST_P(ReceptionOfPart, AnInterruptedWaitIsTakenUpAgain) {
    failCall(Call::receive, GetParam(), EINTR);
    EXPECT_EQ(receive({"MPEG-STRUCT-CAT", "1", std::string(60, '\1')}),
              "MPEGtopic received: MPEG-STRUCT-CAT\n"
              "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 60\n= 0\n");
    EXPECT_EQ(feed.changedTopics, 0x080);
}

TEST_P(ReceptionOfPart, AFailedReceiveIsABrokenMessage) {
    feed.receivedMask = 0x80;
    feed.changedTopics = 0x004;
    failCall(Call::receive, GetParam(), ETERM);
    receive(published(patTopic, patRecord(4)));
    EXPECT_EQ(status, -1);
    EXPECT_EQ(feed.receivedMask, 0x80U);
    EXPECT_EQ(feed.changedTopics, 0x004);
    EXPECT_EQ(count, countBefore);
}
