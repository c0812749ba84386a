#include "recording.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

using board::RecordedMessage;
using board::RecordingReader;
using board::RecordingWriter;
using std::chrono::microseconds;

class Recording : public testing::Test {
  protected:
    ~Recording() override {
        std::filesystem::remove(path);
    }

    std::string problem() const {
        try {
            RecordingReader reader(path);
            while (reader.next()) {
            }
            return "none";
        } catch (const board::BoardError& error) {
            return error.what();
        }
    }

    std::string path = testing::TempDir() + "recording-" + std::to_string(::getpid());
};

std::string textOf(const RecordedMessage& message) {
    return std::to_string(message.time.count()) + " " + message.topic + " " + message.second + " " +
           std::string(message.record.begin(), message.record.end());
}

TEST_F(Recording, GivesBackWhatWasWritten) {
    {
        RecordingWriter writer(path);
        writer.append({microseconds(0), "A", "1", {'x', 'y'}});
        writer.append({microseconds(250000), "B", "", {'z'}});
        writer.append({microseconds(250001), "A", "3", {'x', 'y'}});
        writer.append({microseconds(500000), "A", "4", {'n'}});
    }
    RecordingReader reader(path);
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(textOf(reader.next().value()), "0 A 1 xy");
        EXPECT_EQ(textOf(reader.next().value()), "250000 B  z");
        EXPECT_EQ(textOf(reader.next().value()), "250001 A 3 xy");
        EXPECT_EQ(textOf(reader.next().value()), "500000 A 4 n");
        EXPECT_FALSE(reader.next());
        reader.rewind();
    }
}

TEST_F(Recording, WritesARecordThatDidNotChangeOnlyOnce) {
    {
        RecordingWriter writer(path);
        for (int k = 0; k < 10; ++k) {
            writer.append({microseconds(k), "TOPIC", "", std::vector<std::uint8_t>(10000)});
        }
    }
    EXPECT_EQ(std::filesystem::file_size(path), 19U + 10U * (8 + 1 + 1 + 4 + 5) + 10000U);
}

TEST_F(Recording, SaysWhatIsWrongWithTheFile) {
    const std::string expected = ": expected a recording of mpegfe-board, version 1, got ";
    const std::string advice = "; record it anew, or name another file";
    EXPECT_EQ(problem(), "cannot open " + path +
                             ": expected a recording, got No such file or directory; check the path and its "
                             "permissions");
    std::ofstream(path) << "mpegfe-recording 2\n....";
    EXPECT_EQ(problem(),
              "cannot replay " + path + expected + "another beginning than \"mpegfe-recording 1\"" + advice);
    RecordingWriter(path).append({microseconds(0), "A", "1", {'x', 'y'}});
    EXPECT_EQ(problem(), "none");
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 1);
    EXPECT_EQ(problem(),
              "cannot replay " + path + expected + "the end of the file inside a message" + advice);
}

} // namespace
