#include "recorder.h"

#include "boardError.h"
#include "publisher.h"
#include "recording.h"
#include "stop.h"

#include <zmq.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace board {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

template <auto release>
struct Release {
    void operator()(void* object) const {
        release(object);
    }
};
using Context = std::unique_ptr<void, Release<zmq_ctx_term>>;
using Socket = std::unique_ptr<void, Release<zmq_close>>;

Socket connected(const Context& context, int type, const std::string& endpoint) {
    Socket socket(zmq_socket(context.get(), type));
    const int linger = 0;
    zmq_setsockopt(socket.get(), ZMQ_LINGER, &linger, sizeof linger);
    if (zmq_connect(socket.get(), endpoint.c_str()) != 0) {
        throw BoardError({"cannot connect to " + endpoint, "the address of a board",
                          zmq_strerror(zmq_errno()), "check --host"});
    }
    return socket;
}

// Waits for a message until the deadline; false when none came in time or a signal did.
bool readable(const Socket& socket, milliseconds longest) {
    zmq_pollitem_t item{socket.get(), 0, ZMQ_POLLIN, 0};
    return zmq_poll(&item, 1, static_cast<long>(longest.count())) > 0;
}

void askForEverything(const Context& context) {
    const Socket instructor = connected(context, ZMQ_REQ, instructionEndpoint);
    const std::array<std::uint8_t, 2> word{allTopicBits & 0xFF, allTopicBits >> 8};
    zmq_send(instructor.get(), word.data(), word.size(), 0);
    if (!readable(instructor, tunables::instructionPatience)) {
        throw BoardError({"cannot instruct the board", "a reply to the instruction word", "none",
                          "start the board first, or leave out --instruct"});
    }
}

// One part of a message and whether more follow.
std::pair<std::vector<std::uint8_t>, bool> receivePart(const Socket& socket) {
    zmq_msg_t part;
    zmq_msg_init(&part);
    std::vector<std::uint8_t> bytes;
    bool more = false;
    if (zmq_msg_recv(&part, socket.get(), 0) >= 0) {
        const auto* data = static_cast<const std::uint8_t*>(zmq_msg_data(&part));
        bytes.assign(data, data + zmq_msg_size(&part));
        more = zmq_msg_more(&part) != 0;
    }
    zmq_msg_close(&part);
    return {std::move(bytes), more};
}

std::vector<std::vector<std::uint8_t>> receiveMessage(const Socket& socket) {
    std::vector<std::vector<std::uint8_t>> parts;
    for (bool more = true; more;) {
        auto [bytes, follows] = receivePart(socket);
        parts.push_back(std::move(bytes));
        more = follows;
    }
    return parts;
}

const Topic* topicNamed(const std::string& name) {
    const auto found = std::ranges::find_if(topics, [&](const Topic& topic) { return name == topic.name; });
    return found == topics.end() ? nullptr : &*found;
}

// Publishes recorded messages and keeps the newest record of each topic for clients that join.
class Replay {
  public:
    explicit Replay(const Options& options)
        : options_(options), reader_(options.replay), publisher_(options.interval) {}

    void run() {
        say("replaying " + options_.replay + ", publishing on " + publishEndpoint + ", instructed over " +
            instructionEndpoint);
        do {
            runOnce();
        } while (!stopRequested() && !options_.once);
    }

  private:
    void runOnce() {
        reader_.rewind();
        awaitClient();
        const auto start = now();
        while (const auto message = reader_.next()) {
            const Topic* topic = topicNamed(message->topic);
            if (topic == nullptr || message->record.size() != topic->size) {
                say("left out a message of topic " + message->topic + ": expected " +
                    (topic == nullptr ? std::string("a known topic")
                                      : std::to_string(topic->size) + " bytes") +
                    ", got " + std::to_string(message->record.size()) +
                    " bytes; it was recorded from another kind of board");
                continue;
            }
            waitUntil(start + message->time);
            if (stopRequested()) {
                return;
            }
            std::ranges::copy(message->record,
                              reinterpret_cast<std::uint8_t*>(newest_.get()) + topic->offset);
            known_ = static_cast<TopicBits>(known_ | topic->bit);
            publisher_.publishTopic(*topic, message->record);
        }
    }

    void awaitClient() {
        while (options_.deterministic && !publisher_.clientReady() && !stopRequested()) {
            publisher_.attend(tunables::changeInterval, -1, now());
            publisher_.acceptClients();
        }
    }

    // Whoever joins in the middle gets the newest record of every topic.
    void waitUntil(Instant due) {
        do {
            const auto left = std::max(due - now(), Instant(0));
            publisher_.attend(options_.fast ? milliseconds(0) : std::chrono::ceil<milliseconds>(left), -1,
                              now());
            if (publisher_.clientJoined(now())) {
                publisher_.publishRound(*newest_, known_, now());
            }
        } while (!stopRequested() && !options_.fast && now() < due);
    }

    static Instant now() {
        return Clock::now().time_since_epoch();
    }

    const Options& options_;
    RecordingReader reader_;
    Publisher publisher_;
    std::unique_ptr<RecordSet> newest_ = std::make_unique<RecordSet>();
    TopicBits known_ = 0;
};

} // namespace

void record(const Options& options) {
    const Context context(zmq_ctx_new());
    const Socket subscriber = connected(context, ZMQ_SUB, "tcp://" + options.host + ":5101");
    zmq_setsockopt(subscriber.get(), ZMQ_SUBSCRIBE, "", 0);
    if (options.instruct) {
        askForEverything(context);
    }
    RecordingWriter writer(options.record);
    std::size_t count = 0;
    std::optional<Clock::time_point> start;
    while (!stopRequested() && (!start || Clock::now() - *start < options.duration)) {
        if (!readable(subscriber, tunables::changeInterval)) {
            continue;
        }
        auto parts = receiveMessage(subscriber);
        start = start.value_or(Clock::now());
        if (parts.size() != 3) {
            say("left out a message of " + std::to_string(parts.size()) + " parts: expected 3");
            continue;
        }
        const auto time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - *start);
        writer.append({time, std::string(parts[0].begin(), parts[0].end()),
                       std::string(parts[1].begin(), parts[1].end()), std::move(parts[2])});
        ++count;
    }
    say("recorded " + std::to_string(count) + " messages to " + options.record);
}

void replay(const Options& options) {
    Replay(options).run();
}

} // namespace board
