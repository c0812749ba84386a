// Reception of published records beside a bare receive loop over the same messages: all nine topics in
// rotation, each record as the last time or changed in its last byte, with the console in three places.
//
// "from the wire" is the service's own way: PUB and SUB over TCP, the publisher sending as fast as it is
// taken. "queued" has the messages wait in the socket already, so that it shows what reception costs by
// itself. A third contestant is the bare loop that prints the same console lines, which the contract asks for
// whoever receives.
#include "benchMain.h"
#include "consoles.h"
#include "publishedRecords.h"
#include "workloads.h"

#include "feed/reception.h"

#include <zmq.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

namespace {

constexpr int rotationsQueued = 10; // few enough to stay in the cache, as messages that are taken at once do

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "receptionBench: %s: %s\n", what, zmq_strerror(zmq_errno()));
        std::exit(1);
    }
}

// A context with one socket, closed without waiting for what is unsent.
class Socket {
  public:
    Socket(void* sharedContext, int type) : socket(zmq_socket(sharedContext, type)) {
        require(socket != nullptr, "no socket");
        const int linger = 0;
        zmq_setsockopt(socket, ZMQ_LINGER, &linger, sizeof linger);
    }
    ~Socket() {
        zmq_close(socket);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void set(int option, int value) {
        require(zmq_setsockopt(socket, option, &value, sizeof value) == 0, "no such option");
    }
    void* get() const {
        return socket;
    }

  private:
    void* socket;
};

class Context {
  public:
    ~Context() {
        zmq_ctx_term(context);
    }
    Context() = default;
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    void* get() const {
        return context;
    }

  private:
    void* context = zmq_ctx_new();
};

// Nine records that never change, and nine more that differ from them in the last byte: the change detection
// reads each record to its end either way.
class Rotation {
  public:
    explicit Rotation(bool changing) : changes(changing), first(allPublishedNow()), second(first) {
        for (PublishedRecord& record : second) {
            record.bytes.back() = static_cast<char>(record.bytes.back() ^ 1);
        }
    }

    void publishAll(void* publisher) {
        for (const PublishedRecord& record : changes&& turn++ % 2 == 1 ? second : first) {
            publish(publisher, record);
        }
    }

  private:
    bool changes;
    unsigned turn = 0;
    std::vector<PublishedRecord> first;
    std::vector<PublishedRecord> second;
};

// Publishes over TCP until it goes away. It waits for a slow subscriber, so that nothing is lost.
class EndlessPublisher {
  public:
    explicit EndlessPublisher(bool changing)
        : publisher(context.get(), ZMQ_PUB), rotation(changing), thread([this] { run(); }) {
        endpointKnown.wait(false);
    }
    ~EndlessPublisher() {
        stopping = true;
    }
    EndlessPublisher(const EndlessPublisher&) = delete;
    EndlessPublisher& operator=(const EndlessPublisher&) = delete;

    const char* endpoint() const {
        return boundTo.data();
    }

  private:
    void run() {
        publisher.set(ZMQ_XPUB_NODROP, 1);
        publisher.set(ZMQ_SNDTIMEO, 100);
        require(zmq_bind(publisher.get(), "tcp://127.0.0.1:*") == 0, "no TCP port");
        std::size_t size = boundTo.size();
        zmq_getsockopt(publisher.get(), ZMQ_LAST_ENDPOINT, boundTo.data(), &size);
        endpointKnown = true;
        endpointKnown.notify_one();
        while (!stopping) {
            rotation.publishAll(publisher.get());
        }
    }

