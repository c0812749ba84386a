#include "replay/recording.h"

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
        return problemOf(path);
    }

    static std::string problemOf(const std::string& name) {
        try {
            RecordingReader reader(name);
            while (reader.next()) {
            }
            return "none";
        } catch (const board::BoardError& error) {
            return error.what();
        }
    }

    void fill(const std::string& bytes) const {
        std::ofstream(path, std::ios::binary) << bytes;
    }

    std::string path = testing::TempDir() + "recording-" + std::to_string(::getpid());
};

const std::string header = "mpegfe-recording 1\n";

// The numbers that a message begins with, little-endian.
std::string head(std::uint64_t time, unsigned topicSize, unsigned secondSize, std::uint32_t recordSize) {
    std::string bytes;
    const auto put = [&bytes](std::uint64_t value, int size) {
        for (int k = 0; k < size; ++k) {
            bytes += static_cast<char>(value >> (8 * k) & 0xFF);
        }
    };
    put(time, 8);
    put(topicSize, 1);
    put(secondSize, 1);
    put(recordSize, 4);
    return bytes;
}

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

TEST_F(Recording, GivesBackAFirstRecordOfNoBytes) {
    {
        RecordingWriter writer(path);
        writer.append({microseconds(0), "A", "", {}});
        writer.append({microseconds(1), "A", "", {}});
    }
    RecordingReader reader(path);
    EXPECT_EQ(textOf(reader.next().value()), "0 A  ");
    EXPECT_EQ(textOf(reader.next().value()), "1 A  ");
    EXPECT_FALSE(reader.next());
}

TEST_F(Recording, HoldsWhatTheFormatCanHoldAndNoMore) {
    const std::vector<std::uint8_t> longest(board::longestRecord, 'r');
    const std::string text(board::longestText, 't');
    {
        RecordingWriter writer(path);
        const auto refusal = [&writer](const RecordedMessage& message) {
            const auto misfit = writer.append(message);
            return misfit ? "expected " + misfit->expected + ", got " + misfit->got : "none";
        };
        EXPECT_EQ(refusal({microseconds(0), text, text, longest}), "none");
        EXPECT_EQ(refusal({microseconds(1), text + "t", "", {}}),
                  "expected a topic of at most 255 bytes, got 256 bytes");
        EXPECT_EQ(refusal({microseconds(1), "A", text + "t", {}}),
                  "expected a second part of at most 255 bytes, got 256 bytes");
        EXPECT_EQ(refusal({microseconds(1), "A", "", std::vector<std::uint8_t>(board::longestRecord + 1)}),
                  "expected a record of at most 1048576 bytes, got 1048577 bytes");
        for (std::size_t k = 1; k < board::mostTopics; ++k) {
            EXPECT_EQ(refusal({microseconds(2), std::to_string(k), "", {}}), "none");
        }
        EXPECT_EQ(refusal({microseconds(3), "one too many", "", {}}),
                  "expected at most 64 topics, got another one");
        EXPECT_EQ(refusal({board::longestTime, text, text, longest}), "none");
    }
    EXPECT_EQ(problem(), "none");
    RecordingReader reader(path);
    EXPECT_EQ(textOf(reader.next().value()),
              "0 " + text + " " + text + " " + std::string(longest.begin(), longest.end()));
    for (std::size_t k = 1; k < board::mostTopics; ++k) {
        EXPECT_EQ(textOf(reader.next().value()), "2 " + std::to_string(k) + "  ");
    }
    EXPECT_EQ(reader.next().value().time, board::longestTime);
    EXPECT_FALSE(reader.next());
}

TEST_F(Recording, EndsWithItsLastWholeMessageWhereverItIsCutOff) {
    RecordingWriter(path).append({microseconds(0), "A", "1", {'x', 'y'}});
    const auto whole = std::filesystem::file_size(path);
    std::string bytes(whole, '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(whole));
    const std::string message = bytes.substr(header.size());
    for (std::size_t rest = 1; rest < message.size(); ++rest) {
        fill(bytes + message.substr(0, rest));
        RecordingReader reader(path);
        for (int pass = 0; pass < 2; ++pass) {
            EXPECT_EQ(textOf(reader.next().value()), "0 A 1 xy");
            EXPECT_FALSE(reader.cutOff());
            EXPECT_FALSE(reader.next()) << rest;
            EXPECT_TRUE(reader.cutOff()) << rest;
            EXPECT_FALSE(reader.next()) << "it stays at its end";
            reader.rewind();
        }
    }
}

TEST_F(Recording, StandsInTheFileAsSoonAsItIsWritten) {
    RecordingWriter writer(path);
    EXPECT_EQ(std::filesystem::file_size(path), header.size());
    writer.append({microseconds(0), "A", "1", {'x', 'y'}});
    EXPECT_EQ(std::filesystem::file_size(path), header.size() + 8 + 1 + 1 + 4 + 1 + 1 + 2);
}

TEST_F(Recording, SaysThatThereIsNoRoom) {
    try {
        RecordingWriter("/dev/full");
        ADD_FAILURE() << "nothing fits there";
    } catch (const board::BoardError& error) {
        EXPECT_STREQ(error.what(),
                     "cannot write /dev/full: expected room for the recording, got No space left "
                     "on device; the recording ends before this message");
    }
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
    EXPECT_EQ(problem(), "none") << "a recording that was cut off is good up to there";
    fill("");
    EXPECT_EQ(problem(), "cannot replay " + path + expected + "an empty file" + advice);
    fill("mpeg");
    EXPECT_EQ(problem(), "cannot replay " + path + expected + "a file of 4 bytes" + advice);
}

TEST_F(Recording, SaysWhatIsNoFileToRead) {
    EXPECT_EQ(problemOf("/"), "cannot read /: expected a recording, got a directory; name a file in it");
    EXPECT_EQ(
        problemOf("/dev/null"),
        "cannot read /dev/null: expected a recording, got no regular file; name a file that can be read "
        "again from its beginning");
    EXPECT_EQ(problemOf("/proc/self/mem"), "cannot read /proc/self/mem: expected a recording, got "
                                           "Input/output error; check the disk that it is on");
}

TEST_F(Recording, SaysWhatIsWrongWithAMessage) {
    const auto damage = [this](const std::string& message) {
        fill(header + head(5, 1, 0, 1) + "Ax" + message);
        const std::string told = problem();
        const std::string before =
            "cannot replay " + path + ": expected a recording of mpegfe-board, version 1, got ";
        const std::string after = "; record it anew, or name another file";
        EXPECT_TRUE(told.starts_with(before) && told.ends_with(after)) << told;
        return told.substr(before.size(), told.size() - before.size() - after.size());
    };
    EXPECT_EQ(damage(head(4, 1, 0, 1) + "Ax"), "a time before that of the message before in message 2");
    const auto latest = static_cast<std::uint64_t>(board::longestTime.count());
    for (const std::uint64_t time : {latest + 1, std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
        EXPECT_EQ(damage(head(time, 1, 0, 1) + "Ax"), "a time after more than 366 days in message 2");
    }
    EXPECT_EQ(damage(head(5, 1, 0, board::longestRecord + 1)), "a record of 1048577 bytes in message 2");
    EXPECT_EQ(damage(head(5, 1, 0, 0xFFFFFFFF) + "B"), "no earlier record to repeat in message 2");
    std::string topics;
    for (int k = 0; k < 64; ++k) {
        topics += head(5, 1, 0, 0) + static_cast<char>('B' + k);
    }
    EXPECT_EQ(damage(topics), "more than 64 topics in message 65");
}

} // namespace
