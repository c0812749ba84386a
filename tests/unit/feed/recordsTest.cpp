// The layouts themselves are proved in records.h; these tests read the records through bytes on the wire.
#include "wire/records.h"
#include "support/records.h"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

// A record out of a byte image that is zero but for a little-endian value at one offset.
template <typename Record, typename Value>
Record recordWith(std::size_t offset, Value value) {
    std::vector<unsigned char> image(sizeof(Record));
    std::memcpy(image.data() + offset, &value, sizeof value);
    Record record;
    std::memcpy(&record, image.data(), sizeof record);
    return record;
}

} // namespace

TEST(Records, HaveTheSizesThatArePublished) {
    EXPECT_EQ(sizeof(PatRecord), 1240U);
    EXPECT_EQ(sizeof(SdtRecord), 5552U);
    EXPECT_EQ(sizeof(CatRecord), 60U);
    EXPECT_EQ(sizeof(NitRecord), 2280U);
    EXPECT_EQ(sizeof(EitRecord), 6504U);
    EXPECT_EQ(sizeof(TdtRecord), 28U);
    EXPECT_EQ(sizeof(PmtRecord), 27376U);
    EXPECT_EQ(sizeof(TsStatusRecord), 2308U);
    EXPECT_EQ(sizeof(AvPgmRecord), 29280U);
}

TEST(Records, NumbersAreLittleEndian) {
    const auto record = recordWith<PatRecord>(1104, std::uint8_t{0x34});
    EXPECT_EQ(record.pidListCount, 0x0034);
    EXPECT_EQ(recordWith<PatRecord>(1105, std::uint8_t{0x12}).pidListCount, 0x1200);
}

TEST(Records, ProgramCountAndNewStreamFlagAreSigned) {
    EXPECT_EQ(recordWith<PatRecord>(552, 0xFFFFFFFFU).programCount, -1);
    EXPECT_EQ(recordWith<PatRecord>(1108, 0xFFFFFFE1U).newStreamFlag, -31);
}

TEST(Records, LastRateOfTheStatisticsIsAtPosition127) {
    EXPECT_EQ(recordWith<TsStatusRecord>(2296, 192000.0F).pidStats[127].rate, 192000.0F);
    EXPECT_EQ(recordWith<TsStatusRecord>(264, 15040.0F).pidStats[0].rate, 15040.0F);
}

TEST(Records, RateOfAnAbsentPidIsInTheHeadOfTheStatistics) {
    EXPECT_EQ(recordWith<TsStatusRecord>(248, 1500.0F).absentPidRate, 1500.0F);
}

TEST(Records, SixEcmPidsEndWhereTheVideoPidBegins) {
    constexpr std::size_t slot = 464;
    EXPECT_EQ(recordWith<PmtRecord>(slot + 32, std::uint16_t{1500}).slots[1].ecmPids[5], 1500);
    EXPECT_EQ(recordWith<PmtRecord>(slot + 34, std::uint16_t{256}).slots[1].videoPid, 256);
}

TEST(Records, LastPmtSlotEndsTheRecord) {
    EXPECT_EQ(recordWith<PmtRecord>(std::size_t{464} * 58 + 12, std::uint16_t{4096}).slots[58].pmtPid, 4096);
}

TEST(Records, TwelveAudioTracksEndWhereThePrivateCountBegins) {
    constexpr std::size_t slot = std::size_t{488} * 59;
    EXPECT_EQ(recordWith<AvPgmRecord>(slot + 76 + 24 * 11, std::uint16_t{257}).slots[59].audio[11].pid, 257);
    EXPECT_EQ(recordWith<AvPgmRecord>(slot + 81 + 24 * 11, std::uint8_t{10}).slots[59].audio[11].bitRateIndex,
              10);
    EXPECT_EQ(
        recordWith<AvPgmRecord>(slot + 82 + 24 * 11, std::uint8_t{2}).slots[59].audio[11].sampleRateIndex, 2);
    EXPECT_EQ(recordWith<AvPgmRecord>(slot + 83 + 24 * 11, std::uint8_t{3}).slots[59].audio[11].modeIndex, 3);
    EXPECT_EQ(recordWith<AvPgmRecord>(slot + 86 + 24 * 11, std::uint16_t{1}).slots[59].audio[11].scrambled,
              1);
    EXPECT_EQ(recordWith<AvPgmRecord>(slot + 356, std::uint16_t{12}).slots[59].privateCount, 12);
}

TEST(Records, TwelvePrivatePidsEndWhereAllScrambledBegins) {
    EXPECT_EQ(recordWith<AvPgmRecord>(358 + 10 * 11, std::uint16_t{600}).slots[0].privatePids[11].pid, 600);
    EXPECT_EQ(recordWith<AvPgmRecord>(478, std::uint16_t{1}).slots[0].allScrambled, 1);
}

TEST(Records, LastServiceAndEventAndDescriptorEndAtTheEndOfTheirArrays) {
    EXPECT_EQ(recordWith<SdtRecord>(16 + 92 * 59 + 54 + 37, 'x').services[59].serviceName[37], 'x');
    EXPECT_EQ(recordWith<SdtRecord>(5540, 7412000.0F).aggregateRate, 7412000.0F);
    EXPECT_EQ(recordWith<EitRecord>(24 + 108 * 59 + 72 + 35, 'x').events[59].description[35], 'x');
    EXPECT_EQ(recordWith<NitRecord>(60 + 222 * 9 + 221, 'x').descriptorEntries[9].descriptorText[220], 'x');
    EXPECT_EQ(recordWith<CatRecord>(14 + 4 * 9 + 2, std::uint16_t{1001}).caEntries[9].caPid, 1001);
}

TEST(Records, TablesKeepTheirTableIdAndRateInPlacesOfTheirOwn) {
    EXPECT_EQ(recordWith<CatRecord>(10, std::uint8_t{0x01}).tableId, 0x01);
    EXPECT_EQ(recordWith<TdtRecord>(20, std::uint8_t{0x70}).tableId, 0x70);
    EXPECT_EQ(recordWith<NitRecord>(6, std::uint16_t{0x40}).tableId, 0x40);
    EXPECT_EQ(recordWith<EitRecord>(6, std::uint16_t{0x4E}).tableId, 0x4E);
    EXPECT_EQ(recordWith<CatRecord>(56, 800.0F).pidRate, 800.0F);
    EXPECT_EQ(recordWith<NitRecord>(56, 800.0F).pidRate, 800.0F);
    EXPECT_EQ(recordWith<EitRecord>(20, 800.0F).pidRate, 800.0F);
    EXPECT_EQ(recordWith<TdtRecord>(24, 800.0F).pidRate, 800.0F);
    EXPECT_EQ(recordWith<SdtRecord>(5548, 800.0F).pidRate, 800.0F);
    EXPECT_EQ(recordWith<PatRecord>(800, 800.0F).pidRate, 800.0F);
}
