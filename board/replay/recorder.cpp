#include "replay/recorder.h"

#include "boardError.h"
#include "publish/publisher.h"
#include "replay/recording.h"
#include "replay/replayedRecords.h"

#include "companions/stopSignals.h"
#include "wire/endpoints.h"
#include "wire/instructionWord.h"

#include <zmq.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace board {

namespace {

using Clock = std::chrono::steady_clock;
using companions::stopRequested;
using std::chrono::milliseconds;

zmq::socket_t connected(zmq::context_t& context, zmq::socket_type type, const std::string& endpoint) {
    zmq::socket_t socket(context, type);
    socket.set(zmq::sockopt::linger, 0);
    try {
        socket.connect(endpoint);
    } catch (const zmq::error_t& error) {
        throw BoardError(
            {"cannot connect to " + endpoint, "the address of a board", error.what(), "check --host"});
    }
    return socket;
}

// From here on libzmq's own functions wait, send and receive: with them a signal is a result and no
// exception.

// Waits this long for a message; false when none came in time or a signal did.
bool readable(zmq::socket_t& socket, milliseconds longest) {
    zmq_pollitem_t item{socket.handle(), 0, ZMQ_POLLIN, 0};
    return zmq_poll(&item, 1, static_cast<long>(longest.count())) > 0;
}

// Returns false when a signal came before the reply.
bool askForEverything(zmq::context_t& context) {
    zmq::socket_t instructor = connected(context, zmq::socket_type::req, wire::instructionEndpoint);
    const wire::InstructionWord word = wire::instructionWord(wire::allTopicBits);
    zmq_send(instructor.handle(), word.data(), word.size(), 0);
    const auto start = Clock::now();
    while (!readable(instructor, tunables::recordPoll) && !stopRequested()) {
        if (Clock::now() - start >= tunables::instructionPatience) {
            throw BoardError({"cannot instruct the board", "a reply to the instruction word", "none",
                              "start the board first, or leave out --instruct"});
        }
    }
    return !stopRequested();
}

using Bytes = std::vector<std::uint8_t>;

// A message of a publisher. A good one has three parts: topic, running number, record.
struct Message {
    static constexpr std::size_t goodCount = 3;

    std::array<Bytes, goodCount> parts;
    std::size_t count = 0; // of all parts, those beyond the good ones included
};

// The next message, without waiting; nothing when there is none or its receiving failed.
std::optional<Message> receiveMessage(zmq::socket_t& socket) {
    Message message;
    zmq::message_t part;
    bool more = true;
    while (more && zmq_msg_recv(part.handle(), socket.handle(), ZMQ_DONTWAIT) >= 0) {
        if (message.count < Message::goodCount) {
            const auto* data = part.data<std::uint8_t>();
            message.parts.at(message.count).assign(data, data + part.size());
        }
        ++message.count;
        more = part.more();
    }
    return more ? std::nullopt : std::optional(std::move(message));
}

std::string counted(std::size_t count, const std::string& name) {
    return std::to_string(count) + " " + name + (count == 1 ? "" : "s");
}

// Writes what arrives from a board.
class Recorder {
  public:
    explicit Recorder(const RecordOptions& options)
        : options_(options), endpoint_("tcp://" + options.host + ":" + wire::parserPort),
          subscriber_(connected(context_, zmq::socket_type::sub, endpoint_)) {
        subscriber_.set(zmq::sockopt::subscribe, "");
        if (!options.instruct || askForEverything(context_)) {
            writer_.emplace(options.file);
        }
    }

    void run() {
        if (!writer_) {
            return;
        }
        const milliseconds longest =
            std::min(options_.duration, std::chrono::duration_cast<milliseconds>(longestTime));
        const auto start = Clock::now();
        while (!stopRequested() && Clock::now() - start < longest) {
            if (readable(subscriber_, tunables::recordPoll)) {
                if (auto message = receiveMessage(subscriber_)) {
                    take(*message);
                }
            }
            if (Clock::now() - start >= tunables::recordPatience) {
                tellSilence();
            }
        }
        tellResult();
    }

  private:
    void take(const Message& message) {
        const auto now = Clock::now();
        first_ = first_.value_or(now);
        const auto misfit = write(message, now - *first_);
        ++(misfit ? leftOut_ : count_);
        if (misfit && told_.insert(misfit->expected).second) {
            say(describe({"left out a message", misfit->expected, misfit->got,
                          "further ones are left out without a line"}));
        }
    }

