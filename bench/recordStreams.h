// Endless streams of published records to receive, all nine topics in rotation.
#pragma once

#include "publishedRecords.h"

#include <zmq.h>

#include <atomic>
#include <thread>
#include <vector>

// A context that ends with its sockets.
class Context {
  public:
    Context();
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    void* get() const {
        return context;
    }

  private:
    void* context;
};

// A socket that is closed without waiting for what is unsent.
class Socket {
  public:
    Socket(const Context& context, int type);
    ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void set(int option, int value);
    void subscribeToEverything();
    void* get() const {
        return socket;
    }

  private:
    void* socket;
};

// Nine records that never change, or in turn nine more that differ from them in the last byte: the change
// detection reads each record to its end either way.
class Rotation {
  public:
    explicit Rotation(bool changing);

    void publishAll(void* publisher);

  private:
    bool changes;
    unsigned turn = 0;
    std::vector<PublishedRecord> first;
    std::vector<PublishedRecord> second;
};

// Published over TCP by a thread with a context of its own, as fast as they are taken. The publisher waits
// for its subscriber, so that nothing is lost, and does not get far ahead of it.
class WireStream {
  public:
    static constexpr int rotationsOfATurn = 60;

    explicit WireStream(bool changing);
    ~WireStream();
    WireStream(const WireStream&) = delete;
    WireStream& operator=(const WireStream&) = delete;

    // Receives what has piled up on the way while the last turn was slower than the publisher.
    void prepareTurn();
    void* subscriber() const {
        return receiving.get();
    }

  private:
    void publishForEver();

    Context publishingContext;
    Socket publisher{publishingContext, ZMQ_PUB};
    Context receivingContext;
    Socket receiving{receivingContext, ZMQ_SUB};
    Rotation rotation;
    std::atomic<bool> stopping = false;
    std::jthread thread;
};

// Published within the process before they are received.
class QueuedStream {
  public:
    static constexpr int rotationsOfATurn = 10; // few enough to stay in the cache, as new messages do

    explicit QueuedStream(bool changing);

    // Publishes what the turn receives.
    void prepareTurn();
    void* subscriber() const {
        return receiving.get();
    }

  private:
    Context context;
    Socket publisher{context, ZMQ_PUB};
    Socket receiving{context, ZMQ_SUB};
    Rotation rotation;
};
