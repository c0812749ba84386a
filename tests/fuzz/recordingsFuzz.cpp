// The software board's way from a recording to the records that a replay publishes: any bytes as the file.
#include "check.h"
#include "replay/recording.h"
#include "replay/replayedRecords.h"
#include "target.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

using board::RecordedMessage;
using board::RecordingReader;

// A file that is in memory alone.
class MemoryFile {
  public:
    MemoryFile() : descriptor_(::memfd_create("recording", MFD_CLOEXEC)) {
        check(descriptor_ >= 0, "there is a file");
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() {
        ::close(descriptor_);
    }

    void fill(const std::uint8_t* data, std::size_t size) const {
        check(::pwrite(descriptor_, data, size, 0) == static_cast<ssize_t>(size), "the file takes all bytes");
    }

    std::string path() const {
        return "/proc/self/fd/" + std::to_string(descriptor_);
    }

  private:
    int descriptor_;
};

// What a pass over a recording gives, and how it ends.
struct Pass {
    std::vector<RecordedMessage> messages;
    std::string damage; // none when empty
    bool cutOff = false;
};

Pass passOver(RecordingReader& reader) {
    Pass pass;
    try {
        while (auto message = reader.next()) {
            pass.messages.push_back(std::move(*message));
        }
    } catch (const board::BoardError& error) {
        pass.damage = error.what();
    }
    pass.cutOff = reader.cutOff();
    check(reader.count() == pass.messages.size(), "messages are counted");
    check(!pass.cutOff || pass.damage.empty(), "a file is cut off or damaged");
    return pass;
}

bool same(const RecordedMessage& one, const RecordedMessage& other) {
    return one.time == other.time && one.topic == other.topic && one.second == other.second &&
           one.record == other.record;
}

bool same(const Pass& one, const Pass& other) {
    return one.damage == other.damage && one.cutOff == other.cutOff &&
           std::ranges::equal(one.messages, other.messages,
                              [](const auto& left, const auto& right) { return same(left, right); });
}

void checkTimes(const std::vector<RecordedMessage>& messages) {
    const std::chrono::nanoseconds clock = std::chrono::hours(24) * 36525; // running for a century
    std::chrono::nanoseconds before = clock;
    for (const RecordedMessage& message : messages) {
        const std::chrono::nanoseconds due = clock + message.time;
        check(due >= before, "messages are due one after the other");
        before = due;
    }
}

// What was read can be recorded again, and reads the same.
void checkWritten(const std::vector<RecordedMessage>& messages) {
    const MemoryFile file;
    board::RecordingWriter writer(file.path());
    for (const RecordedMessage& message : messages) {
        check(!writer.append(message), "what was read can be written");
    }
    RecordingReader reader(file.path());
    check(same(passOver(reader), {messages, "", false}), "what was written reads the same");
}

// Returns how many of the messages a client can use.
std::size_t checkReplay(const std::vector<RecordedMessage>& messages) {
    std::vector<std::string> told;
    board::ReplayedRecords records([&told](const std::string& line) { told.push_back(line); });
    std::size_t usable = 0;
    for (const RecordedMessage& message : messages) {
        const wire::Topic* topic = records.take(message);
        if (topic == nullptr) {
            continue;
        }
        ++usable;
        const auto* kept = reinterpret_cast<const std::uint8_t*>(&records.newest()) + topic->offset;
        check(message.record.size() == topic->size &&
                  std::ranges::equal(message.record, std::span(kept, topic->size)),
              "the newest record is kept whole");
        check((records.known() & topic->bit) != 0, "a topic with a record is known");
    }
    check(told.size() <= board::mostTopics, "each topic is told once");
    for (const std::string& line : told) {
        check(std::ranges::all_of(line, [](unsigned char byte) { return std::isprint(byte) != 0; }),
              "lines can be shown");
    }
    return usable;
}

bool accepted(const std::string& path) {
    try {
        RecordingReader reader(path);
        board::requireUsableMessage(reader, path);
        return true;
    } catch (const board::BoardError&) {
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const MemoryFile file;
    file.fill(data, size);
    std::optional<RecordingReader> reader;
    try {
        reader.emplace(file.path());
    } catch (const board::BoardError&) {
        return 0;
    }
    const Pass pass = passOver(*reader);
    reader->rewind();
    check(same(passOver(*reader), pass), "each pass over a recording gives the same");
    checkTimes(pass.messages);
    checkWritten(pass.messages);
    const std::size_t usable = checkReplay(pass.messages);
    check(accepted(file.path()) == (usable > 0), "what can be replayed is accepted");
    return 0;
}