    // Gives the reason when the message cannot be written.
    std::optional<Misfit> write(const Message& message, Clock::duration time) {
        if (message.count != Message::goodCount) {
            return Misfit{counted(Message::goodCount, "part"), counted(message.count, "part")};
        }
        const auto& [topic, second, record] = message.parts;
        return writer_->append({std::chrono::duration_cast<std::chrono::microseconds>(time),
                                std::string(topic.begin(), topic.end()),
                                std::string(second.begin(), second.end()), record});
    }

    // Once, and only when nothing has arrived.
    void tellSilence() {
        if (!first_ && !silenceTold_) {
            silenceTold_ = true;
            say(describe({"nothing arrives", "messages of the board at " + endpoint_,
                          "none in " + std::to_string(tunables::recordPatience.count()) + " ms",
                          "still waiting, for a board that has been asked for topics"}));
        }
    }

    void tellResult() const {
        if (!first_ && !stopRequested()) {
            throw BoardError({"recorded nothing to " + options_.file, "messages of the board at " + endpoint_,
                              "none in " + std::to_string(options_.duration.count()) + " ms",
                              "start the board first, and let a client or --instruct ask it for topics"});
        }
        say("recorded " + std::to_string(count_) + " messages to " + options_.file +
            (leftOut_ == 0 ? "" : ", left out " + std::to_string(leftOut_)));
    }

    const RecordOptions& options_;
    std::string endpoint_;
    zmq::context_t context_;
    zmq::socket_t subscriber_;
    std::optional<RecordingWriter> writer_;  // once the board could be asked; an older file stays until then
    std::optional<Clock::time_point> first_; // message
    std::size_t count_ = 0;
    std::size_t leftOut_ = 0;
    bool silenceTold_ = false;
    std::set<std::string> told_; // what was expected of messages that were left out
};

// Publishes recorded messages and keeps the newest record of each topic for clients that join.
class Replay {
  public:
    explicit Replay(const ReplayOptions& options) : options_(options), reader_(options.file) {
        requireUsableMessage(reader_, options.file);
        publisher_.emplace(
            PublishOptions{options.address, options.interval,
                           options.deterministic ? SlowClient::isWaitedFor : SlowClient::missesMessages});
    }

    void run() {
        say("replaying " + options_.file + ", publishing on " + publisher_->endpoint() +
            ", instructed over " + wire::instructionEndpoint);
        do {
            runOnce();
        } while (!stopRequested() && !options_.once);
    }

  private:
    void runOnce() {
        reader_.rewind();
        if (options_.deterministic) {
            publisher_->awaitClient();
        }
        const auto start = now();
        while (const auto message = reader_.next()) {
            waitUntil(start + message->time);
            if (stopRequested()) {
                return;
            }
            if (const wire::Topic* topic = records_.take(*message)) {
                publisher_->publishTopic(*topic, message->record);
            }
        }
        tellCut();
        if (!options_.once) { // a recording of a moment is no reason to publish without a pause
            waitUntil(start + options_.interval);
        }
    }

    // Once, however often the recording is replayed.
    void tellCut() {
        if (reader_.cutOff() && !cutTold_) {
            cutTold_ = true;
            say(describe({options_.file + " is cut off",
                          "the rest of message " + std::to_string(reader_.count() + 1), "the end of the file",
                          "it is replayed up to the message before"}));
        }
    }

    // Attends to clients until it is time for the next message, once when it already is. Whoever joins in the
    // middle gets the newest record of every topic, however far the next message is.
    void waitUntil(Instant due) {
        do {
            const Instant left = std::clamp<Instant>(due - now(), Instant(0), tunables::joinPause);
            publisher_->attend(options_.fast ? milliseconds(0) : std::chrono::ceil<milliseconds>(left), -1,
                               now);
            sayWhatWasLeftOut();
            if (publisher_->clientJoined(now())) {
                publisher_->publishRound(records_.newest(), records_.known(), now());
            }
        } while (!stopRequested() && !options_.fast && now() < due);
    }

    static Instant now() {
        return Clock::now().time_since_epoch();
    }

    const ReplayOptions& options_;
    RecordingReader reader_;
    std::optional<Publisher> publisher_; // only for a recording that can be replayed
    ReplayedRecords records_{say};
    bool cutTold_ = false;
};

} // namespace

void record(const RecordOptions& options) {
    Recorder(options).run();
}

void replay(const ReplayOptions& options) {
    Replay(options).run();
}

} // namespace board