    Context context;
    Socket publisher;
    Rotation rotation;
    std::array<char, 64> boundTo{};
    std::atomic<bool> endpointKnown = false;
    std::atomic<bool> stopping = false;
    std::jthread thread;
};

// --- the contestants: each receives one message ----------------------------------------------------------

struct ReceivedMessage {
    std::array<char, maxTopicLength + 1> topic;
    std::array<char, 10> secondPart;
    std::array<char, sizeof(AvPgmRecord)> record; // the longest of the nine
    int topicLength;
    int recordLength;
};

ReceivedMessage received;

void receiveBare(void* socket) {
    received.topicLength = zmq_recv(socket, received.topic.data(), maxTopicLength, 0);
    zmq_recv(socket, received.secondPart.data(), received.secondPart.size(), 0);
    received.recordLength = zmq_recv(socket, received.record.data(), received.record.size(), 0);
}

void receiveBareAndPrint(void* socket) {
    receiveBare(socket);
    received.topic[static_cast<std::size_t>(received.topicLength)] = '\0';
    std::printf("MPEGtopic received: %s\n", received.topic.data());
    for (const Topic& topic : topics) {
        if (std::strcmp(topic.name, received.topic.data()) != 0) {
            continue;
        }
        if (topic.announce != nullptr) {
            topic.announce(topic.name);
        }
        if (topic.report != nullptr) {
            topic.report(topic.name, static_cast<int>(topic.size), received.recordLength);
        }
        if (topic.bit == patBit) {
            PatRecord pat;
            std::memcpy(&pat, received.record.data(), sizeof pat);
            std::printf("PAT Newstream Flag %d PIDs %d\n", pat.newStreamFlag, pat.pidListCount);
        }
        return;
    }
}

void receiveAsService(void* socket) {
    static FeedContext feed;
    feed.subscribers[0] = socket;
    require(receiveMpegTopic(&feed, &programCount) == captured, "a message was lost");
}

struct Contestant {
    const char* name;
    void (*receive)(void* socket);
};

constexpr std::array contestants{
    Contestant{"mpegFE", receiveAsService},
    Contestant{"bare loop", receiveBare},
    Contestant{"bare loop, same lines", receiveBareAndPrint},
};

// --- the two ways in which messages arrive ---------------------------------------------------------------

void receiveRotation(const Contestant& contestant, void* socket) {
    for (std::size_t message = 0; message < topics.size(); ++message) {
        contestant.receive(socket);
    }
}

void countMessages(benchmark::State& state, int rotations) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * rotations *
                            static_cast<std::int64_t>(topics.size()));
}

void receiveFromWire(benchmark::State& state, const Contestant& contestant, Console console, bool changing) {
    loadFullTables();
    EndlessPublisher publisher(changing);
    Context context;
    Socket subscriber(context.get(), ZMQ_SUB);
    zmq_setsockopt(subscriber.get(), ZMQ_SUBSCRIBE, "", 0);
    require(zmq_connect(subscriber.get(), publisher.endpoint()) == 0, "no connection");
    const ConsoleTo leading(console);
    receiveRotation(contestant, subscriber.get());
    for (auto _ : state) {
        receiveRotation(contestant, subscriber.get());
    }
    countMessages(state, 1);
}

void receiveQueued(benchmark::State& state, const Contestant& contestant, Console console, bool changing) {
    using Clock = std::chrono::steady_clock;
    loadFullTables();
    Rotation rotation(changing);
    Context context;
    Socket publisher(context.get(), ZMQ_PUB);
    publisher.set(ZMQ_SNDHWM, 0);
    Socket subscriber(context.get(), ZMQ_SUB);
    subscriber.set(ZMQ_RCVHWM, 0);
    zmq_setsockopt(subscriber.get(), ZMQ_SUBSCRIBE, "", 0);
    require(zmq_bind(publisher.get(), "inproc://records") == 0, "no endpoint");
    require(zmq_connect(subscriber.get(), "inproc://records") == 0, "no connection");
    const ConsoleTo leading(console);
    for (auto _ : state) {
        for (int k = 0; k < rotationsQueued; ++k) {
            rotation.publishAll(publisher.get());
        }
        const Clock::time_point start = Clock::now();
        for (int k = 0; k < rotationsQueued; ++k) {
            receiveRotation(contestant, subscriber.get());
        }
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    countMessages(state, rotationsQueued);
}

void addBenchmarks(const Contestant& contestant, Console console, bool changing) {
    const auto nameFor = [&](const char* way) {
        return std::string("reception/") + way + ", " + (changing ? "changed" : "unchanged") +
               ", console to " + nameOf(console) + "|" + contestant.name;
    };
    benchmark::RegisterBenchmark(nameFor("from the wire").c_str(), [=](benchmark::State& state) {
        receiveFromWire(state, contestant, console, changing);
    })->UseRealTime();
    benchmark::RegisterBenchmark(nameFor("queued").c_str(), [=](benchmark::State& state) {
        receiveQueued(state, contestant, console, changing);
    })->UseManualTime();
}

} // namespace

int main(int argc, char** argv) {
    sendConsoleNowhere();
    for (const Console console : {Console::file, Console::pipe, Console::null}) {
        for (const bool changing : {false, true}) {
            for (const Contestant& contestant : contestants) {
                addBenchmarks(contestant, console, changing);
            }
        }
    }
    return runBenchmarks(argc, argv);
}
