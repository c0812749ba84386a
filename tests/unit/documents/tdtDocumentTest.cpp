#include "documents/tdtDocument.h"
#include "support/documents.h"
#include "support/records.h"

#include <gtest/gtest.h>
#include <string>

namespace {

std::string documentFor(std::uint8_t tableId, std::uint16_t date, std::string_view time) {
    TdtRecord record{};
    record.tableId = tableId;
    record.dateMjd = date;
    setField(record.timeOfDay, time);
    record.pidRate = 40.0F;
    return documentOf([&](DocumentBuffer& out) { return buildTdtJson(record, out); });
}

} // namespace

TEST(TdtDocument, ShowsTheDateAsItsDayNumberAndTheTimeAsItStands) {
    EXPECT_EQ(documentFor(0x70, 60000, "12:34:56"),
              R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{)"
              R"("tableID":"0x70","Date:MJD":"60000","TOD":"12:34:56",)"
              R"("pidRate":"   0.040Kbps")"
              R"(}})");
}

TEST(TdtDocument, ATimeMayBeEmptyOrFillItsField) {
    EXPECT_EQ(documentFor(0xFF, 65535, ""), R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{)"
                                            R"("tableID":"0xff","Date:MJD":"65535","TOD":"",)"
                                            R"("pidRate":"   0.040Kbps"}})");
    EXPECT_EQ(documentFor(0, 0, "12:34:56.789"), R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{)"
                                                 R"("tableID":"0x0","Date:MJD":"0","TOD":"12:34:56.789",)"
                                                 R"("pidRate":"   0.040Kbps"}})");
}
