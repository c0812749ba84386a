#include "replay/recording.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace board {

namespace {

constexpr std::string_view signature = "mpegfe-recording 1\n";
constexpr std::uint32_t asBefore = 0xFFFFFFFF; // record length of a record equal to the topic's last one
constexpr std::size_t headSize = 8 + 1 + 1 + 4;

// Numbers are little-endian, as in the records.
static_assert(std::endian::native == std::endian::little);

template <class Number>
void put(std::ofstream& file, Number value) {
    file.write(reinterpret_cast<const char*>(&value), sizeof value);
}

// Takes a number from the front of the bytes.
template <class Number>
Number take(const char*& bytes) {
    Number value{};
    std::memcpy(&value, bytes, sizeof value);
    bytes += sizeof value;
    return value;
}

// A device or a pipe cannot be started over, and a directory opens like a file but does not read like one.
void checkKind(const std::string& path) {
    std::error_code error; // what cannot be looked at is told by the opening
    const auto status = std::filesystem::status(path, error);
    if (std::filesystem::is_directory(status)) {
        throw BoardError({"cannot read " + path, "a recording", "a directory", "name a file in it"});
    }
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw BoardError({"cannot read " + path, "a recording", "no regular file",
                          "name a file that can be read again from its beginning"});
    }
}

} // namespace

RecordingWriter::RecordingWriter(const std::string& path) : path_(path), file_(path, std::ios::binary) {
    if (!file_) {
        throw BoardError({"cannot write " + path, "a file that can be made there", std::strerror(errno),
                          "check the directory and its permissions"});
    }
    file_.write(signature.data(), static_cast<std::streamsize>(signature.size()));
    checkWritten();
}

std::optional<Misfit> RecordingWriter::append(const RecordedMessage& message) {
    if (auto reason = misfit(message)) {
        return reason;
    }
    const auto [newest, first] = newest_.try_emplace(message.topic);
    const bool same = !first && newest->second == message.record;
    put(file_, static_cast<std::uint64_t>(message.time.count()));
    put(file_, static_cast<std::uint8_t>(message.topic.size()));
    put(file_, static_cast<std::uint8_t>(message.second.size()));
    put(file_, same ? asBefore : static_cast<std::uint32_t>(message.record.size()));
    file_.write(message.topic.data(), static_cast<std::streamsize>(message.topic.size()));
    file_.write(message.second.data(), static_cast<std::streamsize>(message.second.size()));
    if (!same) {
        file_.write(reinterpret_cast<const char*>(message.record.data()),
                    static_cast<std::streamsize>(message.record.size()));
        newest->second = message.record;
    }
    checkWritten();
    return std::nullopt;
}

// What has been written is in the file, whatever ends the recording.
void RecordingWriter::checkWritten() {
    if (!file_.flush()) {
        throw BoardError({"cannot write " + path_, "room for the recording", std::strerror(errno),
                          "the recording ends before this message"});
    }
}

std::optional<Misfit> RecordingWriter::misfit(const RecordedMessage& message) const {
    struct Part {
        const char* name;
        std::size_t size;
        std::size_t most;
    };
    for (const Part& part : {Part{"a topic", message.topic.size(), longestText},
                             Part{"a second part", message.second.size(), longestText},
                             Part{"a record", message.record.size(), longestRecord}}) {
        if (part.size > part.most) {
            return Misfit{std::string(part.name) + " of at most " + std::to_string(part.most) + " bytes",
                          std::to_string(part.size) + " bytes"};
        }
    }
    if (newest_.size() == mostTopics && !newest_.contains(message.topic)) {
        return Misfit{"at most " + std::to_string(mostTopics) + " topics", "another one"};
    }
    return std::nullopt;
}

// The numbers that a message begins with.
struct RecordingReader::Head {
    std::uint64_t time; // microseconds
    std::uint8_t topicSize;
    std::uint8_t secondSize;
    std::uint32_t recordSize;
};

