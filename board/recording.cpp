#include "recording.h"

#include <bit>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace board {

namespace {

constexpr std::string_view signature = "mpegfe-recording 1\n";
constexpr std::uint32_t asBefore = 0xFFFFFFFF; // record length of a record equal to the topic's last one
constexpr std::uint32_t longestRecord = 1024 * 1024;

// Numbers are little-endian, as in the records.
static_assert(std::endian::native == std::endian::little);

template <class Number>
void put(std::ofstream& file, Number value) {
    file.write(reinterpret_cast<const char*>(&value), sizeof value);
}

} // namespace

RecordingWriter::RecordingWriter(const std::string& path) : path_(path), file_(path, std::ios::binary) {
    if (!file_) {
        throw BoardError({"cannot write " + path, "a file that can be made there", std::strerror(errno),
                          "check the directory and its permissions"});
    }
    file_.write(signature.data(), static_cast<std::streamsize>(signature.size()));
}

void RecordingWriter::append(const RecordedMessage& message) {
    put(file_, static_cast<std::uint64_t>(message.time.count()));
    put(file_, static_cast<std::uint8_t>(message.topic.size()));
    put(file_, static_cast<std::uint8_t>(message.second.size()));
    auto& newest = newest_[message.topic];
    const bool same = newest == message.record;
    put(file_, same ? asBefore : static_cast<std::uint32_t>(message.record.size()));
    file_.write(message.topic.data(), static_cast<std::streamsize>(message.topic.size()));
    file_.write(message.second.data(), static_cast<std::streamsize>(message.second.size()));
    if (!same) {
        file_.write(reinterpret_cast<const char*>(message.record.data()),
                    static_cast<std::streamsize>(message.record.size()));
        newest = message.record;
    }
    file_.flush();
    if (!file_) {
        throw BoardError({"cannot write " + path_, "room for the recording", std::strerror(errno),
                          "the recording ends before this message"});
    }
}

RecordingReader::RecordingReader(const std::string& path) : path_(path), file_(path, std::ios::binary) {
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
    if (text(signature.size()) != signature) {
        throw damaged("another beginning than \"mpegfe-recording 1\"");
    }
}

std::optional<RecordedMessage> RecordingReader::next() {
    if (file_.peek() == std::ifstream::traits_type::eof()) {
        return std::nullopt;
    }
    RecordedMessage message;
    message.time = std::chrono::microseconds(number<std::uint64_t>());
    const auto topicSize = number<std::uint8_t>();
    const auto secondSize = number<std::uint8_t>();
    const auto recordSize = number<std::uint32_t>();
    message.topic = text(topicSize);
    message.second = text(secondSize);
    if (recordSize != asBefore) {
        if (recordSize > longestRecord) {
            throw damaged("a record of " + std::to_string(recordSize) + " bytes");
        }
        const std::string record = text(recordSize);
        newest_[message.topic].assign(record.begin(), record.end());
    }
    message.record = newest_[message.topic];
    return message;
}

template <class Number>
Number RecordingReader::number() {
    Number value{};
    if (!file_.read(reinterpret_cast<char*>(&value), sizeof value)) {
        throw damaged("the end of the file inside a message");
    }
    return value;
}

std::string RecordingReader::text(std::size_t size) {
    std::string bytes(size, '\0');
    if (!file_.read(bytes.data(), static_cast<std::streamsize>(size))) {
        throw damaged("the end of the file inside a message");
    }
    return bytes;
}

BoardError RecordingReader::damaged(const std::string& got) const {
    return BoardError({"cannot replay " + path_, "a recording of mpegfe-board, version 1", got,
                       "record it anew, or name another file"});
}

} // namespace board
