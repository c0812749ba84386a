// A recording of what a board published: every message with its time. The format is described in
// docs/recording-format.md.
#pragma once

#include "boardError.h"

#include "feed/topics.h"

#include <chrono>
#include <cstdint>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace board {

struct RecordedMessage {
    std::chrono::microseconds time{0}; // since the recording began
    std::string topic;
    std::string second; // the part that nobody uses
    std::vector<std::uint8_t> record;
};

class RecordingWriter {
  public:
    // Makes the file anew. Throws BoardError when it cannot be written.
    explicit RecordingWriter(const std::string& path);

    // Appends a message. Throws BoardError when the disk is full.
    void append(const RecordedMessage& message);

  private:
    std::string path_;
    std::ofstream file_;
    std::map<std::string, std::vector<std::uint8_t>> newest_; // by topic
};

class RecordingReader {
  public:
    // Opens a recording. Throws BoardError when it is missing or no recording of a version that is read here.
    explicit RecordingReader(const std::string& path);

    // The next message; nothing at the end. Throws BoardError where the recording is damaged.
    std::optional<RecordedMessage> next();

    // Starts over at the first message.
    void rewind();

  private:
    BoardError damaged(const std::string& got) const;
    template <class Number>
    Number number();
    std::string text(std::size_t size);

    std::string path_;
    std::ifstream file_;
    std::map<std::string, std::vector<std::uint8_t>> newest_; // by topic
};

} // namespace board