RecordingReader::RecordingReader(const std::string& path) : path_(path) {
    checkKind(path);
    file_.open(path, std::ios::binary);
    if (!file_) {
        throw BoardError({"cannot open " + path, "a recording", std::strerror(errno),
                          "check the path and its permissions"});
    }
    rewind();
}

void RecordingReader::rewind() {
    file_.clear();
    file_.seekg(0);
    newest_.clear();
    time_ = std::chrono::microseconds(0);
    count_ = 0;
    cutOff_ = false;
    std::string beginning(signature.size(), '\0');
    const std::size_t length = read(beginning.data(), beginning.size());
    if (length < signature.size()) {
        throw damaged(length == 0 ? "an empty file" : "a file of " + std::to_string(length) + " bytes");
    }
    if (beginning != signature) {
        throw damaged("another beginning than \"mpegfe-recording 1\"");
    }
}

std::optional<RecordedMessage> RecordingReader::next() {
    std::array<char, headSize> bytes{};
    const std::size_t length = read(bytes.data(), bytes.size());
    if (length < bytes.size()) {
        cutOff_ = cutOff_ || length > 0;
        return std::nullopt;
    }
    const char* rest = bytes.data();
    const Head head{take<std::uint64_t>(rest), take<std::uint8_t>(rest), take<std::uint8_t>(rest),
                    take<std::uint32_t>(rest)};
    checkHead(head);
    RecordedMessage message;
    message.time = std::chrono::microseconds(head.time);
    const bool repeats = head.recordSize == asBefore;
    message.record.resize(repeats ? 0 : head.recordSize);
    if (!readText(message.topic, head.topicSize) || !readText(message.second, head.secondSize) ||
        read(reinterpret_cast<char*>(message.record.data()), message.record.size()) < message.record.size()) {
        cutOff_ = true;
        return std::nullopt;
    }
    keep(message, repeats);
    return message;
}

// Times are bounded, so that whoever adds one to a clock stays inside the clock's numbers.
void RecordingReader::checkHead(const Head& head) const {
    if (head.time > static_cast<std::uint64_t>(longestTime.count())) {
        throw damagedMessage("a time after more than " + std::to_string(longestDays) + " days");
    }
    if (head.time < static_cast<std::uint64_t>(time_.count())) {
        throw damagedMessage("a time before that of the message before");
    }
    if (head.recordSize != asBefore && head.recordSize > longestRecord) {
        throw damagedMessage("a record of " + std::to_string(head.recordSize) + " bytes");
    }
}

// Remembers the message's record, or gives it the one that it repeats.
void RecordingReader::keep(RecordedMessage& message, bool repeats) {
    auto newest = newest_.find(message.topic);
    if (newest == newest_.end()) {
        if (repeats) {
            throw damagedMessage("no earlier record to repeat");
        }
        if (newest_.size() == mostTopics) {
            throw damagedMessage("more than " + std::to_string(mostTopics) + " topics");
        }
        newest = newest_.try_emplace(message.topic).first;
    }
    if (repeats) {
        message.record = newest->second;
    } else {
        newest->second = message.record;
    }
    time_ = message.time;
    ++count_;
}

// Returns how many bytes there were.
std::size_t RecordingReader::read(char* bytes, std::size_t size) {
    file_.read(bytes, static_cast<std::streamsize>(size));
    if (file_.bad()) {
        throw BoardError(
            {"cannot read " + path_, "a recording", std::strerror(errno), "check the disk that it is on"});
    }
    return static_cast<std::size_t>(file_.gcount());
}

// Returns whether there were that many bytes.
bool RecordingReader::readText(std::string& text, std::size_t size) {
    text.resize(size);
    return read(text.data(), size) == size;
}

BoardError RecordingReader::damaged(const std::string& got) const {
    return BoardError({"cannot replay " + path_, "a recording of mpegfe-board, version 1", got,
                       "record it anew, or name another file"});
}

BoardError RecordingReader::damagedMessage(const std::string& got) const {
    return damaged(got + " in message " + std::to_string(count_ + 1));
}

} // namespace board
