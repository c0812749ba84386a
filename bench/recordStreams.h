// Endless streams of published records to receive, all nine topics in rotation.
#pragma once

#include "workloads.h"

#include <zmq.hpp>

#include <string_view>
#include <thread>
#include <vector>

// From the wire, it is published over TCP by a thread with a context of its own, as fast as it is taken: the
// publisher waits for its subscriber, so that nothing is lost, and does not get far ahead of it. Else it is
// queued, published within the process before it is received.
class RecordStream {
  public:
    RecordStream(bool wire, bool changing)
        : fromWire(wire), records(twoRotations(changing)), receiving(wire ? otherContext : context, ZMQ_SUB) {
        for (zmq::socket_t* end : {&publisher, &receiving}) {
            end->set(zmq::sockopt::linger, 0);
            end->set(zmq::sockopt::sndhwm, fromWire ? messagesOnTheWay : 0);
            end->set(zmq::sockopt::rcvhwm, fromWire ? messagesOnTheWay : 0);
            end->set(zmq::sockopt::sndbuf, bytesOnTheWay);
            end->set(zmq::sockopt::rcvbuf, bytesOnTheWay);
        }
        publisher.bind(fromWire ? "tcp://127.0.0.1:*" : "inproc://records");
        receiving.set(zmq::sockopt::subscribe, "");
        receiving.connect(publisher.get(zmq::sockopt::last_endpoint));
        if (fromWire) {
            publisher.set(zmq::sockopt::xpub_nodrop, true);
            publisher.set(zmq::sockopt::sndtimeo, 100); // so that the thread sees the end
            thread = std::jthread([this](const std::stop_token& stopping) {
                while (!stopping.stop_requested()) {
                    publishRotation();
                }
            });
        }
    }

    // Few enough that what is queued stays in the cache, as new messages do.
    int rotationsOfATurn() const {
        return fromWire ? 60 : 10;
    }

    // Publishes what the turn receives, or receives what has piled up on the way while the last turn was
    // slower than the publisher.
    void prepareTurn() {
        for (int k = 0; !fromWire && k < rotationsOfATurn(); ++k) {
            publishRotation();
        }
        zmq::message_t part;
        for (std::size_t parts = fromWire ? 3 * rotationsToSettle * topics.size() : 0; parts > 0; --parts) {
            static_cast<void>(receiving.recv(part));
        }
    }

    void* subscriber() {
        return receiving.handle();
    }

  private:
    // What may pile up at each of the two ends, and more than all that can.
    static constexpr int messagesOnTheWay = 50;
    static constexpr int bytesOnTheWay = 128 * 1024;
    static constexpr int rotationsToSettle = 20;

    void publishRotation() {
        for (std::size_t k = 0; k < topics.size(); ++k) {
            const auto& [topic, bytes] = records[published++ % records.size()];
            if (publisher.send(zmq::buffer(std::string_view(topic->name)), zmq::send_flags::sndmore)) {
                publisher.send(zmq::str_buffer("1"), zmq::send_flags::sndmore);
                publisher.send(zmq::buffer(bytes), zmq::send_flags::none);
            }
        }
    }

    bool fromWire;
    std::vector<PublishedRecord> records;
    std::size_t published = 0; // records so far
    zmq::context_t context;
    zmq::context_t otherContext;
    zmq::socket_t publisher{context, ZMQ_PUB};
    zmq::socket_t receiving;
    std::jthread thread; // ended first
};
