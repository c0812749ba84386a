// A recording of what a board published: every message with its time. The format is described in
// docs/recording-format.md.
#pragma once

#include "boardError.h"

#include <chrono>
#include <cstdint>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace board {

// What the format holds.
inline constexpr std::size_t longestText = 255;           // bytes of a topic or a second part
inline constexpr std::size_t longestRecord = 1024 * 1024; // bytes
inline constexpr std::size_t mostTopics = 64;             // different ones in a recording
inline constexpr int longestDays = 366;                   // from its first message to its last
inline constexpr std::chrono::microseconds longestTime = std::chrono::hours(24) * longestDays;

struct RecordedMessage {
    std::chrono::microseconds time{0}; // since the recording began
    std::string topic;
    std::string second; // the part that nobody uses
    std::vector<std::uint8_t> record;
};

// The newest record of each topic, by topic.
using NewestRecords = std::map<std::string, std::vector<std::uint8_t>, std::less<>>;

// Why a message does not fit into a recording: what fits, and what the message has.
struct Misfit {
    std::string expected;
    std::string got;
};

class RecordingWriter {
  public:
    // Makes the file anew. Throws BoardError when it cannot be written, for want of room too.
    explicit RecordingWriter(const std::string& path);

    // Appends a message, whose time is from that of the message before up to longestTime. Gives the reason
    // for one that the format cannot hold, and leaves the file as it was. Throws BoardError when the disk is
    // full.
    std::optional<Misfit> append(const RecordedMessage& message);

  private:
    std::optional<Misfit> misfit(const RecordedMessage& message) const;
    void checkWritten();

    std::string path_;
    std::ofstream file_;
    NewestRecords newest_;
};

class RecordingReader {
  public:
    // Opens a recording. Throws BoardError when it is missing, no file that can be read, or no recording of a
    // version that is read here.
    explicit RecordingReader(const std::string& path);

    // The next message; nothing at the end, which is also where the file ends inside a message. Throws
    // BoardError where the recording is damaged.
    std::optional<RecordedMessage> next();

    // Whether the file ended inside a message.
    bool cutOff() const {
        return cutOff_;
    }

    // How many messages have been given since the first.
    std::size_t count() const {
        return count_;
    }

    // Starts over at the first message.
    void rewind();

  private:
    struct Head;
    void checkHead(const Head& head) const;
    void keep(RecordedMessage& message, bool repeats);
    std::size_t read(char* bytes, std::size_t size);
    bool readText(std::string& text, std::size_t size);
    BoardError damaged(const std::string& got) const;
    BoardError damagedMessage(const std::string& got) const;

    std::string path_;
    std::ifstream file_;
    NewestRecords newest_;
    std::chrono::microseconds time_{0}; // of the last message
    std::size_t count_ = 0;
    bool cutOff_ = false;
};

} // namespace board
