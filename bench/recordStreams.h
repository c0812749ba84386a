// Endless streams of published records to receive, all nine topics in rotation.
#pragma once

#include "workloads.h"

#include <zmq.hpp>

#include <atomic>
#include <thread>
#include <vector>

// Nine records that never change, or in turn nine more that differ from them in the last byte: the change
// detection reads each record to its end either way.
class Rotation {
  public:
    explicit Rotation(bool changing);

    void publishAll(zmq::socket_t& publisher);

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

    // Receives what has piled up on the way while the last turn was slower than the publisher.
    void prepareTurn();
    void* subscriber() {
        return receiving.handle();
    }

  private:
    zmq::context_t publishingContext;
    zmq::socket_t publisher{publishingContext, zmq::socket_type::pub};
    zmq::context_t receivingContext;
    zmq::socket_t receiving{receivingContext, zmq::socket_type::sub};
    Rotation rotation;
    std::jthread thread; // ended first
};

// Published within the process before they are received.
class QueuedStream {
  public:
    static constexpr int rotationsOfATurn = 10; // few enough to stay in the cache, as new messages do

    explicit QueuedStream(bool changing);

    // Publishes what the turn receives.
    void prepareTurn();
    void* subscriber() {
        return receiving.handle();
    }

  private:
    zmq::context_t context;
    zmq::socket_t publisher{context, zmq::socket_type::pub};
    zmq::socket_t receiving{context, zmq::socket_type::sub};
    Rotation rotation;
};
